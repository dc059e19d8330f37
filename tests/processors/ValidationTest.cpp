// Validation by libxml2 in process and by the Java host, against small schemas written here.
#include "processors/Validation.hpp"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <thread>

#include "common/Utf.hpp"
#include "processors/HostRequests.hpp"
#include "processors/JavaHost.hpp"
#include "processors/SchemaReference.hpp"
#include "support/ScratchFolder.hpp"

namespace xylem {
namespace {

const char* kXSD = R"(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">
  <xs:element name="note"><xs:complexType><xs:sequence>
    <xs:element name="to" type="xs:string"/>
    <xs:element name="priority" type="xs:int"/>
  </xs:sequence><xs:attribute name="id" type="xs:ID"/></xs:complexType></xs:element>
</xs:schema>)";
const char* kDTD =
    "<!ELEMENT note (to, priority)>\n<!ELEMENT to (#PCDATA)>\n"
    "<!ELEMENT priority (#PCDATA)>\n<!ATTLIST note id ID #IMPLIED>\n";
const char* kRNG = R"(<element name="note" xmlns="http://relaxng.org/ns/structure/1.0"
    datatypeLibrary="http://www.w3.org/2001/XMLSchema-datatypes">
  <optional><attribute name="id"/></optional>
  <element name="to"><text/></element>
  <element name="priority"><data type="int"/></element>
</element>)";
// No id on the pattern: libxml2 alone would fail without a word.
const char* kSchematron = R"(<schema xmlns="http://purl.oclc.org/dsdl/schematron">
  <pattern>
    <rule context="note"><assert test="to">A note needs a recipient</assert></rule>
  </pattern>
</schema>)";

const char* kValid = "<note id=\"n1\">\n  <to>A</to>\n  <priority>1</priority>\n</note>\n";
const char* kBadValue = "<note id=\"n1\">\n  <to>A</to>\n  <priority>high</priority>\n</note>\n";
const char* kMissing = "<note>\n  <priority>1</priority>\n</note>\n";

struct TyCase {
  const char* Schema;
  const char* SchemaName;
  TyValidationProcessor Processor;
  const char* Document;
  TyValidationVerdict Verdict;
  int32_t Line, Linepos;  // first error; -1: not checked
  const char* Code;       // first error's code prefix; "" not checked
};

IyXMLErrsPtr run(const TyCase& Case, TyValidationVerdict& Verdict) {
  test::CyScratchFolder folder;
  TyValidationRequest request;
  request.SchemaPath = folder.Write(Case.SchemaName, Case.Schema);
  request.DocumentPath = folder.Write("doc.xml", Case.Document);
  request.Processor = Case.Processor;
  CyJavaHost* host = CyJavaHost::IsBuiltIn() ? &CyJavaHost::Shared() : nullptr;
  TyValidationResult result = ValidateDocument(request, host, {});
  Verdict = result.Verdict;
  return result.Errs;
}

TEST(ValidationTest, SchemasAgainstDocuments) {
  using V = TyValidationVerdict;
  using P = TyValidationProcessor;
  const TyCase cases[] = {
      {kXSD, "s.xsd", P::vpLibXml2, kValid, V::vvValid, -1, -1, ""},
      // libxml2 gives the line only; the error is placed on the element's name.
      {kXSD, "s.xsd", P::vpLibXml2, kBadValue, V::vvInvalid, 3, 4, "schemasv"},
      {kDTD, "s.dtd", P::vpLibXml2, kValid, V::vvValid, -1, -1, ""},
      {kDTD, "s.dtd", P::vpLibXml2, kMissing, V::vvInvalid, 1, 2, "valid"},
      {kRNG, "s.rng", P::vpLibXml2, kValid, V::vvValid, -1, -1, ""},
      {kRNG, "s.rng", P::vpLibXml2, kMissing, V::vvInvalid, 2, -1, "relaxngv"},
      {kSchematron, "s.sch", P::vpLibXml2, kValid, V::vvValid, -1, -1, ""},
      {kSchematron, "s.sch", P::vpLibXml2, kMissing, V::vvInvalid, 1, 2, "schematronv"},
      {"<xs:schema", "broken.xsd", P::vpLibXml2, kValid, V::vvSchemaError, -1, -1, ""},
#ifdef XYLEM_HAVE_JAVA_HOST
      {kXSD, "s.xsd", P::vpXerces, kValid, V::vvValid, -1, -1, ""},
      {kXSD, "s.xsd", P::vpXerces, kBadValue, V::vvInvalid, 3, 28, "cvc-datatype-valid.1.2.1"},
      {kRNG, "s.rng", P::vpJing, kValid, V::vvValid, -1, -1, ""},
      {kRNG, "s.rng", P::vpJing, kMissing, V::vvInvalid, 2, -1, ""},
      {"<xs:schema", "broken.xsd", P::vpXerces, kValid, V::vvSchemaError, -1, -1, ""},
#endif
  };
  for (const TyCase& c : cases) {
    SCOPED_TRACE(std::string(c.SchemaName) + " / " + c.Document);
    TyValidationVerdict verdict;
    const IyXMLErrsPtr errs = run(c, verdict);
    EXPECT_EQ(int(verdict), int(c.Verdict));
    if (c.Verdict == TyValidationVerdict::vvValid) {
      EXPECT_EQ(errs->getCount(), 0);
      continue;
    }
    ASSERT_GT(errs->getCount(), 0);
    const IyXMLErr& first = *errs->getXMLErr(0);
    if (c.Line > 0) {
      EXPECT_EQ(first.getLocation()->getLine(), c.Line) << ToUTF8(first.getReason());
    }
    if (c.Linepos > 0) {
      EXPECT_EQ(first.getLocation()->getLinepos(), c.Linepos);
    }
    EXPECT_EQ(ToUTF8(first.getReasonID()).rfind(c.Code, 0), 0u) << ToUTF8(first.getReasonID());
  }
}

