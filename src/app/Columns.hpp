#pragma once
// Screen columns of a line with tabs expanded to the next multiple of the tab width and other
// characters as wide as East Asian Width says (ColumnWidth: wide and fullwidth two columns,
// combining marks none; a surrogate pair counts on its first unit), as word wrap measures them.
// The view lays text out in this monospaced grid, so these give both the caret's x and the
// character under the mouse. Linear in the characters before the position; no allocation.

#include <cstdint>
#include <string_view>

namespace xylem {

// The column after the unit at Index (0-based) when it starts at Column.
int64_t NextColumn(std::u16string_view Line, size_t Index, int64_t Column, int TabWidth);
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
