#pragma once
// Token kinds of the XML tokenizer: a group (which construct) and a symbol (which part of it),
// and the layout of the two 64-bit state words that hold a stack of them.

#include <cstdint>
#include <string_view>

namespace xylem {

// Which markup construct a token belongs to. Values fit in 5 bits; the cell's bit 32 is the
// group's extra bit (see TxXMLParser::RaiseExtra).
enum class TyXMLGroup : uint8_t {
  NONE = 0,
  NEUTRAL = 1,
  CDATA = 2,
  COMMENT = 3,
  DOCTYPE = 4,
  DT_DECL = 5,
  DT_DECL_ATTLIST = 6,
  DT_DECL_COMMENT = 7,
  DT_DECL_CONDITIONAL = 8,
  DT_DECL_ELEMENT = 9,
  DT_DECL_ENTITY = 10,
  DT_DECL_NOTATION = 11,
  DOCUMENT = 12,
  ELEMENT_OPEN = 13,
  ELEMENT_CLOSE = 14,
  PI = 15,
  REF_ENTITY = 16,
  STRUCTURE = 17,
  TEXT = 18,
  XML = 19,
  XMLModel = 20,
  XMLStylesheet = 21,
};

// Which part of a construct a token is. Values fit in 5 bits; a symbol + 32 (kXMLMissing) is a
// zero-width missing token.
enum class TyXMLSymbol : uint8_t {
  NONE = 0,
  OPEN = 1,
  OPEN_SLASH = 2,
  CLOSE = 3,
  CLOSE_SLASH = 4,
  BODY = 5,
  TAG = 6,
  ATTRIBUTE_NAME = 7,
  ATTRIBUTE_VALUE = 8,
  EQUALS = 9,
  BRACKET_N_OPEN = 10,
  BRACKET_N_CLOSE = 11,
  BRACKET_N = 12,
  BRACKET_R_OPEN = 13,
  BRACKET_R_CLOSE = 14,
  BRACKET_R = 15,
  STRING1_N_OPEN = 16,
  STRING1_N_CLOSE = 17,
  STRING1_N = 18,
  STRING2_N_OPEN = 19,
  STRING2_N_CLOSE = 20,
  STRING2_N = 21,
  STRING1_V_OPEN = 22,
  STRING1_V_CLOSE = 23,
  STRING1_V = 24,
  STRING2_V_OPEN = 25,
  STRING2_V_CLOSE = 26,
  STRING2_V = 27,
  WHITESPACE = 28,
};

inline constexpr unsigned kXMLGroupCount = 22;   // groups 0 .. 21
inline constexpr unsigned kXMLSymbolCount = 29;  // symbols 0 .. 28
inline constexpr unsigned kXMLExtra = 32;        // extra bit of a group cell
inline constexpr unsigned kXMLMissing = 32;      // missing bit of a symbol cell
inline constexpr unsigned kXMLCellBits = 6;
inline constexpr uint64_t kXMLCellMask = 63;
inline constexpr unsigned kXMLStackCells = 10;  // cells that fit in one 64-bit word

// The document-level state: group NEUTRAL over symbol BODY.
inline constexpr uint64_t kXMLDocumentGroupWord = 1;
inline constexpr uint64_t kXMLDocumentSymbolWord = 5;

constexpr unsigned XMLValue(TyXMLGroup g) { return static_cast<unsigned>(g); }
constexpr unsigned XMLValue(TyXMLSymbol s) { return static_cast<unsigned>(s); }
// The missing form of a symbol (symbol + 32).
constexpr unsigned XMLMissing(TyXMLSymbol s) { return static_cast<unsigned>(s) + kXMLMissing; }

// Display name of a group value 0..21 (without its extra bit), e.g. "ELEMENT_OPEN". Any other
// value raises CyShouldNeverHappenException.
std::string_view XMLGroupName(unsigned group);

// Display name of a symbol value, e.g. "TAG" or "CLOSE?" (35). Values 0..28 and the eleven
// missing symbols the tokenizer emits are named; any other value raises
// CyShouldNeverHappenException.
std::string_view XMLSymbolName(unsigned symbol);

}  // namespace xylem
