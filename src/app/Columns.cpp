#include "app/Columns.hpp"

#include <algorithm>

#include "editor/WordWrap.hpp"

namespace xylem {

namespace {

bool IsWordChar(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') ||
         c == u'_' || c == u'-' || c == u'.' || c == u':' || c >= 0x80;
}

bool IsBlank(char16_t c) { return c == u' ' || c == u'\t'; }

}  // namespace

int64_t NextColumn(std::u16string_view Line, size_t Index, int64_t Column, int TabWidth) {
  const char16_t c = Line[Index];
  if (c < 0x300) return c == u'\t' ? (Column / TabWidth + 1) * TabWidth : Column + 1;
  if (c >= 0xDC00 && c < 0xE000 && Index > 0 && Line[Index - 1] >= 0xD800 &&
      Line[Index - 1] < 0xDC00)
    return Column;  // the pair's second unit; the first counted the pair
  if (c >= 0xD800 && c < 0xDC00 && Index + 1 < Line.size() && Line[Index + 1] >= 0xDC00 &&
      Line[Index + 1] < 0xE000)
    return Column + ColumnWidth(0x10000 + ((char32_t(c) - 0xD800) << 10) +
                                (char32_t(Line[Index + 1]) - 0xDC00));
  return Column + ColumnWidth(c);
}

int64_t ColumnOfLinepos(std::u16string_view Line, int64_t Linepos, int TabWidth) {
  const auto end = static_cast<size_t>(std::clamp<int64_t>(Linepos - 1, 0, Line.size()));
  int64_t column = 0;
  for (size_t i = 0; i < end; ++i) column = NextColumn(Line, i, column, TabWidth);
  return column;
}

int64_t LineposAtColumn(std::u16string_view Line, double Column, int TabWidth) {
  int64_t column = 0;
  for (size_t i = 0; i < Line.size(); ++i) {
    const int64_t next = NextColumn(Line, i, column, TabWidth);
    if (next > column && Column < (column + next) / 2.0) return static_cast<int64_t>(i) + 1;
    column = next;
  }
  return static_cast<int64_t>(Line.size()) + 1;
}

int64_t PreviousWordStart(std::u16string_view Line, int64_t Linepos) {
  auto i = static_cast<size_t>(std::clamp<int64_t>(Linepos - 1, 0, Line.size()));
  while (i > 0 && IsBlank(Line[i - 1])) --i;
  if (i > 0 && IsWordChar(Line[i - 1])) {
    while (i > 0 && IsWordChar(Line[i - 1])) --i;
  } else if (i > 0) {
    --i;
  }
  return static_cast<int64_t>(i) + 1;
}

int64_t NextWordEnd(std::u16string_view Line, int64_t Linepos) {
  auto i = static_cast<size_t>(std::clamp<int64_t>(Linepos - 1, 0, Line.size()));
  while (i < Line.size() && IsBlank(Line[i])) ++i;
  if (i < Line.size() && IsWordChar(Line[i])) {
    while (i < Line.size() && IsWordChar(Line[i])) ++i;
  } else if (i < Line.size()) {
    ++i;
  }
  return static_cast<int64_t>(i) + 1;
}

void WordAt(std::u16string_view Line, int64_t Linepos, int64_t& First, int64_t& Last) {
  auto i = static_cast<size_t>(std::clamp<int64_t>(Linepos - 1, 0, Line.size()));
  if (i == Line.size() && i > 0) --i;
  size_t a = i, b = i;
  if (i < Line.size() && IsWordChar(Line[i])) {
    while (a > 0 && IsWordChar(Line[a - 1])) --a;
    while (b < Line.size() && IsWordChar(Line[b])) ++b;
  } else if (i < Line.size()) {
    b = i + 1;
  }
  First = static_cast<int64_t>(a) + 1;
  Last = static_cast<int64_t>(b) + 1;
}

}  // namespace xylem
