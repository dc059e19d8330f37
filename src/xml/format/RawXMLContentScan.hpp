#pragma once
// The streaming formatter's first pass: which elements have text. An element's layout depends
// on whether any child is a reference or a text with more than white space, which its start
// tag cannot tell, so a quick scan finds it for every element first. The scan only follows the
// structure (markup, quotes, comments, CDATA, PIs, the DOCTYPE's internal subset) and checks
// nothing: on a document that is not well-formed its answers mean nothing, and the second
// pass, which checks everything, refuses the document.

#include <cstdint>
#include <string_view>
#include <vector>

#include "text/TextList.hpp"
#include "xml/format/NodeScanner.hpp"

namespace xylem::detail {

// An element open at a piece's end.
struct TyXMLContentOpen {
  uint64_t Ordinal;  // of its start tag among the piece's start tags
  std::u16string_view Name;
  TyWhere Start;
  bool HasSpace;  // has an xml:space attribute
};

// What the scan learns of one piece of lines, read from the document-level state.
struct TyXMLContentPiece {
  std::vector<uint8_t> HasText;  // by start-tag ordinal within the piece
  // Before the piece's own elements: end tags of elements opened earlier (Name) and text
  // directly inside the element then innermost (Name empty), in document order.
  std::vector<std::u16string_view> Outer;
  std::vector<TyXMLContentOpen> Open;  // open at the end, outermost first
  TyWhere FirstStart;                  // the piece's first start tag (Line 0: none)
  size_t PopsBeforeFirstStart = 0;     // end tags in Outer before FirstStart
  bool EndsInContent = false;          // not inside markup at To
};

// Scans List from From up to To (not included; From and To are line starts or inside a line,
// To past the last line for the document's end) into Piece. Linear, no recursion; allocates
// only as the piece's vectors grow. Thread-safe for distinct pieces. Job, when given, is
// advanced by lines and its stop token polled every kXMLScanPollLines lines.
void ScanRawXMLContent(const TxTextList& List, TyWhere From, TyWhere To, TyXMLContentPiece& Piece,
                       const TyJobContext* Job = nullptr);

}  // namespace xylem::detail
