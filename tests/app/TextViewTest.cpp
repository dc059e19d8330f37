// The text view driven by real key and mouse events on the offscreen platform: editing against
// a plain model of lines and caret, selection, undo and redo, the clipboard, folding seen in
// pixels, and token colours read back from QWidget::grab().

#include "app/TextView.hpp"

#include <QApplication>
#include <QClipboard>
#include <QImage>
#include <QRandomGenerator>
#include <QScrollBar>
#include <QtTest>
#include <string>
#include <vector>

#include "editor/Document.hpp"
#include "xml/lines/Coloring.hpp"

using namespace xylem;

namespace {

QString Q(std::u16string_view Text) {
  return QString::fromUtf16(Text.data(), static_cast<qsizetype>(Text.size()));
}

// Pixels of Image within Rect whose colour lies within Tolerance of Color (per channel).
int CountNear(const QImage& Image, const QRect& Rect, QColor Color, int Tolerance = 48) {
  int count = 0;
  const QRect r = Rect.intersected(Image.rect());
  for (int y = r.top(); y <= r.bottom(); ++y)
    for (int x = r.left(); x <= r.right(); ++x) {
      const QColor c = Image.pixelColor(x, y);
      if (std::abs(c.red() - Color.red()) <= Tolerance &&
          std::abs(c.green() - Color.green()) <= Tolerance &&
          std::abs(c.blue() - Color.blue()) <= Tolerance)
        ++count;
    }
  return count;
}

QColor FromScheme(uint32_t Rgb) { return QColor(QRgb(0xff000000u | Rgb)); }

// A plain model of the editing keys: lines of text and a caret, with the view's rules
// (auto-indent copies the leading blanks up to the caret; Up and Down keep the column).
struct TyModel {
  std::vector<std::u16string> Lines{u""};
  int64_t Line = 0, Pos = 0, Preferred = -1;

  void Key(int Key, char16_t Letter) {
    std::u16string& text = Lines[Line];
    const bool vertical = Key == Qt::Key_Up || Key == Qt::Key_Down;
    if (!vertical) Preferred = -1;
    switch (Key) {
      case Qt::Key_Left:
        if (Pos > 0)
          --Pos;
        else if (Line > 0)
          Pos = Lines[--Line].size();
        break;
      case Qt::Key_Right:
        if (Pos < static_cast<int64_t>(text.size()))
          ++Pos;
        else if (Line + 1 < static_cast<int64_t>(Lines.size()))
          ++Line, Pos = 0;
        break;
      case Qt::Key_Up:
      case Qt::Key_Down: {
        if (Preferred < 0) Preferred = Pos;
        const int64_t to = Line + (Key == Qt::Key_Up ? -1 : 1);
        if (to >= 0 && to < static_cast<int64_t>(Lines.size())) Line = to;
        Pos = std::min<int64_t>(Preferred, Lines[Line].size());
        break;
      }
      case Qt::Key_End:
        Pos = text.size();
        break;
      case Qt::Key_Backspace:
        if (Pos > 0)
          text.erase(--Pos, 1);
        else if (Line > 0) {
          Pos = Lines[Line - 1].size();
          Lines[Line - 1] += text;
          Lines.erase(Lines.begin() + Line--);
        }
        break;
      case Qt::Key_Delete:
        if (Pos < static_cast<int64_t>(text.size()))
          text.erase(Pos, 1);
        else if (Line + 1 < static_cast<int64_t>(Lines.size())) {
          text += Lines[Line + 1];
          Lines.erase(Lines.begin() + Line + 1);
        }
        break;
      case Qt::Key_Return: {
        size_t blanks = 0;
        while (blanks < text.size() && static_cast<int64_t>(blanks) < Pos && text[blanks] == u' ')
          ++blanks;
        std::u16string tail = std::u16string(blanks, u' ') + text.substr(Pos);
        text.erase(Pos);
        Lines.insert(Lines.begin() + Line + 1, tail);
        ++Line;
        Pos = blanks;
        break;
      }
      default:
        text.insert(text.begin() + Pos++, Letter);
    }
  }
  std::u16string Joined() const {
    std::u16string all;
    for (size_t i = 0; i < Lines.size(); ++i) all += (i ? u"\r\n" : u"") + Lines[i];
    return all;
  }
};

}  // namespace

