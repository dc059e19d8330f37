#include <gtest/gtest.h>

#include "ToolRunner.hpp"

namespace xylem::cli::test {

TEST(FormatCommand, DialogChoicesAndInPlaceKeepTheFileForm) {
  CyTempFolder folder;
  struct Row {
    const char* options;
    const char* expected;
  };
  const Row rows[] = {
      {"", "<a>\r\n    <b x=\"1\" y=\"2\"/>\r\n    <c> t u </c>\r\n</a>\r\n"},
      {"--attributes lines --indent 2",
       "<a>\r\n  <b\r\n    x=\"1\"\r\n    y=\"2\"/>\r\n  <c> t u </c>\r\n</a>\r\n"},
      {"--empty collapse-space --indent tab",
       "<a>\r\n\t<b x=\"1\" y=\"2\" />\r\n\t<c> t u </c>\r\n</a>\r\n"},
      {"--empty expand --text lines",
       "<a>\r\n    <b x=\"1\" y=\"2\"></b>\r\n    <c>\r\n        t u\r\n    </c>\r\n</a>\r\n"},
      {"--preserve c", "<a>\r\n    <b x=\"1\" y=\"2\"/>\r\n    <c>  t   u </c>\r\n</a>\r\n"},
  };
  for (const Row& row : rows) {
    const std::string path =
        folder.Write("a.xml", "<a><b x=\"1\"   y=\"2\"/><c>  t   u </c></a>\r\n");
    const TyToolResult result = RunTool(std::string("format ") + row.options + " '" + path + "'");
    EXPECT_EQ(result.ExitCode, 0) << row.options << result.Err;
    EXPECT_EQ(result.Out, row.expected) << row.options;
  }

  // -i keeps a UTF-16 file's mark and an LF document's newline.
  const std::string utf16 = folder.Write("u.xml", UTF16LEWithMark("<a><b/></a>\n"));
  TyToolResult result = RunTool("format -i --indent 1 '" + utf16 + "'");
  EXPECT_EQ(result.ExitCode, 0) << result.Err;
  EXPECT_EQ(folder.Read("u.xml"), UTF16LEWithMark("<a>\n <b/>\n</a>\n"));
  // JSON read straight from its bytes keeps its UTF-16 mark and CR LF too.
  folder.Write("u.json", UTF16LEWithMark("[1,\r\n2]\r\n"));
  RunTool("format -i '" + folder.Path("u.json") + "'");
  EXPECT_EQ(folder.Read("u.json"), UTF16LEWithMark("[\r\n    1,\r\n    2\r\n]\r\n"));

  const std::string json = folder.Write("j.json", "{\"a\":[1,{}]}\n");
  result = RunTool("format '" + json + "'");
  EXPECT_EQ(result.Out, "{\n    \"a\": [\n        1,\n        {}\n    ]\n}\n");
}

TEST(FormatCommand, BrokenDocumentsAreReportedAndLeftUntouched) {
  CyTempFolder folder;
  const std::string xml = folder.Write("bad.xml", "<a>\n<b></c>\n</a>\n");
  TyToolResult result = RunTool("format -i '" + xml + "'");
  EXPECT_EQ(result.ExitCode, 1);
  EXPECT_EQ(result.Out.rfind(xml + ":2:", 0), 0u) << result.Out;
  EXPECT_EQ(folder.Read("bad.xml"), "<a>\n<b></c>\n</a>\n");

  const std::string json = folder.Write("bad.json", "[1,]");
  result = RunTool("format -i '" + json + "'");
  EXPECT_EQ(result.ExitCode, 1);
  EXPECT_EQ(result.Out.rfind(json + ":1:4: error:", 0), 0u) << result.Out;
  EXPECT_EQ(folder.Read("bad.json"), "[1,]");

  // A .json file is read straight from its bytes; a NUL still makes it a binary file: format
  // refuses it (exit 2), check reports it at the NUL (exit 1); it is left untouched.
  const std::string binary = folder.Write("bin.json", std::string("[1,\0]", 5));
  result = RunTool("format -i '" + binary + "'");
  EXPECT_EQ(result.ExitCode, 2);
  EXPECT_NE(result.Err.find("does not support binary files"), std::string::npos) << result.Err;
  result = RunTool("check '" + binary + "'");
  EXPECT_EQ(result.ExitCode, 1);
  EXPECT_EQ(result.Out.rfind(binary + ":1:4: error:", 0), 0u) << result.Out;
  EXPECT_NE(result.Out.find("does not support binary files"), std::string::npos) << result.Out;
  EXPECT_EQ(folder.Read("bin.json"), std::string("[1,\0]", 5));

  result = RunTool("format --empty sideways '" + json + "'");
  EXPECT_EQ(result.ExitCode, 2);
}

// `format` refuses exactly what `check` refuses, for the check's reasons, and writes nothing.
TEST(FormatCommand, OneVerdictWithCheck) {
  std::string deep;
  for (int i = 0; i < 5000; ++i) deep += "<a>";
  for (int i = 0; i < 5000; ++i) deep += "</a>";
  const struct {
    std::string Document;
    const char* Options;
  } rows[] = {
      {"<r a=\"1\" a=\"2\"/>", ""},
      {"<r a=\"<\"/>", ""},
      {"<r>&undefined;</r>", ""},
      {"<r>]]></r>", ""},
      {"<r><!-- a -- b --></r>", ""},
      {"<L//>", "--empty expand"},
      {"<L/>", "--empty expand"},
      {"<!DOCTYPE r [<!ELEMENT r (a,b|c)>]><r/>", ""},
      {"<!DOCTYPE r [<!ENTITY e 'x'>]><r>&e;</r>", ""},
      {"<?xml version=\"1.0\" standalone=\"YES\"?><r/>", ""},
      {"<r\na=\"1\"\nb=\"2\"/>", ""},
      {deep, ""},
  };
  CyTempFolder folder;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.Document.substr(0, 60));
    const std::string path = folder.Write("doc.xml", row.Document);
    const TyToolResult check = RunTool("check '" + path + "'");
    const TyToolResult format =
        RunTool(std::string("format -i ") + row.Options + " '" + path + "'");
    ASSERT_NE(check.ExitCode, 2);
    EXPECT_EQ(format.ExitCode, check.ExitCode) << format.Out << format.Err;
    if (check.ExitCode == 0) {
      // What was written is accepted in turn.
      EXPECT_EQ(RunTool("check '" + path + "'").ExitCode, 0) << folder.Read("doc.xml");
      continue;
    }
    EXPECT_EQ(format.Out, check.Out);
    EXPECT_NE(format.Err.find("Cannot format document because it's not well-formed."),
              std::string::npos);
    EXPECT_EQ(folder.Read("doc.xml"), row.Document);
  }
}

}  // namespace xylem::cli::test
