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
  CyRewindableInputStream(const uint8_t* Data, size_t Size) : data_(Data), size_(Size) {}

  // Copies up to Count bytes to Out and returns how many.
  size_t Read(uint8_t* Out, size_t Count) {
    const size_t n = std::min(Count, size_ - position_);
    if (n) std::memcpy(Out, data_ + position_, n);
    position_ += n;
    return n;
  }
  // The next byte, or -1 at the end.
  int ReadByte() { return position_ < size_ ? data_[position_++] : -1; }
  void Rewind() { position_ = 0; }
  size_t getPosition() const { return position_; }
  void setPosition(size_t Position) { position_ = std::min(Position, size_); }
  const uint8_t* getData() const { return data_; }
  size_t getSize() const { return size_; }
  // The bytes from the position to the end.
  const uint8_t* getCurrent() const { return data_ + position_; }
  size_t getRemaining() const { return size_ - position_; }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t position_ = 0;
};

// Input streams are all held in memory here, so buffered and rewindable input are one type.
using CyBufferedInputStream = CyRewindableInputStream;

}  // namespace xylem
