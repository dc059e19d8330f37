#include "common/Utf.hpp"

#include <gtest/gtest.h>

#include <random>

namespace xylem {

TEST(Utf, RoundTripsEveryPlaneAndCountsInvalidSequences) {
  const std::string text = "a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80z";  // a é 中 😀 z
  const std::u16string wide = ToUTF16(text);
  EXPECT_EQ(wide, u"a\u00E9\u4E2D\U0001F600z");
  EXPECT_EQ(ToUTF8(wide), text);
  EXPECT_EQ(UTF8Length(wide), text.size());

  struct Row {
    std::string bytes;
    size_t errors;
    std::u16string expected;
  };
  const Row rows[] = {
      {"\xC0\xAF", 2, u"\uFFFD\uFFFD"},        // overlong lead bytes are never valid
      {"\xE0\x80\x80", 1, u"\uFFFD"},          // overlong three-byte form
      {"\xED\xA0\x80", 1, u"\uFFFD"},          // encoded surrogate
      {"\xF4\x90\x80\x80", 1, u"\uFFFD"},      // beyond U+10FFFF
      {"ab\xE4\xB8", 1, u"ab\uFFFD"},          // truncated at the end
      {"\xE4\xB8x", 1, u"\uFFFDx"},            // truncated before ASCII
      {"12345678\x80", 1, u"12345678\uFFFD"},  // stray continuation after a fast run
  };
  for (const Row& row : rows) {
    std::u16string out(row.bytes.size(), u'\0');
    const auto* in = reinterpret_cast<const uint8_t*>(row.bytes.data());
    const TyUTF8DecodeResult result = DecodeUTF8(in, in + row.bytes.size(), out.data());
    out.resize(result.Written);
    EXPECT_EQ(out, row.expected) << row.bytes;
    EXPECT_EQ(result.ErrorCount, row.errors) << row.bytes;
  }
}

TEST(Utf, StopsAtNulInsideAndOutsideTheFastRun) {
  for (const std::string& bytes : {std::string("abcdefgh\0ij", 11), std::string("ab\0", 3)}) {
    std::u16string out(bytes.size(), u'\0');
    const auto* in = reinterpret_cast<const uint8_t*>(bytes.data());
    const TyUTF8DecodeResult result = DecodeUTF8(in, in + bytes.size(), out.data());
    EXPECT_TRUE(result.NulFound);
    EXPECT_EQ(result.Written, bytes.find('\0'));
  }
  EXPECT_EQ(ToUTF8(u"\xD800x"), "\xEF\xBF\xBDx");  // a lone surrogate is not passed through
}

// The encoder's ASCII fast path must hand surrogate pairs and lone surrogates to the general
// path whole: random mixes round-trip, with lone surrogates coming back as U+FFFD.
TEST(Utf, EncoderRoundTripsRandomMixesAcrossTheFastPath) {
  std::mt19937 random(3);
  const std::u16string alphabet = u"abcd<>\n\u00E9\u20AC\U0001F600";
  for (int round = 0; round < 500; ++round) {
    std::u16string text;
    for (int i = random() % 24; i > 0; --i) {
      const size_t pick = random() % (alphabet.size() + 1);
      if (pick == alphabet.size()) {
        text.push_back(u'\xD800');  // lone
      } else if (alphabet[pick] >= 0xD800 && alphabet[pick] <= 0xDBFF) {
        text.append(u"\U0001F600");
      } else if (alphabet[pick] < 0xD800 || alphabet[pick] > 0xDFFF) {
        text.push_back(alphabet[pick]);
      }
    }
    std::string bytes(UTF8Length(text), '\0');
    ASSERT_EQ(EncodeUTF8(text, bytes.data()), bytes.size());
    std::u16string expected = text;
    for (char16_t& unit : expected)
      if (unit == 0xD800 && (&unit == &expected.back() || (&unit)[1] < 0xDC00)) unit = 0xFFFD;
    ASSERT_EQ(ToUTF16(bytes), expected) << "round " << round;
  }
}

}  // namespace xylem
