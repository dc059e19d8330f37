#include "app/EditorTab.hpp"

#include <QFileInfo>
#include <QMetaObject>
#include <QVBoxLayout>

#include "app/TextView.hpp"
#include "diag/ErrList.hpp"
#include "diag/ErrLocation.hpp"
#include "diag/ErrRecord.hpp"

namespace xylem {

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
}

CyEditorTab::~CyEditorTab() {
  Document_->RemoveListener(this);
  Checks_.reset();  // joins the worker before the view and the document go
  delete View_;     // a child widget would outlive the document it listens to
}

void CyEditorTab::setPieceCount(int PieceCount) {
  PieceCount_ = std::max(1, PieceCount);
  Checks_->setPieceCount(PieceCount_);
}

void CyEditorTab::Open(const QString& Path) {
  TyDocumentLoadOptions options;
  options.Job.PieceCount = PieceCount_;
  Document_->LoadFromFile(Path.toStdString(), options);
  View_->setSelection(TySelection::At({1, 1}));
  NoteSaved();
  CheckNow();
  Q_EMIT titleChanged();
}

bool CyEditorTab::Reload() {
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
  if (!LoadingPath_.isEmpty()) return tr("%1 (loading)").arg(QFileInfo(LoadingPath_).fileName());
  const std::string& path = Document_->getPath();
  QString title = path.empty() ? QStringLiteral("Untitled")
                               : QFileInfo(QString::fromStdString(path)).fileName();
  if (Document_->getModified()) title += QLatin1Char('*');
  return title;
}

void CyEditorTab::CheckNow() {
  CheckTimer_.stop();
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
  auto prepared = std::make_shared<std::unique_ptr<TyPreparedLoad>>();
  LoadingPath_ = Path;
  View_->setEnabled(false);
  Q_EMIT titleChanged();
  const std::string path = Path.toStdString();
  const TxMarkupDocument* document = Document_.get();
  Job_.Start(
      [document, prepared, path](const TyJobContext& Job) {
        TyDocumentLoadOptions options;
        options.Job = Job;
        *prepared = document->PrepareLoad(path, options);
      },
      [this, prepared](const TyJobOutcome& Outcome) {
        LoadingPath_.clear();
        View_->setEnabled(true);
        TyJobOutcome outcome = Outcome;
        if (outcome.End == TyJobEnd::jeDone && !*prepared) outcome.End = TyJobEnd::jeCancelled;
        if (outcome.End == TyJobEnd::jeDone) {
          Document_->InstallLoad(std::move(**prepared));
          View_->setSelection(TySelection::At({1, 1}));
          NoteSaved();
          CheckNow();
        }
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
  if (Job_.getRunning())
    Job_.Cancel();
  else
    Checks_->Cancel();
}

const CyJobProgress* CyEditorTab::getActiveProgress() const {
  if (Job_.getRunning()) return &Job_.getProgress();
  if (Checks_->getRunning()) return &CheckProgress_;
  return nullptr;
}

}  // namespace xylem
