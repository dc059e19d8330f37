#include "lsp/FoldingRanges.hpp"

#include "editor/Folding.hpp"

namespace xylem::lsp {

json FoldingRanges(const CyDocumentView& Document, std::optional<int64_t> RangeLimit) {
  const std::vector<TyFoldRange> Ranges = FoldRangesOf(Document.getTextList(), Document.getKind());
  size_t Count = Ranges.size();
  if (RangeLimit && *RangeLimit >= 0) Count = std::min<size_t>(Count, size_t(*RangeLimit));
  json Result = json::array();
  for (size_t i = 0; i < Count; ++i) {
    const TyFoldRange& R = Ranges[i];
    Result.push_back({{"startLine", R.FirstLine - 1},
                      {"endLine", R.LastLine - 1},
                      {"kind", R.Kind == TyFoldKind::fkComment ? "comment" : "region"}});
  }
  return Result;
}

}  // namespace xylem::lsp
