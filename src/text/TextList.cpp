#include "text/TextList.hpp"

#include <atomic>

#include "common/Exception.hpp"

namespace xylem {

int64_t CreateProcessUniqueIDs(int64_t Count) {
  static std::atomic<int64_t> next{1};
  return next.fetch_add(Count, std::memory_order_relaxed);
}

void TxTextList::InvalidateCache() {
  AnchorLine_ = 1;
  AnchorRowCount_ = 0;
  TotalDelta_ = TotalPanic_ = TotalRowCount_ = -1;
  TotalDeltaValid_ = TotalPanicValid_ = TotalRowCountValid_ = false;
}

int64_t TxTextList::getTotalDelta() {
  if (!TotalDeltaValid_) {
    TotalDelta_ = _TextItems.CalcDelta(1, getCount());
    TotalDeltaValid_ = true;
  }
  return TotalDelta_;
}

int64_t TxTextList::getTotalPanic() {
  if (!TotalPanicValid_) {
    TotalPanic_ = _TextItems.CalcPanic(1, getCount());
    TotalPanicValid_ = true;
  }
  return TotalPanic_;
}

int64_t TxTextList::getTotalRowCount() {
  if (!TotalRowCountValid_) {
    TotalRowCount_ = _TextItems.CalcRowCount(1, getCount());
    TotalRowCountValid_ = true;
  }
  return TotalRowCount_;
}

void TxTextList::InsertBefore(int64_t Index, std::u16string_view Text) {
  if (Index < 1 || Index > getCount() + 1)
    throw CyShouldNeverHappenException("TxTextList::InsertBefore: line out of range");
  InvalidateCache();
  // Copy before making room: Text may point into a record that the move shifts (the buffer
  // itself does not move, but a private copy taken first keeps this obviously safe).
  TyTextUTF16 text{};
  text.Replace(Text);
  TxItem* item = _TextItems.InsertBefore(Index, 1);
  item->SetFresh(CreateUniqueID());
  item->TextUTF16 = text;
}

void TxTextList::InsertBefore(int64_t Index, const TxTextList& Source, int64_t FirstLine,
                              int64_t LastLine) {
  if (FirstLine > LastLine) return;
  if (Index < 1 || Index > getCount() + 1 || FirstLine < 1 || LastLine > Source.getCount())
    throw CyShouldNeverHappenException("TxTextList::InsertBefore: range out of range");
  InvalidateCache();
  const int64_t count = LastLine - FirstLine + 1;
  // When Source is this list, the inserted gap may shift the source range up.
  const bool self = &Source == this;
  TxItem* target = _TextItems.InsertBefore(Index, count);
  int64_t first = FirstLine;
  if (self && FirstLine >= Index) first += count;
  int64_t id = CreateUniqueID(count);
  for (int64_t k = 0; k < count; ++k) {
    int64_t from = first + k;
    if (self && FirstLine < Index && from >= Index) from += count;  // range straddles the gap
    const TxItem* source = Source.getItems(from);
    target[k] = *source;
    target[k].UniqueID = OnCreateUniqueID_ ? id++ : 0;
    if (target[k].TextUTF16.Owner) target[k].TextUTF16.Owner->AddRef();
  }
}

void TxTextList::Remove(int64_t Index, int64_t Count) {
  if (Count <= 0) return;
  if (Index < 1 || Index + Count - 1 > getCount())
    throw CyShouldNeverHappenException("TxTextList::Remove: range out of range");
  InvalidateCache();
  _TextItems.Remove(Index, Count);
}

void TxTextList::Clear() {
  InvalidateCache();
  _TextItems.Clear();
}

void TxTextList::Replace(int64_t Index, int64_t Count, const TxTextList& Source) {
  Remove(Index, Count);
  InsertBefore(Index, Source, 1, Source.getCount());
}

int64_t TxTextList::Dent(int64_t FirstLine, const std::vector<std::u16string>& Source,
                         const std::vector<std::u16string>& Target) {
  if (Source.size() != Target.size() || FirstLine < 1 ||
      FirstLine + static_cast<int64_t>(Source.size()) - 1 > getCount())
    throw CyShouldNeverHappenException("TxTextList::Dent: lists do not match the lines");
  int64_t changed = 0;
  std::u16string text;
  for (size_t k = 0; k < Source.size(); ++k) {
    TxItem* item = getItems(FirstLine + static_cast<int64_t>(k));
    const std::u16string_view old = item->TextUTF16.getView();
    const size_t cut = std::min(Source[k].size(), old.size());
    if (old.substr(0, cut) == Target[k] && cut == Target[k].size()) continue;  // unchanged
    if (cut == old.size()) {
      item->TextUTF16.Replace(Target[k]);  // the whole line: no joined copy first
    } else {
      text.assign(Target[k]);
      text.append(old.substr(cut));
      item->TextUTF16.Replace(text);
    }
    item->UniqueID = CreateUniqueID();
    ++changed;
  }
  return changed;
}

void TxTextList::Merge(int64_t Index) {
  if (Index < 1 || Index >= getCount())
    throw CyShouldNeverHappenException("TxTextList::Merge: no line behind the line");
  InvalidateCache();
  TxItem* item = getItems(Index);
  std::u16string text(item->TextUTF16.getView());
  text.append(getItems(Index + 1)->TextUTF16.getView());
  item->TextUTF16.Replace(text);
  item->SetFresh(CreateUniqueID());
  Remove(Index + 1, 1);
}

void TxTextList::Split(int64_t Index, int64_t Where) {
  if (Index < 1 || Index > getCount())
    throw CyShouldNeverHappenException("TxTextList::Split: line out of range");
  const std::u16string_view text = getLine(Index);
  const auto length = static_cast<int64_t>(text.size());
  if (Where < 1 || Where > length + 1)
    throw CyShouldNeverHappenException("TxTextList::Split: position out of range");
  if (Where == 1) return InsertBefore(Index, u"");
  if (Where == length + 1) return InsertAfter(Index, u"");
  TxTextList halves;
  halves.InsertAtEnd(text.substr(0, static_cast<size_t>(Where - 1)));
  halves.InsertAtEnd(text.substr(static_cast<size_t>(Where - 1)));
  Replace(Index, 1, halves);
}

}  // namespace xylem
