// Parser: a table of valid texts that together enter every grammar rule, a table of invalid
// texts with their messages and error positions, expected sets at failure, listener events, and
// the follower sets checked against what the grammar announces.

#include "xpath/Parser.hpp"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "common/Exception.hpp"
#include "common/Utf.hpp"
#include "xpath/Checker.hpp"
#include "xpath/Followers.hpp"

namespace xylem {
namespace {

struct TyRow {
  TyXPath31ParserRule Rule;
  const char16_t* Text;
};

const TyRow kValid[] = {
    {xprExpr, u"10 div 3 + (4)mod 3"},
    {xprExpr, u"fn:array#1, count#1, Q{u}if#0, x/switch"},
    // Expressions and clauses.
    {xprExpr, u"1, 2, 3"},
    {xprExpr, u"for $a in 1 to 3, $b in $a return $a * $b"},
    {xprExpr, u"let $a := 1, $b := $a + 1 return $b"},
    {xprExpr, u"some $x in (1, 2), $y in $x satisfies $x = $y"},
    {xprExpr, u"every $x in () satisfies false()"},
    {xprExpr, u"if (a) then b else if (c) then d else e"},
    {xprExpr, u"1 or 2 and 3"},
    {xprExpr, u"a = b, a != b, a < b, a <= b, a > b, a >= b"},
    {xprExpr, u"a eq b, a ne b, a lt b, a le b, a gt b, a ge b"},
    {xprExpr, u"a is b, a << b, a >> b"},
    {xprExpr, u"'a' || 'b' || 'c'"},
    {xprExpr, u"1 to 10"},
    {xprExpr, u"1 + 2 - 3 * 4 div 5 idiv 6 mod 7"},
    {xprExpr, u"a | b union c"},
    {xprExpr, u"a intersect b except c"},
    {xprExpr, u"1 instance of xs:integer+"},
    {xprExpr, u"$x treat as element()? instance of item()*"},
    {xprExpr, u"'1' castable as xs:integer?"},
    {xprExpr, u"'1' cast as xs:integer"},
    {xprExpr, u"'a' => upper-case() => $f(1) => (concat#2)('b')"},
    {xprExpr, u"- + - 1"},
    {xprExpr, u"a ! b ! c"},
    // Paths and steps.
    {xprExpr, u"/"},
    {xprExpr, u"/a"},
    {xprExpr, u"//a"},
    {xprExpr, u"a/b//c"},
    {xprExpr, u"(/) (: a lone slash in parentheses :)"},
    {xprExpr, u"/ * * 2 (: a wildcard step, then a product :)"},
    {xprExpr,
     u"child::a/descendant::b/attribute::c/self::d/descendant-or-self::e/"
     u"following-sibling::f/following::g/namespace::h"},
    {xprExpr, u"parent::a/ancestor::b/preceding-sibling::c/preceding::d/ancestor-or-self::e"},
    {xprExpr, u"../@a/@*:b/p:*/*/Q{u}*/Q{u}e/*:a"},
    {xprExpr, u"a[1][b = 2]/c[last()]"},
    {xprExpr, u"child::text()/element(a)/attribute(b)/comment()/node()"},
    {xprExpr, u"div div div"},
    // Postfix forms, lookups, arguments.
    {xprExpr, u"$m?a?1?(2)?*"},
    {xprExpr, u"$f(1, ?)[1]"},
    {xprExpr, u"(1, 2)[. > 1]"},
    {xprExpr, u"$a[?b = 1] ! ?*"},
    {xprExpr, u"f(a)(b)"},
    // Primary expressions.
    {xprExpr, u"1, 1.5, .5, 1e3, 'a', \"b\", &quot;c&quot;"},
    {xprExpr, u"()"},
    {xprExpr, u"."},
    {xprExpr, u"f(), p:f(1, 2), Q{u}f(.)"},
    {xprExpr, u"f#1, Q{u}f#0"},
    {xprExpr, u"function($a as xs:int, $b) as item()* { $a + $b }"},
    {xprExpr, u"function() { }"},
    {xprExpr, u"map { 'a' : 1, 'b' : map {} }"},
    {xprExpr, u"[1, 2, [3]], array { 1, 2 }, [], array {}"},
    // Keywords are not reserved.
    {xprExpr, u"for + let - if (: names :)"},
    {xprExpr, u"return/then/else/div"},
    {xprExpr, u"$if?return"},
    // Sequence and item types.
    {xprSequenceType, u"empty-sequence()"},
    {xprSequenceType, u"xs:int?"},
    {xprSequenceType, u"item()+"},
    {xprSequenceType, u"document-node()"},
    {xprSequenceType, u"document-node(element(a))"},
    {xprSequenceType, u"document-node(schema-element(a))"},
    {xprSequenceType, u"element()"},
    {xprSequenceType, u"element(*)"},
    {xprSequenceType, u"element(a, t)"},
    {xprSequenceType, u"element(*, t?)"},
    {xprSequenceType, u"attribute()"},
    {xprSequenceType, u"attribute(*, t)"},
    {xprSequenceType, u"attribute(a)"},
    {xprSequenceType, u"schema-attribute(a)"},
    {xprSequenceType, u"schema-element(p:a)"},
    {xprSequenceType, u"processing-instruction()"},
    {xprSequenceType, u"processing-instruction(n)"},
    {xprSequenceType, u"processing-instruction('n')"},
    {xprSequenceType, u"comment()"},
    {xprSequenceType, u"text()"},
    {xprSequenceType, u"namespace-node()"},
    {xprSequenceType, u"node()*"},
    {xprSequenceType, u"function(*)"},
    {xprSequenceType, u"function(xs:int, item()) as xs:string"},
    {xprSequenceType, u"function() as function(*)"},
    {xprSequenceType, u"map(*)"},
    {xprSequenceType, u"map(xs:string, map(*)*)"},
    {xprSequenceType, u"array(*)"},
    {xprSequenceType, u"array(function(*)+)"},
    {xprSequenceType, u"(xs:int)?"},
    {xprItemType, u"item()"},
    {xprItemType, u"Q{http://www.w3.org/2001/XMLSchema}int"},
    // Patterns.
    {xprPattern30, u"a"},
    {xprPattern30, u"/"},
    {xprPattern30, u"//a"},
    {xprPattern30, u"a/b//c"},
    {xprPattern30, u"@id"},
    {xprPattern30, u"a | b union c"},
    {xprPattern30, u"a intersect b except c"},
    {xprPattern30,
     u"child::a/descendant::b/attribute::c/self::node()/descendant-or-self::d/namespace::*"},
    {xprPattern30, u"$v"},
    {xprPattern30, u"$v[1]//a"},
    {xprPattern30, u"doc('x')/a"},
    {xprPattern30, u"id('a') | key('k', 'v', $d)//x | element-with-id('x') | root($x)"},
    {xprPattern30, u"Q{http://www.w3.org/2005/xpath-functions}root()"},
    {xprPattern30, u"."},
    {xprPattern30, u".[. > 1][2]"},
    {xprPattern30, u"(a|b)[1]/c"},
    {xprPattern30, u"a/(b|c)"},
    {xprPattern30, u"a[b = 1][2]"},
    {xprPattern30, u"text() | processing-instruction('x') | document-node(element(a))"},
    {xprPattern30, u"*:a | p:*"},
    {xprUnionExprP, u"a | b"},
    // Attribute value templates.
    {xprAVT, u""},
    {xprAVT, u"plain text"},
    {xprAVT, u"a{1 + 2}b{{c}}{$x}{}"},
    {xprAVT, u"{map { 'k' : 'v' }?k}"},
};

struct TyInvalidRow {
  TyXPath31ParserRule Rule;
  const char16_t* Text;
  const char* Message;
  int Index;  // character index of the error step
};

const TyInvalidRow kInvalid[] = {
    {xprExpr, u"", "Unexpected end.", 0},
    {xprExpr, u"1 +", "Unexpected end.", 3},
    {xprExpr, u"f(1", "Expected \")\".", 3},
    {xprExpr, u"f(1]", "Expected \")\", found \"]\".", 3},
    {xprExpr, u"a b", "Unexpected \"b\".", 2},
    {xprExpr, u"foo::a", "Unexpected \"foo\".", 0},
    {xprExpr, u"1 eq 2 eq 3", "Unexpected \"eq\".", 7},
    {xprExpr, u"1 to 2 to 3", "Unexpected \"to\".", 7},
    {xprExpr, u"if (1) then 2", "Expected \"else\".", 13},
    {xprExpr, u"if (1) 2", "Expected \"then\", found \"2\".", 7},
    {xprExpr, u"for $x in 1", "Expected \"return\".", 11},
    {xprExpr, u"let $x = 1 return $x", "Expected \":=\", found \"=\".", 7},
    {xprExpr, u"some $x in 1 return 2", "Expected \"satisfies\", found \"return\".", 13},
    {xprExpr, u"map { 1 }", "Expected \":\", found \"}\".", 8},
    {xprExpr, u"[1, ]", "Unexpected \"]\".", 4},
    {xprExpr, u"$", "Unexpected end.", 1},
    {xprExpr, u"$1", "Unexpected \"1\".", 1},
    {xprExpr, u"f#x", "Unexpected \"x\".", 2},
    {xprExpr, u"1 cast as xs:int*", "Unexpected end.", 17},
    {xprExpr, u"map(1)", "Unexpected \"map\".", 0},
    {xprExpr, u"function(*)", "Unexpected \"function\".", 0},
    // A.2.2: a number and a name that follows it are not separable.
    {xprExpr, u"10div 3", "A number must be separated from the name that follows it: \"10div\".",
     0},
    {xprExpr, u"$a * 10mod 3",
     "A number must be separated from the name that follows it: \"10mod\".", 5},
    {xprExpr, u"1.5e3idiv 2",
     "A number must be separated from the name that follows it: \"1.5e3idiv\".", 0},
    // A.3: reserved function names name no function call or function reference.
    {xprExpr, u"switch(1)", "Unexpected \"(\".", 6},
    {xprExpr, u"typeswitch(1)", "Unexpected \"(\".", 10},
    {xprExpr, u"attribute#0", "Unexpected \"#\".", 9},
    {xprExpr, u"if#3", "Unexpected \"#\".", 2},
    {xprExpr, u"empty-sequence#0", "Unexpected \"#\".", 14},
    {xprExpr, u"map#1", "Unexpected \"#\".", 3},
    {xprExpr, u"a instance of", "Unexpected end.", 13},
    {xprExpr, u"element(a,)", "Unexpected \")\".", 10},
    {xprExpr, u"(1", "Expected \")\".", 2},
    {xprExpr, u"a[1", "Expected \"]\".", 3},
    {xprExpr, u"?", "Unexpected end.", 1},
    {xprExpr, u"a => b", "Expected \"(\".", 6},
    {xprExpr, u"x => 1", "Unexpected \"1\".", 5},
    {xprExpr, u"- ", "Unexpected end.", 2},
    {xprExpr, u"a instance of xs:int+ treat as item()", "Unexpected \"treat\".", 22},
    {xprExpr, u"1 (: open", "Unterminated comment.", 2},
    {xprExpr, u"'abc", "Unterminated string.", 0},
    {xprExpr, u"1 ; 2", "Invalid character \";\".", 2},
    {xprExpr, u"1e+", "Invalid number \"1e+\".", 0},
    {xprSequenceType, u"", "Unexpected end.", 0},
    {xprSequenceType, u"xs:int??", "Unexpected \"?\".", 7},
    {xprSequenceType, u"function(xs:int)", "Expected \"as\".", 16},
    {xprSequenceType, u"map(xs:int)", "Expected \",\", found \")\".", 10},
    {xprItemType, u"xs:int*", "Unexpected \"*\".", 6},
    {xprPattern30, u"preceding::a", "Unexpected \"preceding\".", 0},
    {xprPattern30, u"a/parent::b", "Unexpected \"parent\".", 2},
    {xprPattern30, u"..", "Unexpected \"..\".", 0},
    {xprPattern30, u"1", "Unexpected \"1\".", 0},
    {xprPattern30, u"fn:id('x')", "Unexpected \"fn:id\".", 0},
    {xprPattern30, u"key('k', 1 + 2)", "Expected \")\", found \"+\".", 11},
    {xprPattern30, u"$v + 1", "Unexpected \"+\".", 3},
    {xprPattern30, u"a/f(1)", "Unexpected \"(\".", 3},
    {xprUnionExprP, u".", "Unexpected \".\".", 0},
    {xprAVT, u"a{1", "Expected \"}\".", 3},
    {xprAVT, u"a}b", "Invalid character \"}\".", 1},
    {xprAVT, u"{1 2}", "Expected \"}\", found \"2\".", 3},
};

// Records every listener event as one line.
class CyRecorder final : public IyXPath31ParserListener {
 public:
  explicit CyRecorder(std::vector<std::string>& Log, std::string Tag = "")
      : Log(Log), Tag(std::move(Tag)) {}
  void EnterRule(std::u16string_view Rule, int32_t Index) override {
    Log.push_back(Tag + "+" + ToUTF8(Rule) + "@" + std::to_string(Index));
  }
  void LeaveRule(std::u16string_view Rule, int32_t Index) override {
    Log.push_back(Tag + "-" + ToUTF8(Rule) + "@" + std::to_string(Index));
  }
  void Match(TyXPath31Token Kind, int32_t Index, std::u16string_view Text) override {
    Log.push_back(Tag + "=" + std::string(XPath31TokenName(Kind)) + "@" + std::to_string(Index) +
                  ":" + ToUTF8(Text));
  }

