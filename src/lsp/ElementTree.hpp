#pragma once
// The element tree of an XML document as the navigation features need it: each element's
// name, the ranges of its start-tag name, start tag, end-tag name and whole extent. Built from
// the line colouring's tokens (the stored line states), so a broken document still gives the
// elements it has: an end tag closes the nearest open element of its name, elements left open
// run to the document's end.

#include <cstdint>
#include <string>
#include <vector>

#include "lsp/Protocol.hpp"

namespace xylem::lsp {

struct TyElement {
  std::u16string Name;
  TyTextRange NameRange;                     // the start tag's name
  TyTextRange StartTag;                      // "<" .. ">" of the start tag
  TyTextRange EndNameRange{{0, 0}, {0, 0}};  // the end tag's name; line 0 when there is none
  TyTextRange Range;    // start tag to end tag (or the end of an empty-element tag)
  int32_t Parent = -1;  // index in the tree, -1 for a top-level element
  int32_t Depth = 0;    // 0 for top-level elements
  bool HasEndTag() const { return EndNameRange.Start.Line > 0; }
};

// Elements in document order (parents before children). Linear in the text; allocates one
// name per element. Empty for kinds without XML line states. AttributeNames, when given,
// receives the name of every attribute of every start tag (duplicates included).
std::vector<TyElement> BuildElementTree(const CyDocumentView& Document,
                                        std::vector<std::u16string>* AttributeNames = nullptr);

// The innermost element whose start-tag name or end-tag name holds Position (ends included),
// or -1.
int32_t ElementAtTagName(const std::vector<TyElement>& Elements, TyTextPosition Position);
// The innermost element whose extent holds Position, or -1.
int32_t ElementAt(const std::vector<TyElement>& Elements, TyTextPosition Position);

}  // namespace xylem::lsp
