#pragma once
// The XPath 3.1 parser: a recursive-descent recogniser of XPath 3.1, the XSLT 3.0 pattern grammar
// and attribute value templates. It builds nothing: it notifies a listener, labels every step with
// the grammar position and token class in which it was taken, and keeps the set of tokens (and
// their roles) that would be accepted next, for completion and error messages.

#include <string>
#include <vector>

#include "xpath/ExpectedTokens.hpp"
#include "xpath/ParserListener.hpp"
#include "xpath/Tokenizer.hpp"

namespace xylem {

// One parser per parse; not thread-safe (parsers on different threads are independent; the
// follower sets they share are read-only). The text must outlive the parser.
class CyXPath31Parser {
 public:
  // XPath31: NUL-terminated text; Rule: the start rule (xprExpr, xprSequenceType, xprItemType,
  // xprPattern30, xprUnionExprP or xprAVT); Listener: notified during Parse (not owned; none
  // means an empty listener list). Scans the text at once (attribute-value-template mode for
  // xprAVT).
  CyXPath31Parser(const char16_t* XPath31, TyXPath31ParserRule Rule,
                  IyXPath31ParserListener* Listener = nullptr);
  CyXPath31Parser(const CyXPath31Parser&) = delete;
  CyXPath31Parser& operator=(const CyXPath31Parser&) = delete;

  // Parses the whole text by the start rule. Raises CyException at the first syntax or lexical
  // error (steps, error step and expected sets stay readable); CyShouldNeverHappenException for
  // a start rule that is not one of the six. Linear in the text for valid input.
  void Parse();

  // Adds each pair (Kinds[i], Types[i]) to both expected structures.
  void Expect(const TyXPath31Token* Kinds, const TyXPath31TokenType* Types, int Count);
  // Adds a decision's pairs to both expected structures. Expectation must have static storage
  // (the grammar's constant tables): it is logged by address and merged into the bit sets only
  // when they are read, which keeps announcing at every decision to one store.
  void Expect(const TyXPath31Expectation& Expectation) { Announced.push_back(&Expectation); }
  // Consumes the current token, which must be of Kind (else raises one of the four messages);
  // Text is the display text (null: none); the label Kind[Rule] becomes the step's RuleContext.
  void Match(TyXPath31Token Kind, TyXPath31TokenType Type, const char16_t* Text,
             TyXPath31ParserRule Rule);
  // Raises "Unexpected "%s"." for the current token, or "Unexpected end.".
  [[noreturn]] void ERROR();

  PyXPath31Step PreviousPreviousXPath31Step() { return Tokenizer.PreviousPreviousStep(); }
  PyXPath31Step PreviousXPath31Step() { return Tokenizer.PreviousStep(); }
  PyXPath31Step CurrentXPath31Step() { return Tokenizer.CurrentStep(); }
  TyXPath31Token PreviousXPath31Token() { return Tokenizer.PreviousStep()->XPath31Token; }
  int32_t PreviousXPath31TokenIndex() { return Tokenizer.PreviousStep()->XPath31TokenIndex; }
  std::u16string_view PreviousXPath31TokenText() {
    return Tokenizer.PreviousStep()->XPath31TokenText;
  }
  TyXPath31Token CurrentXPath31Token() { return Tokenizer.CurrentStep()->XPath31Token; }
  int32_t CurrentXPath31TokenIndex() { return Tokenizer.CurrentStep()->XPath31TokenIndex; }
  std::u16string_view CurrentXPath31TokenText() {
    return Tokenizer.CurrentStep()->XPath31TokenText;
  }
  // Kinds announced since the last consumed token (after a failure: what was expected there).
  const CyXPath31ParserExpectedTokens& XPath31ExpectedTokens() {
    MergeAnnounced();
    return XPath31ExpectedTokens_;
  }
  // (kind, class) pairs announced since the last consumed token.
  const CyXPath31ParserExpectedTokenTypes& XPath31ExpectedTokenTypes() {
    MergeAnnounced();
    return XPath31ExpectedTokenTypes_;
  }
  // All steps (three leading placeholders, X_BOF, tokens, X_EOF).
  const TyXPath31Steps& XPath31Steps() const { return Tokenizer.XPath31Steps(); }
  // First step after X_BOF still of class xtError (the first token never consumed); cached.
  PyXPath31Step XPath31ErrorStep();
  // The step just before XPath31ErrorStep(); cached.
  PyXPath31Step XPath31LastStepBeforeError();
  TyXPath31ParserRule getXPath31ParserRule() const { return XPath31ParserRule; }
  CyXPath31Tokenizer& getXPath31Tokenizer() { return Tokenizer; }