TEST(ValidationTest, LinesBeyond65535) {
  test::CyScratchFolder folder;
  std::string doc = "<note>\n";
  for (int i = 0; i < 70000; ++i) doc += "\n";
  doc += "<to>A</to><priority>x</priority></note>\n";
  TyValidationRequest request;
  request.SchemaPath = folder.Write("s.xsd", kXSD);
  request.DocumentPath = folder.Write("big.xml", doc);
  const TyValidationResult result = ValidateDocument(request, nullptr);
  ASSERT_EQ(result.Errs->getCount(), 1);
  EXPECT_EQ(result.Errs->getXMLErr(0)->getLocation()->getLine(), 70002);
}

TEST(ValidationTest, FileEntitiesOutsideTheFoldersAreRefused) {
  test::CyScratchFolder folder;
  const std::string doc =
      "<!DOCTYPE note [<!ENTITY secret SYSTEM \"file:///etc/hostname\">]>\n"
      "<note><to>&secret;</to><priority>1</priority></note>\n";
  TyValidationRequest request;
  request.SchemaPath = folder.Write("s.xsd", kXSD);
  request.DocumentPath = folder.Write("doc.xml", doc);
  const TyValidationResult result = ValidateDocument(request, nullptr);
  EXPECT_EQ(int(result.Verdict), int(TyValidationVerdict::vvInvalid));
  ASSERT_EQ(result.Errs->getCount(), 1);
  EXPECT_NE(ToUTF8(result.Errs->getXMLErr(0)->getReason()).find("outside the folders"),
            std::string::npos);
}

TEST(ValidationTest, SchemaFoundThroughEachReferenceAndACatalog) {
  test::CyScratchFolder folder;
  folder.Write("s.xsd", kXSD);
  folder.Write("s.dtd", kDTD);
  folder.Write("s.rng", kRNG);
  const std::string catalog =
      folder.Write("catalog.xml",
                   "<catalog xmlns=\"urn:oasis:names:tc:entity:xmlns:xml:catalog\">"
                   "<system systemId=\"http://example.com/s.xsd\" uri=\"s.xsd\"/>"
                   "<uri name=\"http://example.com/s.xsd\" uri=\"s.xsd\"/></catalog>");
  const CyXMLCatalogs catalogs({catalog}, false);
  const std::string xsi = "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" ";
  const std::pair<std::string, const char*> documents[] = {
      {"<note " + xsi +
           "xsi:noNamespaceSchemaLocation=\"s.xsd\"><to/><priority>x</priority></note>",
       "xsi:noNamespaceSchemaLocation"},
      {"<!DOCTYPE note SYSTEM \"s.dtd\">\n<note><priority>1</priority></note>", "DOCTYPE"},
      {"<?xml-model href=\"s.rng\"?>\n<note><priority>1</priority></note>", "xml-model"},
      {"<note " + xsi +
           "xsi:noNamespaceSchemaLocation=\"http://example.com/s.xsd\"><to/>"
           "<priority>x</priority></note>",
       "catalog"},
  };
  for (const auto& [text, what] : documents) {
    SCOPED_TRACE(what);
    TyValidationRequest request;
    request.DocumentPath = folder.Write("doc.xml", text);
    request.Catalogs = &catalogs;
    const TyValidationResult result = ValidateDocument(request, nullptr);
    EXPECT_EQ(int(result.Verdict), int(TyValidationVerdict::vvInvalid));
  }
  const std::u16string ns =
      u"<a xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xsi:schemaLocation='urn:x "
      u"x.xsd'/>";
  const auto refs = FindSchemaReferences(ns.c_str());
  ASSERT_EQ(refs.size(), 1u);
  EXPECT_EQ(refs[0].Namespace, "urn:x");
  EXPECT_EQ(refs[0].Location, "x.xsd");
}

