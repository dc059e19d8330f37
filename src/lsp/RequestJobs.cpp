#include "lsp/RequestJobs.hpp"

#include <vector>

namespace xylem::lsp {

namespace {

// Ids of cancelled requests that never arrive are dropped past this many.
constexpr size_t kMaxCancelledIds = 4096;

}  // namespace

CyRequestJobs::~CyRequestJobs() { StopAll(); }

void CyRequestJobs::Cancel(const std::string& IdKey) {
  std::lock_guard Lock(Mutex_);
  for (TyJob& Job : Jobs_)
    if (!Job.Done && Job.IdKey == IdKey) {
      Job.Stop.request_stop();
      return;
    }
  if (Cancelled_.size() >= kMaxCancelledIds) Cancelled_.clear();
  Cancelled_.insert(IdKey);
}

void CyRequestJobs::CancelProgress(const std::string& ProgressToken) {
  std::lock_guard Lock(Mutex_);
  for (TyJob& Job : Jobs_)
    if (!Job.Done && !ProgressToken.empty() && Job.ProgressToken == ProgressToken)
      Job.Stop.request_stop();
}

bool CyRequestJobs::TakeCancelled(const std::string& IdKey) {
  std::lock_guard Lock(Mutex_);
  return Cancelled_.erase(IdKey) > 0;
}

bool CyRequestJobs::Start(const std::string& IdKey, const std::string& ProgressToken,
                          std::function<void(std::stop_token)> Work) {
  std::lock_guard Lock(Mutex_);
  // Under the same lock as Cancel: a cancel arriving now either finds the job or is seen here.
  if (Cancelled_.erase(IdKey) > 0) return false;
  TyJob& Job = Jobs_.emplace_back();
  Job.IdKey = IdKey;
  Job.ProgressToken = ProgressToken;
  Job.Thread = std::thread([this, &Job, Work = std::move(Work)] {
    Work(Job.Stop.get_token());
    std::lock_guard Lock(Mutex_);
    Job.Done = true;
  });
  return true;
}

void CyRequestJobs::Reap() {
  std::vector<std::thread> Finished;
  {
    std::lock_guard Lock(Mutex_);
    for (auto It = Jobs_.begin(); It != Jobs_.end();)
      if (It->Done) {
        Finished.push_back(std::move(It->Thread));
        It = Jobs_.erase(It);
      } else {
        ++It;
      }
  }
  for (std::thread& Thread : Finished) Thread.join();
}

void CyRequestJobs::StopAll() {
  std::list<TyJob> All;
  {
    std::lock_guard Lock(Mutex_);
    for (TyJob& Job : Jobs_) Job.Stop.request_stop();
  }
  // Join outside the lock: the jobs take it to mark themselves done.
  for (;;) {
    std::thread Thread;
    {
      std::lock_guard Lock(Mutex_);
      if (Jobs_.empty()) break;
      Thread = std::move(Jobs_.front().Thread);
      // The job's record must outlive its thread: keep it until joined.
      All.splice(All.end(), Jobs_, Jobs_.begin());
    }
    if (Thread.joinable()) Thread.join();
  }
}

size_t CyRequestJobs::getCount() const {
  std::lock_guard Lock(Mutex_);
  return Jobs_.size();
}

}  // namespace xylem::lsp
