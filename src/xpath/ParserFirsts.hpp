#pragma once
// Internal to the parser's sources: the tokens that begin each construct, with the class each
// takes there (what a decision announces), and small shared helpers.

#include "xpath/Parser.hpp"

namespace xylem::xpath31firsts {

using E = TyXPath31Expectation;

inline constexpr E kComma{{X_Comma, xtSymbol}};
inline constexpr E kSlashes{{X_Slash, xtSlash}, {X_SlashSlash, xtSlash}};
inline constexpr E kRParenthesis{{X_RParenthesis, xtBracket}};
inline constexpr E kRCurlyBracket{{X_RCurlyBracket, xtBracket}};
inline constexpr E kRSquareBracket{{X_RSquareBracket, xtBracket}};
inline constexpr E kLSquareBracket{{X_LSquareBracket, xtBracket}};
inline constexpr E kAs{{X_As, xtKeyword}};

inline constexpr E kLiteral{
    {X_IntegerLiteral, xtNumber}, {X_NumericLiteral, xtNumber}, {X_StringLiteral, xtString}};

inline constexpr E kPrimaryExpr = kLiteral | E{{X_Dollar, xtVariableRef},
                                               {X_LParenthesis, xtBracket},
                                               {X_Dot, xtContextItem},
                                               {X_EQName_ALT_3, xtFunctionCall},
                                               {X_EQName_ALT_4, xtFunctionCall},
                                               {X_Function_ALT_1, xtConstructor},
                                               {X_Map_ALT_1, xtConstructor},
                                               {X_Array_ALT_1, xtConstructor},
                                               {X_LSquareBracket, xtConstructor},
                                               {X_QMark, xtSymbol}};

inline constexpr E kKindTest{{X_DocumentNode, xtItemType},    {X_Element, xtItemType},
                             {X_Attribute_ALT_1, xtItemType}, {X_SchemaElement, xtItemType},
                             {X_SchemaAttribute, xtItemType}, {X_ProcessingInstruction, xtItemType},
                             {X_Comment, xtItemType},         {X_Text, xtItemType},
                             {X_NamespaceNode, xtItemType},   {X_Node, xtItemType}};

inline constexpr E kWildcard{{X_Asterisk, xtNameTest},
                             {X_NCNameColonAsterisk, xtNameTest},
                             {X_AsteriskColonNCName, xtNameTest},
                             {X_BracedURILiteralAsterisk, xtNameTest}};
inline constexpr E kNameTest = E{{X_EQName, xtNameTest}, {X_NCName, xtNameTest}} | kWildcard;
inline constexpr E kNodeTest = kKindTest | kNameTest;

inline constexpr E kForwardAxisP{
    {X_Child, xtAxis}, {X_Descendant, xtAxis},       {X_Attribute_ALT_2, xtAxis},
    {X_Self, xtAxis},  {X_DescendantOrSelf, xtAxis}, {X_Namespace, xtAxis}};
inline constexpr E kForwardAxis =
    kForwardAxisP | E{{X_FollowingSibling, xtAxis}, {X_Following, xtAxis}};
inline constexpr E kReverseAxis{{X_Parent, xtAxis},
                                {X_Ancestor, xtAxis},
                                {X_PrecedingSibling, xtAxis},
                                {X_Preceding, xtAxis},
                                {X_AncestorOrSelf, xtAxis}};
inline constexpr E kAt{{X_At, xtAxis}};
inline constexpr E kForwardStep = kForwardAxis | kAt | kNodeTest;
inline constexpr E kReverseStep = kReverseAxis | E{{X_DotDot, xtContextItem}};
inline constexpr E kAxisStep = kForwardStep | kReverseStep;
inline constexpr E kStepExpr = kPrimaryExpr | kAxisStep;

inline constexpr E kForwardStepP = kForwardAxisP | kAt | kNodeTest;
inline constexpr E kStepExprP = kForwardStepP | E{{X_LParenthesis, xtBracket}};

inline constexpr E kOccurrence{
    {X_QMark, xtOccurrence}, {X_Asterisk, xtOccurrence}, {X_Plus, xtOccurrence}};

inline constexpr E kItemType = kKindTest | E{{X_Item, xtItemType},
                                             {X_Function_ALT_2, xtItemType},
                                             {X_Function_ALT_3, xtItemType},
                                             {X_Map_ALT_2, xtItemType},
                                             {X_Map_ALT_3, xtItemType},
                                             {X_Array_ALT_2, xtItemType},
                                             {X_Array_ALT_3, xtItemType},
                                             {X_EQName, xtSchemaAtomicOrUnionType},
                                             {X_NCName, xtSchemaAtomicOrUnionType},
                                             {X_LParenthesis, xtBracket}};
inline constexpr E kSequenceType = kItemType | E{{X_EmptySequence, xtItemType}};

inline bool IsName(TyXPath31Token Kind) { return Kind == X_NCName || Kind == X_EQName; }

}  // namespace xylem::xpath31firsts

namespace xylem {

template <typename F>
void CyXPath31Parser::CommaList(TyXPath31ParserRule Rule, F Item) {
  Item();
  Expect(xpath31firsts::kComma);
  while (Tok() == X_Comma) {
    M(X_Comma, xtSymbol, Rule);
    Item();
    Expect(xpath31firsts::kComma);
  }
}

template <void (CyXPath31Parser::*Operand)()>
void CyXPath31Parser::OperatorLevel(TyXPath31ParserRule Rule,
                                    const TyXPath31Expectation& Operators) {
  Enter(Rule);
  (this->*Operand)();
  Expect(Operators);
  while (Operators.Has(Tok())) {
    Match(Tok(), xtOperator, XPath31TokenDisplayText(Tok()).data(), Rule);
    (this->*Operand)();
    Expect(Operators);
  }
  Leave(Rule);
}

}  // namespace xylem
