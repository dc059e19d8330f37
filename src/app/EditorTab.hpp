#pragma once
// CyEditorTab: one open document in the window: the document, its view and its background
// checks. A check starts when the document is loaded and again once typing pauses; its result
// arrives on the GUI thread (posted from the worker), becomes the view's wavy underlines and
// is announced with errorsChanged.
//
// A big file loads in the background: the tab shows its first screen at once (a preview read
// from the file's first stretch, coloured from the start state), read-only, while a worker
// thread loads and scans the whole file; the loaded text then takes the preview's place with
// the same lines on screen and the caret where it was. Ctrl+End meanwhile shows the file's
// last lines the same way; Escape cancels. A load that fails or is cancelled leaves an empty
// untitled document, never a part of the file.
//
// GUI thread only; the check's and the load's workers only read their own data.

#include <QDateTime>
#include <QFileSystemWatcher>
#include <QString>
#include <QTimer>
#include <QWidget>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>

#include "app/BackgroundJob.hpp"
#include "app/FilePreview.hpp"
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

  // Loads Path: a file smaller than the background size at once (raising CyException with the
  // loader's message on a bad file); a bigger one in the background (see above), whose end is
  // announced by loadEnded. An unreadable file raises at once either way.
  void Open(const QString& Path);
  // Files of at least Bytes bytes open in the background (default 16 MiB).
  void setBackgroundLoadBytes(int64_t Bytes) { BackgroundLoadBytes_ = Bytes; }
  int64_t getBackgroundLoadBytes() const { return BackgroundLoadBytes_; }
  // True while a background load runs; the view is read-only meanwhile.
  bool getLoading() const { return static_cast<bool>(Loader_); }
  // The running load's stage ("Loading", "Scanning"...) and its fraction done, 0 .. 1.
  QString getLoadStage() const;
  double getLoadProgress() const;
  // Stops a background load (waits for its worker, a fraction of a second); the document
  // becomes empty and untitled, and loadEnded(false, "") follows.
  void CancelLoad();
  // While loading: shows the file's last lines with the caret at the end, or the first ones
  // again (ToEnd false). The last lines are numbered as in the file once a worker has counted
  // the line ends before them (no numbers until then). False when the file allows no preview.
  bool ShowPreview(bool ToEnd);
  // True while the view shows the file's last lines rather than its first.
  bool getShowsEnd() const { return ShowsEnd_; }
  // For tests: runs on the loading thread before the file is read.
  void setBeforeLoadHook(std::function<void()> Hook) { BeforeLoadHook_ = std::move(Hook); }
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

  // Pieces of the parallel stages of this tab's loads, formats and checks (the user's parallel
  // processing setting; at least 1).
  void setPieceCount(int PieceCount);
  int getPieceCount() const { return PieceCount_; }

  // ---- Long work off the GUI thread, with progress and cancel. While a load or a format runs
  // the view takes no input; a cancelled one changes nothing.

  // Loads Path on a worker thread without a preview; the document stays as it is until the
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
  // A load (either kind) or a format runs.
  bool getBusy() const { return Job_.getRunning() || getLoading(); }
  // The file a running load reads ("" when none).
  QString getLoadingPath() const;
  // Puts the caret on Line (clamped) near the top of the view; while a load runs, once it has
  // ended well: the preview holds only the file's first or last lines.
  void GoToLine(int64_t Line);
  CyBackgroundJob& getJob() { return Job_; }

 Q_SIGNALS:
  // A check's result has been installed.
  void errorsChanged();
  // The title (name or modified flag) may have changed.
  void titleChanged();
  // Another program changed (or removed) the file.
  void changedOnDisk();
  // A background load ended: Ok, or failed with Message (empty when cancelled).
  void loadEnded(bool Ok, const QString& Message);
  // A load, or format, started with StartLoad or StartFormat has ended.
  void loadFinished(const xylem::TyJobOutcome& Outcome);
  void formatFinished(const xylem::TyJobOutcome& Outcome, const QString& Refusal);

 protected:
  bool eventFilter(QObject* Watched, QEvent* Event) override;

 private:
  struct TyLoadResult;
  void OpenInBackground(const std::string& Path);
  // A load ended: goes to the line asked for meanwhile when it ended well, forgets it else.
  void EndPendingGoTo(bool Loaded);
  void FinishLoad(uint64_t Generation, const std::shared_ptr<TyLoadResult>& Result);
  // Ends the background state: joins the worker, the view editable again.
  void EndLoading();
  void AfterOpen();
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
  // The background load: its worker, stop, progress and generation (a result of an older
  // generation is dropped), the head preview (kept to go back from the end).
  std::unique_ptr<CyJobProgress> Progress_;
  std::unique_ptr<std::jthread> Loader_;
  // Counts the line ends before the end preview, for its line numbers.
  std::unique_ptr<std::jthread> Counter_;
  uint64_t CountGeneration_ = 0;
  uint64_t LoadGeneration_ = 0;
  std::string LoadingPath_;
  // The head preview's encoding and kind (its lines went to the document), for the tail.
  std::optional<TyFilePreview> Head_;
  int64_t LineCountHint_ = 0;
  int64_t PendingLine_ = 0;  // GoToLine during a load; 0 for none
  bool ShowsEnd_ = false;
  QTimer ProgressTimer_;
  int64_t BackgroundLoadBytes_ = int64_t{16} << 20;
  std::function<void()> BeforeLoadHook_;
  // Loads without a preview and formats: its worker reads the document (options) and
  // snapshots, never the view; declared after the document, so destroyed (cancelled and
  // joined, its outcome dropped) before it.
  CyBackgroundJob Job_;
  CyJobProgress CheckProgress_;
  QString JobLoadPath_;
  int PieceCount_ = 1;
};

}  // namespace xylem
