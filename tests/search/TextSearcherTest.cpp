#include "search/TextSearcher.hpp"

#include <gtest/gtest.h>

#include <random>

#include "search/CaseFolding.hpp"
#include "search/WordCharacters.hpp"

namespace xylem {
namespace {

// All match starts of SearchWhat in Text, found by repeated FindNext.
std::vector<int64_t> Starts(const CyTextSearcher& Searcher, std::u16string_view Text) {
  std::vector<int64_t> starts;
  int64_t start = 0;
  int64_t end = 0;
  for (int64_t from = 0;
       Searcher.FindNext(Text.data(), static_cast<int64_t>(Text.size()), from, start, end);
       from = start + 1) {
    EXPECT_EQ(end - start, Searcher.getLength());
    starts.push_back(start);
  }
  return starts;
}

TEST(TextSearcher, FindsByCaseAndWholeWordRules) {
  struct Row {
    std::u16string SearchWhat;
    bool CaseSensitive;
    bool WholeWordOnly;
    std::u16string Text;
    std::vector<int64_t> Expected;
  };
  const std::vector<Row> rows = {
      {u"ab", true, false, u"abAbaBab", {0, 6}},
      {u"ab", false, false, u"abAbaBab", {0, 2, 4, 6}},
      {u"aa", true, false, u"aaaa", {0, 1, 2}},
      {u"σίσυφος", false, false, u"ΣΊΣΥΦΟΣ and σίσυφοσ", {0, 12}},
      {u"ΣΊΣΥΦΟΣ", true, false, u"σίσυφος", {}},
      {u"привет", false, false, u"ПРИВЕТ, Привет", {0, 8}},
      {u"école", false, false, u"ÉCOLE École ecole", {0, 6}},
      {u"straße", false, false, u"STRASSE STRAẞE", {8}},  // simple folding: ẞ is ß, SS is not
      {u"kelvin", false, false, u"\u212Aelvin", {0}},
      {u"i", false, false, u"\u0130I", {1}},  // dotted capital I has only a Turkic fold
      {u"\U00010428", false, false, u"\U00010400\U00010428", {0, 2}},
      {u"\xDC28", false, false, u"\U00010400", {}},  // never inside a surrogate pair
      {u"\xDC00", true, false, u"\U00010400\xDC00", {2}},
      {u"word", true, true, u"word words sword word", {0, 17}},
      {u"word", true, true, u"a-word word_ x.word word: (word)", {27}},
      {u"word", false, true, u"WORD éword wordé 字word Word", {0, 23}},
      {u"ab", true, true, u"ab\U00010400ab", {}},  // supplementary letters are word characters
      {u"", true, false, u"abc", {}},
  };
  for (const Row& row : rows) {
    const CyTextSearcher searcher(row.SearchWhat, row.CaseSensitive, row.WholeWordOnly);
    EXPECT_EQ(Starts(searcher, row.Text), row.Expected)
        << "searching " << row.Text.size() << " units for row " << (&row - rows.data());
  }
}

TEST(TextSearcher, WordCharactersAreXMLNameCharacters) {
  for (char16_t unit :
       std::u16string(u"azAZ09_-.:\u00B7\u00C0\u0300\u0391\u0416\u203F\u4E00\xD800\xDFFF"))
    EXPECT_TRUE(IsWordCharacter(unit)) << std::hex << static_cast<int>(unit);
  for (char16_t unit :
       std::u16string(u" \t\r\n!\"#$%&'()*+,/;<=>?@[\\]^`{|}~\u00D7\u00F7\u2000\u3000\uFFFE"))
    EXPECT_FALSE(IsWordCharacter(unit)) << std::hex << static_cast<int>(unit);
}

// Horspool with folded shift slots against a naive scan of folded units, over small alphabets
// where shifts and partial matches are frequent.
TEST(TextSearcher, AgreesWithNaiveScan) {
  std::mt19937 random(7);
  const std::u16string alphabet = u"aAbBσΣς \U00010400\U00010428-";
  for (int round = 0; round < 400; ++round) {
    std::u16string text;
    std::u16string pattern;
    const int textLength = random() % 40;
    const int patternLength = 1 + random() % 4;
    for (int i = 0; i < textLength; ++i) text.push_back(alphabet[random() % alphabet.size()]);
    for (int i = 0; i < patternLength; ++i) pattern.push_back(alphabet[random() % alphabet.size()]);
    const bool caseSensitive = random() % 2 == 0;
    const bool wholeWord = random() % 3 == 0;
    const std::u16string foldedText = caseSensitive ? text : CyCaseFolding::Fold(text);
    const std::u16string foldedPattern = caseSensitive ? pattern : CyCaseFolding::Fold(pattern);
    std::vector<int64_t> expected;
    for (size_t i = 0; i + pattern.size() <= text.size(); ++i) {
      if (foldedText.compare(i, pattern.size(), foldedPattern) != 0) continue;
      const size_t end = i + pattern.size();
      auto splitsPair = [&](size_t at) {
        return at > 0 && at < text.size() && (text[at - 1] & 0xFC00) == 0xD800 &&
               (text[at] & 0xFC00) == 0xDC00;
      };
      if (splitsPair(i) || splitsPair(end)) continue;
      if (wholeWord && ((i > 0 && IsWordCharacter(text[i - 1])) ||
                        (end < text.size() && IsWordCharacter(text[end]))))
        continue;
      expected.push_back(static_cast<int64_t>(i));
    }
    EXPECT_EQ(Starts(CyTextSearcher(pattern, caseSensitive, wholeWord), text), expected)
        << "round " << round;
  }
}

}  // namespace
}  // namespace xylem
