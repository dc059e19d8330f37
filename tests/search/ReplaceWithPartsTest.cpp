#include "search/ReplaceWithParts.hpp"

#include <gtest/gtest.h>

#include "SearchTestSupport.hpp"
#include "search/RegExprReplacer.hpp"

namespace xylem {
namespace {

using test::RunAll;

// Pattern with groups 1-12 and two named ones; the subject matches it once, whole.
constexpr char16_t kPattern[] = u"(a)(b)(c)(d)(e)(f)(g)(h)(i)(j)(k)(?<twelve>l)(?<opt>z)?";
constexpr char16_t kSubject[] = u"<abcdefghijkl>";

std::u16string Translate(std::u16string_view Template, std::u16string_view Newline = u"\r\n") {
  const auto replacer = CyRegExprReplacer::Create(kPattern, Template, true, Newline);
  return RunAll(*replacer, kSubject).Text;
}

TEST(ReplaceWithParts, DollarTable) {
  const struct {
    std::u16string Template;
    std::u16string Expected;
  } rows[] = {
      {u"$$", u"<$>"},        {u"$0", u"<abcdefghijkl>"},
      {u"$1", u"<a>"},        {u"$9", u"<i>"},
      {u"$1-", u"<a->"},      {u"$12", u"<l>"},              // a second digit is always taken
      {u"$10x", u"<jx>"},     {u"$01", u"<abcdefghijkl1>"},  // $0 takes no second digit
      {u"${twelve}", u"<l>"}, {u"${opt}", u"<>"},            // a group that took no part is empty
      {u"$x", u"<$x>"},       {u"$", u"<$>"},
      {u"a$", u"<a$>"},       {u"$$1", u"<$1>"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Translate(row.Template), row.Expected)
        << "template of " << row.Template.size() << " units";
  }
}

TEST(ReplaceWithParts, BackslashTable) {
  const struct {
    std::u16string Template;
    std::u16string Newline;
    std::u16string Expected;
  } rows[] = {
      {u"\\\\", u"\r\n", u"<\\>"},
      {u"\\0", u"\r\n", u"<abcdefghijkl>"},
      {u"\\2", u"\r\n", u"<b>"},
      {u"\\11", u"\r\n", u"<k>"},
      {u"\\05", u"\r\n", u"<abcdefghijkl5>"},
      {u"\\g<twelve>", u"\r\n", u"<l>"},
      {u"\\n", u"\r\n", u"<\r\n>"},
      {u"\\r", u"\n", u"<\n>"},
      {u"\\R", u"\r", u"<\r>"},
      {u"\\r\\n", u"\r\n", u"<\r\n>"},  // one newline, not two
      {u"\\n\\r", u"\n", u"<\n\n>"},
      {u"\\t", u"\r\n", u"<\t>"},
      {u"\\q", u"\r\n", u"<q>"},
      {u"\\$1", u"\r\n", u"<$1>"},
      {u"\\\U0001F600", u"\r\n", u"<\U0001F600>"},
      {u"x\\1y$2z", u"\r\n", u"<xaybz>"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Translate(row.Template, row.Newline), row.Expected)
        << "template of " << row.Template.size() << " units";
  }
}

TEST(ReplaceWithParts, ErrorsCarryMessageAndPosition) {
  const struct {
    std::u16string Pattern;
    std::u16string Template;
    std::string Message;
    int64_t Position;
  } rows[] = {
      {u"(a)(b)(c)", u"x$12", "Subpattern does not exist: $12.", 1},
      {u"(a)(b)(c)", u"$4", "Subpattern does not exist: $4.", 0},
      {u"(a)(b)(c)", u"ab\\5", "Subpattern does not exist: \\5.", 2},
      {u"(a)(b)(c)", u"\\31", "Subpattern does not exist: \\31.", 0},
      {u"(?<n>a)", u"${m}", "Subpattern does not exist: ${m}.", 0},
      {u"(?<n>a)", u"--\\g<m>", "Subpattern does not exist: \\g<m>.", 2},
      {u"(?<n>a)", u"${1}", "Subpattern does not exist: ${1}.", 0},
      {u"a", u"abc\\", "Incomplete token.", 3},
      {u"(?<n>a)", u"${n", "Syntax error: ${n.", 0},
      {u"(?<n>a)", u"x${n-}", "Syntax error: ${n-.", 1},
      {u"(?<n>a)", u"${}", "Syntax error: ${}.", 0},
      {u"(?<n>a)", u"\\g", "Syntax error: \\g.", 0},
      {u"(?<n>a)", u"\\gn", "Syntax error: \\gn.", 0},
      {u"(?<n>a)", u"\\g<n", "Syntax error: \\g<n.", 0},
  };
  for (const auto& row : rows) {
    try {
      CyRegExprReplacer::Create(row.Pattern, row.Template, true, u"\n");
      ADD_FAILURE() << "no error for " << row.Message;
    } catch (const ReplaceWithException& error) {
      EXPECT_EQ(std::string(error.what()), row.Message);
      EXPECT_EQ(error.getPosition(), row.Position) << row.Message;
      EXPECT_EQ(error.getCode(), ReplaceWithException::kCode);
    }
  }
}

TEST(ReplaceWithParts, ParsesIntoOrderedParts) {
  const CyRegExprSearcher searcher(u"(?<n>a)(b)", true, u"\n");
  const CyRegExprReplaceWithParts parts(u"x$2${n}\\g<n>$$\\n", searcher, u"\r\n");
  ASSERT_EQ(parts.getParts().size(), 6u);
  EXPECT_EQ(dynamic_cast<const CyLiteral&>(*parts.getParts()[0]).getText(), u"x");
  EXPECT_EQ(dynamic_cast<const CyBackreference&>(*parts.getParts()[1]).getNumber(), 2);
  EXPECT_EQ(dynamic_cast<const CyNamedBackreference&>(*parts.getParts()[2]).getNumbers(),
            std::vector<int32_t>{1});
  EXPECT_EQ(dynamic_cast<const CyNamedBackreference&>(*parts.getParts()[3]).getName(), u"n");
  EXPECT_EQ(dynamic_cast<const CyLiteral&>(*parts.getParts()[4]).getText(), u"$");
  EXPECT_EQ(dynamic_cast<const CyLiteral&>(*parts.getParts()[5]).getText(), u"\r\n");
}

TEST(ReplaceWithParts, DuplicateNamesTakeTheGroupThatMatched) {
  const auto replacer = CyRegExprReplacer::Create(u"(?J)(?<v>a)|(?<v>b)", u"[${v}]", true, u"\n");
  EXPECT_EQ(RunAll(*replacer, u"abc").Text, u"[a][b]c");
}

}  // namespace
}  // namespace xylem
