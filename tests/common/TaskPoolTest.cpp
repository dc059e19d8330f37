#include "common/TaskPool.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

#include "common/JobContext.hpp"

namespace xylem {
namespace {

// Many stages on one pool: every task runs once, and only on the pool's workers or the caller,
// so no stage started a thread of its own.
TEST(TaskPool, RunsStagesOnItsOwnThreadsOnly) {
  CyTaskPool pool(3);
  const std::vector<std::thread::id> workers = pool.getWorkerIDs();
  std::set<std::thread::id> allowed(workers.begin(), workers.end());
  allowed.insert(std::this_thread::get_id());
  ASSERT_EQ(allowed.size(), 4u);
  std::mutex mutex;
  std::set<std::thread::id> seen;
  for (int stage = 0; stage < 200; ++stage) {
    std::vector<std::atomic<int>> hits(static_cast<size_t>(1 + stage % 9));
    pool.RunAll(static_cast<int>(hits.size()), [&](int i) {
      hits[static_cast<size_t>(i)]++;
      std::lock_guard<std::mutex> lock(mutex);
      seen.insert(std::this_thread::get_id());
    });
    for (const auto& hit : hits) ASSERT_EQ(hit.load(), 1) << "stage " << stage;
  }
  for (const std::thread::id& id : seen) EXPECT_TRUE(allowed.count(id));
}

// Four tasks that wait for each other can only end when the three workers and the caller run
// them at once.
TEST(TaskPool, WorkersAndCallerRunTasksAtOnce) {
  CyTaskPool pool(3);
  std::barrier meeting(4);
  std::mutex mutex;
  std::set<std::thread::id> seen;
  pool.RunAll(4, [&](int) {
    meeting.arrive_and_wait();
    std::lock_guard<std::mutex> lock(mutex);
    seen.insert(std::this_thread::get_id());
  });
  EXPECT_EQ(seen.size(), 4u);
}

// Two stages back to back, the second reading what the first wrote, through a job context;
// a stage started from inside a task, and failures, in index order after every task ended.
TEST(TaskPool, StagesBackToBackNestedAndFailing) {
  CyTaskPool pool(2);
  TyJobContext job;
  job.Pool = &pool;
  std::vector<int64_t> squares(64), sums(8);
  job.RunAll(64, [&](int i) { squares[static_cast<size_t>(i)] = int64_t{i} * i; });
  job.RunAll(8, [&](int k) {
    for (int i = 8 * k; i < 8 * k + 8; ++i)
      sums[static_cast<size_t>(k)] += squares[static_cast<size_t>(i)];
  });
  int64_t total = 0;
  for (const int64_t sum : sums) total += sum;
  EXPECT_EQ(total, 63 * 64 * 127 / 6);

  std::atomic<int> inner{0};
  job.RunAll(3, [&](int) { job.RunAll(5, [&](int) { inner++; }); });
  EXPECT_EQ(inner.load(), 15);

  std::atomic<int> finished{0};
  try {
    job.RunAll(6, [&](int i) {
      if (i == 4) throw std::runtime_error("4");
      if (i == 2) throw std::logic_error("2");
      finished++;
    });
    ADD_FAILURE() << "no exception";
  } catch (const std::logic_error& error) {
    EXPECT_STREQ(error.what(), "2");
  }
  EXPECT_EQ(finished.load(), 4);
}

TEST(TaskPool, StopTokenEndsWithTheCancelledException) {
  std::stop_source stop;
  TyJobContext job;
  job.StopToken = stop.get_token();
  EXPECT_NO_THROW(job.ThrowIfStopped());
  stop.request_stop();
  try {
    job.ThrowIfStopped();
    ADD_FAILURE();
  } catch (const CyException& error) {  // front ends catch it with every other error
    EXPECT_NE(dynamic_cast<const CyCancelledException*>(&error), nullptr);
    EXPECT_EQ(error.getCode(), CyCancelledException::kCode);
  }
}

}  // namespace
}  // namespace xylem
