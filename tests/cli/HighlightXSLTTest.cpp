#include <gtest/gtest.h>

#include "ToolRunner.hpp"

namespace xylem::cli::test {

// In a stylesheet the XPath inside attribute values is painted by token class; the same text in
// a plain XML document keeps the flat attribute-value colour.
TEST(HighlightCommand, StylesheetValuesArePaintedByXPathTokenClass) {
  CyTempFolder folder;
  const std::string stylesheet =
      "<xsl:stylesheet version=\"3.0\" xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\">\n"
      "<xsl:template match=\"a[1]\"><xsl:if test=\"$x &lt; 2\n"
      "  and f()\"><o k=\"{$y}\"/></xsl:if></xsl:template></xsl:stylesheet>\n";
  const std::string xslt = folder.Write("s.xsl", stylesheet);
  TyToolResult result = RunTool("highlight --html '" + xslt + "'");
  ASSERT_EQ(result.ExitCode, 0) << result.Err;
  for (const char* expected : {
           ".xpath-name-test{",
           ".xpath-function-call{",
           "<span class=\"xpath-name-test\">a</span><span class=\"xpath-bracket\">[</span>"
           "<span class=\"xpath-number\">1</span><span class=\"xpath-bracket\">]</span>",
           "<span class=\"xpath-variable\">$x</span>",
           "<span class=\"xpath-operator\">&amp;lt;</span>",
           // The second line of the value starts from the stored line state.
           "\n<span class=\"xpath-text\">  </span><span class=\"xpath-operator\">and</span>",
           "<span class=\"xpath-function-call\">f</span>",
           // A literal result element's attribute stays plain.
           "<span class=\"xml-start-tag-attribute-value\">{$y}</span>",
       })
    EXPECT_NE(result.Out.find(expected), std::string::npos) << expected;

  const std::string xml = folder.Write("s.xml", "<r><i test=\"$x\"/></r>\n");
  result = RunTool("highlight --html '" + xml + "'");
  ASSERT_EQ(result.ExitCode, 0) << result.Err;
  EXPECT_NE(result.Out.find("<span class=\"xml-start-tag-attribute-value\">$x</span>"),
            std::string::npos);
  EXPECT_EQ(result.Out.find("<span class=\"xpath-"), std::string::npos);
}

}  // namespace xylem::cli::test
