#pragma once
// Document symbols: the element tree as nested DocumentSymbol objects.

#include "lsp/ElementTree.hpp"

namespace xylem::lsp {

// The largest number of symbols a depth bound lets through before it is tightened.
inline constexpr size_t kSymbolBudget = 100000;

// `textDocument/documentSymbol`: every element down to the deepest depth whose elements (with
// all shallower ones) stay within Budget, so a huge document is cut by depth, never part-way
// through a level. Linear in the text.
json DocumentSymbols(const CyDocumentView& Document, size_t Budget = kSymbolBudget);

}  // namespace xylem::lsp
