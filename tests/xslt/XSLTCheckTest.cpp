// XSLT checking: a stylesheet with marked broken expressions (a pattern, a multi-line test and
// a literal result element's template after a character reference) gives exactly the marked
// errors; the vocabulary on a few elements; the expansion map of attribute values.

#include "xslt/XSLTCheck.hpp"

#include <gtest/gtest.h>

#include <vector>

#include "common/Utf.hpp"
#include "support/CheckerTestAnnotations.hpp"
#include "text/TextList.hpp"
#include "xslt/XSLTVocabulary.hpp"

namespace xylem {
namespace {

// '^' marks where each error must be reported.
constexpr char16_t kStylesheet[] =
    u"<?xml version=\"1.0\"?>\n"
    u"<xsl:stylesheet version=\"3.0\" xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\">\n"
    u"  <data xmlns=\"urn:d\" select=\"not {checked\"/>\n"
    u"  <xsl:key name=\"k\" match=\"item\" use=\"@id\"/>\n"
    u"  <xsl:template match=\"a | ^preceding::b\" as=\"item()*\">\n"
    u"    <xsl:if test=\"count(a) &gt; 1\n"
    u"                   and ^) \">\n"
    u"      <out n=\"{1 &lt; ^}\" plain=\"text {{no}} here\" xsl:use-when=\"true()\">\n"
    u"        <xsl:value-of select=\"preceding::x, $v[1]\" separator=\"{', '}\"/>\n"
    u"        <xsl:number count=\"p\" from=\"chapter\" format=\"{$f}\"/>\n"
    u"      </out>\n"
    u"    </xsl:if>\n"
    u"  </xsl:template>\n"
    u"</xsl:stylesheet>\n";

TEST(XSLTCheckTest, ThreeBrokenExpressionsGiveThreePlacedErrors) {
  test::TyAnnotated Doc = test::Annotate(kStylesheet);
  ASSERT_EQ(Doc.Points.size(), 3u);
  const char* Messages[] = {"Unexpected \"preceding\".", "Unexpected \")\".", "Unexpected \"}\"."};
  CyXPath31CheckerWithCache Cache;
  IyXMLErrsPtr FromText = CheckXSLTStylesheet(Doc.Text, u"file:///s.xsl", Cache);
  TxTextList Lines;
  Lines.LoadFromText__PARALLEL__(Doc.Text, 1);
  IyXMLErrsPtr FromLines = CheckXSLTStylesheet(Lines, u"file:///s.xsl", Cache);
  for (const IyXMLErrsPtr& Errs : {FromText, FromLines}) {
    ASSERT_EQ(Errs->getCount(), 3);
    for (int32_t I = 0; I < 3; ++I) {
      const IyXMLErr& Err = *Errs->getXMLErr(I);
      SCOPED_TRACE(ToUTF8(Err.getReason()));
      EXPECT_EQ(ToUTF8(Err.getReason()), Messages[I]);
      EXPECT_EQ(Err.getLocation()->getURL(), u"file:///s.xsl");
      EXPECT_EQ(Err.getLocation()->getLine(), Doc.Points[size_t(I)].first);
      EXPECT_EQ(Err.getLocation()->getLinepos(), Doc.Points[size_t(I)].second);
      EXPECT_EQ(Err.getSeverity(), TyXMLErrSeverity::errError);
      EXPECT_EQ(Err.getReasonID(), u"XPST0003");
    }
  }
  // Exactly the XPath-bearing attributes were checked (not the data element's, not names), and
  // the second run found every text in the cache.
  EXPECT_EQ(Cache.getCount(xprPattern30), 4u);  // a | preceding::b, item, p, chapter
  // @id, true(), the value-of select, and the two-line test twice: the text list joins its
  // lines with "\r\n", the plain text has "\n".
  EXPECT_EQ(Cache.getCount(xprExpr), 5u);
  EXPECT_EQ(Cache.getCount(xprSequenceType), 1u);
  ASSERT_EQ(Cache.getCount(xprAVT), 4u);
  EXPECT_EQ(Cache.getItem(xprAVT, 0).getXPath31(), u"text {{no}} here");
  EXPECT_EQ(Cache.getItem(xprAVT, 1).getXPath31(), u"{$f}");
  EXPECT_EQ(Cache.getItem(xprAVT, 2).getXPath31(), u"{', '}");
  EXPECT_EQ(Cache.getItem(xprAVT, 3).getXPath31(), u"{1 < }");  // references expanded
}

TEST(XSLTCheckTest, ReferencesInAValueMapBackToTheWrittenText) {
  // Expansion "{1 < }x" of the written value: every expanded character points at its source.
  std::u16string Expanded;
  std::vector<int32_t> Map;
  std::u16string_view Raw = u"{1 &lt; }&#x41;x";
  ExpandXSLTAttributeValue(Raw, Expanded, Map, [](std::u16string_view Ref, size_t) {
    return std::u16string(Ref == u"&lt;" ? u"<" : u"A");
  });
  EXPECT_EQ(Expanded, u"{1 < }Ax");
  EXPECT_EQ(Map, (std::vector<int32_t>{0, 1, 2, 3, 7, 8, 9, 15, 16}));
}

TEST(XSLTCheckTest, UnreadableReferenceAndBrokenMarkupAreReportedNotThrown) {
  CyXPath31CheckerWithCache Cache;
  const char16_t* Texts[] = {
      u"<xsl:stylesheet xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\">"
      u"<xsl:template match=\"a &amp b\"/></xsl:stylesheet>",
      u"<xsl:stylesheet xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\"><xsl:if test=\"(",
      u"",
      u"<",
      u"not xml at all",
      u"<a b=\"{\"/>",
      // Malformed two-line texts: the reader fails at the end, where a line end was counted.
      u"<a>\n<",
      u"<a>\r\n</",
      u"<x\n",
      u"<a b=\"\n\"",
      u"<a>\r\r",
      u"<xsl:stylesheet xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\">\n<xsl:if test=\"&#",
  };
  for (const char16_t* Text : Texts) {
    SCOPED_TRACE(ToUTF8(Text));
    IyXMLErrsPtr Errs = CheckXSLTStylesheet(Text, u"", Cache);
    ASSERT_NE(Errs, nullptr);
    // Every error lies inside the text: on one of its lines, at most one behind its last unit.
    std::vector<size_t> Lengths{0};
    for (const char16_t* At = Text; *At; ++At) {
      if (*At != u'\r' && *At != u'\n') {
        ++Lengths.back();
        continue;
      }
      if (*At == u'\r' && At[1] == u'\n') ++At;
      Lengths.push_back(0);
    }
    for (int32_t I = 0; I < Errs->getCount(); ++I) {
      const IyXMLLocation& Where = *Errs->getXMLErr(I)->getLocation();
      ASSERT_GE(Where.getLine(), 1);
      ASSERT_LE(size_t(Where.getLine()), Lengths.size());
      EXPECT_GE(Where.getLinepos(), 1);
      EXPECT_LE(size_t(Where.getLinepos()), Lengths[size_t(Where.getLine()) - 1] + 1);
      EXPECT_FALSE(Errs->getXMLErr(I)->getReason().empty());
    }
  }
  // A root element that is no simplified stylesheet holds data: its "{" is not checked.
  EXPECT_EQ(CheckXSLTStylesheet(u"<a b=\"{\"/>", u"", Cache)->getCount(), 0);
  EXPECT_EQ(CheckXSLTStylesheet(u"<a xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\" "
                                u"xsl:version=\"3.0\" b=\"{\"/>",
                                u"", Cache)
                ->getCount(),
            1);
}

struct TyVocabularyRow {
  const char16_t* Element;
  const char16_t* Attribute;
  TyXSLTAttributeKind Kind;
};

TEST(XSLTCheckTest, VocabularyOnAFewElements) {
  using K = TyXSLTAttributeKind;
  const TyVocabularyRow Rows[] = {
      {u"value-of", u"select", K::xakExpression},
      {u"value-of", u"separator", K::xakAVT},
      {u"if", u"test", K::xakExpression},
      {u"key", u"use", K::xakExpression},
      {u"key", u"match", K::xakPattern},
      {u"key", u"name", K::xakNone},
      {u"for-each-group", u"group-by", K::xakExpression},
      {u"for-each-group", u"group-adjacent", K::xakExpression},
      {u"for-each-group", u"group-starting-with", K::xakPattern},
      {u"for-each-group", u"group-ending-with", K::xakPattern},
      {u"number", u"count", K::xakPattern},
      {u"number", u"from", K::xakPattern},
      {u"number", u"value", K::xakExpression},
      {u"number", u"start-at", K::xakAVT},
      {u"accumulator", u"initial-value", K::xakExpression},
      {u"map-entry", u"key", K::xakExpression},
      {u"template", u"match", K::xakPattern},
      {u"template", u"as", K::xakSequenceType},
      {u"template", u"name", K::xakNone},
      {u"template", u"mode", K::xakNone},
      {u"context-item", u"as", K::xakItemType},
      {u"element", u"name", K::xakAVT},
      {u"attribute", u"namespace", K::xakAVT},
      {u"result-document", u"href", K::xakAVT},
      {u"result-document", u"validation", K::xakNone},
      {u"sort", u"order", K::xakAVT},
      {u"apply-templates", u"use-when", K::xakExpression},
      {u"apply-templates", u"_select", K::xakAVT},
      {u"apply-templates", u"x:select", K::xakNone},
      {u"unknown", u"select", K::xakNone},
      {u"", u"", K::xakNone},
  };
  for (const TyVocabularyRow& Row : Rows)
    EXPECT_EQ(XSLTAttributeKind(Row.Element, Row.Attribute), Row.Kind)
        << ToUTF8(Row.Element) << "/@" << ToUTF8(Row.Attribute);
  EXPECT_EQ(XSLTLiteralResultAttributeKind(u"", u"href"), K::xakAVT);
  EXPECT_EQ(XSLTLiteralResultAttributeKind(u"urn:other", u"href"), K::xakAVT);
  EXPECT_EQ(XSLTLiteralResultAttributeKind(kXSLTNamespace, u"use-when"), K::xakExpression);
  EXPECT_EQ(XSLTLiteralResultAttributeKind(kXSLTNamespace, u"version"), K::xakNone);
  EXPECT_EQ(XSLTAttributeRule(K::xakPattern), xprPattern30);
  EXPECT_EQ(XSLTAttributeRule(K::xakNone), xprERROR);
  EXPECT_EQ(XSLTAttributeRuleByQName(u"xsl:template", u"match"), xprPattern30);
  EXPECT_EQ(XSLTAttributeRuleByQName(u"xsl:variable", u"as"), xprSequenceType);
  EXPECT_EQ(XSLTAttributeRuleByQName(u"xsl:element", u"name"), xprAVT);
  EXPECT_EQ(XSLTAttributeRuleByQName(u"template", u"match"), xprERROR);
  EXPECT_EQ(XSLTAttributeRuleByQName(u"x:template", u"match"), xprERROR);
  // Another prefix for the XSLT namespace, or none; literal result elements' own attributes.
  EXPECT_EQ(XSLTAttributeRuleByQName(u"x:template", u"match", u"x"), xprPattern30);
  EXPECT_EQ(XSLTAttributeRuleByQName(u"xsl:template", u"match", u"x"), xprERROR);
  EXPECT_EQ(XSLTAttributeRuleByQName(u"template", u"match", u""), xprPattern30);
  EXPECT_EQ(XSLTAttributeRuleByQName(u"out", u"xsl:use-when"), xprExpr);
  EXPECT_EQ(XSLTAttributeRuleByQName(u"out", u"xsl:version"), xprERROR);
  EXPECT_EQ(XSLTAttributeRuleByQName(u"out", u"select"), xprERROR);
  EXPECT_EQ(XSLTAttributeRuleByQName(u"xsl:if", u"xsl:use-when"), xprERROR);
  EXPECT_EQ(XSLTAttributeRuleByQName(u"h:out", u"use-when", u""), xprERROR);
}

}  // namespace
}  // namespace xylem
