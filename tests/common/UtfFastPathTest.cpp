#include <gtest/gtest.h>

#include <random>

#include "common/Utf.hpp"

namespace xylem {

namespace {

// Byte-at-a-time decoding by the same rules as the kernel: a well-formed sequence gives its
// code point, anything else one U+FFFD for the lead byte and the continuation bytes taken.
std::u16string referenceDecode(const std::string& Bytes, size_t& Errors, bool& Nul) {
  std::u16string out;
  Errors = 0;
  Nul = false;
  for (size_t i = 0; i < Bytes.size();) {
    const auto lead = static_cast<uint8_t>(Bytes[i]);
    if (lead == 0) {
      Nul = true;
      break;
    }
    if (lead < 0x80) {
      out += static_cast<char16_t>(lead);
      ++i;
      continue;
    }
    const int length = lead >= 0xC2 && lead <= 0xDF   ? 2
                       : lead >= 0xE0 && lead <= 0xEF ? 3
                       : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                      : 0;
    if (!length) {
      out += u'\uFFFD';
      ++Errors;
      ++i;
      continue;
    }
    uint32_t code = lead & (0x7F >> length);
    int taken = 1;
    while (taken < length && i + taken < Bytes.size() &&
           (static_cast<uint8_t>(Bytes[i + taken]) & 0xC0) == 0x80)
      code = (code << 6) | (static_cast<uint8_t>(Bytes[i + taken++]) & 0x3F);
    const uint32_t minimum = length == 2 ? 0x80 : length == 3 ? 0x800 : 0x10000;
    if (taken < length || code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
      out += u'\uFFFD';
      ++Errors;
      i += static_cast<size_t>(taken);
      continue;
    }
    i += static_cast<size_t>(length);
    if (code >= 0x10000) {
      out += static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
      out += static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
    } else {
      out += static_cast<char16_t>(code);
    }
  }
  return out;
}

}  // namespace

// The vector fast path against the plain rules: long ASCII runs broken at every offset by
// multi-byte, invalid and NUL bytes, so each break position inside a 16-byte block is met.
TEST(Utf, FastPathAgreesWithByteAtATimeDecoding) {
  std::mt19937 random(11);
  const std::string pieces[] = {"abcdefghijklmnopqrstuvwxyz0123456789",
                                "\xC3\xA9",
                                "\xE4\xB8\xAD",
                                "\xF0\x9F\x98\x80",
                                "\x80",
                                "\xE4\xB8",
                                "\xFF",
                                std::string(1, '\0'),
                                "<a x='1'>"};
  for (int round = 0; round < 2000; ++round) {
    std::string bytes;
    const int count = static_cast<int>(random() % 12);
    for (int i = 0; i < count; ++i) {
      const std::string& piece = pieces[random() % std::size(pieces)];
      bytes += piece.substr(0, piece.size() == 1 ? 1 : random() % (piece.size() + 1));
      if (random() % 4 == 0) bytes += pieces[random() % 4 + 1];
    }
    size_t errors = 0;
    bool nul = false;
    const std::u16string expected = referenceDecode(bytes, errors, nul);
    std::u16string out(bytes.size(), u'\0');
    const auto* in = reinterpret_cast<const uint8_t*>(bytes.data());
    const TyUTF8DecodeResult result = DecodeUTF8(in, in + bytes.size(), out.data());
    out.resize(result.Written);
    ASSERT_EQ(out, expected) << round;
    ASSERT_EQ(result.ErrorCount, errors) << round;
    ASSERT_EQ(result.NulFound, nul) << round;
  }
}

TEST(Utf, FindUnitFindsTheFirstOneWhereverItStands) {
  // Every length around the eight-unit blocks, the unit at every place, once and twice.
  for (size_t length = 0; length < 40; ++length) {
    std::u16string text(length, u'a');
    EXPECT_EQ(FindUnit(text.data(), text.data() + length, u'<'), text.data() + length);
    for (size_t at = 0; at < length; ++at) {
      std::u16string one = text;
      one[at] = u'<';
      EXPECT_EQ(FindUnit(one.data(), one.data() + length, u'<'), one.data() + at)
          << length << " " << at;
      if (at + 3 < length) one[at + 3] = u'<';
      EXPECT_EQ(FindUnit(one.data(), one.data() + length, u'<'), one.data() + at);
      // Not past the end it is given.
      EXPECT_EQ(FindUnit(one.data(), one.data() + at, u'<'), one.data() + at);
    }
  }
  const std::u16string high(20, u'\u3c3c');  // both bytes of '<' in one unit: no match
  EXPECT_EQ(FindUnit(high.data(), high.data() + high.size(), u'<'), high.data() + high.size());
}

}  // namespace xylem
