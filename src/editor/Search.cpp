#include "editor/Search.hpp"

#include "editor/Document.hpp"
#include "search/EditorReplacer.hpp"
#include "search/RegExprSearcher.hpp"
#include "search/Replacer.hpp"
#include "search/TextSearcher.hpp"

namespace xylem {

uint8_t TySearchQuery::getReplaceOptions(bool Forward) const {
  uint8_t options = 0;
  if (CaseSensitive) options |= roCaseSensitive;
  if (Forward) options |= roForward;
  if (RegExpr) options |= roRegExpr;
  if (WholeWordOnly && !RegExpr) options |= roWholeWordOnly;
  return options;
}

CyEditorSearch::CyEditorSearch(const TxMarkupDocument& Document, const TySearchQuery& Query)
    : Document_(Document), Query_(Query) {}

CyEditorSearch::~CyEditorSearch() = default;

bool CyEditorSearch::FindNext(TyTextPosition, TyTextRange&, std::stop_token) { return false; }
bool CyEditorSearch::FindPrevious(TyTextPosition, TyTextRange&, std::stop_token) { return false; }
int64_t CyEditorSearch::CountAll(std::stop_token) { return 0; }

bool ReplaceAllInDocument(TxMarkupDocument&, const TySearchQuery&, std::u16string_view,
                          int64_t& ReplaceCount) {
  ReplaceCount = 0;
  return false;
}
bool ReplaceRestInDocument(TxMarkupDocument&, const TySearchQuery&, std::u16string_view, bool,
                           int64_t& ReplaceCount) {
  ReplaceCount = 0;
  return false;
}
bool ReplaceSelectionAndFindNext(TxMarkupDocument&, const TySearchQuery&, std::u16string_view) {
  return false;
}

}  // namespace xylem
