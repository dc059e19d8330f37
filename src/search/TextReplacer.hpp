#pragma once
// Plain-text replace: every occurrence of a fixed text becomes a fixed replacement.

#include <memory>
#include <string>
#include <string_view>

#include "search/Replacer.hpp"
#include "search/TextSearcher.hpp"

namespace xylem {

class CyTextReplacer : public CyReplacer {
 public:
  // A replacer of SearchWhat by ReplaceWith, both taken literally.
  static std::unique_ptr<CyTextReplacer> Create(std::u16string_view SearchWhat,
                                                std::u16string_view ReplaceWith, bool CaseSensitive,
                                                bool WholeWordOnly);
  // The same from escaped texts: in both, "\n", "\r" and "\R" stand for Newline (the document's),
  // "\r\n" for one Newline, "\t" for a tab, "\\" for a backslash and a backslash before any other
  // character for that character. Raises ReplaceWithException "Incomplete token." with its
  // position for a trailing backslash in either text.
  static std::unique_ptr<CyTextReplacer> CreateEscaped(std::u16string_view SearchWhatEscaped,
                                                       std::u16string_view ReplaceWithEscaped,
                                                       bool CaseSensitive, bool WholeWordOnly,
                                                       std::u16string_view Newline);

  // As Create.
  CyTextReplacer(std::u16string_view SearchWhat, std::u16string_view ReplaceWith,
                 bool CaseSensitive, bool WholeWordOnly);

 protected:
  bool NeedsLookBehind() const override { return false; }
  TySearchResult FindNext(const char16_t* Subject, int64_t Length, int64_t Start,
                          bool NotEmptyAtStart, bool NotAtTextStart, bool MoreFollows,
                          int64_t& MatchStart, int64_t& MatchEnd) override;
  void WriteReplacement(CyFIFOUTF16& Out) override;

 private:
  CyTextSearcher _Searcher;
  int64_t _SearchWhatCount;
  std::u16string _ReplaceWith;
  int64_t _ReplaceWithCount;
};

}  // namespace xylem
