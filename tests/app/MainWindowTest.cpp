// The main window driven like a user: find and replace against QString's own replace,
// formatting against the formatter, the error list following a tag as it is broken and fixed
// (double-click jumps), saving, the prompt for unsaved changes, the status bar and go to line.

#include "app/MainWindow.hpp"

#include <QCheckBox>
#include <QComboBox>
#include <QDockWidget>
#include <QFile>
#include <QLineEdit>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTreeWidget>
#include <QtTest>

#include "app/EditorTab.hpp"
#include "app/FileFormatDialog.hpp"
#include "app/FindBar.hpp"
#include "app/FormatDialog.hpp"
#include "app/TextView.hpp"
#include "xml/format/Formatter.hpp"

using namespace xylem;

namespace {

QString Q(std::u16string_view Text) {
  return QString::fromUtf16(Text.data(), static_cast<qsizetype>(Text.size()));
}

QString Text(CyEditorTab* Tab) { return Q(Tab->getDocument().getText()); }

QByteArray ReadFile(const QString& Path) {
  QFile file(Path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

class MainWindowTest : public QObject {
  Q_OBJECT

 private:
  QTemporaryDir Dir_;

  QString Write(const QString& Name, const QByteArray& Content) {
    const QString path = Dir_.filePath(Name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) return {};
    file.write(Content);
    return path;
  }

 private Q_SLOTS:
  void initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(Dir_.isValid());
  }

  // Replace all through the bar gives what QString's replace gives, for plain text (with and
  // without case), whole words and regular expressions; one undo restores the text.
  void ReplaceAllAgreesWithQString_data() {
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<bool>("regExpr");
    QTest::addColumn<bool>("matchCase");
    QTest::addColumn<bool>("word");
    QTest::addColumn<QString>("expectedPattern");  // as a QRegularExpression
    QTest::newRow("plain, any case") << "cat" << false << false << false << "(?i)cat";
    QTest::newRow("plain, case") << "Cat" << false << true << false << "Cat";
    // Words are XML names: "." and "-" belong to them.
    QTest::newRow("whole word") << "cat" << false << false << true
                                << "(?i)(?<![\\w.\\-:])cat(?![\\w.\\-:])";
    QTest::newRow("regex") << "c[a-z]+t" << true << true << false << "c[a-z]+t";
    QTest::newRow("regex across lines") << "t\\s+<" << true << true << false << "t\\s+<";
  }
  void ReplaceAllAgreesWithQString() {
    QFETCH(QString, pattern);
    QFETCH(bool, regExpr);
    QFETCH(bool, matchCase);
    QFETCH(bool, word);
    QFETCH(QString, expectedPattern);
    const QString source = QStringLiteral(
        "<zoo>\n  <cat>Cat concat cats cat.</cat>\n  <note>(cat) CAT cost\n  </note>\n</zoo>");
    CyMainWindow window;
    CyEditorTab* tab = window.OpenFile(Write("find.xml", source.toUtf8()));
    QVERIFY(tab);
    CyFindBar* bar = window.getFindBar();
    bar->Activate(false);
    bar->getFindEdit()->setText(pattern);
    bar->getReplaceEdit()->setText(QStringLiteral("#"));
    bar->getRegExprBox()->setChecked(regExpr);
    bar->getCaseBox()->setChecked(matchCase);
    bar->getWordBox()->setChecked(word);
    QString expected = source;
    expected.replace(QRegularExpression(expectedPattern), QStringLiteral("#"));
    bar->ReplaceAll();
    QCOMPARE(Text(tab).replace(QStringLiteral("\r\n"), QStringLiteral("\n")), expected);
    tab->getView()->Undo();
    QCOMPARE(Text(tab).replace(QStringLiteral("\r\n"), QStringLiteral("\n")), source);
  }

  // Next and previous select the matches in order and wrap; a bad pattern shows its message
  // in the bar and changes nothing.
  void FindNextPreviousAndBadPattern() {
    CyMainWindow window;
    CyEditorTab* tab = window.OpenFile(Write("next.xml", "<a>x</a>\n<a>x</a>\n<a>x</a>\n"));
    QVERIFY(tab);
    CyFindBar* bar = window.getFindBar();
    bar->Activate(false);
    bar->getFindEdit()->setText(QStringLiteral("x"));
    const TySelection expected[] = {
        {{1, 4}, {1, 5}}, {{2, 4}, {2, 5}}, {{3, 4}, {3, 5}}, {{1, 4}, {1, 5}}};
    for (const TySelection& selection : expected) {
      QVERIFY(bar->FindNext());
      QCOMPARE(tab->getDocument().getSelection().getRange(), selection.getRange());
    }
    QVERIFY(bar->FindPrevious());
    QCOMPARE(tab->getDocument().getSelection().getRange(), expected[2].getRange());
    const QString before = Text(tab);
    bar->getRegExprBox()->setChecked(true);
    bar->getFindEdit()->setText(QStringLiteral("a("));
    QVERIFY(!bar->FindNext());
    QVERIFY2(bar->getMessage().startsWith(QStringLiteral("Regular expression error at position")),
             qPrintable(bar->getMessage()));
    QVERIFY(!bar->ReplaceAll());
    QCOMPARE(Text(tab), before);
  }

  // Format gives the formatter's text with the remembered choices and is one undo step; a
  // document that is not well-formed is refused with a message and left as it was.
  void FormatMatchesFormatterAndRefusesBrokenText() {
    CyMainWindow window;
    const QByteArray source = "<a><b>x</b><c/><d e=\"1\"><f/></d></a>";
    CyEditorTab* tab = window.OpenFile(Write("format.xml", source));
    QVERIFY(tab);
    QCOMPARE(window.Format(), QString());
    const std::u16string expected = CyXMLFormatter::FormatText(
        u"<a><b>x</b><c/><d e=\"1\"><f/></d></a>", u"", LoadFormatChoices().XML);
    auto normal = [](QString s) {
      return s.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).trimmed();
    };
    QCOMPARE(normal(Text(tab)), normal(Q(expected)));
    QVERIFY(tab->getDocument().getLineCount() > 4);
    tab->getView()->Undo();
    QCOMPARE(Text(tab), QString::fromUtf8(source));

    CyEditorTab* broken = window.OpenFile(Write("broken.xml", "<a>\n<b>\n</a>\n"));
    QVERIFY(broken);
    const QString before = Text(broken);
    const QString message = window.Format();
    QVERIFY2(message.contains(QStringLiteral("not well-formed")), qPrintable(message));
    QCOMPARE(Text(broken), before);
  }

  // Deleting the "/" of an empty tag makes an error appear in the list; a double-click moves
  // the caret to it; typing the "/" back makes the list empty again.
  void ErrorListFollowsBrokenAndFixedTag() {
    CyMainWindow window;
    window.show();
    CyEditorTab* tab = window.OpenFile(Write("errors.xml", "<root>\n  <item/>\n  <x/>\n</root>\n"));
    QVERIFY(tab);
    tab->setCheckDelay(20);
    QTreeWidget* list = window.getErrorList();
    QTRY_VERIFY(!tab->getChecks().getRunning());
    QCOMPARE(list->topLevelItemCount(), 0);
    CyTextView* view = tab->getView();
    view->setFocus();
    view->setSelection(TySelection::At({2, 8}));
    QTest::keyClick(view, Qt::Key_Delete);
    QCOMPARE(Q(tab->getDocument().getLine(2)), QStringLiteral("  <item>"));
    QTRY_VERIFY_WITH_TIMEOUT(list->topLevelItemCount() > 0, 10000);
    // Rows are sorted by position.
    for (int i = 1; i < list->topLevelItemCount(); ++i)
      QVERIFY(list->topLevelItem(i - 1)->text(1).toInt() <= list->topLevelItem(i)->text(1).toInt());

    view->setSelection(TySelection::At({1, 1}));
    QTreeWidgetItem* first = list->topLevelItem(0);
    const QRect rect = list->visualItemRect(first);
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, rect.center());
    const TyTextPosition caret = tab->getDocument().getSelection().Caret;
    QCOMPARE(caret.Line, first->text(1).toLongLong());
    QCOMPARE(caret.Linepos, std::max<int64_t>(1, first->text(2).toLongLong()));

    view->setSelection(TySelection::At({2, 8}));
    QTest::keyClicks(view, QStringLiteral("/"));
    QTRY_COMPARE_WITH_TIMEOUT(list->topLevelItemCount(), 0, 10000);
  }

