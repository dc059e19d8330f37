#include <gtest/gtest.h>

#include <array>
#include <set>

#include "common/Exception.hpp"
#include "common/Utf.hpp"
#include "support/TokenizerTestSupport.hpp"

namespace xylem {

using test::Describe;

struct TyTokenRow {
  const char* Input;
  bool AtEnd;
  std::vector<std::string> Expected;
};

// Each row: a text scanned from the document-level state and every delivered token of non-zero
// length or missing, as "GROUP SYMBOL `text`" ("+" marks the group's extra bit).
TEST(Tokenizer, CutsEveryConstructIntoItsGroupsAndSymbols) {
  const TyTokenRow rows[] = {
      {"<!doctype html>",
       true,
       {"DOCTYPE OPEN `<!doctype`", "DOCTYPE WHITESPACE ` `", "DOCTYPE ATTRIBUTE_NAME `html`",
        "DOCTYPE CLOSE `>`"}},
      {"<!DOCTYPE html>",
       true,
       {"DOCTYPE OPEN `<!DOCTYPE`", "DOCTYPE WHITESPACE ` `", "DOCTYPE ATTRIBUTE_NAME `html`",
        "DOCTYPE CLOSE `>`"}},
      {"<?xml-stylesheet href=\"a.xsl\"?>",
       true,
       {"XMLStylesheet OPEN `<?`", "XMLStylesheet TAG `xml-stylesheet`",
        "XMLStylesheet WHITESPACE ` `", "XMLStylesheet ATTRIBUTE_NAME `href`",
        "XMLStylesheet EQUALS `=`", "XMLStylesheet STRING2_V_OPEN `\"`",
        "XMLStylesheet STRING2_V `a.xsl`", "XMLStylesheet STRING2_V_CLOSE `\"`",
        "XMLStylesheet CLOSE `?>`"}},
      {"<?xml-stylesheetX?>", true, {"PI OPEN `<?`", "PI TAG `xml-stylesheetX`", "PI CLOSE `?>`"}},
      {"<?xml?>", true, {"XML OPEN `<?`", "XML TAG `xml`", "XML CLOSE `?>`"}},
      {"<?xml-model href='s.rng'?>",
       true,
       {"XMLModel OPEN `<?`", "XMLModel TAG `xml-model`", "XMLModel WHITESPACE ` `",
        "XMLModel ATTRIBUTE_NAME `href`", "XMLModel EQUALS `=`", "XMLModel STRING1_V_OPEN `'`",
        "XMLModel STRING1_V `s.rng`", "XMLModel STRING1_V_CLOSE `'`", "XMLModel CLOSE `?>`"}},
      {"<?xmlfoo?>", true, {"PI OPEN `<?`", "PI TAG `xmlfoo`", "PI CLOSE `?>`"}},
      {"<?xml", true, {"XML OPEN `<?`", "XML TAG `xml`", "XML CLOSE?"}},
      {"a &amp; b &foo; c",
       true,
       {"TEXT+ BODY `a &amp; b `", "TEXT+ CLOSE?", "REF_ENTITY OPEN `&`", "REF_ENTITY BODY `foo`",
        "REF_ENTITY CLOSE `;`", "TEXT+ BODY ` c`", "TEXT+ CLOSE?"}},
      {"&lt;&gt;&quot;&apos;&#60;",
       true,
       {"TEXT+ BODY `&lt;&gt;&quot;&apos;`", "TEXT+ CLOSE?", "REF_ENTITY OPEN `&`",
        "REF_ENTITY BODY `#60`", "REF_ENTITY CLOSE `;`"}},
      {"&foo bar",
       true,
       {"REF_ENTITY OPEN `&`", "REF_ENTITY BODY `foo`", "REF_ENTITY CLOSE?", "TEXT+ BODY ` bar`",
        "TEXT+ CLOSE?"}},
      {"&am<a>",
       true,
       {"REF_ENTITY OPEN `&`", "REF_ENTITY BODY `am`", "REF_ENTITY CLOSE?", "ELEMENT_OPEN OPEN `<`",
        "ELEMENT_OPEN TAG `a`", "ELEMENT_OPEN CLOSE `>`"}},
      {"<a <b>",
       true,
       {"ELEMENT_OPEN OPEN `<`", "ELEMENT_OPEN TAG `a`", "ELEMENT_OPEN WHITESPACE ` `",
        "ELEMENT_OPEN CLOSE?", "ELEMENT_OPEN OPEN `<`", "ELEMENT_OPEN TAG `b`",
        "ELEMENT_OPEN CLOSE `>`"}},
      {"<x:a p:q='1'/>",
       true,
       {"ELEMENT_OPEN OPEN `<`", "ELEMENT_OPEN+ TAG `x:a`", "ELEMENT_OPEN+ WHITESPACE ` `",
        "ELEMENT_OPEN+ ATTRIBUTE_NAME `p:q`", "ELEMENT_OPEN+ EQUALS `=`",
        "ELEMENT_OPEN+ STRING1_V_OPEN `'`", "ELEMENT_OPEN+ STRING1_V `1`",
        "ELEMENT_OPEN+ STRING1_V_CLOSE `'`", "ELEMENT_OPEN+ CLOSE_SLASH `/>`"}},
      {"</x:a ></b/>",
       true,
       {"ELEMENT_CLOSE OPEN_SLASH `</`", "ELEMENT_CLOSE+ TAG `x:a`",
        "ELEMENT_CLOSE+ WHITESPACE ` `", "ELEMENT_CLOSE+ CLOSE `>`",
        "ELEMENT_CLOSE OPEN_SLASH `</`", "ELEMENT_CLOSE TAG `b`",
        "ELEMENT_CLOSE CLOSE_SLASH `/>`"}},
      {"</a</b",
       true,
       {"ELEMENT_CLOSE OPEN_SLASH `</`", "ELEMENT_CLOSE TAG `a`", "ELEMENT_CLOSE CLOSE?",
        "ELEMENT_CLOSE OPEN_SLASH `</`", "ELEMENT_CLOSE TAG `b`", "ELEMENT_CLOSE CLOSE?"}},
      // A value must begin with a quote: the missing value unwinds in three zero-width tokens.
      {"<a b=c d>",
       true,
       {"ELEMENT_OPEN OPEN `<`", "ELEMENT_OPEN TAG `a`", "ELEMENT_OPEN WHITESPACE ` `",
        "ELEMENT_OPEN ATTRIBUTE_NAME `b`", "ELEMENT_OPEN EQUALS `=`",
        "ELEMENT_OPEN STRING1_V_OPEN?", "ELEMENT_OPEN STRING1_V?", "ELEMENT_OPEN STRING1_V_CLOSE?",
        "ELEMENT_OPEN ATTRIBUTE_NAME `c`", "ELEMENT_OPEN WHITESPACE ` `",
        "ELEMENT_OPEN ATTRIBUTE_NAME `d`", "ELEMENT_OPEN CLOSE `>`"}},
      {"<a b= />",
       true,
       {"ELEMENT_OPEN OPEN `<`", "ELEMENT_OPEN TAG `a`", "ELEMENT_OPEN WHITESPACE ` `",
        "ELEMENT_OPEN ATTRIBUTE_NAME `b`", "ELEMENT_OPEN EQUALS `=`",
        "ELEMENT_OPEN ATTRIBUTE_VALUE ` `", "ELEMENT_OPEN STRING1_V_OPEN?",
        "ELEMENT_OPEN STRING1_V?", "ELEMENT_OPEN STRING1_V_CLOSE?",
        "ELEMENT_OPEN CLOSE_SLASH `/>`"}},
      {"<?xml v=?>",
       true,
       {"XML OPEN `<?`", "XML TAG `xml`", "XML WHITESPACE ` `", "XML ATTRIBUTE_NAME `v`",
        "XML EQUALS `=`", "XML STRING2_V_OPEN?", "XML STRING2_V?", "XML STRING2_V_CLOSE?",
        "XML CLOSE `?>`"}},
      {"<?xml version='1'>x",
       true,
       {"XML OPEN `<?`", "XML TAG `xml`", "XML WHITESPACE ` `", "XML ATTRIBUTE_NAME `version`",
        "XML EQUALS `=`", "XML STRING1_V_OPEN `'`", "XML STRING1_V `1`", "XML STRING1_V_CLOSE `'`",
        "XML CLOSE?", "TEXT+ BODY `>x`", "TEXT+ CLOSE?"}},
      {"<a b=\"x",
       true,
       {"ELEMENT_OPEN OPEN `<`", "ELEMENT_OPEN TAG `a`", "ELEMENT_OPEN WHITESPACE ` `",
        "ELEMENT_OPEN ATTRIBUTE_NAME `b`", "ELEMENT_OPEN EQUALS `=`",
        "ELEMENT_OPEN STRING2_V_OPEN `\"`", "ELEMENT_OPEN STRING2_V `x`",
        "ELEMENT_OPEN STRING2_V_CLOSE?", "ELEMENT_OPEN CLOSE?"}},
      {"<a b='x",
       false,
       {"ELEMENT_OPEN OPEN `<`", "ELEMENT_OPEN TAG `a`", "ELEMENT_OPEN WHITESPACE ` `",
        "ELEMENT_OPEN ATTRIBUTE_NAME `b`", "ELEMENT_OPEN EQUALS `=`",
        "ELEMENT_OPEN STRING1_V_OPEN `'`", "ELEMENT_OPEN STRING1_V `x`"}},
      {"<a b='x",
       true,
       {"ELEMENT_OPEN OPEN `<`", "ELEMENT_OPEN TAG `a`", "ELEMENT_OPEN WHITESPACE ` `",
        "ELEMENT_OPEN ATTRIBUTE_NAME `b`", "ELEMENT_OPEN EQUALS `=`",
        "ELEMENT_OPEN STRING1_V_OPEN `'`", "ELEMENT_OPEN STRING1_V `x`",
        "ELEMENT_OPEN STRING1_V_CLOSE?", "ELEMENT_OPEN CLOSE?"}},
      {"<!-- x", false, {"COMMENT OPEN `<!--`", "COMMENT BODY ` x`"}},
      {"<!-- x", true, {"COMMENT OPEN `<!--`", "COMMENT BODY ` x`", "COMMENT CLOSE?"}},
      {"<!-- a -- b --->",
       true,
       {"COMMENT OPEN `<!--`", "COMMENT BODY ` a -- b -`", "COMMENT CLOSE `-->`"}},
      {"<![CDATA[ <a> &x; ]]>",
       true,
       {"CDATA OPEN `<![CDATA[`", "CDATA BODY ` <a> &x; `", "CDATA CLOSE `]]>`"}},
      {"<![CDATA[x", true, {"CDATA OPEN `<![CDATA[`", "CDATA BODY `x`", "CDATA CLOSE?"}},
      {"<?pi data?>", true, {"PI OPEN `<?`", "PI TAG `pi`", "PI BODY ` data`", "PI CLOSE `?>`"}},
      {"<?pi", true, {"PI OPEN `<?`", "PI TAG `pi`", "PI CLOSE?"}},
      {"<?pi d", true, {"PI OPEN `<?`", "PI TAG `pi`", "PI BODY ` d`", "PI CLOSE?"}},
      {"<!DOCTYPE r SYSTEM \"r.dtd\" [%pe;]>",
       true,
       {"DOCTYPE OPEN `<!DOCTYPE`", "DOCTYPE WHITESPACE ` `", "DOCTYPE ATTRIBUTE_NAME `r`",
        "DOCTYPE WHITESPACE ` `", "DOCTYPE ATTRIBUTE_NAME `SYSTEM`", "DOCTYPE WHITESPACE ` `",
        "DOCTYPE STRING2_N_OPEN `\"`", "DOCTYPE STRING2_N `r.dtd`", "DOCTYPE STRING2_N_CLOSE `\"`",
        "DOCTYPE WHITESPACE ` `", "DT_DECL OPEN `[`", "DT_DECL BODY `%pe;`", "DT_DECL CLOSE `]`",
        "DOCTYPE CLOSE `>`"}},
      {"<!DOCTYPE r[<!ELEMENT r (a|(b,c)*)>]>",
       true,
       {"DOCTYPE OPEN `<!DOCTYPE`", "DOCTYPE WHITESPACE ` `", "DOCTYPE ATTRIBUTE_NAME `r`",
        "DT_DECL OPEN `[`", "DT_DECL_ELEMENT OPEN `<!ELEMENT`", "DT_DECL_ELEMENT WHITESPACE ` `",
        "DT_DECL_ELEMENT ATTRIBUTE_NAME `r`", "DT_DECL_ELEMENT WHITESPACE ` `",
        "DT_DECL_ELEMENT BRACKET_N_OPEN `(`", "DT_DECL_ELEMENT BRACKET_N `a|`",
        "DT_DECL_ELEMENT BRACKET_R_OPEN `(`", "DT_DECL_ELEMENT BRACKET_R `b,c`",
        "DT_DECL_ELEMENT BRACKET_R_CLOSE `)`", "DT_DECL_ELEMENT BRACKET_N `*`",
        "DT_DECL_ELEMENT BRACKET_N_CLOSE `)`", "DT_DECL_ELEMENT CLOSE `>`", "DT_DECL CLOSE `]`",
        "DOCTYPE CLOSE `>`"}},
      {"<!DOCTYPE r [<!ATTLIST r x (a|b) 'a'><!ENTITY e \"v\"><!NOTATION n PUBLIC 'p'>",
       true,
       {"DOCTYPE OPEN `<!DOCTYPE`",
        "DOCTYPE WHITESPACE ` `",
        "DOCTYPE ATTRIBUTE_NAME `r`",
        "DOCTYPE WHITESPACE ` `",
        "DT_DECL OPEN `[`",
        "DT_DECL_ATTLIST OPEN `<!ATTLIST`",
        "DT_DECL_ATTLIST WHITESPACE ` `",
        "DT_DECL_ATTLIST ATTRIBUTE_NAME `r`",
        "DT_DECL_ATTLIST WHITESPACE ` `",
        "DT_DECL_ATTLIST ATTRIBUTE_NAME `x`",
        "DT_DECL_ATTLIST WHITESPACE ` `",
        "DT_DECL_ATTLIST BRACKET_N_OPEN `(`",
        "DT_DECL_ATTLIST BRACKET_N `a|b`",
        "DT_DECL_ATTLIST BRACKET_N_CLOSE `)`",
        "DT_DECL_ATTLIST WHITESPACE ` `",
        "DT_DECL_ATTLIST STRING1_N_OPEN `'`",
        "DT_DECL_ATTLIST STRING1_N `a`",
        "DT_DECL_ATTLIST STRING1_N_CLOSE `'`",
        "DT_DECL_ATTLIST CLOSE `>`",
        "DT_DECL_ENTITY OPEN `<!ENTITY`",
        "DT_DECL_ENTITY WHITESPACE ` `",
        "DT_DECL_ENTITY ATTRIBUTE_NAME `e`",
        "DT_DECL_ENTITY WHITESPACE ` `",
        "DT_DECL_ENTITY STRING2_N_OPEN `\"`",
        "DT_DECL_ENTITY STRING2_N `v`",
        "DT_DECL_ENTITY STRING2_N_CLOSE `\"`",
        "DT_DECL_ENTITY CLOSE `>`",
        "DT_DECL_NOTATION OPEN `<!NOTATION`",
        "DT_DECL_NOTATION WHITESPACE ` `",
        "DT_DECL_NOTATION ATTRIBUTE_NAME `n`",
        "DT_DECL_NOTATION WHITESPACE ` `",
        "DT_DECL_NOTATION ATTRIBUTE_NAME `PUBLIC`",
        "DT_DECL_NOTATION WHITESPACE ` `",
        "DT_DECL_NOTATION STRING1_N_OPEN `'`",
        "DT_DECL_NOTATION STRING1_N `p`",
        "DT_DECL_NOTATION STRING1_N_CLOSE `'`",
        "DT_DECL_NOTATION CLOSE `>`",
        "DT_DECL CLOSE?",
        "DOCTYPE CLOSE?"}},
      {"<!DOCTYPE r [<!-- ] --><![IGNORE[ &x; ]]>]>",
       true,
       {"DOCTYPE OPEN `<!DOCTYPE`", "DOCTYPE WHITESPACE ` `", "DOCTYPE ATTRIBUTE_NAME `r`",
        "DOCTYPE WHITESPACE ` `", "DT_DECL OPEN `[`", "DT_DECL_COMMENT OPEN `<!--`",
        "DT_DECL_COMMENT BODY ` ] `", "DT_DECL_COMMENT CLOSE `-->`",
        "DT_DECL_CONDITIONAL OPEN `<![`", "DT_DECL_CONDITIONAL BODY `IGNORE[ `",
        "REF_ENTITY OPEN `&`", "REF_ENTITY BODY `x`", "REF_ENTITY CLOSE `;`",
        "DT_DECL_CONDITIONAL BODY ` `", "DT_DECL_CONDITIONAL CLOSE `]]>`", "DT_DECL CLOSE `]`",
        "DOCTYPE CLOSE `>`"}},
      // Missing closes unwind every level: inner bracket, outer bracket, then the declaration.
      {"<!DOCTYPE r [<!ELEMENT r (a (b>",
       true,
       {"DOCTYPE OPEN `<!DOCTYPE`", "DOCTYPE WHITESPACE ` `", "DOCTYPE ATTRIBUTE_NAME `r`",
        "DOCTYPE WHITESPACE ` `", "DT_DECL OPEN `[`", "DT_DECL_ELEMENT OPEN `<!ELEMENT`",
        "DT_DECL_ELEMENT WHITESPACE ` `", "DT_DECL_ELEMENT ATTRIBUTE_NAME `r`",
        "DT_DECL_ELEMENT WHITESPACE ` `", "DT_DECL_ELEMENT BRACKET_N_OPEN `(`",
        "DT_DECL_ELEMENT BRACKET_N `a `", "DT_DECL_ELEMENT BRACKET_R_OPEN `(`",
        "DT_DECL_ELEMENT BRACKET_R `b`", "DT_DECL_ELEMENT BRACKET_R_CLOSE?",
        "DT_DECL_ELEMENT BRACKET_N_CLOSE?", "DT_DECL_ELEMENT CLOSE `>`", "DT_DECL CLOSE?",
        "DOCTYPE CLOSE?"}},
      {"<!DOCTYPE a 'x",
       true,
       {"DOCTYPE OPEN `<!DOCTYPE`", "DOCTYPE WHITESPACE ` `", "DOCTYPE ATTRIBUTE_NAME `a`",
        "DOCTYPE WHITESPACE ` `", "DOCTYPE STRING1_N_OPEN `'`", "DOCTYPE STRING1_N `x`",
        "DOCTYPE STRING1_N_CLOSE?", "DOCTYPE CLOSE?"}},
      {"<!DOCTYPE a \"x",
       true,
       {"DOCTYPE OPEN `<!DOCTYPE`", "DOCTYPE WHITESPACE ` `", "DOCTYPE ATTRIBUTE_NAME `a`",
        "DOCTYPE WHITESPACE ` `", "DOCTYPE STRING2_N_OPEN `\"`", "DOCTYPE STRING2_N `x`",
        "DOCTYPE STRING2_N_CLOSE?", "DOCTYPE CLOSE?"}},
      {"<!DOCTYPE a<b>",
       true,
       {"DOCTYPE OPEN `<!DOCTYPE`", "DOCTYPE WHITESPACE ` `", "DOCTYPE ATTRIBUTE_NAME `a`",
        "DOCTYPE CLOSE?", "ELEMENT_OPEN OPEN `<`", "ELEMENT_OPEN TAG `b`",
        "ELEMENT_OPEN CLOSE `>`"}},
      {"<!x>", true, {"ELEMENT_OPEN OPEN `<`", "ELEMENT_OPEN TAG `!x`", "ELEMENT_OPEN CLOSE `>`"}},
      {"<", true, {"ELEMENT_OPEN OPEN `<`", "ELEMENT_OPEN CLOSE?"}},
      {" \t", true, {"TEXT BODY ` \t`", "TEXT CLOSE?"}},
      {"", true, {}},
  };
  for (const TyTokenRow& row : rows)
    EXPECT_EQ(Describe(ToUTF16(row.Input), row.AtEnd), row.Expected) << row.Input;
}

// Per-token properties and the delta bookkeeping over one line.
TEST(Tokenizer, ReportsTokenPropertiesAndDeltas) {
  const std::u16string text = u"<a>  x</a><!-- c";
  TxXMLParser p;
  p.First(text.c_str(), false, kXMLDocumentGroupWord, kXMLDocumentSymbolWord);
  struct Seen {
    std::u16string Text;
    bool Up, Down;
    int32_t Pos, Neg;
  };
  std::vector<Seen> seen;
  for (;;) {
    const TyXMLToken& t = p.getToken();
    EXPECT_EQ(t.Count(), t.Offset1 - t.Offset0);
    EXPECT_EQ(t.Text(), text.substr(t.Offset0, t.Count()));
    seen.push_back({std::u16string(t.Text()), t.DeltaUp, t.DeltaDown, t.DeltaPos, t.DeltaNeg()});
    if (t.IsDone) break;
    p.Next();
  }
  const std::vector<Seen> expected = {
      {u"<", true, false, 1, 0},   {u"a", false, false, 1, 1},
      {u">", false, false, 1, 1},  {u"  x", true, true, 1, 0},
      {u"", false, false, 1, 1},  // CLOSE? of the text
      {u"</", true, true, 1, 0},   {u"a", false, false, 1, 1},
      {u">", false, false, 1, 1},  {u"<!--", true, true, 1, 0},
      {u" c", false, false, 1, 1}, {u"", false, false, 1, 1},  // done, at NUL
  };
  ASSERT_EQ(seen.size(), expected.size());
  for (size_t i = 0; i < seen.size(); ++i) {
    EXPECT_EQ(seen[i].Text, expected[i].Text) << i;
    EXPECT_EQ(seen[i].Up, expected[i].Up) << i;
    EXPECT_EQ(seen[i].Down, expected[i].Down) << i;
    EXPECT_EQ(seen[i].Pos, expected[i].Pos) << i;
    EXPECT_EQ(seen[i].Neg, expected[i].Neg) << i;
  }

  // White space only, in TEXT: IsWhitespace; the extra bit stays low.
  p.First(u" \r\n\t<a>", true, kXMLDocumentGroupWord, kXMLDocumentSymbolWord);
  EXPECT_TRUE(p.getToken().IsWhitespace());
  EXPECT_FALSE(p.getToken().Extra0());
  EXPECT_EQ(p.getToken().GroupStr0(), "TEXT");
  EXPECT_EQ(p.getToken().SymbolStr0(), "BODY");
  p.Next();
  EXPECT_TRUE(p.getToken().TextIsMissing);
  EXPECT_EQ(p.getToken().SymbolStr0(), "CLOSE?");
  EXPECT_EQ(p.getToken().GroupStr1(), "NEUTRAL");
  p.Next();
  EXPECT_TRUE(p.getToken().TextWasMissing);
  EXPECT_FALSE(p.getToken().TextIsMissing);
  EXPECT_EQ(p.getToken().GroupStr0(), "ELEMENT_OPEN");
}

// Per-line deltas as the folding reads them: (last, lowest, highest) for each line of a
// document scanned with ScanUntilEOL, carrying the state.
TEST(Tokenizer, ScanUntilEOLReportsLineDeltasForFolding) {
  struct Row {
    std::vector<const char16_t*> Lines;
    std::vector<std::array<int32_t, 3>> Deltas;
  };
  const Row rows[] = {
      {{u"<a>x</a>"}, {{{0, 0, 1}}}},
      {{u"<!-- one", u"two", u"three -->"}, {{{1, 0, 1}}, {{0, 0, 0}}, {{-1, -1, 0}}}},
      {{u"<a b='1", u"2'>"}, {{{1, 0, 1}}, {{-1, -1, 0}}}},
      {{u"<![CDATA[", u"]]><b/>"}, {{{1, 0, 1}}, {{-1, -1, 0}}}},
      {{u"<?pi a", u"b?>"}, {{{1, 0, 1}}, {{-1, -1, 0}}}},
      {{u"<a>", u"</a>"}, {{{0, 0, 1}}, {{0, 0, 1}}}},
      {{u"<!DOCTYPE r [", u"<!-- c", u"-->", u"]>"},
       {{{0, 0, 0}}, {{1, 0, 1}}, {{-1, -1, 0}}, {{0, 0, 0}}}},
  };
  for (const Row& row : rows) {
    uint64_t g = kXMLDocumentGroupWord, s = kXMLDocumentSymbolWord;
    TxXMLParser p;
    int32_t sum = 0;
    for (size_t i = 0; i < row.Lines.size(); ++i) {
      int32_t last, lo, hi;
      p.ScanUntilEOL(row.Lines[i], i + 1 == row.Lines.size(), last, lo, hi, g, s);
      EXPECT_EQ((std::array<int32_t, 3>{last, lo, hi}), row.Deltas[i])
          << ToUTF8(row.Lines[0]) << " line " << i + 1;
      sum += last;
    }
    EXPECT_EQ(sum, 0) << ToUTF8(row.Lines[0]);
    EXPECT_EQ(g, kXMLDocumentGroupWord);
    EXPECT_EQ(s, kXMLDocumentSymbolWord);
  }
  // A document that ends inside a comment leaves a positive total.
  uint64_t g = kXMLDocumentGroupWord, s = kXMLDocumentSymbolWord;
  int32_t last, lo, hi;
  TxXMLParser p;
  p.ScanUntilEOL(u"<a/><!--", false, last, lo, hi, g, s);
  EXPECT_EQ(last, 1);
}

TEST(Tokenizer, StateOperationsWorkOnBothWords) {
  TxXMLParser p;
  p.First(u"", true, kXMLDocumentGroupWord, kXMLDocumentSymbolWord);
  p.PushState(XMLValue(TyXMLSymbol::OPEN), XMLValue(TyXMLGroup::ELEMENT_OPEN));
  EXPECT_EQ(p.getStackG(), (1u << 6) | 13u);
  EXPECT_EQ(p.getStackS(), (5u << 6) | 1u);
  p.RaiseExtra();
  EXPECT_EQ(p.getStackG() & 63, 13u + 32u);
  p.GoToState(XMLValue(TyXMLSymbol::TAG), -1);  // keeps the group with its extra bit
  EXPECT_EQ(p.getStackG() & 63, 45u);
  EXPECT_EQ(p.getStackS() & 63, 6u);
  p.PushState(XMLValue(TyXMLSymbol::OPEN), -1);  // pushes the group without its extra bit
  EXPECT_EQ(p.getStackG() & 63, 13u);
  EXPECT_EQ((p.getStackG() >> 6) & 63, 45u);
  p.PopState();
  p.GoToStateForgetExtra(XMLValue(TyXMLSymbol::WHITESPACE));
  EXPECT_EQ(p.getStackG(), (1u << 6) | 13u);
  EXPECT_EQ(p.getStackS() & 63, 28u);
  p.RaiseExtra();
  p.LowerExtra();
  EXPECT_EQ(p.getStackG() & 63, 13u);
  p.GoToState(XMLValue(TyXMLSymbol::BODY), XMLValue(TyXMLGroup::TEXT));
  EXPECT_EQ(p.getStackG() & 63, 18u);
  p.PopState();
  EXPECT_EQ(p.getStackG(), kXMLDocumentGroupWord);
  EXPECT_EQ(p.getStackS(), kXMLDocumentSymbolWord);
  for (int i = 1; i < 10; ++i) p.PushState(1, 13);
  EXPECT_THROW(p.PushState(1, 13), CyShouldNeverHappenException);
}

TEST(Tokenizer, NamesEveryKindAndRejectsImpossibleValues) {
  EXPECT_EQ(XMLGroupName(8), "DT_DECL_CONDITIONAL");
  EXPECT_EQ(XMLGroupName(21), "XMLStylesheet");
  EXPECT_EQ(XMLSymbolName(28), "WHITESPACE");
  const std::set<unsigned> named = {35, 43, 46, 49, 52, 54, 55, 56, 57, 58, 59};
  for (unsigned v = 0; v < 64; ++v) {
    if (v < kXMLSymbolCount || named.count(v)) {
      const std::string_view name = XMLSymbolName(v);
      if (v >= 32) {
        EXPECT_EQ(name.back(), '?');
        EXPECT_EQ(std::string(XMLSymbolName(v - 32)) + "?", name);
      }
    } else {
      EXPECT_THROW(XMLSymbolName(v), CyShouldNeverHappenException) << v;
    }
    if (v >= kXMLGroupCount) {
      EXPECT_THROW(XMLGroupName(v), CyShouldNeverHappenException) << v;
    }
  }
  // A state no scan can produce is a bug, never bad input.
  TxXMLParser p;
  EXPECT_THROW(p.First(u"x", true, 12, 5), CyShouldNeverHappenException);  // DOCUMENT
  EXPECT_THROW(p.First(u"x", true, 1, 6), CyShouldNeverHappenException);   // NEUTRAL TAG
  EXPECT_THROW(p.First(u"", true, (1 << 6) | 13, (5 << 6) | 1),            // '<' not there
               CyShouldNeverHappenException);
  EXPECT_THROW(p.First(u"x", true, 18, 9), CyShouldNeverHappenException);  // TEXT EQUALS
  p.First(u"x", true, 0, 0);  // the empty state is simply done
  EXPECT_TRUE(p.getToken().IsDone);
}

}  // namespace xylem
