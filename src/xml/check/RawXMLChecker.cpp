#include "xml/check/RawXMLChecker.hpp"

#include "xml/syntax/Names.hpp"
// The tokenizer's own character classes and name rule: every construct must end where the
// tokenizer ends it, or the token checks would see other tokens.
#include "xml/syntax/TokenizerChars.hpp"

namespace xylem::wellformed {

using namespace xmltokenizer;

namespace {

constexpr CySet kASCIINameStart(u":ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz");
constexpr CySet kASCIINameChar(
    u":ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz-.0123456789");
// Where a run of character data needs a closer look: its ends, references and the ']' that
// may begin "]]>".
constexpr CySet kTextCheckStop(std::u16string_view(u"\0<&]", 4));

// CyXMLNames::IsName with the ASCII names decided inline.
bool IsName(const char16_t* Begin, const char16_t* End) {
  if (Begin == End) return false;
  const char16_t* p = Begin;
  if (*p >= 128) return CyXMLNames::IsName({Begin, static_cast<size_t>(End - Begin)});
  if (!kASCIINameStart.Has(*p)) return false;
  for (++p; p < End; ++p) {
    if (*p >= 128) return CyXMLNames::IsName({Begin, static_cast<size_t>(End - Begin)});
    if (!kASCIINameChar.Has(*p)) return false;
  }
  return true;
}

bool AllCharactersAllowed(std::u16string_view Text) {
  char32_t bad;
  return FindForbiddenCharacter(Text, bad) == std::u16string_view::npos;
}

bool StartsWithXMLIgnoringCase(const char16_t* p) {
  return (p[0] | 32) == u'x' && (p[1] | 32) == u'm' && (p[2] | 32) == u'l';
}

}  // namespace

bool CyRawXMLChecker::CheckLine(std::u16string_view Text, const char16_t* NulText, int64_t Line,
                                bool Silent, int32_t& Highest) {
  if (!AllCharactersAllowed(Text)) return false;
  Text_ = NulText;
  Line_ = Line;
  Silent_ = Silent;
  Low_ = Stack_.size();
  Popped_.clear();
  const size_t events = Out_.Events.size();
  const size_t references = Out_.References.size();
  const char16_t* p = NulText;
  bool counted = false;  // met a construct the tokenizer counts (all but references)
  while (*p != kNul) {
    const char16_t c = *p;
    if (c == u'<') {
      p = Markup(p);
      counted = true;
    } else if (c == u'&' && PredefinedLength(p) == 0) {
      p = Reference(p);
    } else {
      p = CharacterData(p);
      counted = true;
    }
    if (p == nullptr) {
      Undo(events, references);
      return false;
    }
  }
  Highest = counted ? 1 : 0;
  return true;
}

bool CyRawXMLChecker::CheckInsideSection(std::u16string_view Text, const TyXMLLineState& Start) {
  constexpr uint64_t kSection = kXMLDocumentGroupWord << kXMLCellBits;
  constexpr uint64_t kBody = (kXMLDocumentSymbolWord << kXMLCellBits) | XMLValue(S::BODY);
  if (Start.StackS != kBody) return false;
  char16_t close;
  if (Start.StackG == (kSection | XMLValue(G::COMMENT)))
    close = u'-';
  else if (Start.StackG == (kSection | XMLValue(G::CDATA)))
    close = u']';
  else
    return false;
  // A comment holds no "--" but its end, so any "--" is for the token checks; a CDATA
  // section ends at "]]>" and holds anything else.
  const bool comment = close == u'-';
  for (size_t i = 0; i + 1 < Text.size(); ++i)
    if (Text[i] == close && Text[i + 1] == close &&
        (comment || (i + 2 < Text.size() && Text[i + 2] == u'>')))
      return false;
  return AllCharactersAllowed(Text);
}

void CyRawXMLChecker::Undo(size_t Events, size_t References) {
  Stack_.resize(Low_);
  for (size_t i = Popped_.size(); i-- > 0;) Stack_.push_back(Popped_[i]);
  Out_.Events.resize(Events);
  Out_.References.resize(References);
}

void CyRawXMLChecker::Pop() {
  // An entry below every size met on the line stood there when the line began.
  if (Stack_.size() == Low_) {
    Popped_.push_back(Stack_.back());
    --Low_;
  }
  Stack_.pop_back();
}

const char16_t* CyRawXMLChecker::Markup(const char16_t* p) {
  switch (p[1]) {
    case u'/':
      return EndTag(p);
    case u'?':
      return ProcessingInstruction(p);
    case u'!':
      if (Match(p, u"<!--")) {
        // The first "--" must be the one of "-->": any other is an error, and a body that
        // ends in '-' puts its "--" before the closing one.
        for (const char16_t* q = p + 4; *q != kNul; ++q)
          if (q[0] == u'-' && q[1] == u'-') return q[2] == u'>' ? q + 3 : nullptr;
        return nullptr;
      }
      if (Match(p, u"<![CDATA[")) {
        AddTagEvent(Out_, Stack_, TyTagEventKind::tekText, {}, Line_, PosOf(p));
        for (const char16_t* q = p + 9; *q != kNul; ++q)
          if (q[0] == u']' && q[1] == u']' && q[2] == u'>') return q + 3;
      }
      return nullptr;  // an unclosed section, a declaration: the token checks decide
    default:
      return StartTag(p);
  }
}

const char16_t* CyRawXMLChecker::StartTag(const char16_t* p) {
  const char16_t* name = p + 1;
  bool colon = false;
  const char16_t* q = SkipName(name, kElementNameStop, colon);
  if (!IsName(name, q)) return nullptr;
  const std::u16string_view tag(name, static_cast<size_t>(q - name));
  Attributes_.Clear();
  for (;;) {
    const bool space = IsSpace(*q);
    q = SkipSpace(q);
    const char16_t c = *q;
    if (c == u'>' || (c == u'/' && q[1] == u'>')) {
      AddTagEvent(Out_, Stack_, TyTagEventKind::tekStart, tag, Line_, PosOf(p));
      if (c == u'>') {
        Stack_.push_back({tag, Line_, PosOf(p)});
        return q + 1;
      }
      return q + 2;
    }
    // An attribute: white space before its name, '=' and a quoted value. '/' begins a name to
    // the tokenizer, an invalid one.
    if (!space || kElementNameStop.Has(c)) return nullptr;
    const char16_t* attribute = q;
    bool ignored = false;
    q = SkipName(q, kElementNameStop, ignored);
    if (!IsName(attribute, q)) return nullptr;
    const std::u16string_view attributeName(attribute, static_cast<size_t>(q - attribute));
    if (!Attributes_.Insert(attributeName)) return nullptr;
    q = SkipSpace(q);
    if (*q != u'=') return nullptr;
    q = AttributeValue(SkipSpace(q + 1));
    if (q == nullptr) return nullptr;
  }
}

// At the value's opening quote; returns the character after its closing quote.
const char16_t* CyRawXMLChecker::AttributeValue(const char16_t* p) {
  const char16_t quote = *p;
  if (quote != u'"' && quote != u'\'') return nullptr;
  for (++p;; ++p) {
    const char16_t c = *p;
    if (c == quote) return p + 1;
    if (c == kNul || c == u'<') return nullptr;
    if (c == u'&') {
      // As far as the token checks read a reference inside a value.
      const char16_t* end = p + 1;
      while (*end != u';' && *end != u'&' && *end != u'<' && *end != u' ' && *end != u'\t' &&
             *end != quote && *end != kNul)
        ++end;
      if (*end != u';' || !AcceptReference({p + 1, static_cast<size_t>(end - p - 1)}, p, true))
        return nullptr;
      p = end;
    }
  }
}

const char16_t* CyRawXMLChecker::EndTag(const char16_t* p) {
  const char16_t* name = p + 2;
  bool colon = false;
  const char16_t* q = SkipName(name, kEndTagNameStop, colon);
  if (q == name) return nullptr;
  const std::u16string_view tag(name, static_cast<size_t>(q - name));
  q = SkipSpace(q);
  if (*q != u'>') return nullptr;
  if (Stack_.empty()) {
    // Matched or not by the pieces before; the join decides.
    if (!Silent_) Out_.Events.push_back({TyTagEventKind::tekEnd, tag, Line_, PosOf(p)});
  } else {
    if (Stack_.back().Name != tag) return nullptr;
    Pop();
  }
  return q + 1;
}

const char16_t* CyRawXMLChecker::ProcessingInstruction(const char16_t* p) {
  // The XML declaration, its look-alikes and the reserved targets are left to the token checks.
  const char16_t* target = p + 2;
  if (StartsWithXMLIgnoringCase(target)) return nullptr;
  bool colon = false;
  const char16_t* q = SkipName(target, kPITargetStop, colon);
  if (!IsName(target, q)) return nullptr;
  for (; *q != kNul; ++q)
    if (q[0] == u'?' && q[1] == u'>') return q + 2;
  return nullptr;
}

const char16_t* CyRawXMLChecker::CharacterData(const char16_t* p) {
  const char16_t* start = p;
  for (;;) {
    const char16_t c = *p;
    if (c > u']' || !kTextCheckStop.Has(c)) {  // most characters: letters, blanks, non-ASCII
      ++p;
      continue;
    }
    if (c == u']') {
      if (p[1] == u']' && p[2] == u'>') return nullptr;
      ++p;
      continue;
    }
    if (c == u'&') {
      if (const unsigned n = PredefinedLength(p)) {
        p += n;
        continue;
      }
    }
    break;
  }
  if (*p == kNul) return nullptr;  // character data goes on in the next line
  // Only text at an empty stack is an event; it then matters whether it is more than blanks.
  if (Stack_.empty()) {
    const char16_t* q = start;
    while (q < p && IsSpace(*q)) ++q;
    if (q < p) AddTagEvent(Out_, Stack_, TyTagEventKind::tekText, {}, Line_, PosOf(start));
  }
  return p;
}

const char16_t* CyRawXMLChecker::Reference(const char16_t* p) {
  const char16_t* end = p + 1;
  while (!kRefStop.Has(*end)) ++end;
  if (*end != u';') return nullptr;
  AddTagEvent(Out_, Stack_, TyTagEventKind::tekText, {}, Line_, PosOf(p));
  if (!AcceptReference({p + 1, static_cast<size_t>(end - p - 1)}, p, false)) return nullptr;
  return end + 1;
}

// Body: what stands between '&' (at Amp) and ';'.
bool CyRawXMLChecker::AcceptReference(std::u16string_view Body, const char16_t* Amp,
                                      bool InAttribute) {
  if (!Body.empty() && Body[0] == u'#') {
    const int64_t value = CharRefValue(Body.substr(1));
    return value >= 0 && IsXMLChar(static_cast<char32_t>(value));
  }
  if (!IsName(Body.data(), Body.data() + Body.size())) return false;
  if (!Silent_ && !IsPredefinedEntity(Body))
    Out_.References.push_back({Body, Line_, PosOf(Amp), InAttribute});
  return true;
}

}  // namespace xylem::wellformed
