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

// A UTF-8 file without a mark is replaced as a stream; behind a UTF-8 mark the same text goes
// through the document (loaded into lines). Both must follow the document's rules: every line
// end and every newline the template inserts is the newline counted over the whole file.
TEST(ReplaceCommand, StreamedRouteWritesTheDocumentsNewline) {
  CyTempFolder folder;
  struct {
    const char *Input, *Args, *Expected;
  } rows[] = {
      {"a\r\nb\nc\r\nd", "b X", "a\r\nX\r\nc\r\nd"},  // one LF among pairs
      {"a\rb\rc\nd\r\n", "b X", "a\rX\rc\rd\r"},      // lone CRs beat the pair
      {"a\nb\nc\r\n", "b X", "a\nX\nc\n"},            // lone LFs beat the pair
      {"k=1\r\nk=2\nk=3\r\n", "-r 'k=(\\d)' '$1\\n'", "1\r\n\r\n2\r\n\r\n3\r\n\r\n"},
      {"a\nb\r\nc\n", "-r b '\\r|\\R'", "a\n\n|\n\nc\n"},
  };
  for (const auto& row : rows) {
    const std::string streamed = folder.Write("s.xml", row.Input);
    const std::string loaded = folder.Write("m.xml", std::string("\xEF\xBB\xBF") + row.Input);
    const TyToolResult s = RunTool(std::string("replace ") + row.Args + " '" + streamed + "'");
    const TyToolResult m = RunTool(std::string("replace ") + row.Args + " '" + loaded + "'");
    EXPECT_EQ(s.ExitCode, 0) << s.Err;
    EXPECT_EQ(s.Out, row.Expected) << row.Args;
    EXPECT_EQ(m.Out, std::string("\xEF\xBB\xBF") + row.Expected) << row.Args;
    EXPECT_EQ(RunTool(std::string("replace -i ") + row.Args + " '" + streamed + "'").ExitCode, 0);
    EXPECT_EQ(folder.Read("s.xml"), row.Expected) << row.Args;
  }
}

// A NUL late in a big file is refused before a byte reaches standard output, as the document
// route (and format) refuse, and the file stays as it was with -i.
TEST(ReplaceCommand, LateNulIsRefusedBeforeAnythingIsWritten) {
  CyTempFolder folder;
  std::string input;
  while (input.size() < (size_t{6} << 20)) input += "<a>item</a>\n";
  input.insert(input.size() - 100, 1, '\0');
  const std::string path = folder.Write("big.xml", input);
  for (const char* flags : {"", "-i "}) {
    const TyToolResult result =
        RunTool(std::string("replace ") + flags + "item thing '" + path + "'");
    EXPECT_EQ(result.ExitCode, 2) << flags;
    EXPECT_EQ(result.Out, "") << flags;
    EXPECT_NE(result.Err.find("does not support binary files"), std::string::npos) << result.Err;
    EXPECT_TRUE(folder.Read("big.xml") == input) << flags;
  }
}

}  // namespace xylem::cli::test
