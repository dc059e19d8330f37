#pragma once
// What "whole word" means for plain search. A word character is any character that may appear
// in an XML 1.0 name (the NameChar production of the fifth edition): ASCII letters and digits,
// "_", "-", "." and ":", U+00B7, and the letter, mark and digit ranges from U+00C0 upward that
// the production lists. Every surrogate counts as a word character, since the production admits
// all of U+10000 to U+EFFFF. So "a-b", "x.y" and "ns:local" are single words, as in markup.

namespace xylem {

// True for a code unit that continues or starts an XML name. O(1), no tables.
constexpr bool IsWordCharacter(char16_t Unit) {
  if (Unit < 0x80) {
    return (Unit >= u'a' && Unit <= u'z') || (Unit >= u'A' && Unit <= u'Z') ||
           (Unit >= u'0' && Unit <= u'9') || Unit == u'_' || Unit == u'-' || Unit == u'.' ||
           Unit == u':';
  }
  return Unit == 0xB7 || (Unit >= 0xC0 && Unit <= 0xD6) || (Unit >= 0xD8 && Unit <= 0xF6) ||
         (Unit >= 0xF8 && Unit <= 0x37D) || (Unit >= 0x37F && Unit <= 0x1FFF) || Unit == 0x200C ||
         Unit == 0x200D || Unit == 0x203F || Unit == 0x2040 || (Unit >= 0x2070 && Unit <= 0x218F) ||
         (Unit >= 0x2C00 && Unit <= 0x2FEF) || (Unit >= 0x3001 && Unit <= 0xD7FF) ||
         (Unit >= 0xD800 && Unit <= 0xDFFF) || (Unit >= 0xF900 && Unit <= 0xFDCF) ||
         (Unit >= 0xFDF0 && Unit <= 0xFFFD);
}

}  // namespace xylem