#ifdef XYLEM_HAVE_JAVA_HOST
TEST(JavaHostTest, EvaluationTransformationQueryAndRecovery) {
  CyJavaHost& host = CyJavaHost::Shared();
  test::CyScratchFolder folder;
  TyXPathEvaluation xpath;
  xpath.Expression = "map{'a':1}?a, array{1,2}, upper-case('x'), //p:b/string()";
  xpath.Document.Path = folder.Write("d.xml", "<a xmlns='urn:p'><b>1</b></a>");
  xpath.Namespaces["p"] = "urn:p";
  TyProcessingResult result = EvaluateXPath(host, xpath);
  ASSERT_TRUE(result.Ok);
  EXPECT_EQ(result.Items, (std::vector<std::string>{"1", "[1,2]", "X", "1"}));

  xpath.Expression = "xs:integer('a')";
  result = EvaluateXPath(host, xpath);
  ASSERT_FALSE(result.Ok);
  EXPECT_EQ(ToUTF8(result.Errs->getXMLErr(0)->getReasonID()), "FORG0001");

  TyTransformation xslt;
  xslt.StylesheetPath = folder.Write(
      "s.xsl",
      "<xsl:stylesheet version='3.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>\n"
      "  <xsl:template match='/'><r><xsl:value-of select='1 +'/></r></xsl:template>\n"
      "</xsl:stylesheet>\n");
  xslt.Document.Path = xpath.Document.Path;
  result = Transform(host, xslt);
  ASSERT_FALSE(result.Ok);
  const IyXMLErr& err = *result.Errs->getXMLErr(0);
  EXPECT_EQ(ToUTF8(err.getReasonID()), "XPST0003");
  EXPECT_EQ(err.getLocation()->getLine(), 2);

  TyXQueryRun query;
  query.Query = "for $i in 1 to 3 where $i > 1 return $i * 2";
  result = RunXQuery(host, query);
  ASSERT_TRUE(result.Ok);
  EXPECT_EQ(result.Items, (std::vector<std::string>{"4", "6"}));

  // Killed mid-request: the request fails, the next one is served by a new host.
  std::stop_source never;
  std::thread killer([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    kill(host.getProcessID(), SIGKILL);
  });
  xpath.Expression = "count((1 to 2000000000)[. mod 7 = 0])";
  result = EvaluateXPath(host, xpath);
  killer.join();
  EXPECT_FALSE(result.Ok);
  query.Query = "1 + 1";
  result = RunXQuery(host, query);
  ASSERT_TRUE(result.Ok);
  EXPECT_EQ(result.Items, (std::vector<std::string>{"2"}));

  // Cancelled: the call returns a termination record and the host keeps serving.
  std::stop_source stop;
  std::thread canceller([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    stop.request_stop();
  });
  result = EvaluateXPath(host, xpath, stop.get_token());
  canceller.join();
  ASSERT_FALSE(result.Ok);
  EXPECT_EQ(ToUTF8(result.Errs->getXMLErr(0)->getReasonID()), "cancelled");
  result = RunXQuery(host, query);
  EXPECT_TRUE(result.Ok);
}
#endif

}  // namespace
}  // namespace xylem

namespace xylem {
namespace {

// A listening socket stands for the schema's server: any connection fails the test.
TEST(ValidationTest, NetworkSchemaIsNeverFetched) {
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  ASSERT_GE(listener, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(listen(listener, 4), 0);
  socklen_t length = sizeof address;
  getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
  const std::string url = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/s.xsd";
  test::CyScratchFolder folder;
  TyValidationRequest request;
  request.DocumentPath =
      folder.Write("doc.xml",
                   "<note xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
                   "xsi:noNamespaceSchemaLocation=\"" +
                       url + "\"/>");
  const TyValidationResult result = ValidateDocument(request, nullptr);
  EXPECT_EQ(int(result.Verdict), int(TyValidationVerdict::vvSchemaError));
  ASSERT_EQ(result.Errs->getCount(), 1);
  EXPECT_NE(ToUTF8(result.Errs->getXMLErr(0)->getReason()).find("network is never used"),
            std::string::npos);
  pollfd poll{listener, POLLIN, 0};
  EXPECT_EQ(::poll(&poll, 1, 0), 0) << "a connection was attempted";
  close(listener);
}

}  // namespace
}  // namespace xylem
