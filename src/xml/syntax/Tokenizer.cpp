#include "xml/syntax/Tokenizer.hpp"

#include <algorithm>
#include <string>

#include "common/Exception.hpp"
#include "xml/syntax/TokenizerChars.hpp"

namespace xylem {

using namespace xmltokenizer;

bool TyXMLToken::IsWhitespace() const {
  const unsigned group = Group0();
  if ((group != V(G::TEXT) && group != V(G::DT_DECL)) || Symbol0() != V(S::BODY)) return false;
  for (char16_t c : Text())
    if (!IsSpace(c)) return false;
  return true;
}

void TxXMLParser::PushState(unsigned Symbol, int Group) {
  if (!CanPush()) throw CyShouldNeverHappenException("TxXMLParser::PushState: stack full");
  const uint64_t group = Group < 0 ? (G_ & 31) : static_cast<uint64_t>(Group);
  G_ = (G_ << kXMLCellBits) | (group & kXMLCellMask);
  S_ = (S_ << kXMLCellBits) | (Symbol & kXMLCellMask);
}

void TxXMLParser::PopState() {
  G_ >>= kXMLCellBits;
  S_ >>= kXMLCellBits;
}

void TxXMLParser::GoToState(unsigned Symbol, int Group) {
  if (Group >= 0) G_ = (G_ & ~kXMLCellMask) | (static_cast<uint64_t>(Group) & kXMLCellMask);
  S_ = (S_ & ~kXMLCellMask) | (Symbol & kXMLCellMask);
}

void TxXMLParser::GoToStateForgetExtra(unsigned Symbol) {
  G_ &= ~static_cast<uint64_t>(kXMLExtra);
  S_ = (S_ & ~kXMLCellMask) | (Symbol & kXMLCellMask);
}

void TxXMLParser::RaiseExtra() {
  G_ |= kXMLExtra;
  Token_.StackG0 |= kXMLExtra;
}

void TxXMLParser::LowerExtra() {
  G_ &= ~static_cast<uint64_t>(kXMLExtra);
  Token_.StackG0 &= ~static_cast<uint64_t>(kXMLExtra);
}

void TxXMLParser::Skip(unsigned n) {
  // Delimiters are consumed only after a look-ahead saw them; a NUL here means a state that no
  // scan of this text can have produced.
  for (; n > 0; --n, ++P_)
    if (*P_ == kNul) Impossible();
}

void TxXMLParser::Impossible() const {
  throw CyShouldNeverHappenException("TxXMLParser: no branch for group " +
                                     std::to_string(G_ & kXMLCellMask) + " symbol " +
                                     std::to_string(S_ & kXMLCellMask));
}

// A construct begins at this token: count off a construct finished earlier, then count up.
void TxXMLParser::Begin(bool Up) {
  if (ClosePending_) {
    ClosePending_ = false;
    Token_.DeltaDown = true;
    --DeltaPos_;
  }
  Lowest_ = std::min(Lowest_, DeltaPos_);  // this token's DeltaNeg
  if (Up) {
    Token_.DeltaUp = true;
    ++DeltaPos_;
    Highest_ = std::max(Highest_, DeltaPos_);
  }
}

// A construct finished; it is counted off at the next begin or at the end of the text.
void TxXMLParser::Finish() {
  ClosePending_ = true;
  PopState();
}

void TxXMLParser::First(const char16_t* Text, bool AtEnd, uint64_t GroupWord, uint64_t SymbolWord) {
  Base_ = P_ = Text;
  AtEnd_ = AtEnd;
  G_ = GroupWord;
  S_ = SymbolWord;
  DeltaPos_ = 0;
  OpenPending_ = ClosePending_ = false;
  Lowest_ = Highest_ = 0;
  Fuse_ = false;
  Token_ = TyXMLToken{};
  Next();
}

void TxXMLParser::Next() {
  const bool wasMissing = Token_.TextIsMissing;
  for (int idle = 0;; ++idle) {
    if (idle > kMaxIdleSteps) throw CyShouldNeverHappenException("TxXMLParser::Next: no progress");
    Scan();
    if (Token_.Offset1 != Token_.Offset0 || Token_.TextIsMissing || Token_.IsDone) break;
  }
  Token_.TextWasMissing = wasMissing;
}

void TxXMLParser::ScanUntilEOL(const char16_t* Text, bool AtEnd, int32_t& LastDelta,
                               int32_t& MinDelta, int32_t& MaxDelta, uint64_t& GroupWord,
                               uint64_t& SymbolWord) {
  Base_ = P_ = Text;
  AtEnd_ = AtEnd;
  G_ = GroupWord;
  S_ = SymbolWord;
  DeltaPos_ = 0;
  OpenPending_ = ClosePending_ = false;
  Fuse_ = true;
  // The same steps as Scan, without filling the token record: this is the hot path of the
  // line-state scan. Begin keeps the lowest and highest counts.
  Lowest_ = Highest_ = 0;
  int32_t last;
  int idle = 0;
  for (;;) {
    const char16_t* start = P_;
    const uint64_t before = S_;
    Token_.DeltaUp = false;
    if (*start == kNul && ClosePending_) Begin(false);
    Step();
    last = Token_.DeltaUp ? DeltaPos_ - 1 : DeltaPos_;
    const bool missing = (before & kXMLMissing) != 0;
    if ((G_ == 0 && S_ == 0) || (*start == kNul && !missing && (S_ & kXMLMissing) == 0)) break;
    if (P_ != start || missing)
      idle = 0;
    else if (++idle > kMaxIdleSteps)
      throw CyShouldNeverHappenException("TxXMLParser::ScanUntilEOL: no progress");
  }
  Fuse_ = false;
  const int32_t lowest = Lowest_, highest = Highest_;
  LastDelta = last;
  MinDelta = lowest;
  MaxDelta = highest;
  GroupWord = G_;
  SymbolWord = S_;
}

namespace {

// One state word as one 8-byte load. The steps store the two words separately; copied as a pair,
// they become one 16-byte load that the store buffer cannot serve, which stalls every token.
inline uint64_t LoadWord(const uint64_t& Word) {
  uint64_t word = Word;
  asm("" : "+r"(word));
  return word;
}

}  // namespace

void TxXMLParser::Scan() {
  Token_.DeltaUp = false;
  Token_.DeltaDown = false;
  Token_.StackG0 = LoadWord(G_);
  Token_.StackS0 = LoadWord(S_);
  const char16_t* start = P_;
  // End of the text: a construct finished last is counted off at the final token.
  if (*start == kNul && ClosePending_) Begin(false);
  Step();
  Token_.StackG1 = LoadWord(G_);
  Token_.StackS1 = LoadWord(S_);
  Token_.Start = start;
  Token_.Offset0 = start - Base_;
  Token_.Offset1 = P_ - Base_;
  Token_.DeltaPos = DeltaPos_;
  Token_.TextIsMissing = (Token_.StackS0 & kXMLMissing) != 0;
  Token_.IsDone =
      (G_ == 0 && S_ == 0) || (*start == kNul && !Token_.TextIsMissing && (S_ & kXMLMissing) == 0);
}

void TxXMLParser::Step() {
  const unsigned group = static_cast<unsigned>(G_ & 31);
  const unsigned symbol = static_cast<unsigned>(S_ & kXMLCellMask);
  switch (static_cast<G>(group)) {
    case G::NEUTRAL:
      if (symbol != V(S::BODY)) Impossible();
      ScanNeutral();
      break;
    case G::STRUCTURE:
      if (symbol != V(S::OPEN)) Impossible();
      ScanStructure();
      break;
    case G::TEXT:
      ScanText();
      break;
    case G::REF_ENTITY:
      ScanReference();
      break;
    case G::ELEMENT_OPEN:
    case G::ELEMENT_CLOSE:
    case G::XML:
    case G::XMLModel:
    case G::XMLStylesheet:
      ScanTag(group, symbol);
      break;
    case G::COMMENT:
    case G::DT_DECL_COMMENT:
    case G::CDATA:
    case G::DT_DECL_CONDITIONAL:
      ScanDelimited(group, symbol);
      break;
    case G::PI:
      ScanPI(symbol);
      break;
    case G::DOCTYPE:
    case G::DT_DECL_ATTLIST:
    case G::DT_DECL_ELEMENT:
    case G::DT_DECL_ENTITY:
    case G::DT_DECL_NOTATION:
      ScanDeclaration(group, symbol);
      break;
    case G::DT_DECL:
      ScanSubset(symbol);
      break;
    case G::NONE:
      if (G_ != 0 || S_ != 0) Impossible();
      break;  // the empty state: nothing left to scan
    default:
      Impossible();
  }
}

void TxXMLParser::ScanNeutral() {
  for (;;) {
    const char16_t c = *P_;
    if (c == kNul) return;
    if (c == u'<') {
      Push(S::OPEN, V(G::STRUCTURE));
      if (!Fuse_) return;
      ScanStructure();
    } else if (c == u'&' && PredefinedLength(P_) == 0) {
      Push(S::OPEN, V(G::REF_ENTITY));
      if (!Fuse_) return;
      ScanReference();
    } else {
      Push(S::OPEN, V(G::TEXT));  // the five predefined references count as text
      if (!Fuse_) return;
      ScanText();  // OPEN
      ScanText();  // BODY
      if ((S_ & kXMLCellMask) == M(S::CLOSE)) ScanText();
    }
    // Fused: go on with the next construct while this one finished on the line. Each round
    // consumed at least one character.
    if (G_ != kXMLDocumentGroupWord || S_ != kXMLDocumentSymbolWord) return;
  }
}

// In fused mode (ScanUntilEOL) the steps of one construct after its begin run without
// returning to the dispatch: nobody sees their tokens, and they change no delta count.
void TxXMLParser::ScanReference() {
  ReferenceStep();
  while (Fuse_ && (G_ & 31) == V(G::REF_ENTITY) && *P_ != kNul) ReferenceStep();
}

void TxXMLParser::ScanTag(unsigned Group, unsigned Symbol) {
  TagStep(Group, Symbol);
  if (!Fuse_) return;
  if (Symbol == V(S::OPEN) && Group == V(G::ELEMENT_OPEN)) FastStartTag();
  if (Symbol == V(S::OPEN_SLASH)) FastEndTag();
  for (int idle = 0; (G_ & 31) == Group && *P_ != kNul;) {
    const char16_t* before = P_;
    TagStep(Group, static_cast<unsigned>(S_ & kXMLCellMask));
    idle = P_ == before ? idle + 1 : 0;
    if (idle > kMaxIdleSteps) Impossible();
  }
}

void TxXMLParser::ScanStructure() {
  Decide();
  if (Fuse_) Step();
}

void TxXMLParser::Decide() {
  const char16_t* p = P_;
  if (p[1] == u'/') return GoToState(V(S::OPEN_SLASH), V(G::ELEMENT_CLOSE));
  if (p[1] == u'!') {
    if (Match(p, u"<![CDATA[")) return GoToState(V(S::OPEN), V(G::CDATA));
    if (Match(p, u"<!--")) return GoToState(V(S::OPEN), V(G::COMMENT));
    // The lower-case spelling is accepted on purpose (HTML habits).
    if (Match(p, u"<!DOCTYPE") || Match(p, u"<!doctype"))
      return GoToState(V(S::OPEN), V(G::DOCTYPE));
  } else if (p[1] == u'?') {
    if (Match(p, u"<?xml")) {
      if (EndsInstructionName(p[5])) return GoToState(V(S::OPEN), V(G::XML));
      if (Match(p + 5, u"-model") && EndsInstructionName(p[11]))
        return GoToState(V(S::OPEN), V(G::XMLModel));
      if (Match(p + 5, u"-stylesheet") && EndsInstructionName(p[16]))
        return GoToState(V(S::OPEN), V(G::XMLStylesheet));
    }
    return GoToState(V(S::OPEN), V(G::PI));
  }
  GoToState(V(S::OPEN), V(G::ELEMENT_OPEN));
}

void TxXMLParser::ScanText() {
  switch (static_cast<unsigned>(S_ & kXMLCellMask)) {
    case V(S::OPEN):
      Go(S::BODY);
      OpenPending_ = true;
      return;
    case V(S::BODY): {
      if (OpenPending_) {
        OpenPending_ = false;
        Begin(true);
      }
      const char16_t* p = P_;
      bool more = (G_ & kXMLExtra) != 0;  // holds more than white space
      char16_t c;
      for (;;) {
        c = *p;
        // One predictable test per character: the stops are rare, white space is not.
        const uint64_t bit = uint64_t(1) << (c & 63);
        const bool low = c < 64;
        if (low && (bit & kTextStop.Lo) != 0) {
          if (c == u'&') {
            if (const unsigned n = PredefinedLength(p)) {
              p += n;
              more = true;
              continue;
            }
          }
          break;
        }
        more |= !low || (bit & kSpace.Lo) == 0;
        ++p;
      }
      P_ = p;
      if (more) RaiseExtra();
      // Character data has no delimiter of its own: it always ends in a zero-width CLOSE?.
      if (c != kNul || AtEnd_) GoMissing(S::CLOSE);
      return;
    }
    case M(S::CLOSE):
      Finish();
      return;
    default:
      Impossible();
  }
}

void TxXMLParser::ReferenceStep() {
  switch (static_cast<unsigned>(S_ & kXMLCellMask)) {
    case V(S::OPEN):
      Skip(1);
      Go(S::BODY);
      return;
    case V(S::BODY): {
      const char16_t* p = P_;
      while (!kRefStop.Has(*p)) ++p;
      P_ = p;
      // A reference never runs on past the end of the line, whether or not text follows.
      if (*p == u';')
        Go(S::CLOSE);
      else
        GoMissing(S::CLOSE);
      return;
    }
    case V(S::CLOSE):
      Skip(1);
      PopState();
      return;
    case M(S::CLOSE):
      PopState();
      return;
    default:
      Impossible();
  }
}

void TxXMLParser::TagDispatch(unsigned Group) {
  const bool element = Group == V(G::ELEMENT_OPEN);
  const bool endTag = Group == V(G::ELEMENT_CLOSE);
  const bool instruction = !element && !endTag;
  const char16_t c = *P_;
  if (IsSpace(c)) return Go(S::WHITESPACE);
  switch (c) {
    case kNul:
      // Without AtEnd the tag goes on in the next line: the line end acts as white space.
      return AtEnd_ ? GoMissing(S::CLOSE) : Go(S::WHITESPACE);
    case u'<':
    case u'>':
      // Only "?>" ends an instruction other than the XML declaration; '<' ends a tag.
      if (instruction && Group != V(G::XML)) return Go(S::ATTRIBUTE_NAME);
      if (c == u'<') return GoMissing(S::CLOSE);
      return instruction ? GoMissing(S::CLOSE) : Go(S::CLOSE);
    case u'/':
      return !instruction && P_[1] == u'>' ? Go(S::CLOSE_SLASH) : Go(S::ATTRIBUTE_NAME);
    case u'?':
      return instruction && P_[1] == u'>' ? Go(S::CLOSE) : Go(S::ATTRIBUTE_NAME);
    case u'=':
      return endTag ? Go(S::ATTRIBUTE_NAME) : Go(S::EQUALS);
    case u'\'':
      return endTag ? Go(S::ATTRIBUTE_NAME) : Go(S::STRING1_V_OPEN);
    case u'"':
      return endTag ? Go(S::ATTRIBUTE_NAME) : Go(S::STRING2_V_OPEN);
    default:
      return Go(S::ATTRIBUTE_NAME);
  }
}

void TxXMLParser::TagStep(unsigned Group, unsigned Symbol) {
  const bool element = Group == V(G::ELEMENT_OPEN);
  const bool endTag = Group == V(G::ELEMENT_CLOSE);
  const bool instruction = !element && !endTag;
  const CySet& nameStop = element  ? kElementNameStop
                          : endTag ? kEndTagNameStop
                                   : kInstructionNameStop;
  // Instructions take '"' for a missing value, elements '\''.
  const S missingOpen = instruction ? S::STRING2_V_OPEN : S::STRING1_V_OPEN;
  switch (Symbol) {
    case V(S::OPEN):
      if (endTag) Impossible();
      Begin(true);
      Skip(element ? 1 : 2);
      return Go(S::TAG);
    case V(S::OPEN_SLASH):
      if (!endTag) Impossible();
      Begin(true);
      Skip(2);
      return Go(S::TAG);
    case V(S::TAG): {
      bool colon = false;
      P_ = SkipName(P_, nameStop, colon);
      if (colon && !instruction) RaiseExtra();  // the element name holds a prefix
      return TagDispatch(Group);
    }
    case V(S::ATTRIBUTE_NAME): {
      bool colon = false;
      Skip(1);
      P_ = SkipName(P_, nameStop, colon);
      return TagDispatch(Group);
    }
    case V(S::WHITESPACE):
      P_ = SkipSpace(P_);
      return TagDispatch(Group);
    case V(S::CLOSE):
      Skip(instruction ? 2 : 1);
      return Finish();
    case V(S::CLOSE_SLASH):
      if (instruction) Impossible();
      Skip(2);
      return Finish();
    case M(S::CLOSE):
      return Finish();
    default:
      break;
  }
  if (endTag) Impossible();
  switch (Symbol) {
    case V(S::EQUALS):
      Skip(1);
      if (Fuse_) {
        // Fused: a value quoted right behind '=' and closed on this line is read in one go,
        // as its four steps would (ATTRIBUTE_VALUE of no width, quote, inside, quote).
        const char16_t quote = *P_;
        if (quote == u'"' || quote == u'\'') {
          const char16_t* p = P_ + 1;
          while (*p != quote && *p != kNul && !(instruction && p[0] == u'?' && p[1] == u'>')) ++p;
          if (*p == quote) {
            P_ = p + 1;
            return TagDispatch(Group);
          }
        }
      }
      return Go(S::ATTRIBUTE_VALUE);
    case V(S::ATTRIBUTE_VALUE): {
      P_ = SkipSpace(P_);
      const char16_t c = *P_;
      if (c == u'\'') return Go(S::STRING1_V_OPEN);
      if (c == u'"') return Go(S::STRING2_V_OPEN);
      if (c == kNul && !AtEnd_) return;  // the value may begin on the next line
      return GoMissing(missingOpen);
    }
    case V(S::STRING1_V_OPEN):
      Skip(1);
      return Go(S::STRING1_V);
    case V(S::STRING2_V_OPEN):
      Skip(1);
      return Go(S::STRING2_V);
    case V(S::STRING1_V):
    case V(S::STRING2_V): {
      const bool single = Symbol == V(S::STRING1_V);
      const char16_t quote = single ? u'\'' : u'"';
      const char16_t* p = P_;
      // An instruction ends at its first "?>", inside quotes too: XML 1.0 knows no
      // pseudo-attributes.
      while (*p != quote && *p != kNul && !(instruction && p[0] == u'?' && p[1] == u'>')) ++p;
      P_ = p;
      // Attribute values may span lines: without AtEnd the value goes on in the next line.
      if (*p == quote)
        Go(single ? S::STRING1_V_CLOSE : S::STRING2_V_CLOSE);
      else if (AtEnd_ || *p == u'?')
        GoMissing(single ? S::STRING1_V_CLOSE : S::STRING2_V_CLOSE);
      return;
    }
    case V(S::STRING1_V_CLOSE):
    case V(S::STRING2_V_CLOSE):
      Skip(1);
      return TagDispatch(Group);
    // A missing value unwinds as missing open quote, missing inside, missing close quote.
    case M(S::STRING1_V_OPEN):
      return GoMissing(S::STRING1_V);
    case M(S::STRING2_V_OPEN):
      return GoMissing(S::STRING2_V);
    case M(S::STRING1_V):
      return GoMissing(S::STRING1_V_CLOSE);
    case M(S::STRING2_V):
      return GoMissing(S::STRING2_V_CLOSE);
    case M(S::STRING1_V_CLOSE):
    case M(S::STRING2_V_CLOSE):
      return TagDispatch(Group);
    default:
      Impossible();
  }
}

// Fused, on the name of a start tag: reads the usual shapes (names, white space, values quoted
// right behind '=', '>' and '/>') with straight-line code instead of one dispatch per token.
// Every unit it takes ends where the token steps would end it, so anything else falls back to
// them at a unit boundary with the same TagDispatch that they would run there.
void TxXMLParser::FastStartTag() {
  const char16_t* p = P_;
  bool colon = false;
  p = SkipName(p, kElementNameStop, colon);
  if (colon) RaiseExtra();
  for (;;) {
    char16_t c = *p;
    if (IsSpace(c)) {
      p = SkipSpace(p + 1);
      c = *p;
    }
    if (c == u'>' || (c == u'/' && p[1] == u'>')) {
      P_ = p + (c == u'>' ? 1 : 2);
      return Finish();
    }
    if (c <= u'?') break;  // not a plain name character: the token steps decide
    bool ignored = false;
    p = SkipName(p + 1, kElementNameStop, ignored);
    const char16_t quote = p[0] == u'=' ? p[1] : kNul;
    if (quote != u'"' && quote != u'\'') break;
    const char16_t* close = p + 2;
    while (*close != quote && *close != kNul) ++close;
    if (*close != quote) break;
    p = close + 1;
  }
  P_ = p;
  TagDispatch(V(G::ELEMENT_OPEN));
}

// Fused, on the name of an end tag: the name and a '>' right behind it.
void TxXMLParser::FastEndTag() {
  bool colon = false;
  const char16_t* p = SkipName(P_, kEndTagNameStop, colon);
  if (colon) RaiseExtra();
  P_ = p;
  if (*p == u'>') {
    ++P_;
    return Finish();
  }
  TagDispatch(V(G::ELEMENT_CLOSE));
}

void TxXMLParser::ScanDelimited(unsigned Group, unsigned Symbol) {
  const bool comment = Group == V(G::COMMENT) || Group == V(G::DT_DECL_COMMENT);
  const bool conditional = Group == V(G::DT_DECL_CONDITIONAL);
  switch (Symbol) {
    case V(S::OPEN):
      // Counted at the opening delimiter, not at the body: a body that begins at the end of
      // the line would otherwise be counted by the line's final token, whose DeltaNeg (the
      // line delta) excludes its own begin.
      Begin(true);
      Skip(comment ? 4 : conditional ? 3 : 9);
      return Go(S::BODY);
    case V(S::BODY): {
      const char16_t* p = P_;
      const char16_t close = comment ? u'-' : u']';
      char16_t c;
      for (;;) {
        c = *p;
        if (c == kNul || (c == close && p[1] == close && p[2] == u'>')) break;
        if (c == u'&' && conditional) break;
        ++p;
      }
      P_ = p;
      if (c == kNul) {
        if (AtEnd_) GoMissing(S::CLOSE);
      } else if (c == u'&') {
        Push(S::OPEN, V(G::REF_ENTITY));
      } else {
        Go(S::CLOSE);
      }
      return;
    }
    case V(S::CLOSE):
      Skip(3);
      return Finish();
    case M(S::CLOSE):
      return Finish();
    default:
      Impossible();
  }
}

void TxXMLParser::ScanPI(unsigned Symbol) {
  switch (Symbol) {
    case V(S::OPEN):
      Begin(true);
      Skip(2);
      return Go(S::TAG);
    case V(S::TAG): {
      bool colon = false;
      P_ = SkipName(P_, kPITargetStop, colon);
      const char16_t c = *P_;
      if (c == u'?') return Go(S::CLOSE);
      if (c == kNul && AtEnd_) return GoMissing(S::CLOSE);
      return Go(S::BODY);
    }
    case V(S::BODY): {
      const char16_t* p = P_;
      while (*p != kNul && !(*p == u'?' && p[1] == u'>')) ++p;
      P_ = p;
      if (*p != kNul)
        Go(S::CLOSE);
      else if (AtEnd_)
        GoMissing(S::CLOSE);
      return;
    }
    case V(S::CLOSE):
      Skip(2);
      return Finish();
    case M(S::CLOSE):
      return Finish();
    default:
      Impossible();
  }
}

}  // namespace xylem
