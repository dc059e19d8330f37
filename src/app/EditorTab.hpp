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

#include "app/BackgroundJob.hpp"
#include "editor/BackgroundCheck.hpp"
#include "editor/Document.hpp"
#include "editor/Format.hpp"
#include "services/XPathCheckerCachePool.hpp"

namespace xylem {

class CyTextView;

// A formatter's refusal as the window says it: its message, and where when known.
QString FormatRefusalText(const TyFormatResult& Result);

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
  // Pieces of the parallel stages of this tab's loads, formats and checks (the user's parallel
  // processing setting; at least 1).
  void setPieceCount(int PieceCount);
  int getPieceCount() const { return PieceCount_; }
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

  // ---- Long work off the GUI thread, with progress and cancel. While a load or a format runs
  // the view takes no input; a cancelled one changes nothing.

  // Loads Path on a worker thread; the document stays as it is until the
  // load has finished, then becomes the file (as Open). Announced by loadFinished.
  void StartLoad(const QString& Path);
  // Formats a snapshot on a worker thread; the result replaces the text as one undoable step
  // when it arrives (a refusal or a cancel leaves the text untouched). Announced by
  // formatFinished with the refusal's message ("" when formatted or already formatted).
  void StartFormat(const TyFormatChoices& Choices);
  // Stops the running load or format, else the running check (whose previous result stays).
  void CancelWork();
  // The load or format running (or the check, when no other work runs); null when idle.
  const CyJobProgress* getActiveProgress() const;
  // A load or a format runs.
  bool getBusy() const { return Job_.getRunning(); }
  // The file a running load reads ("" when none).
  const QString& getLoadingPath() const { return LoadingPath_; }
  CyBackgroundJob& getJob() { return Job_; }

 Q_SIGNALS:
  // A check's result has been installed.
  void errorsChanged();
  // The title (name or modified flag) may have changed.
  void titleChanged();
  // Another program changed (or removed) the file.
  void changedOnDisk();
  // A load, or format, started with StartLoad or StartFormat has ended.
  void loadFinished(const xylem::TyJobOutcome& Outcome);
  void formatFinished(const xylem::TyJobOutcome& Outcome, const QString& Refusal);

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
  // Its worker reads the document (options) and snapshots, never the view: declared after the
  // document, so destroyed (cancelled and joined, its outcome dropped) before it.
  CyBackgroundJob Job_;
  CyJobProgress CheckProgress_;
  QString LoadingPath_;
  int PieceCount_ = 1;
};

}  // namespace xylem
