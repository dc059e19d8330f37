#pragma once
// CyXMLRawLineLexer: the formatter scanner's fast path for a line that begins at document
// level. It reads the common shapes (text, references, start tags with quoted values, end
// tags, one-line comments and CDATA sections) with straight-line code and gives the tokens the
// scanner acts on, at the offsets TxXMLParser gives them; anything else, and anything the
// tokenizer would mark missing, is left to the tokenizer.

#include <cstdint>
#include <vector>

namespace xylem {

// A token as the formatter's scanner reads it: group and symbol values (TokenizerKinds.hpp),
// Missing for a zero-width missing token, and offsets into the line.
struct TyXMLScanToken {
  uint8_t Group;
  uint8_t Symbol;
  bool Missing;
  int64_t Offset0;
  int64_t Offset1;
};

class CyXMLRawLineLexer {
 public:
  // Tokens of the NUL-terminated line Text from the document-level state into Out (cleared
  // first). True when the whole line was read and ends at document level; then Out holds, in
  // order, every token of the line the scanner reacts to: text runs (one TEXT BODY token per
  // run between markup), references, and each tag's OPEN/OPEN_SLASH, TAG, the first
  // WHITESPACE of a run, ATTRIBUTE_NAME, EQUALS, the value's closing quote and CLOSE or
  // CLOSE_SLASH; comments and CDATA sections as OPEN and CLOSE. Linear, no allocation once Out
  // has grown; thread-safe.
  static bool Lex(const char16_t* Text, std::vector<TyXMLScanToken>& Out);
};

}  // namespace xylem
