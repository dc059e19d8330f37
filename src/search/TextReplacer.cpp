#include "search/TextReplacer.hpp"

#include <algorithm>

#include "search/Escapes.hpp"

namespace xylem {

std::unique_ptr<CyTextReplacer> CyTextReplacer::Create(std::u16string_view SearchWhat,
                                                       std::u16string_view ReplaceWith,
                                                       bool CaseSensitive, bool WholeWordOnly) {
  return std::make_unique<CyTextReplacer>(SearchWhat, ReplaceWith, CaseSensitive, WholeWordOnly);
}

std::unique_ptr<CyTextReplacer> CyTextReplacer::CreateEscaped(
    std::u16string_view SearchWhatEscaped, std::u16string_view ReplaceWithEscaped,
    bool CaseSensitive, bool WholeWordOnly, std::u16string_view Newline) {
  const std::u16string searchWhat = Unescape(SearchWhatEscaped, Newline);
  const std::u16string replaceWith = Unescape(ReplaceWithEscaped, Newline);
  return std::make_unique<CyTextReplacer>(searchWhat, replaceWith, CaseSensitive, WholeWordOnly);
}

CyTextReplacer::CyTextReplacer(std::u16string_view SearchWhat, std::u16string_view ReplaceWith,
                               bool CaseSensitive, bool WholeWordOnly)
    : _Searcher(SearchWhat, CaseSensitive, WholeWordOnly),
      _SearchWhatCount(static_cast<int64_t>(SearchWhat.size())),
      _ReplaceWith(ReplaceWith),
      _ReplaceWithCount(static_cast<int64_t>(ReplaceWith.size())) {}

TySearchResult CyTextReplacer::FindNext(const char16_t* Subject, int64_t Length, int64_t Start,
                                        bool, bool, bool MoreFollows, int64_t& MatchStart,
                                        int64_t& MatchEnd) {
  // A plain search text is never empty when it matches, so the empty-match flags do not apply.
  const bool found = _Searcher.FindNext(Subject, Length, Start, MatchStart, MatchEnd);
  if (!MoreFollows) return found ? srMatch : srNone;
  // The unit behind a match decides whole words and surrogate pairs, so a match must end before
  // Length; one starting in the last _SearchWhatCount units is still open.
  if (found && MatchEnd < Length) return srMatch;
  MatchStart = std::max(Start, Length - _SearchWhatCount);
  return MatchStart < Length && _SearchWhatCount > 0 ? srPartial : srNone;
}

void CyTextReplacer::WriteReplacement(CyFIFOUTF16& Out) {
  Out.Write(_ReplaceWith.data(), _ReplaceWithCount);
}

}  // namespace xylem
