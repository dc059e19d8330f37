#pragma once
// CyTextView: the editor's text view. It draws only the lines on screen, straight from the
// document's text list, coloured from the stored line states (CyLineColors), with a gutter of
// line numbers and fold markers, the current line, the selection, the caret and wavy
// underlines under the background check's errors. Keys and the mouse edit through the
// document's command gateway, so every change is one undoable step and every listener hears
// of it.
//
// Columns: text is laid out in a monospaced grid (Columns.hpp: tabs to the tab width, wide East
// Asian characters two columns, each drawn at its own grid position); the horizontal scroll
// bar counts columns, so a very long line scrolls sideways without measuring
// more than the lines on screen. The vertical scroll bar counts display rows (CyDisplayRows):
// visible lines (folded lines excluded), or with word wrap on the rows CyWordWrap breaks them
// into at the view's width; then there is no sideways scrolling, Up and Down move by row, Home
// and End go to the row's ends first, and a row's columns start at its first character.
//
// Threading: the GUI thread only, like the document it shows.

#include <QAbstractScrollArea>
#include <QFont>
#include <QHash>
#include <QStaticText>
#include <QTimer>
#include <cstdint>
#include <memory>
#include <vector>

#include "app/DisplayRows.hpp"
#include "app/LineColors.hpp"
#include "app/Theme.hpp"
#include "editor/Document.hpp"
#include "editor/Folding.hpp"
#include "editor/WordWrap.hpp"

namespace xylem {

class CyTextView : public QAbstractScrollArea, public IyDocumentListener {
  Q_OBJECT

 public:
  // Shows Document, which must outlive the view.
  explicit CyTextView(TxMarkupDocument& Document, QWidget* Parent = nullptr);
  ~CyTextView() override;

  TxMarkupDocument& getDocument() { return Document_; }
  CyEditorFolding& getFolding() { return Folding_; }

  // ---- Settings.
  void setTabWidth(int Width);
  int getTabWidth() const { return TabWidth_; }
  void setDark(bool Dark);
  bool getDark() const { return Colors_.getDark(); }
  void setEditorFont(const QFont& Font);
  const QFont& getEditorFont() const { return Font_; }
  // Word wrap at the view's width (rows from CyWordWrap: East Asian widths, tabs).
  void setWordWrap(bool Wrap);
  bool getWordWrap() const { return Wrap_ != nullptr; }
  // The columns a wrapped row holds (the text area's width).
  int getWrapColumns() const;
  const TyViewTheme& getTheme() const { return Theme_; }

  // A read-only view moves, selects and copies but refuses every edit (a file still loading).
  void setReadOnly(bool ReadOnly) { ReadOnly_ = ReadOnly; }
  bool getReadOnly() const { return ReadOnly_; }
  // The gutter shows Base + line for each line (a stretch of a longer file) and is at least
  // as wide as CountHint's number needs, so that it keeps its width when the whole file
  // arrives; Base -1: numbers not known yet, none shown. (0, 0): the document's own numbers.
  void setLineNumbering(int64_t Base, int64_t CountHint);
  int64_t getLineNumberBase() const { return LineNumberBase_; }

  // Ranges underlined as errors, in the current text's positions.
  void setErrorRanges(std::vector<TyTextRange> Ranges);
  // Text highlighted wherever it occurs on the visible lines (empty: none); plain text.
  void setHighlightText(const QString& Text, bool CaseSensitive);

  // ---- Commands (bound to keys and menus).
  // Sets the selection, unfolds what hides the caret and scrolls it into view.
  void setSelection(const TySelection& Selection);
  void GoToLine(int64_t Line);
  void Copy();
  void Cut();
  void Paste();
  void SelectAll();
  void Undo();
  void Redo();
  void FoldAll();
  void UnfoldAll();
  // Collapses every range nested Level deep or deeper (1: the outermost) and expands the rest.
  void FoldToLevel(int Level);
  // Bookmarks on the caret's line (Ctrl+F2) and jumps to the next and previous (F2, Shift+F2).
  void ToggleBookmark();
  void GoToBookmark(bool Forward);
  // Toggles the fold range that starts on Line; false when none starts there.
  bool ToggleFold(int64_t Line);

  // ---- Geometry, in viewport coordinates (for tests and the window).
  int getLineHeight() const { return LineHeight_; }
  double getCharWidth() const { return CharWidth_; }
  int getGutterWidth() const;
  // The top-left point of the character at Position; a point above or below the viewport
  // when the line is off screen. The line must be visible (not folded away).
  QPoint PositionToPoint(TyTextPosition Position) const;
  // The position nearest to Point.
  TyTextPosition PointToPosition(QPoint Point) const;
  // The first document line on screen.
  int64_t getTopLine() const;
  // The display rows (folds and wrap) the vertical scroll bar counts.
  CyDisplayRows& getDisplayRows() { return Rows_; }

