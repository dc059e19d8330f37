#pragma once
// The input of a load: a view of bytes in memory with a read position that can be rewound.
// Detection reads the first bytes and leaves the position behind any byte-order mark; the
// loader takes everything from the position on.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace xylem {

class CyRewindableInputStream {
 public:
  // Views [Data, Data + Size); the bytes must outlive the stream.
  CyRewindableInputStream(const uint8_t* Data, size_t Size) : Data_(Data), Size_(Size) {}

  // Copies up to Count bytes to Out and returns how many.
  size_t Read(uint8_t* Out, size_t Count) {
    const size_t n = std::min(Count, Size_ - Position_);
    if (n) std::memcpy(Out, Data_ + Position_, n);
    Position_ += n;
    return n;
  }
  // The next byte, or -1 at the end.
  int ReadByte() { return Position_ < Size_ ? Data_[Position_++] : -1; }
  void Rewind() { Position_ = 0; }
  size_t getPosition() const { return Position_; }
  void setPosition(size_t Position) { Position_ = std::min(Position, Size_); }
  const uint8_t* getData() const { return Data_; }
  size_t getSize() const { return Size_; }
  // The bytes from the position to the end.
  const uint8_t* getCurrent() const { return Data_ + Position_; }
  size_t getRemaining() const { return Size_ - Position_; }

 private:
  const uint8_t* Data_;
  size_t Size_;
  size_t Position_ = 0;
};

// Input streams are all held in memory here, so buffered and rewindable input are one type.
using CyBufferedInputStream = CyRewindableInputStream;

}  // namespace xylem
