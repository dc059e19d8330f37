#include <gtest/gtest.h>

#include "ToolRunner.hpp"

namespace xylem::cli::test {

TEST(HighlightCommand, HtmlClassesFollowTheCategoriesAndTextIsEscaped) {
  CyTempFolder folder;
  const std::string path = folder.Write("a.xml", "<x:a k=\"v\">&amp; &nbsp;<!--\nc --></x:a>\n");
  TyToolResult result = RunTool("highlight --html '" + path + "'");
  ASSERT_EQ(result.ExitCode, 0) << result.Err;
  for (const char* expected :
       {"<span class=\"xml-start-tag-marker\">&lt;</span>",
        "<span class=\"xml-start-tag-name-with-prefix\">x:a</span>",
        "<span class=\"xml-start-tag-attribute-value\">v</span>",
        "<span class=\"xml-text\">&amp;amp; </span>",
        "<span class=\"xml-entity\">&amp;nbsp;</span>",
        // The second line starts inside the comment, from the stored line state.
        "\n<span class=\"xml-comment-text\">c </span><span "
        "class=\"xml-comment-marker\">--&gt;</span>",
        ".xml-end-tag-marker{"})
    EXPECT_NE(result.Out.find(expected), std::string::npos) << expected;

  result = RunTool("highlight --ansi --theme dark '" + path + "'");
  EXPECT_EQ(result.ExitCode, 0);
  EXPECT_NE(result.Out.find("\x1b[0"), std::string::npos);
  result = RunTool("highlight --html --ansi '" + path + "'");
  EXPECT_EQ(result.ExitCode, 2);
}

TEST(HighlightCommand, JSONIsColoredByTokenKindAndAScanningErrorEndsTheColors) {
  CyTempFolder folder;
  const std::string good = folder.Write("a.json", "{\"k\" : [1, true, \"<v>\"]}\r\n");
  TyToolResult result = RunTool("highlight --html '" + good + "'");
  ASSERT_EQ(result.ExitCode, 0) << result.Err;
  for (const char* expected :
       {"<span class=\"json-key\">\"k\"</span>", "<span class=\"json-number\">1</span>",
        "<span class=\"json-literal\">true</span>",
        "<span class=\"json-string\">\"&lt;v&gt;\"</span>", ".json-punctuation{", ".json-error{",
        // One output line per input line, the empty last one included.
        "<span class=\"json-punctuation\">]}</span>\n\n</pre></body></html>\n"})
    EXPECT_NE(result.Out.find(expected), std::string::npos) << expected << "\n" << result.Out;
  EXPECT_EQ(result.Out.find("xml-"), std::string::npos);

  // Detected by content through stdin; the rest after the error is plain, the error on stderr.
  result = RunTool("highlight --ansi --theme dark -", "[1,\n 'x', 2]\n[3]\n");
  ASSERT_EQ(result.ExitCode, 0) << result.Err;
  EXPECT_NE(result.Out.find("\x1b[0;38;2;181;206;168m1"), std::string::npos) << result.Out;
  EXPECT_NE(result.Out.find("'x', 2]\x1b[0m\n\x1b[0;38;2;212;212;212m[3]"), std::string::npos)
      << result.Out;
  EXPECT_NE(result.Err.find("<stdin>:2:2: error: Unexpected character '''"), std::string::npos)
      << result.Err;
}

TEST(TokensCommand, ListsTokensWithPositionsAndMissingMarks) {
  CyTempFolder folder;
  const std::string path = folder.Write("a.xml", "<a\n>x</b");
  const TyToolResult result = RunTool("tokens '" + path + "'");
  ASSERT_EQ(result.ExitCode, 0) << result.Err;
  EXPECT_NE(result.Out.find("1:1\tELEMENT_OPEN\tOPEN\t\"<\"\n"), std::string::npos) << result.Out;
  EXPECT_NE(result.Out.find("2:1\tELEMENT_OPEN\tCLOSE\t\">\"\n"), std::string::npos) << result.Out;
  EXPECT_NE(result.Out.find("(missing)"), std::string::npos) << result.Out;
}

}  // namespace xylem::cli::test