  void OnDocumentChanged(const TxMarkupDocument& Document, const TyDocumentChange& Change) override;

 Q_SIGNALS:
  // The caret or the selection moved (also after edits).
  void caretMoved();

 protected:
  void paintEvent(QPaintEvent* Event) override;
  void resizeEvent(QResizeEvent* Event) override;
  void keyPressEvent(QKeyEvent* Event) override;
  void mousePressEvent(QMouseEvent* Event) override;
  void mouseMoveEvent(QMouseEvent* Event) override;
  void mouseReleaseEvent(QMouseEvent* Event) override;
  void mouseDoubleClickEvent(QMouseEvent* Event) override;
  void inputMethodEvent(QInputMethodEvent* Event) override;
  QVariant inputMethodQuery(Qt::InputMethodQuery Query) const override;
  void scrollContentsBy(int Dx, int Dy) override;
  bool focusNextPrevChild(bool Next) override;

 private:
  void UpdateMetrics();
  void UpdateScrollBars();
  void EnsureCaretVisible();
  void MoveCaret(TyTextPosition Position, bool Extend, bool KeepColumn = false);
  // The caret moved by whole visible lines (Up, Down, Page Up, Page Down).
  TyTextPosition MoveByLines(TyTextPosition From, int64_t Rows);
  TyTextPosition MoveByCharacter(TyTextPosition From, bool Forward) const;
  void InsertNewline();
  void TypeAndComplete(const QString& Text);
  int getVisibleRows() const;
  // Wrap on: the row of the line that Position is on (0-based) and the row's first and end
  // offsets (0-based, End exclusive; the line's length for its last row).
  int64_t RowOfPosition(TyTextPosition Position, int64_t& Start, int64_t& End) const;
  void RowSpan(int64_t Line, int64_t RowInLine, int64_t& Start, int64_t& End) const;
  // Fills RowStarts_ and RowColumns_ (each row's first offset and its column in the unwrapped
  // line) for Line, kept while the line's text and the wrap stay: painting the rows of a long
  // line walks it once, not once per row.
  void MeasureRows(int64_t Line) const;
  // The wrap width follows the view's width, font and tab width.
  void UpdateWrapWidth();
  // Folds, text or wrap changed: the row map is built again when next asked.
  void InvalidateRows();
  int getTextLeft() const;
  void PaintLine(QPainter& Painter, int64_t Line, int Y, int64_t FirstColumn, int64_t LastColumn);
  void PaintGutter(QPainter& Painter, int64_t Line, int Y, int Width);
  const TyFoldRange* FoldRangeAt(int64_t Line) const;
  // The tag names of the pair at the caret (none, or both names), kept per caret and text.
  void UpdateMatchingTags();
  // Whether the long line Line holds a character not one column wide (a tab, a wide or
  // zero-width character), kept for the line's last text checked.
  bool HasIrregularWidth(int64_t Line, std::u16string_view Text);

  TxMarkupDocument& Document_;
  CyEditorFolding Folding_;
  // Null while wrap is off. It listens to the document before the view does (setWordWrap
  // registers the view again behind it), so rows are current in the view's own handler.
  std::unique_ptr<CyWordWrap> Wrap_;
  mutable CyDisplayRows Rows_;
  mutable std::vector<int64_t> RowStarts_;
  mutable std::vector<int64_t> RowColumns_;
  mutable int64_t RowsID_ = -1;
  mutable TyWrapOptions RowsOptions_;
  CyLineColors Colors_;
  TyViewTheme Theme_;
  QFont Font_;
  QFont FontBold_;
  QFont FontItalic_;
  QFont FontBoldItalic_;
  int LineHeight_ = 16;
  int Ascent_ = 12;
  double CharWidth_ = 8;
  int TabWidth_ = 4;
  int64_t PreferredColumn_ = -1;
  std::vector<TyColorRun> Runs_;
  // Laid-out glyphs of recently drawn chunks per font style (tokens repeat from line to line,
  // and laying text out is most of a paint's cost); cleared when it grows large.
  QHash<QString, QStaticText> StaticText_[4];
  QString Chunk_;
  std::vector<TyTextRange> ErrorRanges_;
  QString Highlight_;
  std::vector<TyTextRange> MatchingTags_;
  int64_t TabCheckedID_ = -1;
  bool TabCheckedHasTab_ = false;
  uint64_t MatchGeneration_ = UINT64_MAX;
  TyTextPosition MatchCaret_{0, 0};
  bool HighlightCaseSensitive_ = false;
  bool ReadOnly_ = false;
  int64_t LineNumberBase_ = 0;
  int64_t LineCountHint_ = 0;
  QTimer FoldTimer_;
  // Mouse: selecting by drag; a triple click selects the line.
  bool Dragging_ = false;
  qint64 LastDoubleClick_ = 0;
};

}  // namespace xylem
