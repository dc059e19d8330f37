#include "common/Utf.hpp"

#include <bit>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace xylem {

namespace {

constexpr char16_t kReplacement = 0xFFFD;

inline bool isContinuation(uint8_t byte) { return (byte & 0xC0) == 0x80; }

}  // namespace

TyUTF8DecodeResult DecodeUTF8(const uint8_t* Begin, const uint8_t* End, char16_t* Out) {
  TyUTF8DecodeResult result;
  const uint8_t* in = Begin;
  char16_t* out = Out;
  while (in < End) {
    // ASCII runs dominate markup: take sixteen (or eight) bytes at a time while none has the
    // high bit set and none is NUL.
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    while (End - in >= 16) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
      const int stop = _mm_movemask_epi8(_mm_or_si128(bytes, _mm_cmpeq_epi8(bytes, zero)));
      // Out has room for all sixteen (never more units than bytes), so store first and keep
      // only the ASCII prefix when the block holds something else.
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi8(bytes, zero));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 8), _mm_unpackhi_epi8(bytes, zero));
      if (stop) {
        const int prefix = std::countr_zero(static_cast<unsigned>(stop));
        in += prefix;
        out += prefix;
        break;
      }
      in += 16;
      out += 16;
    }
#endif
    while (End - in >= 8) {
      uint64_t word;
      std::memcpy(&word, in, 8);
      const uint64_t high = word & 0x8080808080808080ull;
      const uint64_t zero = (word - 0x0101010101010101ull) & ~word & 0x8080808080808080ull;
      if (high | zero) break;
      for (int i = 0; i < 8; ++i) out[i] = in[i];
      in += 8;
      out += 8;
    }
    if (in >= End) break;
    const uint8_t lead = *in;
    if (lead < 0x80) {
      if (lead == 0) {
        result.NulFound = true;
        break;
      }
      *out++ = lead;
      ++in;
      continue;
    }
    uint32_t code = 0;
    int length = 0;
    uint32_t minimum = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
      code = lead & 0x1F, length = 2, minimum = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      code = lead & 0x0F, length = 3, minimum = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      code = lead & 0x07, length = 4, minimum = 0x10000;
    } else {
      if (result.ErrorCount++ == 0) result.FirstError = static_cast<size_t>(in - Begin);
      *out++ = kReplacement;
      ++in;
      continue;
    }
    int taken = 1;
    while (taken < length && in + taken < End && isContinuation(in[taken])) {
      code = (code << 6) | (in[taken] & 0x3F);
      ++taken;
    }
    if (taken < length || code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
      // A truncated or ill-formed sequence: one replacement for the bytes consumed.
      if (result.ErrorCount++ == 0) result.FirstError = static_cast<size_t>(in - Begin);
      *out++ = kReplacement;
      in += taken;
      continue;
    }
    in += length;
    if (code >= 0x10000) {
      code -= 0x10000;
      *out++ = static_cast<char16_t>(0xD800 + (code >> 10));
      *out++ = static_cast<char16_t>(0xDC00 + (code & 0x3FF));
    } else {
      *out++ = static_cast<char16_t>(code);
    }
  }
  result.Written = static_cast<size_t>(out - Out);
  return result;
}

namespace {

template <typename Unit, typename Width>
TyTextPosition positionOf(const Unit* Text, size_t Offset, Width&& UnitsOf) {
  TyTextPosition position;
  size_t lineStart = 0;
  for (size_t i = 0; i < Offset; ++i) {
    if (Text[i] == 10 || (Text[i] == 13 && (i + 1 >= Offset || Text[i + 1] != 10))) {
      ++position.Line;
      lineStart = i + 1;
    }
  }
  for (size_t i = lineStart; i < Offset; ++i) position.Linepos += UnitsOf(Text[i]);
  return position;
}

}  // namespace

namespace {

// A lead byte starts one unit, a four-byte lead a surrogate pair; continuations add none.
int unitsStartedBy(uint8_t Byte) { return isContinuation(Byte) ? 0 : Byte >= 0xF0 ? 2 : 1; }

}  // namespace

TyTextPosition PositionOfUTF8Byte(const uint8_t* Bytes, size_t Offset) {
  return positionOf(Bytes, Offset, unitsStartedBy);
}

