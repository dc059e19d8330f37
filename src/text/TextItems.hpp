#pragma once
// The line record and the array of line records of a text list.

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "text/PageMemory.hpp"
#include "text/TextUTF16.hpp"

namespace xylem {

// "Not computed yet" in the cached colouring and folding fields: consumers recompute a line
// whose state reads this.
inline constexpr int64_t kItemUnknown = 99;

// One line: its characters (without line end) and the per-line caches of colouring, folding
// and wrapping. Plain data: records are moved and zero-filled as raw memory.
struct TxItem {
  int64_t StackG;         // colouring state at the line's start
  int64_t StackS;         // second colouring state
  int64_t UniqueID;       // identity of this version of the line's text
  int64_t FoldLeftover;   // folding state
  TyTextUTF16 TextUTF16;  // the characters, without line end
  int32_t Delta;          // net change of nesting depth over the line
  int32_t DeltaMin;       // lowest running depth in the line
  int32_t DeltaMax;       // highest running depth in the line
  int32_t FoldCount;      // folding count
  int32_t RowCount;       // screen rows of the wrapped line
  uint8_t Bookmark;
  uint8_t Panic;

  // Sets every field but the text to the values of a fresh line, with identity ID.
  void SetFresh(int64_t ID) {
    StackG = kItemUnknown;
    StackS = kItemUnknown;
    UniqueID = ID;
    FoldLeftover = 0;
    Delta = 0;
    DeltaMin = kItemUnknown;
    DeltaMax = kItemUnknown;
    FoldCount = 0;
    RowCount = 1;
    Bookmark = 0;
    Panic = 0;
  }
};
static_assert(std::is_trivially_copyable_v<TxItem>);

using PxItem = TxItem*;

// The line records: a count and one contiguous, zero-filled block. Lines are numbered from 1;
// getItems(Index) takes 1 .. getCount(). Not thread-safe; parallel stages write disjoint
// records of a block sized beforehand.
class TxTextItems {
 public:
  TxTextItems() = default;
  ~TxTextItems();
  TxTextItems(const TxTextItems&) = delete;
  TxTextItems& operator=(const TxTextItems&) = delete;

  int64_t getCount() const { return Count_; }
  // Line Index (1-based). No range check.
  TxItem* getItems(int64_t Index) const { return data() + (Index - 1); }
  TxItem* getLastItem() const { return Count_ ? data() + (Count_ - 1) : nullptr; }

  // Makes room for Count zero-filled records before line Index (1 .. count + 1), moving the
  // tail up; returns the first of them, nullptr when Count is 0. Amortised block move.
  TxItem* InsertBefore(int64_t Index, int64_t Count);
  TxItem* InsertAtEnd() { return InsertBefore(Count_ + 1, 1); }
  TxItem* InsertAtEnd(int64_t Count) { return InsertBefore(Count_ + 1, Count); }
  // Releases the texts of lines Index .. Index + Count - 1 (in parallel for large ranges),
  // moves the tail down and zero-fills the freed records.
  void Remove(int64_t Index, int64_t Count);
  // Removes every line and gives the block back (a later load takes a fresh one).
  void Clear();
  // Drops Count records at the end without releasing their texts (their references must have
  // been handed on).
  void Trim(int64_t Count);
  // Drops all lines and leaves Count records with undefined contents, which the caller must
  // write completely (the loader's parallel fill) or hand to Abandon.
  void Allocate(int64_t Count);
  // Forgets every record without releasing texts and gives the block back: the way out of an
  // Allocate whose fill did not complete (failed or cancelled).
  void Abandon();
  // The record block's address range, for a parallel stage to fault in its own part.
  TxItem* getBlock() const { return data(); }

  // Sums over the inclusive range; 0 when FirstLine > LastLine. Linear.
  int64_t CalcDelta(int64_t FirstLine, int64_t LastLine) const;
  int64_t CalcPanic(int64_t FirstLine, int64_t LastLine) const;
  int64_t CalcRowCount(int64_t FirstLine, int64_t LastLine) const;
  // True when no line of the range has DeltaMax > 0 or DeltaMin < 0 (the range neither opens
  // nor closes anything); true for an empty range.
  bool getDelta(int64_t FirstLine, int64_t LastLine) const;
  // Sum of the lines' lengths over the range, line ends excluded.
  int64_t getTextCount(int64_t FirstLine, int64_t LastLine) const;

  // Offset (0-based, line ends counting Newline's length) of 1-based Line and Linepos.
  // Linear in Line.
  void ConvertLineLineposToOffset(std::u16string_view Newline, int64_t Line, int64_t Linepos,
                                  int64_t& Offset) const;
  // The inverse; an offset beyond the text gives the last line and its length + 1. The list
  // must not be empty. Linear in the result line: never call per character.
  void ConvertOffsetToLineLinepos(std::u16string_view Newline, int64_t Offset, int64_t& Line,
                                  int64_t& Linepos) const;
  // Lines FirstLine .. LastLine joined by Newline (no trailing one), as UTF-16LE bytes,
  // optionally behind the UTF-16LE byte-order mark. Sized exactly beforehand.
  std::string getFIFOUTF16LE(bool WithBOM, std::u16string_view Newline, int64_t FirstLine,
                             int64_t LastLine) const;
  // The same lines joined as a UTF-16 string.
  std::u16string getJoined(std::u16string_view Newline, int64_t FirstLine, int64_t LastLine) const;
  // The length of that string, and the string written to Out (which has room for it); returns
  // the end of what was written. For callers that own their buffer (a NUL-terminated copy).
  size_t getJoinedLength(std::u16string_view Newline, int64_t FirstLine, int64_t LastLine) const;
  char16_t* JoinInto(std::u16string_view Newline, int64_t FirstLine, int64_t LastLine,
                     char16_t* Out) const;

 private:
  TxItem* data() const { return static_cast<TxItem*>(Block_.getData()); }
  CyMemoryBlockWithZero Block_{sizeof(TxItem)};
  int64_t Count_ = 0;
};

// Releases line texts in parallel: the range is cut into one chunk per piece (chunk i holds
// remaining / (N - i) lines) and every chunk is released in its own task.
class CyTextItemsCrusher {
 public:
  // Frees the texts of Count records from TextItems (raw records, not 1-based lines).
  // PieceCount 0 means one per processor; small ranges run on the calling thread.
  static void Crush_PARALLEL(TxItem* TextItems, int64_t TextItemsCount, int PieceCount = 0);
};

}  // namespace xylem
