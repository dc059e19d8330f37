// The follower sets, assembled from groups of grammar positions of the XPath 3.1 grammar and the
// XSLT 3.0 pattern grammar. Each group names the positions after which one kind of construct
// begins; the readings are unions of those groups.

#include "xpath/Followers.hpp"

#include <initializer_list>

namespace xylem {

namespace {

using L = TyXPath31Label;

// After these an ExprSingle begins: primaries (function calls, named function references) and
// steps (name tests) may follow.
constexpr L kExpressionStarts[] = {
    {X_BOF, xprExpr},
    {X_Comma, xprExpr},
    {X_LCurlyBracket, xprEnclosedExpr},
    {X_Return, xprForExpr},
    {X_In, xprSimpleForBinding},
    {X_Return, xprLetExpr},
    {X_ColonEqual, xprSimpleLetBinding},
    {X_In, xprQuantifiedExpr},
    {X_Satisfies, xprQuantifiedExpr},
    {X_LParenthesis, xprIfExpr},
    {X_Then, xprIfExpr},
    {X_Else, xprIfExpr},
    {X_Or, xprOrExpr},
    {X_And, xprAndExpr},
    {X_Equal, xprGeneralComp},
    {X_NotEqual, xprGeneralComp},
    {X_Lt, xprGeneralComp},
    {X_LtEqual, xprGeneralComp},
    {X_Gt, xprGeneralComp},
    {X_GtEqual, xprGeneralComp},
    {X_FortranEq, xprValueComp},
    {X_FortranNe, xprValueComp},
    {X_FortranLt, xprValueComp},
    {X_FortranLe, xprValueComp},
    {X_FortranGt, xprValueComp},
    {X_FortranGe, xprValueComp},
    {X_Is, xprNodeComp},
    {X_LtLt, xprNodeComp},
    {X_GtGt, xprNodeComp},
    {X_VBarVBar, xprStringConcatExpr},
    {X_To, xprRangeExpr},
    {X_Plus, xprAdditiveExpr},
    {X_Minus, xprAdditiveExpr},
    {X_Asterisk, xprMultiplicativeExpr},
    {X_Div, xprMultiplicativeExpr},
    {X_IDiv, xprMultiplicativeExpr},
    {X_Mod, xprMultiplicativeExpr},
    {X_Union, xprUnionExpr},
    {X_VBar, xprUnionExpr},
    {X_Intersect, xprIntersectExceptExpr},
    {X_Except, xprIntersectExceptExpr},
    {X_Minus, xprUnaryExpr},
    {X_Plus, xprUnaryExpr},
    {X_Bang, xprSimpleMapExpr},
    {X_Slash, xprPathExpr},
    {X_SlashSlash, xprPathExpr},
    {X_Slash, xprRelativePathExpr},
    {X_SlashSlash, xprRelativePathExpr},
    {X_LParenthesis, xprArgumentList},
    {X_Comma, xprArgumentList},
    {X_LSquareBracket, xprPredicate},
    {X_LParenthesis, xprParenthesizedExpr},
    {X_LCurlyBracket, xprMapConstructor},
    {X_Comma, xprMapConstructor},
    {X_Colon, xprMapConstructorEntry},
    {X_LSquareBracket, xprSquareArrayConstructor},
    {X_Comma, xprSquareArrayConstructor},
};

// After these a pattern operand begins: an outer function call (FunctionCallP) or a step.
constexpr L kPatternOperandStarts[] = {
    {X_BOF, xprPattern30},
    {X_BOF, xprUnionExprP},
    {X_Union, xprUnionExprP},
    {X_VBar, xprUnionExprP},
    {X_Intersect, xprIntersectExceptExprP},
    {X_Except, xprIntersectExceptExprP},
    {X_LParenthesis, xprParenthesizedExprP},
};

// After these only a step of a pattern begins (no function call).
constexpr L kPatternStepStarts[] = {
    {X_Slash, xprPathExprP},         {X_SlashSlash, xprPathExprP},
    {X_Slash, xprRootedPath},        {X_SlashSlash, xprRootedPath},
    {X_Slash, xprRelativePathExprP}, {X_SlashSlash, xprRelativePathExprP},
    {X_ColonColon, xprForwardAxisP},
};

// After these only a node test begins.
constexpr L kNodeTestStarts[] = {
    {X_ColonColon, xprForwardAxis},
    {X_ColonColon, xprReverseAxis},
    {X_At, xprAbbrevForwardStep},
};

// After these an ItemType begins (function tests included).
constexpr L kItemTypeStarts[] = {
    {X_Of, xprInstanceofExpr},
    {X_As, xprTreatExpr},
    {X_As, xprTypeDeclaration},
    {X_As, xprInlineFunctionExpr},
    {X_BOF, xprSequenceType},
    {X_BOF, xprItemType},
    {X_LParenthesis, xprTypedFunctionTest},
    {X_Comma, xprTypedFunctionTest},
    {X_As, xprTypedFunctionTest},
    {X_Comma, xprTypedMapTest},
    {X_LParenthesis, xprTypedArrayTest},
    {X_LParenthesis, xprParenthesizedItemType},
};

// After these only a type, element or attribute name (or "*") begins.
constexpr L kTypeNameStarts[] = {
    {X_As, xprCastExpr},
    {X_As, xprCastableExpr},
    {X_LParenthesis, xprTypedMapTest},
    {X_LParenthesis, xprElementTest},
    {X_Comma, xprElementTest},
    {X_LParenthesis, xprAttributeTest},
    {X_Comma, xprAttributeTest},
    {X_LParenthesis, xprSchemaElementTest},
    {X_LParenthesis, xprSchemaAttributeTest},
};

// After these an NCName is a plain name: a lookup key or a processing-instruction target.
constexpr L kPlainNameStarts[] = {
    {X_QMark, xprLookup},
    {X_QMark, xprUnaryLookup},
    {X_LParenthesis, xprPITest},
};

template <size_t N>
void AddAll(std::bitset<kXPath31LabelCount>& Set, const L (&Labels)[N]) {
  for (L Label : Labels) Set.set(Label.Index());
}

}  // namespace

CyXPath31Followers::CyXPath31Followers() {
  AddAll(Sets_[frFunctionTest], kItemTypeStarts);
  AddAll(Sets_[frPlainName], kPlainNameStarts);
  AddAll(Sets_[frFunctionCall], kExpressionStarts);
  AddAll(Sets_[frFunctionCall], kPatternOperandStarts);
  AddAll(Sets_[frNamedFunctionRef], kExpressionStarts);
  auto& NameTest = Sets_[frNameTest];
  AddAll(NameTest, kExpressionStarts);
  AddAll(NameTest, kPatternOperandStarts);
  AddAll(NameTest, kPatternStepStarts);
  AddAll(NameTest, kNodeTestStarts);
  AddAll(NameTest, kItemTypeStarts);
  AddAll(NameTest, kTypeNameStarts);
}

const CyXPath31Followers& CyXPath31Followers::Get() {
  static const CyXPath31Followers Instance;
  return Instance;
}

std::vector<TyXPath31Label> CyXPath31Followers::Labels(TyXPath31Reading Reading) const {
  std::vector<TyXPath31Label> Result;
  for (int I = 0; I < kXPath31LabelCount; ++I)
    if (Sets_[Reading].test(size_t(I)))
      Result.push_back({TyXPath31Token(I / kXPath31ParserRuleCount),
                        TyXPath31ParserRule(I % kXPath31ParserRuleCount)});
  return Result;
}

}  // namespace xylem
