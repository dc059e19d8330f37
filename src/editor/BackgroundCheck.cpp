#include "editor/BackgroundCheck.hpp"

#include "diag/ErrLocation.hpp"
#include "diag/ErrRecord.hpp"
#include "editor/Document.hpp"
#include "json/Memory.hpp"
#include "services/DocumentChecks.hpp"
#include "xml/check/WellFormed.hpp"

namespace xylem {

IyXMLErrsPtr CheckSnapshot(const TxDocumentSnapshot& Snapshot, CyXPathCheckerCachePool& Caches,
                           const TyJobContext& Job) {
  const TyDocumentKind kind = Snapshot.getKind();
  if (kind == TyDocumentKind::dkText)
    return std::make_shared<CyXMLErrs>(u"", std::vector<IyXMLErrPtr>{});
  if (Job.StopRequested()) return nullptr;
  if (kind == TyDocumentKind::dkJSON)
    return CheckJSONDocument(CyJSONMemory::FromString(Snapshot.getText()));
  IyXMLErrsPtr errs;
  try {
    // The snapshot carries the document's stored line states, which the check reads.
    errs = CyXMLWellFormed::Check_PARALLEL(Snapshot.getTextList(), Job.PieceCount, Job);
  } catch (const CyCancelledException&) {
    return nullptr;
  }
  if (Job.StopRequested()) return nullptr;
  if (kind == TyDocumentKind::dkXSLT && !HasErrors(errs))
    errs = CheckXSLTDocument(Snapshot.getTextList(), Caches);
  return Job.StopRequested() ? nullptr : errs;
}

CyBackgroundChecks::CyBackgroundChecks(TxMarkupDocument& Document, CyXPathCheckerCachePool& Caches)
    : Document_(Document), Caches_(Caches) {
  Document_.AddListener(this);
}

CyBackgroundChecks::~CyBackgroundChecks() {
  Document_.RemoveListener(this);
  Cancel();
  Join();
  ClearMarkers();
}

void CyBackgroundChecks::Join() {
  if (Worker_.joinable()) Worker_.join();
}

void CyBackgroundChecks::Start() { Start(Document_.CreateSnapshot()); }

void CyBackgroundChecks::Start(TxDocumentSnapshotPtr Snapshot) {
  Cancel();
  Join();
  {
    std::lock_guard lock(Mutex_);
    Finished_ = false;
    FinishedErrs_.reset();
  }
  TxDocumentSnapshotPtr snapshot = std::move(Snapshot);
  RunningGeneration_ = snapshot->getGeneration();
  Worker_ = std::jthread([this, snapshot, progress = Progress_](std::stop_token Stop) {
    IyXMLErrsPtr errs;
    try {
      TyJobContext job;
      job.PieceCount = PieceCount_;
      job.StopToken = Stop;
      job.Progress = progress;
      errs = CheckSnapshot(*snapshot, Caches_, job);
    } catch (const std::exception&) {
      errs.reset();  // a check that fails reports nothing; the next one runs afresh
    }
    {
      std::lock_guard lock(Mutex_);
      Finished_ = true;
      FinishedErrs_ = Stop.stop_requested() ? nullptr : std::move(errs);
    }
    if (OnFinished_) OnFinished_();
  });
}

void CyBackgroundChecks::Cancel() {
  if (Worker_.joinable()) Worker_.request_stop();
}

bool CyBackgroundChecks::getRunning() const {
  if (!Worker_.joinable()) return false;
  std::lock_guard lock(Mutex_);
  return !Finished_ || FinishedErrs_ != nullptr;
}

bool CyBackgroundChecks::getEnded() const {
  if (!Worker_.joinable()) return true;
  std::lock_guard lock(Mutex_);
  return Finished_;
}

bool CyBackgroundChecks::Poll() {
  IyXMLErrsPtr errs;
  {
    std::lock_guard lock(Mutex_);
    if (!Finished_) return false;
    errs = std::move(FinishedErrs_);
    Finished_ = false;
  }
  Join();
  // A result of an older text is dropped: its positions belong to text that is gone.
  if (!errs || RunningGeneration_ != Document_.getGeneration()) return false;
  ClearMarkers();
  Errs_ = errs;
  ResultGeneration_ = RunningGeneration_;
  for (int32_t i = 0; i < errs->getCount(); ++i) {
    const IyXMLLocationPtr& location = errs->getXMLErr(i)->getLocation();
    if (!location || location->getLine() < 1) {
      ErrMarkers_.push_back({kNoMarker, kNoMarker});
      continue;
    }
    const TyTextPosition start =
        Document_.ClampPosition({location->getLine(), std::max(location->getLinepos(), 1)});
    TyTextPosition end = start;
    if (location->getLine2() >= 1)
      end = Document_.ClampPosition({location->getLine2(), std::max(location->getLinepos2(), 1)});
    ErrMarkers_.push_back({Document_.getMarkers().Add(start, TyMarkerKind::mkError),
                           location->getLine2() >= 1
                               ? Document_.getMarkers().Add(end, TyMarkerKind::mkError)
                               : kNoMarker});
  }
  Moved_ = Errs_;
  MovedStale_ = false;
  return true;
}

bool CyBackgroundChecks::WaitAndPoll() {
  Join();
  return Poll();
}

IyXMLErrsPtr CyBackgroundChecks::getErrs() {
  if (!MovedStale_ || !Errs_) return Moved_;
  std::vector<IyXMLErrPtr> moved;
  for (int32_t i = 0; i < Errs_->getCount(); ++i) {
    const IyXMLErrPtr& err = Errs_->getXMLErr(i);
    const auto [startID, endID] = ErrMarkers_[static_cast<size_t>(i)];
    if (startID == kNoMarker) {
      moved.push_back(err);
      continue;
    }
    const IyXMLLocationPtr& old = err->getLocation();
    const TyTextPosition s = Document_.getMarkers().getPosition(startID);
    TyTextPosition e{old->getLine2(), old->getLinepos2()};
    if (endID != kNoMarker) e = Document_.getMarkers().getPosition(endID);
    auto location = std::make_shared<CyXMLLocation>(
        old->getURL(), static_cast<int32_t>(s.Line), static_cast<int32_t>(s.Linepos),
        static_cast<int32_t>(e.Line), static_cast<int32_t>(e.Linepos), CyXMLLocation::kUnknown,
        old->getXMLAddressWithText(), old->getXPath());
    moved.push_back(std::make_shared<CyXMLErr>(
        err->getProcessorInfo(), std::move(location), err->getReason(), err->getReasonDoc(),
        err->getReasonID(), err->getReasonParameters(), err->getSeverity()));
  }
  Moved_ = std::make_shared<CyXMLErrs>(Errs_->getDescription(), std::move(moved));
  MovedStale_ = false;
  return Moved_;
}

void CyBackgroundChecks::ClearMarkers() {
  for (const auto& [s, e] : ErrMarkers_) {
    Document_.getMarkers().Remove(s);
    Document_.getMarkers().Remove(e);
  }
  ErrMarkers_.clear();
}

void CyBackgroundChecks::OnDocumentChanged(const TxMarkupDocument&,
                                           const TyDocumentChange& Change) {
  // The running check reads a text that is gone now.
  if (Change.Generation != RunningGeneration_) Cancel();
  if (Change.WholeContent && Change.LinesRemoved > 0 && Errs_ && Change.FromUndo == false &&
      Change.Start == TyTextPosition{1, 1} && Document_.getUndoHistory().getUndoCount() == 0) {
    // A load: the errors belong to the old document.
    ClearMarkers();
    Errs_.reset();
    Moved_.reset();
  }
  MovedStale_ = true;
}

}  // namespace xylem
