#pragma once
// Fold ranges of an XML document for the editor and the language-server front end: every
// multi-line comment, CDATA section, processing instruction, document type declaration, tag
// and attribute value, and every element whose start and end tags are on different lines.

#include <cstdint>
#include <vector>

#include "text/TextList.hpp"

namespace xylem {

enum class TyXMLFoldKind : uint8_t {
  fkElement,         // from the start tag's line to the end tag's line
  fkTag,             // a start or end tag spread over lines
  fkAttributeValue,  // a quoted attribute value spread over lines
  fkComment,
  fkCDATA,
  fkPI,       // also the XML declaration and the xml-model / xml-stylesheet instructions
  fkDoctype,  // the document type declaration with its internal subset
};

struct TyXMLFoldRange {
  int64_t FirstLine;  // 1-based
  int64_t LastLine;   // greater than FirstLine
  TyXMLFoldKind Kind;
  bool operator==(const TyXMLFoldRange&) const = default;
};

class CyXMLFolding {
 public:
  // The fold ranges of List, whose line start states must be stored, ordered by FirstLine,
  // then outer ranges before inner ones. Lines whose stored deltas show that they neither open
  // nor close a construct and hold no '<' are skipped without tokenizing; the others are
  // tokenized from their stored state. Element ranges come from tag matching: an end tag
  // closes the innermost open element (a mismatched one too, as the checker pairs them).
  // Linear in the text; one thread; the text must not change meanwhile.
  static std::vector<TyXMLFoldRange> FoldRanges(const TxTextList& List);
};

}  // namespace xylem
