// Type rules: single and sequence types, item types, kind tests and the function, map and array
// tests.

#include "xpath/ParserFirsts.hpp"

namespace xylem {

using namespace xpath31firsts;

namespace {

constexpr E kEmptySequence{{X_EmptySequence, xtItemType}};
constexpr E kSingleTypeMark{{X_QMark_ALT_2, xtOccurrence}};
constexpr E kNillableMark{{X_QMark, xtOccurrence}};
constexpr E kDocumentContent =
    E{{X_Element, xtItemType}, {X_SchemaElement, xtItemType}} | kRParenthesis;
constexpr E kPITarget =
    E{{X_NCName, xtNameTestNoScope}, {X_StringLiteral, xtString}} | kRParenthesis;
constexpr E kNameOrWildcard{
    {X_EQName, xtNameTestNoScope}, {X_NCName, xtNameTestNoScope}, {X_Asterisk, xtNameTestNoScope}};
constexpr E kNameOrWildcardOrEnd = kNameOrWildcard | kRParenthesis;
constexpr E kSequenceTypeOrEnd = kSequenceType | kRParenthesis;

}  // namespace

void CyXPath31Parser::SingleType() {
  Enter(xprSingleType);
  SimpleTypeName();
  Expect(kSingleTypeMark);
  if (Tok() == X_QMark_ALT_2) M(X_QMark_ALT_2, xtOccurrence, xprSingleType);
  Leave(xprSingleType);
}

void CyXPath31Parser::TypeDeclaration() {
  Enter(xprTypeDeclaration);
  M(X_As, xtKeyword, xprTypeDeclaration);
  SequenceType();
  Leave(xprTypeDeclaration);
}

void CyXPath31Parser::SequenceType() {
  Enter(xprSequenceType);
  Expect(kEmptySequence);
  if (Tok() == X_EmptySequence) {
    M(X_EmptySequence, xtItemType, xprSequenceType);
    M(X_LParenthesis, xtBracket, xprSequenceType);
    M(X_RParenthesis, xtBracket, xprSequenceType);
  } else {
    ItemType();
    // Occurrence indicators bind to the type greedily (xgc: occurrence-indicators).
    Expect(kOccurrence);
    if (kOccurrence.Has(Tok())) OccurrenceIndicator();
  }
  Leave(xprSequenceType);
}

void CyXPath31Parser::OccurrenceIndicator() {
  Enter(xprOccurrenceIndicator);
  if (!kOccurrence.Has(Tok())) ERROR();
  M(Tok(), xtOccurrence, xprOccurrenceIndicator);
  Leave(xprOccurrenceIndicator);
}

void CyXPath31Parser::ItemType() {
  Enter(xprItemType);
  Expect(kItemType);
  TyXPath31Token Kind = Tok();
  if (kKindTest.Has(Kind)) {
    KindTest();
  } else {
    switch (Kind) {
      case X_Item:
        M(X_Item, xtItemType, xprItemType);
        M(X_LParenthesis, xtBracket, xprItemType);
        M(X_RParenthesis, xtBracket, xprItemType);
        break;
      case X_Function_ALT_2:
      case X_Function_ALT_3:
        FunctionTest();
        break;
      case X_Map_ALT_2:
      case X_Map_ALT_3:
        MapTest();
        break;
      case X_Array_ALT_2:
      case X_Array_ALT_3:
        ArrayTest();
        break;
      case X_EQName:
      case X_NCName:
        AtomicOrUnionType();
        break;
      case X_LParenthesis:
        ParenthesizedItemType();
        break;
      default:
        ERROR();
    }
  }
  Leave(xprItemType);
}

void CyXPath31Parser::AtomicOrUnionType() {
  Enter(xprAtomicOrUnionType);
  MatchName(xtSchemaAtomicOrUnionType, xprAtomicOrUnionType);
  Leave(xprAtomicOrUnionType);
}

void CyXPath31Parser::KindTest() {
  Enter(xprKindTest);
  Expect(kKindTest);
  switch (Tok()) {
    case X_DocumentNode:
      DocumentTest();
      break;
    case X_Element:
      ElementTest();
      break;
    case X_Attribute_ALT_1:
      AttributeTest();
      break;
    case X_SchemaElement:
      SchemaElementTest();
      break;
    case X_SchemaAttribute:
      SchemaAttributeTest();
      break;
    case X_ProcessingInstruction:
      PITest();
      break;
    case X_Comment:
      CommentTest();
      break;
    case X_Text:
      TextTest();
      break;
    case X_NamespaceNode:
      NamespaceNodeTest();
      break;
    case X_Node:
      AnyKindTest();
      break;
    default:
      ERROR();
  }
  Leave(xprKindTest);
}

// Kind tests without content: keyword "(" ")".
#define XYLEM_XPATH_EMPTY_KIND_TEST(RULE, KEYWORD) \
  void CyXPath31Parser::RULE() {                   \
    Enter(xpr##RULE);                              \
    M(KEYWORD, xtItemType, xpr##RULE);             \
    M(X_LParenthesis, xtBracket, xpr##RULE);       \
    M(X_RParenthesis, xtBracket, xpr##RULE);       \
    Leave(xpr##RULE);                              \
  }
XYLEM_XPATH_EMPTY_KIND_TEST(AnyKindTest, X_Node)
XYLEM_XPATH_EMPTY_KIND_TEST(TextTest, X_Text)
XYLEM_XPATH_EMPTY_KIND_TEST(CommentTest, X_Comment)
XYLEM_XPATH_EMPTY_KIND_TEST(NamespaceNodeTest, X_NamespaceNode)
#undef XYLEM_XPATH_EMPTY_KIND_TEST

void CyXPath31Parser::DocumentTest() {
  Enter(xprDocumentTest);
  M(X_DocumentNode, xtItemType, xprDocumentTest);
  M(X_LParenthesis, xtBracket, xprDocumentTest);
  Expect(kDocumentContent);
  if (Tok() == X_Element)
    ElementTest();
  else if (Tok() == X_SchemaElement)
    SchemaElementTest();
  M(X_RParenthesis, xtBracket, xprDocumentTest);
  Leave(xprDocumentTest);
}

void CyXPath31Parser::PITest() {
  Enter(xprPITest);
  M(X_ProcessingInstruction, xtItemType, xprPITest);
  M(X_LParenthesis, xtBracket, xprPITest);
  Expect(kPITarget);
  if (Tok() == X_NCName)
    M(X_NCName, xtNameTestNoScope, xprPITest);
  else if (Tok() == X_StringLiteral)
    M(X_StringLiteral, xtString, xprPITest);
  M(X_RParenthesis, xtBracket, xprPITest);
  Leave(xprPITest);
}

void CyXPath31Parser::AttributeTest() {
  Enter(xprAttributeTest);
  M(X_Attribute_ALT_1, xtItemType, xprAttributeTest);
  M(X_LParenthesis, xtBracket, xprAttributeTest);
  Expect(kNameOrWildcardOrEnd);
  if (Tok() != X_RParenthesis) {
    AttribNameOrWildcard();
    Expect(kComma);
    if (Tok() == X_Comma) {
      M(X_Comma, xtSymbol, xprAttributeTest);
      TypeName();
    }
  }
  M(X_RParenthesis, xtBracket, xprAttributeTest);
  Leave(xprAttributeTest);
}

void CyXPath31Parser::AttribNameOrWildcard() {
  Enter(xprAttribNameOrWildcard);
  if (Tok() == X_Asterisk)
    M(X_Asterisk, xtNameTestNoScope, xprAttribNameOrWildcard);
  else
    AttributeName();
  Leave(xprAttribNameOrWildcard);
}

void CyXPath31Parser::SchemaAttributeTest() {
  Enter(xprSchemaAttributeTest);
  M(X_SchemaAttribute, xtItemType, xprSchemaAttributeTest);
  M(X_LParenthesis, xtBracket, xprSchemaAttributeTest);
  AttributeDeclaration();
  M(X_RParenthesis, xtBracket, xprSchemaAttributeTest);
  Leave(xprSchemaAttributeTest);
}

void CyXPath31Parser::AttributeDeclaration() {
  Enter(xprAttributeDeclaration);
  AttributeName();
  Leave(xprAttributeDeclaration);
}

void CyXPath31Parser::ElementTest() {
  Enter(xprElementTest);
  M(X_Element, xtItemType, xprElementTest);
  M(X_LParenthesis, xtBracket, xprElementTest);
  Expect(kNameOrWildcardOrEnd);
  if (Tok() != X_RParenthesis) {
    ElementNameOrWildcard();
    Expect(kComma);
    if (Tok() == X_Comma) {
      M(X_Comma, xtSymbol, xprElementTest);
      TypeName();
      Expect(kNillableMark);
      if (Tok() == X_QMark) M(X_QMark, xtOccurrence, xprElementTest);
    }
  }
  M(X_RParenthesis, xtBracket, xprElementTest);
  Leave(xprElementTest);
}

void CyXPath31Parser::ElementNameOrWildcard() {
  Enter(xprElementNameOrWildcard);
  if (Tok() == X_Asterisk)
    M(X_Asterisk, xtNameTestNoScope, xprElementNameOrWildcard);
  else
    ElementName();
  Leave(xprElementNameOrWildcard);
}

void CyXPath31Parser::SchemaElementTest() {
  Enter(xprSchemaElementTest);
  M(X_SchemaElement, xtItemType, xprSchemaElementTest);
  M(X_LParenthesis, xtBracket, xprSchemaElementTest);
  ElementDeclaration();
  M(X_RParenthesis, xtBracket, xprSchemaElementTest);
  Leave(xprSchemaElementTest);
}

void CyXPath31Parser::ElementDeclaration() {
  Enter(xprElementDeclaration);
  ElementName();
  Leave(xprElementDeclaration);
}

void CyXPath31Parser::AttributeName() {
  Enter(xprAttributeName);
  MatchName(xtNameTestNoScope, xprAttributeName);
  Leave(xprAttributeName);
}

void CyXPath31Parser::ElementName() {
  Enter(xprElementName);
  MatchName(xtNameTestNoScope, xprElementName);
  Leave(xprElementName);
}

void CyXPath31Parser::SimpleTypeName() {
  Enter(xprSimpleTypeName);
  TypeName(xtSchemaSimpleTypeName);
  Leave(xprSimpleTypeName);
}

void CyXPath31Parser::TypeName(TyXPath31TokenType Type) {
  Enter(xprTypeName);
  MatchName(Type, xprTypeName);
  Leave(xprTypeName);
}

void CyXPath31Parser::FunctionTest() {
  Enter(xprFunctionTest);
  if (Tok() == X_Function_ALT_3)
    AnyFunctionTest();
  else
    TypedFunctionTest();
  Leave(xprFunctionTest);
}

// Any-tests: keyword "(" "*" ")".
#define XYLEM_XPATH_ANY_TEST(RULE, KEYWORD)  \
  void CyXPath31Parser::RULE() {             \
    Enter(xpr##RULE);                        \
    M(KEYWORD, xtItemType, xpr##RULE);       \
    M(X_LParenthesis, xtBracket, xpr##RULE); \
    M(X_Asterisk, xtSymbol, xpr##RULE);      \
    M(X_RParenthesis, xtBracket, xpr##RULE); \
    Leave(xpr##RULE);                        \
  }
XYLEM_XPATH_ANY_TEST(AnyFunctionTest, X_Function_ALT_3)
XYLEM_XPATH_ANY_TEST(AnyMapTest, X_Map_ALT_3)
XYLEM_XPATH_ANY_TEST(AnyArrayTest, X_Array_ALT_3)
#undef XYLEM_XPATH_ANY_TEST

void CyXPath31Parser::TypedFunctionTest() {
  Enter(xprTypedFunctionTest);
  M(X_Function_ALT_2, xtItemType, xprTypedFunctionTest);
  M(X_LParenthesis, xtBracket, xprTypedFunctionTest);
  Expect(kSequenceTypeOrEnd);
  if (Tok() != X_RParenthesis) CommaList(xprTypedFunctionTest, [this] { SequenceType(); });
  M(X_RParenthesis, xtBracket, xprTypedFunctionTest);
  M(X_As, xtKeyword, xprTypedFunctionTest);
  SequenceType();
  Leave(xprTypedFunctionTest);
}

void CyXPath31Parser::MapTest() {
  Enter(xprMapTest);
  if (Tok() == X_Map_ALT_3)
    AnyMapTest();
  else
    TypedMapTest();
  Leave(xprMapTest);
}

void CyXPath31Parser::TypedMapTest() {
  Enter(xprTypedMapTest);
  M(X_Map_ALT_2, xtItemType, xprTypedMapTest);
  M(X_LParenthesis, xtBracket, xprTypedMapTest);
  AtomicOrUnionType();
  M(X_Comma, xtSymbol, xprTypedMapTest);
  SequenceType();
  M(X_RParenthesis, xtBracket, xprTypedMapTest);
  Leave(xprTypedMapTest);
}

void CyXPath31Parser::ArrayTest() {
  Enter(xprArrayTest);
  if (Tok() == X_Array_ALT_3)
    AnyArrayTest();
  else
    TypedArrayTest();
  Leave(xprArrayTest);
}

void CyXPath31Parser::TypedArrayTest() {
  Enter(xprTypedArrayTest);
  M(X_Array_ALT_2, xtItemType, xprTypedArrayTest);
  M(X_LParenthesis, xtBracket, xprTypedArrayTest);
  SequenceType();
  M(X_RParenthesis, xtBracket, xprTypedArrayTest);
  Leave(xprTypedArrayTest);
}

void CyXPath31Parser::ParenthesizedItemType() {
  Enter(xprParenthesizedItemType);
  M(X_LParenthesis, xtBracket, xprParenthesizedItemType);
  ItemType();
  M(X_RParenthesis, xtBracket, xprParenthesizedItemType);
  Leave(xprParenthesizedItemType);
}

}  // namespace xylem
