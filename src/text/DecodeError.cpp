#include "text/DecodeError.hpp"

#include <cstdio>

namespace xylem {

namespace {

std::string where(TyTextPosition Position, int64_t ByteOffset) {
  std::string text =
      "Line " + std::to_string(Position.Line) + ", position " + std::to_string(Position.Linepos);
  if (ByteOffset >= 0) text += " (byte " + std::to_string(ByteOffset) + ")";
  return text;
}

}  // namespace

CyDecodeException CyDecodeException::ShiftedBy(int64_t Bytes) const {
  const int64_t offset = ByteOffset_ < 0 ? ByteOffset_ : ByteOffset_ + Bytes;
  const std::string message =
      getCode() == kErrorBinaryFile ? what() : where(Position_, offset) + ": " + Reason_;
  return CyDecodeException(message, getCode(), Reason_, Position_, offset);
}

void ThrowBinaryFile(std::string_view ApplicationName, TyTextPosition Position,
                     int64_t ByteOffset) {
  const std::string reason = std::string(ApplicationName) +
                             " does not support binary files.\r\nUse another editor to edit "
                             "the file.";
  throw CyDecodeException(reason, kErrorBinaryFile, reason, Position, ByteOffset);
}

void ThrowUndecodable(TyTextPosition Position, int64_t ByteOffset, uint8_t Byte,
                      const std::string& EncodingName, std::string Detail) {
  if (Detail.empty()) {
    char hex[8];
    std::snprintf(hex, sizeof hex, "0x%02X", Byte);
    Detail = std::string("the byte ") + hex + " cannot be decoded as " + EncodingName +
             "; the file is not in that encoding, or is damaged.";
  }
  throw CyDecodeException(where(Position, ByteOffset) + ": " + Detail, kErrorInvalidEncoding,
                          Detail, Position, ByteOffset);
}

}  // namespace xylem