  // Save writes the typed text to the file and clears the modified mark; Save As writes the
  // new file and takes its name.
  void SaveAndSaveAs() {
    CyMainWindow window;
    const QString path = Write("save.xml", "<a/>\n");
    CyEditorTab* tab = window.OpenFile(path);
    QVERIFY(tab);
    tab->getView()->setSelection(TySelection::At({1, 3}));
    QTest::keyClicks(tab->getView(), QStringLiteral(" b=\"1\""));
    QVERIFY(tab->getTitle().endsWith(QLatin1Char('*')));
    QVERIFY(window.Save());
    QCOMPARE(ReadFile(path), QByteArray("<a b=\"1\"/>\n"));
    QCOMPARE(tab->getTitle(), QStringLiteral("save.xml"));
    const QString other = Dir_.filePath(QStringLiteral("other.xml"));
    QVERIFY(window.SaveAs(other));
    QCOMPARE(ReadFile(other), ReadFile(path));
    QCOMPARE(tab->getTitle(), QStringLiteral("other.xml"));
  }

  // The format dialog shows a format as it is, and what it gives is what Save As writes: the
  // bytes decode back to the text with the chosen line ends and mark.
  void SaveAsInChosenFormat() {
    CyMainWindow window;
    CyEditorTab* tab = window.OpenFile(Write("format-in.xml", "<a>\r\n  <b/>\r\n</a>\r\n"));
    QVERIFY(tab);
    CyFileFormatDialog same(tab->getDocument().getFormat());
    QCOMPARE(same.getFormat().Encoding.getName(),
             tab->getDocument().getFormat().Encoding.getName());
    QCOMPARE(same.getFormat().HasBOM, tab->getDocument().getFormat().HasBOM);
    QVERIFY(same.getFormat().Newline == tab->getDocument().getFormat().Newline);
    CyFileFormatDialog dialog(tab->getDocument().getFormat());
    dialog.getEncodingBox()->setCurrentText(QStringLiteral("UTF-16LE"));
    dialog.getBOMBox()->setChecked(true);
    dialog.getNewlineBox()->setCurrentIndex(1);  // LF
    tab->getDocument().setFormat(dialog.getFormat());
    const QString out = Dir_.filePath(QStringLiteral("format-out.xml"));
    QVERIFY(window.SaveAs(out));
    const QByteArray bytes = ReadFile(out);
    QVERIFY(bytes.startsWith("\xFF\xFE"));
    const QString decoded = QString::fromUtf16(
        reinterpret_cast<const char16_t*>(bytes.constData() + 2), (bytes.size() - 2) / 2);
    QCOMPARE(decoded, QStringLiteral("<a>\n  <b/>\n</a>\n"));
    dialog.getEncodingBox()->setCurrentText(QStringLiteral("no-such-encoding-x"));
    QVERIFY_THROWS_EXCEPTION(std::exception, dialog.getFormat());
  }

