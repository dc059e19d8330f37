#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "ToolRunner.hpp"

namespace xylem::cli::test {

TEST(XPathCommand, CheckShowsMessageCaretAndExpectedTokens) {
  TyToolResult result = RunTool("xpath check 'for $x in 1 to 3 return $x * 2'");
  EXPECT_EQ(result.ExitCode, 0);
  EXPECT_EQ(result.Out, "ok\n");

  result = RunTool("xpath check '1 + '");
  EXPECT_EQ(result.ExitCode, 1);
  EXPECT_EQ(result.Out.rfind("error at offset 4: ", 0), 0u) << result.Out;
  EXPECT_NE(result.Out.find("\n  1 + \n      ^\nexpected: "), std::string::npos) << result.Out;

  result = RunTool("xpath check --rule pattern 'preceding::a'");
  EXPECT_EQ(result.ExitCode, 1);
  result = RunTool("xpath check --rule sequence-type 'xs:integer+'");
  EXPECT_EQ(result.ExitCode, 0);
  result = RunTool("xpath check --rule nonsense '1'");
  EXPECT_EQ(result.ExitCode, 2);
}

TEST(XPathCommand, JSONLinesBatchAnswersOneLinePerRequest) {
  // Quotes, a line break and non-ASCII text inside the expressions; offsets count UTF-16 units.
  const std::string input =
      "{\"text\": \"'a\\\"b' || \\\"c''d\\\"\"}\n"
      "{\"text\": \"1 +\\n 2 +\"}\n"
      "{\"text\": \"'\xC3\xA9\xF0\x9F\x98\x80' = \"}\n"
      "not json\n";
  const TyToolResult result = RunTool("xpath check --jsonl", input);
  std::istringstream lines(result.Out);
  std::vector<nlohmann::json> answers;
  for (std::string line; std::getline(lines, line);) answers.push_back(nlohmann::json::parse(line));
  ASSERT_EQ(answers.size(), 4u) << result.Out;
  EXPECT_EQ(answers[0], nlohmann::json({{"ok", true}}));
  EXPECT_EQ(answers[1]["ok"], false);
  EXPECT_EQ(answers[1]["offset"], 8);
  EXPECT_EQ(answers[2]["ok"], false);
  EXPECT_EQ(answers[2]["offset"], 8);  // the end: the emoji counts two units
  EXPECT_EQ(answers[3]["offset"], -1);
  EXPECT_EQ(result.ExitCode, 2);
}

}  // namespace xylem::cli::test
