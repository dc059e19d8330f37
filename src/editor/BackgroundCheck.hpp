#pragma once
// Background checks of a document: the well-formedness check (XML kinds), the XPath checks of
// XSLT stylesheets and the JSON check run on a worker thread over a snapshot, so typing never
// waits for them. An edit makes a running check outdated: its stop token is requested (for
// stages that poll one) and its result is discarded when it arrives, recognised by the
// document's generation. A result of the current generation is installed by Poll on the
// editing thread: its error positions become markers (mkError) that follow later edits, and
// getErrs gives the records with their positions moved to the current text.
//
//   CyBackgroundChecks checks(doc, pool);
//   checks.Start();                 // after a load, or after a pause in typing
//   ... on the editing thread's idle or timer: if (checks.Poll()) show(checks.getErrs());
//
// Threading: every member but the worker's own code runs on the editing thread; the worker
// only reads its snapshot. OnFinished, if set, runs on the worker thread (a front end posts a
// message to its editing thread from there and calls Poll when it arrives).

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>
#include <vector>

#include "common/JobContext.hpp"
#include "diag/ErrList.hpp"
#include "editor/DocumentChange.hpp"
#include "editor/Markers.hpp"
#include "editor/Snapshot.hpp"
#include "services/XPathCheckerCachePool.hpp"

namespace xylem {

// The checks of a snapshot by its kind (well-formedness; XSLT: also its XPath expressions when
// well-formed; JSON: strictness; plain text: none). Runs in Job's pieces, on its pool; its stop
// token is polled inside the well-formedness check (every 16 K lines of a piece) and between
// checks. A stopped run returns null.
IyXMLErrsPtr CheckSnapshot(const TxDocumentSnapshot& Snapshot, CyXPathCheckerCachePool& Caches,
                           const TyJobContext& Job);

class CyBackgroundChecks : public IyDocumentListener {
 public:
  CyBackgroundChecks(TxMarkupDocument& Document, CyXPathCheckerCachePool& Caches);
  // Cancels a running check and waits for its thread.
  ~CyBackgroundChecks() override;
  CyBackgroundChecks(const CyBackgroundChecks&) = delete;
  CyBackgroundChecks& operator=(const CyBackgroundChecks&) = delete;

  // Takes a snapshot of the document now (linear in its lines) and starts checking it on a
  // worker thread, cancelling any older check. Returns at once.
  void Start();
  // The same for a snapshot made elsewhere (a front end copies a big load's lines on its
  // loading thread, so that the editing thread need not); it must show the document's current
  // generation, or its result is dropped as outdated.
  void Start(TxDocumentSnapshotPtr Snapshot);
  // Requests the running check to stop; its result will be discarded.
  void Cancel();
  // True while a check runs (or has finished without being polled).
  bool getRunning() const;
  // True when no check thread is at work: none was started, or the last one has ended (its
  // result, if any, waiting for Poll). Joining it then costs no wait.
  bool getEnded() const;
  // Installs the finished check's result when it belongs to the current generation; returns
  // true when new errors were installed. Outdated results are dropped here.
  bool Poll();
  // Waits until the running check has finished, then polls. For tests and batch front ends,
  // never for typing.
  bool WaitAndPoll();
  // The installed errors with positions moved to the current text; null before the first
  // result. Rebuilt on demand after edits (linear in the errors).
  IyXMLErrsPtr getErrs();
  // The generation of the installed result.
  uint64_t getResultGeneration() const { return ResultGeneration_; }
  // Runs on the worker thread when a check ends (also when outdated or stopped).
  void setOnFinished(std::function<void()> OnFinished) { OnFinished_ = std::move(OnFinished); }
  void setPieceCount(int PieceCount) { PieceCount_ = PieceCount; }
  // Where the checks started from now on report their progress (thread-safe sink; null: none).
  // The sink must outlive the checks.
  void setProgress(IyProgressSink* Progress) { Progress_ = Progress; }

  void OnDocumentChanged(const TxMarkupDocument& Document, const TyDocumentChange& Change) override;

 private:
  void Join();
  void ClearMarkers();

  TxMarkupDocument& Document_;
  CyXPathCheckerCachePool& Caches_;
  std::function<void()> OnFinished_;
  int PieceCount_ = 1;
  IyProgressSink* Progress_ = nullptr;
  std::jthread Worker_;
  uint64_t RunningGeneration_ = 0;
  // Handed from the worker to the editing thread.
  mutable std::mutex Mutex_;
  bool Finished_ = false;
  IyXMLErrsPtr FinishedErrs_;
  // The installed result: records and the markers of their two ends.
  IyXMLErrsPtr Errs_;
  IyXMLErrsPtr Moved_;
  std::vector<std::pair<TyMarkerID, TyMarkerID>> ErrMarkers_;
  uint64_t ResultGeneration_ = 0;
  bool MovedStale_ = false;
};

}  // namespace xylem
