// Word wrap in the view: the row map with folds against a plain model (every visible line
// counted row by row with CountRows), and the real widget driven by keys and the mouse: Down
// and Up move by screen row, Home and End stop at a row's ends, a click lands where the caret
// is drawn, and the continuation of a wrapped line is painted on the next row.

#include "editor/WordWrap.hpp"

#include <QImage>
#include <QtTest>
#include <string>
#include <vector>

#include "app/Columns.hpp"
#include "app/DisplayRows.hpp"
#include "app/TextView.hpp"
#include "editor/Document.hpp"
#include "editor/Folding.hpp"

using namespace xylem;

namespace {

std::u16string U(const QString& Text) {
  return std::u16string(reinterpret_cast<const char16_t*>(Text.utf16()),
                        static_cast<size_t>(Text.size()));
}

// Nested elements with long text lines (spaces, a tab, wide characters) to wrap.
std::u16string FoldingDocument() {
  QString text = QStringLiteral("<root>\n");
  for (int i = 0; i < 12; ++i) {
    text += QStringLiteral("  <item n=\"%1\">\n").arg(i);
    text += QStringLiteral("    text of item %1 ").arg(i) +
            QStringLiteral("with words ").repeated(i % 5 + 1) + QStringLiteral("\tand more\n");
    text += QStringLiteral("    <sub>") + QString(i % 3 + 1, QChar(0x6F22)) +
            QStringLiteral(" wide</sub>\n  </item>\n");
  }
  return U(text + QStringLiteral("</root>"));
}

QString LongLine() {
  return QStringLiteral(
      "alpha beta gamma delta epsilon zeta eta theta iota kappa lambda mu nu xi "
      "omicron pi rho sigma tau upsilon phi chi psi omega");
}

// Pixels of Image in Rect that differ from Background.
int CountInk(const QImage& Image, const QRect& Rect, QColor Background) {
  int count = 0;
  const QRect r = Rect.intersected(Image.rect());
  for (int y = r.top(); y <= r.bottom(); ++y)
    for (int x = r.left(); x <= r.right(); ++x)
      if (Image.pixelColor(x, y) != Background) ++count;
  return count;
}

}  // namespace

