#include "editor/WordWrap.hpp"

#include <algorithm>

#include "editor/Document.hpp"

namespace xylem {

namespace {

struct TyRange32 {
  char32_t First;
  char32_t Last;
};

// East Asian Width W and F, by blocks (Unicode 15 ranges, merged).
constexpr TyRange32 kWide[] = {
    {0x1100, 0x115F},   {0x231A, 0x231B},   {0x2329, 0x232A},   {0x23E9, 0x23EC},
    {0x23F0, 0x23F0},   {0x23F3, 0x23F3},   {0x25FD, 0x25FE},   {0x2614, 0x2615},
    {0x2648, 0x2653},   {0x267F, 0x267F},   {0x2693, 0x2693},   {0x26A1, 0x26A1},
    {0x26AA, 0x26AB},   {0x26BD, 0x26BE},   {0x26C4, 0x26C5},   {0x26CE, 0x26CE},
    {0x26D4, 0x26D4},   {0x26EA, 0x26EA},   {0x26F2, 0x26F3},   {0x26F5, 0x26F5},
    {0x26FA, 0x26FA},   {0x26FD, 0x26FD},   {0x2705, 0x2705},   {0x270A, 0x270B},
    {0x2728, 0x2728},   {0x274C, 0x274C},   {0x274E, 0x274E},   {0x2753, 0x2755},
    {0x2757, 0x2757},   {0x2795, 0x2797},   {0x27B0, 0x27B0},   {0x27BF, 0x27BF},
    {0x2B1B, 0x2B1C},   {0x2B50, 0x2B50},   {0x2B55, 0x2B55},   {0x2E80, 0x303E},
    {0x3041, 0x33FF},   {0x3400, 0x4DBF},   {0x4E00, 0x9FFF},   {0xA000, 0xA4CF},
    {0xA960, 0xA97F},   {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE10, 0xFE19},
    {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},   {0x16FE0, 0x18CFF},
    {0x1AFF0, 0x1B2FF}, {0x1F004, 0x1F004}, {0x1F0CF, 0x1F0CF}, {0x1F18E, 0x1F18E},
    {0x1F191, 0x1F19A}, {0x1F200, 0x1F251}, {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF},
    {0x1F7E0, 0x1F7EB}, {0x1F90C, 0x1F9FF}, {0x1FA70, 0x1FAFF}, {0x20000, 0x2FFFD},
    {0x30000, 0x3FFFD},
};

// Combining marks, zero-width spaces and joiners, variation selectors.
constexpr TyRange32 kZero[] = {
    {0x0300, 0x036F}, {0x0483, 0x0489},   {0x0591, 0x05BD}, {0x0610, 0x061A}, {0x064B, 0x065F},
    {0x0E31, 0x0E31}, {0x0E34, 0x0E3A},   {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x200B, 0x200F},
    {0x2028, 0x202E}, {0x2060, 0x2064},   {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F},
    {0xFEFF, 0xFEFF}, {0xE0100, 0xE01EF},
};

template <size_t N>
bool InRanges(const TyRange32 (&Ranges)[N], char32_t C) {
  const TyRange32* it =
      std::upper_bound(std::begin(Ranges), std::end(Ranges), C,
                       [](char32_t c, const TyRange32& r) { return c < r.First; });
  return it != std::begin(Ranges) && C <= (it - 1)->Last;
}

// Decodes the code point at Text[I] (a lone surrogate stands for itself); sets its unit count.
char32_t CodePointAt(std::u16string_view Text, size_t I, size_t& Units) {
  const char16_t c = Text[I];
  if (c >= 0xD800 && c <= 0xDBFF && I + 1 < Text.size() && Text[I + 1] >= 0xDC00 &&
      Text[I + 1] <= 0xDFFF) {
    Units = 2;
    return 0x10000 + ((static_cast<char32_t>(c) - 0xD800) << 10) + (Text[I + 1] - 0xDC00);
  }
  Units = 1;
  return c;
}

// Walks Line's rows and calls Row(start offset) for each row after the first.
template <typename F>
int32_t WalkRows(std::u16string_view Line, const TyWrapOptions& Options, F&& Row) {
  if (Options.Width <= 0) return 1;
  const int64_t width = Options.Width;
  const int64_t tab = std::max<int32_t>(Options.TabWidth, 1);
  int32_t rows = 1;
  size_t rowStart = 0;
  // Columns count from the line's start, so tab stops stay where the unwrapped line has them
  // (the view lays rows out in the unwrapped line's grid); a row is as wide as its columns.
  int64_t column = 0;
  int64_t rowColumn = 0;  // where the current row starts
  size_t breakAt = 0;     // behind the last blank of the current row; rowStart when none
  int64_t breakColumn = 0;
  size_t units = 1;
  const auto startRow = [&](size_t Start, int64_t StartColumn) {
    rowStart = breakAt = Start;
    rowColumn = StartColumn;
    ++rows;
    Row(rowStart);
  };
  for (size_t i = 0; i < Line.size(); i += units) {
    const char32_t c = CodePointAt(Line, i, units);
    const int64_t w = c == u'\t' ? tab - column % tab : ColumnWidth(c);
    if (column + w - rowColumn > width && i > rowStart) {
      // Break behind the last blank when there is one, else before this character; when the
      // carried-over word does not fit with this character either, before it too.
      if (breakAt > rowStart)
        startRow(breakAt, breakColumn);
      else
        startRow(i, column);
      if (column + w - rowColumn > width && i > rowStart) startRow(i, column);
    }
    column += w;
    if (c == u' ' || c == u'\t') {
      breakAt = i + units;
      breakColumn = column;
    }
  }
  return rows;
}

}  // namespace

int ColumnWidth(char32_t CodePoint) {
  if (CodePoint < 0x300) return 1;
  if (InRanges(kZero, CodePoint)) return 0;
  return InRanges(kWide, CodePoint) ? 2 : 1;
}

int32_t CountRows(std::u16string_view Line, const TyWrapOptions& Options) {
  return WalkRows(Line, Options, [](size_t) {});
}

void RowStarts(std::u16string_view Line, const TyWrapOptions& Options,
               std::vector<int64_t>& Starts) {
  Starts.push_back(0);
  WalkRows(Line, Options, [&Starts](size_t s) { Starts.push_back(static_cast<int64_t>(s)); });
}

// ---- CyWordWrap.

CyWordWrap::CyWordWrap(TxMarkupDocument& Document, const TyWrapOptions& Options)
    : Document_(Document), Options_(Options) {
  Document_.AddListener(this);
  Reset();
}

CyWordWrap::~CyWordWrap() { Document_.RemoveListener(this); }

void CyWordWrap::setOptions(const TyWrapOptions& Options) {
  if (Options == Options_) return;
  Options_ = Options;
  Reset();
}

void CyWordWrap::Reset() {
  Blocks_.clear();
  const int64_t count = Document_.getLineCount();
  for (int64_t line = 1; line <= count; line += kBlockLines) {
    const int64_t lines = std::min(kBlockLines, count - line + 1);
    Blocks_.push_back({lines, lines, Options_.Width <= 0});
  }
  RebuildSums();
}

void CyWordWrap::RebuildSums() {
  const size_t n = Blocks_.size();
  LineTree_.assign(n + 1, 0);
  RowTree_.assign(n + 1, 0);
  for (size_t i = 1; i <= n; ++i) {
    LineTree_[i] += Blocks_[i - 1].Lines;
    RowTree_[i] += Blocks_[i - 1].Rows;
    const size_t parent = i + (i & (~i + 1));
    if (parent <= n) {
      LineTree_[parent] += LineTree_[i];
      RowTree_[parent] += RowTree_[i];
    }
  }
}

void CyWordWrap::UpdateSums(size_t Block, int64_t LinesDelta, int64_t RowsDelta) {
  for (size_t i = Block + 1; i < LineTree_.size(); i += i & (~i + 1)) {
    LineTree_[i] += LinesDelta;
    RowTree_[i] += RowsDelta;
  }
}

namespace {

int64_t Prefix(const std::vector<int64_t>& Tree, size_t Count) {
  int64_t sum = 0;
  for (size_t i = Count; i > 0; i -= i & (~i + 1)) sum += Tree[i];
  return sum;
}

// The first block (0-based) whose running sum exceeds Target (0-based), and the sum in front.
size_t Search(const std::vector<int64_t>& Tree, int64_t Target, int64_t& Before) {
  size_t pos = 0;
  size_t step = 1;
  while (step * 2 < Tree.size()) step *= 2;
  Before = 0;
  for (; step > 0; step /= 2) {
    if (pos + step < Tree.size() && Before + Tree[pos + step] <= Target) {
      pos += step;
      Before += Tree[pos];
    }
  }
  return pos;
}

}  // namespace

size_t CyWordWrap::FindBlockOfLine(int64_t Line, int64_t& FirstLine) const {
  int64_t before = 0;
  size_t block = Search(LineTree_, Line - 1, before);
  if (block >= Blocks_.size()) block = Blocks_.size() - 1, before = Prefix(LineTree_, block);
  FirstLine = before + 1;
  return block;
}

void CyWordWrap::MeasureBlock(size_t Block, int64_t FirstLine) {
  TyBlock& block = Blocks_[Block];
  int64_t rows = block.Lines;
  if (Options_.Width > 0) {
    rows = 0;
    for (int64_t line = FirstLine; line < FirstLine + block.Lines; ++line) {
      TxItem& item = Document_.getItemForCaches(line);
      item.RowCount = CountRows(item.TextUTF16.getView(), Options_);
      rows += item.RowCount;
    }
  }
  UpdateSums(Block, 0, rows - block.Rows);
  block.Rows = rows;
  block.Measured = true;
}

int32_t CyWordWrap::getRowCount(int64_t Line) {
  if (Options_.Width <= 0) return 1;
  int64_t first = 0;
  const size_t block = FindBlockOfLine(Line, first);
  if (!Blocks_[block].Measured) MeasureBlock(block, first);
  return Document_.getItemForCaches(Line).RowCount;
}

int64_t CyWordWrap::getTotalRowCount() const { return Prefix(RowTree_, Blocks_.size()); }

void CyWordWrap::MeasureAll() {
  int64_t first = 1;
  for (size_t block = 0; block < Blocks_.size(); ++block) {
    if (!Blocks_[block].Measured) MeasureBlock(block, first);
    first += Blocks_[block].Lines;
  }
}

int64_t CyWordWrap::LineToRow(int64_t Line) {
  Line = std::clamp<int64_t>(Line, 1, Document_.getLineCount());
  int64_t first = 0;
  const size_t block = FindBlockOfLine(Line, first);
  if (!Blocks_[block].Measured) MeasureBlock(block, first);
  int64_t row = Prefix(RowTree_, block);
  if (Options_.Width <= 0) return row + (Line - first);
  for (int64_t line = first; line < Line; ++line) row += Document_.getItemForCaches(line).RowCount;
  return row;
}

int64_t CyWordWrap::RowToLine(int64_t Row, int64_t& RowInLine) {
  const int64_t total = getTotalRowCount();
  Row = std::clamp<int64_t>(Row, 0, std::max<int64_t>(total - 1, 0));
  for (;;) {
    int64_t rowsBefore = 0;
    size_t block = Search(RowTree_, Row, rowsBefore);
    if (block >= Blocks_.size()) {
      block = Blocks_.size() - 1;
      rowsBefore = Prefix(RowTree_, block);
    }
    const int64_t first = Prefix(LineTree_, block) + 1;
    if (!Blocks_[block].Measured) {
      // Measuring changes the block's rows; search again with the true counts.
      MeasureBlock(block, first);
      Row = std::min(Row, getTotalRowCount() - 1);
      continue;
    }
    int64_t rest = Row - rowsBefore;
    const int64_t end = first + Blocks_[block].Lines;
    for (int64_t line = first; line < end; ++line) {
      const int64_t rows = Options_.Width <= 0 ? 1 : Document_.getItemForCaches(line).RowCount;
      if (rest < rows || line == end - 1) {
        RowInLine = std::min(rest, rows - 1);
        return line;
      }
      rest -= rows;
    }
    RowInLine = 0;
    return end - 1;
  }
}

void CyWordWrap::OnDocumentChanged(const TxMarkupDocument& Document,
                                   const TyDocumentChange& Change) {
  if (Change.WholeContent || Blocks_.empty()) {
    Reset();
    return;
  }
  (void)Document;
  // Take the removed lines out of the blocks they were in, then give the inserted ones to the
  // block of the first line.
  int64_t first = 0;
  const size_t block = FindBlockOfLine(Change.FirstLine, first);
  int64_t remaining = Change.LinesRemoved;
  size_t b = block;
  int64_t offset = Change.FirstLine - first;
  size_t touched = 1;
  while (remaining > 0 && b < Blocks_.size()) {
    const int64_t take = std::min(remaining, Blocks_[b].Lines - offset);
    Blocks_[b].Lines -= take;
    remaining -= take;
    offset = 0;
    if (remaining > 0) ++b, ++touched;
  }
  Blocks_[block].Lines += Change.LinesInserted;
  bool rebuild = touched > 1;
  if (touched > 1) {
    // Blocks emptied by the removal go; the rest of the last one keeps its measured lines.
    Blocks_.erase(std::remove_if(Blocks_.begin() + static_cast<ptrdiff_t>(block) + 1,
                                 Blocks_.begin() + static_cast<ptrdiff_t>(b) + 1,
                                 [](const TyBlock& k) { return k.Lines == 0; }),
                  Blocks_.begin() + static_cast<ptrdiff_t>(b) + 1);
  }
  if (Blocks_[block].Lines > 2 * kBlockLines) {
    const TyBlock big = Blocks_[block];
    std::vector<TyBlock> parts;
    for (int64_t left = big.Lines; left > 0; left -= kBlockLines)
      parts.push_back({std::min(left, kBlockLines), 0, big.Measured});
    Blocks_.erase(Blocks_.begin() + static_cast<ptrdiff_t>(block));
    Blocks_.insert(Blocks_.begin() + static_cast<ptrdiff_t>(block), parts.begin(), parts.end());
    touched += parts.size();
    rebuild = true;
  }
  // Rows of the touched blocks: the inserted lines are measured, the others keep their counts.
  const int64_t insertedEnd = Change.FirstLine + Change.LinesInserted;
  int64_t line = first;
  for (size_t k = block; k < Blocks_.size() && k < block + touched; ++k) {
    TyBlock& t = Blocks_[k];
    const int64_t oldRows = t.Rows;
    if (Options_.Width <= 0 || !t.Measured) {
      t.Rows = t.Lines;
    } else {
      int64_t rows = 0;
      for (int64_t l = line; l < line + t.Lines; ++l) {
        TxItem& item = Document_.getItemForCaches(l);
        if (l >= Change.FirstLine && l < insertedEnd)
          item.RowCount = CountRows(item.TextUTF16.getView(), Options_);
        rows += item.RowCount;
      }
      t.Rows = rows;
    }
    if (!rebuild) UpdateSums(k, Change.getLineDelta(), t.Rows - oldRows);
    line += t.Lines;
  }
  if (rebuild) RebuildSums();
}

}  // namespace xylem
