#pragma once
// A big document text taken out of a didOpen message before the message becomes a JSON tree:
// the "text" member of params.textDocument is unescaped in place inside the message's own
// bytes, and only the rest of the message (with "text": "") is parsed. So the text is held
// once as UTF-8 until the document's loader decodes it into the lines, instead of as the raw
// message, a parsed string and a UTF-16 copy at once.
//
// Threading: made by the reader thread, handed to the dispatch thread with the message.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace xylem::lsp {

struct TyBigText {
  std::string Bytes;  // the message's bytes; the unescaped text lies at [Offset, Offset + Length)
  size_t Offset = 0;
  size_t Length = 0;
  std::string_view getText() const { return std::string_view(Bytes).substr(Offset, Length); }
  // Gives the bytes back once the text is consumed.
  void Release() {
    std::string().swap(Bytes);
    Offset = Length = 0;
  }
};

// When Body is a "textDocument/didOpen" notification whose text is at least MinLength bytes
// long: moves Body into Text (the text unescaped in place) and returns the rest of the
// message, its text replaced by "". Otherwise (another message, a shorter text, JSON that is
// not plainly well-formed on the way to the text, a bad escape inside it) returns nothing and
// leaves Body as it was, for the ordinary parse and its error answer. Linear in Body; never
// throws on bad input.
std::optional<std::string> ExtractBigText(std::string& Body, TyBigText& Text, size_t MinLength);

// Unescapes the JSON string content Escaped (between its quotes) into UTF-8 at Out, which may
// be Escaped's own start (the result is never longer). A lone surrogate escape becomes U+FFFD.
// Returns the length written, or nothing for a bad escape or a raw control character (then
// nothing was written). Linear.
std::optional<size_t> UnescapeJSONString(std::string_view Escaped, char* Out);

}  // namespace xylem::lsp
