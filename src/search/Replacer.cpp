#include "search/Replacer.hpp"

#include <algorithm>
#include <cstring>

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
  return Pass(Text, nullptr, Length, From, To, Markers, tail, DeltaCharCount, MaxDeltaCharCount,
              ReplaceCount);
}

bool CyReplacer::Replace(const char16_t* Text, int64_t Length, int64_t From, int64_t To,
                         std::span<int64_t> Markers, CyFIFOUTF16& FIFO, int64_t& DeltaCharCount,
                         int64_t& MaxDeltaCharCount, int64_t& ReplaceCount) {
  return Pass(Text, nullptr, Length, From, To, Markers, FIFO, DeltaCharCount, MaxDeltaCharCount,
              ReplaceCount);
}

bool CyReplacer::ReplaceConsuming(CyReplaceBuffer& Text, int64_t From, int64_t To,
                                  std::span<int64_t> Markers, CyFIFOUTF16& FIFO,
                                  int64_t& DeltaCharCount, int64_t& MaxDeltaCharCount,
                                  int64_t& ReplaceCount) {
  return Pass(Text.getText(), &Text, Text.getLength(), From, To, Markers, FIFO, DeltaCharCount,
              MaxDeltaCharCount, ReplaceCount);
}

bool CyReplacer::Pass(const char16_t* Text, CyReplaceBuffer* Writable, int64_t Length, int64_t From,
                      int64_t To, std::span<int64_t> Markers, CyFIFOUTF16& Out,
                      int64_t& DeltaCharCount, int64_t& MaxDeltaCharCount, int64_t& ReplaceCount) {
  DeltaCharCount = 0;
  MaxDeltaCharCount = 0;
  ReplaceCount = 0;
  if (From < 0 || From > Length || From > To || To > Length) return false;

  const bool lookBehind = NeedsLookBehind();
  // The window: the look-behind must see replaced text, but the input is read-only, so from the
  // first replacement on the search runs in a copy of the rest of the text with kLookBehind
  // spare units in front; offset x of the input lives at window[x - windowOrigin].
  std::unique_ptr<char16_t[]> copy;
  char16_t* window = Writable != nullptr ? Writable->getText() : nullptr;
  int64_t windowOrigin = 0;

  const int64_t writtenBefore = Out.getWrittenCount();
  Out.Write(Text, From);
  int64_t position = From;
  bool notEmptyAtStart = false;
  for (;;) {
    int64_t start = 0;
    int64_t end = 0;
    bool found = false;
    if (!lookBehind) {
      found =
          FindNext(Text, Length, position, notEmptyAtStart, false, false, start, end) == srMatch;
    } else if (ReplaceCount == 0) {
      // Nothing replaced yet: the input in front of the search point is the right look-behind.
      const int64_t k = std::min(kLookBehind, position);
      found = FindNext(Text + position - k, Length - position + k, k, notEmptyAtStart, position > k,
                       false, start, end) == srMatch;
      start += position - k;
      end += position - k;
    } else {
      if (window == nullptr) {
        copy.reset(new char16_t[static_cast<size_t>(kLookBehind + Length - position + 1)]);
        window = copy.get() + kLookBehind;
        windowOrigin = position;
        std::memcpy(window, Text + position, static_cast<size_t>(Length - position) * 2);
        window[Length - position] = 0;
      }
      // The tail of the output is the replaced text just in front of the search point; it goes
      // where the input used to be, which the pass never reads again.
      const int64_t k =
          std::min({kLookBehind, Out.getWrittenCount() - writtenBefore, Out.getCount()});
      char16_t* subject = window + (position - windowOrigin) - k;
      Out.CopyTail(k, subject);
      // "^" is a look-behind as well: the window's first unit is a line start only when the whole
      // replaced text in front of the search point fits into it.
      found = FindNext(subject, Length - position + k, k, notEmptyAtStart,
                       k < Out.getWrittenCount() - writtenBefore, false, start, end) == srMatch;
      start += position - k;
      end += position - k;
    }
    if (!found || start >= To) break;
    start = std::max(start, position);
    end = std::max(end, start);

    Out.Write(Text + position, start - position);
    const int64_t before = Out.getWrittenCount();
    WriteReplacement(Out);
    const int64_t replacementLength = Out.getWrittenCount() - before;
    const int64_t change = replacementLength - (end - start);
    // Markers are already in replaced coordinates up to here: the match sits at
    // [start + DeltaCharCount, end + DeltaCharCount) of the replaced text.
    const int64_t newStart = start + DeltaCharCount;
    const int64_t newEnd = end + DeltaCharCount;
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
  }
  Out.Write(Text + position, Length - position);
  return ReplaceCount > 0;
}