 private:
  std::vector<std::string>& Log;
  std::string Tag;
};

std::string ExpectedNames(CyXPath31Parser& Parser) {
  const CyXPath31ParserExpectedTokens& Expected = Parser.XPath31ExpectedTokens();
  std::string Result;
  for (int I = 0; I < Expected.Count(); ++I) {
    if (!Result.empty()) Result += ' ';
    Result += XPath31TokenName(Expected.XPath31Tokens(I)).substr(2);
  }
  return Result;
}

TEST(XPathParser, AcceptsEveryProductionAndEntersEveryRule) {
  std::set<std::string> Entered;
  for (const TyRow& R : kValid) {
    std::vector<std::string> Log;
    CyRecorder Recorder(Log);
    CyXPath31Parser Parser(R.Text, R.Rule, &Recorder);
    try {
      Parser.Parse();
    } catch (const CyException& E) {
      ADD_FAILURE() << ToUTF8(R.Text) << ": " << E.what();
      continue;
    }
    // Every token was consumed and labelled; enter and leave events nest.
    for (size_t I = CyXPath31Tokenizer::kLeadingSteps + 1; I + 1 < Parser.XPath31Steps().size();
         ++I)
      EXPECT_NE(Parser.XPath31Steps()[I].XPath31TokenType, xtError)
          << ToUTF8(R.Text) << " step " << I;
    std::vector<std::string> Stack;
    for (const std::string& Event : Log) {
      std::string Name = Event.substr(1, Event.find('@') - 1);
      if (Event[0] == '+') {
        Stack.push_back(Name);
        Entered.insert(Name);
      } else if (Event[0] == '-') {
        ASSERT_FALSE(Stack.empty());
        EXPECT_EQ(Stack.back(), Name) << ToUTF8(R.Text);
        Stack.pop_back();
      }
    }
    EXPECT_TRUE(Stack.empty()) << ToUTF8(R.Text);
  }
  for (int Rule = xprParamList; Rule <= xprAVT; ++Rule)
    EXPECT_TRUE(Entered.count(ToUTF8(XPath31RuleName(TyXPath31ParserRule(Rule)))))
        << "no valid row enters " << ToUTF8(XPath31RuleName(TyXPath31ParserRule(Rule)));
  EXPECT_TRUE(Entered.count("XPath"));
}

TEST(XPathParser, RefusesInvalidTextWithMessageAndPosition) {
  for (const TyInvalidRow& R : kInvalid) {
    CyXPath31Parser Parser(R.Text, R.Rule);
    try {
      Parser.Parse();
      ADD_FAILURE() << "accepted " << ToUTF8(R.Text);
    } catch (const CyException& E) {
      EXPECT_EQ(std::string(E.what()), R.Message) << ToUTF8(R.Text);
      EXPECT_EQ(Parser.XPath31ErrorStep()->XPath31TokenIndex, R.Index) << ToUTF8(R.Text);
      EXPECT_EQ(Parser.XPath31LastStepBeforeError() + 1, Parser.XPath31ErrorStep());
      EXPECT_EQ(Parser.XPath31ErrorStep(), Parser.CurrentXPath31Step()) << ToUTF8(R.Text);
    }
  }
}

TEST(XPathParser, ExpectedSetsAtFailure) {
  const std::string ExpressionStart =
      "AsteriskColonNCName BracedURILiteralAsterisk EQName EQName_ALT_3 EQName_ALT_4 NCName "
      "NCNameColonAsterisk Ancestor AncestorOrSelf Array_ALT_1 Attribute_ALT_1 Attribute_ALT_2 "
      "Child Comment Descendant DescendantOrSelf DocumentNode Element Every Following "
      "FollowingSibling For Function_ALT_1 If Let Map_ALT_1 Namespace NamespaceNode Node Parent "
      "Preceding PrecedingSibling ProcessingInstruction SchemaAttribute SchemaElement Self Some "
      "Text IntegerLiteral NumericLiteral StringLiteral Asterisk At Dollar Dot DotDot "
      "LParenthesis LSquareBracket Minus Plus QMark Slash SlashSlash";
  // After "1 +" a clause keyword (for, let, some, every, if) can no longer begin.
  std::string AfterPlus = ExpressionStart;
  for (const char* Word : {" Every", " For", " If", " Let", " Some"})
    AfterPlus.erase(AfterPlus.find(Word), std::string(Word).size());
  std::string MapStart = ExpressionStart;
  MapStart.insert(MapStart.find(" Slash"), " RCurlyBracket");
  const struct {
    const char16_t* Text;
    std::string Expected;
    TyXPath31ParserRule Rule = xprExpr;
  } Rows[] = {
      {u"", ExpressionStart},
      {u"1 +", AfterPlus},
      {u"a[", ExpressionStart},
      {u"$", "EQName_ALT_1"},
      {u"map{", MapStart},
      {u"f(1",
       "And Cast Castable Div Except FortranEq FortranGe FortranGt FortranLe FortranLt "
       "FortranNe IDiv Instance Intersect Is Mod Or To Treat Union Arrow Asterisk Bang "
       "Comma Equal Gt GtEqual GtGt LParenthesis LSquareBracket Lt LtEqual LtLt Minus "
       "NotEqual Plus QMark RParenthesis Slash SlashSlash VBar VBarVBar"},
      {u"processing-instruction(", "NCName StringLiteral RParenthesis"},
      // Where the start rule can close, the end of the text is expected too; after a construct
      // that closes it, the end is all that can follow.
      {u"xs:integer )", "Asterisk Plus QMark EOF", xprSequenceType},
      {u"xs:integer+ +", "EOF", xprSequenceType},
      {u"xs:integer? ?", "EOF", xprSequenceType},
      {u"empty-sequence() *", "EOF", xprSequenceType},
      {u"item()* ,", "EOF", xprSequenceType},
      {u"map(*) +", "EOF", xprItemType},
      {u"a//b c", "Except Intersect Union LSquareBracket Slash SlashSlash VBar EOF", xprPattern30},
      {u"{1}}", "LCurlyBracket AVT EOF", xprAVT},
  };
  for (const auto& R : Rows) {
    CyXPath31Parser Parser(R.Text, R.Rule);
    EXPECT_THROW(Parser.Parse(), CyException);
    EXPECT_EQ(ExpectedNames(Parser), R.Expected) << ToUTF8(R.Text);
    int Index = -1;
    const auto& Expected = Parser.XPath31ExpectedTokens();
    for (int I = 0; I < Expected.Count(); ++I) {
      EXPECT_TRUE(Expected.Find(Expected.XPath31Tokens(I), Index));
      EXPECT_EQ(Index, I);
    }
  }
  // Roles: the same kinds expected in different classes depending on the position.
  CyXPath31Parser Start(u"", xprExpr);
  EXPECT_THROW(Start.Parse(), CyException);
  const auto& Roles = Start.XPath31ExpectedTokenTypes();
  EXPECT_TRUE(Roles.Find(X_EQName_ALT_3, xtFunctionCall));
  EXPECT_TRUE(Roles.Find(X_EQName, xtNameTest));
  EXPECT_FALSE(Roles.Find(X_EQName, xtSchemaAtomicOrUnionType));
  EXPECT_TRUE(Roles.Find(X_Dollar, xtVariableRef));
  EXPECT_TRUE(Roles.Find(X_Child, xtAxis));
  EXPECT_TRUE(Roles.Find(X_Minus, xtOperator));
  CyXPath31Parser Type(u"1 instance of ", xprExpr);
  EXPECT_THROW(Type.Parse(), CyException);
  EXPECT_TRUE(Type.XPath31ExpectedTokenTypes().Find(X_EQName, xtSchemaAtomicOrUnionType));
  EXPECT_FALSE(Type.XPath31ExpectedTokenTypes().Find(X_EQName, xtNameTest));
  EXPECT_TRUE(Type.XPath31ExpectedTokenTypes().Find(X_Function_ALT_2, xtItemType));
  // After a successful parse the set holds what could have followed the last token.
  CyXPath31Parser Done(u"a", xprExpr);
  Done.Parse();
  int Index;
  EXPECT_TRUE(Done.XPath31ExpectedTokens().Find(X_Plus, Index));
  EXPECT_TRUE(Done.XPath31ExpectedTokens().Find(X_LSquareBracket, Index));
  EXPECT_FALSE(Done.XPath31ExpectedTokens().Find(X_NCName, Index));
}

// The follower sets must agree with the grammar as the parser announces it: after any label, a
// reading is in the label's follower set exactly when the parser expects the token kind of that
// reading there. Every prefix of every valid row ends at some label; its parse stops right there.
TEST(XPathParser, FollowerSetsAgreeWithTheGrammar) {
  const CyXPath31Followers& Followers = CyXPath31Followers::Get();
  int Checked = 0;
  for (const TyRow& R : kValid) {
    std::u16string Text(R.Text);
    CyXPath31Parser Whole(Text.c_str(), R.Rule);
    Whole.Parse();
    for (const TyXPath31Step& S : Whole.XPath31Steps()) {
      if (S.XPath31Token == X_BOF) continue;
      std::u16string Prefix = Text.substr(0, size_t(S.PHead - Text.c_str()));
      CyXPath31Parser Parser(Prefix.c_str(), R.Rule);
      try {
        Parser.Parse();
        continue;
      } catch (const CyException&) {
      }
      TyXPath31Label Label = Parser.XPath31LastStepBeforeError()->RuleContext;
      const TyXPath31TokenSet& E = Parser.XPath31ExpectedTokens().getSet();
      std::string Where = ToUTF8(Prefix) + " after " + Label.Text();
      EXPECT_EQ(Followers.Contains(frFunctionCall, Label), E.Has(X_EQName_ALT_3)) << Where;
      EXPECT_EQ(Followers.Contains(frNamedFunctionRef, Label), E.Has(X_EQName_ALT_4)) << Where;
      EXPECT_EQ(Followers.Contains(frFunctionTest, Label), E.Has(X_Function_ALT_2)) << Where;
      EXPECT_EQ(Followers.Contains(frNameTest, Label), E.Has(X_EQName)) << Where;
      EXPECT_EQ(Followers.Contains(frPlainName, Label), E.Has(X_NCName) && !E.Has(X_EQName))
          << Where;
      ++Checked;
    }
  }
  EXPECT_GT(Checked, 500);
  // Each set is non-empty and its text form round-trips through the label table.
  for (int Reading = 0; Reading < kXPath31ReadingCount; ++Reading)
    EXPECT_FALSE(Followers.Labels(TyXPath31Reading(Reading)).empty());
  EXPECT_EQ(Followers.Labels(frPlainName).front().Text(), "X_LParenthesis[PITest]");
}

TEST(XPathParser, ListenersSeeRulesAndMatchesInOrder) {
  std::vector<std::string> Log;
  CyRecorder First(Log, "1"), Second(Log, "2");
  CyXPath31ParserListeners Both;
  Both.Add(&First);
  Both.Add(&Second);
  CyXPath31Parser Parser(u"1 + $x", xprExpr, &Both);
  Parser.Parse();
  ASSERT_GE(Log.size(), 4u);
  EXPECT_EQ(Log[0], "1+Parse@0");
  EXPECT_EQ(Log[1], "2+Parse@0");
  EXPECT_EQ(Log[2], "1=X_BOF@0:");
  EXPECT_EQ(Log[Log.size() - 2], "1-Parse@6");
  EXPECT_EQ(Log.back(), "2-Parse@6");
  auto Has = [&](const std::string& Line) {
    return std::find(Log.begin(), Log.end(), Line) != Log.end();
  };
  EXPECT_TRUE(Has("1+XPath@0"));
  EXPECT_TRUE(Has("1+AdditiveExpr@0"));
  EXPECT_TRUE(Has("1-AdditiveExpr@6"));  // left at the token after the rule (the end)
  EXPECT_TRUE(Has("2=X_Plus@2:+"));
  EXPECT_TRUE(Has("1=X_EQName_ALT_1@5:x"));
  EXPECT_TRUE(Has("1-VarRef@6"));
  // Labels and classes of the steps.
  const TyXPath31Steps& Steps = Parser.XPath31Steps();
  EXPECT_EQ(Steps[3].RuleContext.Text(), "X_BOF[Expr]");
  EXPECT_EQ(Steps[5].RuleContext.Text(), "X_Plus[AdditiveExpr]");
  EXPECT_EQ(Steps[5].XPath31TokenType, xtOperator);
  EXPECT_EQ(Steps[6].RuleContext.Text(), "X_Dollar[VarRef]");
  EXPECT_EQ(Steps[7].XPath31TokenType, xtVariableRef);
  EXPECT_EQ(Steps.back().RuleContext.Text(), "X_EOF[Expr]");
}

TEST(XPathParser, StartRulesAndLimits) {
  // A text without braces is one literal piece of an attribute value template.
  CyXPath31Parser AVT(u"no braces here", xprAVT);
  AVT.Parse();
  ASSERT_EQ(AVT.XPath31Steps().size(), CyXPath31Tokenizer::kLeadingSteps + 3);
  EXPECT_EQ(AVT.XPath31Steps()[4].XPath31Token, X_AVT);
  EXPECT_EQ(AVT.XPath31Steps()[4].RuleContext.Text(), "X_AVT[AVT]");
  // The same text read as an expression is not an attribute value template.
  CyXPath31Parser Expression(u"{1}", xprExpr);
  EXPECT_THROW(Expression.Parse(), CyException);
  // A pattern refuses a reverse axis that an expression accepts.
  CyXPath31Parser AsExpr(u"preceding::a", xprExpr);
  EXPECT_NO_THROW(AsExpr.Parse());
  // Only the six start rules parse.
  CyXPath31Parser Wrong(u"1", xprPredicate);
  EXPECT_THROW(Wrong.Parse(), CyShouldNeverHappenException);
  // Deep nesting fails with a message rather than exhausting the stack.
  std::u16string Deep(20000, u'(');
  CyXPath31Parser Nested(Deep.c_str(), xprExpr);
  try {
    Nested.Parse();
    ADD_FAILURE() << "accepted";
  } catch (const CyException& E) {
    EXPECT_STREQ(E.what(), "Expression nested too deeply.");
  }
}

// Around the depth limit, a token error right behind the nesting: the message and the expected
// tokens always come from the same failure (the limit expects nothing; a token error expects
// what its place accepts).
TEST(XPathParser, DepthLimitAndTokenErrorNeverMix) {
  bool SawLimit = false, SawToken = false;
  for (int Depth = 1; Depth <= 160; ++Depth) {
    for (const char16_t* Tail : {u"'abc", u"\"", u"1 ! ]", u"#"}) {
      const std::u16string Text = std::u16string(size_t(Depth), u'(') + Tail;
      CyXPath31Checker Checker(Text, xprExpr);
      ASSERT_FALSE(Checker.Check());
      const TyXPath31CheckError& E = Checker.getError();
      SCOPED_TRACE(ToUTF8(Text) + " -> " + ToUTF8(E.Message));
      if (E.Message == u"Expression nested too deeply.") {
        SawLimit = true;
        EXPECT_TRUE(E.Expected.empty());
      } else {
        SawToken = true;
        EXPECT_GE(E.TokenStart, Depth);  // the failing token lies behind the brackets
      }
    }
  }
  EXPECT_TRUE(SawLimit);
  EXPECT_TRUE(SawToken);
}

}  // namespace
}  // namespace xylem