class TextViewTest : public QObject {
  Q_OBJECT

 private:
  // A shown view over a document of Text.
  struct TyFixture {
    TxMarkupDocument Document;
    CyTextView View;
    explicit TyFixture(std::u16string_view Text, const std::string& Path = "t.xml")
        : View(Document) {
      Document.LoadFromText(Text, Path);
      View.resize(640, 400);
      View.show();
      View.setFocus();
      QVERIFY(QTest::qWaitForWindowExposed(&View));
    }
    QImage Grab() { return View.viewport()->grab().toImage(); }
  };

 private Q_SLOTS:
  void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

  // Random editing keys give the same text and caret as the plain model after every step.
  void EditingKeysMatchPlainModel() {
    TyFixture f(u"");
    f.Document.setKind(TyDocumentKind::dkText);  // plain: "</" is not completed
    TyModel model;
    QRandomGenerator random(42);
    const int keys[] = {Qt::Key_Left,
                        Qt::Key_Right,
                        Qt::Key_Up,
                        Qt::Key_Down,
                        Qt::Key_End,
                        Qt::Key_Return,
                        Qt::Key_Delete,
                        Qt::Key_Backspace,
                        Qt::Key_Backspace,
                        0,
                        0,
                        0,
                        0,
                        0,
                        0,
                        0};
    const char16_t letters[] = u"ab <>/x  ";
    for (int step = 0; step < 600; ++step) {
      const int key = keys[random.bounded(static_cast<int>(std::size(keys)))];
      const char16_t letter = letters[random.bounded(9)];
      model.Key(key, letter);
      if (key)
        QTest::keyClick(&f.View, static_cast<Qt::Key>(key));
      else
        QTest::keyClicks(&f.View, QString(QChar(letter)));
      const TyTextPosition caret = f.Document.getSelection().Caret;
      QCOMPARE(Q(f.Document.getText()), Q(model.Joined()));
      QCOMPARE(caret.Line, model.Line + 1);
      QCOMPARE(caret.Linepos, model.Pos + 1);
    }
  }

