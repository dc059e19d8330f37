#pragma once
// CyDisplayRows: the rows a view shows, folds and word wrap together. A document line that a
// collapsed fold hides takes no row; a visible line takes one row, or with wrap on as many as
// CyWordWrap measures. Rows are 0-based, lines 1-based.
//
// Cost: without wrap the folding's map answers (O(log k) for k collapsed ranges); with wrap and
// nothing folded the wrap's block sums answer (O(log b) plus one block's walk). With both, the
// first query after Invalidate measures the whole text once and lists the visible runs (linear
// in the text and the collapsed ranges); later queries are O(log r) over r runs plus the
// wrap's lookup.
//
// Not thread-safe: the view's (editing) thread only.

#include <cstdint>
#include <vector>

namespace xylem {

class CyEditorFolding;
class CyWordWrap;
class TxMarkupDocument;

class CyDisplayRows {
 public:
  CyDisplayRows(TxMarkupDocument& Document, CyEditorFolding& Folding)
      : Document_(Document), Folding_(Folding) {}

  // Wraps through Wrap (owned by the caller; null: no wrap).
  void setWrap(CyWordWrap* Wrap);
  CyWordWrap* getWrap() const { return Wrap_; }
  // The text, the folds or the wrap width changed.
  void Invalidate() { Valid_ = false; }

  // Rows of all visible lines.
  int64_t getRowCount();
  // The first row of the visible line that shows Line (a hidden line: the fold's first line).
  int64_t LineToRow(int64_t Line);
  // The line row Row (clamped to the rows) belongs to, and the row's index inside the line.
  int64_t RowToLine(int64_t Row, int64_t& RowInLine);
  // Rows of the visible line Line.
  int32_t getRowsOf(int64_t Line);

 private:
  // A stretch of consecutive visible lines and the row it starts at.
  struct TyRun {
    int64_t FirstLine;
    int64_t LastLine;
    int64_t FirstRow;
  };
  bool UsesRuns() const;
  void Build();

  TxMarkupDocument& Document_;
  CyEditorFolding& Folding_;
  CyWordWrap* Wrap_ = nullptr;
  std::vector<TyRun> Runs_;
  int64_t TotalRows_ = 0;
  bool Valid_ = false;
};

}  // namespace xylem
