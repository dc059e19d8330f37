#pragma once
// Character classes and literal tests shared by the tokenizer's source files. Internal to
// the tokenizer; not part of its interface.

#include <cstdint>
#include <string_view>

#include "xml/syntax/TokenizerKinds.hpp"

namespace xylem::xmltokenizer {

using G = TyXMLGroup;
using S = TyXMLSymbol;

constexpr unsigned V(G g) { return XMLValue(g); }
constexpr unsigned V(S s) { return XMLValue(s); }
constexpr unsigned M(S s) { return XMLMissing(s); }

// Character classes as bit sets over the code units 0..127 (lo: 0..63, hi: 64..127).
struct CySet {
  uint64_t Lo = 0;
  uint64_t Hi = 0;
  constexpr CySet(std::u16string_view chars) {
    for (char16_t c : chars) (c < 64 ? Lo : Hi) |= uint64_t(1) << (c & 63);
  }
  constexpr bool Has(char16_t c) const {
    return c < 64 ? ((Lo >> c) & 1) != 0 : c < 128 && ((Hi >> (c - 64)) & 1) != 0;
  }
};

constexpr char16_t kNul = 0;
constexpr CySet kSpace(u"\t\n\r ");
constexpr CySet kTextStop(std::u16string_view(u"\0<&", 3));
constexpr CySet kRefStop(std::u16string_view(u"\0\t\n\r <&;", 8));
constexpr CySet kElementNameStop(std::u16string_view(u"\0\t\n\r ><='\"/", 11));
constexpr CySet kInstructionNameStop(std::u16string_view(u"\0\t\n\r ><='\"?", 11));
constexpr CySet kEndTagNameStop(std::u16string_view(u"\0\t\n\r ></", 8));
constexpr CySet kPITargetStop(std::u16string_view(u"\0\t\n\r ?", 6));
constexpr CySet kDoctypeWordStop(std::u16string_view(u"\0\t\n\r '\"><[", 10));
constexpr CySet kDeclWordStop(std::u16string_view(u"\0\t\n\r '\"><(", 10));
constexpr CySet kBracketStop(std::u16string_view(u"\0()<>", 5));

inline bool IsSpace(char16_t c) { return kSpace.Has(c); }

// Literal comparison; the NUL that ends the text never equals a literal character, so this
// never reads past the end.
inline bool Match(const char16_t* p, std::u16string_view literal) {
  for (char16_t c : literal) {
    if (*p != c) return false;
    ++p;
  }
  return true;
}

// Length of the predefined reference at p ("&amp;" ...), 0 when there is none.
inline unsigned PredefinedLength(const char16_t* p) {
  switch (p[1]) {
    case u'a':
      if (Match(p + 2, u"mp;")) return 5;
      if (Match(p + 2, u"pos;")) return 6;
      return 0;
    case u'g':
      return Match(p + 2, u"t;") ? 4 : 0;
    case u'l':
      return Match(p + 2, u"t;") ? 4 : 0;
    case u'q':
      return Match(p + 2, u"uot;") ? 6 : 0;
    default:
      return 0;
  }
}

// An instruction name ends at white space, '?' or the end of the text.
inline bool EndsInstructionName(char16_t c) { return IsSpace(c) || c == u'?' || c == kNul; }

// Runs over a name whose stop set may hold '/' or '?', which stop it only before '>'.
inline const char16_t* SkipName(const char16_t* p, const CySet& stop, bool& colon) {
  for (;;) {
    const char16_t c = *p;
    if (c > u'?') {  // above every stop character
      ++p;
      continue;
    }
    if (stop.Has(c)) {
      if ((c == u'/' || c == u'?') && p[1] != u'>') {
        ++p;
        continue;
      }
      return p;
    }
    colon |= c == u':';
    ++p;
  }
}

inline const char16_t* SkipSpace(const char16_t* p) {
  while (IsSpace(*p)) ++p;
  return p;
}

// Zero-length steps in a row beyond this mean the state machine lost its way.
constexpr int kMaxIdleSteps = 16;

}  // namespace xylem::xmltokenizer
