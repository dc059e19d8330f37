// Steps and name disambiguation. The rules of DisambiguateName are tried in a fixed order (first
// match wins); the order matters, e.g. a lookup key stays a name before the function-call rule
// could turn "?name(" into a call.

#include "xpath/Tokenizer.hpp"

#include <algorithm>
#include <iterator>

#include "common/Exception.hpp"
#include "common/Utf.hpp"
#include "xpath/Followers.hpp"
#include "xpath/Scanner.hpp"

namespace xylem {

namespace {

enum TyKeyword : uint8_t {
  kwNone,
  kwAncestor,
  kwAncestorOrSelf,
  kwAnd,
  kwArray,
  kwAs,
  kwAttribute,
  kwCast,
  kwCastable,
  kwChild,
  kwComment,
  kwDescendant,
  kwDescendantOrSelf,
  kwDiv,
  kwDocumentNode,
  kwElement,
  kwElse,
  kwEmptySequence,
  kwEq,
  kwEvery,
  kwExcept,
  kwFollowing,
  kwFollowingSibling,
  kwFor,
  kwFunction,
  kwGe,
  kwGt,
  kwIDiv,
  kwIf,
  kwIn,
  kwInstance,
  kwIntersect,
  kwIs,
  kwItem,
  kwLe,
  kwLet,
  kwLt,
  kwMap,
  kwMod,
  kwNamespace,
  kwNamespaceNode,
  kwNe,
  kwNode,
  kwOf,
  kwOr,
  kwParent,
  kwPreceding,
  kwPrecedingSibling,
  kwProcessingInstruction,
  kwReturn,
  kwSatisfies,
  kwSchemaAttribute,
  kwSchemaElement,
  kwSelf,
  kwSome,
  kwText,
  kwThen,
  kwTo,
  kwTreat,
  kwUnion,
};

// Sorted spellings, in the order of TyKeyword from kwAncestor on.
constexpr std::u16string_view kSpellings[] = {
    u"ancestor",
    u"ancestor-or-self",
    u"and",
    u"array",
    u"as",
    u"attribute",
    u"cast",
    u"castable",
    u"child",
    u"comment",
    u"descendant",
    u"descendant-or-self",
    u"div",
    u"document-node",
    u"element",
    u"else",
    u"empty-sequence",
    u"eq",
    u"every",
    u"except",
    u"following",
    u"following-sibling",
    u"for",
    u"function",
    u"ge",
    u"gt",
    u"idiv",
    u"if",
    u"in",
    u"instance",
    u"intersect",
    u"is",
    u"item",
    u"le",
    u"let",
    u"lt",
    u"map",
    u"mod",
    u"namespace",
    u"namespace-node",
    u"ne",
    u"node",
    u"of",
    u"or",
    u"parent",
    u"preceding",
    u"preceding-sibling",
    u"processing-instruction",
    u"return",
    u"satisfies",
    u"schema-attribute",
    u"schema-element",
    u"self",
    u"some",
    u"text",
    u"then",
    u"to",
    u"treat",
    u"union",
};
static_assert(std::size(kSpellings) == kwUnion);

// Range [First, Last) of kSpellings per initial letter 'a'..'z'.
struct TyLetterRanges {
  uint8_t First[27] = {};
  constexpr TyLetterRanges() {
    int Index = 0;
    for (int Letter = 0; Letter < 26; ++Letter) {
      First[Letter] = uint8_t(Index);
      while (Index < int(std::size(kSpellings)) && kSpellings[Index][0] == 'a' + Letter) ++Index;
    }
    First[26] = uint8_t(Index);
  }
};
constexpr TyLetterRanges kLetterRanges;

TyKeyword KeywordOf(const TyXPath31Step* Step) {
  if (Step->XPath31Token != X_NCName) return kwNone;
  std::u16string_view Text = Step->XPath31TokenText;
  char16_t C = Text[0];
  if (Text.size() < 2 || Text.size() > 22 || C < 'a' || C > 'z') return kwNone;
  for (int I = kLetterRanges.First[C - 'a']; I < kLetterRanges.First[C - 'a' + 1]; ++I)
    if (kSpellings[I] == Text) return TyKeyword(I + 1);
  return kwNone;
}

bool IsName(TyXPath31Token Kind) { return Kind == X_NCName || Kind == X_EQName; }

// Kind of a keyword before "(" (kind tests, "if", "item", typed map and array tests).
TyXPath31Token KindBeforeParenthesis(TyKeyword Keyword) {
  switch (Keyword) {
    case kwArray:
      return X_Array_ALT_2;
    case kwAttribute:
      return X_Attribute_ALT_1;
    case kwComment:
      return X_Comment;
    case kwDocumentNode:
      return X_DocumentNode;
    case kwElement:
      return X_Element;
    case kwEmptySequence:
      return X_EmptySequence;
    case kwIf:
      return X_If;
    case kwItem:
      return X_Item;
    case kwMap:
      return X_Map_ALT_2;
    case kwNamespaceNode:
      return X_NamespaceNode;
    case kwNode:
      return X_Node;
    case kwProcessingInstruction:
      return X_ProcessingInstruction;
    case kwSchemaAttribute:
      return X_SchemaAttribute;
    case kwSchemaElement:
      return X_SchemaElement;
    case kwText:
      return X_Text;
    default:
      return X_ERROR;
  }
}

// XPath 3.1 A.3: unprefixed names that cannot name a function.
bool IsReservedFunctionName(std::u16string_view Name) {
  static constexpr std::u16string_view kReserved[] = {u"array",
                                                      u"attribute",
                                                      u"comment",
                                                      u"document-node",
                                                      u"element",
                                                      u"empty-sequence",
                                                      u"function",
                                                      u"if",
                                                      u"item",
                                                      u"map",
                                                      u"namespace-node",
                                                      u"node",
                                                      u"processing-instruction",
                                                      u"schema-attribute",
                                                      u"schema-element",
                                                      u"switch",
                                                      u"text",
                                                      u"typeswitch"};
  for (std::u16string_view reserved : kReserved)
    if (Name == reserved) return true;
  return false;
}

TyXPath31Token AxisKind(TyKeyword Keyword) {
  switch (Keyword) {
    case kwAncestor:
      return X_Ancestor;
    case kwAncestorOrSelf:
      return X_AncestorOrSelf;
    case kwAttribute:
      return X_Attribute_ALT_2;
    case kwChild:
      return X_Child;
    case kwDescendant:
      return X_Descendant;
    case kwDescendantOrSelf:
      return X_DescendantOrSelf;
    case kwFollowing:
      return X_Following;
    case kwFollowingSibling:
      return X_FollowingSibling;
    case kwNamespace:
      return X_Namespace;
    case kwParent:
      return X_Parent;
    case kwPreceding:
      return X_Preceding;
    case kwPrecedingSibling:
      return X_PrecedingSibling;
    case kwSelf:
      return X_Self;
    default:
      return X_ERROR;
  }
}

TyXPath31Token SingleWordKind(TyKeyword Keyword) {
  switch (Keyword) {
    case kwAnd:
      return X_And;
    case kwAs:
      return X_As;
    case kwDiv:
      return X_Div;
    case kwElse:
      return X_Else;
    case kwEq:
      return X_FortranEq;
    case kwExcept:
      return X_Except;
    case kwGe:
      return X_FortranGe;
    case kwGt:
      return X_FortranGt;
    case kwIDiv:
      return X_IDiv;
    case kwIn:
      return X_In;
    case kwIntersect:
      return X_Intersect;
    case kwIs:
      return X_Is;
    case kwLe:
      return X_FortranLe;
    case kwLt:
      return X_FortranLt;
    case kwMod:
      return X_Mod;
    case kwNe:
      return X_FortranNe;
    case kwOr:
      return X_Or;
    case kwReturn:
      return X_Return;
    case kwSatisfies:
      return X_Satisfies;
    case kwThen:
      return X_Then;
    case kwTo:
      return X_To;
    case kwUnion:
      return X_Union;
    default:
      return X_ERROR;
  }
}

}  // namespace

CyXPath31Tokenizer::CyXPath31Tokenizer(const char16_t* XPath31, bool AVT) {
  CyXPath31Scanner Scanner(AVT);
  std::vector<TyXPath31Token> Kinds;
  bool Failed = false;
  const char16_t* ErrorStart = XPath31;
  const char16_t* ErrorEnd = XPath31;
  try {
    Scanner.ScanXPath31(XPath31, Kinds);
  } catch (const XPath31ScannerException& E) {
    Failed = true;
    ScannerError_ = E.Text();
    ErrorStart = E.getPStart();
    ErrorEnd = E.getPEnd();
  }
  const auto& Texts = Scanner.TokenTexts();
  Steps_.resize(kLeadingSteps + Kinds.size() + (Failed ? 2 : 0));
  for (size_t I = 0; I < kLeadingSteps; ++I) {
    TyXPath31Step& S = Steps_[I];
    S.PHead = S.PTail = XPath31;
    S.XPath31Token = X_BOF;
  }
  auto Fill = [&](size_t I, TyXPath31Token Kind, const char16_t* Head, const char16_t* Tail) {
    TyXPath31Step& S = Steps_[I];
    S.PHead = Head;
    S.PTail = Tail;
    S.XPath31Token = Kind;
    S.XPath31TokenIndex = int32_t(Head - XPath31);
    S.XPath31TokenText = std::u16string_view(Head, size_t(Tail - Head));
  };
  for (size_t I = 0; I < Kinds.size(); ++I)
    Fill(kLeadingSteps + I, Kinds[I], Texts[I].Head, Texts[I].Tail);
  if (Failed) {
    ScannerErrorIndex_ = kLeadingSteps + Kinds.size();
    Fill(ScannerErrorIndex_, X_ERROR, ErrorStart, ErrorEnd);
    Fill(ScannerErrorIndex_ + 1, X_EOF, ErrorEnd, ErrorEnd);
  }
  const TyXPath31Step& Last = Steps_.back();
  Trailing_ = Last;
  Trailing_.XPath31Token = X_EOF;
  Trailing_.PHead = Trailing_.PTail = Last.PTail;
  Trailing_.XPath31TokenText = {};
  Current = &Steps_[Current_];
}

void CyXPath31Tokenizer::ERROR(const std::string& Text) { throw CyException(Text); }

void CyXPath31Tokenizer::FailAtErrorStep() {
  if (!ScannerError_.empty() && Current_ == ScannerErrorIndex_) ERROR(ScannerError_);
  ERROR(ToUTF8(Current->XPath31TokenText));
}

void CyXPath31Tokenizer::DisambiguateName(TyXPath31Label RuleContext) {
  if (Skip > 0) {
    --Skip;
    return;
  }
  DisambiguateNameToken(RuleContext);
}

void CyXPath31Tokenizer::DisambiguateNameToken(TyXPath31Label RuleContext) {
  TyXPath31Token Kind = Current->XPath31Token;
  // Most tokens are neither names nor one of the three symbols that decide a neighbour.
  if (Kind != X_QMark && Kind != X_Dollar && Kind != X_Arrow && !IsName(Kind)) return;
  PyXPath31Step Next1 = NextStep();
  PyXPath31Step Next2 = NextNextStep();
  TyXPath31Token Ahead = Next1->XPath31Token;

  // 1. "?": argument placeholder, optional mark of a single type, or occurrence/lookup.
  if (Kind == X_QMark) {
    TyXPath31Token Before = PreviousStep()->XPath31Token;
    if ((Before == X_LParenthesis || Before == X_Comma) &&
        (Ahead == X_Comma || Ahead == X_RParenthesis)) {
      Current->XPath31Token = X_QMark_ALT_1;
    } else {
      TyXPath31Token Third = PreviousPreviousPreviousStep()->XPath31Token;
      if ((Third == X_Cast || Third == X_Castable) &&
          PreviousPreviousStep()->XPath31Token == X_As && IsName(Before))
        Current->XPath31Token = X_QMark_ALT_2;
    }
    return;
  }
  // 2. and 3. The name after "$" is a variable; after "=>" a function.
  if ((Kind == X_Dollar || Kind == X_Arrow) && IsName(Ahead)) {
    Next1->XPath31Token = Kind == X_Dollar ? X_EQName_ALT_1 : X_EQName_ALT_2;
    Skip = 1;
    return;
  }
  // 4. Names.
  if (!IsName(Kind)) return;
  // Rules 4.1 to 4.6 need one of these four tokens ahead; the keyword is looked up only for them
  // and, further down, for names that may be operators.
  const bool Decisive = Ahead == X_Dollar || Ahead == X_LParenthesis || Ahead == X_ColonColon ||
                        Ahead == X_LCurlyBracket;
  TyKeyword Keyword = Decisive ? KeywordOf(Current) : kwNone;
  // 4.1 Clauses that bind a variable.
  if (Ahead == X_Dollar) {
    switch (Keyword) {
      case kwEvery:
        Current->XPath31Token = X_Every;
        return;
      case kwFor:
        Current->XPath31Token = X_For;
        return;
      case kwLet:
        Current->XPath31Token = X_Let;
        return;
      case kwSome:
        Current->XPath31Token = X_Some;
        return;
      default:
        break;
    }
  }
  if (Ahead == X_LParenthesis) {
    // 4.2 The any-array, any-function and any-map tests.
    if (Next2->XPath31Token == X_Asterisk &&
        (Keyword == kwArray || Keyword == kwFunction || Keyword == kwMap)) {
      Current->XPath31Token = Keyword == kwArray      ? X_Array_ALT_3
                              : Keyword == kwFunction ? X_Function_ALT_3
                                                      : X_Map_ALT_3;
      Next2->XPath31Token = X_Asterisk;
      Skip = 2;
      return;
    }
    // 4.3 A function test where an item type may begin, else an inline function.
    if (Keyword == kwFunction) {
      Current->XPath31Token = CyXPath31Followers::Get().Contains(frFunctionTest, RuleContext)
                                  ? X_Function_ALT_2
                                  : X_Function_ALT_1;
      Skip = 1;
      return;
    }
    // 4.4 Kind tests and the other reserved function names.
    TyXPath31Token Reserved = KindBeforeParenthesis(Keyword);
    if (Reserved != X_ERROR) {
      Current->XPath31Token = Reserved;
      Skip = 1;
      return;
    }
  }
  // 4.5 Axes; any other name before "::" is an error.
  if (Ahead == X_ColonColon) {
    Current->XPath31Token = AxisKind(Keyword);
    Skip = 1;
    return;
  }
  // 4.6 Curly array and map constructors.
  if (Ahead == X_LCurlyBracket && (Keyword == kwArray || Keyword == kwMap)) {
    Current->XPath31Token = Keyword == kwArray ? X_Array_ALT_1 : X_Map_ALT_1;
    Skip = 1;
    return;
  }
  const CyXPath31Followers& Followers = CyXPath31Followers::Get();
  // 4.7 Plain names (lookup keys, processing-instruction targets).
  if (Kind == X_NCName && Followers.Contains(frPlainName, RuleContext)) return;
  // 4.8 Function calls, named function references, name tests. The reserved function names
  // (A.3) stay names, which the parser then refuses before '(' or '#'.
  const bool reserved = IsReservedFunctionName(Current->XPath31TokenText);
  if (Ahead == X_LParenthesis && !reserved && Followers.Contains(frFunctionCall, RuleContext)) {
    Current->XPath31Token = X_EQName_ALT_3;
    Next1->XPath31Token = X_LParenthesis;
    Skip = 1;
    return;
  }
  if (Ahead == X_Hash && !reserved && Followers.Contains(frNamedFunctionRef, RuleContext)) {
    Current->XPath31Token = X_EQName_ALT_4;
    Next1->XPath31Token = X_Hash;
    Skip = 1;
    return;
  }
  if (Followers.Contains(frNameTest, RuleContext)) return;
  if (!Decisive) Keyword = KeywordOf(Current);
  // 4.9 Two-word operators.
  TyKeyword Second = KeywordOf(Next1);
  TyXPath31Token First = X_ERROR;
  if (Keyword == kwCast && Second == kwAs) First = X_Cast;
  if (Keyword == kwCastable && Second == kwAs) First = X_Castable;
  if (Keyword == kwInstance && Second == kwOf) First = X_Instance;
  if (Keyword == kwTreat && Second == kwAs) First = X_Treat;
  if (First != X_ERROR) {
    Current->XPath31Token = First;
    Next1->XPath31Token = Second == kwAs ? X_As : X_Of;
    Skip = 1;
    return;
  }
  // 4.10 Single-word operators and clause keywords; 4.11 anything else stays a name.
  TyXPath31Token Single = SingleWordKind(Keyword);
  if (Single != X_ERROR) Current->XPath31Token = Single;
}

}  // namespace xylem
