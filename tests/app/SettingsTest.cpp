// The settings dialog driven like a user, and the settings surviving a restart of the window
// (QSettings under a test organisation): font, tab width, word wrap, scheme, parallel
// processing and the formatting choices come back as they were chosen.

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFontComboBox>
#include <QPushButton>
#include <QSettings>
#include <QSpinBox>
#include <QtTest>

#include "app/EditorTab.hpp"
#include "app/FormatDialog.hpp"
#include "app/MainWindow.hpp"
#include "app/SettingsDialog.hpp"
#include "app/TextView.hpp"

using namespace xylem;

namespace {

void TypeInto(QSpinBox* Box, const QString& Text) {
  Box->setFocus();
  Box->selectAll();
  QTest::keyClicks(Box, Text);
  QTest::keyClick(Box, Qt::Key_Enter);
}

}  // namespace

class SettingsTest : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName(QStringLiteral("XylemTest"));
    QCoreApplication::setApplicationName(QStringLiteral("settings-test"));
  }
  void init() { QSettings().clear(); }

  // Saved settings load back equal, whatever their values.
  void SaveLoadRoundTrip_data() {
    QTest::addColumn<int>("tabWidth");
    QTest::addColumn<bool>("flags");
    QTest::addColumn<uint>("formatting");
    QTest::newRow("defaults flipped") << 2 << true << 0u;
    QTest::newRow("wide tabs") << 16 << false << 0x1Fu;
    QTest::newRow("one option") << 8 << true << 0x4u;
  }
  void SaveLoadRoundTrip() {
    QFETCH(int, tabWidth);
    QFETCH(bool, flags);
    QFETCH(uint, formatting);
    TyAppSettings settings = TyAppSettings::Load();
    settings.TabWidth = tabWidth;
    settings.WordWrap = flags;
    settings.Dark = !flags;
    settings.Parallel = !flags;
    settings.Font.setPointSize(flags ? 13 : 9);
    settings.Format.XML.XMLFormattingOptions = TyXMLFormattingOptions::FromBits(formatting);
    settings.Format.XML.WordsP = flags ? u"pre|code" : u"";
    settings.Format.XML.IndentationUnit = flags ? u"\t" : u"  ";
    settings.Save();
    QVERIFY(TyAppSettings::Load() == settings);
  }

  // Choices made in the dialog with the keyboard and mouse apply to the open window and come
  // back in a new one.
  void DialogChoicesSurviveRestart() {
    TyAppSettings chosen;
    {
      CyMainWindow window;
      window.show();
      CyEditorTab* tab = window.NewDocument();
      const bool wrapBefore = window.getSettings().WordWrap;
      CySettingsDialog dialog(window.getSettings(), &window);
      dialog.show();
      QVERIFY(QTest::qWaitForWindowExposed(&dialog));
      QTest::mouseClick(dialog.getWordWrapBox(), Qt::LeftButton);
      QTest::mouseClick(dialog.getParallelBox(), Qt::LeftButton);
      TypeInto(dialog.getTabWidthBox(), QStringLiteral("7"));
      TypeInto(dialog.getFontSizeBox(), QStringLiteral("15"));
      dialog.getSchemeBox()->setFocus();
      QTest::keyClick(dialog.getSchemeBox(), Qt::Key_Down);  // Light -> Dark
      QTest::mouseClick(dialog.getFormatPanel()->getFormattingBox(0), Qt::LeftButton);
      QPushButton* ok = dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
      QTest::mouseClick(ok, Qt::LeftButton);
      QCOMPARE(dialog.result(), int(QDialog::Accepted));
      chosen = dialog.getSettings();
      QCOMPARE(chosen.WordWrap, !wrapBefore);
      QCOMPARE(chosen.TabWidth, 7);
      QCOMPARE(chosen.Font.pointSize(), 15);
      QVERIFY(chosen.Dark);
      QVERIFY(!chosen.Parallel);
      window.ApplySettings(chosen);
      QCOMPARE(tab->getView()->getWordWrap(), chosen.WordWrap);
      QCOMPARE(tab->getView()->getTabWidth(), 7);
      QVERIFY(tab->getView()->getDark());
      QCOMPARE(window.getPieceCount(), 1);
      QCOMPARE(tab->getPieceCount(), 1);
    }
    CyMainWindow restarted;
    QVERIFY(restarted.getSettings() == chosen);
    CyEditorTab* tab = restarted.NewDocument();
    QCOMPARE(tab->getView()->getWordWrap(), chosen.WordWrap);
    QCOMPARE(tab->getView()->getTabWidth(), 7);
    QCOMPARE(tab->getView()->getEditorFont().pointSize(), 15);
    QVERIFY(tab->getView()->getDark());
    QCOMPARE(LoadFormatChoices().XML.XMLFormattingOptions.Bits,
             chosen.Format.XML.XMLFormattingOptions.Bits);
  }
};

QTEST_MAIN(SettingsTest)
#include "SettingsTest.moc"
