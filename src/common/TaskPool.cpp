#include "common/TaskPool.hpp"

#include <algorithm>

namespace xylem {

// One RunAll call; it lives on its caller's stack until its last task has ended.
struct CyTaskPool::TyBatch {
  const std::function<void(int)>* Task = nullptr;
  int Count = 0;
  int Next = 0;     // next index to hand out (under Mutex_)
  int Pending = 0;  // tasks not ended yet (under Mutex_)
  std::vector<std::exception_ptr> Failures;
  std::condition_variable Done;
};

CyTaskPool::CyTaskPool(int WorkerCount) {
  Workers_.reserve(static_cast<size_t>(std::max(WorkerCount, 0)));
  for (int i = 0; i < WorkerCount; ++i) Workers_.emplace_back([this] { Work(); });
}

CyTaskPool::~CyTaskPool() {
  {
    std::lock_guard<std::mutex> lock(Mutex_);
    Stopping_ = true;
  }
  Wake_.notify_all();
  for (std::thread& worker : Workers_) worker.join();
}

std::vector<std::thread::id> CyTaskPool::getWorkerIDs() const {
  std::vector<std::thread::id> ids;
  for (const std::thread& worker : Workers_) ids.push_back(worker.get_id());
  return ids;
}

void CyTaskPool::RunOne(TyBatch& Batch, int Index) {
  try {
    (*Batch.Task)(Index);
  } catch (...) {
    Batch.Failures[static_cast<size_t>(Index)] = std::current_exception();
  }
}

void CyTaskPool::Work() {
  std::unique_lock<std::mutex> lock(Mutex_);
  for (;;) {
    Wake_.wait(lock, [this] { return Stopping_ || !Batches_.empty(); });
    if (Batches_.empty()) return;  // stopping
    TyBatch& batch = *Batches_.front();
    const int index = batch.Next++;
    if (batch.Next == batch.Count) Batches_.pop_front();
    lock.unlock();
    RunOne(batch, index);
    lock.lock();
    // Notified under the lock: the caller may leave (and free the batch) once it sees 0.
    if (--batch.Pending == 0) batch.Done.notify_all();
  }
}

void CyTaskPool::RunAll(int Count, const std::function<void(int)>& Task) {
  if (Count <= 0) return;
  if (Count == 1) {  // nothing to share
    Task(0);
    return;
  }
  TyBatch batch;
  batch.Task = &Task;
  batch.Count = Count;
  batch.Pending = Count;
  batch.Failures.resize(static_cast<size_t>(Count));
  std::unique_lock<std::mutex> lock(Mutex_);
  Batches_.push_back(&batch);
  if (Count - 1 >= getWorkerCount())
    Wake_.notify_all();
  else
    for (int i = 1; i < Count; ++i) Wake_.notify_one();
  while (batch.Next < batch.Count) {
    const int index = batch.Next++;
    if (batch.Next == batch.Count)
      Batches_.erase(std::find(Batches_.begin(), Batches_.end(), &batch));
    lock.unlock();
    RunOne(batch, index);
    lock.lock();
    --batch.Pending;
  }
  batch.Done.wait(lock, [&batch] { return batch.Pending == 0; });
  lock.unlock();
  for (const std::exception_ptr& failure : batch.Failures)
    if (failure) std::rethrow_exception(failure);
}

}  // namespace xylem
