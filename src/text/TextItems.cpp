#include "text/TextItems.hpp"

#include <algorithm>
#include <bit>
#include <cstring>
#include <vector>

#include "common/Tasks.hpp"

namespace xylem {

namespace {

// Below this many lines a release is cheaper than starting a thread.
constexpr int64_t kParallelCrushMinimum = 1 << 16;

// Drops the references of a run of records, one atomic operation per run of equal owners
// (loaded lines share one owner, so parallel chunks do not fight over its counter per line).
void releaseTexts(TxItem* Items, int64_t Count) {
  CyTextOwner* owner = nullptr;
  size_t run = 0;
  for (int64_t i = 0; i < Count; ++i) {
    CyTextOwner* next = Items[i].TextUTF16.Owner;
    if (next != owner) {
      if (owner) owner->Release(run);
      owner = next;
      run = 0;
    }
    ++run;
  }
  if (owner) owner->Release(run);
}

}  // namespace

void CyTextItemsCrusher::Crush_PARALLEL(TxItem* TextItems, int64_t TextItemsCount, int PieceCount) {
  if (TextItemsCount <= 0) return;
  int pieces = PieceCount > 0 ? PieceCount : CyTasks::ProcessorCount();
  if (TextItemsCount < kParallelCrushMinimum) pieces = 1;
  std::vector<int64_t> starts(static_cast<size_t>(pieces) + 1);
  int64_t at = 0;
  for (int i = 0; i < pieces; ++i) {
    starts[static_cast<size_t>(i)] = at;
    at += (TextItemsCount - at) / (pieces - i);
  }
  starts[static_cast<size_t>(pieces)] = TextItemsCount;
  CyTasks::RunAll(pieces, [&](int TextItemsLine) {
    const int64_t first = starts[static_cast<size_t>(TextItemsLine)];
    releaseTexts(TextItems + first, starts[static_cast<size_t>(TextItemsLine) + 1] - first);
  });
}

TxTextItems::~TxTextItems() { Clear(); }

TxItem* TxTextItems::getSpan(int64_t Index, int64_t Count, int64_t& Length) const {
  const int64_t at = Index - 1;
  const int64_t limit = at < GapStart_ ? GapStart_ : Count_;
  Length = std::max<int64_t>(0, std::min(Count, limit - at));
  return getItems(Index);
}

void TxTextItems::MoveGap(int64_t At) {
  if (At == GapStart_) return;
  if (GapSize_ > 0) {
    TxItem* base = data();
    if (At < GapStart_)
      std::memmove(static_cast<void*>(base + At + GapSize_), base + At,
                   static_cast<size_t>(GapStart_ - At) * sizeof(TxItem));
    else
      std::memmove(static_cast<void*>(base + GapStart_), base + GapStart_ + GapSize_,
                   static_cast<size_t>(At - GapStart_) * sizeof(TxItem));
  }
  GapStart_ = At;
}

void TxTextItems::ReserveGap(int64_t Count) {
  if (GapSize_ >= Count) return;
  // Doubling while small keeps appends amortised constant; for large lists 1/64 of the count
  // bounds the gap's memory while a paste of many lines still fits without another move.
  const int64_t slack = std::max<int64_t>({16, std::min<int64_t>(Count_, 65536), Count_ / 64});
  const int64_t oldCapacity = Count_ + GapSize_;
  const int64_t capacity = Count_ + Count + slack;
  const int64_t behind = Count_ - GapStart_;
  Block_.Reserve(static_cast<size_t>(capacity));
  TxItem* base = data();
  if (behind > 0)
    std::memmove(static_cast<void*>(base + capacity - behind), base + oldCapacity - behind,
                 static_cast<size_t>(behind) * sizeof(TxItem));
  GapSize_ = capacity - Count_;
}

TxItem* TxTextItems::InsertBefore(int64_t Index, int64_t Count) {
  if (Count <= 0) return nullptr;
  MoveGap(Index - 1);
  ReserveGap(Count);
  TxItem* at = data() + GapStart_;
  std::memset(static_cast<void*>(at), 0, static_cast<size_t>(Count) * sizeof(TxItem));
  GapStart_ += Count;
  GapSize_ -= Count;
  Count_ += Count;
  return at;
}

void TxTextItems::Remove(int64_t Index, int64_t Count) {
  if (Count <= 0) return;
  const int64_t first = Index - 1;
  // The gap joins the removed records from whichever side moves fewer records; a gap inside
  // the range moves nothing.
  if (GapStart_ <= first)
    MoveGap(first);
  else if (GapStart_ >= first + Count)
    MoveGap(first + Count);
  TxItem* base = data();
  const int64_t before = GapStart_ - first;  // removed records in front of the gap
  if (before > 0) CyTextItemsCrusher::Crush_PARALLEL(base + first, before);
  if (Count - before > 0)
    CyTextItemsCrusher::Crush_PARALLEL(base + GapStart_ + GapSize_, Count - before);
  GapStart_ = first;
  GapSize_ += Count;
  Count_ -= Count;
}

void TxTextItems::Clear() {
  if (GapStart_ > 0) CyTextItemsCrusher::Crush_PARALLEL(data(), GapStart_);
  if (Count_ > GapStart_)
    CyTextItemsCrusher::Crush_PARALLEL(data() + GapStart_ + GapSize_, Count_ - GapStart_);
  Block_.ResetUninitialized(0);
  Count_ = GapStart_ = GapSize_ = 0;
}

void TxTextItems::Trim(int64_t Count) {
  Count = std::min(Count, Count_);
  if (Count <= 0) return;
  // The records behind the gap end at the block's end: the gap moves in front of the dropped
  // ones, which then join it.
  MoveGap(Count_ - Count);
  GapSize_ += Count;
  Count_ -= Count;
}

void TxTextItems::Allocate(int64_t Count) {
  Clear();
  Block_.ResetUninitialized(static_cast<size_t>(Count));
  Count_ = GapStart_ = Count;
  GapSize_ = 0;
}

void TxTextItems::Abandon() {
  // Given back rather than zero-filled: a fill may stop (cancelled) with most of a huge block
  // not even faulted in.
  Block_.ResetUninitialized(0);
  Count_ = GapStart_ = GapSize_ = 0;
}

int64_t TxTextItems::CalcDelta(int64_t FirstLine, int64_t LastLine) const {
  int64_t sum = 0;
  for (int64_t line = FirstLine; line <= LastLine; ++line) sum += getItems(line)->Delta;
  return sum;
}

int64_t TxTextItems::CalcPanic(int64_t FirstLine, int64_t LastLine) const {
  int64_t sum = 0;
  for (int64_t line = FirstLine; line <= LastLine; ++line) sum += getItems(line)->Panic;
  return sum;
}

int64_t TxTextItems::CalcRowCount(int64_t FirstLine, int64_t LastLine) const {
  int64_t sum = 0;
  for (int64_t line = FirstLine; line <= LastLine; ++line) sum += getItems(line)->RowCount;
  return sum;
}

bool TxTextItems::getDelta(int64_t FirstLine, int64_t LastLine) const {
  for (int64_t line = FirstLine; line <= LastLine; ++line) {
    const TxItem* item = getItems(line);
    if (item->DeltaMax > 0 || item->DeltaMin < 0) return false;
  }
  return true;
}

int64_t TxTextItems::getTextCount(int64_t FirstLine, int64_t LastLine) const {
  int64_t sum = 0;
  for (int64_t line = FirstLine; line <= LastLine; ++line)
    sum += static_cast<int64_t>(getItems(line)->TextUTF16.Length);
  return sum;
}

void TxTextItems::ConvertLineLineposToOffset(std::u16string_view Newline, int64_t Line,
                                             int64_t Linepos, int64_t& Offset) const {
  const auto newlineLength = static_cast<int64_t>(Newline.size());
  int64_t offset = 0;
  for (int64_t line = 1; line < Line && line <= Count_; ++line)
    offset += static_cast<int64_t>(getItems(line)->TextUTF16.Length) + newlineLength;
  Offset = offset + Linepos - 1;
}

void TxTextItems::ConvertOffsetToLineLinepos(std::u16string_view Newline, int64_t Offset,
                                             int64_t& Line, int64_t& Linepos) const {
  const auto newlineLength = static_cast<int64_t>(Newline.size());
  int64_t remaining = Offset;
  for (int64_t line = 1; line <= Count_; ++line) {
    const int64_t step = static_cast<int64_t>(getItems(line)->TextUTF16.Length) + newlineLength;
    if (remaining - step < 0) {
      Line = line;
      Linepos = remaining + 1;
      return;
    }
    remaining -= step;
  }
  Line = Count_;
  Linepos = Count_ ? static_cast<int64_t>(getLastItem()->TextUTF16.Length) + 1 : 1;
}

char16_t* TxTextItems::JoinInto(std::u16string_view Newline, int64_t FirstLine, int64_t LastLine,
                                char16_t* Out) const {
  for (int64_t line = FirstLine; line <= LastLine; ++line) {
    if (line > FirstLine) Out = std::copy(Newline.begin(), Newline.end(), Out);
    const TyTextUTF16& text = getItems(line)->TextUTF16;
    if (text.Length) Out = std::copy(text.Text, text.Text + text.Length, Out);
  }
  return Out;
}

size_t TxTextItems::getJoinedLength(std::u16string_view Newline, int64_t FirstLine,
                                    int64_t LastLine) const {
  if (FirstLine > LastLine) return 0;
  return static_cast<size_t>(getTextCount(FirstLine, LastLine) +
                             (LastLine - FirstLine) * static_cast<int64_t>(Newline.size()));
}

std::u16string TxTextItems::getJoined(std::u16string_view Newline, int64_t FirstLine,
                                      int64_t LastLine) const {
  std::u16string joined(getJoinedLength(Newline, FirstLine, LastLine), u'\0');
  if (!joined.empty()) JoinInto(Newline, FirstLine, LastLine, joined.data());
  return joined;
}

std::string TxTextItems::getFIFOUTF16LE(bool WithBOM, std::u16string_view Newline,
                                        int64_t FirstLine, int64_t LastLine) const {
  const size_t units = getJoinedLength(Newline, FirstLine, LastLine);
  const size_t mark = WithBOM ? 2 : 0;
  std::string bytes(mark + units * 2, '\0');
  if (WithBOM) bytes[0] = '\xFF', bytes[1] = '\xFE';
  if (units == 0) return bytes;
  const std::u16string joined = getJoined(Newline, FirstLine, LastLine);
  if constexpr (std::endian::native == std::endian::little) {
    std::memcpy(bytes.data() + mark, joined.data(), units * 2);
  } else {
    for (size_t i = 0; i < units; ++i) {
      bytes[mark + 2 * i] = static_cast<char>(joined[i] & 0xFF);
      bytes[mark + 2 * i + 1] = static_cast<char>(joined[i] >> 8);
    }
  }
  return bytes;
}

}  // namespace xylem
