#pragma once
// Validation and transformation as background work on a snapshot of an edited document: the
// work runs on its own thread, never blocks the caller, can be cancelled, and delivers an error
// list. A newer edit makes older work outdated: cancel it and start again on the new snapshot.

#include <future>
#include <memory>
#include <stop_token>
#include <string>
#include <thread>

#include "diag/ErrList.hpp"
#include "processors/HostRequests.hpp"
#include "processors/Validation.hpp"

namespace xylem {

// A document's text as it stood when the work was asked for.
struct TyProcessingSnapshot {
  std::u16string Text;
  std::string URL;  // its file (base of relative references; may be a path that is not saved)
};

// One piece of background work. Destroying it cancels the work and waits for its thread.
class CyBackgroundRun {
 public:
  // Starts Work on a new thread with this run's stop token.
  explicit CyBackgroundRun(std::function<IyXMLErrsPtr(std::stop_token)> Work);
  ~CyBackgroundRun();
  CyBackgroundRun(const CyBackgroundRun&) = delete;
  CyBackgroundRun& operator=(const CyBackgroundRun&) = delete;

  // Asks the work to stop; it then ends soon with a "cancelled" termination record.
  void Cancel() { Thread_.request_stop(); }
  // True once the result is there. Never blocks.
  bool IsDone() const;
  // The result; blocks until the work has ended.
  IyXMLErrsPtr Wait();

 private:
  std::shared_future<IyXMLErrsPtr> Result_;
  std::jthread Thread_;
};

// Validates Snapshot as Options says (its DocumentPath and DocumentText are taken from the
// snapshot). Host may be null when only libxml2 is used.
std::unique_ptr<CyBackgroundRun> ValidateInBackground(TyProcessingSnapshot Snapshot,
                                                      TyValidationRequest Options,
                                                      CyJavaHost* Host);
// Transforms Snapshot (the source document) with Options' stylesheet; the errors of the run.
std::unique_ptr<CyBackgroundRun> TransformInBackground(TyProcessingSnapshot Snapshot,
                                                       TyTransformation Options, CyJavaHost& Host);

}  // namespace xylem
