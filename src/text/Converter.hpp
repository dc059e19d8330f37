#pragma once
// Conversion between UTF-16 and the bytes of an encoding: UTF-8 and UTF-16 by the program's
// own code, everything else by iconv.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "text/DecodeError.hpp"
#include "text/Encoding.hpp"
#include "text/TextUTF16.hpp"

namespace xylem {

// The result of a whole-buffer decode: a buffer with one reference for the caller, holding
// Units code units followed by NUL.
struct TyDecodedText {
  CyTextOwner* Owner = nullptr;
  size_t Units = 0;
  size_t ErrorCount = 0;  // invalid or truncated sequences, each replaced by U+FFFD
  // The first of them (when ErrorCount): its byte offset in the input, and the index of its
  // replacement in the buffer (every unit before it decoded cleanly).
  size_t FirstErrorByte = 0;
  size_t FirstErrorUnit = 0;
};

// Decodes Data from a non-UTF-8 encoding (UTF-16 by byte order, the rest through iconv) into
// a fresh buffer. Sequential; a NUL is decoded like any character (the loader checks).
// Throws CyException for an encoding iconv cannot open.
TyDecodedText DecodeToUTF16(const uint8_t* Data, size_t Size, const CyEncoding& Encoding);

// Writes UTF-16 text in an encoding, chunk by chunk. Not thread-safe.
class CyTextEncoder {
 public:
  // Throws CyException (kErrorUnsupportedEncoding) when iconv cannot write Encoding.
  explicit CyTextEncoder(const CyEncoding& Encoding);
  ~CyTextEncoder();
  CyTextEncoder(const CyTextEncoder&) = delete;
  CyTextEncoder& operator=(const CyTextEncoder&) = delete;

  // Appends the bytes of Text to Out. Returns the index in Text of the first character the
  // encoding cannot represent (nothing of it or behind it appended), or npos when all went.
  size_t Encode(std::u16string_view Text, std::string& Out);
  // The byte-order mark of the encoding: always for UTF-16, for UTF-8 only when WithBOM.
  std::string getMark(bool WithBOM) const;

 private:
  CyEncoding Encoding_;
  void* Converter_ = nullptr;  // iconv_t for the non-Unicode encodings
};

}  // namespace xylem

namespace xylem {

// Receives the count of invalid sequences met while decoding a load (reported once, after all
// pieces). Mode 2 (the default) only counts; in mode 1 the loader refuses the bytes instead
// (CyDecodeException kErrorInvalidEncoding at the first bad byte), so that no replacement
// character ever stands where the file had bytes.
class CyUTF8ToCharErrorHandler {
 public:
  explicit CyUTF8ToCharErrorHandler(int Mode = 2) : Mode_(Mode) {}
  virtual ~CyUTF8ToCharErrorHandler() = default;
  // Called once per load with the total of invalid sequences (also when it is 0).
  virtual void ReportErrors(size_t Count);
  int getMode() const { return Mode_; }
  // Sum over all reports.
  size_t getErrorCount() const { return ErrorCount_; }

 private:
  int Mode_;
  size_t ErrorCount_ = 0;
};

}  // namespace xylem
