// Tokenizer: steps, placeholders, and the kinds that name disambiguation decides in the contexts
// the parser gives it.

#include <gtest/gtest.h>

#include <string>

#include "common/Exception.hpp"
#include "common/Utf.hpp"
#include "xpath/Parser.hpp"

namespace xylem {
namespace {

// Kinds of the steps between X_BOF and X_EOF after parsing (also after a failure).
std::string KindsAfterParse(const std::u16string& Text, TyXPath31ParserRule Rule = xprExpr) {
  CyXPath31Parser Parser(Text.c_str(), Rule);
  try {
    Parser.Parse();
  } catch (const CyException&) {
  }
  std::string Result;
  for (const TyXPath31Step& S : Parser.XPath31Steps()) {
    if (S.XPath31Token == X_BOF || S.XPath31Token == X_EOF) continue;
    if (!Result.empty()) Result += ' ';
    Result += XPath31TokenName(S.XPath31Token).substr(2);
  }
  return Result;
}

TEST(XPathTokenizer, DisambiguatesNamesInContext) {
  struct Row {
    TyXPath31ParserRule Rule;
    const char16_t* Text;
    const char* Kinds;
  };
  const Row Rows[] = {
      {xprExpr, u"div div div", "NCName Div NCName"},
      {xprExpr, u"map{1:2}",
       "Map_ALT_1 LCurlyBracket IntegerLiteral Colon IntegerLiteral RCurlyBracket"},
      {xprItemType, u"map(xs:string, item())",
       "Map_ALT_2 LParenthesis EQName Comma Item LParenthesis RParenthesis RParenthesis"},
      {xprItemType, u"map(*)", "Map_ALT_3 LParenthesis Asterisk RParenthesis"},
      {xprExpr, u"array{}", "Array_ALT_1 LCurlyBracket RCurlyBracket"},
      {xprItemType, u"array(node())",
       "Array_ALT_2 LParenthesis Node LParenthesis RParenthesis RParenthesis"},
      {xprItemType, u"array(*)", "Array_ALT_3 LParenthesis Asterisk RParenthesis"},
      {xprExpr, u"function($a) {$a}",
       "Function_ALT_1 LParenthesis Dollar EQName_ALT_1 RParenthesis LCurlyBracket Dollar "
       "EQName_ALT_1 RCurlyBracket"},
      {xprExpr, u". instance of function() as item()",
       "Dot Instance Of Function_ALT_2 LParenthesis RParenthesis As Item LParenthesis "
       "RParenthesis"},
      {xprSequenceType, u"function(*)", "Function_ALT_3 LParenthesis Asterisk RParenthesis"},
      {xprExpr, u"attribute(a) | attribute::b | @attribute",
       "Attribute_ALT_1 LParenthesis NCName RParenthesis VBar Attribute_ALT_2 ColonColon NCName "
       "VBar At NCName"},
      {xprExpr, u"$for + $p:div", "Dollar EQName_ALT_1 Plus Dollar EQName_ALT_1"},
      {xprExpr, u"a => f() => p:g()",
       "NCName Arrow EQName_ALT_2 LParenthesis RParenthesis Arrow EQName_ALT_2 LParenthesis "
       "RParenthesis"},
      {xprExpr, u"f(1) ! p:f#2 ! Q{u}f(.)",
       "EQName_ALT_3 LParenthesis IntegerLiteral RParenthesis Bang EQName_ALT_4 Hash "
       "IntegerLiteral Bang EQName_ALT_3 LParenthesis Dot RParenthesis"},
      {xprExpr, u"f(?, 1, ?)",
       "EQName_ALT_3 LParenthesis QMark_ALT_1 Comma IntegerLiteral Comma QMark_ALT_1 RParenthesis"},
      {xprExpr, u"1 cast as xs:int? , 2 castable as int?",
       "IntegerLiteral Cast As EQName QMark_ALT_2 Comma IntegerLiteral Castable As NCName "
       "QMark_ALT_2"},
      {xprExpr, u"$m?div?1?*?(2)",
       "Dollar EQName_ALT_1 QMark NCName QMark IntegerLiteral QMark Asterisk QMark LParenthesis "
       "IntegerLiteral RParenthesis"},
      {xprExpr, u"?if", "QMark NCName"},
      {xprSequenceType, u"xs:int?", "EQName QMark"},
      {xprExpr, u"for $x in a return b", "For Dollar EQName_ALT_1 In NCName Return NCName"},
      {xprExpr, u"some $x in a satisfies every $y in b satisfies c",
       "Some Dollar EQName_ALT_1 In NCName Satisfies Every Dollar EQName_ALT_1 In NCName "
       "Satisfies NCName"},
      {xprExpr, u"let $x := return return return",
       "Let Dollar EQName_ALT_1 ColonEqual NCName Return NCName"},
      {xprExpr, u"a treat as b instance of c", "NCName Treat As NCName Instance Of NCName"},
      {xprExpr, u"if (if) then then else else",
       "If LParenthesis NCName RParenthesis Then NCName Else NCName"},
      {xprExpr, u"a and b or c eq d, e ne f, g lt h, i le j, k gt l, m ge n",
       "NCName And NCName Or NCName FortranEq NCName Comma NCName FortranNe NCName Comma NCName "
       "FortranLt NCName Comma NCName FortranLe NCName Comma NCName FortranGt NCName Comma NCName "
       "FortranGe NCName"},
      {xprExpr, u"a is b, c to d, e mod f idiv g, h union i intersect j except k",
       "NCName Is NCName Comma NCName To NCName Comma NCName Mod NCName IDiv NCName Comma NCName "
       "Union NCName Intersect NCName Except NCName"},
      {xprExpr, u"child::div/div/text", "Child ColonColon NCName Slash NCName Slash NCName"},
      {xprExpr, u"processing-instruction(div)",
       "ProcessingInstruction LParenthesis NCName RParenthesis"},
      {xprExpr, u"ancestor::a/ancestor-or-self::b/descendant::c/descendant-or-self::d/following::e",
       "Ancestor ColonColon NCName Slash AncestorOrSelf ColonColon NCName Slash Descendant "
       "ColonColon NCName Slash DescendantOrSelf ColonColon NCName Slash Following ColonColon "
       "NCName"},
      {xprExpr,
       u"following-sibling::a/namespace::b/parent::c/preceding::d/preceding-sibling::e/self::f",
       "FollowingSibling ColonColon NCName Slash Namespace ColonColon NCName Slash Parent "
       "ColonColon NCName Slash Preceding ColonColon NCName Slash PrecedingSibling ColonColon "
       "NCName Slash Self ColonColon NCName"},
      {xprExpr, u"foo::a", "ERROR ColonColon NCName"},
      {xprExpr, u"p:child::a", "ERROR ColonColon NCName"},
      {xprExpr, u"comment()/document-node()/element()/text()/node()/namespace-node()",
       "Comment LParenthesis RParenthesis Slash DocumentNode LParenthesis RParenthesis Slash "
       "Element LParenthesis RParenthesis Slash Text LParenthesis RParenthesis Slash Node "
       "LParenthesis RParenthesis Slash NamespaceNode LParenthesis RParenthesis"},
      {xprExpr, u"schema-element(a) | schema-attribute(b)",
       "SchemaElement LParenthesis NCName RParenthesis VBar SchemaAttribute LParenthesis NCName "
       "RParenthesis"},
      {xprSequenceType, u"empty-sequence()", "EmptySequence LParenthesis RParenthesis"},
      {xprExpr, u"for", "NCName"},
      {xprExpr, u"f(a)(b)",
       "EQName_ALT_3 LParenthesis NCName RParenthesis LParenthesis NCName RParenthesis"},
      {xprPattern30, u"key('k', $v)//a",
       "EQName_ALT_3 LParenthesis StringLiteral Comma Dollar EQName_ALT_1 RParenthesis SlashSlash "
       "NCName"},
      // A name followed by "(" after "/" in a pattern is no function call (the pattern admits
      // none).
      {xprPattern30, u"a/f(1)", "NCName Slash NCName LParenthesis IntegerLiteral RParenthesis"},
  };
  for (const Row& R : Rows) EXPECT_EQ(KindsAfterParse(R.Text, R.Rule), R.Kinds) << ToUTF8(R.Text);
}

TEST(XPathTokenizer, StepsHavePlaceholdersIndexesAndTexts) {
  const char16_t* Text = u"  a + (: c :) 12";
  CyXPath31Tokenizer Tokenizer(Text, false);
  const TyXPath31Steps& Steps = Tokenizer.XPath31Steps();
  ASSERT_EQ(Steps.size(), CyXPath31Tokenizer::kLeadingSteps + 5);
  const struct {
    TyXPath31Token Kind;
    int Index;
    const char16_t* Text;
  } Expected[] = {{X_BOF, 0, u""},
                  {X_NCName, 2, u"a"},
                  {X_Plus, 4, u"+"},
                  {X_IntegerLiteral, 14, u"12"},
                  {X_EOF, 16, u""}};
  for (size_t I = 0; I < 5; ++I) {
    const TyXPath31Step& S = Steps[CyXPath31Tokenizer::kLeadingSteps + I];
    EXPECT_EQ(S.XPath31Token, Expected[I].Kind);
    EXPECT_EQ(S.XPath31TokenIndex, Expected[I].Index);
    EXPECT_EQ(S.XPath31TokenText, Expected[I].Text);
    EXPECT_EQ(S.PHead, Text + Expected[I].Index);
    EXPECT_EQ(S.PTail - S.PHead, ptrdiff_t(S.XPath31TokenText.size()));
    EXPECT_EQ(S.XPath31TokenType, xtError);  // nothing consumed yet
  }
  // Look-behind is valid at the first token, look-ahead past the end reads X_EOF.
  EXPECT_EQ(Tokenizer.CurrentStep()->XPath31Token, X_BOF);
  EXPECT_EQ(Tokenizer.PreviousPreviousPreviousStep(), &Steps[0]);
  Tokenizer.Next({X_BOF, xprExpr}, xtError);
  Tokenizer.Next({X_NCName, xprNameTest}, xtNameTest);
  Tokenizer.Next({X_Plus, xprAdditiveExpr}, xtOperator);
  Tokenizer.Next({X_IntegerLiteral, xprLiteral}, xtNumber);
  EXPECT_TRUE(Tokenizer.IsDone());
  EXPECT_EQ(Tokenizer.NextNextStep()->XPath31Token, X_EOF);
  EXPECT_EQ(Steps[5].RuleContext.Text(), "X_Plus[AdditiveExpr]");
  EXPECT_EQ(Steps[5].XPath31TokenType, xtOperator);

  CyXPath31Tokenizer Empty(u"", false);
  ASSERT_EQ(Empty.XPath31Steps().size(), CyXPath31Tokenizer::kLeadingSteps + 2);
  EXPECT_EQ(Empty.XPath31Steps()[3].XPath31Token, X_BOF);
  EXPECT_EQ(Empty.XPath31Steps()[4].XPath31Token, X_EOF);
}

TEST(XPathTokenizer, LexicalErrorBecomesAnErrorStep) {
  const char16_t* Text = u"a + \"open";
  CyXPath31Tokenizer Tokenizer(Text, false);
  EXPECT_EQ(Tokenizer.getScannerError(), "Unterminated string.");
  const TyXPath31Steps& Steps = Tokenizer.XPath31Steps();
  // X_BOF, a, +, the error step over the string, X_EOF.
  ASSERT_EQ(Steps.size(), CyXPath31Tokenizer::kLeadingSteps + 5);
  const TyXPath31Step& Error = Steps[Tokenizer.getScannerErrorIndex()];
  EXPECT_EQ(Error.XPath31Token, X_ERROR);
  EXPECT_EQ(Error.XPath31TokenIndex, 4);
  EXPECT_EQ(Error.XPath31TokenText, u"\"open");
  Tokenizer.Next({X_BOF, xprExpr}, xtError);
  Tokenizer.Next({X_NCName, xprNameTest}, xtNameTest);
  Tokenizer.Next({X_Plus, xprAdditiveExpr}, xtOperator);
  // Advancing from the error step raises the scanner's message.
  try {
    Tokenizer.Next({X_ERROR, xprERROR}, xtError);
    ADD_FAILURE() << "no error";
  } catch (const CyException& E) {
    EXPECT_STREQ(E.what(), "Unterminated string.");
  }
}

}  // namespace
}  // namespace xylem
