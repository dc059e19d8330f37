#include "xml/syntax/Names.hpp"

#include <array>

namespace xylem {

namespace {

using TyRange = CyXML105thCharacterSets::TyRange;

constexpr TyRange kNameStart[] = {
    {U':', U':'},     {U'A', U'Z'},     {U'_', U'_'},     {U'a', U'z'},
    {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},
    {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},
    {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF},
};

constexpr TyRange kNameExtra[] = {
    {U'-', U'-'}, {U'.', U'.'}, {U'0', U'9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040},
};

// One bit per UTF-16 code unit. The supplementary range is entered through its surrogates:
// high surrogates D800..DB7F lead to U+10000..U+EFFFF, and any low surrogate may follow.
using TyTable = std::array<uint64_t, 65536 / 64>;

constexpr void Fill(TyTable& table, char32_t first, char32_t last) {
  for (char32_t c = first; c <= last && c < 0x10000; ++c) table[c >> 6] |= uint64_t(1) << (c & 63);
}

constexpr TyTable MakeTable(bool nameChar) {
  TyTable table{};
  for (const TyRange& r : kNameStart) Fill(table, r.First, r.Last);
  if (nameChar)
    for (const TyRange& r : kNameExtra) Fill(table, r.First, r.Last);
  Fill(table, 0xD800, 0xDB7F);
  Fill(table, 0xDC00, 0xDFFF);
  return table;
}

constexpr TyTable kStartTable = MakeTable(false);
constexpr TyTable kNameTable = MakeTable(true);

constexpr bool In(const TyTable& table, char16_t c) { return (table[c >> 6] >> (c & 63)) & 1; }

constexpr bool IsSurrogate(char32_t c) { return c >= 0xD800 && c <= 0xDFFF; }

// The supplementary planes 1..14 are name characters as a whole; one comparison, no search.
constexpr bool InSupplementary(char32_t c) { return c >= 0x10000 && c <= 0xEFFFF; }

bool CodePointTest(char32_t c, const TyTable& table) {
  if (c < 0x10000) return !IsSurrogate(c) && In(table, static_cast<char16_t>(c));
  return InSupplementary(c);
}

bool NameTest(std::u16string_view s, bool allowColon) {
  if (s.empty()) return false;
  for (size_t i = 0; i < s.size(); ++i) {
    char32_t c = s[i];
    if (c >= 0xD800 && c <= 0xDBFF) {
      if (i + 1 == s.size() || s[i + 1] < 0xDC00 || s[i + 1] > 0xDFFF) return false;
      c = 0x10000 + ((c - 0xD800) << 10) + (s[i + 1] - 0xDC00);
      ++i;
    } else if (c >= 0xDC00 && c <= 0xDFFF) {
      return false;
    }
    if (c == U':' && !allowColon) return false;
    if (!CodePointTest(c, i == 0 ? kStartTable : kNameTable)) return false;
  }
  return true;
}

}  // namespace

std::span<const TyRange> CyXML105thCharacterSets::NameStartChar() { return kNameStart; }
std::span<const TyRange> CyXML105thCharacterSets::NameCharExtra() { return kNameExtra; }

bool CyXML105th::IsNameStartChar(char32_t c) { return CodePointTest(c, kStartTable); }
bool CyXML105th::IsNameChar(char32_t c) { return CodePointTest(c, kNameTable); }

bool CyXMLNames::IsName(std::u16string_view s) { return NameTest(s, true); }
bool CyXMLNames::IsNCName(std::u16string_view s) { return NameTest(s, false); }
bool CyXMLNames::IsPrefix(std::u16string_view s) { return NameTest(s, false); }

bool CyXMLNames::IsName_Char(int index, char16_t c) {
  return In(index == 1 ? kStartTable : kNameTable, c);
}
bool CyXMLNames::IsNCName_Char(int index, char16_t c) { return c != u':' && IsName_Char(index, c); }
bool CyXMLNames::IsPrefix_Char(int index, char16_t c) { return IsNCName_Char(index, c); }

}  // namespace xylem
