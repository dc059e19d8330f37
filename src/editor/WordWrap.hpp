#pragma once
// Word wrap of one view: how many screen rows each line takes at a width in columns, and the
// map between rows and document lines.
//
// Columns: a tab advances to the next multiple of the tab width; a character's width comes
// from Unicode East Asian Width (wide and fullwidth characters take two columns, combining
// marks and other zero-width characters none, everything else one). A line breaks behind the
// last space that still fits, or before the first character that does not fit when its row
// has no space; a row holds at least one character.
//
// Rows are measured for the lines a view needs: the lines are cut into blocks of about
// kBlockLines lines, a block is measured as a whole when a query reaches it, and unmeasured
// blocks count one row per line meanwhile. An edit re-measures only the changed lines of
// measured blocks and updates the block sums, so it never invalidates the whole document; a
// new width or tab width forgets all measurements. The measured row count of a line is kept in
// its record (RowCount). Row queries cost O(log b) over b blocks plus one block's walk.
//
// Not thread-safe: the editing thread (the view's) only.

#include <cstdint>
#include <string_view>
#include <vector>

#include "editor/DocumentChange.hpp"

namespace xylem {

struct TyWrapOptions {
  int32_t Width = 0;     // columns; 0 or less: no wrapping (every line one row)
  int32_t TabWidth = 8;  // columns between tab stops; at least 1
  bool operator==(const TyWrapOptions&) const = default;
};

// Columns taken by the code point CodePoint (0, 1 or 2; tabs are the caller's business).
int ColumnWidth(char32_t CodePoint);
// The rows Line wraps into at Options: at least 1. Tab stops count from the line's start, as
// in the unwrapped line; a row holds at most Width columns of that grid (a character wider than
// the row alone gets one). Linear in the line; no allocation.
int32_t CountRows(std::u16string_view Line, const TyWrapOptions& Options);
// The 0-based start offsets of Line's rows (the first is 0), appended to Starts.
void RowStarts(std::u16string_view Line, const TyWrapOptions& Options,
               std::vector<int64_t>& Starts);

class CyWordWrap : public IyDocumentListener {
 public:
  static constexpr int64_t kBlockLines = 1024;

  CyWordWrap(TxMarkupDocument& Document, const TyWrapOptions& Options);
  ~CyWordWrap() override;
  CyWordWrap(const CyWordWrap&) = delete;
  CyWordWrap& operator=(const CyWordWrap&) = delete;

  const TyWrapOptions& getOptions() const { return Options_; }
  // A new width or tab width forgets every measurement (constant time, measured lazily).
  void setOptions(const TyWrapOptions& Options);

  // Rows of line Line (measures its block if needed).
  int32_t getRowCount(int64_t Line);
  // Rows of all lines, unmeasured blocks counted as one row per line.
  int64_t getTotalRowCount() const;
  // Measures every block: getTotalRowCount is then exact. Linear in the text.
  void MeasureAll();
  // The first row (0-based) of line Line, measuring the blocks in front of it only as far as
  // they are measured already (unmeasured ones count one row per line) and Line's own block.
  int64_t LineToRow(int64_t Line);
  // The line that row Row (0-based) belongs to, and the row's index inside that line.
  int64_t RowToLine(int64_t Row, int64_t& RowInLine);

  void OnDocumentChanged(const TxMarkupDocument& Document, const TyDocumentChange& Change) override;

 private:
  struct TyBlock {
    int64_t Lines = 0;
    int64_t Rows = 0;  // == Lines while unmeasured
    bool Measured = false;
  };
  void Reset();
  void MeasureBlock(size_t Block, int64_t FirstLine);
  size_t FindBlockOfLine(int64_t Line, int64_t& FirstLine) const;
  void RebuildSums();
  void UpdateSums(size_t Block, int64_t LinesDelta, int64_t RowsDelta);

  TxMarkupDocument& Document_;
  TyWrapOptions Options_;
  std::vector<TyBlock> Blocks_;
  // Fenwick trees over the blocks: line and row sums.
  std::vector<int64_t> LineTree_;
  std::vector<int64_t> RowTree_;
};

}  // namespace xylem
