// The parser's machinery: start rules, matching, errors, expected sets and error look-ups.

#include "common/Exception.hpp"
#include "common/Utf.hpp"
#include "xpath/ParserFirsts.hpp"

namespace xylem {

CyXPath31Parser::CyXPath31Parser(const char16_t* XPath31, TyXPath31ParserRule Rule,
                                 IyXPath31ParserListener* Listener)
    : Listener(Listener ? Listener : &NoListeners),
      Listening(Listener != nullptr),
      XPath31ParserRule(Rule),
      Tokenizer(XPath31, Rule == xprAVT) {
  Announced.reserve(64);
}

void CyXPath31Parser::NotifyEnter(TyXPath31ParserRule Rule) {
  if (Depth > kMaxDepth) {
    // A limit of the parser, not a fault of the token at hand: neither the scanner's message
    // about that token nor the tokens expected before it belong to this failure.
    Announced.clear();
    XPath31ExpectedTokens_.Clear();
    XPath31ExpectedTokenTypes_.Clear();
    throw CyException("Expression nested too deeply.");
  }
  if (Listening) Listener->EnterRule(XPath31RuleName(Rule), CurrentXPath31TokenIndex());
}

void CyXPath31Parser::NotifyLeave(TyXPath31ParserRule Rule) {
  Listener->LeaveRule(XPath31RuleName(Rule), CurrentXPath31TokenIndex());
}

void CyXPath31Parser::Expect(const TyXPath31Token* Kinds, const TyXPath31TokenType* Types,
                             int Count) {
  XPath31ExpectedTokens_.Expect(Kinds, Count);
  XPath31ExpectedTokenTypes_.Expect(Kinds, Types, Count);
}

void CyXPath31Parser::ExpectNow(const TyXPath31Expectation& E) {
  XPath31ExpectedTokens_.Expect(E.Kinds);
  XPath31ExpectedTokenTypes_.Expect(E);
}

void CyXPath31Parser::MergeAnnounced() {
  for (const TyXPath31Expectation* E : Announced) ExpectNow(*E);
  Announced.clear();
}

void CyXPath31Parser::Fail(const std::string& Message) {
  // A lexical error reaches the parser as an X_ERROR step; the scanner's message says more.
  if (Tok() == X_ERROR && !Tokenizer.getScannerError().empty() &&
      Tokenizer.CurrentIndex() == Tokenizer.getScannerErrorIndex())
    throw CyException(Tokenizer.getScannerError());
  throw CyException(Message);
}

void CyXPath31Parser::ERROR() {
  std::u16string_view Text = CurrentXPath31TokenText();
  if (Text.empty()) Fail("Unexpected end.");
  Fail("Unexpected \"" + ToUTF8(Text) + "\".");
}

void CyXPath31Parser::Match(TyXPath31Token Kind, TyXPath31TokenType Type, const char16_t* Text,
                            TyXPath31ParserRule Rule) {
  if (Tok() != Kind) MatchFailed(Text);
  Consume(Kind, Type, Rule);
}

void CyXPath31Parser::MatchFailed(const char16_t* Text) {
  std::u16string_view Found = CurrentXPath31TokenText();
  if (Text && *Text) {
    std::string Expected = ToUTF8(Text);
    if (!Found.empty()) Fail("Expected \"" + Expected + "\", found \"" + ToUTF8(Found) + "\".");
    Fail("Expected \"" + Expected + "\".");
  }
  ERROR();
}

void CyXPath31Parser::MFailed(TyXPath31Token Kind, TyXPath31TokenType Type) {
  // Only a failing match needs its kind announced: a successful one clears the sets anyway.
  TyXPath31Expectation E;
  E.Kinds.Add(Kind);
  E.ByClass[Type].Add(Kind);
  E.Classes = uint32_t(1) << Type;
  ExpectNow(E);
  MatchFailed(XPath31TokenDisplayText(Kind).data());
}

void CyXPath31Parser::NotifyMatch(PyXPath31Step Step) {
  Listener->Match(Step->XPath31Token, Step->XPath31TokenIndex, Step->XPath31TokenText);
}

void CyXPath31Parser::MatchName(TyXPath31TokenType Type, TyXPath31ParserRule Rule) {
  TyXPath31Token Kind = Tok();
  if (!xpath31firsts::IsName(Kind)) {
    ExpectNow(TyXPath31Expectation{{X_EQName, Type}, {X_NCName, Type}});
    ERROR();
  }
  Match(Kind, Type, nullptr, Rule);
}

void CyXPath31Parser::Parse() {
  if (Listening) Listener->EnterRule(u"Parse", CurrentXPath31TokenIndex());
  TyXPath31ParserRule Rule = XPath31ParserRule;
  switch (Rule) {
    case xprExpr:
    case xprSequenceType:
    case xprItemType:
    case xprPattern30:
    case xprUnionExprP:
    case xprAVT:
      break;
    default:
      throw CyShouldNeverHappenException("XPath start rule " + ToUTF8(XPath31RuleName(Rule)));
  }
  Match(X_BOF, xtError, nullptr, Rule);
  switch (Rule) {
    case xprExpr:
      XPath();
      break;
    case xprSequenceType:
      SequenceType();
      break;
    case xprItemType:
      ItemType();
      break;
    case xprPattern30:
      Pattern30();
      break;
    case xprUnionExprP:
      UnionExprP();
      break;
    default:
      AVT();
      break;
  }
  // The end of the text is a continuation like any other: after a construct that closes the
  // start rule (an occurrence indicator, a closing bracket) it is the only one.
  static constexpr TyXPath31Expectation kEnd{{X_EOF, xtError}};
  Expect(kEnd);
  Match(X_EOF, xtError, nullptr, Rule);
  if (Listening) Listener->LeaveRule(u"Parse", CurrentXPath31TokenIndex());
}

void CyXPath31Parser::XPath() {
  if (Listening) Listener->EnterRule(u"XPath", CurrentXPath31TokenIndex());
  Expr();
  if (Listening) Listener->LeaveRule(u"XPath", CurrentXPath31TokenIndex());
}

PyXPath31Step CyXPath31Parser::XPath31ErrorStep() {
  if (!XPath31ErrorStep_) {
    TyXPath31Steps& Steps = Tokenizer.XPath31Steps();
    // Steps 0-2 are placeholders and step 3 is X_BOF (matched with xtError itself).
    size_t I = CyXPath31Tokenizer::kLeadingSteps + 1;
    while (I + 1 < Steps.size() && Steps[I].XPath31TokenType != xtError) ++I;
    XPath31ErrorStep_ = &Steps[I];
  }
  return XPath31ErrorStep_;
}

PyXPath31Step CyXPath31Parser::XPath31LastStepBeforeError() {
  if (!XPath31LastStepBeforeError_) XPath31LastStepBeforeError_ = XPath31ErrorStep() - 1;
  return XPath31LastStepBeforeError_;
}

}  // namespace xylem
