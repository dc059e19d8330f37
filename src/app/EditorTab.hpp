#pragma once
// CyEditorTab: one open document in the window: the document, its view and its background
// checks. A check starts when the document is loaded and again once typing pauses; its result
// arrives on the GUI thread (posted from the worker), becomes the view's wavy underlines and
// is announced with errorsChanged.
//
// GUI thread only; the check's worker only reads a snapshot.

#include <QDateTime>
#include <QFileSystemWatcher>
#include <QString>
#include <QTimer>
#include <QWidget>
#include <memory>
#include <string>

#include "editor/BackgroundCheck.hpp"
#include "editor/Document.hpp"
#include "services/XPathCheckerCachePool.hpp"

namespace xylem {

class CyTextView;

class CyEditorTab : public QWidget, public IyDocumentListener {
  Q_OBJECT

 public:
  explicit CyEditorTab(QWidget* Parent = nullptr);
  ~CyEditorTab() override;

  TxMarkupDocument& getDocument() { return *Document_; }
  CyTextView* getView() { return View_; }
  CyBackgroundChecks& getChecks() { return *Checks_; }

  // Loads Path; raises CyException with the loader's message on a bad file.
  void Open(const QString& Path);
  // Loads the file again (after a change on disk); false when it cannot be read.
  bool Reload();
  // Records the file's state after a save, so that the save is not taken for a change on disk.
  void NoteSaved();
  // The tab's title: the file name (or "Untitled"), with "*" when modified.
  QString getTitle() const;
  // The errors of the last finished check (null before the first).
  IyXMLErrsPtr getErrs() { return Checks_->getErrs(); }
  // Starts a check now (the XML menu's check command and the tests use this).
  void CheckNow();
  // The delay between the last edit and the check it starts.
  void setCheckDelay(int Milliseconds) { CheckTimer_.setInterval(Milliseconds); }

  void OnDocumentChanged(const TxMarkupDocument& Document, const TyDocumentChange& Change) override;

 Q_SIGNALS:
  // A check's result has been installed.
  void errorsChanged();
  // The title (name or modified flag) may have changed.
  void titleChanged();
  // Another program changed (or removed) the file.
  void changedOnDisk();

 private:
  void PollChecks();
  void OnFileChanged();

  std::unique_ptr<TxMarkupDocument> Document_;
  CyXPathCheckerCachePool Caches_;
  std::unique_ptr<CyBackgroundChecks> Checks_;
  CyTextView* View_;
  QTimer CheckTimer_;
  bool WasModified_ = false;
  // The file as last loaded or saved: a notification that finds it so is our own doing.
  QFileSystemWatcher Watcher_;
  QDateTime KnownTime_;
  qint64 KnownSize_ = -1;
};

}  // namespace xylem
