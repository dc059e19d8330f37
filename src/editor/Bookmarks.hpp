#pragma once
// Bookmarks: a mark on a line kept in its record (TxItem::Bookmark), so it moves with the line
// through edits (and comes back with it on undo) at no cost. A line that an edit removes loses
// its mark; the first line of an edit keeps its own.
//
// Editing thread only. Next and previous walk the records (linear in the distance).

#include <cstdint>

namespace xylem {

class TxMarkupDocument;

class CyBookmarks {
 public:
  // Sets or clears the mark of Line; returns whether the line is marked afterwards.
  static bool Toggle(TxMarkupDocument& Document, int64_t Line);
  static bool IsSet(const TxMarkupDocument& Document, int64_t Line);
  // The first marked line after Line, wrapping around to the start; 0 when no line is marked.
  static int64_t Next(const TxMarkupDocument& Document, int64_t Line);
  // The last marked line before Line, wrapping around to the end; 0 when none.
  static int64_t Previous(const TxMarkupDocument& Document, int64_t Line);
  // Clears every mark; returns how many there were. Linear.
  static int64_t Clear(TxMarkupDocument& Document);
  static int64_t Count(const TxMarkupDocument& Document);
};

}  // namespace xylem
