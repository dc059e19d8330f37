#include "lsp/TagNavigation.hpp"

namespace xylem::lsp {

json LinkedEditingRanges(const TxMarkupDocument& Document, TyTextPosition Position) {
  const std::vector<TyElement> Elements = BuildElementTree(Document);
  const int32_t Index = ElementAtTagName(Elements, Position);
  if (Index < 0 || !Elements[size_t(Index)].HasEndTag()) return nullptr;
  const TyElement& E = Elements[size_t(Index)];
  return {{"ranges", {ToLspRange(E.NameRange), ToLspRange(E.EndNameRange)}},
          {"wordPattern", "[^\\s<>/=\"']+"}};
}

json DocumentHighlights(const TxMarkupDocument& Document, TyTextPosition Position) {
  const std::vector<TyElement> Elements = BuildElementTree(Document);
  const int32_t Index = ElementAtTagName(Elements, Position);
  json Result = json::array();
  if (Index < 0) return Result;
  const TyElement& E = Elements[size_t(Index)];
  constexpr int kRead = 2, kWrite = 3;
  Result.push_back({{"range", ToLspRange(E.NameRange)}, {"kind", kWrite}});
  if (E.HasEndTag()) Result.push_back({{"range", ToLspRange(E.EndNameRange)}, {"kind", kRead}});
  return Result;
}

json SelectionRanges(const TxMarkupDocument& Document,
                     const std::vector<TyTextPosition>& Positions) {
  const std::vector<TyElement> Elements = BuildElementTree(Document);
  json Result = json::array();
  for (TyTextPosition Position : Positions) {
    // Innermost first in this list; LSP nests them the other way round.
    std::vector<TyTextRange> Chain;
    auto Add = [&Chain](const TyTextRange& Range) {
      if (Chain.empty() || (Range.Start <= Chain.back().Start && Chain.back().End <= Range.End &&
                            !(Range == Chain.back())))
        Chain.push_back(Range);
    };
    const int32_t Named = ElementAtTagName(Elements, Position);
    if (Named >= 0) {
      const TyElement& E = Elements[size_t(Named)];
      const bool InStart = E.NameRange.Start <= Position && Position <= E.NameRange.End;
      Add(InStart ? E.NameRange : E.EndNameRange);
      if (InStart) Add(E.StartTag);
    }
    for (int32_t i = Named >= 0 ? Named : ElementAt(Elements, Position); i >= 0;
         i = Elements[size_t(i)].Parent) {
      const TyElement& E = Elements[size_t(i)];
      if (E.StartTag.Start <= Position && Position <= E.StartTag.End) Add(E.StartTag);
      Add(E.Range);
    }
    if (Chain.empty()) Chain.push_back({Position, Position});
    // The innermost range on top, each wider one as its parent.
    json Innermost;
    for (size_t k = Chain.size(); k-- > 0;) {
      json Level = {{"range", ToLspRange(Chain[k])}};
      if (!Innermost.is_null()) Level["parent"] = std::move(Innermost);
      Innermost = std::move(Level);
    }
    Result.push_back(std::move(Innermost));
  }
  return Result;
}

}  // namespace xylem::lsp
