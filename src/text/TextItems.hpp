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

// The line records: a count and one block of records with a movable gap. Lines are numbered
// from 1; getItems(Index) takes 1 .. getCount().
//
// Layout: the block holds getCount() records and a gap of free records between them; lines
// before the gap sit at the block's start, the rest at its end. An insert or remove first moves
// the gap to the edit (a block move of the records between the old and the new place), so
// repeated edits in one region cost the lines they touch, not the lines behind them (a line
// inserted in the middle of 10 M lines would otherwise move 400 MB); an edit far from the
// previous one pays that move once. The gap is preferred to a list of blocks because every
// reader stays one pointer computation per line (the parallel stages, the coloring and the
// repair walk lines by number), and the block keeps growing by remapping. A full gap grows by
// the count below 64 K lines, then by 64 K records or 1/64 of the count, whichever is more.
//
// After Allocate the records are contiguous (the gap is at the end) until the next edit; code
// that walks records by pointer over more than one line calls CloseGap first, or walks the
// spans of getSpan.
//
// Not thread-safe; parallel stages may read and write disjoint records (through getItems) while
// nothing inserts or removes.
class TxTextItems {
 public:
  TxTextItems() = default;
  ~TxTextItems();
  TxTextItems(const TxTextItems&) = delete;
  TxTextItems& operator=(const TxTextItems&) = delete;

  int64_t getCount() const { return Count_; }
  // Line Index (1-based). No range check. Constant time; the pointer stays valid until the next
  // insert, remove or CloseGap.
  TxItem* getItems(int64_t Index) const {
    const int64_t at = Index - 1;
    return data() + (at < GapStart_ ? at : at + GapSize_);
  }
  TxItem* getLastItem() const { return Count_ ? getItems(Count_) : nullptr; }
  // The longest run of consecutive records from line Index that lies on one side of the gap,
  // at most Count lines: Length receives its length (0 when Index is beyond the last line).
  TxItem* getSpan(int64_t Index, int64_t Count, int64_t& Length) const;

  // Makes room for Count zero-filled records before line Index (1 .. count + 1) and returns
  // the first of them (they are consecutive), nullptr when Count is 0. Moves the gap to Index,
  // growing it when it is smaller than Count.
  TxItem* InsertBefore(int64_t Index, int64_t Count);
  TxItem* InsertAtEnd() { return InsertBefore(Count_ + 1, 1); }
  TxItem* InsertAtEnd(int64_t Count) { return InsertBefore(Count_ + 1, Count); }
  // Releases the texts of lines Index .. Index + Count - 1 (in parallel for large ranges) and
  // adds their records to the gap, which moves to Index.
  void Remove(int64_t Index, int64_t Count);
  // Removes every line and gives the block back (a later load takes a fresh one).
  void Clear();
  // Drops Count records at the end without releasing their texts (their references must have
  // been handed on).
  void Trim(int64_t Count);
  // Drops all lines and leaves Count contiguous records with undefined contents, which the
  // caller must write completely (the loader's parallel fill, by pointer from getItems(1)) or
  // hand to Abandon.
  void Allocate(int64_t Count);
  // Forgets every record without releasing texts and gives the block back: the way out of an
  // Allocate whose fill did not complete (failed or cancelled).
  void Abandon();
  // Moves the gap behind the last line, so that lines 1 .. count are consecutive records from
  // getItems(1). Linear in the records behind the gap; free when it is there already.
  void CloseGap() { MoveGap(Count_); }
  // Line number before which the gap lies (count + 1 when the records are contiguous).
  int64_t getGapLine() const { return GapStart_ + 1; }
  // Free records in the gap.
  int64_t getGapSize() const { return GapSize_; }

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
  // Moves the gap to lie before 0-based record At (0 .. count).
  void MoveGap(int64_t At);
  // Grows the gap to hold at least Count records.
  void ReserveGap(int64_t Count);

  CyMemoryBlockWithZero Block_{sizeof(TxItem)};
  int64_t Count_ = 0;
  int64_t GapStart_ = 0;  // lines before the gap
  int64_t GapSize_ = 0;   // capacity - count
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
