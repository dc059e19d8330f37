// XSLT 3.0 patterns (the P rules admit only what a pattern may contain) and attribute value
// templates.

#include "xpath/ParserFirsts.hpp"

namespace xylem {

using namespace xpath31firsts;

namespace {

constexpr E kPredicatePattern{{X_Dot, xtContextItem}};
constexpr E kUnionP{{X_Union, xtOperator}, {X_VBar, xtOperator}};
constexpr E kIntersectExceptP{{X_Intersect, xtOperator}, {X_Except, xtOperator}};
constexpr E kRootedPath{{X_Dollar, xtVariableRef}, {X_EQName_ALT_3, xtFunctionCall}};
constexpr E kPathExprP = kRootedPath | kSlashes | kStepExprP;
constexpr E kArgumentP = E{{X_Dollar, xtVariableRef}} | kLiteral;
constexpr E kArgumentPOrEnd = kArgumentP | kRParenthesis;
constexpr E kAVT{{X_AVT, xtAVT}, {X_LCurlyBracket, xtBracket}};

// The functions a pattern may start with; any other is allowed only as a URIQualifiedName.
bool IsOuterFunctionName(std::u16string_view Name) {
  return Name == u"doc" || Name == u"id" || Name == u"element-with-id" || Name == u"key" ||
         Name == u"root" || (Name.size() > 2 && Name[0] == 'Q' && Name[1] == '{');
}

}  // namespace

void CyXPath31Parser::Pattern30() {
  Enter(xprPattern30);
  Expect(kPredicatePattern);
  if (Tok() == X_Dot)
    PredicatePattern();
  else
    UnionExprP();
  Leave(xprPattern30);
}

void CyXPath31Parser::PredicatePattern() {
  Enter(xprPredicatePattern);
  M(X_Dot, xtContextItem, xprPredicatePattern);
  PredicateList();
  Leave(xprPredicatePattern);
}

void CyXPath31Parser::UnionExprP() {
  OperatorLevel<&CyXPath31Parser::IntersectExceptExprP>(xprUnionExprP, kUnionP);
}

void CyXPath31Parser::IntersectExceptExprP() {
  OperatorLevel<&CyXPath31Parser::PathExprP>(xprIntersectExceptExprP, kIntersectExceptP);
}

void CyXPath31Parser::PathExprP() {
  Enter(xprPathExprP);
  Expect(kPathExprP);
  switch (Tok()) {
    case X_Dollar:
    case X_EQName_ALT_3:
      RootedPath();
      break;
    case X_Slash:
      M(X_Slash, xtSlash, xprPathExprP);
      Expect(kStepExprP);
      if (kStepExprP.Has(Tok())) RelativePathExprP();
      break;
    case X_SlashSlash:
      M(X_SlashSlash, xtSlash, xprPathExprP);
      RelativePathExprP();
      break;
    default:
      if (!kStepExprP.Has(Tok())) ERROR();
      RelativePathExprP();
      break;
  }
  Leave(xprPathExprP);
}

void CyXPath31Parser::RootedPath() {
  Enter(xprRootedPath);
  if (Tok() == X_Dollar)
    VarRef();
  else
    FunctionCallP();
  PredicateList();
  Expect(kSlashes);
  if (Tok() == X_Slash || Tok() == X_SlashSlash) {
    M(Tok(), xtSlash, xprRootedPath);
    RelativePathExprP();
  }
  Leave(xprRootedPath);
}

void CyXPath31Parser::FunctionCallP() {
  Enter(xprFunctionCallP);
  OuterFunctionName();
  ArgumentListP();
  Leave(xprFunctionCallP);
}

void CyXPath31Parser::OuterFunctionName() {
  Enter(xprOuterFunctionName);
  if (Tok() != X_EQName_ALT_3 || !IsOuterFunctionName(CurrentXPath31TokenText())) ERROR();
  M(X_EQName_ALT_3, xtFunctionCall, xprOuterFunctionName);
  Leave(xprOuterFunctionName);
}

void CyXPath31Parser::ArgumentListP() {
  Enter(xprArgumentListP);
  M(X_LParenthesis, xtBracket, xprArgumentListP);
  Expect(kArgumentPOrEnd);
  if (Tok() != X_RParenthesis) CommaList(xprArgumentListP, [this] { ArgumentP(); });
  M(X_RParenthesis, xtBracket, xprArgumentListP);
  Leave(xprArgumentListP);
}

void CyXPath31Parser::ArgumentP() {
  Enter(xprArgumentP);
  Expect(kArgumentP);
  if (Tok() == X_Dollar)
    VarRef();
  else if (kLiteral.Has(Tok()))
    Literal();
  else
    ERROR();
  Leave(xprArgumentP);
}

void CyXPath31Parser::RelativePathExprP() {
  Enter(xprRelativePathExprP);
  StepExprP();
  Expect(kSlashes);
  while (Tok() == X_Slash || Tok() == X_SlashSlash) {
    M(Tok(), xtSlash, xprRelativePathExprP);
    StepExprP();
    Expect(kSlashes);
  }
  Leave(xprRelativePathExprP);
}

void CyXPath31Parser::StepExprP() {
  Enter(xprStepExprP);
  Expect(kStepExprP);
  if (Tok() == X_LParenthesis)
    PostfixExprP();
  else if (kForwardStepP.Has(Tok()))
    AxisStepP();
  else
    ERROR();
  Leave(xprStepExprP);
}

void CyXPath31Parser::PostfixExprP() {
  Enter(xprPostfixExprP);
  ParenthesizedExprP();
  PredicateList();
  Leave(xprPostfixExprP);
}

void CyXPath31Parser::ParenthesizedExprP() {
  Enter(xprParenthesizedExprP);
  M(X_LParenthesis, xtBracket, xprParenthesizedExprP);
  UnionExprP();
  M(X_RParenthesis, xtBracket, xprParenthesizedExprP);
  Leave(xprParenthesizedExprP);
}

void CyXPath31Parser::AxisStepP() {
  Enter(xprAxisStepP);
  ForwardStepP();
  PredicateList();
  Leave(xprAxisStepP);
}

void CyXPath31Parser::ForwardStepP() {
  Enter(xprForwardStepP);
  if (kForwardAxisP.Has(Tok())) {
    ForwardAxisP();
    NodeTest();
  } else {
    AbbrevForwardStep();
  }
  Leave(xprForwardStepP);
}

void CyXPath31Parser::ForwardAxisP() {
  Enter(xprForwardAxisP);
  if (!kForwardAxisP.Has(Tok())) ERROR();
  M(Tok(), xtAxis, xprForwardAxisP);
  M(X_ColonColon, xtAxis, xprForwardAxisP);
  Leave(xprForwardAxisP);
}

void CyXPath31Parser::AVT() {
  Enter(xprAVT);
  for (;;) {
    Expect(kAVT);
    if (Tok() == X_AVT)
      M(X_AVT, xtAVT, xprAVT);
    else if (Tok() == X_LCurlyBracket)
      EnclosedExpr();
    else
      break;
  }
  Leave(xprAVT);
}

}  // namespace xylem