  // A change by another program asks to reload and shows the new text; our own save does not.
  void ReloadAfterChangeOnDisk() {
    CyMainWindow window;
    int asked = 0;
    window.AskToReload = [&](CyEditorTab*) {
      ++asked;
      return true;
    };
    const QString path = Write("disk.xml", "<a/>\n");
    CyEditorTab* tab = window.OpenFile(path);
    QVERIFY(tab);
    QTest::keyClicks(tab->getView(), QStringLiteral("x"));
    QVERIFY(window.Save());
    QTest::qWait(300);
    QCOMPARE(asked, 0);
    QTest::qWait(1100);  // a new modification time even on coarse file systems
    Write("disk.xml", "<b>changed</b>\n");
    QTRY_COMPARE_WITH_TIMEOUT(asked, 1, 5000);
    QCOMPARE(Text(tab), QStringLiteral("<b>changed</b>\n"));
    QVERIFY(!tab->getDocument().getModified());
  }

  // Closing a modified tab asks: cancel keeps it, discard closes it and leaves the file, save
  // writes it first.
  void CloseAsksAboutUnsavedChanges() {
    CyMainWindow window;
    const QString path = Write("close.xml", "<a/>\n");
    int asked = 0;
    CyMainWindow::TyCloseAnswer answer = CyMainWindow::TyCloseAnswer::caCancel;
    window.AskToSave = [&](CyEditorTab*) {
      ++asked;
      return answer;
    };
    CyEditorTab* tab = window.OpenFile(path);
    QVERIFY(tab);
    QVERIFY(window.CloseTab(0));  // unmodified: no question
    QCOMPARE(asked, 0);
    for (const auto choice :
         {CyMainWindow::TyCloseAnswer::caCancel, CyMainWindow::TyCloseAnswer::caDiscard,
          CyMainWindow::TyCloseAnswer::caSave}) {
      tab = window.OpenFile(path);
      QVERIFY(tab);
      QTest::keyClicks(tab->getView(), QStringLiteral("x"));
      answer = choice;
      const int count = window.getTabCount();
      const bool closed = window.CloseTab(window.getTabCount() - 1);
      QCOMPARE(closed, choice != CyMainWindow::TyCloseAnswer::caCancel);
      QCOMPARE(window.getTabCount(), closed ? count - 1 : count);
      QCOMPARE(ReadFile(path), choice == CyMainWindow::TyCloseAnswer::caSave
                                   ? QByteArray("x<a/>\n")
                                   : QByteArray("<a/>\n"));
      if (!closed) {
        answer = CyMainWindow::TyCloseAnswer::caDiscard;
        QVERIFY(window.CloseTab(window.getTabCount() - 1));
      }
    }
  }

