#include "search/RegExprReplacer.hpp"

namespace xylem {

std::unique_ptr<CyRegExprReplacer> CyRegExprReplacer::Create(std::u16string_view SearchWhat,
                                                             std::u16string_view ReplaceWith,
                                                             bool CaseSensitive,
                                                             std::u16string_view Newline) {
  return std::make_unique<CyRegExprReplacer>(SearchWhat, ReplaceWith, CaseSensitive, Newline);
}

CyRegExprReplacer::CyRegExprReplacer(std::u16string_view SearchWhat,
                                     std::u16string_view ReplaceWith, bool CaseSensitive,
                                     std::u16string_view Newline)
    : _Searcher(SearchWhat, CaseSensitive, Newline),
      ReplaceWithParts_(ReplaceWith, _Searcher, Newline) {}

TySearchResult CyRegExprReplacer::FindNext(const char16_t* Subject, int64_t Length, int64_t Start,
                                           bool NotEmptyAtStart, bool NotAtTextStart,
                                           bool MoreFollows, int64_t& MatchStart,
                                           int64_t& MatchEnd) {
  return _Searcher.Find(Subject, Length, Start, NotEmptyAtStart, NotAtTextStart, MoreFollows,
                        MatchStart, MatchEnd);
}

void CyRegExprReplacer::WriteReplacement(CyFIFOUTF16& Out) {
  ReplaceWithParts_.Translate(_Searcher.getMatch(), Out);
}

}  // namespace xylem
