// xylem-editor: the desktop editor. Opens the files named on the command line; with
// --screenshot it renders the window once fully painted (the background check included) to a
// PNG and exits, for tests, documentation and bug reports.
//
//   xylem-editor [FILE...]
//   xylem-editor --screenshot OUT.png [--size WxH] [--theme light|dark] [--goto LINE]
//                [--find TEXT] [--fold-all] [--fold-level N] [--xpath EXPR] [--wrap]
//                [--settings] FILE

#include <QApplication>
#include <QCommandLineParser>
#include <QDockWidget>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QPixmap>
#include <QPlainTextEdit>
#include <QTextStream>
#include <QThread>
#include <QTreeWidget>
#include <algorithm>

#include "app/EditorTab.hpp"
#include "app/FindBar.hpp"
#include "app/MainWindow.hpp"
#include "app/SettingsDialog.hpp"
#include "app/TextView.hpp"
#include "app/XPathWindow.hpp"
#include "editor/BackgroundCheck.hpp"

namespace {

int Fail(const QString& Message) {
  QTextStream(stderr) << "xylem-editor: " << Message << '\n';
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QApplication::setOrganizationName(QStringLiteral("Xylem"));
  QApplication::setApplicationName(QStringLiteral("xylem-editor"));
  QCommandLineParser parser;
  parser.setApplicationDescription(QStringLiteral("Xylem XML editor"));
  parser.addHelpOption();
  const QCommandLineOption screenshot(QStringLiteral("screenshot"),
                                      QStringLiteral("Render the window to OUT.png and exit."),
                                      QStringLiteral("OUT.png"));
  const QCommandLineOption size(QStringLiteral("size"), QStringLiteral("Window size."),
                                QStringLiteral("WxH"), QStringLiteral("1000x700"));
  const QCommandLineOption theme(QStringLiteral("theme"), QStringLiteral("light or dark."),
                                 QStringLiteral("theme"), QStringLiteral("light"));
  const QCommandLineOption gotoLine(QStringLiteral("goto"), QStringLiteral("Line to show."),
                                    QStringLiteral("LINE"));
  const QCommandLineOption find(QStringLiteral("find"),
                                QStringLiteral("Open the find bar with TEXT and find it."),
                                QStringLiteral("TEXT"));
  const QCommandLineOption foldAll(QStringLiteral("fold-all"),
                                   QStringLiteral("Collapse every fold range."));
  const QCommandLineOption foldLevel(QStringLiteral("fold-level"),
                                     QStringLiteral("Collapse the ranges N deep or deeper."),
                                     QStringLiteral("N"));
  const QCommandLineOption xpath(QStringLiteral("xpath"),
                                 QStringLiteral("Show the XPath window with EXPR."),
                                 QStringLiteral("EXPR"));
  const QCommandLineOption wrap(QStringLiteral("wrap"), QStringLiteral("Wrap long lines."));
  const QCommandLineOption settingsDialog(QStringLiteral("settings"),
                                          QStringLiteral("Render the settings dialog instead."));
  parser.addOptions(
      {screenshot, size, theme, gotoLine, find, foldAll, foldLevel, xpath, wrap, settingsDialog});
  parser.addPositionalArgument(QStringLiteral("files"), QStringLiteral("Files to open."));
  parser.process(app);

  const QStringList sizeParts = parser.value(size).split(QLatin1Char('x'));
  if (sizeParts.size() != 2 || sizeParts[0].toInt() < 100 || sizeParts[1].toInt() < 100)
    return Fail(QStringLiteral("--size takes WxH, e.g. 1000x700"));
  if (parser.value(theme) != QLatin1String("light") && parser.value(theme) != QLatin1String("dark"))
    return Fail(QStringLiteral("--theme takes light or dark"));

  xylem::CyMainWindow window;
  window.resize(sizeParts[0].toInt(), sizeParts[1].toInt());
  window.setDark(parser.value(theme) == QLatin1String("dark"));
  const bool shooting = parser.isSet(screenshot);
  for (const QString& file : parser.positionalArguments())
    if (!window.OpenFile(file, !shooting) && shooting)
      return Fail(QStringLiteral("cannot open %1").arg(file));
  if (window.getTabCount() == 0) window.NewDocument();
  // Laid out first, so that scrolling to the caret knows the view's size.
  window.show();
  QApplication::processEvents();
  // The docks take a quarter of the window, enough for a few rows.
  window.resizeDocks({window.getErrorDock(), window.getXPathDock()},
                     {window.height() / 4, window.height() / 4}, Qt::Vertical);
  if (parser.isSet(wrap)) window.setWordWrap(true);
  if (parser.isSet(foldAll)) window.getCurrentTab()->getView()->FoldAll();
  if (parser.isSet(foldLevel))
    window.getCurrentTab()->getView()->FoldToLevel(std::max(1, parser.value(foldLevel).toInt()));
  if (parser.isSet(gotoLine)) window.GoToLine(parser.value(gotoLine).toLongLong());
  if (parser.isSet(xpath)) {
    window.getXPathDock()->show();
    window.getXPathDock()->raise();
    window.getXPathWindow()->getEditor()->setPlainText(parser.value(xpath));
    if (shooting) window.getXPathWindow()->Evaluate();
  }
  if (parser.isSet(find)) {
    window.getFindBar()->Activate(false);
    window.getFindBar()->getFindEdit()->setText(parser.value(find));
    window.getFindBar()->FindNext();
  }
  if (!shooting) return QApplication::exec();

  // Wait for the background check's result, then for the paints it causes.
  xylem::CyEditorTab* tab = window.getCurrentTab();
  QElapsedTimer clock;
  clock.start();
  while ((tab->getBusy() || tab->getChecks().getRunning() ||
          window.getXPathWindow()->getEvaluating()) &&
         clock.elapsed() < 60000) {
    QApplication::processEvents(QEventLoop::AllEvents, 50);
    QThread::msleep(10);
  }
  for (int i = 0; i < 5; ++i) QApplication::processEvents();
  if (parser.isSet(settingsDialog)) {
    xylem::CySettingsDialog dialog(window.getSettings(), &window);
    dialog.show();
    for (int i = 0; i < 5; ++i) QApplication::processEvents();
    if (!dialog.grab().save(parser.value(screenshot)))
      return Fail(QStringLiteral("cannot write %1").arg(parser.value(screenshot)));
    return 0;
  }
  if (!window.grab().save(parser.value(screenshot)))
    return Fail(QStringLiteral("cannot write %1").arg(parser.value(screenshot)));
  return 0;
}