bool CyReplacer::ReplaceAllStreamed(const std::function<int64_t(char16_t*, int64_t)>& Source,
                                    const std::function<void(std::u16string_view)>& Sink,
                                    int64_t& ReplaceCount, int64_t PieceSize) {
  // At least two units, so a Source can always hand over a whole surrogate pair.
  const int64_t kPiece = std::max<int64_t>(2, PieceSize);
  ReplaceCount = 0;
  const bool lookBehind = NeedsLookBehind();
  int64_t capacity = 2 * kPiece;
  std::unique_ptr<char16_t[]> buffer(new char16_t[static_cast<size_t>(kLookBehind + capacity)]);
  // The text of the current piece starts at buffer + kLookBehind; `front` units of original
  // text in front of it are kept for searchers that look one unit back (whole words).
  int64_t front = 0;
  int64_t available = 0;
  int64_t position = 0;
  bool final = false;
  bool needMore = true;
  bool notEmptyAtStart = false;
  CyFIFOUTF16 out;
  auto text = [&] { return buffer.get() + kLookBehind; };

  for (;;) {
    if (!final && (needMore || available - position < kPiece)) {
      // Move the open rest (and up to kLookBehind units in front of it) to the start.
      const int64_t keep = std::min(kLookBehind, position + front);
      std::memmove(buffer.get() + kLookBehind - keep, text() + position - keep,
                   static_cast<size_t>(available - position + keep) * 2);
      available -= position;
      position = 0;
      front = keep;
      if (available + kPiece > capacity) {
        capacity = 2 * (available + kPiece);
        std::unique_ptr<char16_t[]> grown(
            new char16_t[static_cast<size_t>(kLookBehind + capacity)]);
        std::memcpy(grown.get() + kLookBehind - front, text() - front,
                    static_cast<size_t>(front + available) * 2);
        buffer = std::move(grown);
      }
      const int64_t read = Source(text() + available, kPiece);
      available += read;
      final = read == 0;
      needMore = false;
      // Hand on all but the tail the next window needs.
      if (out.getCount() > std::max(kPiece, 2 * CyFIFOUTF16::kKeptTail)) {
        const std::u16string_view done = out.getView();
        size_t cut = done.size() - static_cast<size_t>(CyFIFOUTF16::kKeptTail);
        if ((done[cut] & 0xFC00) == 0xDC00 && (done[cut - 1] & 0xFC00) == 0xD800)
          --cut;  // pairs stay whole
        Sink(done.substr(0, cut));
        out.Consume(static_cast<int64_t>(cut));
      }
      continue;
    }

    int64_t k = 0;
    bool notAtTextStart = false;
    char16_t* subject = nullptr;
    if (lookBehind) {
      // As in the one-buffer pass: look-behind sees the replaced text in front of the point.
      k = std::min(kLookBehind, std::min(out.getWrittenCount(), out.getCount()));
      subject = text() + position - k;
      out.CopyTail(k, subject);
      front = 0;  // the original text in front is overwritten now
      notAtTextStart = k < out.getWrittenCount();
    } else {
      k = std::min(kLookBehind, position + front);
      subject = text() + position - k;
    }
    int64_t start = 0;
    int64_t end = 0;
    TySearchResult result = FindNext(subject, available - position + k, k, notEmptyAtStart,
                                     notAtTextStart, !final, start, end);
    start += position - k;
    end += position - k;
    // As in the one-buffer pass, a match must start before the end of the text.
    if (result == srMatch && final && start >= available) result = srNone;
    if (result == srMatch) {
      start = std::max(start, position);
      end = std::max(end, start);
      out.Write(text() + position, start - position);
      WriteReplacement(out);
      ++ReplaceCount;
      position = end;
      notEmptyAtStart = start == end;
    } else if (result == srNone) {
      out.Write(text() + position, available - position);
      position = available;
      if (final) break;
    } else {
      start = std::max(start, position);
      out.Write(text() + position, start - position);
      if (start > position) notEmptyAtStart = false;
      position = start;
      needMore = true;
    }
  }
  Sink(out.getView());
  return ReplaceCount > 0;
}

}  // namespace xylem
