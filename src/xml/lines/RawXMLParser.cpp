#include "xml/lines/RawXMLParser.hpp"

// The tokenizer's own character classes and name rule: the fast scan must cut exactly where
// the tokenizer cuts, so it shares them rather than restating them.
#include "xml/syntax/TokenizerChars.hpp"

namespace xylem {

using namespace xmltokenizer;

namespace {

// After the name of a tag: attributes (a name, optionally '=' and a quoted value) up to the
// tag's end. Returns the character after the tag, nullptr when the tokenizer would take any
// other path (a missing value, a stray quote, the line's end inside the tag).
const char16_t* SkipTagRest(const char16_t* p, const CySet& stop, bool instruction) {
  for (;;) {
    p = SkipSpace(p);
    const char16_t c = *p;
    if (instruction) {
      if (c == u'?' && p[1] == u'>') return p + 2;
    } else {
      if (c == u'>') return p + 1;
      if (c == u'/' && p[1] == u'>') return p + 2;
    }
    if (stop.Has(c) || c == u'?' || c == u'/') return nullptr;
    bool colon = false;
    p = SkipSpace(SkipName(p, stop, colon));
    if (*p != u'=') continue;
    p = SkipSpace(p + 1);
    const char16_t quote = *p;
    if (quote != u'"' && quote != u'\'') return nullptr;
    ++p;
    while (*p != quote && *p != kNul && !(instruction && p[0] == u'?' && p[1] == u'>')) ++p;
    if (*p != quote) return nullptr;  // the line's end, or "?>" that ends an instruction
    ++p;
  }
}

// The end of a delimited body ("-->", "]]>") on this line, nullptr when it goes on.
const char16_t* SkipDelimited(const char16_t* p, char16_t close) {
  for (; *p != kNul; ++p)
    if (*p == close && p[1] == close && p[2] == u'>') return p + 3;
  return nullptr;
}

// One construct that begins with '<'; nullptr when the fast scan declines.
const char16_t* SkipMarkup(const char16_t* p) {
  bool colon = false;
  switch (p[1]) {
    case u'/': {
      p = SkipSpace(SkipName(p + 2, kEndTagNameStop, colon));
      return *p == u'>' ? p + 1 : nullptr;
    }
    case u'!':
      if (Match(p, u"<!--")) return SkipDelimited(p + 4, u'-');
      if (Match(p, u"<![CDATA[")) return SkipDelimited(p + 9, u']');
      return nullptr;
    case u'?':
      // The XML declaration and its two look-alikes are tags to the tokenizer; other
      // processing instructions are left to it.
      if (!Match(p, u"<?xml")) return nullptr;
      if (!EndsInstructionName(p[5]) && !(Match(p + 5, u"-model") && EndsInstructionName(p[11])) &&
          !(Match(p + 5, u"-stylesheet") && EndsInstructionName(p[16])))
        return nullptr;
      return SkipTagRest(SkipName(p + 2, kInstructionNameStop, colon), kInstructionNameStop, true);
    default:
      return SkipTagRest(SkipName(p + 1, kElementNameStop, colon), kElementNameStop, false);
  }
}

}  // namespace

// At document level every construct the scan accepts begins at depth 0 (the one before it has
// been counted off) and ends on the line, so the line's delta and lowest are 0 and its highest
// is 1 when anything but references was met. References change no count in the tokenizer.
bool CyRawXMLParser::ParseXML(const char16_t* Text, int32_t& Delta, int32_t& Lowest,
                              int32_t& Highest) {
  const char16_t* p = Text;
  bool counted = false;
  for (;;) {
    const char16_t c = *p;
    if (c == kNul) break;
    if (c == u'<') {
      p = SkipMarkup(p);
      if (p == nullptr) return false;
      counted = true;
    } else if (c == u'&' && PredefinedLength(p) == 0) {
      ++p;
      while (!kRefStop.Has(*p)) ++p;
      if (*p == u';') ++p;
    } else {
      // Character data up to the next markup; at the line's end it would go on in the next.
      for (;;) {
        const char16_t d = *p;
        if (d == u'&') {
          if (const unsigned n = PredefinedLength(p)) {
            p += n;
            continue;
          }
          break;
        }
        if (d == u'<' || d == kNul) break;
        ++p;
      }
      if (*p == kNul) return false;
      counted = true;
    }
  }
  Delta = 0;
  Lowest = 0;
  Highest = counted ? 1 : 0;
  return true;
}

}  // namespace xylem
