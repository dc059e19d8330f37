#pragma once
// Navigation between a start tag and its end tag: linked editing of the two names, the
// highlight of the matching tag, and selection ranges widening from a name to the tag, the
// element and its ancestors. Each builds the element tree (linear in the text).

#include "lsp/ElementTree.hpp"

namespace xylem::lsp {

// `textDocument/linkedEditingRange`: the start-tag and end-tag names of the element whose
// name holds Position; null elsewhere and for elements without an end tag.
json LinkedEditingRanges(const TxMarkupDocument& Document, TyTextPosition Position);
// `textDocument/documentHighlight`: both names of that element (the start tag's as Write, the
// end tag's as Read); an empty array elsewhere.
json DocumentHighlights(const TxMarkupDocument& Document, TyTextPosition Position);
// `textDocument/selectionRange` for each position: name or tag, element, then each ancestor.
json SelectionRanges(const TxMarkupDocument& Document,
                     const std::vector<TyTextPosition>& Positions);

}  // namespace xylem::lsp
