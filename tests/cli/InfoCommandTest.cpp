#include <gtest/gtest.h>

#include <algorithm>

#include "ToolRunner.hpp"

namespace xylem::cli::test {

TEST(InfoCommand, ReportsEncodingMarkNewlineAndType) {
  CyTempFolder folder;
  const std::string utf8 = folder.Write("a.xml", "<?xml version=\"1.0\"?>\r\n<a>\r\n</a>\r\n");
  const std::string utf16 = folder.Write("b.xml", std::string("\xFF\xFE<\0a\0/\0>\0\n\0", 12));
  const std::string json = folder.Write("c.json", "{\"a\": [1, 2]}\n");

  TyToolResult result = RunTool("info '" + utf8 + "' '" + utf16 + "' '" + json + "'");
  EXPECT_EQ(result.ExitCode, 0) << result.Err;
  EXPECT_NE(result.Out.find("encoding:   UTF-8\n  mark:       no\n  fixed:      no\n"
                            "  newline:    CR LF\n  lines:      4\n  type:       XML"),
            std::string::npos)
      << result.Out;
  EXPECT_NE(result.Out.find("encoding:   UTF-16LE\n  mark:       yes\n  fixed:      no\n"
                            "  newline:    LF\n  lines:      2\n"),
            std::string::npos)
      << result.Out;
  EXPECT_NE(result.Out.find("type:       JSON"), std::string::npos) << result.Out;

  result = RunTool("info -", "<r/>");
  EXPECT_EQ(result.ExitCode, 0);
  EXPECT_NE(result.Out.find("<stdin>\n"), std::string::npos);
}

TEST(InfoCommand, BinaryAndMissingFilesAreOneLineErrorsWithExitCode2) {
  CyTempFolder folder;
  const std::string binary = folder.Write("data.xml", std::string("<a>\0\0</a>", 9));
  TyToolResult result = RunTool("info '" + binary + "'");
  EXPECT_EQ(result.ExitCode, 2);
  EXPECT_EQ(result.Err, "xylem: " + binary +
                            ": Xylem does not support binary files. Use another editor to edit "
                            "the file.\n");
  EXPECT_EQ(result.Out, "");

  // A good file beside a missing one is still reported; the exit code tells the failure.
  const std::string good = folder.Write("good.xml", "<a/>");
  result = RunTool("info '" + folder.Path("missing.xml") + "' '" + good + "'");
  EXPECT_EQ(result.ExitCode, 2);
  EXPECT_NE(result.Err.find("missing.xml"), std::string::npos);
  EXPECT_EQ(std::count(result.Err.begin(), result.Err.end(), '\n'), 1);
  EXPECT_NE(result.Out.find("good.xml"), std::string::npos);

  result = RunTool("info");
  EXPECT_EQ(result.ExitCode, 2);
  result = RunTool("--version");
  EXPECT_EQ(result.ExitCode, 0);
  EXPECT_EQ(result.Out.rfind("xylem ", 0), 0u);
}

}  // namespace xylem::cli::test