  // Shift with arrows, Home and End selects; typing replaces the selection; a double click
  // selects a word, a drag selects from press to release.
  void SelectingWithKeysAndMouse() {
    TyFixture f(u"<root>\r\n  <item name=\"alpha\"/>\r\n</root>");
    f.View.setSelection(TySelection::At({2, 3}));
    QTest::keyClick(&f.View, Qt::Key_End, Qt::ShiftModifier);
    QCOMPARE(Q(f.Document.getText(f.Document.getSelection().getRange())),
             QStringLiteral("<item name=\"alpha\"/>"));
    // Shift+Left from the end shrinks the selection from its caret end.
    QTest::keyClick(&f.View, Qt::Key_End);
    QTest::keyClick(&f.View, Qt::Key_Left, Qt::ShiftModifier);
    QTest::keyClick(&f.View, Qt::Key_Left, Qt::ShiftModifier);
    QCOMPARE(Q(f.Document.getText(f.Document.getSelection().getRange())), QStringLiteral("/>"));
    // "</" is completed with the open element's name.
    QTest::keyClicks(&f.View, QStringLiteral("></"));
    QCOMPARE(Q(f.Document.getLine(2)), QStringLiteral("  <item name=\"alpha\"></item>"));

    // Ctrl+Shift+Left takes the word before the caret.
    f.View.setSelection(TySelection::At({2, 20}));
    QTest::keyClick(&f.View, Qt::Key_Left, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(Q(f.Document.getText(f.Document.getSelection().getRange())), QStringLiteral("alpha"));

    // Double click on "alpha".
    const QPoint word = f.View.PositionToPoint({2, 16}) + QPoint(2, f.View.getLineHeight() / 2);
    QTest::mouseDClick(f.View.viewport(), Qt::LeftButton, {}, word);
    QCOMPARE(Q(f.Document.getText(f.Document.getSelection().getRange())), QStringLiteral("alpha"));

    // A press right after the double click selects the whole line (a triple click).
    QTest::mousePress(f.View.viewport(), Qt::LeftButton, {}, word);
    QTest::mouseRelease(f.View.viewport(), Qt::LeftButton, {}, word);
    QCOMPARE(f.Document.getSelection(), (TySelection{{2, 1}, {3, 1}}));
    QTest::qWait(QApplication::doubleClickInterval() + 50);

    // Drag from line 1 position 2 to line 3 position 3.
    const int half = f.View.getLineHeight() / 2;
    const QPoint from = f.View.PositionToPoint({1, 2}) + QPoint(0, half);
    const QPoint to = f.View.PositionToPoint({3, 3}) + QPoint(0, half);
    QTest::mousePress(f.View.viewport(), Qt::LeftButton, {}, from);
    QMouseEvent move(QEvent::MouseMove, to, f.View.viewport()->mapToGlobal(to), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(f.View.viewport(), &move);
    QTest::mouseRelease(f.View.viewport(), Qt::LeftButton, {}, to);
    QCOMPARE(f.Document.getSelection(), (TySelection{{1, 2}, {3, 3}}));
  }

  // Undo walks back through earlier texts (steps may merge typed keys) to the loaded text,
  // clean again; redo walks the same texts forward to the last one.
  void UndoRedoRestoreEachStep() {
    TyFixture f(u"<a>\r\n</a>");
    f.View.setSelection(TySelection::At({1, 4}));
    std::vector<QString> states{Q(f.Document.getText())};
    auto key = [&](Qt::Key Key, const QString& Text = {}) {
      if (Text.isEmpty())
        QTest::keyClick(&f.View, Key);
      else
        QTest::keyClicks(&f.View, Text);
      states.push_back(Q(f.Document.getText()));
    };
    for (const QString& text : {QStringLiteral("t"), QStringLiteral("e"), QStringLiteral(" ")})
      key(Qt::Key_unknown, text);
    key(Qt::Key_Return);
    key(Qt::Key_Backspace);
    key(Qt::Key_Left);
    for (const QChar c : QStringLiteral("<b/>")) key(Qt::Key_unknown, QString(c));
    key(Qt::Key_Delete);
    std::vector<QString> undone{states.back()};
    size_t at = states.size() - 1;
    while (f.Document.getCanUndo()) {
      QTest::keyClick(&f.View, Qt::Key_Z, Qt::ControlModifier);
      const QString text = Q(f.Document.getText());
      // Each undo lands on an earlier recorded text.
      while (at > 0 && states[at] != text) --at;
      QCOMPARE(states[at], text);
      undone.push_back(text);
    }
    QCOMPARE(undone.back(), states.front());
    QVERIFY(!f.Document.getModified());
    for (size_t i = undone.size() - 1; i > 0; --i) {
      QTest::keyClick(&f.View, Qt::Key_Y, Qt::ControlModifier);
      QCOMPARE(Q(f.Document.getText()), undone[i - 1]);
    }
    QVERIFY(!f.Document.getCanRedo());
  }

  // Cut, copy and paste through the system clipboard.
  void ClipboardRoundTrip() {
    TyFixture f(u"one two\r\nthree");
    f.View.setSelection({{1, 5}, {2, 3}});
    QTest::keyClick(&f.View, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("two\nth"));
    QTest::keyClick(&f.View, Qt::Key_X, Qt::ControlModifier);
    QCOMPARE(Q(f.Document.getText()), QStringLiteral("one ree"));
    QTest::keyClick(&f.View, Qt::Key_End);
    QTest::keyClick(&f.View, Qt::Key_V, Qt::ControlModifier);
    QCOMPARE(Q(f.Document.getText()), QStringLiteral("one reetwo\r\nth"));
  }

  // A click on a fold marker collapses the element: its lines leave the screen (no pixel of
  // the comment inside it is painted) and the next line moves up; a second click restores.
  void FoldMarkerHidesLinesInPixels() {
    TyFixture f(
        u"<root>\r\n  <inner>\r\n    <!-- hidden comment -->\r\n  </inner>\r\n"
        u"  <after/>\r\n</root>");
    const QColor comment = FromScheme(CyXMLColoring::DefaultLight().getCommentText().Foreground);
    const QRect text(f.View.getGutterWidth(), 0, 600, 6 * f.View.getLineHeight());
    QVERIFY(CountNear(f.Grab(), text, comment, 30) > 20);
    const int lh = f.View.getLineHeight();
    const QPoint marker(f.View.getGutterWidth() - lh / 2, lh + lh / 2);  // line 2's marker
    QTest::mouseClick(f.View.viewport(), Qt::LeftButton, {}, marker);
    QVERIFY(f.View.getFolding().IsCollapsed(2));
    QVERIFY(!f.View.getFolding().IsLineVisible(3));
    QCOMPARE(CountNear(f.Grab(), text, comment, 30), 0);
    QCOMPARE(f.View.PointToPosition({f.View.getGutterWidth() + 5, 2 * lh + 1}).Line, 5);
    QTest::mouseClick(f.View.viewport(), Qt::LeftButton, {}, marker);
    QVERIFY(CountNear(f.Grab(), text, comment, 30) > 20);
    // Fold all keeps the root's first line only; level 2 keeps the root open.
    f.View.FoldAll();
    QCOMPARE(f.View.getFolding().getVisibleLineCount(), 1);
    f.View.FoldToLevel(2);
    QVERIFY(!f.View.getFolding().IsCollapsed(1));
    QVERIFY(f.View.getFolding().IsCollapsed(2));
    QCOMPARE(f.View.getFolding().getVisibleLineCount(), 4);
  }

  // The start-tag name is painted in its scheme colour at its position, in both schemes;
  // a tab moves the following text by the tab width.
  void TagNameColourAtItsPosition() {
    TyFixture f(u"<catalog>\r\n\t<item/>\r\n</catalog>");
    for (const bool dark : {false, true}) {
      f.View.setDark(dark);
      const CyXMLColoring scheme =
          dark ? CyXMLColoring::DefaultDark() : CyXMLColoring::DefaultLight();
      const QColor name = FromScheme(scheme.getStartTagNameWithoutPrefix().Foreground);
      const QImage image = f.Grab();
      const QPoint at = f.View.PositionToPoint({1, 2});
      const int w = static_cast<int>(f.View.getCharWidth() * 7);
      QVERIFY2(CountNear(image, QRect(at, QSize(w, f.View.getLineHeight())), name, 40) > 10,
               dark ? "dark" : "light");
      // The marker "<" is not in the name's colour.
      QCOMPARE(CountNear(image,
                         QRect(f.View.PositionToPoint({1, 1}),
                               QSize(static_cast<int>(f.View.getCharWidth()) - 1,
                                     f.View.getLineHeight())),
                         name, 10),
               0);
    }
    for (const int width : {2, 4, 8}) {
      f.View.setTabWidth(width);
      QCOMPARE(f.View.PositionToPoint({2, 2}).x() - f.View.PositionToPoint({2, 1}).x(),
               static_cast<int>(std::lround(width * f.View.getCharWidth())));
    }
  }

  // Bookmarks set with Ctrl+F2 follow their lines as lines are inserted above them, and F2
  // and Shift+F2 visit them in order, wrapping; the gutter shows them.
  void BookmarksFollowLinesAndCycle() {
    TyFixture f(u"a\r\nb\r\nc\r\nd\r\ne");
    const QRect gutterRow3(0, 2 * f.View.getLineHeight(),
                           f.View.getGutterWidth() - f.View.getLineHeight(),
                           f.View.getLineHeight());
    const QColor mark = f.View.getTheme().Selection;
    QCOMPARE(CountNear(f.Grab(), gutterRow3, mark, 4), 0);
    for (const int64_t line : {2, 4}) {
      f.View.setSelection(TySelection::At({line, 1}));
      QTest::keyClick(&f.View, Qt::Key_F2, Qt::ControlModifier);
    }
    f.View.setSelection(TySelection::At({1, 1}));
    QTest::keyClick(&f.View, Qt::Key_Return);  // every line moves down by one
    QTest::keyClick(&f.View, Qt::Key_Up);
    std::vector<int64_t> visited;
    for (int i = 0; i < 3; ++i) {
      QTest::keyClick(&f.View, Qt::Key_F2);
      visited.push_back(f.Document.getSelection().Caret.Line);
    }
    QCOMPARE(visited, (std::vector<int64_t>{3, 5, 3}));
    QTest::keyClick(&f.View, Qt::Key_F2, Qt::ShiftModifier);
    QCOMPARE(f.Document.getSelection().Caret.Line, 5);
    QVERIFY(CountNear(f.Grab(), gutterRow3, mark, 4) > 20);
  }

  // Scrolled to its end, a very long line (coloured once and kept) paints the same pixels as
  // the same tail on a short line; an edit of the long line is painted too.
  void LongLineTailPaintsLikeShortLine() {
    const std::u16string tail = u"<b k=\"v\">tail &amp; more</b><!-- c -->";
    std::u16string head = u"<a>";
    head.append(200000, u'x');
    // Room behind the tail lets it scroll to the left edge.
    const std::u16string rest = u"</a>" + std::u16string(300, u' ') + u"\r\n";
    TyFixture big(head + tail + rest);
    TyFixture small(tail + rest);
    for (TyFixture* f : {&big, &small}) f->View.setSelection(TySelection::At({2, 1}));
    big.View.horizontalScrollBar()->setValue(static_cast<int>(head.size()));
    QCOMPARE(big.View.horizontalScrollBar()->value(), static_cast<int>(head.size()));
    const int lh = big.View.getLineHeight();
    const QRect row(big.View.getGutterWidth(), 0,
                    static_cast<int>(tail.size() * big.View.getCharWidth()), lh);
    QCOMPARE(big.Grab().copy(row), small.Grab().copy(row));
    // Typing at the start of the long line shifts the tail by one column.
    big.View.setSelection(TySelection::At({1, 4}));
    big.View.horizontalScrollBar()->setValue(static_cast<int>(head.size()) + 1);
    QTest::keyClicks(&big.View, QStringLiteral("y"));
    big.View.setSelection(TySelection::At({2, 1}));
    big.View.horizontalScrollBar()->setValue(static_cast<int>(head.size()) + 1);
    QCOMPARE(big.Grab().copy(row), small.Grab().copy(row));
  }

  // A long line scrolls sideways to keep the caret on screen.
  void LongLineScrollsSideways() {
    std::u16string line(20000, u'x');
    TyFixture f(u"<a>" + line + u"</a>");
    QTest::keyClick(&f.View, Qt::Key_End);
    QVERIFY(f.View.horizontalScrollBar()->value() > 19000);
    const QPoint caret = f.View.PositionToPoint(f.Document.getSelection().Caret);
    QVERIFY(caret.x() > f.View.getGutterWidth() && caret.x() < f.View.viewport()->width());
    QTest::keyClick(&f.View, Qt::Key_Home);
    QCOMPARE(f.View.horizontalScrollBar()->value(), 0);
  }
};

QTEST_MAIN(TextViewTest)
#include "TextViewTest.moc"
