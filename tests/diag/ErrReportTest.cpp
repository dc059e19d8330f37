#include "diag/ErrReport.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include "common/Utf.hpp"

namespace xylem {
namespace {

using Sev = TyXMLErrSeverity;
using nlohmann::json;

IyXMLErrPtr Err(std::u16string URL, int32_t Line, int32_t Linepos, std::u16string Reason,
                std::u16string ID, Sev Severity) {
  return std::make_shared<CyXMLErr>(nullptr, std::move(URL), Line, Linepos, std::move(Reason), u"",
                                    std::move(ID), TyReasonParameters{}, Severity);
}

// Three checked documents: one with unsorted errors of every kind, one whose name needs
// escaping, a missing list, and an error that names no file at all.
std::vector<TyErrReportSource> Sources() {
  const auto list = [](std::vector<IyXMLErrPtr> errors) {
    return std::make_shared<CyXMLErrs>(u"", std::move(errors));
  };
  return {
      {"src/a.xml",
       list({Err(u"", 10, 5, u"Element 'x' not expected", u"cvc-complex-type.2.4.a", Sev::errError),
             Err(u"", 2, 3, u"Value 50%\r\nnext", u"", Sev::errWarning),
             Err(u"", -1, -1, u"Document has no root", u"", Sev::errFatal),
             Err(u"inc/b c.xml", 1, -1, u"Included: bad", u"", Sev::errInfo),
             Err(u"", 2, 1, u"\u00DCn\u00EF \U0001F600 \"q\"\ttab", u"FORG0001",
                 Sev::errTermination)})},
      {"x,y:z.xml", list({Err(u"", 5, 6, u"Missing ','", u"", Sev::errOk)})},
      {"unused.xml", nullptr},
      {"", list({Err(u"", 0, 0, u"orphan", u"", Sev::errError)})},
  };
}

TEST(ErrReport, GccLinesAreSortedPerDocumentWithLevelsCodesAndUnknownParts) {
  EXPECT_EQ(WriteErrReport(Sources(), TyErrReportFormat::erfGcc),
            "src/a.xml: error: Document has no root\n"
            "src/a.xml:2:1: error: \xC3\x9Cn\xC3\xAF \xF0\x9F\x98\x80 \"q\"\ttab [FORG0001]\n"
            "src/a.xml:2:3: warning: Value 50% next\n"
            "src/a.xml:10:5: error: Element 'x' not expected [cvc-complex-type.2.4.a]\n"
            "inc/b c.xml:1: note: Included: bad\n"
            "x,y:z.xml:5:6: note: Missing ','\n"
            "xylem: error: orphan\n");
  EXPECT_EQ(WriteErrReport({}, TyErrReportFormat::erfGcc), "");
}

TEST(ErrReport, GitHubAnnotationsEscapeMessagesAndPropertiesAsDocumented) {
  EXPECT_EQ(
      WriteErrReport(Sources(), TyErrReportFormat::erfGitHub),
      "::error file=src/a.xml::Document has no root\n"
      "::error file=src/a.xml,line=2,col=1::\xC3\x9Cn\xC3\xAF \xF0\x9F\x98\x80 \"q\"\ttab "
      "[FORG0001]\n"
      "::warning file=src/a.xml,line=2,col=3::Value 50%25%0D%0Anext\n"
      "::error file=src/a.xml,line=10,col=5::Element 'x' not expected [cvc-complex-type.2.4.a]\n"
      "::notice file=inc/b c.xml,line=1::Included: bad\n"
      "::notice file=x%2Cy%3Az.xml,line=5,col=6::Missing ','\n"
      "::error::orphan\n");
}

TEST(ErrReport, JSONParsesBackWithOneObjectPerErrorAndNullsForUnknowns) {
  const std::string text = WriteErrReport(Sources(), TyErrReportFormat::erfJSON);
  ASSERT_EQ(text.back(), '\n');
  const json parsed = json::parse(text);
  ASSERT_TRUE(parsed.is_array());
  ASSERT_EQ(parsed.size(), 7u);
  for (const json& item : parsed) {
    EXPECT_EQ(item.size(), 6u);
    for (const char* key : {"file", "line", "column", "severity", "message", "code"})
      EXPECT_TRUE(item.contains(key)) << key;
  }
  EXPECT_EQ(parsed[0], json::parse(R"({"file":"src/a.xml","line":null,"column":null,
      "severity":"fatal","message":"Document has no root","code":null})"));
  EXPECT_EQ(parsed[1]["message"], "\xC3\x9Cn\xC3\xAF \xF0\x9F\x98\x80 \"q\"\ttab");
  EXPECT_EQ(parsed[1]["severity"], "termination");
  EXPECT_EQ(parsed[1]["code"], "FORG0001");
  EXPECT_EQ(parsed[2]["message"], "Value 50%\r\nnext");
  EXPECT_EQ(parsed[2]["line"], 2);
  EXPECT_EQ(parsed[2]["column"], 3);
  EXPECT_EQ(parsed[4]["file"], "inc/b c.xml");
  EXPECT_EQ(parsed[4]["column"], nullptr);
  EXPECT_EQ(parsed[5]["severity"], "ok");
  EXPECT_EQ(parsed[6]["file"], "");

  // A document name that is not UTF-8 is replaced, not thrown over.
  const auto one = std::make_shared<CyXMLErrs>(
      u"", std::vector<IyXMLErrPtr>{Err(u"", 1, 1, u"m", u"", Sev::errError)});
  const json bad = json::parse(WriteErrReport({{"bad\xFF.xml", one}}, TyErrReportFormat::erfJSON));
  EXPECT_EQ(bad[0]["file"], "bad\xEF\xBF\xBD.xml");
  EXPECT_EQ(json::parse(WriteErrReport({}, TyErrReportFormat::erfJSON)), json::array());
}

TEST(ErrReport, SARIFIsAMinimalValidLogWithRulesLevelsAndRegions) {
  const json log = json::parse(WriteErrReport(Sources(), TyErrReportFormat::erfSARIF));
  EXPECT_EQ(log["version"], "2.1.0");
  EXPECT_NE(log["$schema"].get<std::string>().find("sarif-2.1.0"), std::string::npos);
  ASSERT_EQ(log["runs"].size(), 1u);
  const json& run = log["runs"][0];
  EXPECT_EQ(run["tool"]["driver"]["name"], "xylem");
  const json& results = run["results"];
  ASSERT_EQ(results.size(), 7u);

  struct Row {
    const char* ruleId;  // null: no ruleId
    const char* level;
    const char* uri;   // null: no locations
    int line, column;  // 0: left out
  };
  const Row rows[] = {
      {nullptr, "error", "src/a.xml", 0, 0},
      {"FORG0001", "error", "src/a.xml", 2, 1},
      {nullptr, "warning", "src/a.xml", 2, 3},
      {"cvc-complex-type.2.4.a", "error", "src/a.xml", 10, 5},
      {nullptr, "note", "inc/b%20c.xml", 1, 0},
      {nullptr, "note", "x,y%3Az.xml", 5, 6},
      {nullptr, "error", nullptr, 0, 0},
  };
  for (size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(i);
    const Row& row = rows[i];
    const json& result = results[i];
    EXPECT_EQ(result.contains("ruleId"), row.ruleId != nullptr);
    if (row.ruleId) {
      EXPECT_EQ(result["ruleId"], row.ruleId);
    }
    EXPECT_EQ(result["level"], row.level);
    EXPECT_TRUE(result["message"]["text"].is_string());
    ASSERT_EQ(result.contains("locations"), row.uri != nullptr);
    if (!row.uri) continue;
    const json& physical = result["locations"][0]["physicalLocation"];
    EXPECT_EQ(physical["artifactLocation"]["uri"], row.uri);
    ASSERT_EQ(physical.contains("region"), row.line != 0);
    if (!row.line) continue;
    EXPECT_EQ(physical["region"]["startLine"], row.line);
    EXPECT_EQ(physical["region"].contains("startColumn"), row.column != 0);
    if (row.column) {
      EXPECT_EQ(physical["region"]["startColumn"], row.column);
    }
  }
  EXPECT_EQ(results[2]["message"]["text"], "Value 50%\r\nnext");

  // Paths become URI references; documents that already are URIs stay as they are.
  const std::pair<const char*, const char*> uris[] = {
      {"file:///tmp/a.xml", "file:///tmp/a.xml"},
      {"https://host/x.xml?a=1", "https://host/x.xml?a=1"},
      {"100%.xml", "100%25.xml"},
      {"dir/\xC3\xBC.xml", "dir/%C3%BC.xml"},
      {"c:\\dir\\a.xml", "c%3A%5Cdir%5Ca.xml"},
      {"/abs/path.xml", "/abs/path.xml"},
  };
  const auto one = std::make_shared<CyXMLErrs>(
      u"", std::vector<IyXMLErrPtr>{Err(u"", 1, 1, u"m", u"", Sev::errError)});
  for (const auto& [document, uri] : uris) {
    const json parsed = json::parse(WriteErrReport({{document, one}}, TyErrReportFormat::erfSARIF));
    EXPECT_EQ(parsed["runs"][0]["results"][0]["locations"][0]["physicalLocation"]
                    ["artifactLocation"]["uri"],
              uri);
  }
}

// Reverses the workflow-command escaping of a message.
std::string UnescapeGitHub(const std::string& Text) {
  std::string plain;
  for (size_t i = 0; i < Text.size(); ++i) {
    if (Text[i] == '%' && i + 2 < Text.size()) {
      plain += static_cast<char>(std::stoi(Text.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      plain += Text[i];
    }
  }
  return plain;
}

TEST(ErrReport, AnyMessageSurvivesEveryFormatAsOneEntry) {
  // Messages of random code units, biased towards the characters each format must escape;
  // lone surrogates included.
  const char16_t alphabet[] = u"%\r\n:,\"\\\t\x01 a\u00E9\xD800\xDC00\uFFFF[]";
  std::mt19937 random(7);
  std::vector<IyXMLErrPtr> errors;
  for (int i = 0; i < 200; ++i) {
    std::u16string reason;
    for (size_t n = random() % 12; n > 0; --n)
      reason += alphabet[random() % (std::size(alphabet) - 1)];
    errors.push_back(Err(u"", i + 1, 1, reason, u"", Sev::errError));
  }
  const std::vector<TyErrReportSource> sources = {
      {"f.xml", std::make_shared<CyXMLErrs>(u"", errors)}};
  const json parsed = json::parse(WriteErrReport(sources, TyErrReportFormat::erfJSON));
  const json sarif = json::parse(WriteErrReport(sources, TyErrReportFormat::erfSARIF));
  const std::string gcc = WriteErrReport(sources, TyErrReportFormat::erfGcc);
  const std::string github = WriteErrReport(sources, TyErrReportFormat::erfGitHub);
  EXPECT_EQ(std::count(gcc.begin(), gcc.end(), '\n'), 200);
  EXPECT_EQ(std::count(gcc.begin(), gcc.end(), '\r'), 0);
  std::istringstream lines(github);
  std::string line;
  for (size_t i = 0; i < errors.size(); ++i) {
    const std::string reason = ToUTF8(errors[i]->getReason());
    EXPECT_EQ(parsed[i]["message"], reason) << i;
    EXPECT_EQ(sarif["runs"][0]["results"][i]["message"]["text"], reason) << i;
    ASSERT_TRUE(std::getline(lines, line));
    const std::string prefix = "::error file=f.xml,line=" + std::to_string(i + 1) + ",col=1::";
    ASSERT_EQ(line.compare(0, prefix.size(), prefix), 0) << line;
    EXPECT_EQ(UnescapeGitHub(line.substr(prefix.size())), reason) << i;
  }
  EXPECT_FALSE(std::getline(lines, line));
}

}  // namespace
}  // namespace xylem
