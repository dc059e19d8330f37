#pragma once
// Screen columns of a line with tabs expanded to the next multiple of the tab width. The view
// lays text out in a monospaced grid, so these give both the caret's x and the character under
// the mouse. Linear in the characters before the position; no allocation.

#include <cstdint>
#include <string_view>

namespace xylem {

// 0-based column where 1-based Linepos (1 .. length + 1) starts; TabWidth >= 1.
int64_t ColumnOfLinepos(std::u16string_view Line, int64_t Linepos, int TabWidth);
// The 1-based position nearest to the fractional Column (a click between two characters goes
// to the nearer edge, tabs included); length + 1 beyond the end.
int64_t LineposAtColumn(std::u16string_view Line, double Column, int TabWidth);
// Where Ctrl+Left / Ctrl+Right go from Linepos: the start of the word before, or behind the
// word after (letters, digits, '_', '-', '.', ':' form words; other characters one each).
int64_t PreviousWordStart(std::u16string_view Line, int64_t Linepos);
int64_t NextWordEnd(std::u16string_view Line, int64_t Linepos);
// The word around Linepos for a double-click: [First, Last) as 1-based positions.
void WordAt(std::u16string_view Line, int64_t Linepos, int64_t& First, int64_t& Last);

}  // namespace xylem
