#pragma once
// Regular-expression replace: matches come from PCRE2, replacements from a parsed template.

#include <memory>
#include <string_view>

#include "search/RegExprSearcher.hpp"
#include "search/ReplaceWithParts.hpp"
#include "search/Replacer.hpp"

namespace xylem {

class CyRegExprReplacer : public CyReplacer {
 public:
  // Compiles SearchWhat (CyRegExprException on a bad pattern) and parses the template
  // ReplaceWith against it (ReplaceWithException), both before any text is touched. Newline is
  // the document's: PCRE2's newline and what "\n" in the template inserts.
  static std::unique_ptr<CyRegExprReplacer> Create(std::u16string_view SearchWhat,
                                                   std::u16string_view ReplaceWith,
                                                   bool CaseSensitive, std::u16string_view Newline);

  // As Create.
  CyRegExprReplacer(std::u16string_view SearchWhat, std::u16string_view ReplaceWith,
                    bool CaseSensitive, std::u16string_view Newline);

  // The compiled pattern and the parsed template.
  const CyRegExprSearcher& getSearcher() const { return _Searcher; }
  const CyRegExprReplaceWithParts& getReplaceWithParts() const { return ReplaceWithParts_; }

 protected:
  bool NeedsLookBehind() const override { return true; }
  TySearchResult FindNext(const char16_t* Subject, int64_t Length, int64_t Start,
                          bool NotEmptyAtStart, bool NotAtTextStart, bool MoreFollows,
                          int64_t& MatchStart, int64_t& MatchEnd) override;
  void WriteReplacement(CyFIFOUTF16& Out) override;

 private:
  CyRegExprSearcher _Searcher;
  CyRegExprReplaceWithParts ReplaceWithParts_;
};

}  // namespace xylem
