#include "json/Scanner.hpp"

#include <gtest/gtest.h>

#include "Support.hpp"

namespace xylem {
namespace {

using testing::ParseError;

constexpr char16_t kEscapeAdvice[] =
    uR"m(. Allowed character escapes are '\"', '\\', '\/', '\b', '\f', '\n', '\r' and '\t'. Characters '"' and '\' must be escaped ('\"' and '\\').)m";
constexpr char16_t kUnicodeAdvice[] =
    uR"m( in Unicode character escape sequence. Use '\uhhhh' to specify a Unicode character, where hhhh is a four-digit hexadecimal number.)m";

// Every scanner message, raised at the '^' of the input.
TEST(JSONScanner, EveryMessageAtItsLineAndColumn) {
  struct Row {
    std::u16string marked;
    std::u16string reason;
  };
  const Row rows[] = {
      {u"{^a:1}", u"Unexpected character 'a' (Unicode character \\u0061)."},
      {u"^// comment\n1", u"Unexpected character '/' (Unicode character \\u002F)."},
      {u"[^'x']", u"Unexpected character ''' (Unicode character \\u0027)."},
      {u"^\u00E9", u"Unexpected character '\u00E9' (Unicode character \\u00E9)."},
      {u"[1,\n ^\u0001]", u"Unexpected character (Unicode character \\u0001)."},
      {testing::Units(u"^<D800>"), u"Unexpected character (Unicode character \\uD800)."},
      {u"^\u000C1", u"Unexpected character (Unicode character \\u000C)."},
      {std::u16string(u"[1,^\0]", 6), u"Unexpected character (Unicode character \\u0000)."},
      {u"[tr^ee]", u"Expected \"true\"."},
      {u"[tru^]", u"Expected \"true\"."},
      {u"fals^", u"Expected \"false\"."},
      {u"nul^", u"Expected \"null\"."},
      {u"^Null", u"Unexpected character 'N' (Unicode character \\u004E)."},
      {u"\"ab^\ncd\"", u"Newlines are not allowed inside strings. Use '\\n' to specify a newline."},
      {u"\r\n  \"ab^\r\"",
       u"Newlines are not allowed inside strings. Use '\\n' to specify a newline."},
      {u"\"a^\tb\"", u"Unexpected character (Unicode character \\u0009) in string."},
      {u"\"a^\u001F\"", u"Unexpected character (Unicode character \\u001F) in string."},
      {std::u16string(u"\"a^\0\"", 5),
       u"Unexpected character (Unicode character \\u0000) in string."},
      {u"[\"abc^", u"Unexpected end-of-input in string."},
      {testing::Units(u"\"a^<DC00>\""),
       u"Unexpected character (Unicode character \\uDC00) in string."},
      {testing::Units(u"\"a^<D83D>\""),
       u"Unexpected character (Unicode character \\uD83D) in string."},
      {u"\"\\^x\"",
       std::u16string(u"Unexpected character 'x' (Unicode character \\u0078)") + kEscapeAdvice},
      {u"\"\\^'\"",
       std::u16string(u"Unexpected character ''' (Unicode character \\u0027)") + kEscapeAdvice},
      {u"\"\\^", std::u16string(u"Unexpected end-of-input") + kEscapeAdvice},
      {u"\"\\u12^G4\"",
       std::u16string(u"Unexpected character 'G' (Unicode character \\u0047)") + kUnicodeAdvice},
      {u"\"\\u^\"\"",
       std::u16string(u"Unexpected character '\"' (Unicode character \\u0022)") + kUnicodeAdvice},
      {u"\"\\uABC^", std::u16string(u"Unexpected end-of-input") + kUnicodeAdvice},
      {u"0^1", u"Leading zeros are not allowed in numbers."},
      {u"[-0^0]", u"Leading zeros are not allowed in numbers."},
      {u"-^a", u"Unexpected character 'a' (Unicode character \\u0061) in number."},
      {u"[-^]", u"Unexpected character ']' (Unicode character \\u005D) in number."},
      {u"-^", u"Unexpected end-of-input in number."},
      {u"1.^", u"Decimal point ('.') must be followed by one or more digits."},
      {u"[1.^e5]", u"Decimal point ('.') must be followed by one or more digits."},
      {u"1e^", u"Exponent indicator ('e' or 'E') must be followed by one or more digits."},
      {u"2.5E^x", u"Exponent indicator ('e' or 'E') must be followed by one or more digits."},
      {u"1e+^", u"Exponent sign ('+' or '-') must be followed by one or more digits."},
      {u"{\"k\": 1E-^]}", u"Exponent sign ('+' or '-') must be followed by one or more digits."},
  };
  for (const Row& row : rows) testing::ExpectErrorAt(row.marked, row.reason.c_str());
}

// White space is a token of its own; CR LF is one line break, CR and LF alone are one each.
TEST(JSONScanner, TokensSpansAndLinesAcrossEveryLineBreak) {
  const std::u16string text = u"[1,\r\n\t\"a\\\"b\" ,\r-2.5E+3\n\n:true}";
  const CyJSONMemory input = CyJSONMemory::FromString(text);
  CyJSONScanner scanner(input);
  EXPECT_EQ(scanner.Token(), jsonBOI);
  struct Step {
    TyJSONToken token;
    std::u16string text;
    int64_t lineAfter;
  };
  const Step steps[] = {
      {jsonLeftSquareBracket, u"[", 1},
      {jsonNumber, u"1", 1},
      {jsonComma, u",", 1},
      {jsonWhitespace, u"\r\n\t", 2},
      {jsonString, u"\"a\\\"b\"", 2},
      {jsonWhitespace, u" ", 2},
      {jsonComma, u",", 2},
      {jsonWhitespace, u"\r", 3},
      {jsonNumber, u"-2.5E+3", 3},
      {jsonWhitespace, u"\n\n", 5},
      {jsonColon, u":", 5},
      {jsonLiteralTrue, u"true", 5},
      {jsonRightCurlyBracket, u"}", 5},
      {jsonEOI, u"", 5},
      {jsonEOI, u"", 5},
  };
  TyJSONToken previous = jsonBOI;
  for (const Step& step : steps) {
    scanner.Next();
    EXPECT_EQ(scanner.PreviousToken(), previous);
    EXPECT_EQ(scanner.Token(), step.token) << ToUTF8(step.text);
    EXPECT_EQ(std::u16string(scanner.Head(), scanner.Tail()), step.text);
    EXPECT_EQ(scanner.Line(), step.lineAfter) << ToUTF8(step.text);
    previous = step.token;
  }
  EXPECT_TRUE(scanner.IsDone());
  EXPECT_EQ(scanner.LineStart(), input.Data() + text.find(u":"));
}

TEST(JSONScanner, ColumnsCountFromOneAfterEachKindOfLineBreak) {
  for (const char16_t* marked : {u"[\n^x]", u"[\r^x]", u"[\r\n^x]", u"[\n\r^x]", u"[\r\r\n  ^x]",
                                 u"[1,\r\n2,\r3,\n4,\r\n\n  ^x]", u"[\"\u00E9\U0001F600\", ^x]"})
    testing::ExpectErrorAt(marked, nullptr);
}

}  // namespace
}  // namespace xylem
