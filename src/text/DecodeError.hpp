#pragma once
// Why a load refused a file's bytes, and where: binary content (code 17) or bytes that do not
// decode in the file's encoding (code 21), at the first bad byte.

#include <cstdint>
#include <string>
#include <string_view>

#include "common/Exception.hpp"
#include "common/Utf.hpp"

namespace xylem {

inline constexpr int kErrorBinaryFile = 17;
inline constexpr int kErrorInvalidEncoding = 21;

class CyDecodeException : public CyException {
 public:
  // Message is what() (for code 17 the two-line binary-file message as it has always been);
  // Reason says what is wrong without the position, for a diagnostic that carries it itself.
  CyDecodeException(const std::string& Message, int Code, std::string Reason,
                    TyTextPosition Position, int64_t ByteOffset)
      : CyException(Message, Code),
        Reason_(std::move(Reason)),
        Position_(Position),
        ByteOffset_(ByteOffset) {}

  const std::string& getReason() const { return Reason_; }
  // Line and line position of the first bad byte (1, 1 when a file is refused as a whole).
  TyTextPosition getPosition() const { return Position_; }
  // Offset of the first bad byte in the bytes given to the decoder; -1 when unknown.
  int64_t getByteOffset() const { return ByteOffset_; }
  // The same failure counted from Bytes earlier (a byte-order mark the decoder did not see).
  CyDecodeException ShiftedBy(int64_t Bytes) const;

 private:
  std::string Reason_;
  TyTextPosition Position_;
  int64_t ByteOffset_;
};

// The binary-file refusal: code 17, "APP does not support binary files." and "Use another
// editor to edit the file." joined by CR LF (APP: ApplicationName), with the position of the
// first NUL.
[[noreturn]] void ThrowBinaryFile(std::string_view ApplicationName, TyTextPosition Position = {},
                                  int64_t ByteOffset = -1);
// Bytes that do not decode: code 21, "Line L, position P (byte B): the byte 0xXX cannot be
// decoded as ENCODING." (Detail replaces the part behind the colon when given).
[[noreturn]] void ThrowUndecodable(TyTextPosition Position, int64_t ByteOffset, uint8_t Byte,
                                   const std::string& EncodingName, std::string Detail = {});

}  // namespace xylem
