// Long work of the window off the GUI thread: a cancelled load leaves no half-loaded tab, a
// cancelled format leaves the text as it was, a cancelled check leaves the previous errors; work
// that is not cancelled gives exactly what the same work gives on the GUI thread.

#include <QPointer>
#include <QProgressBar>
#include <QTemporaryDir>
#include <QToolButton>
#include <QTreeWidget>
#include <QtTest>

#include "app/EditorTab.hpp"
#include "app/FormatDialog.hpp"
#include "app/MainWindow.hpp"
#include "app/ProgressPanel.hpp"
#include "app/TextView.hpp"
#include "diag/ErrList.hpp"
#include "diag/ErrRecord.hpp"
#include "editor/Format.hpp"

using namespace xylem;

namespace {

// An item document of Items elements on unindented lines (about 40 bytes each).
QByteArray ItemDocument(int Items) {
  QByteArray text = "<?xml version=\"1.0\"?>\n<items>\n";
  for (int i = 0; i < Items; ++i)
    text += "<item n=\"" + QByteArray::number(i) + "\"><v>" + QByteArray::number(i * 7) +
            "</v></item>\n";
  return text + "</items>\n";
}

QStringList Messages(const IyXMLErrsPtr& Errs) {
  QStringList messages;
  for (int32_t i = 0; Errs && i < Errs->getCount(); ++i) {
    const std::u16string_view reason = Errs->getXMLErr(i)->getReason();
    messages << QString::fromUtf16(reason.data(), static_cast<qsizetype>(reason.size()));
  }
  return messages;
}

}  // namespace

class ProgressTest : public QObject {
  Q_OBJECT

 private:
  QTemporaryDir Dir_;
  QString Big_;

