#include "search/Replacer.hpp"

#define PCRE2_CODE_UNIT_WIDTH 16
#include <gtest/gtest.h>
#include <pcre2.h>

#include <random>

#include "SearchTestSupport.hpp"
#include "search/RegExprReplacer.hpp"
#include "search/TextReplacer.hpp"

namespace xylem {
namespace {

using test::RunAll;
using test::RunPass;

TEST(Replacer, MarkersBeforeInsideAtEndAndBehindMatches) {
  // "two" at [4, 7) and [14, 17).
  const std::u16string text = u"one two three two";
  struct Row {
    std::u16string ReplaceWith;
    std::vector<int64_t> Expected;
  };
  const std::vector<int64_t> markers = {0, 3, 4, 5, 7, 8, 14, 15, 17};
  const Row rows[] = {
      // shorter: "one 2 three 2"
      {u"2", {0, 3, 4, 5, 5, 6, 12, 13, 13}},
      // longer: "one TWO!! three TWO!!"
      {u"TWO!!", {0, 3, 4, 9, 9, 10, 16, 21, 21}},
      // empty: "one  three "
      {u"", {0, 3, 4, 4, 4, 5, 11, 11, 11}},
  };
  for (const Row& row : rows) {
    const auto replacer = CyTextReplacer::Create(u"two", row.ReplaceWith, true, false);
    const auto result = RunAll(*replacer, text, markers);
    EXPECT_TRUE(result.Replaced);
    EXPECT_EQ(result.Count, 2);
    EXPECT_EQ(result.Markers, row.Expected)
        << "replacing by " << row.ReplaceWith.size() << " units";
    EXPECT_EQ(result.Delta, 2 * (static_cast<int64_t>(row.ReplaceWith.size()) - 3));
    // Invariant: a marker that was behind every match keeps its distance to the end.
    EXPECT_EQ(static_cast<int64_t>(result.Text.size()) - result.Markers.back(), 0);
  }
}

TEST(Replacer, CountersTrackRunningAndLargestChange) {
  const auto replacer = CyRegExprReplacer::Create(u"a+", u"bb", true, u"\n");
  // "a" -> "bb" (+1), "aaaa" -> "bb" (-2), "a" -> "bb" (+1): running 1, -1, 0.
  const auto result = RunAll(*replacer, u"a aaaa a");
  EXPECT_EQ(result.Text, u"bb bb bb");
  EXPECT_EQ(result.Count, 3);
  EXPECT_EQ(result.Delta, 0);
  EXPECT_EQ(result.MaxDelta, 1);
  const auto shrinking = RunAll(*CyTextReplacer::Create(u"aa", u"", true, false), u"aaaa");
  EXPECT_EQ(shrinking.MaxDelta, 0);
  EXPECT_EQ(shrinking.Delta, -4);
}

TEST(Replacer, RangeBoundsAndRestInBothDirections) {
  const std::u16string text = u"ab ab ab";  // matches at 0, 3, 6
  const auto replacer = CyTextReplacer::Create(u"ab", u"X", true, false);
  struct Row {
    int64_t From, To;
    bool Replaced;
    std::u16string Text;
  };
  const Row rows[] = {
      {0, 8, true, u"X X X"},
      {3, 8, true, u"ab X X"},   // forward rest from a caret at 3
      {4, 8, true, u"ab ab X"},  // a match starting before the caret is not replaced forward
      {0, 4, true, u"X X ab"},   // backward rest up to 4: the match starting at 3 is replaced
      {0, 3, true, u"X ab ab"},
      {0, 0, false, u"ab ab ab"},  // backward from the very start
                                   // replaces nothing
      {8, 8, false, u"ab ab ab"},
      {-1, 8, false, u""},  // bad ranges return at once
      {5, 4, false, u""},
      {0, 9, false, u""},
      {9, 9, false, u""},
  };
  for (const Row& row : rows) {
    const auto result = RunPass(*replacer, text, row.From, row.To);
    EXPECT_EQ(result.Replaced, row.Replaced) << row.From << ".." << row.To;
    EXPECT_EQ(result.Text, row.Text) << row.From << ".." << row.To;
  }
}

TEST(Replacer, CountingFormAgreesWithFIFOForm) {
  const auto replacer = CyRegExprReplacer::Create(u"(?<=b)a|^a", u"b", true, u"\n");
  const std::u16string text = u"aaa ba xa";
  std::vector<int64_t> markers = {1, 2, 9};
  int64_t delta = 0, maxDelta = 0, count = 0;
  EXPECT_TRUE(replacer->Replace(text.data(), static_cast<int64_t>(text.size()), 0, 9, markers,
                                delta, maxDelta, count));
  const auto withFIFO = RunAll(*replacer, text, {1, 2, 9});
  EXPECT_EQ(count, withFIFO.Count);
  EXPECT_EQ(delta, withFIFO.Delta);
  EXPECT_EQ(markers, withFIFO.Markers);
}

TEST(Replacer, LookBehindSeesReplacedTextUpTo128Units) {
  // Each replaced "a" makes the next one preceded by "b": only a look-behind into replaced text
  // chains the replacements.
  EXPECT_EQ(RunAll(*CyRegExprReplacer::Create(u"(?<=b)a|^a", u"b", true, u"\n"), u"aaa ca").Text,
            u"bbb ca");
  // The look-behind of z needs "y" 128 units back: visible with 128 units of replaced text in
  // front of the search point, not with 129.
  const auto replacer = CyRegExprReplacer::Create(u"x|(?<=y.{127})z", u"X", true, u"\n");
  const std::u16string near = u"y" + std::u16string(126, u'a') + u"xz";
  const std::u16string far = u"y" + std::u16string(127, u'a') + u"xz";
  EXPECT_EQ(RunAll(*replacer, near).Text, u"y" + std::u16string(126, u'a') + u"XX");
  EXPECT_EQ(RunAll(*replacer, far).Text, u"y" + std::u16string(127, u'a') + u"Xz");
  // Before anything is replaced, the look-behind reads the original text in front of From.
  EXPECT_EQ(RunPass(*CyRegExprReplacer::Create(u"(?<=q)r", u"R", true, u"\n"), u"qrqr", 1, 4).Text,
            u"qRqR");
  // "^" is a look-behind too: it sees the line starts of the text as replaced so far, at the
  // start of the text as after a newline.
  EXPECT_EQ(RunAll(*CyRegExprReplacer::Create(u"^a", u"", true, u"\n"), u"aab").Text, u"b");
  EXPECT_EQ(RunAll(*CyRegExprReplacer::Create(u"^a", u"", true, u"\n"), u"aab\naab").Text, u"b\nb");
  EXPECT_EQ(RunAll(*CyRegExprReplacer::Create(u"^a", u"x", true, u"\n"), u"aab\naab").Text,
            u"xab\nxab");
  EXPECT_EQ(RunAll(*CyRegExprReplacer::Create(u"^a|b", u"", true, u"\n"), u"abac").Text, u"c");
}

TEST(Replacer, EmptyMatchesAdvance) {
  struct Row {
    std::u16string Pattern, Template, Text, Expected;
  };
  const Row rows[] = {
      // A match must start before the end of the range, so an empty match at the very end of
      // the text is never replaced.
      {u"x*", u"-", u"abc", u"-a-b-c"},
      {u"b*", u"-", u"abc", u"-a--c"},  // an empty match right behind a non-empty one counts
      {u"", u"-", u"\U0001F600a", u"-\U0001F600-a"},  // one step is one character
      {u"", u"-", u"", u""},
      {u"$", u"!", u"a\nb\n", u"a!\nb!\n"},
      {u"(?=b)", u"^", u"abab", u"a^ba^b"},
  };
  for (const Row& row : rows)
    EXPECT_EQ(
        RunAll(*CyRegExprReplacer::Create(row.Pattern, row.Template, true, u"\n"), row.Text).Text,
        row.Expected)
        << "pattern of " << row.Pattern.size() << " units";
}

TEST(Replacer, RegularExpressionModes) {
  struct Row {
    std::u16string Pattern, Template;
    bool CaseSensitive;
    std::u16string Newline, Text, Expected;
  };
  const Row rows[] = {
      {u"σίσυφος", u"X", false, u"\n", u"ΣΊΣΥΦΟΣ σίσυφοσ", u"X X"},
      {u"\\w+", u"W", true, u"\n", u"Привет, мир", u"W, W"},  // UCP: \w is Unicode-aware
      {u"^b", u"B", true, u"\r\n", u"b\r\nb\rb",
       u"B\r\nB\rb"},  // CR alone is no line end in a CRLF text
      {u"a\\Rb", u"-", true, u"\r\n", u"a\r\nb", u"-"},
      {u"a.$", u"-", true, u"\r", u"ab\rac", u"-\r-"},
      {u"(\\d+)\\.(\\d+)", u"$1,$2", true, u"\n", u"1.5 and 10.25.3", u"1,5 and 10,25.3"},
      {u"qty=\"([0-9]+)\"", u"quantity=\"$1\"", true, u"\n", u"<a qty=\"12\"/>",
       u"<a quantity=\"12\"/>"},
      {u"b", u"\\n", true, u"\r\n", u"abc", u"a\r\nc"},
  };
  for (const Row& row : rows)
    EXPECT_EQ(RunAll(*CyRegExprReplacer::Create(row.Pattern, row.Template, row.CaseSensitive,
                                                row.Newline),
                     row.Text)
                  .Text,
              row.Expected)
        << "pattern of " << row.Pattern.size() << " units";
}

TEST(Replacer, LoneSurrogatesDoNotStopTheSearch) {
  const std::u16string text =
      u"a\xD800"
      u"a\xDC00"
      u"a";
  EXPECT_EQ(RunAll(*CyRegExprReplacer::Create(u"a", u"b", true, u"\n"), text).Text,
            u"b\xD800"
            u"b\xDC00"
            u"b");
}

TEST(Replacer, BadPatternReportsPCRE2MessageAndOffset) {
  const struct {
    std::u16string Pattern;
    std::string Message;
    int64_t Position;
  } rows[] = {
      {u"a(b", "missing closing parenthesis", 3},
      {u"ab)", "unmatched closing parenthesis", 2},
      {u"x{2,1}", "numbers out of order in {} quantifier", 5},
  };
  for (const auto& row : rows) {
    try {
      CyRegExprReplacer::Create(row.Pattern, u"", true, u"\n");
      ADD_FAILURE() << row.Message;
    } catch (const CyRegExprException& error) {
      EXPECT_EQ(error.getPCRE2Message(), row.Message);
      EXPECT_EQ(error.getPosition(), row.Position) << row.Message;
      EXPECT_NE(std::string(error.what()).find(std::to_string(row.Position)), std::string::npos);
    }
  }
}

TEST(Replacer, EscapedPlainForms) {
  const auto replacer =
      CyTextReplacer::CreateEscaped(u"a\\r\\nb\\\\", u"\\t\\q\\n", true, false, u"\r\n");
  EXPECT_EQ(RunAll(*replacer, u"xa\r\nb\\y").Text, u"x\tq\r\ny");
  try {
    CyTextReplacer::CreateEscaped(u"a", u"bc\\", true, false, u"\n");
    ADD_FAILURE();
  } catch (const ReplaceWithException& error) {
    EXPECT_STREQ(error.what(), "Incomplete token.");
    EXPECT_EQ(error.getPosition(), 2);
  }
}

// Plain replace against a naive model (scan, replace, jump behind) with random markers, and
// regular-expression replace against PCRE2's own global substitution for patterns without
// look-behind, where both must agree exactly.
TEST(Replacer, AgreesWithReferenceImplementations) {
  std::mt19937 random(11);
  const std::u16string alphabet = u"abc\n";
  const std::u16string patterns[] = {u"a+", u"(b)(c)?",    u"x*",  u"a(?=b)",
                                     u"a$", u"(?<n>ab)|c", u"b|$", u"(a|b)*?c"};
  const std::u16string templates[] = {u"[$1]", u"${n}", u"$0$0", u"", u"-"};
  for (int round = 0; round < 300; ++round) {
    std::u16string text;
    for (int i = random() % 30; i > 0; --i) text.push_back(alphabet[random() % alphabet.size()]);
    const int64_t length = static_cast<int64_t>(text.size());

    const std::u16string needle = random() % 2 ? u"ab" : u"aa";
    const std::u16string with = random() % 2 ? u"X" : u"YYY";
    std::vector<int64_t> markers;
    for (int i = 0; i < 4; ++i) markers.push_back(random() % (length + 1));
    std::u16string expected;
    std::vector<int64_t> expectedMarkers = markers;
    int64_t delta = 0;
    for (int64_t p = 0; p < length;) {
      if (text.compare(static_cast<size_t>(p), 2, needle) == 0) {
        for (int64_t& m : expectedMarkers) {
          if (m > p + 2 + delta)
            m += static_cast<int64_t>(with.size()) - 2;
          else if (m > p + delta)
            m = p + delta + static_cast<int64_t>(with.size());
        }
        expected += with;
        delta += static_cast<int64_t>(with.size()) - 2;
        p += 2;
      } else {
        expected.push_back(text[static_cast<size_t>(p++)]);
      }
    }
    const auto plain = RunAll(*CyTextReplacer::Create(needle, with, true, false), text, markers);
    ASSERT_EQ(plain.Text, expected) << "round " << round;
    ASSERT_EQ(plain.Markers, expectedMarkers) << "round " << round;

    const std::u16string& pattern = patterns[random() % std::size(patterns)];
    std::u16string templ = templates[random() % std::size(templates)];
    if (templ == u"${n}" && pattern != u"(?<n>ab)|c") templ = u"$0";
    if (templ == u"[$1]" && CyRegExprSearcher(pattern, true, u"\n").getGroupCount() == 0)
      templ = u"<$0>";
    int error = 0;
    PCRE2_SIZE offset = 0;
    pcre2_code_16* code =
        pcre2_compile_16(reinterpret_cast<PCRE2_SPTR16>(pattern.data()), pattern.size(),
                         PCRE2_UTF | PCRE2_UCP | PCRE2_MULTILINE, &error, &offset, nullptr);
    ASSERT_NE(code, nullptr);
    std::pair<PCRE2_SIZE, int> skip(text.size(), 0);
    std::u16string oracle(text.size() * 8 + 64, u'\0');
    PCRE2_SIZE oracleLength = oracle.size();
    // Matches must start before the end of the range: the callout leaves an empty match at the
    // very end alone.
    pcre2_match_context_16* context = pcre2_match_context_create_16(nullptr);
    pcre2_set_substitute_callout_16(
        context,
        [](pcre2_substitute_callout_block_16* block, void* data) -> int {
          auto* skip = static_cast<std::pair<PCRE2_SIZE, int>*>(data);
          if (block->ovector[0] != skip->first) return 0;
          ++skip->second;  // still counted by pcre2_substitute
          return 1;
        },
        &skip);
    const int rc =
        pcre2_substitute_16(code, reinterpret_cast<PCRE2_SPTR16>(text.data()), text.size(), 0,
                            PCRE2_SUBSTITUTE_GLOBAL | PCRE2_SUBSTITUTE_UNSET_EMPTY, nullptr,
                            context, reinterpret_cast<PCRE2_SPTR16>(templ.data()), templ.size(),
                            reinterpret_cast<PCRE2_UCHAR16*>(oracle.data()), &oracleLength);
    pcre2_match_context_free_16(context);
    pcre2_code_free_16(code);
    ASSERT_GE(rc, 0);
    oracle.resize(oracleLength);
    const auto ours = RunAll(*CyRegExprReplacer::Create(pattern, templ, true, u"\n"), text);
    ASSERT_EQ(ours.Text, oracle) << "round " << round;
    ASSERT_EQ(ours.Count, rc - skip.second) << "round " << round;
  }
}

}  // namespace
}  // namespace xylem

