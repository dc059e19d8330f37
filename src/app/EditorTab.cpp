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

void CyEditorTab::Open(const QString& Path) {
  Document_->LoadFromFile(Path.toStdString());
  View_->setSelection(TySelection::At({1, 1}));
  NoteSaved();
  CheckNow();
  Q_EMIT titleChanged();
}

bool CyEditorTab::Reload() {
  const TyTextPosition caret = Document_->getSelection().Caret;
  try {
    Document_->LoadFromFile(Document_->getPath());
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
  const std::string& path = Document_->getPath();
  QString title = path.empty() ? QStringLiteral("Untitled")
                               : QFileInfo(QString::fromStdString(path)).fileName();
  if (Document_->getModified()) title += QLatin1Char('*');
  return title;
}

void CyEditorTab::CheckNow() {
  CheckTimer_.stop();
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

}  // namespace xylem
