#pragma once
// A fixed set of worker threads that parallel stages run their tasks on, owned by the caller
// (a front end makes one and hands it down in its TyJobContext), so that no stage starts
// threads of its own.

#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace xylem {

class CyTaskPool {
 public:
  // Starts WorkerCount threads (0 is allowed: every task then runs on the calling thread).
  explicit CyTaskPool(int WorkerCount);
  // Stops the workers and joins them; no RunAll may be running.
  ~CyTaskPool();
  CyTaskPool(const CyTaskPool&) = delete;
  CyTaskPool& operator=(const CyTaskPool&) = delete;

  // Runs Task(0) .. Task(Count - 1) and returns when all have ended. The workers and the
  // calling thread take the indexes in rising order, so a pool of n workers runs up to n + 1
  // tasks at once; a call from inside a task (or from several threads) cannot deadlock, as
  // its caller works through its own tasks. The first exception a task throws (in index
  // order) is rethrown after all tasks have ended. Costs a lock per task, no thread start.
  void RunAll(int Count, const std::function<void(int)>& Task);

  int getWorkerCount() const { return static_cast<int>(Workers_.size()); }
  // The workers' thread identities, fixed for the pool's life.
  std::vector<std::thread::id> getWorkerIDs() const;

 private:
  struct TyBatch;

  void Work();
  // Takes the next index of the front batch; the caller holds Mutex_.
  static void RunOne(TyBatch& Batch, int Index);

  std::mutex Mutex_;
  std::condition_variable Wake_;
  std::deque<TyBatch*> Batches_;  // batches with indexes left to hand out
  bool Stopping_ = false;
  std::vector<std::thread> Workers_;
};

}  // namespace xylem