size_t UTF16LengthOfUTF8(const uint8_t* Bytes, size_t Count) {
  size_t units = 0;
  for (size_t i = 0; i < Count; ++i) units += static_cast<size_t>(unitsStartedBy(Bytes[i]));
  return units;
}

TyTextPosition PositionOfUTF16Unit(const char16_t* Text, size_t Offset) {
  return positionOf(Text, Offset, [](char16_t) { return 1; });
}

namespace {

// Calls Sink(code point) for each code point of Text; lone surrogates give U+FFFD.
template <typename Sink>
void forEachCodePoint(std::u16string_view Text, Sink&& sink) {
  for (size_t i = 0; i < Text.size(); ++i) {
    uint32_t unit = Text[i];
    if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < Text.size() && Text[i + 1] >= 0xDC00 &&
        Text[i + 1] <= 0xDFFF) {
      sink(0x10000 + ((unit - 0xD800) << 10) + (Text[i + 1] - 0xDC00));
      ++i;
    } else if (unit >= 0xD800 && unit <= 0xDFFF) {
      sink(kReplacement);
    } else {
      sink(unit);
    }
  }
}

}  // namespace

size_t UTF8Length(std::u16string_view Text) {
  size_t length = 0;
  forEachCodePoint(Text, [&](uint32_t code) {
    length += code < 0x80 ? 1 : code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
  });
  return length;
}

namespace {

char* encodeCodePoints(std::u16string_view Text, char* out) {
  forEachCodePoint(Text, [&](uint32_t code) {
    if (code < 0x80) {
      *out++ = static_cast<char>(code);
    } else if (code < 0x800) {
      *out++ = static_cast<char>(0xC0 | (code >> 6));
      *out++ = static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
      *out++ = static_cast<char>(0xE0 | (code >> 12));
      *out++ = static_cast<char>(0x80 | ((code >> 6) & 0x3F));
      *out++ = static_cast<char>(0x80 | (code & 0x3F));
    } else {
      *out++ = static_cast<char>(0xF0 | (code >> 18));
      *out++ = static_cast<char>(0x80 | ((code >> 12) & 0x3F));
      *out++ = static_cast<char>(0x80 | ((code >> 6) & 0x3F));
      *out++ = static_cast<char>(0x80 | (code & 0x3F));
    }
  });
  return out;
}

}  // namespace

size_t EncodeUTF8(std::u16string_view Text, char* Out) {
  char* out = Out;
  const char16_t* at = Text.data();
  const char16_t* end = at + Text.size();
  while (at < end) {
    // Four units at once while all are ASCII: markup is mostly ASCII.
    while (end - at >= 4) {
      uint64_t word;
      std::memcpy(&word, at, 8);
      if (word & 0xFF80FF80FF80FF80ull) break;
      out[0] = static_cast<char>(at[0]);
      out[1] = static_cast<char>(at[1]);
      out[2] = static_cast<char>(at[2]);
      out[3] = static_cast<char>(at[3]);
      out += 4;
      at += 4;
    }
    if (at == end) break;
    // Up to the next ASCII unit, so that a surrogate pair is encoded whole.
    const char16_t* stop = at + 1;
    while (stop < end && *stop >= 0x80) ++stop;
    out = encodeCodePoints(std::u16string_view(at, static_cast<size_t>(stop - at)), out);
    at = stop;
  }
  return static_cast<size_t>(out - Out);
}

std::u16string ToUTF16(std::string_view UTF8) {
  std::u16string result(UTF8.size(), u'\0');
  const auto* begin = reinterpret_cast<const uint8_t*>(UTF8.data());
  // Decode through NULs too: a caller's string may hold them on purpose.
  size_t written = 0;
  const uint8_t* at = begin;
  const uint8_t* end = begin + UTF8.size();
  while (true) {
    const TyUTF8DecodeResult part = DecodeUTF8(at, end, result.data() + written);
    written += part.Written;
    if (!part.NulFound) break;
    const auto* nul =
        static_cast<const uint8_t*>(std::memchr(at, 0, static_cast<size_t>(end - at)));
    result[written++] = u'\0';
    at = nul + 1;
  }
  result.resize(written);
  return result;
}

std::string ToUTF8(std::u16string_view UTF16) {
  std::string result(UTF8Length(UTF16), '\0');
  EncodeUTF8(UTF16, result.data());
  return result;
}

}  // namespace xylem
