#include "app/EditorTab.hpp"

#include <QFileInfo>
#include <QKeyEvent>
#include <QMetaObject>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "app/TextView.hpp"
#include "common/InputBytes.hpp"
#include "diag/ErrList.hpp"
#include "diag/ErrLocation.hpp"
#include "diag/ErrRecord.hpp"

namespace xylem {

struct CyEditorTab::TyLoadResult {
  std::optional<TyLoadedDocument> Loaded;  // empty: failed (Error) or stopped
  // A copy of the loaded lines for the first check, made on the loading thread: copying
  // millions of records would hold the window up at the switch.
  std::unique_ptr<TxTextList> CheckLines;
  std::string Error;
};

CyEditorTab::CyEditorTab(QWidget* Parent)
    : QWidget(Parent), Document_(std::make_unique<TxMarkupDocument>()) {
  Checks_ = std::make_unique<CyBackgroundChecks>(*Document_, Caches_);
  Checks_->setProgress(&CheckProgress_);
  // The worker only posts; the result is taken on the GUI thread. A tab destroyed meanwhile
  // joins the worker first, and Qt drops events posted to a deleted object.
  Checks_->setOnFinished([this] {
    QMetaObject::invokeMethod(
        this, [this] { PollChecks(); }, Qt::QueuedConnection);
  });
  View_ = new CyTextView(*Document_, this);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(View_);
  setFocusProxy(View_);
  Document_->AddListener(this);
  CheckTimer_.setSingleShot(true);
  CheckTimer_.setInterval(500);
  connect(&CheckTimer_, &QTimer::timeout, this, &CyEditorTab::CheckNow);
  connect(&Watcher_, &QFileSystemWatcher::fileChanged, this, &CyEditorTab::OnFileChanged);
  ProgressTimer_.setInterval(200);
  connect(&ProgressTimer_, &QTimer::timeout, this, [this] { Q_EMIT titleChanged(); });
  View_->installEventFilter(this);
}

CyEditorTab::~CyEditorTab() {
  Counter_.reset();
  Loader_.reset();  // stops and joins the load; what it posted is dropped with this object
  Document_->RemoveListener(this);
  Checks_.reset();  // joins the worker before the view and the document go
  delete View_;     // a child widget would outlive the document it listens to
}

void CyEditorTab::Open(const QString& Path) {
  if (Loader_) {
    // Replaced by the new file: no loadEnded, which would have the window close the tab.
    ++LoadGeneration_;
    EndLoading();
  }
  const QFileInfo info(Path);
  if (info.isFile() && info.size() >= BackgroundLoadBytes_)
    return OpenInBackground(Path.toStdString());
  TyDocumentLoadOptions options;
  options.Job.PieceCount = PieceCount_;
  Document_->LoadFromFile(Path.toStdString(), options);
  View_->setSelection(TySelection::At({1, 1}));
  AfterOpen();
}

void CyEditorTab::AfterOpen() {
  NoteSaved();
  CheckNow();
  Q_EMIT titleChanged();
}

void CyEditorTab::OpenInBackground(const std::string& Path) {
  CyInputBytes::FromPath(Path);  // an unreadable file is refused at once, not later
  Head_ = ReadHeadPreview(Path);
  LoadingPath_ = Path;
  ShowsEnd_ = false;
  if (Head_) {
    // The gutter is sized for the whole file from the preview's bytes per line, with room to
    // spare, so that it keeps its width when the file arrives.
    const double perLine = static_cast<double>(Head_->StretchBytes) /
                           static_cast<double>(std::max<int64_t>(1, Head_->WholeLines));
    LineCountHint_ =
        static_cast<int64_t>(1.5 * static_cast<double>(Head_->FileBytes) / std::max(1.0, perLine));
    Document_->InstallLoaded(std::move(Head_->Loaded));
  } else {
    LineCountHint_ = 0;
    Document_->LoadFromText(u"", Path);
  }
  View_->setLineNumbering(0, LineCountHint_);
  View_->setReadOnly(true);
  View_->setSelection(TySelection::At({1, 1}));
  Progress_ = std::make_unique<CyJobProgress>();
  const uint64_t generation = ++LoadGeneration_;
  const int pieces = PieceCount_;
  Loader_ = std::make_unique<std::jthread>([this, Path, generation, pieces, hook = BeforeLoadHook_,
                                            progress = Progress_.get()](std::stop_token Stop) {
    auto result = std::make_shared<TyLoadResult>();
    try {
      if (hook) hook();
      TyDocumentLoadOptions options;
      options.Job.Progress = progress;
      options.Job.StopToken = Stop;
      result->Loaded = TxMarkupDocument::ReadFile(Path, options, pieces);
      if (result->Loaded && !Stop.stop_requested()) {
        const TxTextList& lines = *result->Loaded->List;
        result->CheckLines = std::make_unique<TxTextList>();
        result->CheckLines->InsertAtEnd(lines, 1, lines.getCount());
      }
    } catch (const std::exception& e) {
      result->Error = e.what();
    }
    QMetaObject::invokeMethod(
        this, [this, generation, result] { FinishLoad(generation, result); }, Qt::QueuedConnection);
  });
  ProgressTimer_.start();
  Q_EMIT titleChanged();
}

void CyEditorTab::EndLoading() {
  if (Loader_) Loader_->request_stop();
  Loader_.reset();
  Counter_.reset();
  ++CountGeneration_;
  Progress_.reset();
  ProgressTimer_.stop();
  Head_.reset();
  ShowsEnd_ = false;
  View_->setReadOnly(false);
}

void CyEditorTab::FinishLoad(uint64_t Generation, const std::shared_ptr<TyLoadResult>& Result) {
  if (Generation != LoadGeneration_ || !Loader_) return;  // cancelled meanwhile
  const bool showsEnd = ShowsEnd_;
  const int64_t previewLines = Document_->getLineCount();
  const int64_t top = View_->verticalScrollBar()->value();
  TySelection selection = Document_->getSelection();
  EndLoading();
  if (!Result->Loaded) {
    Document_->LoadFromText(u"");
    View_->setLineNumbering(0, 0);
    EndPendingGoTo(false);
    Q_EMIT titleChanged();
    Q_EMIT loadEnded(false, Result->Error.empty() ? tr("The load stopped.")
                                                  : QString::fromStdString(Result->Error));
    return;
  }
  Document_->InstallLoaded(std::move(*Result->Loaded));
  // The preview's lines are the file's lines base + 1 ...: the same text stays on screen. The
  // end preview runs to the file's end, whether or not its count has arrived.
  const int64_t base =
      showsEnd ? std::max<int64_t>(0, Document_->getLineCount() - previewLines) : 0;
  View_->setLineNumbering(0, LineCountHint_);
  selection.Anchor.Line += base;
  selection.Caret.Line += base;
  View_->setSelection(
      {Document_->ClampPosition(selection.Anchor), Document_->ClampPosition(selection.Caret)});
  View_->verticalScrollBar()->setValue(static_cast<int>(base + top));
  NoteSaved();
  CheckTimer_.stop();
  if (Result->CheckLines)
    Checks_->Start(std::make_shared<const TxDocumentSnapshot>(
        std::move(Result->CheckLines), std::u16string(Document_->getNewline()),
        Document_->getKind(), Document_->getPath(), Document_->getGeneration()));
  else
    CheckNow();
  EndPendingGoTo(true);
  Q_EMIT titleChanged();
  Q_EMIT loadEnded(true, {});
}

void CyEditorTab::CancelLoad() {
  if (!Loader_) return;
  ++LoadGeneration_;
  EndLoading();
  Document_->LoadFromText(u"");
  View_->setLineNumbering(0, 0);
  EndPendingGoTo(false);
  Q_EMIT titleChanged();
  Q_EMIT loadEnded(false, {});
}

bool CyEditorTab::ShowPreview(bool ToEnd) {
  if (!Loader_ || !Head_) return false;
  std::optional<TyFilePreview> preview =
      ToEnd ? ReadTailPreview(LoadingPath_, *Head_) : ReadHeadPreview(LoadingPath_);
  if (!preview) return false;
  Counter_.reset();  // a count for an earlier end preview is not wanted any more
  const uint64_t generation = ++CountGeneration_;
  Document_->InstallLoaded(std::move(preview->Loaded));
  ShowsEnd_ = ToEnd;
  if (ToEnd) {
    // The lines show at once; their numbers follow when the line ends before them are counted.
    View_->setLineNumbering(-1, LineCountHint_);
    Counter_ =
        std::make_unique<std::jthread>([this, path = LoadingPath_, offset = preview->StretchOffset,
                                        generation](std::stop_token Stop) {
          const int64_t lineEnds = CountFileLineEnds(path, offset, Stop);
          if (lineEnds < 0) return;
          QMetaObject::invokeMethod(
              this,
              [this, lineEnds, generation] {
                if (generation == CountGeneration_ && ShowsEnd_)
                  View_->setLineNumbering(lineEnds, LineCountHint_);
              },
              Qt::QueuedConnection);
        });
  } else {
    View_->setLineNumbering(0, LineCountHint_);
  }
  View_->setSelection(TySelection::At(ToEnd ? Document_->getEndPosition() : TyTextPosition{1, 1}));
  return true;
}

QString CyEditorTab::getLoadStage() const {
  return Progress_ ? QString::fromLatin1(Progress_->getStage()) : QString();
}

double CyEditorTab::getLoadProgress() const {
  if (!Progress_ || Progress_->getTotal() == 0) return 0.0;
  return std::min(
      1.0, static_cast<double>(Progress_->getDone()) / static_cast<double>(Progress_->getTotal()));
}

bool CyEditorTab::eventFilter(QObject* Watched, QEvent* Event) {
  if (Watched == View_ && Loader_ && Event->type() == QEvent::KeyPress) {
    const auto* key = static_cast<QKeyEvent*>(Event);
    const bool ctrl = key->modifiers() & Qt::ControlModifier;
    if (key->key() == Qt::Key_Escape) {
      CancelLoad();
      return true;
    }
    if (ctrl && key->key() == Qt::Key_End && !ShowsEnd_) return ShowPreview(true);
    if (ctrl && key->key() == Qt::Key_Home && ShowsEnd_) return ShowPreview(false);
  }
  return QWidget::eventFilter(Watched, Event);
}

bool CyEditorTab::Reload() {
  if (Loader_) return false;
  const TyTextPosition caret = Document_->getSelection().Caret;
  try {
    TyDocumentLoadOptions options;
    options.Job.PieceCount = PieceCount_;
    Document_->LoadFromFile(Document_->getPath(), options);
  } catch (const std::exception&) {
    return false;
  }
  View_->setSelection(TySelection::At(Document_->ClampPosition(caret)));
  NoteSaved();
  CheckNow();
  Q_EMIT titleChanged();
  return true;
}

void CyEditorTab::NoteSaved() {
  const QString path = QString::fromStdString(Document_->getPath());
  if (!Watcher_.files().isEmpty()) Watcher_.removePaths(Watcher_.files());
  if (path.isEmpty()) return;
  const QFileInfo info(path);
  KnownTime_ = info.lastModified();
  KnownSize_ = info.size();
  Watcher_.addPath(path);
}

void CyEditorTab::OnFileChanged() {
  const QString path = QString::fromStdString(Document_->getPath());
  const QFileInfo info(path);
  // An atomic save replaces the file, which ends the watch: watch the new one.
  if (info.exists() && !Watcher_.files().contains(path)) Watcher_.addPath(path);
  if (info.exists() && info.lastModified() == KnownTime_ && info.size() == KnownSize_) return;
  KnownTime_ = info.lastModified();
  KnownSize_ = info.size();
  Q_EMIT changedOnDisk();
}

QString CyEditorTab::getTitle() const {
  if (!JobLoadPath_.isEmpty()) return tr("%1 (loading)").arg(QFileInfo(JobLoadPath_).fileName());
  const std::string& path = Document_->getPath();
  QString title = path.empty() ? QStringLiteral("Untitled")
                               : QFileInfo(QString::fromStdString(path)).fileName();
  if (Document_->getModified()) title += QLatin1Char('*');
  if (Progress_)
    title += QStringLiteral(" (%1 %2%)")
                 .arg(getLoadStage())
                 .arg(static_cast<int>(100 * getLoadProgress()));
  return title;
}

void CyEditorTab::CheckNow() {
  CheckTimer_.stop();
  if (Loader_) return;  // a preview is not the document; the load's end starts the check
  CheckProgress_.Reset();
  Checks_->Start();
}

void CyEditorTab::PollChecks() {
  if (!Checks_->Poll()) return;
  std::vector<TyTextRange> ranges;
  if (IyXMLErrsPtr errs = Checks_->getErrs()) {
    for (int32_t i = 0; i < errs->getCount(); ++i) {
      const IyXMLLocationPtr& at = errs->getXMLErr(i)->getLocation();
      if (!at || at->getLine() < 1) continue;
      TyTextPosition start{at->getLine(), std::max(1, at->getLinepos())};
      TyTextPosition end{std::max(at->getLine(), at->getLine2()), at->getLinepos2()};
      if (end < start) end = start;
      ranges.push_back({Document_->ClampPosition(start), Document_->ClampPosition(end)});
    }
  }
  View_->setErrorRanges(std::move(ranges));
  Q_EMIT errorsChanged();
}

void CyEditorTab::OnDocumentChanged(const TxMarkupDocument& Document,
                                    const TyDocumentChange& /*Change*/) {
  CheckTimer_.start();
  if (Document.getModified() != WasModified_) {
    WasModified_ = Document.getModified();
    Q_EMIT titleChanged();
  }
}

void CyEditorTab::setPieceCount(int PieceCount) {
  PieceCount_ = std::max(1, PieceCount);
  Checks_->setPieceCount(PieceCount_);
}

QString CyEditorTab::getLoadingPath() const {
  if (!JobLoadPath_.isEmpty()) return JobLoadPath_;
  return Loader_ ? QString::fromStdString(LoadingPath_) : QString();
}

void CyEditorTab::GoToLine(int64_t Line) {
  if (getLoadingPath().isEmpty())
    View_->GoToLine(Line);
  else
    PendingLine_ = Line;
}

void CyEditorTab::EndPendingGoTo(bool Loaded) {
  const int64_t line = std::exchange(PendingLine_, 0);
  if (Loaded && line > 0) View_->GoToLine(line);
}

// ---- Long work.

QString FormatRefusalText(const TyFormatResult& Result) {
  const QString message = QString::fromStdString(Result.Message);
  return Result.Line > 0 ? QObject::tr("%1 (line %2, position %3)")
                               .arg(message)
                               .arg(Result.Line)
                               .arg(Result.Linepos)
                         : message;
}

void CyEditorTab::StartLoad(const QString& Path) {
  auto loaded = std::make_shared<std::optional<TyLoadedDocument>>();
  JobLoadPath_ = Path;
  View_->setEnabled(false);
  Q_EMIT titleChanged();
  const std::string path = Path.toStdString();
  const int pieces = PieceCount_;
  Job_.Start(
      [loaded, path, pieces](const TyJobContext& Job) {
        TyDocumentLoadOptions options;
        options.Job = Job;
        *loaded = TxMarkupDocument::ReadFile(path, options, pieces);
      },
      [this, loaded](const TyJobOutcome& Outcome) {
        JobLoadPath_.clear();
        View_->setEnabled(true);
        TyJobOutcome outcome = Outcome;
        if (outcome.End == TyJobEnd::jeDone && !*loaded) outcome.End = TyJobEnd::jeCancelled;
        if (outcome.End == TyJobEnd::jeDone) {
          Document_->InstallLoaded(std::move(**loaded));
          View_->setSelection(TySelection::At({1, 1}));
          NoteSaved();
          CheckNow();
        }
        EndPendingGoTo(outcome.End == TyJobEnd::jeDone);
        Q_EMIT titleChanged();
        Q_EMIT loadFinished(outcome);
      },
      PieceCount_, "Opening");
}

void CyEditorTab::StartFormat(const TyFormatChoices& Choices) {
  auto formatted = std::make_shared<TyFormattedText>();
  TxDocumentSnapshotPtr snapshot = Document_->CreateSnapshot();
  View_->setEnabled(false);
  Job_.Start(
      [snapshot, formatted, Choices](const TyJobContext& Job) {
        *formatted = CyEditorFormat::FormatSnapshot(*snapshot, Choices, Job);
      },
      [this, formatted](const TyJobOutcome& Outcome) {
        View_->setEnabled(true);
        View_->setFocus();
        QString refusal;
        if (Outcome.End == TyJobEnd::jeDone) {
          const TyFormatResult& result = formatted->Result;
          if (result.Refused) {
            refusal = FormatRefusalText(result);
            if (result.Line > 0)
              View_->setSelection(TySelection::At(
                  Document_->ClampPosition({result.Line, std::max<int64_t>(1, result.Linepos)})));
          } else if (formatted->List) {
            if (CyEditorFormat::Install(*Document_, std::move(*formatted)))
              View_->setSelection(Document_->getSelection());
            else
              refusal = tr("The text changed while it was being formatted; it was left as it is.");
          }
        }
        Q_EMIT formatFinished(Outcome, refusal);
      },
      PieceCount_, "Formatting");
}

void CyEditorTab::CancelWork() {
  if (Loader_)
    CancelLoad();
  else if (Job_.getRunning())
    Job_.Cancel();
  else
    Checks_->Cancel();
}

const CyJobProgress* CyEditorTab::getActiveProgress() const {
  if (Loader_) return Progress_.get();
  if (Job_.getRunning()) return &Job_.getProgress();
  if (Checks_->getRunning()) return &CheckProgress_;
  return nullptr;
}

}  // namespace xylem
