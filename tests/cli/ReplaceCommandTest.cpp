#include <gtest/gtest.h>

#include "ToolRunner.hpp"

namespace xylem::cli::test {

TEST(ReplaceCommand, InPlaceKeepsEncodingMarkAndNewline) {
  CyTempFolder folder;
  const std::string utf16 =
      folder.Write("a.xml", UTF16LEWithMark("<a qty=\"3\">1.5</a>\r\n<b>2.25</b>\r\n"));
  TyToolResult result = RunTool("replace -i -r '([0-9]+)\\.([0-9]+)' '$1,$2' '" + utf16 + "'");
  EXPECT_EQ(result.ExitCode, 0) << result.Err;
  EXPECT_EQ(result.Err, utf16 + ": 2 replacements\n");
  EXPECT_EQ(result.Out, "");
  EXPECT_EQ(folder.Read("a.xml"), UTF16LEWithMark("<a qty=\"3\">1,5</a>\r\n<b>2,25</b>\r\n"));

  // Without -i the result goes to stdout and the file stays as it was.
  const std::string lf = folder.Write("b.xml", "Caf\xC3\xA9 CAF\xC3\x89 cafe\n");
  result = RunTool("replace 'caf\xC3\xA9' X '" + lf + "'");
  EXPECT_EQ(result.Out, "X X cafe\n");  // case-insensitive beyond ASCII
  result = RunTool("replace --case-sensitive 'Caf\xC3\xA9' X '" + lf + "'");
  EXPECT_EQ(result.Out, "X CAF\xC3\x89 cafe\n");
  result = RunTool("replace --whole-word caf X '" + lf + "'");
  EXPECT_EQ(result.Out, "Caf\xC3\xA9 CAF\xC3\x89 cafe\n");
  EXPECT_EQ(folder.Read("b.xml"), "Caf\xC3\xA9 CAF\xC3\x89 cafe\n");
}

TEST(ReplaceCommand, BadPatternOrTemplateWritesNothing) {
  CyTempFolder folder;
  const std::string path = folder.Write("a.xml", "<a>1</a>\n");
  struct Row {
    const char* args;
    const char* message;
  };
  const Row rows[] = {
      {"-r '(' x", "xylem: pattern: missing closing parenthesis (at offset 1)\n"},
      {"-r '1' '${name}'", nullptr},
  };
  for (const Row& row : rows) {
    const TyToolResult result = RunTool(std::string("replace -i ") + row.args + " '" + path + "'");
    EXPECT_EQ(result.ExitCode, 2) << row.args;
    if (row.message) {
      EXPECT_EQ(result.Err, row.message);
    }
    EXPECT_EQ(folder.Read("a.xml"), "<a>1</a>\n") << row.args;
  }
}

}  // namespace xylem::cli::test
