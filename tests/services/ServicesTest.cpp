#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "json/Memory.hpp"
#include "services/DocumentChecks.hpp"
#include "services/DocumentKind.hpp"
#include "services/XPathCheckerCachePool.hpp"
#include "text/TextList.hpp"

namespace xylem {
namespace {

std::unique_ptr<TxTextList> listOf(std::u16string_view Text) {
  auto list = std::make_unique<TxTextList>();
  list->LoadFromText__PARALLEL__(Text);
  return list;
}

TEST(DocumentKind, ExtensionFirstThenContent) {
  struct Row {
    const char* Path;
    std::u16string_view Text;
    TyDocumentKind Kind;
  } rows[] = {
      {"a.json", u"<r/>", TyDocumentKind::dkJSON},
      {"a.xsl", u"{}", TyDocumentKind::dkXSLT},
      {"a.dtd", u"<!ELEMENT a ANY>", TyDocumentKind::dkDTD},
      {"a", u"  [1]", TyDocumentKind::dkJSON},
      {"a.txt", u"hello", TyDocumentKind::dkText},
      {"a.xml", u"hello", TyDocumentKind::dkXML},
      {"a", u"\uFEFF<x:stylesheet xmlns:x='http://www.w3.org/1999/XSL/Transform'/>",
       TyDocumentKind::dkXSLT},
      {"a", u"<r xmlns:x='http://www.w3.org/1999/XSL/Transform'><x:stylesheet/></r>",
       TyDocumentKind::dkXML},
      // Blank: checked as XML (it has no root element) unless named otherwise.
      {"a", u"   ", TyDocumentKind::dkXML},
      {"a.xml", u"", TyDocumentKind::dkXML},
      {"a.txt", u" ", TyDocumentKind::dkText},
  };
  for (const Row& row : rows)
    EXPECT_EQ(DetectDocumentKind(row.Path, *listOf(row.Text)), row.Kind) << row.Path;
}

TEST(DocumentChecks, EachKindReportsThroughErrorRecords) {
  auto broken = listOf(u"<a>\n</b>");
  int64_t totalDelta = 0;
  EXPECT_TRUE(HasErrors(CheckXMLDocument(*broken, totalDelta)));
  auto fine = listOf(u"<a>\n</a>");
  EXPECT_FALSE(HasErrors(CheckXMLDocument(*fine, totalDelta)));
  EXPECT_EQ(totalDelta, 0);

  CyXPathCheckerCachePool pool;
  auto stylesheet = listOf(
      u"<xsl:stylesheet version='3.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>\n"
      u"<xsl:template match='a'><xsl:value-of select='1 +'/></xsl:template>\n"
      u"</xsl:stylesheet>");
  IyXMLErrsPtr xsltErrors = CheckXSLTDocument(*stylesheet, pool);
  ASSERT_EQ(xsltErrors->getCount(), 1);
  EXPECT_EQ(xsltErrors->getXMLErr(0)->getLocation()->getLine(), 2);

  const std::u16string json = u"{\"a\": [1,\n 2,]}";
  const CyJSONMemory memory = CyJSONMemory::FromString(json);
  IyXMLErrsPtr jsonErrors = CheckJSONDocument(memory);
  ASSERT_EQ(jsonErrors->getCount(), 1);
  EXPECT_EQ(jsonErrors->getXMLErr(0)->getLocation()->getLine(), 2);
}

// Caches are lent to one thread at a time and come back bounded, whatever the interleaving.
TEST(XPathCheckerCachePool, LeasesAreExclusiveAndBounded) {
  CyXPathCheckerCachePool pool(/*MaxItems=*/8);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&pool, t] {
      for (int round = 0; round < 50; ++round) {
        CyXPathCheckerCachePool::CyLease cache = pool.Acquire();
        for (int i = 0; i < 10; ++i) {
          const std::u16string expression = u"a + " + std::u16string(1, char16_t(u'0' + i));
          EXPECT_EQ((*cache).Find(expression, xprExpr).Run(), nullptr) << t;
        }
      }
    });
  for (std::thread& thread : threads) thread.join();
  CyXPathCheckerCachePool::CyLease cache = pool.Acquire();
  EXPECT_LE((*cache).getTotalCount(), 8u);
}

}  // namespace
}  // namespace xylem
