// XPath, XSLT and XQuery through the Java host, error placement in stylesheets, a host that hangs,
// and background runs on snapshots. One host serves the whole suite.
#include <gtest/gtest.h>

#include <latch>
#include <sstream>

#include "common/Utf.hpp"
#include "processors/Background.hpp"
#include "processors/HostRequests.hpp"
#include "processors/JavaHost.hpp"
#include "support/ScratchFolder.hpp"

#ifdef XYLEM_HAVE_JAVA_HOST
namespace xylem {
namespace {

// The text from (Line, Linepos), both 1-based, to the end of that line.
std::string textAt(const std::string& Text, int32_t Line, int32_t Linepos) {
  std::istringstream lines(Text);
  std::string line;
  for (int32_t i = 0; i < Line && std::getline(lines, line); ++i) {
  }
  return Linepos >= 1 && static_cast<size_t>(Linepos) <= line.size() + 1 ? line.substr(Linepos - 1)
                                                                         : "<outside the line>";
}

const char* kLongExpression = "count((1 to 2000000000)[. mod 7 = 0])";

TEST(ProcessingTest, XSLT30NamedTemplateModeAndIterate) {
  test::CyScratchFolder scratch;
  const std::string stylesheet = scratch.Write("s.xsl", R"xsl(<xsl:stylesheet version="3.0"
    xmlns:xsl="http://www.w3.org/1999/XSL/Transform" xmlns:xs="http://www.w3.org/2001/XMLSchema"
    exclude-result-prefixes="xs">
  <xsl:output method="text"/>
  <xsl:param name="sep" select="','"/>
  <xsl:template name="main">named<xsl:apply-templates select="." mode="sum"/></xsl:template>
  <xsl:template match="/"><xsl:apply-templates select="//n" mode="list"/></xsl:template>
  <xsl:template match="n" mode="list"><xsl:value-of select=". || $sep"/></xsl:template>
  <xsl:template match="/" mode="sum">
    <xsl:iterate select="//n">
      <xsl:param name="total" select="0" as="xs:integer"/>
      <xsl:on-completion select="':' || $total"/>
      <xsl:next-iteration>
        <xsl:with-param name="total" select="$total + xs:integer(.)"/>
      </xsl:next-iteration>
    </xsl:iterate>
  </xsl:template>
</xsl:stylesheet>)xsl");
  const std::string document = scratch.Write("d.xml", "<r><n>1</n><n>2</n><n>4</n></r>");
  struct TyCase {
    const char* Template;
    const char* Mode;
    const char* Separator;
    const char* Output;
  } cases[] = {
      {"", "", "", "1,2,4,"},
      {"", "", ";", "1;2;4;"},
      {"main", "", "", "named:7"},
      {"", "sum", "", ":7"},
  };
  for (const TyCase& c : cases) {
    SCOPED_TRACE(std::string(c.Template) + "/" + c.Mode + "/" + c.Separator);
    TyTransformation request;
    request.StylesheetPath = stylesheet;
    request.Document.Path = document;
    request.InitialTemplate = c.Template;
    request.InitialMode = c.Mode;
    if (*c.Separator) request.Parameters["sep"] = c.Separator;
    const TyProcessingResult result = Transform(CyJavaHost::Shared(), request);
    ASSERT_TRUE(result.Ok) << (result.Errs->getCount()
                                   ? ToUTF8(result.Errs->getXMLErr(0)->getReason())
                                   : "");
    EXPECT_EQ(result.Output, c.Output);
  }
}

// Each error must land on the character the processor blames, read back from the stylesheet.
TEST(ProcessingTest, StylesheetErrorsPlacedOnTheirCharacter) {
  struct TyCase {
    const char* Body;  // inside <xsl:template match="/">
    const char* Code;
    int32_t Line;
    const char* StartsWith;  // the stylesheet's text at the error's position
  } cases[] = {
      // Found while running: Saxon gives the character in the expression.
      {"<xsl:value-of select=\"1, 2, $p + 1\"/>", "XPTY0004", 4, "$p + 1"},
      // The character counts the expanded value; the position follows the written one.
      {"<xsl:value-of select=\"1 &lt; 2, $p + 1\"/>", "XPTY0004", 4, "$p + 1"},
      {"<xsl:value-of\n    select=\"1, (2 +)\"/>", "XPST0003", 5, ")"},
      {"<xsl:value-of select=\"xs:integer('x')\"/>", "FORG0001", 4, "'x'"},
      // Static errors known only by their start tag or attribute.
      {"<xsl:value-of select=\"1\" foo=\"1\"/>", "XTSE0090", 4, "foo=\"1\""},
      {"<xsl:bogus/>", "XTSE0010", 4, "xsl:bogus"},
  };
  test::CyScratchFolder scratch;
  const std::string document = scratch.Write("d.xml", "<a/>");
  for (const TyCase& c : cases) {
    SCOPED_TRACE(c.Body);
    const std::string text =
        "<xsl:stylesheet version=\"3.0\" xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\"\n"
        "    xmlns:xs=\"http://www.w3.org/2001/XMLSchema\">\n"
        "  <xsl:param name=\"p\" select=\"'a'\"/>\n"
        "  <xsl:template match=\"/\">" +
        std::string(c.Body) + "</xsl:template>\n</xsl:stylesheet>\n";
    TyTransformation request;
    request.StylesheetPath = scratch.Write("s.xsl", text);
    request.Document.Path = document;
    const TyProcessingResult result = Transform(CyJavaHost::Shared(), request);
    ASSERT_FALSE(result.Ok);
    ASSERT_GT(result.Errs->getCount(), 0);
    const IyXMLErr& err = *result.Errs->getXMLErr(0);
    EXPECT_EQ(ToUTF8(err.getReasonID()), c.Code) << ToUTF8(err.getReason());
    EXPECT_EQ(err.getLocation()->getLine(), c.Line);
    EXPECT_EQ(textAt(text, err.getLocation()->getLine(), err.getLocation()->getLinepos())
                  .rfind(c.StartsWith, 0),
              0u)
        << textAt(text, err.getLocation()->getLine(), err.getLocation()->getLinepos());
    EXPECT_EQ(ToUTF8(err.getLocation()->getURL()), request.StylesheetPath);
  }
}

TEST(ProcessingTest, XPathNamespacesVariablesAndXQuery) {
  test::CyScratchFolder scratch;
  TyXPathEvaluation xpath;
  xpath.Document.Path =
      scratch.Write("d.xml", "<p:a xmlns:p='urn:p' xmlns:q='urn:q'><q:b>x</q:b><q:b>y</q:b></p:a>");
  xpath.RootNamespaces = true;
  struct TyCase {
    const char* Expression;
    std::vector<std::string> Items;
  } cases[] = {
      {"/p:a/q:b ! upper-case(.)", {"X", "Y"}},
      {"string-join(//q:b, '-') => concat('!')", {"x-y!"}},
      {"map{'k': [1, 2]}?k?2", {"2"}},
      {"array:size(array{//q:b}), array:size([//q:b])", {"2", "1"}},
      {"$v * 2", {"42"}},
      {"//q:b[1]", {"<q:b xmlns:p=\"urn:p\" xmlns:q=\"urn:q\">x</q:b>"}},
  };
  xpath.Variables["v"] = "21";
  for (const TyCase& c : cases) {
    SCOPED_TRACE(c.Expression);
    xpath.Expression = c.Expression;
    const TyProcessingResult result = EvaluateXPath(CyJavaHost::Shared(), xpath);
    ASSERT_TRUE(result.Ok) << ToUTF8(result.Errs->getXMLErr(0)->getReason());
    EXPECT_EQ(result.Items, c.Items);
  }
  // An explicit binding wins over the root's.
  xpath.Namespaces["q"] = "urn:other";
  xpath.Expression = "count(//q:b)";
  EXPECT_EQ(EvaluateXPath(CyJavaHost::Shared(), xpath).Items, std::vector<std::string>{"0"});

  TyXQueryRun query;
  query.Query =
      "declare variable $n external; for $b at $i in //*:b let $t := string($b) "
      "order by $t descending return $t || $i || $n";
  query.Document = xpath.Document;
  query.Variables["n"] = "!";
  const TyProcessingResult result = RunXQuery(CyJavaHost::Shared(), query);
  ASSERT_TRUE(result.Ok);
  EXPECT_EQ(result.Items, (std::vector<std::string>{"y2!", "x1!"}));
}

TEST(ProcessingTest, CvcIdFromXercesWithItsPosition) {
  test::CyScratchFolder scratch;
  TyHostDocument document;
  document.Path =
      scratch.Write("d.xml", "<list>\n  <item id=\"a\"/>\n  <item ref=\"b\"/>\n</list>\n");
  const std::string schema =
      scratch.Write("s.xsd", R"(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">
  <xs:element name="list"><xs:complexType><xs:sequence>
    <xs:element name="item" maxOccurs="unbounded"><xs:complexType>
      <xs:attribute name="id" type="xs:ID"/><xs:attribute name="ref" type="xs:IDREF"/>
    </xs:complexType></xs:element>
  </xs:sequence></xs:complexType></xs:element>
</xs:schema>)");
  const TyValidationResult result =
      ValidateWithHost(CyJavaHost::Shared(), TySchemaLanguage::slXSD, document, schema, {});
  EXPECT_EQ(int(result.Verdict), int(TyValidationVerdict::vvInvalid));
  ASSERT_EQ(result.Errs->getCount(), 1);
  const IyXMLErr& err = *result.Errs->getXMLErr(0);
  EXPECT_EQ(ToUTF8(err.getReasonID()), "cvc-id.1");
  EXPECT_NE(ToUTF8(err.getReason()).find("'b'"), std::string::npos);
  // Xerces reports the unbound reference where the root element ends.
  EXPECT_EQ(err.getLocation()->getLine(), 4);
  EXPECT_EQ(err.getLocation()->getLinepos(), 8);
}

TEST(ProcessingTest, HostThatStopsAnsweringIsReplaced) {
  CyJavaHost& host = CyJavaHost::Shared();
  TyXQueryRun query;
  query.Query = "2 + 3";
  // A running host first, whether or not an earlier test in this process started one.
  ASSERT_TRUE(RunXQuery(host, query).Ok);
  const int32_t starts = host.getStartCount();
  const TyHostReply reply =
      host.Call({{"op", "xpath"}, {"expr", kLongExpression}}, {}, std::chrono::milliseconds(500));
  EXPECT_EQ(int(reply.Failure), int(TyHostFailure::hfTimedOut));
  EXPECT_FALSE(reply.FailureMessage.empty());
  const TyProcessingResult result = RunXQuery(host, query);
  ASSERT_TRUE(result.Ok);
  EXPECT_EQ(result.Items, std::vector<std::string>{"5"});
  EXPECT_EQ(host.getStartCount(), starts + 1);
}

TEST(ProcessingTest, BackgroundRunsOnSnapshots) {
  test::CyScratchFolder scratch;
  const std::string schema = scratch.Write("s.dtd", "<!ELEMENT a (b)>\n<!ELEMENT b EMPTY>\n");
  // The file on disk is valid; the snapshot (unsaved edits) is not, and is what gets checked.
  const std::string path = scratch.Write("d.xml", "<a><b/></a>\n");
  const std::string edited = "<a>\n<c/>\n</a>\n";
  TyValidationRequest options;
  options.SchemaPath = schema;
  auto run = ValidateInBackground({ToUTF16(edited), path}, options, nullptr);
  const IyXMLErrsPtr background = run->Wait();
  EXPECT_TRUE(run->IsDone());
  TyValidationRequest direct = options;
  direct.DocumentPath = path;
  direct.DocumentText = &edited;
  const IyXMLErrsPtr foreground = ValidateDocument(direct, nullptr).Errs;
  ASSERT_GT(background->getCount(), 0);
  ASSERT_EQ(background->getCount(), foreground->getCount());
  for (int32_t i = 0; i < background->getCount(); ++i) {
    EXPECT_EQ(background->getXMLErr(i)->getReason(), foreground->getXMLErr(i)->getReason());
    EXPECT_EQ(background->getXMLErr(i)->getLocation()->getLine(),
              foreground->getXMLErr(i)->getLocation()->getLine());
  }

  // The caller is never held up: the run is started while its work cannot yet proceed.
  std::latch release(1);
  CyBackgroundRun held([&](std::stop_token) {
    release.wait();
    return std::make_shared<CyXMLErrs>(u"held", std::vector<IyXMLErrPtr>{});
  });
  EXPECT_FALSE(held.IsDone());
  release.count_down();
  EXPECT_EQ(held.Wait()->getCount(), 0);

  // A transformation of a snapshot, cancelled while Saxon is busy, ends with a termination
  // record; dropping a run that is still busy cancels it too; the host keeps serving.
  TyTransformation transform;
  transform.StylesheetPath = scratch.Write(
      "slow.xsl",
      "<xsl:stylesheet version='3.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>"
      "<xsl:template match='/'><r><xsl:value-of select='" +
          std::string(kLongExpression) + "'/></r></xsl:template></xsl:stylesheet>");
  auto slow = TransformInBackground({u"<doc/>", path}, transform, CyJavaHost::Shared());
  EXPECT_FALSE(slow->IsDone());
  slow->Cancel();
  const IyXMLErrsPtr cancelled = slow->Wait();
  ASSERT_EQ(cancelled->getCount(), 1);
  EXPECT_EQ(ToUTF8(cancelled->getXMLErr(0)->getReasonID()), "cancelled");
  EXPECT_EQ(cancelled->getXMLErr(0)->getSeverity(), TyXMLErrSeverity::errTermination);
  TransformInBackground({u"<doc/>", path}, transform, CyJavaHost::Shared()).reset();
  transform.StylesheetPath = scratch.Write(
      "fast.xsl",
      "<xsl:stylesheet version='3.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>"
      "<xsl:template match='/'><xsl:value-of select='name(*)'/></xsl:template></xsl:stylesheet>");
  EXPECT_EQ(
      TransformInBackground({u"<doc/>", path}, transform, CyJavaHost::Shared())->Wait()->getCount(),
      0);
}

}  // namespace
}  // namespace xylem
#endif
