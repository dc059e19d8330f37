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

}  // namespace xylem::cli::test
