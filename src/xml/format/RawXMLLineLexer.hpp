#pragma once
// CyRawXMLLineLexer: the formatter scanner's fast path for a line that begins at document
// level. It reads the common shapes (text, references, start tags with quoted values, end
// tags, one-line comments and CDATA sections) with straight-line code and gives the tokens the
// scanner acts on, at the offsets TxXMLParser gives them; anything else, and anything the
// tokenizer would mark missing, is left to the tokenizer.

#include <cstddef>
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

class CyRawXMLLineLexer {
 public:
  // Tokens of the NUL-terminated line Line from From, which is at document level, into Out
  // (cleared first), with offsets from Line. Reads whole constructs until the line ends, one
  // would begin at or after Limit (when not null), a construct is not one it reads, or Out
  // holds about kBatch tokens, and returns where it
  // stopped (From when it read nothing). Out holds, in order, every token of those constructs
  // the scanner reacts to: text runs (one TEXT BODY token per run between markup),
  // references, and each tag's OPEN/OPEN_SLASH, TAG, the first WHITESPACE of a run,
  // ATTRIBUTE_NAME, EQUALS, the value's closing quote and CLOSE or CLOSE_SLASH; comments and
  // CDATA sections as OPEN and CLOSE. Linear, no allocation once Out has grown; thread-safe.
  // End is the line's end (its NUL).
  static const char16_t* Lex(const char16_t* Line, const char16_t* End, const char16_t* From,
                             const char16_t* Limit, std::vector<TyXMLScanToken>& Out);
  static constexpr size_t kBatch = 256;
};

}  // namespace xylem