  // The status bar shows the caret, encoding, mark, newline and kind of the current tab.
  void StatusBarAndGoToLine() {
    CyMainWindow window;
    window.show();
    QByteArray lines = "<r>\r\n";
    for (int i = 0; i < 998; ++i) lines += "  <i/>\r\n";
    lines += "</r>\r\n";
    CyEditorTab* tab = window.OpenFile(Write("status.xml", lines));
    QVERIFY(tab);
    window.GoToLine(700);
    QCOMPARE(tab->getDocument().getSelection().Caret, (TyTextPosition{700, 1}));
    const int64_t top = tab->getView()->getTopLine();
    QVERIFY(top <= 700 &&
            700 < top + tab->getView()->viewport()->height() / tab->getView()->getLineHeight());
    QTest::keyClick(tab->getView(), Qt::Key_Right);
    QCOMPARE(window.getStatusText(), QStringLiteral("Ln 700, Pos 2 | UTF-8 | no BOM | CRLF | XML"));
    CyEditorTab* json = window.OpenFile(Write("data.json", "\xEF\xBB\xBF{\"a\": [1, 2]}\n"));
    QVERIFY(json);
    QVERIFY2(window.getStatusText().endsWith(QStringLiteral("BOM | LF | JSON")),
             qPrintable(window.getStatusText()));
  }
};

QTEST_MAIN(MainWindowTest)
#include "MainWindowTest.moc"
