#pragma once
// CyMainWindow: the editor's main window: documents in tabs, the find and replace bar, the
// error list dock fed by the current document's background check, the status bar (line,
// position, encoding, byte-order mark, newline, kind) and the File, Edit, View and XML menus.
// The public commands are what the menus call; the tests and the screenshot mode call them
// too. Commands that would ask the user (unsaved changes) go through AskToSave, which a
// test can replace.
//
// GUI thread only.

#include <QMainWindow>
#include <functional>

#include "app/Settings.hpp"

class QAction;
class QComboBox;
class QDockWidget;
class QLabel;
class QTabWidget;
class QTreeWidget;
class QTreeWidgetItem;

namespace xylem {

class CyEditorTab;
class CyFindBar;
class CyProgressPanel;
class CyXPathWindow;

class CyMainWindow : public QMainWindow {
  Q_OBJECT

 public:
  explicit CyMainWindow(QWidget* Parent = nullptr);
  ~CyMainWindow() override;

  // Opens Path in a new tab (or shows the tab that has it); null with a message box
  // (ShowErrors) or silently otherwise when it cannot be read.
  CyEditorTab* OpenFile(const QString& Path, bool ShowErrors = true);
  CyEditorTab* NewDocument();
  CyEditorTab* getCurrentTab() const;
  int getTabCount() const;
  CyFindBar* getFindBar() const { return FindBar_; }
  QTreeWidget* getErrorList() const { return Errors_; }
  QDockWidget* getErrorDock() const { return ErrorDock_; }
  CyXPathWindow* getXPathWindow() const { return XPath_; }
  QDockWidget* getXPathDock() const { return XPathDock_; }
  QString getStatusText() const;
  CyProgressPanel* getProgressPanel() const { return Progress_; }

  // ---- Commands of the current document.
  bool Save();
  bool SaveAs(const QString& Path);
  // Formats the document (XML or JSON by its kind); returns the refusal's message or "". A big
  // document is formatted in the background (the status bar says how it ended).
  QString Format();
  // Stops the current tab's load, format or check (the Cancel button and Escape).
  void CancelWork();
  // Files of at least Bytes load, and documents of at least Lines lines format, off the GUI
  // thread with a progress bar.
  void setBackgroundThresholds(qint64 Bytes, int64_t Lines) {
    BackgroundBytes_ = Bytes;
    BackgroundLines_ = Lines;
  }
  // The pieces of parallel stages: one per processor, or one with parallel processing off.
  int getPieceCount() const { return Settings_.getPieceCount(); }
  // Starts the background check now.
  void Check();
  void GoToLine(int64_t Line);
  void setDark(bool Dark);
  bool getDark() const { return Settings_.Dark; }
  void setTabWidth(int Width);
  // Word wrap in every view (the View menu's check mark follows).
  void setWordWrap(bool Wrap);
  // Applies Settings to every tab and to new ones, and stores them when Store is set.
  void ApplySettings(const TyAppSettings& Settings, bool Store = true);
  const TyAppSettings& getSettings() const { return Settings_; }
  // Closes the tab at Index after asking about unsaved changes; false when the user cancels.
  bool CloseTab(int Index);

  // Decides what happens to a modified tab being closed: Save, Discard or Cancel.
  enum class TyCloseAnswer { caSave, caDiscard, caCancel };
  std::function<TyCloseAnswer(CyEditorTab*)> AskToSave;
  // Decides whether a tab whose file changed on disk loads it again (true).
  std::function<bool(CyEditorTab*)> AskToReload;

 protected:
  void closeEvent(QCloseEvent* Event) override;
  void dragEnterEvent(QDragEnterEvent* Event) override;
  void dropEvent(QDropEvent* Event) override;

 private:
  void CreateMenus();
  void OnCurrentTabChanged();
  void UpdateStatus();
  void UpdateErrors();
  void UpdateTitle(CyEditorTab* Tab);
  void OnErrorActivated(QTreeWidgetItem* Item);
  void OpenWithDialog();
  void SaveAsWithDialog();
  void GoToLineWithDialog();
  void FormatPreferences();
  void SettingsWithDialog();
  void AddRecent(const QString& Path);
  void UpdateRecentMenu();

  QTabWidget* Tabs_;
  CyFindBar* FindBar_;
  QDockWidget* ErrorDock_;
  QTreeWidget* Errors_;
  QComboBox* SeverityFilter_;
  QDockWidget* XPathDock_;
  CyXPathWindow* XPath_;
  QLabel* Position_;
  QLabel* Encoding_;
  QLabel* BOM_;
  QLabel* Newline_;
  QLabel* Kind_;
  QMenu* RecentMenu_ = nullptr;
  QAction* DarkAction_ = nullptr;
  QAction* WrapAction_ = nullptr;
  CyProgressPanel* Progress_;
  QAction* CancelAction_ = nullptr;
  qint64 BackgroundBytes_ = 8 << 20;
  int64_t BackgroundLines_ = 100000;
  TyAppSettings Settings_;
};

}  // namespace xylem
