// Path rules: path expressions, steps and axes, node tests, and the postfix forms (predicates,
// argument lists, lookups) with the arrow's function specifier.

#include "xpath/ParserFirsts.hpp"

namespace xylem {

using namespace xpath31firsts;

namespace {

constexpr E kPostfix{
    {X_LSquareBracket, xtBracket}, {X_LParenthesis, xtBracket}, {X_QMark, xtSymbol}};
constexpr E kKeySpecifier{{X_NCName, xtKeySpecifier},
                          {X_IntegerLiteral, xtKeySpecifier},
                          {X_LParenthesis, xtBracket},
                          {X_Asterisk, xtKeySpecifier}};
constexpr E kArrowFunctionSpecifier{
    {X_EQName_ALT_2, xtFunctionCall}, {X_Dollar, xtVariableRef}, {X_LParenthesis, xtBracket}};
constexpr E kArgumentPlaceholder{{X_QMark_ALT_1, xtSymbol}};

}  // namespace

void CyXPath31Parser::PathExpr() {
  Enter(xprPathExpr);
  Expect(kSlashes);
  switch (Tok()) {
    case X_Slash:
      M(X_Slash, xtSlash, xprPathExpr);
      // A lone "/" ends the path unless a step can begin here (leading-lone-slash).
      Expect(kStepExpr);
      if (kStepExpr.Has(Tok())) RelativePathExpr();
      break;
    case X_SlashSlash:
      M(X_SlashSlash, xtSlash, xprPathExpr);
      RelativePathExpr();
      break;
    default:
      RelativePathExpr();
      break;
  }
  Leave(xprPathExpr);
}

void CyXPath31Parser::RelativePathExpr() {
  Enter(xprRelativePathExpr);
  StepExpr();
  Expect(kSlashes);
  while (Tok() == X_Slash || Tok() == X_SlashSlash) {
    M(Tok(), xtSlash, xprRelativePathExpr);
    StepExpr();
    Expect(kSlashes);
  }
  Leave(xprRelativePathExpr);
}

void CyXPath31Parser::StepExpr() {
  Enter(xprStepExpr);
  Expect(kStepExpr);
  if (kPrimaryExpr.Has(Tok()))
    PostfixExpr();
  else if (kAxisStep.Has(Tok()))
    AxisStep();
  else
    ERROR();
  Leave(xprStepExpr);
}

void CyXPath31Parser::AxisStep() {
  Enter(xprAxisStep);
  if (kReverseStep.Has(Tok()))
    ReverseStep();
  else
    ForwardStep();
  PredicateList();
  Leave(xprAxisStep);
}

void CyXPath31Parser::ForwardStep() {
  Enter(xprForwardStep);
  Expect(kForwardStep);
  if (kForwardAxis.Has(Tok())) {
    ForwardAxis();
    NodeTest();
  } else {
    AbbrevForwardStep();
  }
  Leave(xprForwardStep);
}

void CyXPath31Parser::ForwardAxis() {
  Enter(xprForwardAxis);
  if (!kForwardAxis.Has(Tok())) ERROR();
  M(Tok(), xtAxis, xprForwardAxis);
  M(X_ColonColon, xtAxis, xprForwardAxis);
  Leave(xprForwardAxis);
}

void CyXPath31Parser::AbbrevForwardStep() {
  Enter(xprAbbrevForwardStep);
  Expect(kAt);
  if (Tok() == X_At) M(X_At, xtAxis, xprAbbrevForwardStep);
  NodeTest();
  Leave(xprAbbrevForwardStep);
}

void CyXPath31Parser::ReverseStep() {
  Enter(xprReverseStep);
  Expect(kReverseStep);
  if (Tok() == X_DotDot) {
    AbbrevReverseStep();
  } else {
    ReverseAxis();
    NodeTest();
  }
  Leave(xprReverseStep);
}

void CyXPath31Parser::ReverseAxis() {
  Enter(xprReverseAxis);
  if (!kReverseAxis.Has(Tok())) ERROR();
  M(Tok(), xtAxis, xprReverseAxis);
  M(X_ColonColon, xtAxis, xprReverseAxis);
  Leave(xprReverseAxis);
}

void CyXPath31Parser::AbbrevReverseStep() {
  Enter(xprAbbrevReverseStep);
  M(X_DotDot, xtContextItem, xprAbbrevReverseStep);
  Leave(xprAbbrevReverseStep);
}

void CyXPath31Parser::NodeTest() {
  Enter(xprNodeTest);
  Expect(kNodeTest);
  if (kKindTest.Has(Tok()))
    KindTest();
  else if (kNameTest.Has(Tok()))
    NameTest();
  else
    ERROR();
  Leave(xprNodeTest);
}

void CyXPath31Parser::NameTest() {
  Enter(xprNameTest);
  if (IsName(Tok()))
    M(Tok(), xtNameTest, xprNameTest);
  else
    Wildcard();
  Leave(xprNameTest);
}

void CyXPath31Parser::Wildcard() {
  Enter(xprWildcard);
  Expect(kWildcard);
  if (!kWildcard.Has(Tok())) ERROR();
  M(Tok(), xtNameTest, xprWildcard);
  Leave(xprWildcard);
}

void CyXPath31Parser::PostfixExpr() {
  Enter(xprPostfixExpr);
  PrimaryExpr();
  for (;;) {
    Expect(kPostfix);
    if (Tok() == X_LSquareBracket)
      Predicate();
    else if (Tok() == X_LParenthesis)
      ArgumentList();
    else if (Tok() == X_QMark)
      Lookup();
    else
      break;
  }
  Leave(xprPostfixExpr);
}

void CyXPath31Parser::ArgumentList() {
  Enter(xprArgumentList);
  M(X_LParenthesis, xtBracket, xprArgumentList);
  Expect(kRParenthesis);
  if (Tok() != X_RParenthesis) CommaList(xprArgumentList, [this] { Argument(); });
  M(X_RParenthesis, xtBracket, xprArgumentList);
  Leave(xprArgumentList);
}

void CyXPath31Parser::PredicateList() {
  Enter(xprPredicateList);
  Expect(kLSquareBracket);
  while (Tok() == X_LSquareBracket) {
    Predicate();
    Expect(kLSquareBracket);
  }
  Leave(xprPredicateList);
}

void CyXPath31Parser::Predicate() {
  Enter(xprPredicate);
  M(X_LSquareBracket, xtBracket, xprPredicate);
  Expr();
  M(X_RSquareBracket, xtBracket, xprPredicate);
  Leave(xprPredicate);
}

void CyXPath31Parser::Lookup() {
  Enter(xprLookup);
  M(X_QMark, xtSymbol, xprLookup);
  KeySpecifier();
  Leave(xprLookup);
}

void CyXPath31Parser::KeySpecifier() {
  Enter(xprKeySpecifier);
  Expect(kKeySpecifier);
  switch (Tok()) {
    case X_NCName:
    case X_IntegerLiteral:
    case X_Asterisk:
      M(Tok(), xtKeySpecifier, xprKeySpecifier);
      break;
    case X_LParenthesis:
      ParenthesizedExpr();
      break;
    default:
      ERROR();
  }
  Leave(xprKeySpecifier);
}

void CyXPath31Parser::ArrowFunctionSpecifier() {
  Enter(xprArrowFunctionSpecifier);
  Expect(kArrowFunctionSpecifier);
  switch (Tok()) {
    case X_EQName_ALT_2:
      M(X_EQName_ALT_2, xtFunctionCall, xprArrowFunctionSpecifier);
      break;
    case X_Dollar:
      VarRef();
      break;
    case X_LParenthesis:
      ParenthesizedExpr();
      break;
    default:
      ERROR();
  }
  Leave(xprArrowFunctionSpecifier);
}

void CyXPath31Parser::Argument() {
  Enter(xprArgument);
  Expect(kArgumentPlaceholder);
  if (Tok() == X_QMark_ALT_1)
    ArgumentPlaceholder();
  else
    ExprSingle();
  Leave(xprArgument);
}

void CyXPath31Parser::ArgumentPlaceholder() {
  Enter(xprArgumentPlaceholder);
  M(X_QMark_ALT_1, xtSymbol, xprArgumentPlaceholder);
  Leave(xprArgumentPlaceholder);
}

}  // namespace xylem
