// The well-formedness check's fast line paths: which lines they take, that a declined line
// leaves the piece untouched, that their counts are the tokenizer's, and that a piece checked
// with them gives exactly what the token checks alone give.
#include "xml/check/RawXMLChecker.hpp"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "common/Utf.hpp"
#include "support/WellFormedTestSupport.hpp"
#include "xml/check/WellFormedPiece.hpp"
#include "xml/syntax/Tokenizer.hpp"

namespace xylem {
namespace {

using namespace wellformed;

std::string Dump(const TyPieceResult& R) {
  std::string out;
  for (const TyFinding& f : R.Findings)
    out += "finding " + std::to_string(f.Line) + ":" + std::to_string(f.Pos) + " " +
           ToUTF8(f.Reason) + "\n";
  for (const TyTagEvent& e : R.Events)
    out += "event " + std::to_string(static_cast<int>(e.Kind)) + " " + ToUTF8(e.Name) + " " +
           std::to_string(e.Line) + ":" + std::to_string(e.Pos) + "\n";
  for (const TyOpenTag& o : R.Open)
    out += "open " + ToUTF8(o.Name) + " " + std::to_string(o.Line) + ":" + std::to_string(o.Pos) +
           "\n";
  for (const TyEntityRef& r : R.References)
    out += "reference " + ToUTF8(r.Name) + " " + std::to_string(r.Line) + ":" +
           std::to_string(r.Pos) + (r.InAttribute ? " attribute" : "") + "\n";
  return out;
}

std::string DumpStack(const std::vector<TyOpenTag>& Stack) {
  std::string out;
  for (const TyOpenTag& o : Stack) out += ToUTF8(o.Name) + "@" + std::to_string(o.Pos) + " ";
  return out;
}

TEST(RawXMLCheckerTest, TakesTheCommonLinesWithTheTokenizersCountsAndDeclinesTheRest) {
  struct Row {
    const char* Line;  // checked with the elements r and a open
    bool Accepted;
    const char* Stack;  // the open elements after an accepted line
  };
  // clang-format off
  const Row rows[] = {
      {"", true, "r@1 a@2 "},
      {"<b>", true, "r@1 a@2 b@1 "},
      {"  <x:b c=\"1\" d = 'two'>text &amp; more</x:b>", true, "r@1 a@2 "},
      {"<e/><f g=\"&gt;&#10;\" h='\"'/>", true, "r@1 a@2 "},
      {"<!-- note --><![CDATA[ <raw> ]]><?pi body?><?p?>", true, "r@1 a@2 "},
      {"&#160;&e;<b>", true, "r@1 a@2 b@10 "},
      {"</a >", true, "r@1 "},
      {"</a></r><s>", true, "s@9 "},
      {"<\xC3\xA9 \xC3\xBC=\"1\">\xE4\xB8\xAD\xF0\x9F\x98\x80</\xC3\xA9>", true, "r@1 a@2 "},
      {"<!----><!-- - -->", true, "r@1 a@2 "},
      {"<b\ta=\"1\"\t/>", true, "r@1 a@2 "},
      // Left to the token checks: the line ends inside a construct ...
      {"<b", false, ""},
      {"text", false, ""},
      {"<b c=\"1>", false, ""},
      {"<!-- open", false, ""},
      {"<![CDATA[ open", false, ""},
      {"<?pi open", false, ""},
      // ... constructs it does not read ...
      {"<!DOCTYPE r>", false, ""},
      {"<?xml version=\"1.0\"?>", false, ""},
      {"<?xml-stylesheet href=\"s\"?>", false, ""},
      // ... and every fault, after any number of tags it already took.
      {"</a></r>]]>", false, ""},
      {"</a></r><b c=d>", false, ""},
      {"</b>", false, ""},
      {"<b c>", false, ""},
      {"<b c=\"1\" c=\"2\">", false, ""},
      {"<b c=\"1\"d=\"2\">", false, ""},
      {"<b c=\"<\">", false, ""},
      {"<b c=\"&x\">", false, ""},
      {"<b c=\"&#0;\">", false, ""},
      {"<1b>", false, ""},
      {"<b 1c=\"1\">", false, ""},
      {"< b>", false, ""},
      {"</>", false, ""},
      {"</a/>", false, ""},
      {"</a b>", false, ""},
      {"<b>&;</b>", false, ""},
      {"<b>&nope</b>", false, ""},
      {"<b>&#x110000;</b>", false, ""},
      {"<b>&#12a;</b>", false, ""},
      {"<!-- a -- b -->", false, ""},
      {"<!-- a --->", false, ""},
      {"<?XmL x?>", false, ""},
      {"<? x?>", false, ""},
      {"<b>\x01</b>", false, ""},
      {"<b>\xEF\xBF\xBE</b>", false, ""},
      {"<b/><!ELEMENT x ANY>", false, ""},
      // Characters are read in blocks: a pair across a block's end, a fault deep in the line.
      {"<b>0123456789012345678901234567\xF0\x9F\x98\x80</b>", true, "r@1 a@2 "},
      {"<b>0123456789012345678901234567890123456789012345678\x01</b>", false, ""},
      {"<b>0123456789012345678901234567\xF0\x9F\x98\x80\xEF\xBF\xBF</b>", false, ""},
  };
  // clang-format on
  for (const Row& row : rows) {
    SCOPED_TRACE(row.Line);
    const std::u16string line = ToUTF16(row.Line);
    std::vector<TyOpenTag> stack = {{u"r", 1, 1}, {u"a", 1, 2}};
    TyPieceResult out;
    out.Events.push_back({TyTagEventKind::tekStart, u"r", 1, 1});
    CyRawXMLChecker checker(stack, out);
    int32_t highest = -1;
    const bool accepted = checker.CheckLine(line, line.c_str(), 2, false, highest);
    ASSERT_EQ(accepted, row.Accepted);
    if (!accepted) {
      EXPECT_EQ(DumpStack(stack), "r@1 a@2 ");
      EXPECT_EQ(out.Events.size(), 1u);
      EXPECT_TRUE(out.References.empty());
      continue;
    }
    EXPECT_EQ(DumpStack(stack), row.Stack);
    int32_t delta, lowest, full;
    uint64_t g = kXMLDocumentGroupWord, s = kXMLDocumentSymbolWord;
    TxXMLParser parser;
    parser.ScanUntilEOL(line.c_str(), false, delta, lowest, full, g, s);
    EXPECT_EQ(delta, 0);
    EXPECT_EQ(lowest, 0);
    EXPECT_EQ(highest, full);
    EXPECT_EQ(g, kXMLDocumentGroupWord);
    EXPECT_EQ(s, kXMLDocumentSymbolWord);
  }
}

TEST(RawXMLCheckerTest, TakesTheLinesInsideCommentsAndCDATASections) {
  const TyXMLLineState comment{(kXMLDocumentGroupWord << 6) | 3, (kXMLDocumentSymbolWord << 6) | 5};
  const TyXMLLineState cdata{(kXMLDocumentGroupWord << 6) | 2, (kXMLDocumentSymbolWord << 6) | 5};
  struct Row {
    const TyXMLLineState* Start;
    const char* Line;
    bool Taken;
  };
  const Row rows[] = {
      {&comment, "  plain text <a> & ]]> -", true},
      {&comment, "", true},
      {&comment, "a -- b", false},   // a fault
      {&comment, "end -->", false},  // the comment ends
      {&comment, "\x01", false},
      {&cdata, "  <x> & ]] > - -- ", true},
      {&cdata, "]]>", false},
      {&cdata, "\xEF\xBF\xBF", false},
      {nullptr, "text", false},  // at document level
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.Line);
    const std::u16string line = ToUTF16(row.Line);
    const TyXMLLineState start = row.Start ? *row.Start : TyXMLLineState{};
    ASSERT_EQ(CyRawXMLChecker::CheckInsideSection(line, start), row.Taken);
    if (!row.Taken) continue;
    int32_t delta, lowest, highest;
    uint64_t g = start.StackG, s = start.StackS;
    TxXMLParser parser;
    parser.ScanUntilEOL(line.c_str(), false, delta, lowest, highest, g, s);
    EXPECT_EQ(std::make_tuple(delta, lowest, highest, g, s),
              std::make_tuple(0, 0, 0, start.StackG, start.StackS));
  }
}

// Documents that are mostly well-formed, one or more constructs per line, with faults and
// multi-line constructs sprinkled in, so that many lines take the fast path and many do not.
std::string RandomDocument(std::mt19937& Random) {
  static const char* const kNames[] = {"a", "x:b", "\xC3\xA9", "\xE4\xB8\xAD", "c-d.e"};
  static const char* const kGood[] = {"text",
                                      " ",
                                      "&amp;",
                                      "&lt;x&gt;",
                                      "&#65;",
                                      "&#x1F600;",
                                      "&e;",
                                      "&undeclared;",
                                      "<!-- c -->",
                                      "<![CDATA[ <x> ]]>",
                                      "<?pi data?>",
                                      "<e/>",
                                      "<f g=\"&amp;\" h='&#10;'/>",
                                      "\xF0\x9F\x98\x80",
                                      "\t",
                                      "<g a = \"1\"\tb='&e;'/>",
                                      "<!--\n  a comment - line\n-->",
                                      "<![CDATA[\n  <x> & ]] y\n]]>"};
  static const char* const kFaults[] = {"<1a>",
                                        "]]>",
                                        "&nope",
                                        "&#0;",
                                        "&#x110000;",
                                        "<!-- a -- b -->",
                                        "<!-- a --->",
                                        "<?xml v?>",
                                        "<?XML x?>",
                                        "<? x?>",
                                        "\x01",
                                        "\xEF\xBF\xBE",
                                        "<a b=c>",
                                        "<a b>",
                                        "<a b=\"1\" b=\"2\">",
                                        "<a b=\"1\"c=\"2\">",
                                        "<a b=\"<\">",
                                        "<a b=\"&x\">",
                                        "< a>",
                                        "</>",
                                        "</a/>",
                                        "</a b>",
                                        "&;",
                                        "<!DOCTYPE r>",
                                        "<![CDATA[",
                                        "<!--",
                                        "-->",
                                        "<a\n b='1'>",
                                        "\"",
                                        "<?pi",
                                        "?>",
                                        "text\n",
                                        "<a b=\"\n\">",
                                        "</zz>",
                                        "<r/>",
                                        "<!--\na -- b\n-->",
                                        "<!--\nx -\n-\n->",
                                        "<![CDATA[\n]]>]]>\n",
                                        "<!--\n\x01\n-->"};
  std::string doc;
  if (Random() % 2) doc += "<?xml version=\"1.0\"?>\n<!DOCTYPE r [\n<!ENTITY e \"v\">\n]>\n";
  std::vector<std::string> open;
  const int lines = 10 + static_cast<int>(Random() % 40);
  for (int line = 0; line < lines; ++line) {
    doc += std::string(Random() % 4, ' ');
    const int parts = 1 + static_cast<int>(Random() % 4);
    for (int k = 0; k < parts; ++k) {
      const unsigned pick = Random() % 20;
      if (pick < 6 || open.empty()) {
        const std::string name = kNames[Random() % std::size(kNames)];
        doc += "<" + name + (Random() % 2 ? " k=\"v\"" : "") + ">";
        open.push_back(name);
      } else if (pick < 11) {
        doc += "</" + open.back() + ">";
        open.pop_back();
      } else if (pick < 18) {
        doc += kGood[Random() % std::size(kGood)];
      } else {
        doc += kFaults[Random() % std::size(kFaults)];
      }
    }
    // Most lines end in markup, so that the next one begins at document level.
    if (Random() % 5 != 0) doc += "<e/>";
    doc += "\n";
  }
  while (!open.empty() && Random() % 8 != 0) {
    doc += "</" + open.back() + ">";
    open.pop_back();
  }
  return doc;
}

TEST(RawXMLCheckerTest, PiecesGiveWhatTheTokenChecksAloneGive) {
  std::mt19937 random(7);
  int taken = 0, atDocumentLevel = 0;
  for (int round = 0; round < 150; ++round) {
    const std::string doc = RandomDocument(random);
    SCOPED_TRACE(doc);
    auto list = test::LinesWithStates(doc);
    const int64_t count = list->getCount();
    for (int64_t line = 1; line <= count; ++line) {
      const TxItem& item = *list->getItems(line);
      if (static_cast<uint64_t>(item.StackG) != kXMLDocumentGroupWord ||
          static_cast<uint64_t>(item.StackS) != kXMLDocumentSymbolWord)
        continue;
      ++atDocumentLevel;
      std::vector<TyOpenTag> stack;
      TyPieceResult scratch;
      int32_t highest;
      taken +=
          CyRawXMLChecker(stack, scratch)
              .CheckLine(item.TextUTF16.getView(), item.TextUTF16.getText(), line, false, highest);
    }
    // The whole document and a few pieces that begin anywhere, inside constructs too.
    std::vector<std::pair<int64_t, int64_t>> ranges = {{1, count}};
    for (int i = 0; i < 4; ++i) {
      const int64_t first = 1 + static_cast<int64_t>(random() % count);
      ranges.push_back({first, 1 + static_cast<int64_t>(random() % (count - first + 1))});
    }
    for (const auto& [first, lines] : ranges) {
      TyPieceResult fast, tokens;
      TyPieceOptions tokensOnly;
      tokensOnly.FastPath = false;
      CheckPiece(*list, first, lines, fast);
      CheckPiece(*list, first, lines, tokens, tokensOnly);
      ASSERT_EQ(Dump(fast), Dump(tokens)) << "lines " << first << " +" << lines;
    }
  }
  // The comparison says little unless the fast path takes many lines.
  EXPECT_GT(taken, atDocumentLevel / 4);
}

}  // namespace
}  // namespace xylem
