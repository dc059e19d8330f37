#include "lsp/DocumentView.hpp"

#include <algorithm>

namespace xylem::lsp {

TyTextPosition CyDocumentView::getEndPosition() const {
  const int64_t Count = getLineCount();
  return {Count, static_cast<int64_t>(getLine(Count).size()) + 1};
}

TyTextPosition CyDocumentView::ClampPosition(TyTextPosition Position) const {
  const int64_t Line = std::clamp<int64_t>(Position.Line, 1, getLineCount());
  const int64_t Length = static_cast<int64_t>(getLine(Line).size());
  return {Line, std::clamp<int64_t>(Position.Linepos, 1, Length + 1)};
}

std::u16string CyDocumentView::getText() const {
  return List_->getTextItems().getJoined(Newline_, 1, List_->getCount());
}

}  // namespace xylem::lsp
