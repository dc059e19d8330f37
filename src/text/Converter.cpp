#include "text/Converter.hpp"

#include <iconv.h>

#include <bit>
#include <cerrno>
#include <cstring>

#include "common/Exception.hpp"
#include "common/Utf.hpp"

namespace xylem {

namespace {

constexpr char16_t kReplacement = 0xFFFD;
constexpr const char* kNativeUTF16 =
    std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";
const iconv_t kNoConverter = reinterpret_cast<iconv_t>(-1);

char16_t swapped(char16_t Unit) { return static_cast<char16_t>((Unit >> 8) | (Unit << 8)); }

// UTF-16 in either byte order; a trailing odd byte is a truncated unit.
TyDecodedText decodeUTF16(const uint8_t* Data, size_t Size, bool BigEndian) {
  TyDecodedText result;
  const size_t units = Size / 2;
  result.Owner = CyTextOwner::CreateBuffer(units + (Size & 1));
  char16_t* out = result.Owner->getBuffer();
  std::memcpy(out, Data, units * 2);
  if (BigEndian != (std::endian::native == std::endian::big))
    for (size_t i = 0; i < units; ++i) out[i] = swapped(out[i]);
  result.Units = units;
  if (Size & 1) {
    result.FirstErrorByte = Size - 1;
    result.FirstErrorUnit = units;
    out[result.Units++] = kReplacement;
    result.ErrorCount = 1;
  }
  return result;
}

}  // namespace

TyDecodedText DecodeToUTF16(const uint8_t* Data, size_t Size, const CyEncoding& Encoding) {
  if (Encoding.getCodePage() == kCodePageUTF16LE) return decodeUTF16(Data, Size, false);
  if (Encoding.getCodePage() == kCodePageUTF16BE) return decodeUTF16(Data, Size, true);
  if (Encoding.getCodePage() == kCodePageUTF8) {
    // The loader decodes UTF-8 in parallel itself; this path serves other callers.
    TyDecodedText result;
    result.Owner = CyTextOwner::CreateBuffer(Size);
    const uint8_t* at = Data;
    const uint8_t* end = Data + Size;
    char16_t* out = result.Owner->getBuffer();
    while (true) {
      const TyUTF8DecodeResult part = DecodeUTF8(at, end, out + result.Units);
      if (part.ErrorCount && !result.ErrorCount) {
        result.FirstErrorByte = static_cast<size_t>(at - Data) + part.FirstError;
        // The part's units before its error are well-formed UTF-8 turned into UTF-16.
        result.FirstErrorUnit = result.Units + UTF16LengthOfUTF8(at, part.FirstError);
      }
      result.Units += part.Written;
      result.ErrorCount += part.ErrorCount;
      if (!part.NulFound) break;
      at = static_cast<const uint8_t*>(std::memchr(at, 0, static_cast<size_t>(end - at))) + 1;
      out[result.Units++] = u'\0';
    }
    return result;
  }
  iconv_t converter = iconv_open(kNativeUTF16, Encoding.getIconvName().c_str());
  if (converter == kNoConverter)
    throw CyException("The encoding \"" + Encoding.getName() + "\" is not supported.",
                      kErrorUnsupportedEncoding);
  TyDecodedText result;
  // Two units per byte bound every encoding iconv knows (a four-byte GB18030 sequence gives a
  // surrogate pair); the untouched tail of the fresh pages costs no memory.
  try {
    result.Owner = CyTextOwner::CreateBuffer(2 * Size + 2);
  } catch (...) {
    iconv_close(converter);
    throw;
  }
  char* in = reinterpret_cast<char*>(const_cast<uint8_t*>(Data));
  size_t inLeft = Size;
  char* out = reinterpret_cast<char*>(result.Owner->getBuffer());
  size_t outLeft = (2 * Size + 2) * sizeof(char16_t);
  while (inLeft > 0) {
    if (iconv(converter, &in, &inLeft, &out, &outLeft) != static_cast<size_t>(-1)) break;
    if (errno == E2BIG || outLeft < sizeof(char16_t)) break;  // cannot happen with the bound
    // EILSEQ: one replacement for the offending byte. EINVAL: a sequence truncated at the end.
    if (result.ErrorCount == 0) {
      result.FirstErrorByte = static_cast<size_t>(reinterpret_cast<const uint8_t*>(in) - Data);
      result.FirstErrorUnit =
          static_cast<size_t>(out - reinterpret_cast<char*>(result.Owner->getBuffer())) /
          sizeof(char16_t);
    }
    const char16_t replacement = kReplacement;
    std::memcpy(out, &replacement, sizeof(char16_t));
    out += sizeof(char16_t);
    outLeft -= sizeof(char16_t);
    ++result.ErrorCount;
    if (errno == EINVAL) break;
    ++in;
    --inLeft;
  }
  iconv(converter, nullptr, nullptr, &out, &outLeft);  // flush a stateful encoding
  iconv_close(converter);
  result.Units = static_cast<size_t>(out - reinterpret_cast<char*>(result.Owner->getBuffer())) /
                 sizeof(char16_t);
  return result;
}

CyTextEncoder::CyTextEncoder(const CyEncoding& Encoding) : Encoding_(Encoding) {
  if (Encoding.IsUnicode()) return;
  iconv_t converter = Encoding.IsBinary()
                          ? kNoConverter
                          : iconv_open(Encoding.getIconvName().c_str(), kNativeUTF16);
  if (converter == kNoConverter)
    throw CyException("The encoding \"" + Encoding.getName() + "\" is not supported.",
                      kErrorUnsupportedEncoding);
  Converter_ = converter;
}

CyTextEncoder::~CyTextEncoder() {
  if (Converter_) iconv_close(static_cast<iconv_t>(Converter_));
}

std::string CyTextEncoder::getMark(bool WithBOM) const {
  switch (Encoding_.getCodePage()) {
    case kCodePageUTF16LE:
      return "\xFF\xFE";
    case kCodePageUTF16BE:
      return "\xFE\xFF";
    case kCodePageUTF8:
      return WithBOM ? "\xEF\xBB\xBF" : "";
    default:
      return "";
  }
}

size_t CyTextEncoder::Encode(std::u16string_view Text, std::string& Out) {
  const size_t start = Out.size();
  switch (Encoding_.getCodePage()) {
    case kCodePageUTF8:
      // One pass with room for the widest case, rather than measuring first.
      Out.resize(start + Text.size() * 3);
      Out.resize(start + EncodeUTF8(Text, Out.data() + start));
      return std::u16string_view::npos;
    case kCodePageUTF16LE:
    case kCodePageUTF16BE: {
      const bool big = Encoding_.getCodePage() == kCodePageUTF16BE;
      Out.resize(start + Text.size() * 2);
      char* at = Out.data() + start;
      for (char16_t unit : Text) {
        *at++ = static_cast<char>(big ? unit >> 8 : unit & 0xFF);
        *at++ = static_cast<char>(big ? unit & 0xFF : unit >> 8);
      }
      return std::u16string_view::npos;
    }
    default:
      break;
  }
  auto converter = static_cast<iconv_t>(Converter_);
  char* in = reinterpret_cast<char*>(const_cast<char16_t*>(Text.data()));
  size_t inLeft = Text.size() * sizeof(char16_t);
  char buffer[16384];
  while (inLeft > 0) {
    char* out = buffer;
    size_t outLeft = sizeof(buffer);
    const size_t done = iconv(converter, &in, &inLeft, &out, &outLeft);
    Out.append(buffer, static_cast<size_t>(out - buffer));
    if (done == static_cast<size_t>(-1) && errno != E2BIG) {
      iconv(converter, nullptr, nullptr, nullptr, nullptr);
      return static_cast<size_t>(in - reinterpret_cast<const char*>(Text.data())) /
             sizeof(char16_t);
    }
  }
  char* out = buffer;
  size_t outLeft = sizeof(buffer);
  iconv(converter, nullptr, nullptr, &out, &outLeft);  // a stateful encoding's closing shift
  Out.append(buffer, static_cast<size_t>(out - buffer));
  return std::u16string_view::npos;
}

}  // namespace xylem

namespace xylem {

void CyUTF8ToCharErrorHandler::ReportErrors(size_t Count) {
  ErrorCount_ += Count;
  if (Mode_ == 1 && Count > 0)
    throw CyException(
        "The file contains " + std::to_string(Count) + " invalid byte sequences for its encoding.",
        kErrorInvalidEncoding);
}

}  // namespace xylem
