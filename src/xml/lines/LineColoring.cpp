#include "xml/lines/LineColoring.hpp"

#include <string>

#include "common/Tasks.hpp"

namespace xylem {

namespace {

using C = TyXMLColoringCategory;
using G = TyXMLGroup;
using S = TyXMLSymbol;

constexpr unsigned V(G g) { return XMLValue(g); }
constexpr unsigned V(S s) { return XMLValue(s); }

constexpr bool IsQuote(unsigned s) {
  return s == V(S::STRING1_V_OPEN) || s == V(S::STRING1_V_CLOSE) || s == V(S::STRING2_V_OPEN) ||
         s == V(S::STRING2_V_CLOSE);
}
constexpr bool IsValue(unsigned s) { return s == V(S::STRING1_V) || s == V(S::STRING2_V); }
constexpr bool IsNameString(unsigned s) {
  return s >= V(S::STRING1_N_OPEN) && s <= V(S::STRING2_N);
}

constexpr C StartTag(unsigned s, bool extra) {
  if (s == V(S::TAG)) return extra ? C::xcStartTagNameWithPrefix : C::xcStartTagNameWithoutPrefix;
  if (s == V(S::ATTRIBUTE_NAME)) return C::xcStartTagAttributeName;
  if (s == V(S::EQUALS)) return C::xcStartTagAttributeEquals;
  if (IsQuote(s)) return C::xcStartTagAttributeQuote;
  if (IsValue(s)) return C::xcStartTagAttributeValue;
  return C::xcStartTagMarker;
}

// The XML declaration and its xml-model / xml-stylesheet look-alikes share the tag shape.
constexpr C Declaration(unsigned s) {
  if (s == V(S::TAG)) return C::xcXMLTag;
  if (s == V(S::ATTRIBUTE_NAME)) return C::xcXMLAttributeName;
  if (s == V(S::EQUALS)) return C::xcXMLAttributeEquals;
  if (IsQuote(s)) return C::xcXMLAttributeQuote;
  if (IsValue(s)) return C::xcXMLAttributeValue;
  return C::xcXMLMarker;
}

constexpr C CategoryOf(unsigned Group, unsigned Symbol, bool Extra) {
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

// Every (group, symbol cell, extra) at once: one load per token instead of the switches.
struct TyCategoryTable {
  C Cells[2][32][64];
  constexpr TyCategoryTable() : Cells() {
    for (unsigned extra = 0; extra < 2; ++extra)
      for (unsigned group = 0; group < 32; ++group)
        for (unsigned symbol = 0; symbol < 64; ++symbol)
          Cells[extra][group][symbol] = CategoryOf(group, symbol, extra != 0);
  }
};
constexpr TyCategoryTable kCategories;

}  // namespace

TyXMLColoringCategory XMLColoringCategory(unsigned Group, unsigned Symbol, bool Extra) {
  return kCategories.Cells[Extra ? 1 : 0][Group & 31][Symbol & 63];
}

CyXMLLineColoring::CyXMLLineColoring(TxTextItems& TextItems, const CyXMLColoring& Scheme,
                                     bool EmbeddedColoring)
    : TextItems_(TextItems), Scheme_(Scheme), EmbeddedColoring_(EmbeddedColoring) {}

void CyXMLLineColoring::First(const char16_t* Line, bool AtEnd, uint64_t GroupWord,
                              uint64_t SymbolWord) {
  Start(Line, std::char_traits<char16_t>::length(Line), AtEnd, GroupWord, SymbolWord, 0);
}

void CyXMLLineColoring::FirstLine(int64_t Index) {
  const TxItem& item = *TextItems_.getItems(Index);
  Start(item.TextUTF16.getText(), item.TextUTF16.getView().size(), Index == TextItems_.getCount(),
        static_cast<uint64_t>(item.StackG), static_cast<uint64_t>(item.StackS), Index);
}

void CyXMLLineColoring::Start(const char16_t* Line, size_t Length, bool AtEnd, uint64_t GroupWord,
                              uint64_t SymbolWord, int64_t Index) {
  Line_ = Index;
  StartStackG_ = GroupWord;
  StartStackS_ = SymbolWord;
  Embedded_.reset();
  Text_ = Resume_ = Line;
  End_ = Line + Length;
  AtEnd_ = AtEnd;
  Batch_.clear();
  BatchNext_ = 0;
  InTokenizer_ = false;
  if (!FastPath_ || GroupWord != kXMLDocumentGroupWord || SymbolWord != kXMLDocumentSymbolWord)
    StartTokenizer(GroupWord, SymbolWord);
  Advance();
}

void CyXMLLineColoring::StartTokenizer(uint64_t GroupWord, uint64_t SymbolWord) {
  InTokenizer_ = TokenizerFresh_ = true;
  TokenizerBase_ = Resume_ - Text_;
  Parser_.First(Resume_, AtEnd_, GroupWord, SymbolWord);
}

bool CyXMLLineColoring::TokenizerAdvance() {
  for (;;) {
    if (!TokenizerFresh_) {
      const TyXMLToken& last = Parser_.getToken();
      if (last.IsDone) {
        Resume_ = End_;
        return false;
      }
      // Back between constructs at document level: the lexer reads on from here.
      if (FastPath_ && last.Offset1 > 0 && last.EndsAtDocumentLevel()) {
        Resume_ = Text_ + TokenizerBase_ + last.Offset1;
        return false;
      }
      Parser_.Next();
    }
    TokenizerFresh_ = false;
    const TyXMLToken& token = Parser_.getToken();
    // Zero-width tokens (missing ones, the final one) have nothing to paint.
    if (token.Count() > 0) {
      Tokenized_ = ScanTokenOf(token, TokenizerBase_);
      Take(Tokenized_, XMLColoringCategory(Tokenized_.Group, Tokenized_.Symbol, Tokenized_.Extra));
      return true;
    }
  }
}

void CyXMLLineColoring::Advance() {
  for (;;) {
    if (BatchNext_ < Batch_.size()) {
      const size_t next = BatchNext_++;
      return Take(Batch_[next], BatchCategories_[next]);
    }
    if (InTokenizer_) {
      if (TokenizerAdvance()) return;
      InTokenizer_ = false;
    }
    if (Resume_ == End_) {
      Done_ = true;
      return;
    }
    const char16_t* next = CyRawXMLLineLexer::Lex(Text_, End_, Resume_, nullptr, Batch_);
    BatchNext_ = 0;
    // Apart from the walk, so that the table lookups of a batch overlap.
    BatchCategories_.resize(Batch_.size());
    for (size_t i = 0; i < Batch_.size(); ++i)
      BatchCategories_[i] = XMLColoringCategory(Batch_[i].Group, Batch_[i].Symbol, Batch_[i].Extra);
    if (next == Resume_) StartTokenizer(kXMLDocumentGroupWord, kXMLDocumentSymbolWord);
    Resume_ = next;
  }
}

void CyXMLLineColoring::Take(const TyXMLScanToken& Token, TyXMLColoringCategory Category) {
  Done_ = false;
  Token_ = &Token;
  Category_ = Category;
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