namespace xylem {
namespace {

// The streamed pass must give exactly what the one-buffer pass gives, however the text is cut
// into pieces: matches open at a piece's end, look-behind into replaced text, empty matches,
// anchors and whole words all cross piece boundaries here.
TEST(Replacer, StreamedPassEqualsOneBufferPass) {
  struct Row {
    bool RegExpr;
    std::u16string SearchWhat, ReplaceWith;
    uint8_t Options;
  };
  const Row rows[] = {
      {false, u"abc", u"X", roCaseSensitive},
      {false, u"ab", u"", roWholeWordOnly},
      {false, u"ΣΑ", u"σ", 0},
      {true, u"a+b?", u"<$0>", 0},
      {true, u"(?<=b)a|^a", u"b", roCaseSensitive},
      {true, u"x*", u"-", 0},
      {true, u"b$|^c", u"[\\0]", 0},
      {true, u"a(?=b{3})", u"!", 0},
      {true, u"(\\w+) (\\w+)", u"$2 $1", 0},
      {true, u"\\bab\\b", u"|", 0},
  };
  std::mt19937 random(5);
  const std::u16string pieces[] = {u"a",  u"a", u"b", u"b", u"c",         u" ",
                                   u"\n", u"σ", u"Σ", u"Α", u"\U0001F600"};
  for (int round = 0; round < 1000; ++round) {
    // Long enough in some rounds that the pass hands on output while it runs.
    std::u16string text;
    for (int i = random() % (round % 4 == 0 ? 700 : 40); i > 0; --i)
      text += pieces[random() % std::size(pieces)];
    const Row& row = rows[round % std::size(rows)];
    const bool caseSensitive = (row.Options & roCaseSensitive) != 0;
    std::unique_ptr<CyReplacer> replacer;
    if (row.RegExpr) {
      replacer = CyRegExprReplacer::Create(row.SearchWhat, row.ReplaceWith, caseSensitive, u"\n");
    } else {
      replacer = CyTextReplacer::Create(row.SearchWhat, row.ReplaceWith, caseSensitive,
                                        (row.Options & roWholeWordOnly) != 0);
    }
    const auto whole = RunAll(*replacer, text);
    const int64_t pieceSize = 1 + random() % 6;
    size_t at = 0;
    std::u16string streamed;
    int64_t count = 0;
    replacer->ReplaceAllStreamed(
        [&](char16_t* Target, int64_t Capacity) -> int64_t {
          size_t n =
              std::min<size_t>({static_cast<size_t>(Capacity), text.size() - at, 1 + random() % 3});
          if (at + n < text.size() && (text[at + n] & 0xFC00) == 0xDC00) n = n >= 2 ? n - 1 : 2;
          std::copy_n(text.data() + at, n, Target);
          at += n;
          return static_cast<int64_t>(n);
        },
        [&](std::u16string_view Piece) {
          ASSERT_FALSE(!Piece.empty() && (Piece.back() & 0xFC00) == 0xD800)
              << "a piece splits a pair";
          streamed += Piece;
        },
        count, pieceSize);
    ASSERT_EQ(streamed, whole.Text) << "round " << round << " piece " << pieceSize;
    ASSERT_EQ(count, whole.Count) << "round " << round;
  }
}

}  // namespace
}  // namespace xylem
