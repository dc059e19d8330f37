#pragma once
// The checker with a cache: the outcome of each (start rule, expression text) is computed once
// and kept for the cache's life, so recurring expressions are parsed only once.

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "xpath/Checker.hpp"

namespace xylem {

// One cached expression. Not thread-safe.
class CyXPath31CheckerWithCacheItem {
 public:
  CyXPath31CheckerWithCacheItem(std::u16string_view XPath31, TyXPath31ParserRule Rule)
      : XPath31_(XPath31), Rule_(Rule) {}

  // Runs the check on the first call (creating the checker) and keeps the outcome. Returns the
  // kept error, or null when the text is valid.
  const TyXPath31CheckError* Run();
  // Run(); when an error is kept, Err receives a new record of it placed by Placement and the
  // result is false; otherwise Err is reset and the result true. Steps (optional) receives the
  // checker's step array (empty for blank text).
  bool Check(const IyXPath31Placement& Placement, IyXMLErrPtr& Err,
             const TyXPath31Steps** Steps = nullptr);
  // Orders items by their text: case-sensitive code-unit comparison (<0, 0, >0).
  int CompareToObject(const CyXPath31CheckerWithCacheItem& Other) const {
    return XPath31_.compare(Other.XPath31_);
  }
  const std::u16string& getXPath31() const { return XPath31_; }
  TyXPath31ParserRule getXPath31ParserRule() const { return Rule_; }

 private:
  std::u16string XPath31_;
  std::unique_ptr<CyXPath31Checker> Checker_;  // made on first use
  bool HasError_ = false;                      // the kept error is Checker_->getError()
  TyXPath31ParserRule Rule_;
};

// One sorted list of items per start rule; items live as long as the cache (no eviction). Not
// thread-safe: one cache per thread or per checking run.
class CyXPath31CheckerWithCache {
 public:
  // The item of (Rule, XPath31), inserted when absent. O(log n) search plus the insertion.
  CyXPath31CheckerWithCacheItem& Find(std::u16string_view XPath31, TyXPath31ParserRule Rule);
  // Finds the item and delegates to its Check (the parse runs once per rule and text).
  bool Check(std::u16string_view XPath31, TyXPath31ParserRule Rule,
             const IyXPath31Placement& Placement, IyXMLErrPtr& Err,
             const TyXPath31Steps** Steps = nullptr) {
    return Find(XPath31, Rule).Check(Placement, Err, Steps);
  }
  // The same for an expression that stands on its own from (Line, Linepos) of URL: its own line
  // breaks move the error to later lines.
  bool Check(std::u16string_view XPath31, TyXPath31ParserRule Rule, const std::u16string& URL,
             int32_t Line, int32_t Linepos, IyXMLErrPtr& Err);
  // Number of items kept for Rule.
  size_t getCount(TyXPath31ParserRule Rule) const { return Lists_[Rule].size(); }
  // Number of items kept over all rules.
  size_t getTotalCount() const {
    size_t count = 0;
    for (const auto& list : Lists_) count += list.size();
    return count;
  }
  // The Index-th item of Rule's list, in text order.
  const CyXPath31CheckerWithCacheItem& getItem(TyXPath31ParserRule Rule, size_t Index) const {
    return *Lists_[Rule][Index];
  }

 private:
  std::array<std::vector<std::unique_ptr<CyXPath31CheckerWithCacheItem>>, kXPath31ParserRuleCount>
      Lists_;
};

}  // namespace xylem
