#include "editor/Bookmarks.hpp"

#include "editor/Document.hpp"

namespace xylem {

namespace {

bool Marked(const TxMarkupDocument& Document, int64_t Line) {
  return Document.getTextList().getItems(Line)->Bookmark != 0;
}

}  // namespace

bool CyBookmarks::Toggle(TxMarkupDocument& Document, int64_t Line) {
  if (Line < 1 || Line > Document.getLineCount()) return false;
  uint8_t& mark = Document.getItemForCaches(Line).Bookmark;
  mark = mark ? 0 : 1;
  return mark != 0;
}

bool CyBookmarks::IsSet(const TxMarkupDocument& Document, int64_t Line) {
  return Line >= 1 && Line <= Document.getLineCount() && Marked(Document, Line);
}

int64_t CyBookmarks::Next(const TxMarkupDocument& Document, int64_t Line) {
  const int64_t count = Document.getLineCount();
  for (int64_t i = 1; i <= count; ++i) {
    const int64_t line = (Line - 1 + i) % count + 1;
    if (Marked(Document, line)) return line;
  }
  return 0;
}

int64_t CyBookmarks::Previous(const TxMarkupDocument& Document, int64_t Line) {
  const int64_t count = Document.getLineCount();
  for (int64_t i = 1; i <= count; ++i) {
    const int64_t line = ((Line - 1 - i) % count + count) % count + 1;
    if (Marked(Document, line)) return line;
  }
  return 0;
}

int64_t CyBookmarks::Clear(TxMarkupDocument& Document) {
  int64_t cleared = 0;
  for (int64_t line = 1; line <= Document.getLineCount(); ++line) {
    uint8_t& mark = Document.getItemForCaches(line).Bookmark;
    cleared += mark != 0;
    mark = 0;
  }
  return cleared;
}

int64_t CyBookmarks::Count(const TxMarkupDocument& Document) {
  int64_t count = 0;
  for (int64_t line = 1; line <= Document.getLineCount(); ++line) count += Marked(Document, line);
  return count;
}

}  // namespace xylem