  // A window that does everything in the background and shows every job at once.
  static void MakeEager(CyMainWindow& Window) {
    Window.setBackgroundThresholds(0, 0);
    Window.getProgressPanel()->setShowDelay(0);
    Window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Window));
  }

 private Q_SLOTS:
  void initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(Dir_.isValid());
    Big_ = Dir_.filePath(QStringLiteral("big.xml"));
    QFile file(Big_);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(ItemDocument(60000));
  }

  // Cancel pressed while a file loads: a tab opened for it goes away, a reused empty tab stays
  // empty and clean; nothing of the file is shown anywhere.
  void CancelledLoadLeavesNothing_data() {
    QTest::addColumn<bool>("reuse");
    QTest::newRow("new tab") << false;
    QTest::newRow("reused empty tab") << true;
  }
  void CancelledLoadLeavesNothing() {
    QFETCH(bool, reuse);
    CyMainWindow window;
    MakeEager(window);
    if (reuse) window.NewDocument();
    QPointer<CyEditorTab> tab = window.OpenFile(Big_);
    QVERIFY(tab);
    QVERIFY(tab->getBusy());
    QVERIFY(tab->getTitle().contains(QStringLiteral("loading")));
    QVERIFY(!window.getProgressPanel()->isHidden());
    const QString stage = window.getProgressPanel()->getStageText();
    QVERIFY2(QStringList({"Opening", "Loading", "Decoding", "Scanning"}).contains(stage),
             qPrintable(stage));
    QVERIFY(!tab->getView()->isEnabled());  // nothing typed into a document about to go
    QTest::mouseClick(window.getProgressPanel()->getCancelButton(), Qt::LeftButton);
    QTRY_VERIFY(!tab || !tab->getBusy());
    QTest::qWait(20);  // the deferred deletion of a tab of its own
    if (!reuse) {
      QVERIFY(!tab);
      QCOMPARE(window.getTabCount(), 0);
    } else {
      QVERIFY(tab);
      QCOMPARE(window.getTabCount(), 1);
      QCOMPARE(tab->getDocument().getLineCount(), int64_t{1});
      QVERIFY(tab->getDocument().getPath().empty());
      QVERIFY(!tab->getDocument().getModified());
      QVERIFY(tab->getView()->isEnabled());
    }
    QTRY_VERIFY(window.getProgressPanel()->isHidden());
  }

  // A load in the background shows what the same load on the GUI thread shows.
  void BackgroundLoadMatchesForegroundLoad() {
    CyMainWindow window;
    MakeEager(window);
    CyEditorTab* tab = window.OpenFile(Big_);
    QVERIFY(tab && tab->getBusy());
    QTRY_VERIFY_WITH_TIMEOUT(!tab->getBusy(), 60000);
    TxMarkupDocument direct;
    QVERIFY(direct.LoadFromFile(Big_.toStdString()));
    QCOMPARE(tab->getDocument().getLineCount(), direct.getLineCount());
    QVERIFY(tab->getDocument().getText() == direct.getText());
    QVERIFY(tab->getDocument().getKind() == direct.getKind());
    QCOMPARE(tab->getDocument().getPath(), direct.getPath());
    QVERIFY(!tab->getDocument().getModified());
    QVERIFY(tab->getView()->isEnabled());
    QVERIFY(!tab->getTitle().contains(QStringLiteral("loading")));
  }

  // Cancel (button or Escape) while formatting leaves the text, the undo history and the
  // modified flag as they were; formatting to the end gives the formatter's text in one step.
  void CancelledFormatLeavesText_data() {
    QTest::addColumn<bool>("escape");
    QTest::newRow("Cancel button") << false;
    QTest::newRow("Escape") << true;
  }
  void CancelledFormatLeavesText() {
    QFETCH(bool, escape);
    CyMainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    window.getProgressPanel()->setShowDelay(0);
    CyEditorTab* tab = window.OpenFile(Big_);  // small enough to load at once
    QVERIFY(tab && !tab->getBusy());
    window.setBackgroundThresholds(0, 0);
    const std::u16string before = tab->getDocument().getText();

    QCOMPARE(window.Format(), QString());
    QVERIFY(tab->getBusy());
    if (escape) {
      window.activateWindow();
      QVERIFY(QTest::qWaitForWindowActive(&window));
      QTest::keyClick(&window, Qt::Key_Escape);
    } else {
      QTest::mouseClick(window.getProgressPanel()->getCancelButton(), Qt::LeftButton);
    }
    QTRY_VERIFY(!tab->getBusy());
    QVERIFY(tab->getDocument().getText() == before);
    QVERIFY(!tab->getDocument().getModified());
    QCOMPARE(tab->getDocument().getUndoHistory().getUndoCount(), 0);

    // Not cancelled: the same text as the formatter on the GUI thread.
    QCOMPARE(window.Format(), QString());
    QTRY_VERIFY_WITH_TIMEOUT(!tab->getBusy(), 60000);
    TxMarkupDocument direct;
    direct.LoadFromText(before, Big_.toStdString());
    const TyFormatResult result = CyEditorFormat::FormatDocument(direct, LoadFormatChoices());
    QVERIFY(result.Formatted);
    QVERIFY(tab->getDocument().getText() == direct.getText());
    QVERIFY(tab->getDocument().getModified());
    tab->getView()->Undo();
    QVERIFY(tab->getDocument().getText() == before);
  }

  // A check cancelled before it ends leaves the errors of the check before it.
  void CancelledCheckKeepsPreviousErrors() {
    CyMainWindow window;
    window.show();
    const QString path = Dir_.filePath(QStringLiteral("broken.xml"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(ItemDocument(2000) + "<b>\n");
    file.close();
    CyEditorTab* tab = window.OpenFile(path);
    QVERIFY(tab);
    QTRY_VERIFY(!tab->getChecks().getRunning());
    const QStringList first = Messages(tab->getErrs());
    QVERIFY(!first.isEmpty());
    tab->CheckNow();
    QVERIFY(tab->getActiveProgress() != nullptr);
    tab->CancelWork();
    QTRY_VERIFY(!tab->getChecks().getRunning());
    QTest::qWait(20);
    QCOMPARE(Messages(tab->getErrs()), first);
    QCOMPARE(window.getErrorList()->topLevelItemCount(), static_cast<int>(first.size()));
  }
};

QTEST_MAIN(ProgressTest)
#include "ProgressTest.moc"
