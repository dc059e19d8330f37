// Expression rules: sequences, clauses (for, let, quantified, if) and the operator levels from
// "or" down to the simple map operator.

#include "xpath/ParserFirsts.hpp"

namespace xylem {

using namespace xpath31firsts;

namespace {

constexpr E kExprSingleKeywords{{X_For, xtKeyword},
                                {X_Let, xtKeyword},
                                {X_Some, xtKeyword},
                                {X_Every, xtKeyword},
                                {X_If, xtKeyword}};
constexpr E kOr{{X_Or, xtOperator}};
constexpr E kAnd{{X_And, xtOperator}};
constexpr E kGeneralComp{{X_Equal, xtOperator}, {X_NotEqual, xtOperator},
                         {X_Lt, xtOperator},    {X_LtEqual, xtOperator},
                         {X_Gt, xtOperator},    {X_GtEqual, xtOperator}};
constexpr E kValueComp{{X_FortranEq, xtOperator}, {X_FortranNe, xtOperator},
                       {X_FortranLt, xtOperator}, {X_FortranLe, xtOperator},
                       {X_FortranGt, xtOperator}, {X_FortranGe, xtOperator}};
constexpr E kNodeComp{{X_Is, xtOperator}, {X_LtLt, xtOperator}, {X_GtGt, xtOperator}};
constexpr E kComparison = kGeneralComp | kValueComp | kNodeComp;
constexpr E kConcat{{X_VBarVBar, xtOperator}};
constexpr E kTo{{X_To, xtOperator}};
constexpr E kAdditive{{X_Minus, xtOperator}, {X_Plus, xtOperator}};
constexpr E kMultiplicative{
    {X_Asterisk, xtOperator}, {X_Div, xtOperator}, {X_IDiv, xtOperator}, {X_Mod, xtOperator}};
constexpr E kUnion{{X_Union, xtOperator}, {X_VBar, xtOperator}};
constexpr E kIntersectExcept{{X_Intersect, xtOperator}, {X_Except, xtOperator}};
constexpr E kInstance{{X_Instance, xtKeyword}};
constexpr E kTreat{{X_Treat, xtKeyword}};
constexpr E kCastable{{X_Castable, xtKeyword}};
constexpr E kCast{{X_Cast, xtKeyword}};
constexpr E kArrow{{X_Arrow, xtOperator}};
constexpr E kBang{{X_Bang, xtOperator}};

// The binary operator levels from "or" down to the unary signs. Calling a level's method is the
// same as descending the left spine of the levels below it: all of them are entered at the same
// token, the unary level parses its operand, and on the way back up each level announces its
// operators and, when one stands current, parses its right operands. One loop over a table does
// this instead of a call per level; the listener events and the announcements are those of
// nested calls, in the same order.
enum TyLevel : uint8_t {
  lvOr,
  lvAnd,
  lvComparison,
  lvStringConcat,
  lvRange,
  lvAdditive,
  lvMultiplicative,
  lvUnion,
  lvIntersectExcept,
  lvInstanceof,
  lvTreat,
  lvCastable,
  lvCast,
  lvArrow,
  lvUnary
};
constexpr TyXPath31ParserRule kLevelRules[] = {xprOrExpr,
                                               xprAndExpr,
                                               xprComparisonExpr,
                                               xprStringConcatExpr,
                                               xprRangeExpr,
                                               xprAdditiveExpr,
                                               xprMultiplicativeExpr,
                                               xprUnionExpr,
                                               xprIntersectExceptExpr,
                                               xprInstanceofExpr,
                                               xprTreatExpr,
                                               xprCastableExpr,
                                               xprCastExpr,
                                               xprArrowExpr,
                                               xprUnaryExpr};
constexpr const E* kLevelOperators[] = {&kOr,
                                        &kAnd,
                                        &kComparison,
                                        &kConcat,
                                        &kTo,
                                        &kAdditive,
                                        &kMultiplicative,
                                        &kUnion,
                                        &kIntersectExcept,
                                        &kInstance,
                                        &kTreat,
                                        &kCastable,
                                        &kCast,
                                        &kArrow};

// kOperatorsFrom[Top]: the operators of the levels from Top down to the arrow, together (none
// for the unary level itself).
struct TyOperatorUnions {
  E From[lvUnary + 1];
  constexpr TyOperatorUnions() {
    E Union;
    for (int L = lvUnary - 1; L >= 0; --L) From[L] = Union = Union | *kLevelOperators[L];
  }
};
constexpr TyOperatorUnions kOperatorUnions;
constexpr const E* kOperatorsFrom = kOperatorUnions.From;

}  // namespace

void CyXPath31Parser::OperatorChain(int Top) {
  if (Listening) {
    for (int L = Top; L <= lvUnary; ++L) Enter(kLevelRules[L]);
  } else {
    Depth += lvUnary - Top + 1;
    if (Depth > kMaxDepth) Enter(kLevelRules[Top]);  // fails
  }
  Expect(kAdditive);
  while (kAdditive.Has(Tok())) {
    M(Tok(), xtOperator, xprUnaryExpr);
    Expect(kAdditive);
  }
  ValueExpr();
  Leave(xprUnaryExpr);
  // Usually no operator of any level stands here: then every level announces its operators and
  // ends, which one union and one test do at once.
  if (!kOperatorsFrom[Top].Has(Tok())) {
    Expect(kOperatorsFrom[Top]);
    if (Listening) {
      for (int L = lvUnary - 1; L >= Top; --L) Leave(kLevelRules[L]);
    } else {
      Depth -= lvUnary - Top;
    }
    return;
  }
  for (int L = lvUnary - 1; L >= Top; --L) {
    const E& Operators = *kLevelOperators[L];
    Expect(Operators);
    if (Operators.Has(Tok())) OperatorTail(L);
    Leave(kLevelRules[L]);
  }
}

// The part of level L after its first operand, entered with one of its operators current.
void CyXPath31Parser::OperatorTail(int L) {
  const TyXPath31ParserRule Rule = kLevelRules[L];
  switch (L) {
    case lvComparison:
      if (kGeneralComp.Has(Tok()))
        GeneralComp();
      else if (kValueComp.Has(Tok()))
        ValueComp();
      else
        NodeComp();
      OperatorChain(L + 1);
      break;
    case lvRange:
      M(X_To, xtOperator, Rule);
      OperatorChain(L + 1);
      break;
    case lvInstanceof:
      M(X_Instance, xtKeyword, Rule);
      M(X_Of, xtKeyword, Rule);
      SequenceType();
      break;
    case lvTreat:
    case lvCastable:
    case lvCast:
      M(Tok(), xtKeyword, Rule);
      M(X_As, xtKeyword, Rule);
      if (L == lvTreat)
        SequenceType();
      else
        SingleType();
      break;
    case lvArrow:
      do {
        M(X_Arrow, xtOperator, Rule);
        ArrowFunctionSpecifier();
        ArgumentList();
        Expect(kArrow);
      } while (Tok() == X_Arrow);
      break;
    default: {
      const E& Operators = *kLevelOperators[L];
      do {
        M(Tok(), xtOperator, Rule);
        OperatorChain(L + 1);
        Expect(Operators);
      } while (Operators.Has(Tok()));
      break;
    }
  }
}

void CyXPath31Parser::OrExpr() { OperatorChain(lvOr); }
void CyXPath31Parser::AndExpr() { OperatorChain(lvAnd); }
void CyXPath31Parser::ComparisonExpr() { OperatorChain(lvComparison); }
void CyXPath31Parser::StringConcatExpr() { OperatorChain(lvStringConcat); }
void CyXPath31Parser::RangeExpr() { OperatorChain(lvRange); }
void CyXPath31Parser::AdditiveExpr() { OperatorChain(lvAdditive); }
void CyXPath31Parser::MultiplicativeExpr() { OperatorChain(lvMultiplicative); }
void CyXPath31Parser::UnionExpr() { OperatorChain(lvUnion); }
void CyXPath31Parser::IntersectExceptExpr() { OperatorChain(lvIntersectExcept); }
void CyXPath31Parser::InstanceofExpr() { OperatorChain(lvInstanceof); }
void CyXPath31Parser::TreatExpr() { OperatorChain(lvTreat); }
void CyXPath31Parser::CastableExpr() { OperatorChain(lvCastable); }
void CyXPath31Parser::CastExpr() { OperatorChain(lvCast); }
void CyXPath31Parser::ArrowExpr() { OperatorChain(lvArrow); }
void CyXPath31Parser::UnaryExpr() { OperatorChain(lvUnary); }

void CyXPath31Parser::ParamList() {
  Enter(xprParamList);
  CommaList(xprParamList, [this] { Param(); });
  Leave(xprParamList);
}

void CyXPath31Parser::Param() {
  Enter(xprParam);
  M(X_Dollar, xtVariable, xprParam);
  M(X_EQName_ALT_1, xtVariable, xprParam);
  Expect(kAs);
  if (Tok() == X_As) TypeDeclaration();
  Leave(xprParam);
}

void CyXPath31Parser::FunctionBody() {
  Enter(xprFunctionBody);
  EnclosedExpr();
  Leave(xprFunctionBody);
}

void CyXPath31Parser::EnclosedExpr() {
  Enter(xprEnclosedExpr);
  M(X_LCurlyBracket, xtBracket, xprEnclosedExpr);
  Expect(kRCurlyBracket);
  if (Tok() != X_RCurlyBracket) Expr();
  M(X_RCurlyBracket, xtBracket, xprEnclosedExpr);
  Leave(xprEnclosedExpr);
}

void CyXPath31Parser::Expr() {
  Enter(xprExpr);
  CommaList(xprExpr, [this] { ExprSingle(); });
  Leave(xprExpr);
}

void CyXPath31Parser::ExprSingle() {
  Enter(xprExprSingle);
  // The operator branch is the default: its own decisions announce the tokens that begin it.
  Expect(kExprSingleKeywords);
  switch (Tok()) {
    case X_For:
      ForExpr();
      break;
    case X_Let:
      LetExpr();
      break;
    case X_Some:
    case X_Every:
      QuantifiedExpr();
      break;
    case X_If:
      IfExpr();
      break;
    default:
      OrExpr();
      break;
  }
  Leave(xprExprSingle);
}

void CyXPath31Parser::ForExpr() {
  Enter(xprForExpr);
  SimpleForClause();
  M(X_Return, xtKeyword, xprForExpr);
  ExprSingle();
  Leave(xprForExpr);
}

void CyXPath31Parser::SimpleForClause() {
  Enter(xprSimpleForClause);
  M(X_For, xtKeyword, xprSimpleForClause);
  CommaList(xprSimpleForClause, [this] { SimpleForBinding(); });
  Leave(xprSimpleForClause);
}

void CyXPath31Parser::SimpleForBinding() {
  Enter(xprSimpleForBinding);
  M(X_Dollar, xtVariable, xprSimpleForBinding);
  VarName(xtVariable);
  M(X_In, xtKeyword, xprSimpleForBinding);
  ExprSingle();
  Leave(xprSimpleForBinding);
}

void CyXPath31Parser::LetExpr() {
  Enter(xprLetExpr);
  SimpleLetClause();
  M(X_Return, xtKeyword, xprLetExpr);
  ExprSingle();
  Leave(xprLetExpr);
}

void CyXPath31Parser::SimpleLetClause() {
  Enter(xprSimpleLetClause);
  M(X_Let, xtKeyword, xprSimpleLetClause);
  CommaList(xprSimpleLetClause, [this] { SimpleLetBinding(); });
  Leave(xprSimpleLetClause);
}

void CyXPath31Parser::SimpleLetBinding() {
  Enter(xprSimpleLetBinding);
  M(X_Dollar, xtVariable, xprSimpleLetBinding);
  VarName(xtVariable);
  M(X_ColonEqual, xtSymbol, xprSimpleLetBinding);
  ExprSingle();
  Leave(xprSimpleLetBinding);
}

void CyXPath31Parser::QuantifiedExpr() {
  Enter(xprQuantifiedExpr);
  M(Tok() == X_Every ? X_Every : X_Some, xtKeyword, xprQuantifiedExpr);
  CommaList(xprQuantifiedExpr, [this] {
    M(X_Dollar, xtVariable, xprQuantifiedExpr);
    VarName(xtVariable);
    M(X_In, xtKeyword, xprQuantifiedExpr);
    ExprSingle();
  });
  M(X_Satisfies, xtKeyword, xprQuantifiedExpr);
  ExprSingle();
  Leave(xprQuantifiedExpr);
}

void CyXPath31Parser::IfExpr() {
  Enter(xprIfExpr);
  M(X_If, xtKeyword, xprIfExpr);
  M(X_LParenthesis, xtBracket, xprIfExpr);
  Expr();
  M(X_RParenthesis, xtBracket, xprIfExpr);
  M(X_Then, xtKeyword, xprIfExpr);
  ExprSingle();
  M(X_Else, xtKeyword, xprIfExpr);
  ExprSingle();
  Leave(xprIfExpr);
}

void CyXPath31Parser::SimpleMapExpr() {
  OperatorLevel<&CyXPath31Parser::PathExpr>(xprSimpleMapExpr, kBang);
}

void CyXPath31Parser::GeneralComp() {
  Enter(xprGeneralComp);
  M(Tok(), xtOperator, xprGeneralComp);
  Leave(xprGeneralComp);
}

void CyXPath31Parser::ValueComp() {
  Enter(xprValueComp);
  M(Tok(), xtOperator, xprValueComp);
  Leave(xprValueComp);
}

void CyXPath31Parser::NodeComp() {
  Enter(xprNodeComp);
  M(Tok(), xtOperator, xprNodeComp);
  Leave(xprNodeComp);
}

void CyXPath31Parser::ValueExpr() {
  Enter(xprValueExpr);
  SimpleMapExpr();
  Leave(xprValueExpr);
}

}  // namespace xylem