  // Grammar rules, one method each (XPath 3.1, then the XSLT 3.0 pattern rules, then AVT).
  void XPath();
  void ParamList();
  void Param();
  void FunctionBody();
  void EnclosedExpr();
  void Expr();
  void ExprSingle();
  void ForExpr();
  void SimpleForClause();
  void SimpleForBinding();
  void LetExpr();
  void SimpleLetClause();
  void SimpleLetBinding();
  void QuantifiedExpr();
  void IfExpr();
  void OrExpr();
  void AndExpr();
  void ComparisonExpr();
  void StringConcatExpr();
  void RangeExpr();
  void AdditiveExpr();
  void MultiplicativeExpr();
  void UnionExpr();
  void IntersectExceptExpr();
  void InstanceofExpr();
  void TreatExpr();
  void CastableExpr();
  void CastExpr();
  void ArrowExpr();
  void UnaryExpr();
  void ValueExpr();
  void GeneralComp();
  void ValueComp();
  void NodeComp();
  void SimpleMapExpr();
  void PathExpr();
  void RelativePathExpr();
  void StepExpr();
  void AxisStep();
  void ForwardStep();
  void ForwardAxis();
  void AbbrevForwardStep();
  void ReverseStep();
  void ReverseAxis();
  void AbbrevReverseStep();
  void NodeTest();
  void NameTest();
  void Wildcard();
  void PostfixExpr();
  void ArgumentList();
  void PredicateList();
  void Predicate();
  void Lookup();
  void KeySpecifier();
  void ArrowFunctionSpecifier();
  void PrimaryExpr();
  void Literal();
  void VarRef();
  void VarName(TyXPath31TokenType Type = xtVariable);
  void ParenthesizedExpr();
  void ContextItemExpr();
  void FunctionCall();
  void Argument();
  void ArgumentPlaceholder();
  void FunctionItemExpr();
  void NamedFunctionRef();
  void InlineFunctionExpr();
  void MapConstructor();
  void MapConstructorEntry();
  void MapKeyExpr();
  void MapValueExpr();
  void ArrayConstructor();
  void SquareArrayConstructor();
  void CurlyArrayConstructor();
  void UnaryLookup();
  void SingleType();
  void TypeDeclaration();
  void SequenceType();
  void OccurrenceIndicator();
  void ItemType();
  void AtomicOrUnionType();
  void KindTest();
  void AnyKindTest();
  void DocumentTest();
  void TextTest();
  void CommentTest();
  void NamespaceNodeTest();
  void PITest();
  void AttributeTest();
  void AttribNameOrWildcard();
  void SchemaAttributeTest();
  void AttributeDeclaration();
  void ElementTest();
  void ElementNameOrWildcard();
  void SchemaElementTest();
  void ElementDeclaration();
  void AttributeName();
  void ElementName();
  void SimpleTypeName();
  void TypeName(TyXPath31TokenType Type = xtSchemaTypeName);
  void FunctionTest();
  void AnyFunctionTest();
  void TypedFunctionTest();
  void MapTest();
  void AnyMapTest();
  void TypedMapTest();
  void ArrayTest();
  void AnyArrayTest();
  void TypedArrayTest();
  void ParenthesizedItemType();
  void Pattern30();
  void PredicatePattern();
  void UnionExprP();
  void IntersectExceptExprP();
  void PathExprP();
  void RootedPath();
  void FunctionCallP();
  void OuterFunctionName();
  void ArgumentListP();
  void ArgumentP();
  void RelativePathExprP();
  void StepExprP();
  void PostfixExprP();
  void ParenthesizedExprP();
  void AxisStepP();
  void ForwardStepP();
  void ForwardAxisP();
  void AVT();

