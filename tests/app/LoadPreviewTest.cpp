// Opening a big file in the background: the previews of its first and last stretch against
// the whole file loaded at once (same lines, line states and colours), line-end counting
// against a plain count, and the tab's switch from preview to document (scroll position and
// caret kept), cancellation and failure (nothing of the file left behind).

#include <QFile>
#include <QKeyEvent>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStatusBar>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QtTest>
#include <random>
#include <semaphore>
#include <thread>

#include "app/EditorTab.hpp"
#include "app/FilePreview.hpp"
#include "app/LineColors.hpp"
#include "app/MainWindow.hpp"
#include "app/TextView.hpp"
#include "diag/ErrList.hpp"
#include "diag/ErrLocation.hpp"
#include "diag/ErrRecord.hpp"

using namespace xylem;

namespace {

// Items of six kinds, three of them spanning two lines whose inner line does not start with
// a tag (the tail preview's safe point must land outside them).
std::string MakeDocument(int Items, const std::string& Newline, bool Latin1) {
  const std::string eacute = Latin1 ? std::string("\xE9") : std::string("\xC3\xA9");
  std::string text = std::string("<?xml version=\"1.0\" encoding=\"") +
                     (Latin1 ? "ISO-8859-1" : "UTF-8") + "\"?>" + Newline + "<root>" + Newline;
  for (int i = 0; i < Items; ++i) {
    const std::string n = std::to_string(i);
    switch (i % 6) {
      case 0:
        text += "  <item id=\"" + n + "\">caf" + eacute + " &amp; &ent; " + n + "</item>";
        break;
      case 1:
        text += "  <!-- comment " + n + Newline + "     not a tag --> <after/>";
        break;
      case 2:
        text += "  <data><![CDATA[ x < y " + n + Newline + "   ]]></data>";
        break;
      case 3:
        text += "  <multi a=\"first " + n + Newline + "     second\" b='x'>t</multi>";
        break;
      case 4:
        text += "  <?pi some data " + n + "?>";
        break;
      default:
        text += "  <e:x xmlns:e=\"urn:e\" v=\"" + n + "\"/>";
        break;
    }
    text += Newline;
  }
  return text + "</root>" + Newline;
}

bool SameRuns(const std::vector<TyColorRun>& A, const std::vector<TyColorRun>& B) {
  if (A.size() != B.size()) return false;
  for (size_t i = 0; i < A.size(); ++i)
    if (A[i].Linepos != B[i].Linepos || A[i].Count != B[i].Count || !(A[i].Item == B[i].Item))
      return false;
  return true;
}

// Lines [1, Count] of Preview are lines [First, First + Count) of Full: text, states, colours.
void CompareWithFile(TxMarkupDocument& Preview, int64_t Count, TxMarkupDocument& Full,
                     int64_t First) {
  QVERIFY(Count > 0);
  QVERIFY(First + Count - 1 <= Full.getLineCount());
  CyLineColors previewColors(Preview);
  CyLineColors fullColors(Full);
  std::vector<TyColorRun> a, b;
  for (int64_t i = 1; i <= Count; ++i) {
    const int64_t line = First + i - 1;
    QVERIFY2(Preview.getLine(i) == Full.getLine(line),
             qPrintable(QStringLiteral("line %1").arg(line)));
    const TxItem& p = *Preview.getTextList().getItems(i);
    const TxItem& f = *Full.getTextList().getItems(line);
    QCOMPARE(p.StackG, f.StackG);
    QCOMPARE(p.StackS, f.StackS);
    previewColors.ColorLine(i, a);
    fullColors.ColorLine(line, b);
    QVERIFY2(SameRuns(a, b), qPrintable(QStringLiteral("colours of line %1").arg(line)));
  }
}

// The tail's first line number, counted as the tab counts it.
void NumberTail(const std::string& Path, TyFilePreview& Tail) {
  QCOMPARE(Tail.FirstLine, int64_t{0});
  const int64_t lineEnds = CountFileLineEnds(Path, Tail.StretchOffset);
  QVERIFY(lineEnds >= 0);
  Tail.FirstLine = lineEnds + 1;
}

// Where the tab's errors are, in order.
QStringList ErrorPlaces(CyEditorTab& Tab) {
  QStringList places;
  if (IyXMLErrsPtr errs = Tab.getErrs())
    for (int32_t i = 0; i < errs->getCount(); ++i) {
      const IyXMLLocationPtr& at = errs->getXMLErr(i)->getLocation();
      places << QStringLiteral("%1:%2").arg(at ? at->getLine() : 0).arg(at ? at->getLinepos() : 0);
    }
  return places;
}

void Press(QWidget* Widget, int Key, Qt::KeyboardModifiers Modifiers = Qt::NoModifier,
           const QString& Text = {}) {
  QKeyEvent event(QEvent::KeyPress, Key, Modifiers, Text);
  QApplication::sendEvent(Widget, &event);
}

// A shown tab whose background load (of any size) waits until Gate is released.
void ShowWithLoadHeldAt(CyEditorTab& Tab, std::binary_semaphore& Gate) {
  Tab.resize(600, 400);
  Tab.show();
  Tab.setBackgroundLoadBytes(0);
  Tab.setBeforeLoadHook([&Gate] { Gate.acquire(); });
}

}  // namespace

