#pragma once
// CyRequestJobs: long requests (full semantic tokens, folding, formatting, symbols, pulled
// diagnostics) run each on a thread of its own, so the dispatch thread keeps answering a
// keystroke's didChange and delta while they work. Each job has a stop source; the client
// cancels by request id ($/cancelRequest, noted by the reader thread) or by the job's progress
// token (window/workDoneProgress/cancel), and shutdown stops them all. A job that is told to
// stop still answers its request (RequestCancelled); that is the job's own business.
//
// Threading: every member is thread-safe. Start, Reap and StopAll are called by the dispatch
// thread; Cancel and TakeCancelled by the reader thread as well.

#include <cstddef>
#include <functional>
#include <list>
#include <mutex>
#include <set>
#include <stop_token>
#include <string>
#include <thread>

namespace xylem::lsp {

class CyRequestJobs {
 public:
  CyRequestJobs() = default;
  // Stops and joins every job (StopAll).
  ~CyRequestJobs();
  CyRequestJobs(const CyRequestJobs&) = delete;
  CyRequestJobs& operator=(const CyRequestJobs&) = delete;

  // The client cancelled request IdKey (its id as JSON text): a running job of it is asked to
  // stop; otherwise the id is remembered for TakeCancelled and Start (at most a few thousand).
  void Cancel(const std::string& IdKey);
  // The client cancelled the progress ProgressToken (as JSON text): its job is asked to stop.
  void CancelProgress(const std::string& ProgressToken);
  // True, forgetting it, when IdKey was cancelled before it started.
  bool TakeCancelled(const std::string& IdKey);
  // Runs Work on a thread of its own with a stop token that Cancel, CancelProgress and StopAll
  // request. Returns false, starting nothing, when IdKey was cancelled already.
  bool Start(const std::string& IdKey, const std::string& ProgressToken,
             std::function<void(std::stop_token)> Work);
  // Joins the threads of finished jobs. Cheap when none finished.
  void Reap();
  // Asks every job to stop and waits until all have ended.
  void StopAll();
  // Jobs started and not yet reaped or stopped.
  size_t getCount() const;

 private:
  struct TyJob {
    std::string IdKey;
    std::string ProgressToken;
    std::stop_source Stop;
    std::thread Thread;
    bool Done = false;
  };

  mutable std::mutex Mutex_;
  std::list<TyJob> Jobs_;  // a list: a running thread holds its job's address
  std::set<std::string> Cancelled_;
};

}  // namespace xylem::lsp