 private:
  // Deepest rule nesting accepted; deeper input fails with a message instead of exhausting the
  // stack.
  static constexpr int kMaxDepth = 2500;

  TyXPath31Token Tok() { return Tokenizer.CurrentStep()->XPath31Token; }
  // Rule entry and exit: depth guard and listener events (kept inline: every rule pays them).
  void Enter(TyXPath31ParserRule Rule) {
    if (++Depth > kMaxDepth || Listening) NotifyEnter(Rule);
  }
  void Leave(TyXPath31ParserRule Rule) {
    --Depth;
    if (Listening) NotifyLeave(Rule);
  }
  void NotifyEnter(TyXPath31ParserRule Rule);
  void NotifyLeave(TyXPath31ParserRule Rule);
  // Expects Kind in role Type, then matches it with its written form as display text.
  void M(TyXPath31Token Kind, TyXPath31TokenType Type, TyXPath31ParserRule Rule) {
    if (Tok() != Kind) MFailed(Kind, Type);
    Consume(Kind, Type, Rule);
  }
  // Consumes the current token (known to be of Kind): steps 2 to 4 of Match.
  void Consume(TyXPath31Token Kind, TyXPath31TokenType Type, TyXPath31ParserRule Rule) {
    PyXPath31Step Current = Tokenizer.CurrentStep();
    if (Kind != X_EOF) {
      // What was expected before this token no longer applies.
      Announced.clear();
      XPath31ExpectedTokens_.Clear();
      XPath31ExpectedTokenTypes_.Clear();
    }
    Tokenizer.Next(TyXPath31Label{Kind, Rule}, Type);
    if (Listening) NotifyMatch(Current);
  }
  [[noreturn]] void MatchFailed(const char16_t* Text);
  [[noreturn]] void MFailed(TyXPath31Token Kind, TyXPath31TokenType Type);
  void NotifyMatch(PyXPath31Step Step);
  // Matches an unprefixed or prefixed name (X_NCName or X_EQName).
  void MatchName(TyXPath31TokenType Type, TyXPath31ParserRule Rule);
  // Matches a comma-separated run: Item() once, then again after each comma matched in Rule.
  template <typename F>
  void CommaList(TyXPath31ParserRule Rule, F Item);
  // An operator level: Operand, then (operator Operand)* with the operators announced before each
  // iteration and matched in Rule as xtOperator.
  template <void (CyXPath31Parser::*Operand)()>
  void OperatorLevel(TyXPath31ParserRule Rule, const TyXPath31Expectation& Operators);
  [[noreturn]] void Fail(const std::string& Message);
  // The operator levels from Top (an index of the "or" to unary levels) down, as nested calls
  // of their rule methods would parse them; see ParserExpr.cpp.
  void OperatorChain(int Top);
  void OperatorTail(int Level);
  // Adds E's pairs to the bit sets at once (for expectations that are not static).
  void ExpectNow(const TyXPath31Expectation& E);
  // Moves the logged expectations into the bit sets.
  void MergeAnnounced();

  CyXPath31ParserListeners NoListeners;
  IyXPath31ParserListener* Listener;
  bool Listening;
  PyXPath31Step XPath31ErrorStep_ = nullptr;
  CyXPath31ParserExpectedTokens XPath31ExpectedTokens_;
  std::vector<const TyXPath31Expectation*> Announced;  // since the last consumed token
  CyXPath31ParserExpectedTokenTypes XPath31ExpectedTokenTypes_;
  PyXPath31Step XPath31LastStepBeforeError_ = nullptr;
  TyXPath31ParserRule XPath31ParserRule;
  CyXPath31Tokenizer Tokenizer;
  int Depth = 0;
};

}  // namespace xylem
