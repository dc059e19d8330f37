// Primary expressions: literals, variables, parentheses, the context item, function calls and
// function items, and the map and array constructors with the unary lookup.

#include "xpath/ParserFirsts.hpp"

namespace xylem {

using namespace xpath31firsts;

namespace {

constexpr E kParamListOrEnd = E{{X_Dollar, xtVariable}} | kRParenthesis;

}  // namespace

void CyXPath31Parser::PrimaryExpr() {
  Enter(xprPrimaryExpr);
  Expect(kPrimaryExpr);
  switch (Tok()) {
    case X_IntegerLiteral:
    case X_NumericLiteral:
    case X_StringLiteral:
      Literal();
      break;
    case X_Dollar:
      VarRef();
      break;
    case X_LParenthesis:
      ParenthesizedExpr();
      break;
    case X_Dot:
      ContextItemExpr();
      break;
    case X_EQName_ALT_3:
      FunctionCall();
      break;
    case X_EQName_ALT_4:
    case X_Function_ALT_1:
      FunctionItemExpr();
      break;
    case X_Map_ALT_1:
      MapConstructor();
      break;
    case X_LSquareBracket:
    case X_Array_ALT_1:
      ArrayConstructor();
      break;
    case X_QMark:
      UnaryLookup();
      break;
    default:
      ERROR();
  }
  Leave(xprPrimaryExpr);
}

void CyXPath31Parser::Literal() {
  Enter(xprLiteral);
  Expect(kLiteral);
  switch (Tok()) {
    case X_IntegerLiteral:
    case X_NumericLiteral:
      M(Tok(), xtNumber, xprLiteral);
      break;
    case X_StringLiteral:
      M(X_StringLiteral, xtString, xprLiteral);
      break;
    default:
      ERROR();
  }
  Leave(xprLiteral);
}

void CyXPath31Parser::VarRef() {
  Enter(xprVarRef);
  M(X_Dollar, xtVariableRef, xprVarRef);
  VarName(xtVariableRef);
  Leave(xprVarRef);
}

void CyXPath31Parser::VarName(TyXPath31TokenType Type) {
  Enter(xprVarName);
  M(X_EQName_ALT_1, Type, xprVarName);
  Leave(xprVarName);
}

void CyXPath31Parser::ParenthesizedExpr() {
  Enter(xprParenthesizedExpr);
  M(X_LParenthesis, xtBracket, xprParenthesizedExpr);
  Expect(kRParenthesis);
  if (Tok() != X_RParenthesis) Expr();
  M(X_RParenthesis, xtBracket, xprParenthesizedExpr);
  Leave(xprParenthesizedExpr);
}

void CyXPath31Parser::ContextItemExpr() {
  Enter(xprContextItemExpr);
  M(X_Dot, xtContextItem, xprContextItemExpr);
  Leave(xprContextItemExpr);
}

void CyXPath31Parser::FunctionCall() {
  Enter(xprFunctionCall);
  M(X_EQName_ALT_3, xtFunctionCall, xprFunctionCall);
  ArgumentList();
  Leave(xprFunctionCall);
}

void CyXPath31Parser::FunctionItemExpr() {
  Enter(xprFunctionItemExpr);
  if (Tok() == X_EQName_ALT_4)
    NamedFunctionRef();
  else
    InlineFunctionExpr();
  Leave(xprFunctionItemExpr);
}

void CyXPath31Parser::NamedFunctionRef() {
  Enter(xprNamedFunctionRef);
  M(X_EQName_ALT_4, xtFunctionCall, xprNamedFunctionRef);
  M(X_Hash, xtSymbol, xprNamedFunctionRef);
  M(X_IntegerLiteral, xtNumber, xprNamedFunctionRef);
  Leave(xprNamedFunctionRef);
}

void CyXPath31Parser::InlineFunctionExpr() {
  Enter(xprInlineFunctionExpr);
  M(X_Function_ALT_1, xtConstructor, xprInlineFunctionExpr);
  M(X_LParenthesis, xtBracket, xprInlineFunctionExpr);
  Expect(kParamListOrEnd);
  if (Tok() == X_Dollar) ParamList();
  M(X_RParenthesis, xtBracket, xprInlineFunctionExpr);
  Expect(kAs);
  if (Tok() == X_As) {
    M(X_As, xtKeyword, xprInlineFunctionExpr);
    SequenceType();
  }
  FunctionBody();
  Leave(xprInlineFunctionExpr);
}

void CyXPath31Parser::MapConstructor() {
  Enter(xprMapConstructor);
  M(X_Map_ALT_1, xtConstructor, xprMapConstructor);
  M(X_LCurlyBracket, xtBracket, xprMapConstructor);
  Expect(kRCurlyBracket);
  if (Tok() != X_RCurlyBracket) CommaList(xprMapConstructor, [this] { MapConstructorEntry(); });
  M(X_RCurlyBracket, xtBracket, xprMapConstructor);
  Leave(xprMapConstructor);
}

void CyXPath31Parser::MapConstructorEntry() {
  Enter(xprMapConstructorEntry);
  MapKeyExpr();
  M(X_Colon, xtSymbol, xprMapConstructorEntry);
  MapValueExpr();
  Leave(xprMapConstructorEntry);
}

void CyXPath31Parser::MapKeyExpr() {
  Enter(xprMapKeyExpr);
  ExprSingle();
  Leave(xprMapKeyExpr);
}

void CyXPath31Parser::MapValueExpr() {
  Enter(xprMapValueExpr);
  ExprSingle();
  Leave(xprMapValueExpr);
}

void CyXPath31Parser::ArrayConstructor() {
  Enter(xprArrayConstructor);
  if (Tok() == X_LSquareBracket)
    SquareArrayConstructor();
  else
    CurlyArrayConstructor();
  Leave(xprArrayConstructor);
}

void CyXPath31Parser::SquareArrayConstructor() {
  Enter(xprSquareArrayConstructor);
  M(X_LSquareBracket, xtConstructor, xprSquareArrayConstructor);
  Expect(kRSquareBracket);
  if (Tok() != X_RSquareBracket) CommaList(xprSquareArrayConstructor, [this] { ExprSingle(); });
  M(X_RSquareBracket, xtBracket, xprSquareArrayConstructor);
  Leave(xprSquareArrayConstructor);
}

void CyXPath31Parser::CurlyArrayConstructor() {
  Enter(xprCurlyArrayConstructor);
  M(X_Array_ALT_1, xtConstructor, xprCurlyArrayConstructor);
  EnclosedExpr();
  Leave(xprCurlyArrayConstructor);
}

void CyXPath31Parser::UnaryLookup() {
  Enter(xprUnaryLookup);
  M(X_QMark, xtSymbol, xprUnaryLookup);
  KeySpecifier();
  Leave(xprUnaryLookup);
}

}  // namespace xylem
