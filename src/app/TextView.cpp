#include "app/TextView.hpp"

#include <QApplication>
#include <QClipboard>
#include <QDateTime>
#include <QFontDatabase>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScrollBar>
#include <algorithm>

#include "app/Columns.hpp"
#include "app/OpenElement.hpp"
#include "editor/Bookmarks.hpp"

namespace xylem {

namespace {

constexpr int kTextMargin = 4;
// Up to this many lines, fold ranges are recomputed (a linear pass) within the change itself.
constexpr int64_t kImmediateFoldLines = 200000;

std::u16string ToU16(const QString& Text) {
  return std::u16string(reinterpret_cast<const char16_t*>(Text.utf16()),
                        static_cast<size_t>(Text.size()));
}

QString ToQString(std::u16string_view Text) {
  return QString::fromUtf16(Text.data(), static_cast<qsizetype>(Text.size()));
}

QColor ToQColor(uint32_t Color, const QColor& Default) {
  return Color == kNoColor ? Default : QColor(QRgb(0xff000000u | Color));
}

// A squiggle from X0 to X1 along baseline Y.
void DrawWave(QPainter& Painter, double X0, double X1, double Y) {
  QPainterPath path(QPointF(X0, Y));
  bool up = true;
  for (double x = X0 + 2; x <= X1 + 2; x += 2, up = !up) path.lineTo(x, up ? Y - 2 : Y);
  Painter.drawPath(path);
}

}  // namespace

CyTextView::CyTextView(TxMarkupDocument& Document, QWidget* Parent)
    : QAbstractScrollArea(Parent),
      Document_(Document),
      Folding_(Document),
      Rows_(Document, Folding_),
      Colors_(Document),
      Theme_(TyViewTheme::Light()) {
  Document_.AddListener(this);
  setFocusPolicy(Qt::StrongFocus);
  setAttribute(Qt::WA_InputMethodEnabled);
  viewport()->setCursor(Qt::IBeamCursor);
  viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  font.setStyleHint(QFont::TypeWriter);
  setEditorFont(font);
  // Fold ranges made stale by an edit are recomputed once typing pauses.
  FoldTimer_.setSingleShot(true);
  FoldTimer_.setInterval(300);
  connect(&FoldTimer_, &QTimer::timeout, this, [this] {
    if (!Folding_.getStale()) return;
    Folding_.Update();
    InvalidateRows();
    UpdateScrollBars();
    viewport()->update();
  });
  UpdateScrollBars();
}

CyTextView::~CyTextView() { Document_.RemoveListener(this); }

void CyTextView::setTabWidth(int Width) {
  TabWidth_ = std::clamp(Width, 1, 32);
  UpdateWrapWidth();
  UpdateScrollBars();
  viewport()->update();
}

void CyTextView::setDark(bool Dark) {
  Colors_.setDark(Dark);
  Theme_ = Dark ? TyViewTheme::Dark() : TyViewTheme::Light();
  viewport()->update();
}

void CyTextView::setEditorFont(const QFont& Font) {
  Font_ = Font;
  FontBold_ = Font;
  FontBold_.setBold(true);
  FontItalic_ = Font;
  FontItalic_.setItalic(true);
  FontBoldItalic_ = FontBold_;
  FontBoldItalic_.setItalic(true);
  UpdateMetrics();
}

void CyTextView::UpdateMetrics() {
  for (QHash<QString, QStaticText>& cache : StaticText_) cache.clear();
  const QFontMetricsF metrics(Font_);
  LineHeight_ = std::max(1, static_cast<int>(std::ceil(metrics.height())));
  Ascent_ = static_cast<int>(std::ceil(metrics.ascent()));
  CharWidth_ = std::max(1.0, metrics.horizontalAdvance(QLatin1Char('M')));
  UpdateWrapWidth();
  UpdateScrollBars();
  viewport()->update();
}

void CyTextView::setErrorRanges(std::vector<TyTextRange> Ranges) {
  ErrorRanges_ = std::move(Ranges);
  std::sort(ErrorRanges_.begin(), ErrorRanges_.end(),
            [](const TyTextRange& a, const TyTextRange& b) { return a.Start < b.Start; });
  viewport()->update();
}

void CyTextView::setHighlightText(const QString& Text, bool CaseSensitive) {
  Highlight_ = Text;
  HighlightCaseSensitive_ = CaseSensitive;
  viewport()->update();
}

// ---- Word wrap.

void CyTextView::setWordWrap(bool Wrap) {
  if (Wrap == getWordWrap()) return;
  if (Wrap) {
    // The bar stays: showing and hiding it would change the width, the rows and so the need
    // for it again.
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    Wrap_ = std::make_unique<CyWordWrap>(Document_, TyWrapOptions{getWrapColumns(), TabWidth_});
    Document_.RemoveListener(this);
    Document_.AddListener(this);
    horizontalScrollBar()->setValue(0);
    Rows_.setWrap(Wrap_.get());
  } else {
    Rows_.setWrap(nullptr);  // before the wrap goes: the policy change below repaints
    Wrap_.reset();
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  }
  PreferredColumn_ = -1;
  EnsureCaretVisible();
  viewport()->update();
}

int CyTextView::getWrapColumns() const {
  return std::max(8, static_cast<int>((viewport()->width() - getTextLeft()) / CharWidth_) - 1);
}

void CyTextView::UpdateWrapWidth() {
  if (!Wrap_) return;
  const TyWrapOptions options{getWrapColumns(), TabWidth_};
  if (options == Wrap_->getOptions()) return;
  Wrap_->setOptions(options);
  InvalidateRows();
}

void CyTextView::InvalidateRows() { Rows_.Invalidate(); }

void CyTextView::MeasureRows(int64_t Line) const {
  const int64_t id = Document_.getTextList().getItems(Line)->UniqueID;
  if (id == RowsID_ && RowsOptions_ == Wrap_->getOptions()) return;
  RowsID_ = id;
  RowsOptions_ = Wrap_->getOptions();
  const std::u16string_view text = Document_.getLine(Line);
  RowStarts_.clear();
  RowStarts(text, RowsOptions_, RowStarts_);
  RowColumns_.clear();
  int64_t column = 0;
  size_t row = 0;
  for (size_t i = 0; row < RowStarts_.size(); ++i) {
    if (static_cast<int64_t>(i) == RowStarts_[row]) {
      RowColumns_.push_back(column);
      ++row;
    }
    if (i >= text.size()) break;
    column = NextColumn(text, i, column, TabWidth_);
  }
}

void CyTextView::RowSpan(int64_t Line, int64_t RowInLine, int64_t& Start, int64_t& End) const {
  MeasureRows(Line);
  const size_t row =
      std::min(static_cast<size_t>(std::max<int64_t>(0, RowInLine)), RowStarts_.size() - 1);
  Start = RowStarts_[row];
  End = row + 1 < RowStarts_.size() ? RowStarts_[row + 1]
                                    : static_cast<int64_t>(Document_.getLine(Line).size());
}

int64_t CyTextView::RowOfPosition(TyTextPosition Position, int64_t& Start, int64_t& End) const {
  MeasureRows(Position.Line);
  // A position at a row's first offset is on that row (a caret never ends a non-last row).
  const auto it = std::upper_bound(RowStarts_.begin(), RowStarts_.end(), Position.Linepos - 1) - 1;
  const auto row = static_cast<int64_t>(it - RowStarts_.begin());
  RowSpan(Position.Line, row, Start, End);
  return row;
}

// ---- Geometry.

int CyTextView::getGutterWidth() const {
  int digits = 1;
  for (int64_t n = std::max(Document_.getLineCount() + LineNumberBase_, LineCountHint_); n >= 10;
       n /= 10)
    ++digits;
  return static_cast<int>(std::ceil((digits + 1) * CharWidth_)) + LineHeight_;
}

int CyTextView::getTextLeft() const { return getGutterWidth() + kTextMargin; }

int CyTextView::getVisibleRows() const { return std::max(1, viewport()->height() / LineHeight_); }

int64_t CyTextView::getTopLine() const {
  int64_t rowInLine = 0;
  return Rows_.RowToLine(verticalScrollBar()->value(), rowInLine);
}

QPoint CyTextView::PositionToPoint(TyTextPosition Position) const {
  const std::u16string_view text = Document_.getLine(Position.Line);
  int64_t row = Rows_.LineToRow(Position.Line) - verticalScrollBar()->value();
  int64_t firstColumn = horizontalScrollBar()->value();
  if (Wrap_) {
    int64_t start = 0, end = 0;
    const int64_t rowInLine = RowOfPosition(Position, start, end);
    row += rowInLine;
    firstColumn = RowColumns_[static_cast<size_t>(rowInLine)];
  }
  const int64_t column = ColumnOfLinepos(text, Position.Linepos, TabWidth_) - firstColumn;
  return {getTextLeft() + static_cast<int>(std::lround(column * CharWidth_)),
          static_cast<int>(row * LineHeight_)};
}

TyTextPosition CyTextView::PointToPosition(QPoint Point) const {
  const int64_t row = verticalScrollBar()->value() + std::max(0, Point.y()) / LineHeight_;
  int64_t rowInLine = 0;
  const int64_t line = Rows_.RowToLine(row, rowInLine);
  const std::u16string_view text = Document_.getLine(line);
  const double offset = (Point.x() - getTextLeft()) / CharWidth_;
  if (!Wrap_)
    return {line, LineposAtColumn(text, std::max(0.0, offset + horizontalScrollBar()->value()),
                                  TabWidth_)};
  int64_t start = 0, end = 0;
  RowSpan(line, rowInLine, start, end);
  const int64_t first =
      RowColumns_[std::min(static_cast<size_t>(rowInLine), RowColumns_.size() - 1)];
  const int64_t linepos = LineposAtColumn(text, first + std::max(0.0, offset), TabWidth_);
  // Past the end of a row that is not the line's last stays on that row (before its last
  // character), since the position after it starts the next row.
  const bool lastRow = end == static_cast<int64_t>(text.size());
  return {line,
          std::clamp<int64_t>(linepos, start + 1, lastRow ? end + 1 : std::max(start + 1, end))};
}

void CyTextView::UpdateScrollBars() {
  const int rows = getVisibleRows();
  const int64_t visible = Folding_.getVisibleLineCount();
  verticalScrollBar()->setPageStep(rows);
  verticalScrollBar()->setSingleStep(1);
  verticalScrollBar()->setRange(
      0, static_cast<int>(
             std::min<int64_t>(INT32_MAX, std::max<int64_t>(0, Rows_.getRowCount() - rows))));
  if (Wrap_) {
    horizontalScrollBar()->setRange(0, 0);
    return;
  }
  // Sideways: the widest line on screen (and the caret's) decides the range.
  const int columns =
      std::max(1, static_cast<int>((viewport()->width() - getTextLeft()) / CharWidth_));
  int64_t widest = 0;
  const int64_t top = verticalScrollBar()->value() + 1;
  for (int64_t v = top; v <= std::min(visible, top + rows); ++v) {
    const int64_t line = Folding_.VisibleLineToDocument(v);
    const std::u16string_view text = Document_.getLine(line);
    widest =
        std::max(widest, ColumnOfLinepos(text, static_cast<int64_t>(text.size()) + 1, TabWidth_));
  }
  const TyTextPosition caret = Document_.getSelection().Caret;
  widest =
      std::max(widest, ColumnOfLinepos(Document_.getLine(caret.Line), caret.Linepos, TabWidth_));
  horizontalScrollBar()->setPageStep(columns);
  horizontalScrollBar()->setSingleStep(1);
  horizontalScrollBar()->setRange(
      0, static_cast<int>(std::min<int64_t>(
             INT32_MAX, std::max<int64_t>(horizontalScrollBar()->value(), widest + 1 - columns))));
}

void CyTextView::EnsureCaretVisible() {
  const TyTextPosition caret = Document_.getSelection().Caret;
  int64_t visible = Rows_.LineToRow(caret.Line);
  if (Wrap_ && Folding_.IsLineVisible(caret.Line)) {
    int64_t start = 0, end = 0;
    visible += RowOfPosition(caret, start, end);
  }
  const int rows = getVisibleRows();
  QScrollBar* v = verticalScrollBar();
  UpdateScrollBars();
  if (visible < v->value())
    v->setValue(static_cast<int>(visible));
  else if (visible >= v->value() + rows)
    v->setValue(static_cast<int>(visible - rows + 1));
  if (Wrap_) return;
  const int64_t column = ColumnOfLinepos(Document_.getLine(caret.Line), caret.Linepos, TabWidth_);
  const int columns =
      std::max(1, static_cast<int>((viewport()->width() - getTextLeft()) / CharWidth_) - 1);
  QScrollBar* h = horizontalScrollBar();
  UpdateScrollBars();
  if (column < h->value())
    h->setValue(static_cast<int>(std::max<int64_t>(0, column - 4)));
  else if (column >= h->value() + columns)
    h->setValue(static_cast<int>(column - columns + 4));
}

// ---- Painting.

const TyFoldRange* CyTextView::FoldRangeAt(int64_t Line) const {
  const std::vector<TyFoldRange>& ranges = Folding_.getFoldRanges();
  auto it = std::lower_bound(ranges.begin(), ranges.end(), Line,
                             [](const TyFoldRange& r, int64_t l) { return r.FirstLine < l; });
  return it != ranges.end() && it->FirstLine == Line ? &*it : nullptr;
}

bool CyTextView::HasIrregularWidth(int64_t Line, std::u16string_view Text) {
  const int64_t id = Document_.getTextList().getItems(Line)->UniqueID;
  if (id != TabCheckedID_) {
    TabCheckedID_ = id;
    // Below U+0300 every character but the tab takes one column.
    TabCheckedHasTab_ =
        std::any_of(Text.begin(), Text.end(), [](char16_t c) { return c == u'\t' || c >= 0x300; });
  }
  return TabCheckedHasTab_;
}

void CyTextView::UpdateMatchingTags() {
  const TyTextPosition caret = Document_.getSelection().Caret;
  if (MatchGeneration_ == Document_.getGeneration() && MatchCaret_ == caret) return;
  MatchGeneration_ = Document_.getGeneration();
  MatchCaret_ = caret;
  MatchingTags_.clear();
  TyTagName tag, match;
  // A bounded walk: a pair further apart than this is not looked for while painting.
  if (!FindTagNameAt(Document_, caret, tag) || !FindMatchingTag(Document_, tag, match, 2000))
    return;
  for (const TyTagName* t : {&tag, &match})
    MatchingTags_.push_back(
        {t->Start, {t->Start.Line, t->Start.Linepos + static_cast<int64_t>(t->Name.size())}});
}

void CyTextView::paintEvent(QPaintEvent* /*Event*/) {
  QPainter painter(viewport());
  const int width = viewport()->width();
  const int height = viewport()->height();
  const int gutter = getGutterWidth();
  painter.fillRect(0, 0, width, height, Theme_.Background);
  painter.fillRect(0, 0, gutter, height, Theme_.GutterBackground);
  const int64_t firstColumn = horizontalScrollBar()->value();
  const int64_t lastColumn =
      firstColumn + static_cast<int64_t>((width - getTextLeft()) / CharWidth_) + 2;
  UpdateMatchingTags();
  const int64_t visibleCount = Folding_.getVisibleLineCount();
  const int rows = height / LineHeight_ + 1;
  int64_t rowInLine = 0;
  int64_t line = Rows_.RowToLine(verticalScrollBar()->value(), rowInLine);
  for (int row = 0; row < rows; ++row) {
    const int y = row * LineHeight_;
    int64_t first = firstColumn, last = lastColumn;
    int64_t rowCount = 1;
    if (Wrap_) {
      // A row shows the line's columns from its first character to the next row's first.
      MeasureRows(line);
      rowCount = static_cast<int64_t>(RowStarts_.size());
      rowInLine = std::min(rowInLine, rowCount - 1);
      first = RowColumns_[static_cast<size_t>(rowInLine)];
      last = rowInLine + 1 < rowCount ? RowColumns_[static_cast<size_t>(rowInLine) + 1]
                                      : first + (lastColumn - firstColumn);
    }
    painter.setClipRect(gutter, y, width - gutter, LineHeight_);
    PaintLine(painter, line, y, first, last);
    painter.setClipping(false);
    if (rowInLine == 0) PaintGutter(painter, line, y, gutter);
    if (rowInLine + 1 < rowCount) {
      ++rowInLine;
      continue;
    }
    const int64_t visible = Folding_.DocumentLineToVisible(line);
    if (visible >= visibleCount) break;
    line = Folding_.VisibleLineToDocument(visible + 1);
    rowInLine = 0;
  }
  // The caret: a two-pixel bar, shown while the view has focus or no selection is made.
  const TyTextPosition caret = Document_.getSelection().Caret;
  if (Folding_.IsLineVisible(caret.Line)) {
    const QPoint at = PositionToPoint(caret);
    if (at.x() >= gutter && at.y() + LineHeight_ > 0 && at.y() < height)
      painter.fillRect(at.x(), at.y(), 2, LineHeight_, Theme_.Caret);
  }
}

void CyTextView::PaintLine(QPainter& Painter, int64_t Line, int Y, int64_t FirstColumn,
                           int64_t LastColumn) {
  const std::u16string_view text = Document_.getLine(Line);
  const TySelection& selection = Document_.getSelection();
  const int left = getTextLeft();
  const int width = viewport()->width();
  auto xOf = [&](int64_t column) {
    return left + static_cast<int>(std::lround((column - FirstColumn) * CharWidth_));
  };
  auto columnOf = [&](int64_t linepos) { return ColumnOfLinepos(text, linepos, TabWidth_); };
  if (Line == selection.Caret.Line)
    Painter.fillRect(getGutterWidth(), Y, width, LineHeight_, Theme_.CurrentLine);
  // The tag pair at the caret.
  for (const TyTextRange& tag : MatchingTags_) {
    if (tag.Start.Line != Line) continue;
    const int x0 = xOf(columnOf(tag.Start.Linepos));
    Painter.fillRect(x0, Y, xOf(columnOf(tag.End.Linepos)) - x0, LineHeight_, Theme_.MatchingTag);
  }
  // Occurrences of the highlighted text.
  if (!Highlight_.isEmpty() && text.size() < 1'000'000) {
    const QString line = QString::fromRawData(reinterpret_cast<const QChar*>(text.data()),
                                              static_cast<qsizetype>(text.size()));
    const Qt::CaseSensitivity cs =
        HighlightCaseSensitive_ ? Qt::CaseSensitive : Qt::CaseInsensitive;
    for (qsizetype at = line.indexOf(Highlight_, 0, cs); at >= 0;
         at = line.indexOf(Highlight_, at + Highlight_.size(), cs)) {
      const int x0 = xOf(columnOf(at + 1));
      Painter.fillRect(x0, Y, xOf(columnOf(at + 1 + Highlight_.size())) - x0, LineHeight_,
                       Theme_.SearchMatch);
    }
  }
  // Selection: from its start on this line (or the line start) to its end (or past the end).
  const TyTextRange range = selection.getRange();
  if (!selection.isEmpty() && range.Start.Line <= Line && Line <= range.End.Line) {
    const int64_t from = Line == range.Start.Line ? columnOf(range.Start.Linepos) : 0;
    const int64_t to = Line == range.End.Line ? columnOf(range.End.Linepos)
                                              : columnOf(static_cast<int64_t>(text.size()) + 1) + 1;
    const int x0 = std::max(xOf(from), getGutterWidth());
    Painter.fillRect(x0, Y, std::max(0, xOf(to) - x0), LineHeight_, Theme_.Selection);
  }
  // Text in runs of one colour; only the columns on screen are drawn.
  const std::vector<TyColorRun>& runs = Colors_.RunsOf(Line, Runs_);
  size_t run = 0;
  int64_t column = 0;
  size_t i = 0;
  // A long line of one-column characters starts at the first column on screen (columns are
  // indices there).
  if (text.size() > CyLineColors::kLongLine && FirstColumn > 0 && !HasIrregularWidth(Line, text)) {
    i = static_cast<size_t>(std::min<int64_t>(FirstColumn, static_cast<int64_t>(text.size())));
    column = static_cast<int64_t>(i);
    run = static_cast<size_t>(std::partition_point(runs.begin(), runs.end(),
                                                   [&](const TyColorRun& r) {
                                                     return r.Linepos + r.Count <=
                                                            static_cast<int64_t>(i) + 1;
                                                   }) -
                              runs.begin());
  }
  const int baseline = Y + Ascent_;
  QString& chunk = Chunk_;
  int penStyle = -1;
  uint32_t penColor = kNoColor - 1;  // neither a colour nor "none": the first run sets it
  while (i < text.size() && column < LastColumn) {
    while (run < runs.size() && runs[run].Linepos + runs[run].Count <= static_cast<int64_t>(i) + 1)
      ++run;
    const bool inRun = run < runs.size() && runs[run].Linepos <= static_cast<int64_t>(i) + 1;
    const size_t end = inRun ? static_cast<size_t>(runs[run].Linepos + runs[run].Count - 1)
                       : run < runs.size() ? static_cast<size_t>(runs[run].Linepos - 1)
                                           : text.size();
    const TyColorItem item = inRun ? runs[run].Item : TyColorItem{};
    chunk.clear();
    int64_t chunkColumn = -1;
    for (; i < std::min(end, text.size()) && column < LastColumn; ++i) {
      const char16_t c = text[i];
      const int64_t next = NextColumn(text, i, column, TabWidth_);
      if (next > FirstColumn) {
        if (chunkColumn < 0) chunkColumn = std::max(column, FirstColumn);
        if (c == u'\t') {
          chunk.append(QString(static_cast<qsizetype>(next - std::max(column, FirstColumn)), u' '));
        } else if (column >= FirstColumn) {
          chunk.append(QChar(c));
        } else {
          chunk.append(QString(static_cast<qsizetype>(next - FirstColumn), u' '));
        }
      }
      const bool wide = c != u'\t' && next - column >= 2;
      column = next;
      if (wide && chunkColumn >= 0) {
        // A wide character ends its chunk: the font's advance for it need not be two cells,
        // so what follows starts again on the grid (with a pair's second unit).
        if (i + 1 < text.size() && NextColumn(text, i + 1, column, TabWidth_) == column &&
            text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000)
          chunk.append(QChar(text[++i]));
        ++i;
        break;
      }
    }
    if (chunkColumn < 0 || chunk.isEmpty()) continue;
    const int x = xOf(chunkColumn);
    if (item.Background != kNoColor)
      Painter.fillRect(x, Y, xOf(column) - x, LineHeight_, ToQColor(item.Background, {}));
    const bool bold = item.Styles & fsBold;
    const bool italic = item.Styles & fsItalic;
    const int style = (bold ? 1 : 0) | (italic ? 2 : 0);
    const QFont& font = style == 3   ? FontBoldItalic_
                        : style == 1 ? FontBold_
                        : style == 2 ? FontItalic_
                                     : Font_;
    // Pens and fonts are set only when they change (most neighbours share them).
    if (style != penStyle) Painter.setFont(font), penStyle = style;
    if (item.Foreground != penColor) {
      Painter.setPen(ToQColor(item.Foreground, Theme_.Foreground));
      penColor = item.Foreground;
    }
    QHash<QString, QStaticText>& cache = StaticText_[style];
    auto found = cache.find(chunk);
    if (found == cache.end()) {
      if (cache.size() > 20000) cache.clear();
      QStaticText laid(chunk);
      laid.setTextFormat(Qt::PlainText);
      laid.setPerformanceHint(QStaticText::AggressiveCaching);
      laid.prepare(QTransform(), font);
      found = cache.insert(chunk, laid);
    }
    Painter.drawStaticText(QPointF(x, Y), *found);
    if (item.Styles & fsUnderline) Painter.drawLine(x, baseline + 2, xOf(column), baseline + 2);
  }
  // Errors: a wave under each error's part of this line (a point error under one character).
  Painter.setPen(QPen(Theme_.Error, 1));
  for (auto it = ErrorRanges_.begin(); it != ErrorRanges_.end(); ++it) {
    if (it->Start.Line > Line) break;
    if (it->End.Line < Line) continue;
    const int64_t from = it->Start.Line == Line ? columnOf(it->Start.Linepos) : 0;
    int64_t to = it->End.Line == Line ? columnOf(it->End.Linepos)
                                      : columnOf(static_cast<int64_t>(text.size()) + 1);
    if (to <= from) to = from + 1;
    DrawWave(Painter, xOf(from), xOf(to), Y + LineHeight_ - 1);
  }
}

void CyTextView::PaintGutter(QPainter& Painter, int64_t Line, int Y, int Width) {
  const int foldWidth = LineHeight_;
  Painter.setFont(Font_);
  Painter.setPen(Line == Document_.getSelection().Caret.Line ? Theme_.Foreground
                                                             : Theme_.GutterForeground);
  if (CyBookmarks::IsSet(Document_, Line)) {
    // A bookmark: a rounded mark behind the line number.
    Painter.setPen(Qt::NoPen);
    Painter.setBrush(Theme_.Selection);
    Painter.drawRoundedRect(QRectF(1, Y + 1, Width - foldWidth - 2, LineHeight_ - 2), 3, 3);
    Painter.setBrush(Qt::NoBrush);
    Painter.setPen(Line == Document_.getSelection().Caret.Line ? Theme_.Foreground
                                                               : Theme_.GutterForeground);
  }
  if (LineNumberBase_ >= 0)
    Painter.drawText(QRect(0, Y, Width - foldWidth - 2, LineHeight_),
                     Qt::AlignRight | Qt::AlignVCenter, QString::number(LineNumberBase_ + Line));
  if (!FoldRangeAt(Line)) return;
  // A boxed minus for an open range, a boxed plus for a collapsed one.
  const int size = std::max(7, LineHeight_ / 2 | 1);
  const int x = Width - foldWidth + (foldWidth - size) / 2;
  const int y = Y + (LineHeight_ - size) / 2;
  Painter.setPen(Theme_.FoldMarker);
  Painter.setBrush(Qt::NoBrush);
  Painter.drawRect(x, y, size - 1, size - 1);
  const int mid = size / 2;
  Painter.drawLine(x + 2, y + mid, x + size - 3, y + mid);
  if (Folding_.IsCollapsed(Line)) {
    Painter.drawLine(x + mid, y + 2, x + mid, y + size - 3);
    // A rule under the line marks where the folded lines are (under its last row when
    // wrapped).
    const int rule = Y + Rows_.getRowsOf(Line) * LineHeight_ - 1;
    Painter.drawLine(x + size, rule, viewport()->width(), rule);
  }
}

// ---- Listening.

void CyTextView::OnDocumentChanged(const TxMarkupDocument& /*Document*/,
                                   const TyDocumentChange& Change) {
  PreferredColumn_ = -1;  // Up and Down start again from where the edit left the caret
  UpdateWrapWidth();      // the gutter may have grown a digit
  InvalidateRows();
  if (Change.WholeContent) {
    // A new content (load, format, replace all) gets its fold markers at once when small;
    // a big one after the first paint, so opening shows text first.
    Colors_.Invalidate();
    if (Document_.getLineCount() < kImmediateFoldLines) Folding_.Update();
  }
  if (Folding_.getStale()) FoldTimer_.start();
  UpdateScrollBars();
  viewport()->update();
  Q_EMIT caretMoved();
}

void CyTextView::resizeEvent(QResizeEvent* Event) {
  QAbstractScrollArea::resizeEvent(Event);
  UpdateWrapWidth();
  UpdateScrollBars();
}

void CyTextView::scrollContentsBy(int /*Dx*/, int /*Dy*/) {
  UpdateScrollBars();
  viewport()->update();
}

bool CyTextView::focusNextPrevChild(bool /*Next*/) { return false; }  // Tab is text

// ---- Commands.

void CyTextView::setSelection(const TySelection& Selection) {
  PreferredColumn_ = -1;
  Document_.setSelection(Selection);
  const TyTextPosition caret = Document_.getSelection().Caret;
  // Unfold every collapsed range that hides the caret.
  while (!Folding_.IsLineVisible(caret.Line)) {
    const int64_t shown =
        Folding_.VisibleLineToDocument(Folding_.DocumentLineToVisible(caret.Line));
    if (!Folding_.Expand(shown)) break;
    InvalidateRows();
  }
  EnsureCaretVisible();
  viewport()->update();
  Q_EMIT caretMoved();
}

void CyTextView::GoToLine(int64_t Line) {
  Line = std::clamp<int64_t>(Line, 1, Document_.getLineCount());
  PreferredColumn_ = -1;
  setSelection(TySelection::At({Line, 1}));
  // Put the line near the top third of the screen.
  verticalScrollBar()->setValue(
      static_cast<int>(std::max<int64_t>(0, Rows_.LineToRow(Line) - getVisibleRows() / 3)));
}

void CyTextView::Copy() {
  const TySelection& selection = Document_.getSelection();
  if (selection.isEmpty()) return;
  // The clipboard gets the platform's plain line ends, whatever the document's newline.
  QString text = ToQString(Document_.getText(selection.getRange()));
  text.replace(ToQString(Document_.getNewline()), QStringLiteral("\n"));
  QApplication::clipboard()->setText(text);
}

void CyTextView::Cut() {
  if (ReadOnly_ || Document_.getSelection().isEmpty()) return;
  Copy();
  Document_.DeleteAtCaret(false);
  EnsureCaretVisible();
}

void CyTextView::Paste() {
  const QString text = QApplication::clipboard()->text();
  if (ReadOnly_ || text.isEmpty()) return;
  Document_.CloseUndoStep();
  Document_.TypeText(ToU16(text), TyEditKind::ekOther);
  EnsureCaretVisible();
}

void CyTextView::setLineNumbering(int64_t Base, int64_t CountHint) {
  LineNumberBase_ = Base;
  LineCountHint_ = CountHint;
  UpdateScrollBars();
  viewport()->update();
}

void CyTextView::SelectAll() {
  Document_.setSelection({{1, 1}, Document_.getEndPosition()});
  viewport()->update();
  Q_EMIT caretMoved();
}

void CyTextView::Undo() {
  if (!ReadOnly_ && Document_.Undo()) setSelection(Document_.getSelection());
}

void CyTextView::Redo() {
  if (!ReadOnly_ && Document_.Redo()) setSelection(Document_.getSelection());
}

void CyTextView::FoldAll() {
  Folding_.Update();
  Folding_.CollapseAll();
  InvalidateRows();
  setSelection(Document_.getSelection());
  UpdateScrollBars();
}

void CyTextView::UnfoldAll() {
  Folding_.ExpandAll();
  InvalidateRows();
  UpdateScrollBars();
  viewport()->update();
}

void CyTextView::ToggleBookmark() {
  CyBookmarks::Toggle(Document_, Document_.getSelection().Caret.Line);
  viewport()->update();
}

void CyTextView::GoToBookmark(bool Forward) {
  const int64_t line = Document_.getSelection().Caret.Line;
  const int64_t to =
      Forward ? CyBookmarks::Next(Document_, line) : CyBookmarks::Previous(Document_, line);
  if (to > 0) setSelection(TySelection::At({to, 1}));
}

void CyTextView::FoldToLevel(int Level) {
  Folding_.Update();
  Folding_.ExpandAll();
  // Ranges come outer before inner: a stack of the open ranges' last lines gives the depth.
  std::vector<int64_t> open;
  for (const TyFoldRange& range : Folding_.getFoldRanges()) {
    while (!open.empty() && open.back() < range.FirstLine) open.pop_back();
    open.push_back(range.LastLine);
    if (static_cast<int>(open.size()) >= Level) Folding_.Collapse(range.FirstLine);
  }
  InvalidateRows();
  setSelection(Document_.getSelection());
  UpdateScrollBars();
}

bool CyTextView::ToggleFold(int64_t Line) {
  Folding_.Update();
  if (!Folding_.Toggle(Line)) return false;
  InvalidateRows();
  // A caret folded away goes to the range's first line.
  const TyTextPosition caret = Document_.getSelection().Caret;
  if (!Folding_.IsLineVisible(caret.Line)) Document_.setSelection(TySelection::At({Line, 1}));
  UpdateScrollBars();
  viewport()->update();
  Q_EMIT caretMoved();
  return true;
}

// ---- Keys.

TyTextPosition CyTextView::MoveByCharacter(TyTextPosition From, bool Forward) const {
  const std::u16string_view text = Document_.getLine(From.Line);
  auto isHigh = [](char16_t c) { return c >= 0xD800 && c < 0xDC00; };
  if (Forward) {
    if (From.Linepos <= static_cast<int64_t>(text.size())) {
      const bool pair =
          isHigh(text[From.Linepos - 1]) && From.Linepos < static_cast<int64_t>(text.size());
      return {From.Line, From.Linepos + (pair ? 2 : 1)};
    }
    const int64_t visible = Folding_.DocumentLineToVisible(From.Line);
    if (visible >= Folding_.getVisibleLineCount()) return From;
    return {Folding_.VisibleLineToDocument(visible + 1), 1};
  }
  if (From.Linepos > 1) {
    const bool pair = From.Linepos > 2 && isHigh(text[From.Linepos - 3]);
    return {From.Line, From.Linepos - (pair ? 2 : 1)};
  }
  const int64_t visible = Folding_.DocumentLineToVisible(From.Line);
  if (visible <= 1) return From;
  const int64_t line = Folding_.VisibleLineToDocument(visible - 1);
  return {line, static_cast<int64_t>(Document_.getLine(line).size()) + 1};
}

TyTextPosition CyTextView::MoveByLines(TyTextPosition From, int64_t Rows) {
  const std::u16string_view from = Document_.getLine(From.Line);
  if (!Wrap_) {
    if (PreferredColumn_ < 0) PreferredColumn_ = ColumnOfLinepos(from, From.Linepos, TabWidth_);
    const int64_t visible = std::clamp<int64_t>(Folding_.DocumentLineToVisible(From.Line) + Rows, 1,
                                                Folding_.getVisibleLineCount());
    const int64_t line = Folding_.VisibleLineToDocument(visible);
    return {line, LineposAtColumn(Document_.getLine(line), static_cast<double>(PreferredColumn_),
                                  TabWidth_)};
  }
  // By screen rows; the column kept is the one inside the row.
  int64_t start = 0, end = 0;
  const int64_t fromRow = RowOfPosition(From, start, end);
  const int64_t row = Rows_.LineToRow(From.Line) + fromRow;
  if (PreferredColumn_ < 0)
    PreferredColumn_ =
        ColumnOfLinepos(from, From.Linepos, TabWidth_) - RowColumns_[static_cast<size_t>(fromRow)];
  const int64_t target = std::clamp<int64_t>(row + Rows, 0, Rows_.getRowCount() - 1);
  int64_t rowInLine = 0;
  const int64_t line = Rows_.RowToLine(target, rowInLine);
  RowSpan(line, rowInLine, start, end);
  const std::u16string_view text = Document_.getLine(line);
  const int64_t first =
      RowColumns_[std::min(static_cast<size_t>(rowInLine), RowColumns_.size() - 1)];
  const int64_t linepos =
      LineposAtColumn(text, static_cast<double>(first + PreferredColumn_), TabWidth_);
  const bool lastRow = end == static_cast<int64_t>(text.size());
  return {line,
          std::clamp<int64_t>(linepos, start + 1, lastRow ? end + 1 : std::max(start + 1, end))};
}

void CyTextView::MoveCaret(TyTextPosition Position, bool Extend, bool KeepColumn) {
  if (!KeepColumn) PreferredColumn_ = -1;
  const TySelection& old = Document_.getSelection();
  Document_.setSelection(Extend ? TySelection{old.Anchor, Position} : TySelection::At(Position));
  EnsureCaretVisible();
  viewport()->update();
  Q_EMIT caretMoved();
}

void CyTextView::InsertNewline() {
  // The new line takes the leading blanks of the caret's line (up to the caret).
  const TyTextPosition caret = Document_.getSelection().getRange().Start;
  const std::u16string_view text = Document_.getLine(caret.Line);
  size_t blanks = 0;
  while (blanks < text.size() && blanks + 1 < static_cast<size_t>(caret.Linepos) &&
         (text[blanks] == u' ' || text[blanks] == u'\t'))
    ++blanks;
  std::u16string insert = u"\n";
  insert.append(text.substr(0, blanks));
  Document_.TypeText(insert, TyEditKind::ekOther);
}

void CyTextView::TypeAndComplete(const QString& Text) {
  Document_.TypeText(ToU16(Text));
  // "</" typed in XML gets the name of the element still open and the ">".
  if (Text != QStringLiteral("/") || !Document_.getKeepsLineStates()) return;
  const TyTextPosition caret = Document_.getSelection().Caret;
  const std::u16string_view line = Document_.getLine(caret.Line);
  if (caret.Linepos < 3 || line[caret.Linepos - 3] != u'<') return;
  const std::u16string name = FindOpenElementName(Document_, {caret.Line, caret.Linepos - 2});
  if (name.empty()) return;
  Document_.TypeText(name + u">");
}

void CyTextView::keyPressEvent(QKeyEvent* Event) {
  const TySelection selection = Document_.getSelection();
  const TyTextPosition caret = selection.Caret;
  const bool shift = Event->modifiers() & Qt::ShiftModifier;
  const bool ctrl = Event->modifiers() & Qt::ControlModifier;
  const std::u16string_view line = Document_.getLine(caret.Line);
  const auto lineEnd = static_cast<int64_t>(line.size()) + 1;

  if (Event == QKeySequence::Copy) return Copy();
  if (Event == QKeySequence::Cut) return Cut();
  if (Event == QKeySequence::Paste) return Paste();
  if (Event == QKeySequence::SelectAll) return SelectAll();
  if (Event == QKeySequence::Undo) return Undo();
  if (Event == QKeySequence::Redo || (ctrl && Event->key() == Qt::Key_Y && !shift)) return Redo();

  switch (Event->key()) {
    case Qt::Key_F2:
      if (ctrl) return ToggleBookmark();
      return GoToBookmark(!shift);
    case Qt::Key_Left:
      if (!shift && !selection.isEmpty() && !ctrl)
        return MoveCaret(selection.getRange().Start, false);
      return MoveCaret(
          ctrl ? (caret.Linepos > 1
                      ? TyTextPosition{caret.Line, PreviousWordStart(line, caret.Linepos)}
                      : MoveByCharacter(caret, false))
               : MoveByCharacter(caret, false),
          shift);
    case Qt::Key_Right:
      if (!shift && !selection.isEmpty() && !ctrl)
        return MoveCaret(selection.getRange().End, false);
      return MoveCaret(ctrl ? (caret.Linepos < lineEnd
                                   ? TyTextPosition{caret.Line, NextWordEnd(line, caret.Linepos)}
                                   : MoveByCharacter(caret, true))
                            : MoveByCharacter(caret, true),
                       shift);
    case Qt::Key_Up:
      if (ctrl) return verticalScrollBar()->setValue(verticalScrollBar()->value() - 1);
      return MoveCaret(MoveByLines(caret, -1), shift, true);
    case Qt::Key_Down:
      if (ctrl) return verticalScrollBar()->setValue(verticalScrollBar()->value() + 1);
      return MoveCaret(MoveByLines(caret, 1), shift, true);
    case Qt::Key_PageUp:
      verticalScrollBar()->setValue(verticalScrollBar()->value() - getVisibleRows());
      return MoveCaret(MoveByLines(caret, -getVisibleRows()), shift, true);
    case Qt::Key_PageDown:
      verticalScrollBar()->setValue(verticalScrollBar()->value() + getVisibleRows());
      return MoveCaret(MoveByLines(caret, getVisibleRows()), shift, true);
    case Qt::Key_Home: {
      if (ctrl) return MoveCaret({1, 1}, shift);
      if (Wrap_) {
        // A continuation row: first to its start, then as on the line's first row.
        int64_t start = 0, end = 0;
        if (RowOfPosition(caret, start, end) > 0 && caret.Linepos != start + 1)
          return MoveCaret({caret.Line, start + 1}, shift);
      }
      // First to the first non-blank character, then to the line's start.
      int64_t first = 1;
      while (first < lineEnd && (line[first - 1] == u' ' || line[first - 1] == u'\t')) ++first;
      return MoveCaret({caret.Line, caret.Linepos == first ? 1 : first}, shift);
    }
    case Qt::Key_End:
      if (ctrl) return MoveCaret(Document_.getEndPosition(), shift);
      if (Wrap_) {
        // A row that is not the line's last: first to before its last character.
        int64_t start = 0, end = 0;
        RowOfPosition(caret, start, end);
        if (end < lineEnd - 1 && caret.Linepos != std::max(start + 1, end))
          return MoveCaret({caret.Line, std::max(start + 1, end)}, shift);
      }
      return MoveCaret({caret.Line, lineEnd}, shift);
    case Qt::Key_Return:
    case Qt::Key_Enter:
      if (ReadOnly_) return;
      InsertNewline();
      EnsureCaretVisible();
      return;
    case Qt::Key_Backspace:
    case Qt::Key_Delete:
      if (ReadOnly_) return;
      Document_.DeleteAtCaret(Event->key() == Qt::Key_Delete);
      EnsureCaretVisible();
      return;
    case Qt::Key_Tab:
    case Qt::Key_Backtab: {
      if (ReadOnly_) return;
      const TyTextRange range = selection.getRange();
      const bool outdent = Event->key() == Qt::Key_Backtab || shift;
      if (range.Start.Line != range.End.Line || outdent) {
        const int64_t last = range.End.Linepos == 1 && range.End.Line > range.Start.Line
                                 ? range.End.Line - 1
                                 : range.End.Line;
        Document_.IndentLines(range.Start.Line, last, u"\t", outdent);
      } else {
        Document_.TypeText(u"\t");
      }
      EnsureCaretVisible();
      return;
    }
    case Qt::Key_Escape:
      if (!selection.isEmpty()) MoveCaret(caret, false);
      return;
    default:
      break;
  }
  const QString text = Event->text();
  if (!text.isEmpty() && !ctrl && text.at(0).isPrint()) {
    if (ReadOnly_) return;
    TypeAndComplete(text);
    EnsureCaretVisible();
    return;
  }
  QAbstractScrollArea::keyPressEvent(Event);
}

void CyTextView::inputMethodEvent(QInputMethodEvent* Event) {
  if (!ReadOnly_ && !Event->commitString().isEmpty()) {
    TypeAndComplete(Event->commitString());
    EnsureCaretVisible();
  }
  Event->accept();
}

QVariant CyTextView::inputMethodQuery(Qt::InputMethodQuery Query) const {
  if (Query == Qt::ImCursorRectangle) {
    const QPoint at = PositionToPoint(Document_.getSelection().Caret);
    return QRect(at, QSize(2, LineHeight_));
  }
  if (Query == Qt::ImEnabled) return true;
  return QAbstractScrollArea::inputMethodQuery(Query);
}

// ---- Mouse.

void CyTextView::mousePressEvent(QMouseEvent* Event) {
  if (Event->button() != Qt::LeftButton) return QAbstractScrollArea::mousePressEvent(Event);
  const QPoint point = Event->position().toPoint();
  const TyTextPosition position = PointToPosition(point);
  if (point.x() < getGutterWidth()) {
    // The fold column toggles; the numbers select the line.
    if (point.x() >= getGutterWidth() - LineHeight_ && ToggleFold(position.Line)) return;
    return MoveCaret({position.Line, 1}, false);
  }
  // A press soon after a double click selects the whole line.
  if (QDateTime::currentMSecsSinceEpoch() - LastDoubleClick_ <
      QApplication::doubleClickInterval()) {
    LastDoubleClick_ = 0;
    const TyTextPosition end =
        position.Line < Document_.getLineCount()
            ? TyTextPosition{position.Line + 1, 1}
            : TyTextPosition{position.Line,
                             static_cast<int64_t>(Document_.getLine(position.Line).size()) + 1};
    Document_.setSelection({{position.Line, 1}, end});
    viewport()->update();
    Q_EMIT caretMoved();
    return;
  }
  Dragging_ = true;
  MoveCaret(position, Event->modifiers() & Qt::ShiftModifier);
}

void CyTextView::mouseMoveEvent(QMouseEvent* Event) {
  if (!Dragging_ || !(Event->buttons() & Qt::LeftButton)) return;
  MoveCaret(PointToPosition(Event->position().toPoint()), true);
}

void CyTextView::mouseReleaseEvent(QMouseEvent* /*Event*/) { Dragging_ = false; }

void CyTextView::mouseDoubleClickEvent(QMouseEvent* Event) {
  const QPoint point = Event->position().toPoint();
  if (point.x() < getGutterWidth()) return;
  const TyTextPosition position = PointToPosition(point);
  int64_t first = 0, last = 0;
  WordAt(Document_.getLine(position.Line), position.Linepos, first, last);
  Document_.setSelection({{position.Line, first}, {position.Line, last}});
  LastDoubleClick_ = QDateTime::currentMSecsSinceEpoch();
  Dragging_ = false;
  viewport()->update();
  Q_EMIT caretMoved();
}

}  // namespace xylem
