#pragma once
// UTF-8 <-> UTF-16 conversion. `DecodeUTF8` is the one decoding kernel of the program (the
// loader runs it per piece in parallel); the string helpers wrap it for messages and tests.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace xylem {

struct TyUTF8DecodeResult {
  size_t Written = 0;       // UTF-16 code units written
  size_t ErrorCount = 0;    // invalid sequences, each replaced by U+FFFD
  bool NulFound = false;    // a NUL byte was met; decoding stopped there
};

// Decodes [Begin, End) into Out, which must hold at least End - Begin code units (UTF-8 never
// needs more units than bytes; units behind Written may be overwritten). Invalid sequences
// become U+FFFD and are counted. Stops at the first NUL byte with NulFound set. No allocation.
TyUTF8DecodeResult DecodeUTF8(const uint8_t* Begin, const uint8_t* End, char16_t* Out);

// Exact number of UTF-8 bytes that `EncodeUTF8` writes for Text.
size_t UTF8Length(std::u16string_view Text);

// Encodes Text to UTF-8 into Out (UTF8Length(Text) bytes). A lone surrogate becomes U+FFFD.
// Returns the number of bytes written.
size_t EncodeUTF8(std::u16string_view Text, char* Out);

std::u16string ToUTF16(std::string_view UTF8);
// The first unit equal to Unit in [Begin, End), or End; eight units at a time.
const char16_t* FindUnit(const char16_t* Begin, const char16_t* End, char16_t Unit);
std::string ToUTF8(std::u16string_view UTF16);

}  // namespace xylem
