#include "app/DisplayRows.hpp"

#include <algorithm>

#include "editor/Document.hpp"
#include "editor/Folding.hpp"
#include "editor/WordWrap.hpp"

namespace xylem {

namespace {

constexpr int64_t kMeasureAllLines = 200000;

}  // namespace

void CyDisplayRows::setWrap(CyWordWrap* Wrap) {
  Wrap_ = Wrap;
  Valid_ = false;
}

bool CyDisplayRows::UsesRuns() const {
  return Wrap_ && Folding_.getVisibleLineCount() != Document_.getLineCount();
}

void CyDisplayRows::Build() {
  Valid_ = true;
  Runs_.clear();
  if (!Wrap_) return;
  // Exact row counts, so that rows (and the runs' sums) do not move as blocks get measured
  // later; a huge text without folds is measured where it is looked at instead.
  if (UsesRuns() || Document_.getLineCount() <= kMeasureAllLines) Wrap_->MeasureAll();
  if (!UsesRuns()) return;
  std::vector<std::pair<int64_t, int64_t>> hidden;
  for (const TyFoldRange& range : Folding_.getCollapsedRanges())
    if (range.LastLine > range.FirstLine) hidden.emplace_back(range.FirstLine + 1, range.LastLine);
  std::sort(hidden.begin(), hidden.end());
  const int64_t count = Document_.getLineCount();
  auto rowOf = [&](int64_t Line) {
    return Line > count ? Wrap_->getTotalRowCount() : Wrap_->LineToRow(Line);
  };
  int64_t line = 1;
  int64_t row = 0;
  auto addRun = [&](int64_t Last) {
    if (Last < line) return;
    Runs_.push_back({line, Last, row});
    row += rowOf(Last + 1) - rowOf(line);
  };
  for (const auto& [first, last] : hidden) {
    if (last < line) continue;  // nested in an interval already passed
    addRun(first - 1);
    line = std::max(line, last + 1);
  }
  addRun(count);
  TotalRows_ = row;
}

int64_t CyDisplayRows::getRowCount() {
  if (!Wrap_) return Folding_.getVisibleLineCount();
  if (!Valid_) Build();
  return UsesRuns() ? TotalRows_ : Wrap_->getTotalRowCount();
}

int64_t CyDisplayRows::LineToRow(int64_t Line) {
  if (!Wrap_) return Folding_.DocumentLineToVisible(Line) - 1;
  if (!Valid_) Build();
  if (!UsesRuns()) return Wrap_->LineToRow(Line);
  // A hidden line is shown by the last visible line before it (the fold's first line).
  const int64_t shown = Folding_.VisibleLineToDocument(Folding_.DocumentLineToVisible(Line));
  auto run = std::upper_bound(Runs_.begin(), Runs_.end(), shown,
                              [](int64_t l, const TyRun& r) { return l < r.FirstLine; });
  --run;
  return run->FirstRow + Wrap_->LineToRow(shown) - Wrap_->LineToRow(run->FirstLine);
}

int64_t CyDisplayRows::RowToLine(int64_t Row, int64_t& RowInLine) {
  Row = std::clamp<int64_t>(Row, 0, std::max<int64_t>(0, getRowCount() - 1));
  if (!Wrap_) {
    RowInLine = 0;
    return Folding_.VisibleLineToDocument(Row + 1);
  }
  if (!Valid_) Build();
  if (!UsesRuns()) return Wrap_->RowToLine(Row, RowInLine);
  auto run = std::upper_bound(Runs_.begin(), Runs_.end(), Row,
                              [](int64_t r, const TyRun& run) { return r < run.FirstRow; });
  --run;
  return Wrap_->RowToLine(Wrap_->LineToRow(run->FirstLine) + Row - run->FirstRow, RowInLine);
}

int32_t CyDisplayRows::getRowsOf(int64_t Line) { return Wrap_ ? Wrap_->getRowCount(Line) : 1; }

}  // namespace xylem
