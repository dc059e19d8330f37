#pragma once
// UTF-8 <-> UTF-16 conversion. `DecodeUTF8` is the one decoding kernel of the program (the
// loader runs it per piece in parallel); the string helpers wrap it for messages and tests.
// Also the scanners' search for the next of a few units.

#include <bit>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace xylem {

struct TyUTF8DecodeResult {
  size_t Written = 0;     // UTF-16 code units written
  size_t ErrorCount = 0;  // invalid sequences, each replaced by U+FFFD
  bool NulFound = false;  // a NUL byte was met; decoding stopped there
  size_t FirstError = 0;  // byte offset from Begin of the first invalid sequence (if ErrorCount)
};

// A 1-based line and line position (UTF-16 code units from the line's start, plus one); the
// editor's positions and the loader's error positions alike.
struct TyTextPosition {
  int64_t Line = 1;
  int64_t Linepos = 1;
  auto operator<=>(const TyTextPosition&) const = default;
};

// Decodes [Begin, End) into Out, which must hold at least End - Begin code units (UTF-8 never
// needs more units than bytes; units behind Written may be overwritten). Invalid sequences
// become U+FFFD and are counted. Stops at the first NUL byte with NulFound set. No allocation.
TyUTF8DecodeResult DecodeUTF8(const uint8_t* Begin, const uint8_t* End, char16_t* Out);

// Where byte Offset of UTF-8 text stands, counting LF, CR and CR LF as one line end each. The
// bytes before Offset must be well-formed (as they are in front of a decoder's first error).
// Linear in Offset; no allocation.
TyTextPosition PositionOfUTF8Byte(const uint8_t* Bytes, size_t Offset);
// The number of UTF-16 units that the well-formed UTF-8 bytes [Bytes, Bytes + Count) decode to.
size_t UTF16LengthOfUTF8(const uint8_t* Bytes, size_t Count);
// The same for unit Offset of UTF-16 text.
TyTextPosition PositionOfUTF16Unit(const char16_t* Text, size_t Offset);

// Exact number of UTF-8 bytes that `EncodeUTF8` writes for Text.
size_t UTF8Length(std::u16string_view Text);

// Encodes Text to UTF-8 into Out (UTF8Length(Text) bytes). A lone surrogate becomes U+FFFD.
// Returns the number of bytes written.
size_t EncodeUTF8(std::u16string_view Text, char* Out);

std::u16string ToUTF16(std::string_view UTF8);
// The first unit in [Begin, End) equal to any of Units, or End; eight units at a time.
template <size_t N>
const char16_t* FindAnyUnit(const char16_t* Begin, const char16_t* End,
                            const char16_t (&Units)[N]) {
  const char16_t* p = Begin;
#if defined(__SSE2__)
  __m128i wanted[N];
  for (size_t i = 0; i < N; ++i) wanted[i] = _mm_set1_epi16(static_cast<short>(Units[i]));
  for (; End - p >= 8; p += 8) {
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    __m128i hits = _mm_cmpeq_epi16(units, wanted[0]);
    for (size_t i = 1; i < N; ++i) hits = _mm_or_si128(hits, _mm_cmpeq_epi16(units, wanted[i]));
    const int mask = _mm_movemask_epi8(hits);
    if (mask != 0) return p + std::countr_zero(static_cast<unsigned>(mask)) / 2;
  }
#endif
  for (; p < End; ++p)
    for (const char16_t unit : Units)
      if (*p == unit) return p;
  return End;
}
// The first unit equal to Unit in [Begin, End), or End.
inline const char16_t* FindUnit(const char16_t* Begin, const char16_t* End, char16_t Unit) {
  const char16_t units[1] = {Unit};
  return FindAnyUnit(Begin, End, units);
}
std::string ToUTF8(std::u16string_view UTF16);

}  // namespace xylem
