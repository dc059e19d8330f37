#pragma once
// Name tests of XML 1.0 fifth edition (productions [4] NameStartChar, [4a] NameChar, [5] Name)
// and of Namespaces in XML (NCName, Prefix). Every test is a table lookup.

#include <cstdint>
#include <span>
#include <string_view>

namespace xylem {

// The productions as code-point ranges, from which the lookup tables are built at compile time.
class CyXML105thCharacterSets {
 public:
  struct TyRange {
    char32_t First;
    char32_t Last;  // inclusive
  };
  // [4] NameStartChar.
  static std::span<const TyRange> NameStartChar();
  // What [4a] NameChar adds to NameStartChar.
  static std::span<const TyRange> NameCharExtra();
};

// Character tests on whole code points. Thread-safe (read-only tables); O(1).
class CyXML105th {
 public:
  static bool IsNameStartChar(char32_t c);
  static bool IsNameChar(char32_t c);
};

// Name tests on UTF-16 text. A surrogate pair is tested as its code point; a lone surrogate
// fails. The Char_ tests take one code unit: a surrogate of a supplementary name character
// (U+10000..U+EFFFF) passes. Index is 1-based: index 1 is tested as a start character.
class CyXMLNames {
 public:
  // Not empty, first character NameStartChar, the others NameChar. Linear in the length.
  static bool IsName(std::u16string_view s);
  // IsName without ':' anywhere.
  static bool IsNCName(std::u16string_view s);
  // A namespace prefix: the same test as IsNCName.
  static bool IsPrefix(std::u16string_view s);
  static bool IsName_Char(int index, char16_t c);
  static bool IsNCName_Char(int index, char16_t c);
  static bool IsPrefix_Char(int index, char16_t c);
};

}  // namespace xylem
