#include "xml/lines/LineColoring.hpp"

#include "common/Tasks.hpp"

namespace xylem {

namespace {

using C = TyXMLColoringCategory;
using G = TyXMLGroup;
using S = TyXMLSymbol;

constexpr unsigned V(G g) { return XMLValue(g); }
constexpr unsigned V(S s) { return XMLValue(s); }

bool IsQuote(unsigned s) {
  return s == V(S::STRING1_V_OPEN) || s == V(S::STRING1_V_CLOSE) || s == V(S::STRING2_V_OPEN) ||
         s == V(S::STRING2_V_CLOSE);
}
bool IsValue(unsigned s) { return s == V(S::STRING1_V) || s == V(S::STRING2_V); }
bool IsNameString(unsigned s) { return s >= V(S::STRING1_N_OPEN) && s <= V(S::STRING2_N); }

C StartTag(unsigned s, bool extra) {
  if (s == V(S::TAG)) return extra ? C::xcStartTagNameWithPrefix : C::xcStartTagNameWithoutPrefix;
  if (s == V(S::ATTRIBUTE_NAME)) return C::xcStartTagAttributeName;
  if (s == V(S::EQUALS)) return C::xcStartTagAttributeEquals;
  if (IsQuote(s)) return C::xcStartTagAttributeQuote;
  if (IsValue(s)) return C::xcStartTagAttributeValue;
  return C::xcStartTagMarker;
}

// The XML declaration and its xml-model / xml-stylesheet look-alikes share the tag shape.
C Declaration(unsigned s) {
  if (s == V(S::TAG)) return C::xcXMLTag;
  if (s == V(S::ATTRIBUTE_NAME)) return C::xcXMLAttributeName;
  if (s == V(S::EQUALS)) return C::xcXMLAttributeEquals;
  if (IsQuote(s)) return C::xcXMLAttributeQuote;
  if (IsValue(s)) return C::xcXMLAttributeValue;
  return C::xcXMLMarker;
}

}  // namespace

TyXMLColoringCategory XMLColoringCategory(unsigned Group, unsigned Symbol, bool Extra) {
  const unsigned s = Symbol & 31;  // a missing token is painted as its symbol
  const bool delimiter = s == V(S::OPEN) || s == V(S::CLOSE);
  switch (static_cast<G>(Group & 31)) {
    case G::CDATA:
      return delimiter ? C::xcCDATAMarker : C::xcCDATAText;
    case G::COMMENT:
    case G::DT_DECL_COMMENT:
      return delimiter ? C::xcCommentMarker : C::xcCommentText;
    case G::DOCTYPE:
      return IsNameString(s) || IsQuote(s) || IsValue(s) ? C::xcDOCTYPEExternalID
                                                         : C::xcDOCTYPEMarker;
    case G::DT_DECL:
    case G::DT_DECL_ATTLIST:
    case G::DT_DECL_CONDITIONAL:
    case G::DT_DECL_ELEMENT:
    case G::DT_DECL_ENTITY:
    case G::DT_DECL_NOTATION:
      return C::xcDOCTYPEDeclarationMarker;
    case G::ELEMENT_OPEN:
      return StartTag(s, Extra);
    case G::ELEMENT_CLOSE:
      if (s == V(S::TAG) || s == V(S::ATTRIBUTE_NAME))
        return Extra ? C::xcEndTagNameWithPrefix : C::xcEndTagNameWithoutPrefix;
      return C::xcEndTagMarker;
    case G::PI:
      return s == V(S::TAG) ? C::xcPITag : s == V(S::BODY) ? C::xcPIDefinition : C::xcPIMarker;
    case G::REF_ENTITY:
      return C::xcEntity;
    case G::XML:
    case G::XMLModel:
    case G::XMLStylesheet:
      return Declaration(s);
    default:
      return C::xcText;  // TEXT, and the document level between constructs
  }
}

CyXMLLineColoring::CyXMLLineColoring(TxTextItems& TextItems, const CyXMLColoring& Scheme,
                                     bool EmbeddedColoring)
    : TextItems_(TextItems), Scheme_(Scheme), EmbeddedColoring_(EmbeddedColoring) {}

void CyXMLLineColoring::First(const char16_t* Line, bool AtEnd, uint64_t GroupWord,
                              uint64_t SymbolWord) {
  Start(Line, AtEnd, GroupWord, SymbolWord, 0);
}

void CyXMLLineColoring::FirstLine(int64_t Index) {
  const TxItem& item = *TextItems_.getItems(Index);
  Start(item.TextUTF16.getText(), Index == TextItems_.getCount(),
        static_cast<uint64_t>(item.StackG), static_cast<uint64_t>(item.StackS), Index);
}

void CyXMLLineColoring::Start(const char16_t* Line, bool AtEnd, uint64_t GroupWord,
                              uint64_t SymbolWord, int64_t Index) {
  Line_ = Index;
  StartStackG_ = GroupWord;
  StartStackS_ = SymbolWord;
  Embedded_.reset();
  Parser_.First(Line, AtEnd, GroupWord, SymbolWord);
  Advance();
}

void CyXMLLineColoring::Next() {
  if (Done_) return;
  Embedded_.reset();
  if (Parser_.getToken().IsDone) {
    Done_ = true;
    return;
  }
  Parser_.Next();
  Advance();
}

// Zero-width tokens (missing ones, the final one) have nothing to paint.
void CyXMLLineColoring::Advance() {
  for (;;) {
    const TyXMLToken& token = Parser_.getToken();
    if (token.Count() > 0) {
      Done_ = false;
      Update();
      return;
    }
    if (token.IsDone) {
      Done_ = true;
      return;
    }
    Parser_.Next();
  }
}

void CyXMLLineColoring::Update() {
  const TyXMLToken& token = Parser_.getToken();
  Category_ = XMLColoringCategory(token.Group0(), token.Symbol0(), token.Extra0());
  Item_ = Scheme_.getItem(Category_);
  if (EmbeddedColoring_ && Category_ == C::xcStartTagAttributeValue)
    Embedded_ = CreateEmbeddedLineColoring();
}

void CyXMLLineColoring::ScanUntilEndOfLine(TxItem& Line, bool AtEnd, uint64_t& GroupWord,
                                           uint64_t& SymbolWord) {
  TyXMLLineState state{GroupWord, SymbolWord};
  CyXMLLineStates::ScanLine(Parser_, Line, AtEnd, state);
  GroupWord = state.StackG;
  SymbolWord = state.StackS;
}

void CyXMLLineColoring::UpdateAllLines__PARALLEL__(int64_t& TotalDelta, const TyJobContext& Job) {
  CyXMLParserParallel::UpdateAllLines(TextItems_, TotalDelta, Job.PieceCount, Job);
}

}  // namespace xylem
