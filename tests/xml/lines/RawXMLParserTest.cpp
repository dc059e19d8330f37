#include "xml/lines/RawXMLParser.hpp"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "common/Utf.hpp"
#include "support/LineStateTestSupport.hpp"
#include "xml/syntax/Tokenizer.hpp"

namespace xylem {
namespace {

struct TyCounts {
  int32_t Delta = 0, Lowest = 0, Highest = 0;
  bool operator==(const TyCounts&) const = default;
};

// Whenever the fast scan answers, the tokenizer from the document level agrees on the counts
// and ends at the document level, with or without the end-of-input flag.
bool AgreesWithTokenizer(const std::u16string& Line, bool& Accepted) {
  TyCounts fast;
  Accepted = CyRawXMLParser::ParseXML(Line.c_str(), fast.Delta, fast.Lowest, fast.Highest);
  if (!Accepted) return true;
  for (bool atEnd : {false, true}) {
    TyCounts full;
    uint64_t g = kXMLDocumentGroupWord, s = kXMLDocumentSymbolWord;
    TxXMLParser parser;
    parser.ScanUntilEOL(Line.c_str(), atEnd, full.Delta, full.Lowest, full.Highest, g, s);
    if (!(full == fast) || g != kXMLDocumentGroupWord || s != kXMLDocumentSymbolWord) return false;
  }
  return true;
}

TEST(RawXMLParserTest, AcceptsTheCommonLinesAndDeclinesTheRest) {
  struct Row {
    const char* Line;
    bool Accepted;
  };
  const Row rows[] = {
      {"", true},
      {"<a>", true},
      {"  <x:a b=\"1\" c = 'two'>text &amp; more</x:a>", true},
      {"<e/><f g=\"<>\"/>", true},
      {"<?xml version=\"1.0\" encoding=\"UTF-8\"?>", true},
      {"<!-- note --><![CDATA[ <raw> ]]>", true},
      {"&nbsp;&#160;<a>", true},
      {"</a >", true},
      {"<a", false},         // tag goes on
      {"text", false},       // character data goes on in the next line
      {"<a b=\"1>", false},  // value goes on
      {"<!-- open", false},
      {"<!DOCTYPE r>", false},  // left to the tokenizer
      {"<?pi body?>", false},
      {"<a b=c>", false},               // unquoted value
      {"<?xml version='1.0'>", false},  // '>' does not end a declaration
  };
  for (const Row& row : rows) {
    bool accepted = false;
    EXPECT_TRUE(AgreesWithTokenizer(ToUTF16(row.Line), accepted)) << row.Line;
    EXPECT_EQ(accepted, row.Accepted) << row.Line;
  }
}

TEST(RawXMLParserTest, AgreesWithTheTokenizerOnGeneratedLines) {
  std::mt19937 random(3);
  const std::u16string alphabet = u"<>/=\"'&;!?-[]abx: \t";
  const auto& fragments = test::LineStateFragments();
  int accepted = 0;
  for (int i = 0; i < 20000; ++i) {
    std::u16string line;
    const int parts = static_cast<int>(random() % 7);
    for (int k = 0; k < parts; ++k) {
      if (random() % 3 == 0)
        line += alphabet[random() % alphabet.size()];
      else
        line += fragments[random() % fragments.size()];
    }
    bool ok = false;
    ASSERT_TRUE(AgreesWithTokenizer(line, ok)) << ToUTF8(line);
    accepted += ok ? 1 : 0;
  }
  // The differential check means little if the fast scan hardly ever answers.
  EXPECT_GT(accepted, 2000);
}

}  // namespace
}  // namespace xylem
