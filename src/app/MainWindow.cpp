#include "app/MainWindow.hpp"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QDockWidget>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QPointer>
#include <QSettings>
#include <QStatusBar>
#include <QStyle>
#include <QTabWidget>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>

#include "app/EditorTab.hpp"
#include "app/FileFormatDialog.hpp"
#include "app/FindBar.hpp"
#include "app/FormatDialog.hpp"
#include "app/ProgressPanel.hpp"
#include "app/SettingsDialog.hpp"
#include "app/TextView.hpp"
#include "app/XPathWindow.hpp"
#include "common/Exception.hpp"
#include "common/Tasks.hpp"
#include "diag/ErrList.hpp"
#include "diag/ErrLocation.hpp"
#include "diag/ErrRecord.hpp"
#include "editor/Format.hpp"

namespace xylem {

namespace {

QString FromU16(std::u16string_view Text) {
  return QString::fromUtf16(Text.data(), static_cast<qsizetype>(Text.size()));
}

QString SeverityName(TyXMLErrSeverity Severity) {
  switch (Severity) {
    case TyXMLErrSeverity::errFatal:
      return QStringLiteral("Fatal error");
    case TyXMLErrSeverity::errError:
      return QStringLiteral("Error");
    case TyXMLErrSeverity::errWarning:
      return QStringLiteral("Warning");
    case TyXMLErrSeverity::errInfo:
      return QStringLiteral("Info");
    default:
      return QStringLiteral("Message");
  }
}

QString KindName(TyDocumentKind Kind) {
  switch (Kind) {
    case TyDocumentKind::dkXML:
      return QStringLiteral("XML");
    case TyDocumentKind::dkXSLT:
      return QStringLiteral("XSLT");
    case TyDocumentKind::dkDTD:
      return QStringLiteral("DTD");
    case TyDocumentKind::dkJSON:
      return QStringLiteral("JSON");
    case TyDocumentKind::dkText:
      return QStringLiteral("Text");
  }
  return {};
}

QString NewlineName(std::u16string_view Newline) {
  if (Newline == u"\r\n") return QStringLiteral("CRLF");
  if (Newline == u"\n") return QStringLiteral("LF");
  if (Newline == u"\r") return QStringLiteral("CR");
  return QStringLiteral("?");
}

// Roles of an error row: its position in the text.
constexpr int kLineRole = Qt::UserRole;
constexpr int kLineposRole = Qt::UserRole + 1;

}  // namespace

CyMainWindow::CyMainWindow(QWidget* Parent) : QMainWindow(Parent) {
  setWindowTitle(QStringLiteral("Xylem"));
  setAcceptDrops(true);
  auto* central = new QWidget(this);
  auto* layout = new QVBoxLayout(central);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  Tabs_ = new QTabWidget(central);
  Tabs_->setTabsClosable(true);
  Tabs_->setDocumentMode(true);
  FindBar_ = new CyFindBar(central);
  FindBar_->hide();
  layout->addWidget(Tabs_, 1);
  layout->addWidget(FindBar_);
  setCentralWidget(central);
  connect(Tabs_, &QTabWidget::currentChanged, this, &CyMainWindow::OnCurrentTabChanged);
  connect(Tabs_, &QTabWidget::tabCloseRequested, this, [this](int Index) { CloseTab(Index); });

  // The error list: one row per record, sorted by position, filtered by severity.
  ErrorDock_ = new QDockWidget(tr("Errors"), this);
  ErrorDock_->setObjectName(QStringLiteral("errors"));
  auto* errorPane = new QWidget(ErrorDock_);
  auto* errorLayout = new QVBoxLayout(errorPane);
  errorLayout->setContentsMargins(0, 0, 0, 0);
  SeverityFilter_ = new QComboBox(errorPane);
  SeverityFilter_->addItems({tr("All messages"), tr("Errors only"), tr("Warnings only")});
  Errors_ = new QTreeWidget(errorPane);
  Errors_->setRootIsDecorated(false);
  Errors_->setHeaderLabels({tr("Severity"), tr("Line"), tr("Position"), tr("Message")});
  Errors_->header()->setStretchLastSection(true);
  errorLayout->addWidget(SeverityFilter_);
  errorLayout->addWidget(Errors_);
  ErrorDock_->setWidget(errorPane);
  addDockWidget(Qt::BottomDockWidgetArea, ErrorDock_);
  connect(Errors_, &QTreeWidget::itemDoubleClicked, this,
          [this](QTreeWidgetItem* Item) { OnErrorActivated(Item); });
  connect(Errors_, &QTreeWidget::itemActivated, this,
          [this](QTreeWidgetItem* Item) { OnErrorActivated(Item); });
  connect(SeverityFilter_, &QComboBox::currentIndexChanged, this, &CyMainWindow::UpdateErrors);

  // The XPath tool window, beside the errors; hidden until asked for.
  XPathDock_ = new QDockWidget(tr("XPath"), this);
  XPathDock_->setObjectName(QStringLiteral("xpath"));
  XPath_ = new CyXPathWindow(XPathDock_);
  XPathDock_->setWidget(XPath_);
  // Evaluation reads a snapshot of the current document (none while it loads or formats).
  XPath_->setDocumentSource([this]() -> TxDocumentSnapshotPtr {
    CyEditorTab* tab = getCurrentTab();
    return tab && !tab->getBusy() ? tab->getDocument().CreateSnapshot() : nullptr;
  });
  addDockWidget(Qt::BottomDockWidgetArea, XPathDock_);
  tabifyDockWidget(ErrorDock_, XPathDock_);
  ErrorDock_->raise();

  Position_ = new QLabel(this);
  Encoding_ = new QLabel(this);
  BOM_ = new QLabel(this);
  Newline_ = new QLabel(this);
  Kind_ = new QLabel(this);
  for (QLabel* label : {Position_, Encoding_, BOM_, Newline_, Kind_})
    statusBar()->addPermanentWidget(label);
  // Long work of the current tab: a bar with Cancel; Escape cancels while it shows.
  Progress_ = new CyProgressPanel(this);
  Progress_->setSource([this]() -> const CyJobProgress* {
    CyEditorTab* tab = getCurrentTab();
    return tab ? tab->getActiveProgress() : nullptr;
  });
  statusBar()->addWidget(Progress_);
  CancelAction_ = new QAction(tr("Cancel"), this);
  CancelAction_->setShortcut(QKeySequence(Qt::Key_Escape));
  CancelAction_->setShortcutContext(Qt::WindowShortcut);
  CancelAction_->setEnabled(false);  // else Escape would never reach the view or the find bar
  addAction(CancelAction_);
  connect(CancelAction_, &QAction::triggered, this, &CyMainWindow::CancelWork);
  connect(Progress_, &CyProgressPanel::cancelRequested, this, &CyMainWindow::CancelWork);
  connect(Progress_, &CyProgressPanel::shownChanged, CancelAction_, &QAction::setEnabled);

  AskToSave = [this](CyEditorTab* Tab) {
    const auto answer = QMessageBox::question(
        this, tr("Unsaved changes"), tr("Save the changes to %1?").arg(Tab->getTitle().chopped(1)),
        QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel);
    return answer == QMessageBox::Save      ? TyCloseAnswer::caSave
           : answer == QMessageBox::Discard ? TyCloseAnswer::caDiscard
                                            : TyCloseAnswer::caCancel;
  };
  AskToReload = [this](CyEditorTab* Tab) {
    const QString question =
        Tab->getDocument().getModified()
            ? tr("%1 was changed by another program. Load it again and lose your changes?")
            : tr("%1 was changed by another program. Load it again?");
    return QMessageBox::question(this, tr("File changed"),
                                 question.arg(QString::fromStdString(Tab->getDocument().getPath())),
                                 QMessageBox::Yes | QMessageBox::No) == QMessageBox::Yes;
  };
  CreateMenus();
  resize(1000, 700);
  resizeDocks({ErrorDock_}, {140}, Qt::Vertical);
  // The settings chosen last time (the dialog and the menu actions store them).
  ApplySettings(TyAppSettings::Load(), false);
}

CyMainWindow::~CyMainWindow() = default;

void CyMainWindow::CreateMenus() {
  QMenu* file = menuBar()->addMenu(tr("&File"));
  file->addAction(tr("&New"), QKeySequence::New, this, [this] { NewDocument(); });
  file->addAction(tr("&Open..."), QKeySequence::Open, this, &CyMainWindow::OpenWithDialog);
  RecentMenu_ = file->addMenu(tr("Open &Recent"));
  UpdateRecentMenu();
  file->addAction(tr("&Save"), QKeySequence::Save, this, [this] { Save(); });
  file->addAction(tr("Save &As..."), QKeySequence::SaveAs, this, &CyMainWindow::SaveAsWithDialog);
  file->addAction(tr("&Close"), QKeySequence::Close, this,
                  [this] { CloseTab(Tabs_->currentIndex()); });
  file->addSeparator();
  file->addAction(tr("&Quit"), QKeySequence::Quit, this, &QWidget::close);

  QMenu* edit = menuBar()->addMenu(tr("&Edit"));
  auto onView = [this](void (CyTextView::*Command)()) {
    return [this, Command] {
      if (CyEditorTab* tab = getCurrentTab()) (tab->getView()->*Command)();
    };
  };
  edit->addAction(tr("&Undo"), onView(&CyTextView::Undo));
  edit->addAction(tr("&Redo"), onView(&CyTextView::Redo));
  edit->addSeparator();
  edit->addAction(tr("Cu&t"), onView(&CyTextView::Cut));
  edit->addAction(tr("&Copy"), onView(&CyTextView::Copy));
  edit->addAction(tr("&Paste"), onView(&CyTextView::Paste));
  edit->addAction(tr("Select &All"), onView(&CyTextView::SelectAll));
  edit->addSeparator();
  edit->addAction(tr("&Find..."), QKeySequence::Find, this, [this] { FindBar_->Activate(false); });
  edit->addAction(tr("&Replace..."), QKeySequence::Replace, this,
                  [this] { FindBar_->Activate(true); });
  edit->addAction(tr("Find &Next"), QKeySequence::FindNext, this, [this] { FindBar_->FindNext(); });
  edit->addAction(tr("Find &Previous"), QKeySequence::FindPrevious, this,
                  [this] { FindBar_->FindPrevious(); });
  edit->addSeparator();
  edit->addAction(tr("Se&ttings..."), QKeySequence::Preferences, this,
                  &CyMainWindow::SettingsWithDialog);

  QMenu* view = menuBar()->addMenu(tr("&View"));
  view->addAction(tr("&Fold All"), QKeySequence(tr("Ctrl+Shift+[")), this,
                  onView(&CyTextView::FoldAll));
  view->addAction(tr("&Unfold All"), QKeySequence(tr("Ctrl+Shift+]")), this,
                  onView(&CyTextView::UnfoldAll));
  view->addAction(tr("Fold to &Level 2"), this, [this] {
    if (CyEditorTab* tab = getCurrentTab()) tab->getView()->FoldToLevel(2);
  });
  view->addAction(tr("Toggle &Bookmark"), QKeySequence(tr("Ctrl+F2")), this,
                  onView(&CyTextView::ToggleBookmark));
  view->addAction(tr("&Next Bookmark"), QKeySequence(tr("F2")), this, [this] {
    if (CyEditorTab* tab = getCurrentTab()) tab->getView()->GoToBookmark(true);
  });
  view->addAction(tr("&Previous Bookmark"), QKeySequence(tr("Shift+F2")), this, [this] {
    if (CyEditorTab* tab = getCurrentTab()) tab->getView()->GoToBookmark(false);
  });
  WrapAction_ = view->addAction(tr("&Word Wrap"));
  WrapAction_->setCheckable(true);
  connect(WrapAction_, &QAction::triggered, this, [this](bool Wrap) {
    TyAppSettings settings = Settings_;
    settings.WordWrap = Wrap;
    ApplySettings(settings);
  });
  DarkAction_ = view->addAction(tr("&Dark Scheme"));
  DarkAction_->setCheckable(true);
  connect(DarkAction_, &QAction::triggered, this, [this](bool Dark) {
    TyAppSettings settings = Settings_;
    settings.Dark = Dark;
    ApplySettings(settings);
  });
  view->addAction(tr("&Tab Width..."), this, [this] {
    bool ok = false;
    const int width = QInputDialog::getInt(this, tr("Tab Width"), tr("Columns per tab:"),
                                           Settings_.TabWidth, 1, 16, 1, &ok);
    if (!ok) return;
    TyAppSettings settings = Settings_;
    settings.TabWidth = width;
    ApplySettings(settings);
  });
  view->addAction(ErrorDock_->toggleViewAction());
  view->addAction(XPathDock_->toggleViewAction());

  QMenu* xml = menuBar()->addMenu(tr("&XML"));
  xml->addAction(tr("&Check Well-Formedness"), QKeySequence(tr("F7")), this, &CyMainWindow::Check);
  xml->addAction(tr("&Format"), QKeySequence(tr("Ctrl+Shift+F")), this, [this] {
    const QString message = Format();
    if (!message.isEmpty()) statusBar()->showMessage(message, 8000);
  });
  xml->addAction(tr("Formatting &Preferences..."), this, &CyMainWindow::FormatPreferences);
  xml->addAction(tr("&Go to Line..."), QKeySequence(tr("Ctrl+G")), this,
                 &CyMainWindow::GoToLineWithDialog);
}

// ---- Documents.

CyEditorTab* CyMainWindow::NewDocument() {
  auto* tab = new CyEditorTab(Tabs_);
  tab->getView()->setDark(Settings_.Dark);
  tab->getView()->setTabWidth(Settings_.TabWidth);
  tab->getView()->setEditorFont(Settings_.Font);
  tab->getView()->setWordWrap(Settings_.WordWrap);
  tab->setPieceCount(getPieceCount());
  connect(tab, &CyEditorTab::titleChanged, this, [this, tab] { UpdateTitle(tab); });
  connect(tab, &CyEditorTab::errorsChanged, this, [this, tab] {
    if (tab == getCurrentTab()) UpdateErrors();
  });
  connect(tab, &CyEditorTab::changedOnDisk, this, [this, tab] {
    if (!AskToReload(tab)) return;
    if (!tab->Reload()) statusBar()->showMessage(tr("Cannot read %1").arg(tab->getTitle()), 8000);
    if (tab == getCurrentTab()) UpdateStatus();
  });
  connect(tab->getView(), &CyTextView::caretMoved, this, [this, tab] {
    if (tab == getCurrentTab()) UpdateStatus();
  });
  // A big file's load ends after OpenFile returned: a failed or cancelled one closes its tab.
  connect(tab, &CyEditorTab::loadEnded, this, [this, tab](bool Ok, const QString& Message) {
    if (Ok) {
      if (tab == getCurrentTab()) OnCurrentTabChanged();
      return;
    }
    // Closed once the tab's signal has returned.
    QMetaObject::invokeMethod(
        this,
        [this, guard = QPointer<CyEditorTab>(tab), Message] {
          if (!Message.isEmpty())
            statusBar()->showMessage(tr("Cannot open the file: %1").arg(Message), 15000);
          if (guard && Tabs_->indexOf(guard) >= 0) CloseTab(Tabs_->indexOf(guard));
        },
        Qt::QueuedConnection);
  });
  Tabs_->setCurrentIndex(Tabs_->addTab(tab, tab->getTitle()));
  tab->setFocus();
  return tab;
}

CyEditorTab* CyMainWindow::OpenFile(const QString& Path, bool ShowErrors) {
  const QString absolute = QFileInfo(Path).absoluteFilePath();
  for (int i = 0; i < Tabs_->count(); ++i) {
    auto* tab = static_cast<CyEditorTab*>(Tabs_->widget(i));
    if (QString::fromStdString(tab->getDocument().getPath()) == absolute ||
        tab->getLoadingPath() == absolute) {
      Tabs_->setCurrentIndex(i);
      return tab;
    }
  }
  // An untouched empty first tab is reused.
  CyEditorTab* tab = getCurrentTab();
  const bool reuse = tab && tab->getDocument().getPath().empty() && !tab->getBusy() &&
                     !tab->getDocument().getModified() && tab->getDocument().getLineCount() == 1 &&
                     tab->getDocument().getLine(1).empty();
  if (!reuse) tab = NewDocument();
  // A file big enough for a preview opens behind it (the tab's own background load); a smaller
  // one that still takes a moment loads off the GUI thread without one. A failed or cancelled
  // load leaves no tab of its own.
  const qint64 size = QFileInfo(absolute).size();
  if (size >= BackgroundBytes_ && size < tab->getBackgroundLoadBytes()) {
    connect(
        tab, &CyEditorTab::loadFinished, this,
        [this, tab, reuse, Path, absolute, ShowErrors](const TyJobOutcome& Outcome) {
          if (Outcome.End == TyJobEnd::jeDone) {
            AddRecent(absolute);
            UpdateTitle(tab);
            if (tab == getCurrentTab()) OnCurrentTabChanged();
            return;
          }
          if (Outcome.End == TyJobEnd::jeFailed && ShowErrors)
            QMessageBox::warning(this, tr("Open"),
                                 tr("Cannot open %1:\n%2").arg(Path, Outcome.Message));
          if (Outcome.End == TyJobEnd::jeCancelled)
            statusBar()->showMessage(tr("Opening %1 was cancelled.").arg(Path), 8000);
          if (!reuse) {
            Tabs_->removeTab(Tabs_->indexOf(tab));
            tab->deleteLater();  // its job is still delivering this outcome
          }
        },
        Qt::SingleShotConnection);
    tab->StartLoad(absolute);
    UpdateTitle(tab);
    Progress_->Refresh();
    return tab;
  }
  try {
    tab->Open(absolute);
  } catch (const std::exception& e) {
    if (!reuse) delete tab;
    if (ShowErrors)
      QMessageBox::warning(this, tr("Open"),
                           tr("Cannot open %1:\n%2").arg(Path, QString::fromStdString(e.what())));
    return nullptr;
  }
  AddRecent(absolute);
  UpdateTitle(tab);
  OnCurrentTabChanged();
  Progress_->Refresh();  // a big file's load goes on behind its preview
  return tab;
}

CyEditorTab* CyMainWindow::getCurrentTab() const {
  return static_cast<CyEditorTab*>(Tabs_->currentWidget());
}

int CyMainWindow::getTabCount() const { return Tabs_->count(); }

void CyMainWindow::UpdateTitle(CyEditorTab* Tab) {
  const int index = Tabs_->indexOf(Tab);
  if (index >= 0) Tabs_->setTabText(index, Tab->getTitle());
  if (Tab == getCurrentTab()) setWindowTitle(Tab->getTitle() + QStringLiteral(" - Xylem"));
}

void CyMainWindow::OnCurrentTabChanged() {
  CyEditorTab* tab = getCurrentTab();
  FindBar_->setView(tab ? tab->getView() : nullptr);
  if (tab)
    UpdateTitle(tab);
  else
    setWindowTitle(QStringLiteral("Xylem"));
  UpdateStatus();
  UpdateErrors();
}

bool CyMainWindow::Save() {
  CyEditorTab* tab = getCurrentTab();
  if (!tab || tab->getLoading()) return false;
  if (tab->getDocument().getPath().empty()) {
    SaveAsWithDialog();
    return !tab->getDocument().getModified();
  }
  try {
    tab->getDocument().Save();
    tab->NoteSaved();
  } catch (const std::exception& e) {
    QMessageBox::warning(this, tr("Save"), QString::fromStdString(e.what()));
    return false;
  }
  UpdateTitle(tab);
  return true;
}

bool CyMainWindow::SaveAs(const QString& Path) {
  CyEditorTab* tab = getCurrentTab();
  if (!tab || tab->getLoading()) return false;
  try {
    tab->getDocument().SaveAs(QFileInfo(Path).absoluteFilePath().toStdString());
    tab->NoteSaved();
  } catch (const std::exception& e) {
    QMessageBox::warning(this, tr("Save As"), QString::fromStdString(e.what()));
    return false;
  }
  AddRecent(Path);
  UpdateTitle(tab);
  UpdateStatus();
  return true;
}

bool CyMainWindow::CloseTab(int Index) {
  auto* tab = static_cast<CyEditorTab*>(Tabs_->widget(Index));
  if (!tab) return false;
  if (tab->getDocument().getModified()) {
    Tabs_->setCurrentIndex(Index);
    const TyCloseAnswer answer = AskToSave(tab);
    if (answer == TyCloseAnswer::caCancel) return false;
    if (answer == TyCloseAnswer::caSave && !Save()) return false;
  }
  Tabs_->removeTab(Tabs_->indexOf(tab));
  delete tab;
  return true;
}

void CyMainWindow::closeEvent(QCloseEvent* Event) {
  while (Tabs_->count() > 0) {
    if (!CloseTab(Tabs_->count() - 1)) {
      Event->ignore();
      return;
    }
  }
  Event->accept();
}

void CyMainWindow::dragEnterEvent(QDragEnterEvent* Event) {
  if (Event->mimeData()->hasUrls()) Event->acceptProposedAction();
}

void CyMainWindow::dropEvent(QDropEvent* Event) {
  for (const QUrl& url : Event->mimeData()->urls())
    if (url.isLocalFile()) OpenFile(url.toLocalFile());
}

void CyMainWindow::OpenWithDialog() {
  for (const QString& path : QFileDialog::getOpenFileNames(
           this, tr("Open"), {},
           tr("XML files (*.xml *.xsl *.xslt *.xsd *.dtd *.rng *.sch *.svg);;JSON files "
              "(*.json);;All files (*)")))
    OpenFile(path);
}

void CyMainWindow::SaveAsWithDialog() {
  CyEditorTab* tab = getCurrentTab();
  if (!tab) return;
  const QString path = QFileDialog::getSaveFileName(
      this, tr("Save As"), QString::fromStdString(tab->getDocument().getPath()));
  if (path.isEmpty()) return;
  CyFileFormatDialog dialog(tab->getDocument().getFormat(), this);
  if (dialog.exec() != QDialog::Accepted) return;
  try {
    const TyTextFileFormat format = dialog.getFormat();
    if (!(format.Encoding == tab->getDocument().getFormat().Encoding) ||
        format.HasBOM != tab->getDocument().getFormat().HasBOM ||
        format.Newline != tab->getDocument().getFormat().Newline)
      tab->getDocument().setFormat(format);
  } catch (const std::exception& e) {
    QMessageBox::warning(this, tr("Save As"), QString::fromStdString(e.what()));
    return;
  }
  SaveAs(path);
}

void CyMainWindow::AddRecent(const QString& Path) {
  QSettings settings;
  QStringList recent = settings.value("recentFiles").toStringList();
  recent.removeAll(Path);
  recent.prepend(Path);
  while (recent.size() > 10) recent.removeLast();
  settings.setValue("recentFiles", recent);
  UpdateRecentMenu();
}

void CyMainWindow::UpdateRecentMenu() {
  if (!RecentMenu_) return;
  RecentMenu_->clear();
  for (const QString& path : QSettings().value("recentFiles").toStringList())
    RecentMenu_->addAction(path, this, [this, path] { OpenFile(path); });
  RecentMenu_->setEnabled(!RecentMenu_->isEmpty());
}

// ---- XML commands.

QString CyMainWindow::Format() {
  CyEditorTab* tab = getCurrentTab();
  if (!tab) return {};
  if (tab->getLoading()) return tr("The document is still loading.");
  if (tab->getBusy()) return {};
  if (tab->getDocument().getLineCount() >= BackgroundLines_) {
    connect(
        tab, &CyEditorTab::formatFinished, this,
        [this](const TyJobOutcome& Outcome, const QString& Refusal) {
          if (Outcome.End == TyJobEnd::jeCancelled)
            statusBar()->showMessage(tr("Formatting was cancelled; the text is unchanged."), 8000);
          else if (Outcome.End == TyJobEnd::jeFailed)
            statusBar()->showMessage(Outcome.Message, 8000);
          else if (!Refusal.isEmpty())
            statusBar()->showMessage(Refusal, 8000);
        },
        Qt::SingleShotConnection);
    tab->StartFormat(LoadFormatChoices());
    Progress_->Refresh();
    return {};
  }
  const TyFormatResult result =
      CyEditorFormat::FormatDocument(tab->getDocument(), LoadFormatChoices());
  if (result.Refused) {
    if (result.Line > 0)
      tab->getView()->setSelection(
          TySelection::At({result.Line, std::max<int64_t>(1, result.Linepos)}));
    return FormatRefusalText(result);
  }
  tab->getView()->setSelection(tab->getDocument().getSelection());
  return {};
}

void CyMainWindow::CancelWork() {
  if (CyEditorTab* tab = getCurrentTab()) tab->CancelWork();
}

void CyMainWindow::FormatPreferences() {
  CyFormatDialog dialog(LoadFormatChoices(), this);
  if (dialog.exec() != QDialog::Accepted) return;
  SaveFormatChoices(dialog.getChoices());
  Settings_.Format = dialog.getChoices();
}

void CyMainWindow::SettingsWithDialog() {
  TyAppSettings current = Settings_;
  current.Format = LoadFormatChoices();
  CySettingsDialog dialog(current, this);
  if (dialog.exec() == QDialog::Accepted) ApplySettings(dialog.getSettings());
}

void CyMainWindow::ApplySettings(const TyAppSettings& Settings, bool Store) {
  // The style and palette are the application's: set only when the scheme changes (a light
  // start keeps the platform's style, as before there were settings).
  const bool schemeChanged = Settings.Dark != Settings_.Dark;
  Settings_ = Settings;
  if (schemeChanged) setDark(Settings.Dark);
  setTabWidth(Settings.TabWidth);
  setWordWrap(Settings.WordWrap);
  for (int i = 0; i < Tabs_->count(); ++i) {
    auto* tab = static_cast<CyEditorTab*>(Tabs_->widget(i));
    tab->getView()->setEditorFont(Settings.Font);
    tab->setPieceCount(Settings.getPieceCount());
  }
  if (Store) Settings.Save();
}

void CyMainWindow::Check() {
  if (CyEditorTab* tab = getCurrentTab(); tab && !tab->getBusy()) {
    tab->CheckNow();
    ErrorDock_->show();
  }
}

void CyMainWindow::GoToLine(int64_t Line) {
  if (CyEditorTab* tab = getCurrentTab()) {
    tab->GoToLine(Line);
    tab->getView()->setFocus();
  }
}

void CyMainWindow::GoToLineWithDialog() {
  CyEditorTab* tab = getCurrentTab();
  if (!tab) return;
  bool ok = false;
  const int64_t count = tab->getDocument().getLineCount();
  const int line =
      QInputDialog::getInt(this, tr("Go to Line"), tr("Line (1 - %1):").arg(count),
                           static_cast<int>(tab->getDocument().getSelection().Caret.Line), 1,
                           static_cast<int>(std::min<int64_t>(count, INT32_MAX)), 1, &ok);
  if (ok) GoToLine(line);
}

void CyMainWindow::setDark(bool Dark) {
  Settings_.Dark = Dark;
  DarkAction_->setChecked(Dark);
  XPath_->setDark(Dark);
  // The window's own widgets follow the scheme through Fusion's palette.
  QApplication::setStyle(QStringLiteral("Fusion"));
  QPalette palette = QApplication::style()->standardPalette();
  if (Dark) {
    palette.setColor(QPalette::Window, QColor(0x2d, 0x2d, 0x30));
    palette.setColor(QPalette::WindowText, QColor(0xd4, 0xd4, 0xd4));
    palette.setColor(QPalette::Base, QColor(0x1e, 0x1e, 0x1e));
    palette.setColor(QPalette::AlternateBase, QColor(0x25, 0x25, 0x26));
    palette.setColor(QPalette::Text, QColor(0xd4, 0xd4, 0xd4));
    palette.setColor(QPalette::Button, QColor(0x3c, 0x3c, 0x3c));
    palette.setColor(QPalette::ButtonText, QColor(0xd4, 0xd4, 0xd4));
    palette.setColor(QPalette::Highlight, QColor(0x26, 0x4f, 0x78));
    palette.setColor(QPalette::HighlightedText, Qt::white);
  }
  QApplication::setPalette(palette);
  for (int i = 0; i < Tabs_->count(); ++i)
    static_cast<CyEditorTab*>(Tabs_->widget(i))->getView()->setDark(Dark);
}

void CyMainWindow::setWordWrap(bool Wrap) {
  Settings_.WordWrap = Wrap;
  WrapAction_->setChecked(Wrap);
  for (int i = 0; i < Tabs_->count(); ++i)
    static_cast<CyEditorTab*>(Tabs_->widget(i))->getView()->setWordWrap(Wrap);
}

void CyMainWindow::setTabWidth(int Width) {
  Settings_.TabWidth = Width;
  for (int i = 0; i < Tabs_->count(); ++i)
    static_cast<CyEditorTab*>(Tabs_->widget(i))->getView()->setTabWidth(Width);
}

// ---- Status and errors.

QString CyMainWindow::getStatusText() const {
  return QStringList{Position_->text(), Encoding_->text(), BOM_->text(), Newline_->text(),
                     Kind_->text()}
      .join(QStringLiteral(" | "));
}

void CyMainWindow::UpdateStatus() {
  CyEditorTab* tab = getCurrentTab();
  if (!tab) {
    for (QLabel* label : {Position_, Encoding_, BOM_, Newline_, Kind_}) label->clear();
    return;
  }
  const TxMarkupDocument& document = tab->getDocument();
  const TyTextPosition caret = document.getSelection().Caret;
  Position_->setText(tr("Ln %1, Pos %2").arg(caret.Line).arg(caret.Linepos));
  Encoding_->setText(QString::fromStdString(document.getFormat().Encoding.getName()));
  BOM_->setText(document.getFormat().HasBOM ? tr("BOM") : tr("no BOM"));
  Newline_->setText(NewlineName(document.getNewline()));
  Kind_->setText(KindName(document.getKind()));
  if (document.getModified() != getCurrentTab()->getTitle().endsWith(QLatin1Char('*')))
    UpdateTitle(tab);
}

void CyMainWindow::UpdateErrors() {
  Errors_->clear();
  CyEditorTab* tab = getCurrentTab();
  if (!tab) return;
  IyXMLErrsPtr errs = tab->getErrs();
  if (!errs) return;
  struct TyRow {
    int32_t Line, Linepos;
    TyXMLErrSeverity Severity;
    QString Message;
  };
  std::vector<TyRow> rows;
  const int filter = SeverityFilter_->currentIndex();
  for (int32_t i = 0; i < errs->getCount(); ++i) {
    const IyXMLErrPtr& err = errs->getXMLErr(i);
    const TyXMLErrSeverity severity = err->getSeverity();
    const bool isError =
        severity == TyXMLErrSeverity::errError || severity == TyXMLErrSeverity::errFatal;
    if ((filter == 1 && !isError) || (filter == 2 && severity != TyXMLErrSeverity::errWarning))
      continue;
    const IyXMLLocationPtr& at = err->getLocation();
    rows.push_back(
        {at ? at->getLine() : 0, at ? at->getLinepos() : 0, severity, FromU16(err->getReason())});
  }
  std::stable_sort(rows.begin(), rows.end(), [](const TyRow& a, const TyRow& b) {
    return std::pair(a.Line, a.Linepos) < std::pair(b.Line, b.Linepos);
  });
  for (const TyRow& row : rows) {
    auto* item =
        new QTreeWidgetItem(Errors_, {SeverityName(row.Severity), QString::number(row.Line),
                                      QString::number(row.Linepos), row.Message});
    item->setData(0, kLineRole, row.Line);
    item->setData(0, kLineposRole, row.Linepos);
  }
  for (int c = 0; c < 3; ++c) Errors_->resizeColumnToContents(c);
}

void CyMainWindow::OnErrorActivated(QTreeWidgetItem* Item) {
  CyEditorTab* tab = getCurrentTab();
  if (!tab || !Item) return;
  const int line = Item->data(0, kLineRole).toInt();
  const int linepos = Item->data(0, kLineposRole).toInt();
  if (line < 1) return;
  tab->getView()->setSelection(
      TySelection::At(tab->getDocument().ClampPosition({line, std::max(1, linepos)})));
  tab->getView()->setFocus();
}

}  // namespace xylem