class LoadPreviewTest : public QObject {
  Q_OBJECT

 private:
  QTemporaryDir Dir_;

  std::string Write(const QString& Name, const std::string& Content) {
    const QString path = Dir_.filePath(Name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) return {};
    file.write(Content.data(), static_cast<qint64>(Content.size()));
    return path.toStdString();
  }

 private Q_SLOTS:
  void initTestCase() { QVERIFY(Dir_.isValid()); }

  // Line ends against a plain count over random bytes rich in CR and LF.
  void countsLineEndsAsALoad() {
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
      std::string bytes(random() % 64, 'x');
      for (char& c : bytes) c = "\r\nab"[random() % 4];
      int64_t expected = 0;
      for (size_t i = 0; i < bytes.size(); ++i)
        if (bytes[i] == '\n' ||
            (bytes[i] == '\r' && (i + 1 == bytes.size() || bytes[i + 1] != '\n')))
          ++expected;
      QCOMPARE(CountLineEnds(bytes.data(), bytes.size()), expected);
      // The loader agrees: n line ends make n + 1 lines.
      TxMarkupDocument document;
      document.LoadFromText(std::u16string(bytes.begin(), bytes.end()));
      QCOMPARE(document.getLineCount(), expected + 1);
    }
  }

  // The previews against the whole file, over line ends, encodings and stretch sizes that cut
  // the file at every kind of line.
  void previewsMatchTheLoadedFile_data() {
    QTest::addColumn<QString>("newline");
    QTest::addColumn<bool>("latin1");
    QTest::addColumn<int>("stretch");
    for (const char* newline : {"\n", "\r\n", "\r"})
      for (const bool latin1 : {false, true})
        for (const int stretch : {97, 1000, 4099, 20000}) {
          const QString nl = QString::fromLatin1(newline);
          QTest::addRow("%s %s %d",
                        newline[0] == '\n' ? "LF"
                        : newline[1]       ? "CRLF"
                                           : "CR",
                        latin1 ? "latin1" : "utf8", stretch)
              << nl << latin1 << stretch;
        }
  }
  void previewsMatchTheLoadedFile() {
    QFETCH(QString, newline);
    QFETCH(bool, latin1);
    QFETCH(int, stretch);
    const std::string path =
        Write(QStringLiteral("p.xml"), MakeDocument(600, newline.toStdString(), latin1));
    std::optional<TyLoadedDocument> loaded = TxMarkupDocument::ReadFile(path, {});
    QVERIFY(loaded);
    TxMarkupDocument full;
    full.InstallLoaded(std::move(*loaded));

    std::optional<TyFilePreview> head = ReadHeadPreview(path, static_cast<size_t>(stretch));
    QVERIFY(head);
    QCOMPARE(head->FirstLine, int64_t{1});
    QCOMPARE(head->Loaded.Kind, full.getKind());
    const int64_t headLines = head->WholeLines;
    QCOMPARE(head->Loaded.List->getCount(), headLines + 1);  // the empty rest behind the cut
    std::optional<TyFilePreview> tail = ReadTailPreview(path, *head, static_cast<size_t>(stretch));
    QVERIFY(tail);
    NumberTail(path, *tail);
    TxMarkupDocument preview;
    preview.InstallLoaded(std::move(head->Loaded));
    CompareWithFile(preview, headLines, full, 1);

    // The tail runs to the file's end, its last line the file's last line.
    QCOMPARE(tail->FirstLine + tail->WholeLines - 1, full.getLineCount());
    TxMarkupDocument end;
    end.InstallLoaded(std::move(tail->Loaded));
    CompareWithFile(end, tail->WholeLines, full, tail->FirstLine);
  }

  // A CR LF pair split between the chunks the tail's numbering reads counts once.
  void numbersTheTailAcrossChunks() {
    std::string content = "x";
    while (content.size() < (size_t{3} << 19)) content += "ab\r\n";
    QCOMPARE(content[(size_t{1} << 20) - 1], '\r');
    const std::string path = Write(QStringLiteral("pairs.txt"), content);
    std::optional<TyLoadedDocument> loaded = TxMarkupDocument::ReadFile(path, {});
    QVERIFY(loaded);
    TxMarkupDocument full;
    full.InstallLoaded(std::move(*loaded));
    std::optional<TyFilePreview> head = ReadHeadPreview(path, 1000);
    QVERIFY(head);
    std::optional<TyFilePreview> tail = ReadTailPreview(path, *head, 1000);
    QVERIFY(tail);
    NumberTail(path, *tail);
    QCOMPARE(tail->FirstLine + tail->WholeLines - 1, full.getLineCount());
    TxMarkupDocument end;
    end.InstallLoaded(std::move(tail->Loaded));
    CompareWithFile(end, tail->WholeLines, full, tail->FirstLine);
  }

  // UTF-16 and binary files get no preview (their bytes 0x0A are not all line ends).
  void refusesWhatItCannotCut() {
    const std::string utf16 =
        Write(QStringLiteral("u16.xml"), std::string("\xFF\xFE<\0a\0>\0\n\0<\0/\0a\0>\0\n\0", 20));
    QVERIFY(!ReadHeadPreview(utf16, 8));
    const std::string oneLine = Write(QStringLiteral("one.xml"), std::string(5000, 'x'));
    QVERIFY(!ReadHeadPreview(oneLine, 100));
  }

  // The tab: the first screen at once, read-only; the loaded file takes its place with the same
  // lines on screen and the caret where it was.
  void switchKeepsTheScrollPosition() {
    const std::string content = MakeDocument(3000, "\n", false);
    const std::string path = Write(QStringLiteral("big.xml"), content);
    CyEditorTab tab;
    std::binary_semaphore gate(0);
    ShowWithLoadHeldAt(tab, gate);
    QSignalSpy ended(&tab, &CyEditorTab::loadEnded);
    QSignalSpy checked(&tab, &CyEditorTab::errorsChanged);
    tab.Open(QString::fromStdString(path));
    QVERIFY(tab.getLoading());
    QVERIFY(tab.getView()->getReadOnly());
    QVERIFY(tab.getTitle().contains(QStringLiteral("%")));
    TxMarkupDocument& document = tab.getDocument();
    QVERIFY(document.getLineCount() > 100);
    QVERIFY(document.getLine(2) == u"<root>");
    // Typing is refused; moving is not.
    Press(tab.getView(), Qt::Key_X, Qt::NoModifier, QStringLiteral("x"));
    QVERIFY(!document.getModified());
    tab.getView()->setSelection(TySelection::At({90, 3}));
    tab.getView()->verticalScrollBar()->setValue(70);
    const std::u16string line90(document.getLine(90));
    QCOMPARE(tab.getView()->getTopLine(), int64_t{71});
    const int gutter = tab.getView()->getGutterWidth();

    gate.release();
    QVERIFY(ended.wait(20000));
    QCOMPARE(ended.first().at(0).toBool(), true);
    QVERIFY(!tab.getLoading());
    QVERIFY(!tab.getView()->getReadOnly());
    QCOMPARE(document.getLineCount(), int64_t{3000 + 3000 / 2 + 4});
    QCOMPARE(tab.getView()->getTopLine(), int64_t{71});
    QCOMPARE(document.getSelection().Caret, (TyTextPosition{90, 3}));
    QVERIFY(document.getLine(90) == line90);
    QCOMPARE(tab.getView()->getGutterWidth(), gutter);
    QVERIFY(!document.getModified());
    // The first check ran on the lines copied by the loading thread, as the loaded document.
    QVERIFY(checked.isEmpty());
    QVERIFY(checked.wait(20000));
    QCOMPARE(tab.getChecks().getResultGeneration(), document.getGeneration());
    const QStringList first = ErrorPlaces(tab);
    QVERIFY(!first.isEmpty());  // &ent; is not declared
    tab.CheckNow();             // on a snapshot the document makes itself
    QVERIFY(checked.wait(20000));
    QCOMPARE(ErrorPlaces(tab), first);
    Press(tab.getView(), Qt::Key_X, Qt::NoModifier, QStringLiteral("x"));
    QVERIFY(document.getModified());
  }

  // A line asked for while loading (the command line's --goto, Ctrl+G) is gone to once the
  // file is in place, whatever the preview held; a cancelled load forgets it.
  void goToLineWaitsForTheLoad() {
    const std::string path = Write(QStringLiteral("goto.xml"), MakeDocument(30000, "\n", false));
    for (const bool cancel : {false, true}) {
      CyEditorTab tab;
      std::binary_semaphore gate(0);
      ShowWithLoadHeldAt(tab, gate);
      QSignalSpy ended(&tab, &CyEditorTab::loadEnded);
      tab.Open(QString::fromStdString(path));
      QVERIFY(tab.getLoading());
      tab.GoToLine(40000);
      QCOMPARE(tab.getDocument().getSelection().Caret.Line, int64_t{1});
      gate.release();  // a cancel waits for the loading thread
      if (cancel) tab.CancelLoad();
      if (!cancel) QVERIFY(ended.wait(20000));
      QCOMPARE(ended.first().at(0).toBool(), !cancel);
      QCOMPARE(tab.getDocument().getSelection().Caret.Line, cancel ? int64_t{1} : int64_t{40000});
      if (!cancel) QVERIFY(tab.getView()->getTopLine() > 39000);
      tab.GoToLine(7);  // not loading: at once
      QCOMPARE(tab.getDocument().getSelection().Caret.Line, cancel ? int64_t{1} : int64_t{7});
    }
  }

  // Ctrl+End while loading shows the last lines under their own numbers; the loaded file
  // keeps them on screen.
  void endWhileLoading() {
    const std::string path = Write(QStringLiteral("end.xml"), MakeDocument(30000, "\r\n", false));
    CyEditorTab tab;
    std::binary_semaphore gate(0);
    ShowWithLoadHeldAt(tab, gate);
    QSignalSpy ended(&tab, &CyEditorTab::loadEnded);
    tab.Open(QString::fromStdString(path));
    Press(tab.getView(), Qt::Key_End, Qt::ControlModifier);
    QVERIFY(tab.getShowsEnd());
    QCOMPARE(tab.getView()->getLineNumberBase(), int64_t{-1});  // counted meanwhile
    QTRY_VERIFY(tab.getView()->getLineNumberBase() > 1000);
    const int64_t base = tab.getView()->getLineNumberBase();
    TxMarkupDocument& document = tab.getDocument();
    QVERIFY(document.getLine(document.getLineCount() - 1) == u"</root>");
    const int64_t top = tab.getView()->getTopLine();
    // And back to the start.
    Press(tab.getView(), Qt::Key_Home, Qt::ControlModifier);
    QVERIFY(!tab.getShowsEnd());
    QCOMPARE(tab.getView()->getLineNumberBase(), int64_t{0});
    Press(tab.getView(), Qt::Key_End, Qt::ControlModifier);
    QCOMPARE(tab.getView()->getTopLine(), top);
    // The load may end before the count: the base then comes from the loaded line count.

    gate.release();
    QVERIFY(ended.wait(20000));
    QCOMPARE(tab.getView()->getLineNumberBase(), int64_t{0});
    QCOMPARE(document.getSelection().Caret, document.getEndPosition());
    QCOMPARE(tab.getView()->getTopLine(), base + top);
    QVERIFY(document.getLine(document.getLineCount() - 1) == u"</root>");
  }

  // Escape stops the load (before or after the worker finished): an empty untitled document.
  void cancelLeavesNothing() {
    const std::string path = Write(QStringLiteral("cancel.xml"), MakeDocument(20000, "\n", false));
    for (int round = 0; round < 3; ++round) {
      CyEditorTab tab;
      std::binary_semaphore started(0);
      tab.setBackgroundLoadBytes(0);
      tab.setBeforeLoadHook([&started] { started.release(); });
      QSignalSpy ended(&tab, &CyEditorTab::loadEnded);
      tab.Open(QString::fromStdString(path));
      if (round > 0) started.acquire();
      if (round == 2) std::this_thread::sleep_for(std::chrono::milliseconds(100));  // posted
      Press(tab.getView(), Qt::Key_Escape);
      QVERIFY(!tab.getLoading());
      QCOMPARE(ended.count(), 1);
      QCOMPARE(ended.first().at(0).toBool(), false);
      QCOMPARE(ended.first().at(1).toString(), QString());
      QCOMPARE(tab.getDocument().getLineCount(), int64_t{1});
      QVERIFY(tab.getDocument().getPath().empty());
      QVERIFY(!tab.getView()->getReadOnly());
      QTest::qWait(20);  // a result posted meanwhile is dropped
      QCOMPARE(tab.getDocument().getLineCount(), int64_t{1});
    }
    // A tab closed while its file loads stops the load.
    auto* tab = new CyEditorTab;
    tab->setBackgroundLoadBytes(0);
    tab->Open(QString::fromStdString(path));
    delete tab;
  }

  // A NUL behind the preview fails the load: the window closes the tab and says why.
  void failureClosesTheTab() {
    std::string content = MakeDocument(30000, "\n", false);  // beyond the preview's stretch
    content.insert(content.size() - 20, 1, '\0');
    const std::string path = Write(QStringLiteral("binary.xml"), content);
    CyMainWindow window;
    window.show();
    CyEditorTab* first = window.NewDocument();  // reused by the open
    QVERIFY(first);
    first->setBackgroundLoadBytes(0);
    QVERIFY(window.OpenFile(QString::fromStdString(path), false) == first);
    QVERIFY(first->getLoading());
    QVERIFY(first->getDocument().getLineCount() > 1);  // the preview
    QTRY_COMPARE_WITH_TIMEOUT(window.getTabCount(), 0, 20000);
    QVERIFY(window.statusBar()->currentMessage().contains(QStringLiteral("binary")));
  }
};

QTEST_MAIN(LoadPreviewTest)
#include "LoadPreviewTest.moc"
