#pragma once
// The queue a replace pass writes its result into: UTF-16 code units appended at the back and
// taken from the front. One contiguous buffer, grown geometrically; large buffers come from
// fresh (huge) pages, so a document-sized result does not fault page by page.

#include <cstdint>
#include <string>
#include <string_view>

namespace xylem {

class CyFIFOUTF16 {
 public:
  // Number of code units keep-tail mode never drops below; the look-behind window of a replace
  // pass needs this much of the most recent output.
  static constexpr int64_t kKeptTail = 128;

  // An empty queue; allocates nothing until the first write. Not thread-safe.
  CyFIFOUTF16() = default;
  ~CyFIFOUTF16();
  CyFIFOUTF16(const CyFIFOUTF16&) = delete;
  CyFIFOUTF16& operator=(const CyFIFOUTF16&) = delete;
  // KeepTailOnly: only the last kKeptTail or more units are kept (for passes that count but
  // produce no text); reading then returns just that tail.
  explicit CyFIFOUTF16(bool KeepTailOnly) : KeepTailOnly_(KeepTailOnly) {}

  // Appends Count units. Amortised O(Count).
  void Write(const char16_t* Text, int64_t Count);
  // Appends Text.
  void Write(std::u16string_view Text) { Write(Text.data(), static_cast<int64_t>(Text.size())); }
  // Reserves room for Count more units without changing the content.
  void Reserve(int64_t Count);

  // Units written and not yet read.
  int64_t getCount() const { return static_cast<int64_t>(Size_ - ReadPosition_); }
  // Units written since construction or the last Clear, including those read or dropped.
  int64_t getWrittenCount() const { return WrittenCount_; }
  // The unread units, contiguous; valid until the next write.
  std::u16string_view getView() const {
    return std::u16string_view(Data_ + ReadPosition_, Size_ - ReadPosition_);
  }
  // Copies the last Count units written (Count <= getCount()) to Target.
  void CopyTail(int64_t Count, char16_t* Target) const;

  // Takes up to Count units from the front into Target; returns how many were taken.
  int64_t Read(char16_t* Target, int64_t Count);
  // Drops Count units from the front (Count <= getCount()).
  void Consume(int64_t Count);
  // Takes everything unread.
  std::u16string ReadAll();
  // Empties the queue and resets the written count; keeps the buffer.
  void Clear();

 private:
  void Grow(size_t Needed);

  char16_t* Data_ = nullptr;
  size_t Size_ = 0;
  size_t Capacity_ = 0;
  size_t ReadPosition_ = 0;
  int64_t WrittenCount_ = 0;
  bool KeepTailOnly_ = false;
};

}  // namespace xylem
