#include "search/FIFO.hpp"

#include <algorithm>
#include <cstring>

#include "text/PageMemory.hpp"

namespace xylem {

CyFIFOUTF16::~CyFIFOUTF16() { CyPageMemory::Free(_Data, _Capacity * 2); }

void CyFIFOUTF16::Grow(size_t Needed) {
  if (Needed <= _Capacity) return;
  const size_t capacity = std::max({Needed, _Capacity + _Capacity / 2, size_t{64}});
  _Data = static_cast<char16_t*>(CyPageMemory::Resize(_Data, _Capacity * 2, capacity * 2));
  _Capacity = capacity;
}

void CyFIFOUTF16::Reserve(int64_t Count) {
  if (Count > 0) Grow(_Size + static_cast<size_t>(Count));
}

void CyFIFOUTF16::Write(const char16_t* Text, int64_t Count) {
  if (Count <= 0) return;
  _WrittenCount += Count;
  const size_t count = static_cast<size_t>(Count);
  if (_KeepTailOnly && _Size + count > static_cast<size_t>(32 * kKeptTail)) {
    // Drop all but the tail in one move, so the amortised cost per unit stays constant.
    const size_t keep =
        count >= static_cast<size_t>(kKeptTail) ? 0 : static_cast<size_t>(kKeptTail);
    std::memmove(_Data, _Data + _Size - keep, keep * 2);
    _Size = keep;
    _ReadPosition = 0;
    if (keep == 0) {
      Text += count - static_cast<size_t>(kKeptTail);
      Grow(static_cast<size_t>(kKeptTail));
      std::memcpy(_Data, Text, static_cast<size_t>(kKeptTail) * 2);
      _Size = static_cast<size_t>(kKeptTail);
      return;
    }
  }
  if (_Size + count > _Capacity) Grow(_Size + count);
  std::memcpy(_Data + _Size, Text, count * 2);
  _Size += count;
}

void CyFIFOUTF16::CopyTail(int64_t Count, char16_t* Target) const {
  if (Count <= 0) return;
  std::memcpy(Target, _Data + _Size - static_cast<size_t>(Count), static_cast<size_t>(Count) * 2);
}

int64_t CyFIFOUTF16::Read(char16_t* Target, int64_t Count) {
  const int64_t taken = std::min(Count, getCount());
  if (taken <= 0) return 0;
  std::memcpy(Target, _Data + _ReadPosition, static_cast<size_t>(taken) * 2);
  _ReadPosition += static_cast<size_t>(taken);
  return taken;
}

void CyFIFOUTF16::Consume(int64_t Count) {
  if (Count <= 0) return;
  _ReadPosition += static_cast<size_t>(Count);
  // Keep the unread rest at the front, so the buffer does not grow with the stream.
  std::memmove(_Data, _Data + _ReadPosition, (_Size - _ReadPosition) * 2);
  _Size -= _ReadPosition;
  _ReadPosition = 0;
}

std::u16string CyFIFOUTF16::ReadAll() {
  std::u16string all = _Data == nullptr ? std::u16string() : std::u16string(getView());
  _Size = 0;
  _ReadPosition = 0;
  return all;
}

void CyFIFOUTF16::Clear() {
  _Size = 0;
  _ReadPosition = 0;
  _WrittenCount = 0;
}

}  // namespace xylem
