#include "search/Replacer.hpp"

#include <algorithm>
#include <cstring>
#include <limits>

#include "text/PageMemory.hpp"

namespace xylem {

CyReplaceBuffer::CyReplaceBuffer(int64_t Length)
    : Data_(static_cast<char16_t*>(
          CyPageMemory::Allocate(static_cast<size_t>(kSpare + Length + 1) * 2))),
      Length_(Length),
      Capacity_(Length) {}

CyReplaceBuffer::~CyReplaceBuffer() {
  CyPageMemory::Free(Data_, static_cast<size_t>(kSpare + Capacity_ + 1) * 2);
}

void CyReplaceBuffer::setLength(int64_t Length) {
  Length_ = Length;
  Data_[static_cast<size_t>(kSpare + Length)] = 0;
}

bool CyReplacer::Replace(const char16_t* Text, int64_t Length, int64_t From, int64_t To,
                         std::span<int64_t> Markers, int64_t& DeltaCharCount,
                         int64_t& MaxDeltaCharCount, int64_t& ReplaceCount) {
  CyFIFOUTF16 tail(true);
  return Replace(Text, Length, From, To, Markers, tail, DeltaCharCount, MaxDeltaCharCount,
                 ReplaceCount);
}

bool CyReplacer::Replace(const char16_t* Text, int64_t Length, int64_t From, int64_t To,
                         std::span<int64_t> Markers, CyFIFOUTF16& FIFO, int64_t& DeltaCharCount,
                         int64_t& MaxDeltaCharCount, int64_t& ReplaceCount) {
  if (!NeedsLookBehind() || From < 0 || From > Length || From > To || To > Length)
    return Pass(nullptr, const_cast<char16_t*>(Text), Length, From, To, Markers, FIFO, nullptr,
                Length, DeltaCharCount, MaxDeltaCharCount, ReplaceCount);
  // Look-behind writes replaced text in front of the search point: into a copy, as the input
  // is only read.
  CyReplaceBuffer copy(Length);
  std::memcpy(copy.getText(), Text, static_cast<size_t>(Length) * 2);
  return ReplaceConsuming(copy, From, To, Markers, FIFO, DeltaCharCount, MaxDeltaCharCount,
                          ReplaceCount);
}

bool CyReplacer::ReplaceConsuming(CyReplaceBuffer& Text, int64_t From, int64_t To,
                                  std::span<int64_t> Markers, CyFIFOUTF16& FIFO,
                                  int64_t& DeltaCharCount, int64_t& MaxDeltaCharCount,
                                  int64_t& ReplaceCount) {
  return Pass(nullptr, Text.getText(), Text.getLength(), From, To, Markers, FIFO, nullptr,
              Text.getLength(), DeltaCharCount, MaxDeltaCharCount, ReplaceCount);
}

bool CyReplacer::ReplaceAllStreamed(const TySource& Source, const TySink& Sink,
                                    int64_t& ReplaceCount, int64_t PieceSize) {
  CyFIFOUTF16 out;
  int64_t delta = 0, maxDelta = 0;
  return Pass(&Source, nullptr, 0, 0, std::numeric_limits<int64_t>::max(), {}, out, &Sink,
              PieceSize, delta, maxDelta, ReplaceCount);
}

bool CyReplacer::Pass(const TySource* Source, char16_t* Whole, int64_t Length, int64_t From,
                      int64_t To, std::span<int64_t> Markers, CyFIFOUTF16& Out, const TySink* Sink,
                      int64_t PieceSize, int64_t& DeltaCharCount, int64_t& MaxDeltaCharCount,
                      int64_t& ReplaceCount) {
  DeltaCharCount = 0;
  MaxDeltaCharCount = 0;
  ReplaceCount = 0;
  if (!Source && (From < 0 || From > Length || From > To || To > Length)) return false;

  const bool lookBehind = NeedsLookBehind();
  // At least two units, so a Source can always hand over a whole surrogate pair.
  const int64_t kPiece = std::max<int64_t>(2, PieceSize);
  // The current piece of text starts at `text`, offset `origin` of the whole text; kLookBehind
  // writable units lie in front of it. A whole text is the one piece, read in place. Pieces
  // from a Source go into `buffer`, `front` units of original text kept in front of them for
  // searchers that look one unit back (whole words).
  std::unique_ptr<char16_t[]> buffer;
  int64_t capacity = 0;
  char16_t* text = Whole;
  int64_t available = Length;
  int64_t origin = 0;
  int64_t front = 0;
  bool final = Source == nullptr;
  bool needMore = !final;
  if (Source) {
    capacity = 2 * kPiece;
    buffer.reset(new char16_t[static_cast<size_t>(kLookBehind + capacity)]);
    text = buffer.get() + kLookBehind;
    available = 0;
  }
  const int64_t writtenBefore = Out.getWrittenCount();
  Out.Write(text, From);
  int64_t position = From;
  bool notEmptyAtStart = false;

  for (;;) {
    if (!final && (needMore || available - position < kPiece)) {
      // Move the open rest (and up to kLookBehind units in front of it) to the start.
      const int64_t keep = std::min(kLookBehind, position + front);
      std::memmove(text - keep, text + position - keep,
                   static_cast<size_t>(available - position + keep) * 2);
      available -= position;
      origin += position;
      position = 0;
      front = keep;
      if (available + kPiece > capacity) {
        capacity = 2 * (available + kPiece);
        std::unique_ptr<char16_t[]> grown(
            new char16_t[static_cast<size_t>(kLookBehind + capacity)]);
        std::memcpy(grown.get() + kLookBehind - front, text - front,
                    static_cast<size_t>(front + available) * 2);
        buffer = std::move(grown);
        text = buffer.get() + kLookBehind;
      }
      const int64_t read = (*Source)(text + available, kPiece);
      available += read;
      final = read == 0;
      needMore = false;
      // Hand on all but the tail the next window needs.
      if (Sink && Out.getCount() > std::max(kPiece, 2 * CyFIFOUTF16::kKeptTail)) {
        const std::u16string_view done = Out.getView();
        size_t cut = done.size() - static_cast<size_t>(CyFIFOUTF16::kKeptTail);
        if ((done[cut] & 0xFC00) == 0xDC00 && (done[cut - 1] & 0xFC00) == 0xD800)
          --cut;  // pairs stay whole
        (*Sink)(done.substr(0, cut));
        Out.Consume(static_cast<int64_t>(cut));
      }
      continue;
    }

    int64_t k = 0;
    bool notAtTextStart = false;
    char16_t* subject = nullptr;
    if (lookBehind) {
      // Look-behind must see the replaced text in front of the search point: the output's tail
      // goes where the input used to be, which the pass never reads again. "^" is a
      // look-behind as well: the window's first unit is a line start only when the whole
      // replaced text in front of the search point fits into it.
      const int64_t written = Out.getWrittenCount() - writtenBefore;
      k = std::min({kLookBehind, written, Out.getCount()});
      subject = text + position - k;
      Out.CopyTail(k, subject);
      front = 0;  // the original text in front is overwritten now
      notAtTextStart = k < written;
    } else {
      k = std::min(kLookBehind, position + front);
      subject = text + position - k;
    }
    int64_t start = 0;
    int64_t end = 0;
    TySearchResult result = FindNext(subject, available - position + k, k, notEmptyAtStart,
                                     notAtTextStart, !final, start, end);
    start += position - k;
    end += position - k;
    // A match must start before To and before the end of the text.
    if (result == srMatch && (origin + start >= To || (final && start >= available)))
      result = srNone;
    if (result == srMatch) {
      start = std::max(start, position);
      end = std::max(end, start);
      Out.Write(text + position, start - position);
      const int64_t before = Out.getWrittenCount();
      WriteReplacement(Out);
      const int64_t replacementLength = Out.getWrittenCount() - before;
      const int64_t change = replacementLength - (end - start);
      // Markers are already in replaced coordinates up to here: the match sits at
      // [start + DeltaCharCount, end + DeltaCharCount) of the replaced text.
      const int64_t newStart = origin + start + DeltaCharCount;
      const int64_t newEnd = origin + end + DeltaCharCount;
      for (int64_t& marker : Markers) {
        if (marker > newEnd) {
          marker += change;
        } else if (marker > newStart) {
          marker = newStart + replacementLength;
        }
      }
      DeltaCharCount += change;
      MaxDeltaCharCount = std::max(MaxDeltaCharCount, DeltaCharCount);
      ++ReplaceCount;
      position = end;
      notEmptyAtStart = start == end;
    } else if (result == srNone) {
      Out.Write(text + position, available - position);
      position = available;
      if (final) break;
    } else {
      start = std::max(start, position);
      Out.Write(text + position, start - position);
      if (start > position) notEmptyAtStart = false;
      position = start;
      needMore = true;
    }
  }
  if (Sink) (*Sink)(Out.getView());
  return ReplaceCount > 0;
}

}  // namespace xylem
