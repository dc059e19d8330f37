#pragma once
// Regular-expression search over a UTF-16 buffer through PCRE2's 16-bit library (JIT-compiled).
// Patterns run in UTF and UCP modes (\w, \d, \b and POSIX classes are Unicode-aware), multi-line
// (^ and $ match at every line of the document), with the document's newline as PCRE2's newline
// and \R matching CR, LF or CR LF. Subjects may hold lone surrogates: they never match a
// character but do not stop the search.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "common/Exception.hpp"

struct pcre2_real_code_16;
struct pcre2_real_match_data_16;
struct pcre2_real_match_context_16;
struct pcre2_real_jit_stack_16;

namespace xylem {

// A pattern PCRE2 cannot compile: PCRE2's own message and the 0-based offset in the pattern
// (in code units) where it stopped.
class CyRegExprException : public CyException {
 public:
  static constexpr int kCode = 6201;
  // The message reads "Regular expression error at position N: <PCRE2's message>.".
  CyRegExprException(const std::string& PCRE2Message, int64_t Position);
  // PCRE2's message alone, without the position.
  const std::string& getPCRE2Message() const { return PCRE2Message_; }
  // 0-based offset in the pattern, in code units.
  int64_t getPosition() const { return Position_; }

 private:
  std::string PCRE2Message_;
  int64_t Position_;
};

// What a search found: a match, nothing, or (when more text may follow) the start of a match
// that needs more text to decide.
enum TySearchResult : uint8_t { srNone, srMatch, srPartial };

// The groups of one match: views into the subject the match was made in.
struct TyRegExprMatch {
  const char16_t* Subject = nullptr;
  const size_t* Ovector = nullptr;  // PCRE2's output vector: start and end of each group
  int32_t PairCount = 0;            // groups 0 .. PairCount - 1 are in the vector

  // The text group Number matched; empty when the group did not take part or does not exist.
  std::u16string_view getGroup(int32_t Number) const;
  // True when group Number took part in the match.
  bool isGroupSet(int32_t Number) const;
};

class CyRegExprSearcher {
 public:
  // Compiles Pattern; Newline is the document's ("\r\n", "\r" or "\n"; anything else means any
  // of them). Raises CyRegExprException on a bad pattern. Not copyable.
  CyRegExprSearcher(std::u16string_view Pattern, bool CaseSensitive, std::u16string_view Newline);
  ~CyRegExprSearcher();
  CyRegExprSearcher(const CyRegExprSearcher&) = delete;
  CyRegExprSearcher& operator=(const CyRegExprSearcher&) = delete;

  // Finds the first match starting at or after Start in Subject[0, Length); text before Start
  // is seen by look-behind only. NotEmptyAtStart refuses an empty match at Start (the step after
  // an empty match); NotAtTextStart stops "^" matching at Subject[0]. Sets MatchStart and
  // MatchEnd; the groups stay readable through getMatch until the next call. No allocation; not
  // thread-safe (one match data per searcher). Raises CyException when PCRE2 gives up (match or
  // depth limit).
  bool FindNext(const char16_t* Subject, int64_t Length, int64_t Start, bool NotEmptyAtStart,
                bool NotAtTextStart, int64_t& MatchStart, int64_t& MatchEnd) {
    return Find(Subject, Length, Start, NotEmptyAtStart, NotAtTextStart, false, MatchStart,
                MatchEnd) == srMatch;
  }
  // FindNext for text that arrives in pieces: with MoreFollows, a match that reaches the end of
  // Subject (or could go on behind it) gives srPartial and its start in MatchStart instead.
  TySearchResult Find(const char16_t* Subject, int64_t Length, int64_t Start, bool NotEmptyAtStart,
                      bool NotAtTextStart, bool MoreFollows, int64_t& MatchStart,
                      int64_t& MatchEnd);
  // The groups of the last successful FindNext.
  TyRegExprMatch getMatch() const { return Match_; }

  // Number of capturing groups in the pattern (group 0 not counted).
  int32_t getGroupCount() const { return GroupCount_; }
  // The numbers of the groups called Name (several only with duplicate names, (?J)); empty when
  // the pattern has no such group.
  std::vector<int32_t> getGroupNumbers(std::u16string_view Name) const;

 private:
  void Release();

  pcre2_real_code_16* Code_ = nullptr;
  pcre2_real_match_data_16* MatchData_ = nullptr;
  pcre2_real_match_context_16* MatchContext_ = nullptr;
  pcre2_real_jit_stack_16* JITStack_ = nullptr;
  bool JIT_ = false;
  int32_t GroupCount_ = 0;
  TyRegExprMatch Match_;
};

}  // namespace xylem
