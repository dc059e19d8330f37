#include "search/FIFO.hpp"

#include <algorithm>
#include <cstring>

#include "text/PageMemory.hpp"

namespace xylem {

CyFIFOUTF16::~CyFIFOUTF16() { CyPageMemory::Free(Data_, Capacity_ * 2); }

void CyFIFOUTF16::Grow(size_t Needed) {
  if (Needed <= Capacity_) return;
  const size_t capacity = std::max({Needed, Capacity_ + Capacity_ / 2, size_t{64}});
  Data_ = static_cast<char16_t*>(CyPageMemory::Resize(Data_, Capacity_ * 2, capacity * 2));
  Capacity_ = capacity;
}

void CyFIFOUTF16::Reserve(int64_t Count) {
  if (Count > 0) Grow(Size_ + static_cast<size_t>(Count));
}

void CyFIFOUTF16::Write(const char16_t* Text, int64_t Count) {
  if (Count <= 0) return;
  WrittenCount_ += Count;
  const size_t count = static_cast<size_t>(Count);
  if (KeepTailOnly_ && Size_ + count > static_cast<size_t>(32 * kKeptTail)) {
    // Drop all but the tail in one move, so the amortised cost per unit stays constant.
    const size_t keep =
        count >= static_cast<size_t>(kKeptTail) ? 0 : static_cast<size_t>(kKeptTail);
    std::memmove(Data_, Data_ + Size_ - keep, keep * 2);
    Size_ = keep;
    ReadPosition_ = 0;
    if (keep == 0) {
      Text += count - static_cast<size_t>(kKeptTail);
      Grow(static_cast<size_t>(kKeptTail));
      std::memcpy(Data_, Text, static_cast<size_t>(kKeptTail) * 2);
      Size_ = static_cast<size_t>(kKeptTail);
      return;
    }
  }
  if (Size_ + count > Capacity_) Grow(Size_ + count);
  std::memcpy(Data_ + Size_, Text, count * 2);
  Size_ += count;
}

void CyFIFOUTF16::CopyTail(int64_t Count, char16_t* Target) const {
  if (Count <= 0) return;
  std::memcpy(Target, Data_ + Size_ - static_cast<size_t>(Count), static_cast<size_t>(Count) * 2);
}

int64_t CyFIFOUTF16::Read(char16_t* Target, int64_t Count) {
  const int64_t taken = std::min(Count, getCount());
  if (taken <= 0) return 0;
  std::memcpy(Target, Data_ + ReadPosition_, static_cast<size_t>(taken) * 2);
  ReadPosition_ += static_cast<size_t>(taken);
  return taken;
}

void CyFIFOUTF16::Consume(int64_t Count) {
  if (Count <= 0) return;
  ReadPosition_ += static_cast<size_t>(Count);
  // Keep the unread rest at the front, so the buffer does not grow with the stream.
  std::memmove(Data_, Data_ + ReadPosition_, (Size_ - ReadPosition_) * 2);
  Size_ -= ReadPosition_;
  ReadPosition_ = 0;
}

std::u16string CyFIFOUTF16::ReadAll() {
  std::u16string all = Data_ == nullptr ? std::u16string() : std::u16string(getView());
  Size_ = 0;
  ReadPosition_ = 0;
  return all;
}

void CyFIFOUTF16::Clear() {
  Size_ = 0;
  ReadPosition_ = 0;
  WrittenCount_ = 0;
}

}  // namespace xylem
