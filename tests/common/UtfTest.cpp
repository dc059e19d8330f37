#include "common/Utf.hpp"

#include <gtest/gtest.h>

namespace xylem {

TEST(Utf, RoundTripsEveryPlaneAndCountsInvalidSequences) {
  const std::string text = "a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80z";  // a é 中 😀 z
  const std::u16string wide = ToUTF16(text);
  EXPECT_EQ(wide, u"a\u00E9\u4E2D\U0001F600z");
  EXPECT_EQ(ToUTF8(wide), text);
  EXPECT_EQ(UTF8Length(wide), text.size());

  struct Row { std::string bytes; size_t errors; std::u16string expected; };
  const Row rows[] = {
      {"\xC0\xAF", 2, u"\uFFFD\uFFFD"},               // overlong lead bytes are never valid
      {"\xE0\x80\x80", 1, u"\uFFFD"},                  // overlong three-byte form
      {"\xED\xA0\x80", 1, u"\uFFFD"},                  // encoded surrogate
      {"\xF4\x90\x80\x80", 1, u"\uFFFD"},              // beyond U+10FFFF
      {"ab\xE4\xB8", 1, u"ab\uFFFD"},                  // truncated at the end
      {"\xE4\xB8x", 1, u"\uFFFDx"},                    // truncated before ASCII
      {"12345678\x80", 1, u"12345678\uFFFD"},          // stray continuation after a fast run
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

}  // namespace xylem
