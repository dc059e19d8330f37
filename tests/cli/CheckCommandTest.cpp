#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "ToolRunner.hpp"

namespace xylem::cli::test {

TEST(CheckCommand, JSONErrorsInEveryReportFormatWithExitCodes) {
  CyTempFolder folder;
  const std::string good = folder.Write("good.json", "{\"a\": [1, 2]}\n");
  // CR LF line ends: the column must still count from the start of line 2.
  const std::string bad = folder.Write("bad.json", "{\"a\": [1,\r\n  2,]}\r\n");

  TyToolResult result = RunTool("check '" + good + "'");
  EXPECT_EQ(result.ExitCode, 0);
  EXPECT_EQ(result.Out, "");

  result = RunTool("check '" + good + "' '" + bad + "'");
  EXPECT_EQ(result.ExitCode, 1);
  EXPECT_EQ(result.Out, bad +
                            ":2:5: error: Expected value ('{', '[', string, number, true, false "
                            "or null), found ']'.\n");

  result = RunTool("check --report json '" + bad + "'");
  const auto json = nlohmann::json::parse(result.Out);
  ASSERT_EQ(json.size(), 1u);
  EXPECT_EQ(json[0]["line"], 2);
  EXPECT_EQ(json[0]["column"], 5);

  result = RunTool("check --report sarif '" + bad + "'");
  const auto sarif = nlohmann::json::parse(result.Out);
  EXPECT_EQ(sarif["version"], "2.1.0");
  EXPECT_EQ(
      sarif["runs"][0]["results"][0]["locations"][0]["physicalLocation"]["region"]["startLine"], 2);

  result = RunTool("check --report github '" + bad + "'");
  EXPECT_EQ(result.Out.rfind("::error file=", 0), 0u) << result.Out;

  // Standard input is read when no file is named; the kind comes from the content.
  result = RunTool("check", "[1, 2");
  EXPECT_EQ(result.ExitCode, 1);
  EXPECT_EQ(result.Out.rfind("<stdin>:1:6: error:", 0), 0u) << result.Out;

  result = RunTool("check '" + folder.Path("missing.json") + "'");
  EXPECT_EQ(result.ExitCode, 2);
  result = RunTool("check --report xml '" + good + "'");
  EXPECT_EQ(result.ExitCode, 2);
}

// Documents without a root and broken XML declarations are findings at a position (exit 1),
// not files that cannot be read (exit 2).
TEST(CheckCommand, DeclarationsAndMissingRootsAreFindingsWithPositions) {
  CyTempFolder folder;
  const struct {
    const char* Name;
    std::string Bytes;
    std::string Where;  // ":LINE:COL: error: MESSAGE" of the first finding
  } rows[] = {
      {"empty.xml", "", ":1:1: error: The document has no root element."},
      {"blank", "  \n\n", ":3:1: error: The document has no root element."},
      {"mark.xml", "\xEF\xBB\xBF", ":1:1: error: The document has no root element."},
      {"prolog.xml", "<?xml version=\"1.0\"?>\n<!-- c -->\n",
       ":3:1: error: The document has no root element."},
      {"upper.xml", "<?xml VERSION=\"1.0\"?><r/>", ":1:7: error: Expected \"version\"."},
      {"noversion.xml", "<?xml encoding=\"UTF-8\"?><r/>", ":1:7: error: Expected \"version\"."},
      {"standalone.xml", "<?xml version=\"1.0\" standalone=\"YES\"?><r/>",
       ":1:32: error: The standalone value must be \"yes\" or \"no\"."},
      {"encoding.xml", "<?xml version=\"1.0\" encoding=\".UTF-8\"?><r/>",
       ":1:30: error: The encoding value is invalid."},
  };
  for (const auto& row : rows) {
    const std::string path = folder.Write(row.Name, row.Bytes);
    const TyToolResult result = RunTool("check '" + path + "'");
    EXPECT_EQ(result.ExitCode, 1) << row.Name << result.Err;
    EXPECT_EQ(result.Out.rfind(path + row.Where, 0), 0u) << result.Out;
  }
  const TyToolResult stdinResult = RunTool("check -", "");
  EXPECT_EQ(stdinResult.ExitCode, 1);
  EXPECT_EQ(stdinResult.Out.rfind("<stdin>:1:1: error: The document has no root element.", 0), 0u)
      << stdinResult.Out;
  // A declared encoding is still used when the declaration is refused.
  const std::string latin = folder.Write("latin.xml",
                                         "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" "
                                         "standalone=\"maybe\"?><r>\xE9</r>");
  const TyToolResult latinResult = RunTool("check '" + latin + "'");
  EXPECT_EQ(latinResult.ExitCode, 1);
  EXPECT_EQ(latinResult.Out.find("\n", latinResult.Out.find('\n') + 1), std::string::npos)
      << latinResult.Out;
}

// A line break is the white space between two attributes, whichever line end the file uses;
// the missing white space is still found on the same files.
TEST(CheckCommand, AttributeAtLineStartWithEveryLineEnd) {
  CyTempFolder folder;
  for (const char* newline : {"\n", "\r\n", "\r"}) {
    const std::string good =
        folder.Write("good.xml", std::string("<doc a=\"1\"") + newline + "b=\"2\"/>" + newline);
    TyToolResult result = RunTool("check '" + good + "'");
    EXPECT_EQ(result.ExitCode, 0) << result.Out;
    const std::string bad =
        folder.Write("bad.xml", std::string("<doc") + newline + "a=\"1\"b=\"2\"/>" + newline);
    result = RunTool("check '" + bad + "'");
    EXPECT_EQ(result.Out, bad + ":2:6: error: White space is required before attribute 'b'.\n");
  }
}

}  // namespace xylem::cli::test
