#pragma once
// Follower sets of the name readings: for each way a name (or "function") can be read, the
// grammar positions after which that reading can begin. The tokenizer consults them with the
// label of the token just consumed to decide the kind of the next name.

#include <bitset>
#include <string_view>
#include <vector>

#include "xpath/Token.hpp"

namespace xylem {

enum TyXPath31Reading : uint8_t {
  frFunctionTest,      // "function(" as a function test (else an inline function)
  frPlainName,         // an NCName that is only a name (lookup key, processing-instruction target)
  frFunctionCall,      // a name before "(" as a function name
  frNamedFunctionRef,  // a name before "#" as a named function reference
  frNameTest,  // a name that stays a name (name test, type or element name), never a keyword
};
inline constexpr int kXPath31ReadingCount = 5;

// The five sets, built once from the grammar's positions and read-only afterwards (thread-safe
// to read). Membership is one bit test.
class CyXPath31Followers {
 public:
  // The process-wide instance; built on first use (start-up), immutable after.
  static const CyXPath31Followers& Get();

  // Whether the reading can begin right after the grammar position Label. O(1).
  bool Contains(TyXPath31Reading Reading, TyXPath31Label Label) const {
    return Sets_[Reading].test(Label.Index());
  }
  // The labels of one set, ascending by (token, rule); allocates (for tests and tools).
  std::vector<TyXPath31Label> Labels(TyXPath31Reading Reading) const;

 private:
  CyXPath31Followers();
  std::bitset<kXPath31LabelCount> Sets_[kXPath31ReadingCount];
};

}  // namespace xylem
