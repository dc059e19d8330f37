// Fold ranges on annotated documents: each row lists the ranges it expects as
// "kind first-last", in the order FoldRanges gives them.
#include "xml/lines/Folding.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/WellFormedTestSupport.hpp"

namespace xylem {
namespace {

std::string KindName(TyXMLFoldKind Kind) {
  switch (Kind) {
    case TyXMLFoldKind::fkElement:
      return "element";
    case TyXMLFoldKind::fkTag:
      return "tag";
    case TyXMLFoldKind::fkAttributeValue:
      return "value";
    case TyXMLFoldKind::fkComment:
      return "comment";
    case TyXMLFoldKind::fkCDATA:
      return "cdata";
    case TyXMLFoldKind::fkPI:
      return "pi";
    case TyXMLFoldKind::fkDoctype:
      return "doctype";
  }
  return "?";
}

std::vector<std::string> Ranges(const std::string& Document) {
  auto list = test::LinesWithStates(Document);
  std::vector<std::string> out;
  for (const TyXMLFoldRange& r : CyXMLFolding::FoldRanges(*list))
    out.push_back(KindName(r.Kind) + " " + std::to_string(r.FirstLine) + "-" +
                  std::to_string(r.LastLine));
  return out;
}

TEST(FoldingTest, AnnotatedDocuments) {
  struct TyRow {
    const char* Document;
    std::vector<std::string> Expected;
  };
  const TyRow rows[] = {
      {"<r/>", {}},
      {"<r>x</r>", {}},
      {"<r>\n"         // 1  element 1-4
       "  <a>x</a>\n"  // 2
       "  <b/>\n"      // 3
       "</r>",         // 4
       {"element 1-4"}},
      {"<r>\n"       // 1  element 1-6
       "  <a>\n"     // 2  element 2-5
       "    <b>\n"   // 3  element 3-4
       "    </b>\n"  // 4
       "  </a>\n"    // 5
       "</r>\n",     // 6
       {"element 1-6", "element 2-5", "element 3-4"}},
      {"<!--\n"          // 1  comment 1-3
       " note\n"         // 2
       "-->\n"           // 3
       "<r><![CDATA[\n"  // 4  element 4-7, cdata 4-5
       "]]><?pi\n"       // 5  pi 5-6
       "?>\n"            // 6
       "</r>",           // 7
       {"comment 1-3", "element 4-7", "cdata 4-5", "pi 5-6"}},
      {"<r\n"         // 1  tag 1-4, element 1-5
       "  a=\"1\"\n"  // 2
       "  b=\"x\n"    // 3  value 3-4
       "y\">\n"       // 4
       "</r\n"        // 5  tag 5-6
       ">",           // 6
       {"element 1-5", "tag 1-4", "value 3-4", "tag 5-6"}},
      {"<!DOCTYPE r [\n"  // 1  doctype 1-4
       "<!--\n"           // 2
       "-->\n"            // 3
       "]>\n"             // 4
       "<r/>",
       {"doctype 1-4"}},
      {"<r>\n"      // 1  element 1-3 (the mismatched end tag still closes it)
       "<a>\n"      // 2  element 2-3
       "</b></r>",  // 3
       {"element 1-3", "element 2-3"}},
      {"<r>\n"  // unclosed comment: folds to the end of the document
       "<!--\n"
       "x",
       {"comment 2-3"}},
      {"<?xml version=\"1.0\"\n"  // 1  pi 1-2
       "?>\n"
       "<r>\n\n\n</r>",  // 3  element 3-6
       {"pi 1-2", "element 3-6"}},
      {"<r>\n<a b=1\nc=\"x\ny\">\n</r>",  // an unquoted value before a multi-line one; </r> closes
                                          // a
       {"element 2-5", "tag 2-4", "value 3-4"}},
  };
  for (const TyRow& row : rows) {
    SCOPED_TRACE(row.Document);
    EXPECT_EQ(Ranges(row.Document), row.Expected);
  }
}

}  // namespace
}  // namespace xylem
