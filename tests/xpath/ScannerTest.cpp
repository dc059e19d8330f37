// Scanner: token kinds and texts for each lexical form, and every lexical error with its stretch.

#include "xpath/Scanner.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/Utf.hpp"

namespace xylem {
namespace {

// Kinds (without X_BOF/X_EOF) joined by spaces, each followed by its text in parentheses.
std::string Scan(const std::u16string& Text, bool AVT = false) {
  CyXPath31Scanner Scanner(AVT);
  std::vector<TyXPath31Token> Kinds;
  Scanner.ScanXPath31(Text.c_str(), Kinds);
  EXPECT_EQ(Kinds.front(), X_BOF);
  EXPECT_EQ(Kinds.back(), X_EOF);
  EXPECT_EQ(Kinds.size(), Scanner.TokenTexts().size());
  std::string Result;
  for (size_t I = 1; I + 1 < Kinds.size(); ++I) {
    if (!Result.empty()) Result += ' ';
    Result += std::string(XPath31TokenName(Kinds[I]).substr(2)) + "(" +
              ToUTF8(Scanner.TokenTexts()[I].Text()) + ")";
  }
  return Result;
}

TEST(XPathScanner, TokensOfEachLexicalForm) {
  struct Row {
    const char16_t* Text;
    bool AVT;
    const char* Expected;
  };
  const Row Rows[] = {
      {u"", false, ""},
      {u"  \t\r\n ", false, ""},
      {u"(: a (: b :) c :)", false, ""},
      {u"(: a :)1(::)", false, "IntegerLiteral(1)"},
      {u"12 1.5 .5 1. 1e3 1.5E-2 .5e+1", false,
       "IntegerLiteral(12) NumericLiteral(1.5) NumericLiteral(.5) NumericLiteral(1.) "
       "NumericLiteral(1e3) NumericLiteral(1.5E-2) NumericLiteral(.5e+1)"},
      {u"a a-b a.b _x p:l p:* *:l Q{u}l Q{}* Q{urn:a b}c", false,
       "NCName(a) NCName(a-b) NCName(a.b) NCName(_x) EQName(p:l) NCNameColonAsterisk(p:*) "
       "AsteriskColonNCName(*:l) EQName(Q{u}l) BracedURILiteralAsterisk(Q{}*) "
       "EQName(Q{urn:a b}c)"},
      {u"child::a a :b", false,
       "NCName(child) ColonColon(::) NCName(a) NCName(a) Colon(:) NCName(b)"},
      {u"=>::  :=..>=>><=<<!=//||", false,
       "Arrow(=>) ColonColon(::) ColonEqual(:=) DotDot(..) GtEqual(>=) GtGt(>>) LtEqual(<=) "
       "LtLt(<<) NotEqual(!=) SlashSlash(//) VBarVBar(||)"},
      {u"*@!:,$.= >#{([<-+?})]/|", false,
       "Asterisk(*) At(@) Bang(!) Colon(:) Comma(,) Dollar($) Dot(.) Equal(=) Gt(>) Hash(#) "
       "LCurlyBracket({) LParenthesis(() LSquareBracket([) Lt(<) Minus(-) Plus(+) QMark(?) "
       "RCurlyBracket(}) RParenthesis()) RSquareBracket(]) Slash(/) VBar(|)"},
      {u"\"a\"\"b\" 'c''d' '\"'", false,
       "StringLiteral(\"a\"\"b\") StringLiteral('c''d') StringLiteral('\"')"},
      // Entity spellings of the delimiters, as copied from an attribute value.
      {u"&quot;a&quot;&quot;b&quot;", false, "StringLiteral(&quot;a&quot;&quot;b&quot;)"},
      {u"&#39;a'", false, "StringLiteral(&#39;a')"},
      {u"&apos;a&#39;&apos;b'", false, "StringLiteral(&apos;a&#39;&apos;b')"},
      {u"\"a&#34;", false, "StringLiteral(\"a&#34;)"},
      {u"\u00e9t\u00e9 \U00010000x", false, "NCName(\u00e9t\u00e9) NCName(\U00010000x)"},
      // Attribute value templates.
      {u"a{{b}}c", true, "AVT(a{{b}}c)"},
      {u"a{1}b", true, "AVT(a) LCurlyBracket({) IntegerLiteral(1) RCurlyBracket(}) AVT(b)"},
      {u"{map{1:2}}{}", true,
       "LCurlyBracket({) NCName(map) LCurlyBracket({) IntegerLiteral(1) Colon(:) "
       "IntegerLiteral(2) RCurlyBracket(}) RCurlyBracket(}) LCurlyBracket({) RCurlyBracket(})"},
      {u"{'}'}x", true, "LCurlyBracket({) StringLiteral('}') RCurlyBracket(}) AVT(x)"},
      {u"{1", true, "LCurlyBracket({) IntegerLiteral(1)"},
  };
  for (const Row& R : Rows) {
    // The scanner never decides keywords: "map" before "{" is still an NCName.
    EXPECT_EQ(Scan(R.Text, R.AVT), R.Expected) << ToUTF8(R.Text);
  }
}

TEST(XPathScanner, ErrorsCarryMessageAndStretch) {
  struct Row {
    const char16_t* Text;
    bool AVT;
    const char* Message;
    int Start, End;  // stretch as character indexes
  };
  const Row Rows[] = {
      {u"(: a (: b :)", false, "Unterminated comment.", 0, 12},
      {u"1 (: \u0001 :)", false, "Invalid character \"\u0001\" in comment.", 5, 6},
      {u"\"abc", false, "Unterminated string.", 0, 4},
      {u"x 'a\u0002'", false, "Invalid character \"\u0002\" in string.", 4, 5},
      {u"&quot;a&quot;&quot;", false, "Unterminated string.", 0, 19},
      {u"1e", false, "Invalid number \"1e\".", 0, 2},
      {u"2.5e+x", false, "Invalid number \"2.5e+\".", 0, 5},
      {u"a ; b", false, "Invalid character \";\".", 2, 3},
      {u"&amp;", false, "Invalid character \"&\".", 0, 1},
      {u"Q{abc", false, "Unterminated BracedURILiteral.", 0, 5},
      {u"Q{a{b}c", false, "Invalid character \"{\" in BracedURILiteral.", 3, 4},
      {u"Q{a}1", false, "Invalid URIQualifiedName \"Q{a}\".", 0, 4},
      {u"a}b", true, "Invalid character \"}\".", 1, 2},
      {u"x{1}}", true, "Invalid character \"}\".", 4, 5},
      {u"\xD800x", false, "Invalid character \"\xEF\xBF\xBD\".", 0, 1},
  };
  for (const Row& R : Rows) {
    CyXPath31Scanner Scanner(R.AVT);
    std::vector<TyXPath31Token> Kinds;
    try {
      Scanner.ScanXPath31(R.Text, Kinds);
      ADD_FAILURE() << "no error for " << ToUTF8(R.Text);
    } catch (const XPath31ScannerException& E) {
      EXPECT_EQ(E.Text(), R.Message) << ToUTF8(R.Text);
      EXPECT_EQ(E.getPStart() - R.Text, R.Start) << ToUTF8(R.Text);
      EXPECT_EQ(E.getPEnd() - R.Text, R.End) << ToUTF8(R.Text);
      // The tokens before the error stay, in step with their texts.
      EXPECT_EQ(Kinds.size(), Scanner.TokenTexts().size());
    }
  }
}

TEST(XPathScanner, RoutinesReportWhetherTheyConsumed) {
  CyXPath31Scanner Scanner;
  const char16_t* Text = u"  (: c :) x1 99";
  const char16_t* P = Text;
  EXPECT_TRUE(Scanner.ScanOptionalCommentAndWhitespace(P));
  EXPECT_EQ(*P, u'x');
  EXPECT_FALSE(Scanner.ScanOptionalWhitespace(P));
  EXPECT_FALSE(Scanner.ScanOptionalComment(P));
  EXPECT_TRUE(Scanner.ScanOptionalNCName(P));
  EXPECT_EQ(*P, u' ');
  EXPECT_FALSE(Scanner.ScanOptionalNCName(P));
  EXPECT_FALSE(Scanner.ScanOptionalNumericDigits(P));
  ++P;
  EXPECT_EQ(Scanner.ScanMandatoryNumeric(P), X_IntegerLiteral);
  EXPECT_EQ(*P, 0);
  EXPECT_FALSE(Scanner.ScanOptionalNumericExponent(P));
  EXPECT_THROW(Scanner.ScanMandatoryNCName(P, "EQName"), XPath31ScannerException);
}

}  // namespace
}  // namespace xylem
