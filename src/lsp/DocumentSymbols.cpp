#include "lsp/DocumentSymbols.hpp"

#include <algorithm>

#include "common/Utf.hpp"

namespace xylem::lsp {

namespace {

constexpr int kSymbolKindField = 8;  // how XML servers commonly show elements

}  // namespace

json DocumentSymbols(const CyDocumentView& Document, size_t Budget) {
  const std::vector<TyElement> Elements = BuildElementTree(Document);
  // Count elements per depth and find the deepest depth that fits the budget.
  std::vector<size_t> PerDepth;
  for (const TyElement& E : Elements) {
    if (PerDepth.size() <= size_t(E.Depth)) PerDepth.resize(size_t(E.Depth) + 1);
    ++PerDepth[size_t(E.Depth)];
  }
  int32_t MaxDepth = -1;
  for (size_t Total = 0, D = 0; D < PerDepth.size(); ++D) {
    Total += PerDepth[D];
    if (Total > Budget && D > 0) break;
    MaxDepth = static_cast<int32_t>(D);
  }
  // Children are filled before their parents are moved into place: build bottom-up.
  std::vector<json> Symbols(Elements.size());
  json Roots = json::array();
  for (size_t i = Elements.size(); i-- > 0;) {
    const TyElement& E = Elements[i];
    if (E.Depth > MaxDepth) continue;
    json& S = Symbols[i];
    S["name"] = ToUTF8(E.Name);
    S["kind"] = kSymbolKindField;
    S["range"] = ToLspRange(E.Range);
    S["selectionRange"] = ToLspRange(E.NameRange);
    // Children arrived last to first.
    if (S.contains("children"))
      std::reverse(S["children"].begin(), S["children"].end());
    else
      S["children"] = json::array();
    json& Target = E.Parent >= 0 ? Symbols[size_t(E.Parent)]["children"] : Roots;
    if (!Target.is_array()) Target = json::array();
    Target.push_back(std::move(S));
  }
  std::reverse(Roots.begin(), Roots.end());
  return Roots;
}

}  // namespace xylem::lsp
