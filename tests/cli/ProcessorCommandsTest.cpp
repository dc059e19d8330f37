// validate, xpath eval, transform and xquery through the tool, as a user runs them. Each command
// that needs the Java host starts its own JVM, so the cases are few and each checks much.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "ToolRunner.hpp"

namespace xylem::cli::test {

TEST(ProcessorCommands, ValidateExitCodesAndReports) {
  CyTempFolder folder;
  const std::string schema =
      folder.Write("s.dtd", "<!ELEMENT a (b)>\n<!ELEMENT b EMPTY>\n<!ELEMENT c EMPTY>\n");
  const std::string good = folder.Write("good.xml", "<a><b/></a>\n");
  const std::string bad = folder.Write("bad.xml", "<a>\n  <c/>\n</a>\n");
  const std::string own =
      folder.Write("own.xml", "<!DOCTYPE a SYSTEM \"s.dtd\">\n<a>\n  <c/>\n</a>\n");
  struct TyCase {
    std::string Args;
    int ExitCode;
    std::string OutStartsWith;
  } cases[] = {
      {"validate --schema '" + schema + "' '" + good + "'", 0, ""},
      {"validate --schema '" + schema + "' '" + good + "' '" + bad + "'", 1, bad + ":1:2: error: "},
      // The document's own DOCTYPE names the schema.
      {"validate '" + own + "'", 1, own + ":2:2: error: "},
      {"validate --schema '" + folder.Path("missing.xsd") + "' '" + good + "'", 2, good + ":"},
      {"validate --schema '" + schema + "' '" + folder.Path("missing.xml") + "'", 2, ""},
      {"validate --schema '" + schema + "' --catalog '" + folder.Path("none.xml") + "' '" + good +
           "'",
       2, ""},
      {"validate --processor saxon '" + good + "'", 2, ""},
  };
  for (const TyCase& c : cases) {
    SCOPED_TRACE(c.Args);
    const TyToolResult result = RunTool(c.Args);
    EXPECT_EQ(result.ExitCode, c.ExitCode) << result.Out << result.Err;
    EXPECT_EQ(result.Out.rfind(c.OutStartsWith, 0), 0u) << result.Out;
  }
  const TyToolResult json =
      RunTool("validate --report json --schema '" + schema + "' '" + bad + "'");
  const nlohmann::json report = nlohmann::json::parse(json.Out);
  ASSERT_GE(report.size(), 1u);
  EXPECT_EQ(report[0]["line"], 1);
}

#ifdef XYLEM_HAVE_JAVA_HOST
TEST(ProcessorCommands, XPathEvalOverFilesWithNamespacesAndVariables) {
  CyTempFolder folder;
  const std::string one =
      folder.Write("one.xml", "<p:r xmlns:p='urn:p'><p:i>1</p:i><p:i>2</p:i></p:r>");
  const std::string two = folder.Write("two.xml", "<r xmlns='urn:p'><i>5</i></r>");
  TyToolResult result =
      RunTool("xpath eval --ns q=urn:p --var k=10 'sum(//q:i) + $k, //p:i[1]' '" + one + "'");
  EXPECT_EQ(result.ExitCode, 0) << result.Err;
  EXPECT_EQ(result.Out, "13\n<p:i xmlns:p=\"urn:p\">1</p:i>\n");

  result =
      RunTool("xpath eval --report json --ns q=urn:p 'count(//q:i)' '" + one + "' '" + two + "'");
  EXPECT_EQ(result.ExitCode, 0) << result.Err;
  const nlohmann::json json = nlohmann::json::parse(result.Out);
  ASSERT_EQ(json["results"].size(), 2u);
  EXPECT_EQ(json["results"][0]["items"], nlohmann::json({"2"}));
  EXPECT_EQ(json["results"][1]["file"], two);
  EXPECT_EQ(json["results"][1]["items"], nlohmann::json({"1"}));
  EXPECT_TRUE(json["errors"].empty());
}

TEST(ProcessorCommands, XPathEvalErrorsAndXQuery) {
  CyTempFolder folder;
  TyToolResult result = RunTool("xpath eval '1 + '");
  EXPECT_EQ(result.ExitCode, 1);
  EXPECT_NE(result.Err.find("XPST0003"), std::string::npos) << result.Err;
  result = RunTool("xpath eval --var novalue '1'");
  EXPECT_EQ(result.ExitCode, 2);

  const std::string document = folder.Write("d.xml", "<r><i>b</i><i>a</i></r>");
  const std::string query = folder.Write(
      "q.xq", "declare variable $x external;\nfor $i in //i order by $i return $i || $x");
  result = RunTool("xquery --file '" + query + "' --var x=! '" + document + "'");
  EXPECT_EQ(result.ExitCode, 0) << result.Err;
  EXPECT_EQ(result.Out, "a!\nb!\n");
  result = RunTool("xquery 'xs:date(\"2020-13-01\")'");
  EXPECT_EQ(result.ExitCode, 1);
  EXPECT_NE(result.Err.find("FORG0001"), std::string::npos) << result.Err;
}

TEST(ProcessorCommands, TransformWritesTheTargetOnlyOnSuccess) {
  CyTempFolder folder;
  const std::string document = folder.Write("d.xml", "<r><i>1</i><i>2</i></r>");
  const std::string good = folder.Write(
      "good.xsl",
      "<xsl:stylesheet version='3.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>\n"
      "<xsl:param name='n'/><xsl:output method='text'/>\n"
      "<xsl:template match='/'><xsl:value-of select='sum(//i) + number($n)'/></xsl:template>\n"
      "</xsl:stylesheet>\n");
  const std::string bad = folder.Write(
      "bad.xsl",
      "<xsl:stylesheet version='3.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>\n"
      "<xsl:template match='/'><xsl:value-of select='sum(//i) +'/></xsl:template>\n"
      "</xsl:stylesheet>\n");
  const std::string target = folder.Write("out.txt", "before");
  TyToolResult result =
      RunTool("transform '" + good + "' '" + document + "' --param n=4 -o '" + target + "'");
  EXPECT_EQ(result.ExitCode, 0) << result.Err;
  EXPECT_EQ(folder.Read("out.txt"), "7");

  // A failing stylesheet leaves the target untouched and no temporary file behind; the error
  // is placed on its character in the stylesheet.
  result = RunTool("transform '" + bad + "' '" + document + "' -o '" + target + "'");
  EXPECT_EQ(result.ExitCode, 1);
  EXPECT_EQ(folder.Read("out.txt"), "7");
  EXPECT_EQ(result.Err.rfind(bad + ":2:", 0), 0u) << result.Err;
  EXPECT_NE(result.Err.find("XPST0003"), std::string::npos) << result.Err;
  int files = 0;
  for ([[maybe_unused]] const auto& entry :
       std::filesystem::directory_iterator(std::filesystem::path(target).parent_path()))
    ++files;
  EXPECT_EQ(files, 4);

  result = RunTool("transform '" + folder.Path("none.xsl") + "' '" + document + "'");
  EXPECT_EQ(result.ExitCode, 2);
}
#endif

}  // namespace xylem::cli::test