class WordWrapTest : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  // getRowCount, LineToRow and RowToLine agree with the rows of the visible lines listed one
  // by one, wrapped or not, with nothing, some or nested ranges collapsed.
  void DisplayRowsAgreeWithPlainModel_data() {
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("foldEvery");  // collapse every n-th range; 0: none
    for (int width : {0, 6, 11, 37})
      for (int every : {0, 1, 3, 4})
        QTest::addRow("width %d, fold every %d", width, every) << width << every;
  }
  void DisplayRowsAgreeWithPlainModel() {
    QFETCH(int, width);
    QFETCH(int, foldEvery);
    TxMarkupDocument document;
    document.LoadFromText(FoldingDocument(), "a.xml");
    CyEditorFolding folding(document);
    folding.Update();
    const TyWrapOptions options{width, 4};
    CyWordWrap wrap(document, options);
    CyDisplayRows rows(document, folding);
    rows.setWrap(width > 0 ? &wrap : nullptr);
    for (int round = 0; round < 2; ++round) {
      if (foldEvery > 0) {
        int index = 0;
        for (const TyFoldRange& range : std::vector<TyFoldRange>(folding.getFoldRanges()))
          if (index++ % foldEvery == round) folding.Collapse(range.FirstLine);
      }
      rows.Invalidate();
      std::vector<std::pair<int64_t, int64_t>> model;  // (line, row in line) per display row
      std::vector<int64_t> firstRow(static_cast<size_t>(document.getLineCount()) + 1, -1);
      for (int64_t line = 1; line <= document.getLineCount(); ++line) {
        if (!folding.IsLineVisible(line)) continue;
        firstRow[static_cast<size_t>(line)] = static_cast<int64_t>(model.size());
        const int32_t n = width > 0 ? CountRows(document.getLine(line), options) : 1;
        for (int32_t r = 0; r < n; ++r) model.emplace_back(line, r);
      }
      QCOMPARE(rows.getRowCount(), static_cast<int64_t>(model.size()));
      for (size_t row = 0; row < model.size(); ++row) {
        int64_t rowInLine = -1;
        const int64_t line = rows.RowToLine(static_cast<int64_t>(row), rowInLine);
        QCOMPARE(std::pair(line, rowInLine), model[row]);
      }
      for (int64_t line = 1; line <= document.getLineCount(); ++line) {
        const int64_t shown = folding.VisibleLineToDocument(folding.DocumentLineToVisible(line));
        QCOMPARE(rows.LineToRow(line), firstRow[static_cast<size_t>(shown)]);
      }
      // An edit moves the rows after it; the map follows once invalidated.
      document.setSelection(TySelection::At({3, 5}));
      document.TypeText(u"inserted words that make the line wrap once more ");
    }
  }

  // The view's grid measures a row as the wrap does: every row fits the width, and a row of a
  // line without blanks is full (its next character would not fit), for wide characters,
  // combining marks and surrogate pairs alike; a click between a pair's units is impossible.
  void GridAgreesWithWrap_data() {
    QTest::addColumn<QString>("line");
    QTest::newRow("ascii") << QStringLiteral("abcdefghijklmnopqrstuvwxyz0123456789");
    // Tab stops of the unwrapped line: a row that starts between two is measured from there.
    QTest::newRow("tabs") << QStringLiteral("ab\tc\tdef\tghijk\tl\t\tmn\topqrs\ttu").repeated(3);
    QTest::newRow("tab after a break") << QStringLiteral("\tbbbaabbbbabab\t\ta\tbaaabaa\tab\t\t");
    QTest::newRow("wide") << QString(30, QChar(0x6F22));
    QTest::newRow("mixed") << QStringLiteral("ab") + QString(7, QChar(0x3042)) +
                                  QStringLiteral("cde") + QString(5, QChar(0xFF21)) +
                                  QStringLiteral("fg");
    QTest::newRow("combining") << QStringLiteral("e\u0301a\u0300o\u0302").repeated(8);
    QTest::newRow("pairs") << QStringLiteral("x\U0001F600y\U0001F601").repeated(6);
  }
  void GridAgreesWithWrap() {
    QFETCH(QString, line);
    const std::u16string text = U(line);
    for (int width : {5, 7, 10, 23}) {
      std::vector<int64_t> starts;
      RowStarts(text, {width, 4}, starts);
      starts.push_back(static_cast<int64_t>(text.size()));
      for (size_t r = 0; r + 1 < starts.size(); ++r) {
        const int64_t from = ColumnOfLinepos(text, starts[r] + 1, 4);
        const int64_t to = ColumnOfLinepos(text, starts[r + 1] + 1, 4);
        QVERIFY2(to - from <= width,
                 qPrintable(QStringLiteral("row %1 width %2").arg(r).arg(width)));
        // A row ends behind a blank when it has one, so only rows without blanks are full.
        if (r + 2 < starts.size() && !line.contains(QLatin1Char('\t'))) {
          const int64_t after = NextColumn(text, static_cast<size_t>(starts[r + 1]), to, 4);
          QVERIFY2(after - from > width, qPrintable(QStringLiteral("row %1 not full").arg(r)));
        }
      }
    }
    // Every position a click can give is a position the grid can draw at, pairs kept whole.
    for (int64_t linepos = 1; linepos <= static_cast<int64_t>(text.size()) + 1; ++linepos) {
      const int64_t column = ColumnOfLinepos(text, linepos, 4);
      const int64_t back = LineposAtColumn(text, static_cast<double>(column), 4);
      QCOMPARE(ColumnOfLinepos(text, back, 4), column);
      QVERIFY(back == static_cast<int64_t>(text.size()) + 1 || text[size_t(back - 1)] < 0xDC00 ||
              text[size_t(back - 1)] >= 0xE000);
    }
  }

  // Down and Up move by screen row inside a wrapped line, keeping the column within the row;
  // without wrap the same key goes to the next line.
  void CaretMovesByScreenRow() {
    TxMarkupDocument document;
    document.LoadFromText(U(LongLine() + QStringLiteral("\n\nend")));
    CyTextView view(document);
    view.resize(360, 300);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    view.setWordWrap(true);
    std::vector<int64_t> starts;
    RowStarts(document.getLine(1), {view.getWrapColumns(), view.getTabWidth()}, starts);
    QVERIFY2(starts.size() >= 3, "the line wraps at least twice");
    view.setSelection(TySelection::At({1, 3}));
    for (size_t r = 1; r < starts.size(); ++r) {
      QTest::keyClick(&view, Qt::Key_Down);
      QCOMPARE(document.getSelection().Caret, (TyTextPosition{1, starts[r] + 3}));
    }
    QTest::keyClick(&view, Qt::Key_Down);
    QCOMPARE(document.getSelection().Caret, (TyTextPosition{2, 1}));
    QTest::keyClick(&view, Qt::Key_Up);
    QCOMPARE(document.getSelection().Caret, (TyTextPosition{1, starts.back() + 3}));
    for (size_t r = starts.size() - 1; r-- > 0;) {
      QTest::keyClick(&view, Qt::Key_Up);
      QCOMPARE(document.getSelection().Caret, (TyTextPosition{1, starts[r] + 3}));
    }
    view.setWordWrap(false);
    QTest::keyClick(&view, Qt::Key_Down);
    QCOMPARE(document.getSelection().Caret, (TyTextPosition{2, 1}));
  }

  // Home and End on a continuation row go to the row's ends first, then to the line's.
  void HomeAndEndOnWrappedRow() {
    TxMarkupDocument document;
    document.LoadFromText(U(LongLine()));
    CyTextView view(document);
    view.resize(360, 200);
    view.show();
    view.setWordWrap(true);
    std::vector<int64_t> starts;
    RowStarts(document.getLine(1), {view.getWrapColumns(), view.getTabWidth()}, starts);
    QVERIFY(starts.size() >= 3);
    const int64_t inside = starts[1] + 4;
    view.setSelection(TySelection::At({1, inside}));
    QTest::keyClick(&view, Qt::Key_End);
    QCOMPARE(document.getSelection().Caret.Linepos, starts[2]);  // before the row's last char
    QTest::keyClick(&view, Qt::Key_End);
    QCOMPARE(document.getSelection().Caret.Linepos,
             static_cast<int64_t>(document.getLine(1).size()) + 1);
    view.setSelection(TySelection::At({1, inside}));
    QTest::keyClick(&view, Qt::Key_Home);
    QCOMPARE(document.getSelection().Caret.Linepos, starts[1] + 1);
    QTest::keyClick(&view, Qt::Key_Home);
    QCOMPARE(document.getSelection().Caret.Linepos, int64_t{1});
  }

  // A click where a position is drawn puts the caret there, on every row of a wrapped line.
  void ClickLandsWhereCaretIsDrawn() {
    TxMarkupDocument document;
    document.LoadFromText(U(QStringLiteral("<a>") + LongLine() + QStringLiteral("</a>\nx")));
    CyTextView view(document);
    view.resize(360, 300);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    view.setWordWrap(true);
    const auto length = static_cast<int64_t>(document.getLine(1).size());
    for (int64_t linepos = 1; linepos <= length + 1; ++linepos) {
      const QPoint at = view.PositionToPoint({1, linepos}) + QPoint(1, view.getLineHeight() / 2);
      QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, at);
      QCOMPARE(document.getSelection().Caret, (TyTextPosition{1, linepos}));
    }
  }

  // The second row of the wrapped first line shows text; without wrap that row is the empty
  // second line.
  void ContinuationIsPainted() {
    TxMarkupDocument document;
    document.LoadFromText(U(LongLine() + QStringLiteral("\n\nend")));
    CyTextView view(document);
    view.resize(360, 200);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    const QColor background = view.getTheme().Background;
    const int h = view.getLineHeight();
    const QRect secondRow(view.getGutterWidth() + 4, h, view.viewport()->width() - 60, h);
    QCOMPARE(CountInk(view.viewport()->grab().toImage(), secondRow, background), 0);
    view.setWordWrap(true);
    QVERIFY(CountInk(view.viewport()->grab().toImage(), secondRow, background) > 20);
    QCOMPARE(view.getTopLine(), int64_t{1});
  }

  // Folding a range of wrapped lines: Down from the fold's first line skips what it hides.
  void FoldsAndWrapTogether() {
    TxMarkupDocument document;
    document.LoadFromText(FoldingDocument(), "a.xml");
    CyTextView view(document);
    view.resize(300, 400);
    view.show();
    view.setWordWrap(true);
    QVERIFY(view.ToggleFold(2));  // the first <item>, lines 2 to 5
    view.setSelection(TySelection::At({2, 1}));
    int64_t rows = view.getDisplayRows().getRowsOf(2);
    for (int64_t r = 0; r < rows; ++r) QTest::keyClick(&view, Qt::Key_Down);
    QCOMPARE(document.getSelection().Caret.Line, int64_t{6});
  }
};

QTEST_MAIN(WordWrapTest)
#include "WordWrapTest.moc"
