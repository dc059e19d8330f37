#pragma once
// CyRawXMLLineLexer: the tokens of a line that stands at document level, for the common shapes
// (text, references, start tags with quoted values, end tags, one-line comments and CDATA
// sections), read with straight-line code instead of the tokenizer's one dispatch per token. It
// gives the tokens TxXMLParser gives for those constructs, at the same offsets; anything else,
// and anything the tokenizer would mark missing, is left to the tokenizer, which restarts at the
// construct's first character in the document-level state. Read by the formatter's scanner and
// by the line colouring.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "xml/syntax/Tokenizer.hpp"

namespace xylem {

// A token: group and symbol values (TokenizerKinds.hpp), Missing for a zero-width missing token
// (only the tokenizer gives those), Extra on a tag's name when it has a prefix (the tokenizer's
// extra bit there; on other tokens the lexer leaves it clear), and offsets into the line.
struct TyXMLScanToken {
  uint8_t Group;
  uint8_t Symbol;
  bool Missing;
  bool Extra;
  int64_t Offset0;
  int64_t Offset1;
};

// The tokenizer's Token in the same form, its offsets moved by Base (where the tokenizer
// started in the line).
inline TyXMLScanToken ScanTokenOf(const TyXMLToken& Token, int64_t Base) {
  return {static_cast<uint8_t>(Token.Group0()),
          static_cast<uint8_t>(Token.Symbol0()),
          Token.TextIsMissing,
          Token.Extra0(),
          Base + Token.Offset0,
          Base + Token.Offset1};
}

class CyRawXMLLineLexer {
 public:
  // Tokens of the NUL-terminated line Line from From, which is at document level, into Out
  // (cleared first), with offsets from Line; End is the line's end (its NUL). Reads whole
  // constructs until the line ends, one would begin at or after Limit (when not null), a
  // construct is not one it reads, or Out holds about kBatch tokens, and returns where it
  // stopped (From when it read nothing). Out holds, in order, every token with characters that
  // the tokenizer gives for those constructs, and no other: the tokenizer's zero-width steps (a
  // construct's begin, the end of character data, an empty value) are left out, as its Next
  // leaves them out. Linear, no allocation once Out has grown; thread-safe.
  static const char16_t* Lex(const char16_t* Line, const char16_t* End, const char16_t* From,
                             const char16_t* Limit, std::vector<TyXMLScanToken>& Out);
  static constexpr size_t kBatch = 256;
};

}  // namespace xylem
