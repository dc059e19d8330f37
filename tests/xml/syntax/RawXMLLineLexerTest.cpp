#include "xml/syntax/RawXMLLineLexer.hpp"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "common/Utf.hpp"
#include "support/LineStateTestSupport.hpp"
#include "xml/syntax/Tokenizer.hpp"

namespace xylem {
namespace {

// The extra bit tells a tag name's prefix; on other tokens the tokenizer's bit means other things.
std::string Describe(const TyXMLScanToken& T) {
  const bool prefix = T.Extra && T.Symbol == XMLValue(TyXMLSymbol::TAG);
  return std::to_string(T.Group) + "/" + std::to_string(T.Symbol) + (prefix ? "+" : "") + "@" +
         std::to_string(T.Offset0) + "-" + std::to_string(T.Offset1);
}

// The lexer's tokens with characters against the tokenizer's over the part of Line it read,
// and the tokenizer standing between constructs at document level where the lexer stopped.
void ExpectTokenizersTokens(const std::u16string& Line, bool AtEnd) {
  SCOPED_TRACE(ToUTF8(Line));
  std::vector<TyXMLScanToken> lexed;
  const char16_t* text = Line.c_str();
  const char16_t* end = text + Line.size();
  std::vector<std::string> expected, actual;
  // Batch after batch, as the readers go on, until the lexer leaves a construct alone.
  const char16_t* from = text;
  while (from != end) {
    const char16_t* stop = CyRawXMLLineLexer::Lex(text, end, from, nullptr, lexed);
    for (const TyXMLScanToken& t : lexed)
      if (t.Offset1 > t.Offset0) actual.push_back(Describe(t));
    if (stop == from) break;
    from = stop;
  }
  const int64_t read = from - text;
  TxXMLParser parser;
  // At the line's end the text may go on in the next line: no boundary needed there.
  bool atBoundary = read == 0 || from == end;
  for (parser.First(text, AtEnd, kXMLDocumentGroupWord, kXMLDocumentSymbolWord);; parser.Next()) {
    const TyXMLToken& t = parser.getToken();
    if (t.Offset0 >= read && t.Count() > 0) break;
    if (t.Count() > 0) expected.push_back(Describe(ScanTokenOf(t, 0)));
    if (t.Offset1 == read && t.EndsAtDocumentLevel()) atBoundary = true;
    if (t.IsDone) break;
  }
  EXPECT_EQ(actual, expected);
  EXPECT_TRUE(atBoundary) << "stopped at " << read << " inside a construct";
}

TEST(RawXMLLineLexerTest, GivesTheTokenizersTokensAndStopsBetweenConstructs) {
  std::vector<std::u16string> lines = {
      u"",
      u"  <item id=\"0\" kind='a b' state=\"\">text &amp; more &lt;x</item>",
      u"<x:a p:q=\"1\"/><b\t c='2' /></x:a></b >",
      u"a &e; b &; c &#x41; d &bad e",
      u"<!-- c --><!----><![CDATA[]]><![CDATA[ x ]]> t",
      u"<a b=\"<&>\"/><a/b/><L//><a =\"1\"/><a b = \"1\"/>",
      u"<?pi x?><!DOCTYPE r><a>",
      u"<a b=\"1\"c='2'd=\"3\">é<ü ä='ö'/>",
      u"<a b=\"open",
      u"</a",
      u"text then <",
  };
  // More tokens than one batch holds.
  std::u16string wide;
  for (int i = 0; i < 100; ++i) wide += u"<e a=\"1\" b='2'>t</e>";
  lines.push_back(wide);
  std::mt19937 random(7);
  for (int i = 0; i < 400; ++i) lines.push_back(test::GenerateLines(random, 1));
  for (const std::u16string& line : lines) {
    ExpectTokenizersTokens(line, false);
    ExpectTokenizersTokens(line, true);
  }
}

}  // namespace
}  // namespace xylem
