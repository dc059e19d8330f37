#pragma once
// The JSON scanner: one token at a time over a NUL-terminated UTF-16 text, white space included.

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>

#include "json/Memory.hpp"
#include "json/Token.hpp"

namespace xylem {

// Strict RFC 8259 tokens. Raises JSONException at the first character that cannot start or
// continue a token. No allocation except when raising. Not thread-safe; one scanner per parse.
class CyJSONScanner {
 public:
  // Scans Input, which must outlive the scanner. The token starts as jsonBOI.
  explicit CyJSONScanner(const CyJSONMemory& Input);
  // Scans Data[0, Count); Data[Count] must be 0.
  CyJSONScanner(const char16_t* Data, size_t Count);

  // Moves to the next token; at the end it stays on jsonEOI.
  void Next();

  TyJSONToken Token() const { return Token_; }
  // First character of the current token.
  const char16_t* Head() const { return Head_; }
  // Just past the current token's last character.
  const char16_t* Tail() const { return Current_; }
  // The current token is jsonEOI.
  bool IsDone() const { return Token_ == jsonEOI; }
  // 1-based number of the line the scanner stands on (after a white-space token: the line it ends
  // on).
  int64_t Line() const { return Line_; }
  // First character of that line.
  const char16_t* LineStart() const { return LineStart_; }
  // The token before the current one, and its span.
  TyJSONToken PreviousToken() const { return PreviousToken_; }
  const char16_t* PreviousHead() const { return PreviousHead_; }
  const char16_t* PreviousTail() const { return Head_; }
  // The text's first character and its final 0.
  const char16_t* TextBegin() const { return Begin_; }
  const char16_t* TextEnd() const { return End_; }

 private:
  void ScanNumber();
  void ScanString();
  void ScanWhitespace();
  void MatchText(std::u16string_view Text);
  // Raises JSONException at the scanner's current character with Format filled from Arguments.
  [[noreturn]] void Error(std::u16string_view Format,
                          std::initializer_list<std::u16string_view> Arguments);
  // Raises Format filled with the description of the character at At, positioned at At.
  [[noreturn]] void ErrorAt(const char16_t* At, std::u16string_view Format);

  const char16_t* Begin_;
  const char16_t* End_;
  const char16_t* Current_;
  int64_t Line_ = 1;
  const char16_t* LineStart_;
  // Tokens are contiguous, so a token's tail is the current character and the previous
  // token's tail is the current head: fewer stores per token on the hottest path.
  TyJSONToken Token_ = jsonBOI;
  TyJSONToken PreviousToken_ = jsonBOI;
  const char16_t* Head_;
  const char16_t* PreviousHead_;
};

}  // namespace xylem
