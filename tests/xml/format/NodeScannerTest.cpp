// The scanner's fast path hands its sink exactly the nodes and refusals the tokenizer alone
// gives: on varied documents, on documents cut into awkward fragments, and on every one of
// them with a character deleted or doubled somewhere.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "support/FormatterTestSupport.hpp"
#include "support/ScannerEventLog.hpp"

namespace xylem {

namespace {

using test::ScannerEventLog;

void ExpectSameEvents(const std::string& Doc) {
  ASSERT_EQ(ScannerEventLog(Doc, true), ScannerEventLog(Doc, false)) << Doc;
}

}  // namespace

TEST(NodeScanner, FastPathGivesTheTokenizersNodesAndRefusals) {
  std::vector<std::string> docs = test::VariedDocuments();
  docs.push_back(
      "<r>\n  <x:p sku=\"P-1\" st='c' >\n <l k=\"a\">a &amp; b &#x2192; c &e;</l><e/><f a=\"1\" />"
      "<!-- c --><![CDATA[x]]><?pi d?><g a=\"1\"b='2'/><h a = \"1\"/><i a=\"<>\"/></r>\n");
  docs.push_back("<r><a x=\"1\" xml:space=\"preserve\"> <b/> </a><c y=\"</c>\">t</c ></r>");
  docs.push_back("<r>]]> &bad &#; &x;y <a/b/> <!-- -- --> <![CDATA[]]]]></r>");
  std::mt19937 random(3);
  for (int i = 0; i < 40; ++i) docs.push_back(test::RandomFragmentDocument(random, 3 + i % 12));
  for (const std::string& doc : docs) {
    ExpectSameEvents(doc);
    for (int i = 0; i < 12; ++i) ExpectSameEvents(test::BrokenCopy(doc, random, i));
  }
}

}  // namespace xylem
