// The XSLT line colouring: XPath categories for the characters of values that hold XPath, plain
// attribute-value colour elsewhere, the same result whichever line colouring starts from, and
// the XSLT prefix read from the root element.

#include "xslt/XSLTLineColoring.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/Utf.hpp"
#include "text/TextList.hpp"
#include "xml/lines/LineState.hpp"
#include "xpath/EmbeddedColoring.hpp"

namespace xylem {
namespace {

void Load(TxTextList& List, const char* Document) {
  List.LoadFromText__PARALLEL__(ToUTF16(Document), 1);
  int64_t Total = 0;
  CyXMLParserParallel::UpdateAllLines(List.getTextItems(), Total, 1);
}

// Category name of every character of Line: the XML category, or "XPath " and the embedded
// category where an embedded colouring covers the character. Embedded items must stay inside
// the token's value and cover it without gaps or overlaps.
std::vector<std::string> Paint(TxTextList& List, CyXSLTLineColoring& Coloring, int64_t Line) {
  std::vector<std::string> Out(List.getLine(Line).size());
  for (Coloring.FirstLine(Line); !Coloring.IsDone(); Coloring.Next()) {
    const int64_t From = Coloring.ItemLinepos(), To = From + Coloring.ItemTextCount();
    for (int64_t I = From; I < To; ++I)
      Out[size_t(I - 1)] = CyXMLColoring::getCategoryName(Coloring.ItemCategory());
    auto* XPath = dynamic_cast<CyXPathEmbeddedLineColoring*>(Coloring.getEmbedded());
    if (Coloring.getEmbedded()) {
      EXPECT_NE(XPath, nullptr);
    }
    if (!XPath) continue;
    EXPECT_EQ(Coloring.ItemCategory(), TyXMLColoringCategory::xcStartTagAttributeValue);
    int64_t Next = 0;
    for (XPath->First(Line); !XPath->IsDone(); XPath->Next()) {
      if (Next) {
        EXPECT_EQ(XPath->ItemLinepos(), Next) << "line " << Line;
      }
      Next = XPath->ItemLinepos() + XPath->ItemTextCount();
      for (int64_t I = XPath->ItemLinepos(); I < Next; ++I) {
        EXPECT_TRUE(I >= From && I < To) << "line " << Line << " position " << I;
        if (I >= From && I < To)
          Out[size_t(I - 1)] =
              "XPath " + std::string(CyXPathColoring::getCategoryName(XPath->ItemCategory()));
      }
    }
  }
  return Out;
}

struct TyRow {
  int64_t Line;
  const char* Part;  // its first occurrence in the line, or the Occurrence-th after it
  int Occurrence;
  const char* Category;
};

void CheckRows(const char* Document, std::initializer_list<TyRow> Rows) {
  TxTextList List;
  Load(List, Document);
  const CyXMLColoring Scheme;
  for (const TyRow& Row : Rows) {
    // A fresh colouring per row: each starts at its own line, whatever lies before it.
    CyXSLTLineColoring Coloring(List.getTextItems(), Scheme);
    const std::u16string Line(List.getLine(Row.Line));
    const std::u16string Part = ToUTF16(Row.Part);
    size_t At = Line.find(Part);
    for (int K = 0; K < Row.Occurrence && At != std::u16string::npos; ++K)
      At = Line.find(Part, At + 1);
    ASSERT_NE(At, std::u16string::npos) << Row.Line << " " << Row.Part;
    const std::vector<std::string> Painted = Paint(List, Coloring, Row.Line);
    for (size_t I = At; I < At + Part.size(); ++I)
      EXPECT_EQ(Painted[I], Row.Category)
          << "line " << Row.Line << " '" << Row.Part << "' at " << I;
  }
}

constexpr const char* kStylesheet =
    "<?xml version=\"1.0\"?>\n"                                                             // 1
    "<xsl:stylesheet version=\"3.0\" xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\"\n"  // 2
    "    xmlns:xs=\"http://www.w3.org/2001/XMLSchema\">\n"                                  // 3
    "  <xsl:template match=\"item[@id]\" as=\"xs:string*\">\n"                              // 4
    "    <xsl:if test=\"$a &lt; 3 and $b = &quot;q&quot;\">\n"                              // 5
    "      <out class=\"{$c}\" xsl:use-when=\"true()\" data-x=\"count(a)\">\n"              // 6
    "        <xsl:value-of select=\"for $x in a\n"                                          // 7
    "            return $x\n"                                                               // 8
    "            + 1\" separator=\"a/b\"/>\n"                                               // 9
    "      </out>\n"                                                                        // 10
    "    </xsl:if>\n"                                                                       // 11
    "    <xsl:element name=\"{local-name()}x\" namespace=\"urn:x\"/>\n"                     // 12
    "  </xsl:template>\n"                                                                   // 13
    "</xsl:stylesheet>\n";                                                                  // 14

TEST(XSLTLineColoringTest, XPathValuesGetTokenCategories) {
  CheckRows(kStylesheet,
            {
                // Attributes that hold no XPath keep the flat colour.
                {2, "3.0", 0, "Start-tag attribute value"},
                {2, "http://www.w3.org/1999/XSL/Transform", 0, "Start-tag attribute value"},
                // Pattern and sequence type.
                {4, "item", 0, "XPath Name test"},
                {4, "[", 0, "XPath Bracket"},
                {4, "@", 0, "XPath Axis"},
                {4, "id", 0, "XPath Name test"},
                {4, "\"", 0, "Start-tag attribute quote"},
                {4, "xs:string", 0, "XPath Schema type"},
                {4, "*", 0, "XPath Occurrence indicator"},
                // References are read: "&lt;" is one operator, "&quot;q&quot;" one string.
                {5, "$a", 0, "XPath Variable"},
                {5, "&lt;", 0, "XPath Operator"},
                {5, "3", 0, "XPath Number"},
                {5, "and", 0, "XPath Operator"},
                {5, "&quot;q&quot;", 0, "XPath String"},
                // A literal result element: its own attributes are plain, xsl:use-when is not.
                {6, "{$c}", 0, "Start-tag attribute value"},
                {6, "true", 0, "XPath Function call"},
                {6, "count(a)", 0, "Start-tag attribute value"},
                // An expression over three lines, each line coloured on its own.
                {7, "for", 0, "XPath Keyword"},
                {7, "$x", 0, "XPath Variable"},
                {7, "a", 1, "XPath Name test"},
                {8, "return", 0, "XPath Keyword"},
                {8, "$x", 0, "XPath Variable"},
                {8, "    ", 0, "XPath Text"},
                {9, "+", 0, "XPath Operator"},
                {9, "1", 0, "XPath Number"},
                {9, "separator", 0, "Start-tag attribute name"},
                // Attribute value templates.
                {9, "a/b", 0, "XPath AVT text"},
                {12, "{", 0, "XPath Bracket"},
                {12, "local-name", 0, "XPath Function call"},
                {12, "x", 1, "XPath AVT text"},
                {12, "urn:x", 0, "XPath AVT text"},
            });
}

TEST(XSLTLineColoringTest, NamesAndPrefixesAreFoundFromAnyLine) {
  // The element and attribute names lie on earlier lines than the value's text.
  CheckRows(
      "<xsl:stylesheet xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\" version=\"3.0\">\n"
      "<xsl:if\n"
      "   test\n"
      "   =\n"
      "   \"a\n"
      "   and b\"><r\n"
      " xsl:use-when=\"\n"
      "   c\"/></xsl:if></xsl:stylesheet>",
      {
          {5, "a", 0, "XPath Name test"},
          {6, "and", 0, "XPath Operator"},
          {6, "b", 0, "XPath Name test"},
          {8, "c", 0, "XPath Name test"},
      });
  // The prefix bound on the root decides which elements are XSLT.
  CheckRows(
      "<t:transform version=\"3.0\"\n"
      "  xmlns:xsl=\"urn:not-xslt\" xmlns:t=\"http://www.w3.org/1999/XSL/Transform\">\n"
      "<t:if test=\"1\"/><xsl:if test=\"2\"/></t:transform>",
      {
          {3, "1", 0, "XPath Number"},
          {3, "2", 0, "Start-tag attribute value"},
      });
  CheckRows(
      "<transform xmlns=\"http://www.w3.org/1999/XSL/Transform\" version=\"3.0\">\n"
      "<template match=\"a|b\"/></transform>",
      {
          {2, "a", 2, "XPath Name test"},
          {2, "|", 0, "XPath Operator"},
      });
  // A broken expression marks its failing token on the line where it stands.
  CheckRows(
      "<xsl:stylesheet xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\" version=\"3.0\">\n"
      "<xsl:if test=\"1 +\n"
      " ) + 2\"/>\n"
      "<xsl:if test=\"\"/></xsl:stylesheet>",
      {
          {2, "1", 0, "XPath Number"},
          {3, ")", 0, "XPath Error"},
          {3, "2", 0, "XPath Number"},
      });
}

// Colouring a line gives the same result whether it starts there or follows its predecessors
// in one pass, and every line of a multi-line value finds the same value.
TEST(XSLTLineColoringTest, EveryStartingLineGivesTheSameColours) {
  TxTextList List;
  Load(List, kStylesheet);
  const CyXMLColoring Scheme;
  CyXSLTLineColoring InOrder(List.getTextItems(), Scheme);
  std::vector<std::vector<std::string>> Sequential;
  for (int64_t Line = 1; Line <= List.getCount(); ++Line)
    Sequential.push_back(Paint(List, InOrder, Line));
  CyXSLTLineColoring Backwards(List.getTextItems(), Scheme);
  for (int64_t Line = List.getCount(); Line >= 1; --Line) {
    CyXSLTLineColoring Fresh(List.getTextItems(), Scheme);
    EXPECT_EQ(Paint(List, Fresh, Line), Sequential[size_t(Line - 1)]) << "line " << Line;
    EXPECT_EQ(Paint(List, Backwards, Line), Sequential[size_t(Line - 1)]) << "line " << Line;
  }
  for (auto [Line, Linepos] : {std::pair{7, 31}, {8, 13}, {9, 13}}) {
    TyXMLAttributeValueSpan Span;
    ASSERT_TRUE(FindXMLAttributeValueSpan(List.getTextItems(), Line, Linepos, Span)) << Line;
    EXPECT_EQ(ToUTF8(Span.ElementQName), "xsl:value-of");
    EXPECT_EQ(ToUTF8(Span.AttributeQName), "select");
    EXPECT_EQ(
        std::vector<int64_t>({Span.StartLine, Span.StartLinepos, Span.EndLine, Span.EndLinepos}),
        std::vector<int64_t>({7, 31, 9, 16}));
  }
  TyXMLAttributeValueSpan Span;
  EXPECT_FALSE(FindXMLAttributeValueSpan(List.getTextItems(), 10, 3, Span));  // text
  EXPECT_FALSE(FindXMLAttributeValueSpan(List.getTextItems(), 4, 4, Span));   // tag name
}

}  // namespace
}  // namespace xylem
