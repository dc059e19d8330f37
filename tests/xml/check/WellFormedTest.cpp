// The well-formedness check against libxml2 (verdict and first error line), its messages, its
// independence from the piece count, and its cap on huge broken documents.
#include "xml/check/WellFormed.hpp"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "common/Progress.hpp"
#include "common/Utf.hpp"
#include "support/WellFormedTestSupport.hpp"

namespace xylem {
namespace {

struct TyRow {
  const char* Document;
  bool WellFormed;
  int FirstLine;  // line of the first error, compared with ours and libxml2's; 0: not compared
};

// clang-format off
const TyRow kRows[] = {
    // Well-formed.
    {"<r/>", true, 0},
    {"<?xml version=\"1.0\"?>\n<r/>", true, 0},
    {"<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?><r/>", true, 0},
    {"<r>text</r>", true, 0},
    {"<r a=\"1\" b='2'/>", true, 0},
    {"<r>\n  <a>x</a>\n  <b/>\n</r>\n", true, 0},
    {"<!-- c -->\n<r/>\n<!-- d -->", true, 0},
    {"<?pi data?><r/><?pi2?>", true, 0},
    {"<r><![CDATA[<not a tag> ]] >]]></r>", true, 0},
    {"<r>&amp;&lt;&gt;&quot;&apos;</r>", true, 0},
    {"<r>&#65;&#x42;&#x1F600;</r>", true, 0},
    {"<!DOCTYPE r [<!ENTITY e \"x\">]>\n<r>&e;</r>", true, 0},
    {"<!DOCTYPE r [\n<!ENTITY e \"x\">\n<!ELEMENT r ANY>\n]>\n<r a=\"&e;\">&e;</r>", true, 0},
    {"<!DOCTYPE r SYSTEM \"r.dtd\">\n<r>&undeclared;</r>", true, 0},
    {"<r\n  a=\"1\"\n  b=\"2\"\n>\n</r>", true, 0},
    {"<r a=\"multi\nline\"/>", true, 0},
    {"<!--\nmulti\nline\n-->\n<r/>", true, 0},
    {"<r><![CDATA[\nx\n]]></r>", true, 0},
    {"<a:b xmlns:a=\"u\"/>", true, 0},
    {"<r>\xC3\xA9\xE4\xB8\xAD</r>", true, 0},
    {"<r xml:lang=\"en\"/>", true, 0},
    {"<r><a/><a/><a/></r>", true, 0},
    {"<r>a]]b</r>", true, 0},
    {"<r>]]&gt;</r>", true, 0},
    {"<r>  </r>\n\n", true, 0},
    {"\n\n<r/>", true, 0},
    {"<r a=\"x&amp;y&#10;\"/>", true, 0},
    {"<!DOCTYPE r>\n<r/>", true, 0},
    {"<r><!----></r>", true, 0},
    {"<r><!-- - --></r>", true, 0},
    {"<r><?target with ? inside?></r>", true, 0},
    {"<r>\t</r>", true, 0},
    {"<r a = \"1\"/>", true, 0},
    {"<_x-y.z/>", true, 0},
    {"<r></r >", true, 0},
    {"<r><x:y xmlns:x=\"u\"></x:y></r>", true, 0},
    {"<?xml version=\"1.0\"?><!DOCTYPE r [<!ENTITY % p \"x\">]><r/>", true, 0},
    {"<!DOCTYPE r PUBLIC \"-//x//y\" \"r.dtd\"><r/>", true, 0},
    {"<r>&#xD7FF;&#xE000;&#xFFFD;&#x10FFFF;</r>", true, 0},
    {"<r><?xml-stylesheet href=\"a\"?></r>", true, 0},
    {"<?xml-stylesheet href=\"a.xsl\" type=\"text/xsl\"?>\n<r/>", true, 0},
    {"<r>x</r>\n<!-- trailing -->\n<?pi?>\n", true, 0},
    {"<r a=\"'\"/>", true, 0},
    {"<r a='\"'/>", true, 0},
    {"<r>\n<![CDATA[]]>\n</r>", true, 0},
    {"<r>a > b</r>", true, 0},
    {"<r a=\">\"/>", true, 0},
    {"<r><a><b><c/></b></a></r>", true, 0},
    {"<!DOCTYPE r [\n<!ATTLIST r a CDATA \"d\">\n]>\n<r/>", true, 0},
    {"<r>&#9;&#10;&#13;</r>", true, 0},
    {"<p:r/>", true, 0},
    {"<r\n/>", true, 0},
    {"<r>\n<!-- a\n - b\n-->\n</r>", true, 0},
    {"<r a=\"1\"\tb=\"2\"/>", true, 0},
    {"<r><a:b xmlns:a=\"u\" a:c=\"1\" d=\"2\"/></r>", true, 0},
    {"<!DOCTYPE r [<!ENTITY a \"1\"><!ENTITY b \"2\">]><r>&a;&b;<x y=\"&b;\"/></r>", true, 0},
    {"<r>\xF0\x9F\x98\x80</r>", true, 0},
    // Not well-formed.
    {"", false, 1},
    {"   \n  ", false, 0},
    {"<!-- only a comment -->", false, 1},
    {"<r>", false, 0},
    {"<r><a></r>", false, 1},
    {"<r>\n<a>\n</b>\n</r>", false, 3},
    {"</r>", false, 1},
    {"<r/><s/>", false, 1},
    {"<r/>\n<s/>", false, 2},
    {"text<r/>", false, 1},
    {"<r/>\ntext", false, 2},
    {"<r a=\"1\" a=\"2\"/>", false, 1},
    {"<r a=\"1\"\n a=\"2\"/>", false, 2},
    {"<1r/>", false, 1},
    {"<r 1a=\"x\"/>", false, 1},
    {"<r>\x01</r>", false, 1},
    {"<r>&#0;</r>", false, 1},
    {"<r>&#xFFFE;</r>", false, 1},
    {"<r>&#xD800;</r>", false, 1},
    {"<r>&#x110000;</r>", false, 1},
    {"<r>&#12a;</r>", false, 1},
    {"<r>&#x;</r>", false, 1},
    {"<r>&#65</r>", false, 1},
    {"<r><!-- a -- b --></r>", false, 1},
    {"<r><!-- a ---></r>", false, 1},
    {"<r>a]]>b</r>", false, 1},
    {"<r/>\n<?xml version=\"1.0\"?>", false, 2},
    {" <?xml version=\"1.0\"?><r/>", false, 1},
    {"<r>&undeclared;</r>", false, 1},
    {"<!DOCTYPE r [<!ENTITY e \"x\">]><r>&f;</r>", false, 1},
    {"<r a=\"&nope;\"/>", false, 1},
    {"<r a=\"<\"/>", false, 1},
    {"<r a=1/>", false, 1},
    {"<r a/>", false, 1},
    {"<r a=\"1\"b=\"2\"/>", false, 1},
    {"<r><a x=\"1></a></r>", false, 0},
    {"<r><!-- unclosed</r>", false, 0},
    {"<r><![CDATA[ unclosed</r>", false, 0},
    {"<r><?pi unclosed</r>", false, 0},
    {"<r><a</r>", false, 1},
    {"<r><a></a b></r>", false, 1},
    {"<r>& x</r>", false, 1},
    {"<r>&amp</r>", false, 1},
    {"<r><?" "?></r>", false, 1},
    {"<r><?xml version=\"1.0\"?></r>", false, 1},
    {"<r><?XML foo?></r>", false, 1},
    {"<!DOCTYPE r><!DOCTYPE r><r/>", false, 1},
    {"<r/><!DOCTYPE r>", false, 1},
    {"<r><!DOCTYPE r></r>", false, 1},
    {"<r><![CDATA[x]]></r><![CDATA[y]]>", false, 1},
    {"<r/>&amp;", false, 1},
    {"<r></r/>", false, 1},
    {"< r/>", false, 1},
    {"<r>\n</r>\n</r>", false, 3},
    {"<?xml version=\"1.0\"?>\n<?xml version=\"1.0\"?>\n<r/>", false, 2},
    {"<?xml encoding=\"UTF-8\"?><r/>", false, 1},
    {"<r><a></a></b></r>", false, 1},
    {"<a><b></a></b>", false, 1},
    {"<r>\xEF\xBF\xBE</r>", false, 1},
    {"<r a=\"&#1;\"/>", false, 1},
    {"<r>&#x41</r>", false, 1},
    {"<r>text", false, 0},
    {"<r><a>\n</r>", false, 0},
    {"<r>&lt;&;</r>", false, 1},
    {"<r>\n<a b=\"1\" b=\"1\"/>\n</r>", false, 2},
    {"<r>\n<!-- ok -->\n<x>\x0B</x>\n</r>", false, 3},
    {"<r>\n\n\n</q>", false, 4},
};
// clang-format on

std::string Show(const IyXMLErrs& Errs) {
  std::string out;
  for (int32_t i = 0; i < Errs.getCount(); ++i) {
    const IyXMLErr& e = *Errs.getXMLErr(i);
    out += std::to_string(e.getLocation()->getLine()) + ":" +
           std::to_string(e.getLocation()->getLinepos()) + " " + ToUTF8(e.getReason()) + "\n";
  }
  return out;
}

TEST(WellFormedTest, AgreesWithLibXml2) {
  int wellFormed = 0;
  for (const TyRow& row : kRows) {
    SCOPED_TRACE(std::string("document: ") + row.Document);
    const test::TyLibXml2Verdict libxml = test::LibXml2Verdict(row.Document);
    EXPECT_EQ(libxml.WellFormed, row.WellFormed) << "libxml2 line " << libxml.FirstErrorLine;
    auto list = test::LinesWithStates(row.Document);
    const IyXMLErrsPtr errs = CyXMLWellFormed::Check_NOT_PARALLEL(*list);
    EXPECT_EQ(errs->getCount() == 0, row.WellFormed) << Show(*errs);
    if (row.FirstLine > 0 && errs->getCount() > 0) {
      EXPECT_EQ(errs->getXMLErr(0)->getLocation()->getLine(), row.FirstLine) << Show(*errs);
      EXPECT_EQ(libxml.FirstErrorLine, row.FirstLine);
    }
    wellFormed += row.WellFormed;
  }
  EXPECT_GE(std::size(kRows), 100u);
  EXPECT_GE(wellFormed, 40);
}

// Each expected error is marked in the document by "^" on the line below the faulty one,
// under the column of the error; the marker lines are removed before checking.
struct TyAnnotated {
  const char* Document;
  std::vector<std::string> Messages;  // in order of position
};

TEST(WellFormedTest, MessagesAndPositions) {
  const TyAnnotated cases[] = {
      {"<list>\n"
       "  <item>a</item>\n"
       "  <item>b</item>\n"
       "  <itemm>c</item>\n"
       "          ^\n"
       "</list>",
       {"End tag 'item' does not match start tag 'itemm' (line 4)."}},
      {"<r a=\"1\" a=\"2\">&nope;</r>\n"
       "         ^     ^\n",
       {"Attribute 'a' is given twice in element 'r'.", "Entity 'nope' is not declared."}},
      {"<r>\n"
       "<!-- a -- b -->&#1;</r>\n"
       "       ^       ^\n"
       "<s/>\n"
       "^\n",
       {"The sequence '--' is not allowed in comments.",
        "Character reference '&#1;' refers to a character that XML 1.0 forbids.",
        "Element 's' is a second root element; a document has only one."}},
      {"<r>\n"
       " </a>\n"
       " ^\n"
       "<?xml version=\"1.0\"?></r>\n"
       "^                    ^\n",
       {"End tag 'a' does not match start tag 'r' (line 1).",
        "The XML declaration is allowed only at the very start of the document.",
        "End tag 'r' has no matching start tag."}},
      {"x<r>]]></r>\n"
       "^   ^\n",
       {"Text is not allowed before the root element.",
        "The sequence ']]>' is not allowed in character data."}},
  };
  for (const TyAnnotated& c : cases) {
    SCOPED_TRACE(c.Document);
    std::string text;
    std::vector<std::pair<int, int>> marks;
    int line = 0;
    size_t start = 0;
    const std::string doc = c.Document;
    while (start <= doc.size()) {
      size_t end = doc.find('\n', start);
      if (end == std::string::npos) end = doc.size();
      const std::string l = doc.substr(start, end - start);
      if (l.find_first_not_of(" ^") == std::string::npos && l.find('^') != std::string::npos) {
        for (size_t i = 0; i < l.size(); ++i)
          if (l[i] == '^') marks.push_back({line, static_cast<int>(i + 1)});
      } else if (end < doc.size() || !l.empty()) {
        text += (line ? "\n" : "") + l;
        ++line;
      }
      start = end + 1;
    }
    auto list = test::LinesWithStates(text);
    const IyXMLErrsPtr errs = CyXMLWellFormed::Check_NOT_PARALLEL(*list);
    ASSERT_EQ(marks.size(), c.Messages.size());
    ASSERT_EQ(errs->getCount(), static_cast<int32_t>(c.Messages.size())) << Show(*errs);
    for (size_t i = 0; i < c.Messages.size(); ++i) {
      const IyXMLErr& e = *errs->getXMLErr(static_cast<int32_t>(i));
      EXPECT_EQ(ToUTF8(e.getReason()), c.Messages[i]);
      EXPECT_EQ(e.getLocation()->getLine(), marks[i].first);
      EXPECT_EQ(e.getLocation()->getLinepos(), marks[i].second);
      EXPECT_EQ(e.getSeverity(), TyXMLErrSeverity::errError);
    }
  }
}

// All rows of the table on consecutive lines (a many-rooted, many-faulted document) and a
// document whose multi-line constructs straddle piece boundaries.
std::vector<std::string> PieceDocuments() {
  std::string all;
  for (const TyRow& row : kRows) all += std::string(row.Document) + "\n";
  std::string straddling = "<?xml version=\"1.0\"?>\n<root>\n";
  for (int i = 0; i < 12; ++i)
    straddling += "<a\n x=\"" + std::to_string(i) + "\"\n y='multi\nline'>\n<!--\n -- \n-->" +
                  (i % 3 == 0 ? "</b>" : "</a>") + "\n<![CDATA[\n]]>\n";
  straddling += "</root>\n<extra>\n<x y=\"1\" y=\"2\">";
  return {all,
          straddling,
          "<r>\n</r>\n</r>\n</r>\n<a>\n<b>\n<c>\n",
          "<r>\n<a b=1 b=2>\n</c>\n&x; ]]> <!-- -- -->\n<?xml?>\n<s/>\n</r",
          "oa>>\n'<r>\n<!-- oa>>\n'",
          "<?\xEF\xBF\xBDml version=\"1.0\"?>\n<!DOCTYPE r [<!ENTITY e \"x\">]>\n<r a= "
          "a=\"1\">\n<!--\nc\n"
          "-->\"1\">\n<!--\nc\n-->&e;<![C'DATA[\n]Y>\n<a\n b=\"x\ny\xEF\xBF\xBD/>\n</r>\n"};
}

TEST(WellFormedTest, PieceCountDoesNotChangeTheErrors) {
  for (const std::string& doc : PieceDocuments()) {
    auto list = test::LinesWithStates(doc);
    const std::string sequential = Show(*CyXMLWellFormed::Check_NOT_PARALLEL(*list));
    EXPECT_FALSE(sequential.empty());
    for (int pieces : {2, 3, 8})
      EXPECT_EQ(Show(*CyXMLWellFormed::Check_PARALLEL(*list, pieces)), sequential)
          << pieces << " pieces";
  }
}

// Storing the states while checking leaves the states of the sequential scan, the sum of the
// line deltas and the errors of the check over stored states, whatever the piece count; pieces
// cut inside multi-line constructs are checked again. Progress ends with every line done.
TEST(WellFormedTest, StoringStatesWhileCheckingChangesNothingInTheResult) {
  std::vector<std::string> docs = PieceDocuments();
  for (const TyRow& row : kRows) docs.push_back(row.Document);
  // Long enough for pieces of several parts: multi-line comments full of tags, which a piece
  // that starts inside one reads as tags until the repair, and faults on both sides of them.
  std::string parts = "<r>\n";
  for (int line = 0; line < 400; ++line) {
    if (line % 37 == 5) parts += "<!--\n<a>\n</b> -- \n<c x='1\n-->\n";
    parts += line % 23 == 0 ? "<a b=1></c>\n" : "<a x=\"" + std::to_string(line) + "\">t</a>\n";
  }
  docs.push_back(parts + "</r>\n");
  for (const std::string& doc : docs) {
    SCOPED_TRACE(doc);
    auto reference = test::LinesWithStates(doc);
    const std::string errors = Show(*CyXMLWellFormed::Check_NOT_PARALLEL(*reference));
    const int64_t lines = reference->getCount();
    for (int pieces : {1, 2, 3, 5, 8}) {
      TxTextList list;
      list.LoadFromText__PARALLEL__(ToUTF16(doc), 1);
      int64_t total = -1;
      CyProgressCounter counter;
      TyJobContext job;
      job.Progress = &counter;
      EXPECT_EQ(Show(*CyXMLWellFormed::StoreLineStatesAndCheck_PARALLEL(list, total, pieces, job)),
                errors)
          << pieces << " pieces";
      int64_t sum = 0;
      for (int64_t line = 1; line <= lines; ++line) {
        const TxItem& a = *list.getItems(line);
        const TxItem& b = *reference->getItems(line);
        ASSERT_EQ(std::make_tuple(a.StackG, a.StackS, a.Delta, a.DeltaMin, a.DeltaMax),
                  std::make_tuple(b.StackG, b.StackS, b.Delta, b.DeltaMin, b.DeltaMax))
            << "line " << line << ", " << pieces << " pieces";
        sum += a.Delta;
      }
      EXPECT_EQ(total, sum);
      const TyProgressSnapshot progress = counter.Snapshot();
      EXPECT_STREQ(progress.Stage, "Checking");
      EXPECT_EQ(progress.Done, static_cast<uint64_t>(lines));
      EXPECT_EQ(progress.Total, static_cast<uint64_t>(lines));
    }
  }
}

// Past the cap nothing more is reported, but the tags are still matched: elements closed after
// the thousandth error are not reported as unclosed, whatever the pieces.
TEST(WellFormedTest, TagsClosedAfterTheCapAreMatched) {
  std::string doc = "<r>\n<s>\n";
  for (int i = 0; i < 3000; ++i) doc += "<a b=1/>\n";
  doc += "</s>\n</r>\n";
  auto list = test::LinesWithStates(doc);
  const std::string sequential = Show(*CyXMLWellFormed::Check_NOT_PARALLEL(*list));
  EXPECT_EQ(sequential.find("no matching end tag"), std::string::npos);
  for (int pieces : {2, 3}) {
    EXPECT_EQ(Show(*CyXMLWellFormed::Check_PARALLEL(*list, pieces)), sequential);
    TxTextList fresh;
    fresh.LoadFromText__PARALLEL__(ToUTF16(doc), 1);
    int64_t total = 0;
    EXPECT_EQ(Show(*CyXMLWellFormed::StoreLineStatesAndCheck_PARALLEL(fresh, total, pieces)),
              sequential);
  }
}

TEST(WellFormedTest, HugeBrokenDocumentKeepsTheFirstErrors) {
  std::string doc = "<r>\n";
  for (int i = 0; i < 3000; ++i) doc += "<a b=1></c>\n";
  auto list = test::LinesWithStates(doc);
  for (int pieces : {1, 3}) {
    const IyXMLErrsPtr errs = CyXMLWellFormed::Check_PARALLEL(*list, pieces);
    ASSERT_EQ(errs->getCount(), CyXMLWellFormed::kMaxErrors);
    EXPECT_EQ(ToUTF8(errs->getXMLErr(0)->getReason()), "Start tag 'r' has no matching end tag.");
    EXPECT_EQ(ToUTF8(errs->getXMLErr(1)->getReason()),
              "The value of attribute 'b' must be quoted.");
    EXPECT_EQ(errs->getXMLErr(1)->getLocation()->getLine(), 2);
    EXPECT_LT(errs->getXMLErr(CyXMLWellFormed::kMaxErrors - 1)->getLocation()->getLine(), 1000);
    // Storing states while checking goes on storing them after the last error it can keep.
    TxTextList fresh;
    fresh.LoadFromText__PARALLEL__(ToUTF16(doc), 1);
    int64_t total = 0;
    EXPECT_EQ(Show(*CyXMLWellFormed::StoreLineStatesAndCheck_PARALLEL(fresh, total, pieces)),
              Show(*errs));
    for (int64_t line = 1; line <= list->getCount(); ++line) {
      const TxItem& a = *fresh.getItems(line);
      const TxItem& b = *list->getItems(line);
      ASSERT_EQ(std::make_tuple(a.StackG, a.StackS, a.Delta, a.DeltaMax),
                std::make_tuple(b.StackG, b.StackS, b.Delta, b.DeltaMax))
          << line;
    }
  }
}

}  // namespace
}  // namespace xylem
