#pragma once
// Token kinds of the JSON scanner and non-terminals of the JSON parser, with the descriptions
// that messages use for them; the white space between tokens.

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace xylem {

// Past the white space RFC 8259 allows between tokens (space, tab, LF, CR) from P.
inline const char16_t* SkipJSONWhitespace(const char16_t* P) {
  while (*P == u' ' || *P == u'\t' || *P == u'\n' || *P == u'\r') ++P;
  return P;
}

// What the scanner recognised last. The order is part of the interface.
enum TyJSONToken : uint8_t {
  jsonBOI,
  jsonEOI,
  jsonError,
  jsonColon,
  jsonComma,
  jsonLeftCurlyBracket,
  jsonLeftSquareBracket,
  jsonRightCurlyBracket,
  jsonRightSquareBracket,
  jsonLiteralFalse,
  jsonLiteralNull,
  jsonLiteralTrue,
  jsonNumber,
  jsonString,
  jsonWhitespace,
};

// What the parser expected when it names a grammar rule rather than a token.
enum TyJSONNonTerminal : uint8_t {
  jsonArray,
  jsonObject,
  jsonValue,
};

// The token's description in messages, such as "'{'" or "number". Never null.
std::u16string_view JSONTokenDescription(TyJSONToken Token);

// The non-terminal's description in messages; `jsonValue` lists the seven tokens a value starts
// with.
std::u16string JSONNonTerminalDescription(TyJSONNonTerminal NonTerminal);

// Descriptions joined by ", " with " or " before the last one: "',' or ']'".
std::u16string JSONDescribeTokens(std::initializer_list<TyJSONToken> Tokens);
std::u16string JSONDescribeNonTerminals(std::initializer_list<TyJSONNonTerminal> NonTerminals);

// Description of the character at At in a text that ends at End (End points at the final 0):
// "character 'x' (Unicode character \u0078)", "character (Unicode character \u0009)" for
// control characters and lone surrogate code units, "end-of-input" at End.
std::u16string JSONDescribeCharacter(const char16_t* At, const char16_t* End);

// Fills each "%s" of Format with the next argument, in order. Allocates; error paths only.
std::u16string JSONFormatMessage(std::u16string_view Format,
                                 std::initializer_list<std::u16string_view> Arguments);

}  // namespace xylem
