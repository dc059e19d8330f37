// The pieces of long requests off the dispatch thread: the jobs' cancellation rules (a cancel
// before the start refuses it, one while running stops it, by id or by progress token, and
// StopAll ends everything) and work-done progress under concurrent advances (one begin, one
// end, percentages that only rise and stay within 0..100).
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include "lsp/RequestJobs.hpp"
#include "lsp/WorkDoneProgress.hpp"

namespace xylem::lsp {
namespace {

// A job that runs until it is told to stop, then records that it was.
auto UntilStopped(std::atomic<int>& Stopped, std::atomic<int>& Running) {
  return [&Stopped, &Running](std::stop_token Stop) {
    ++Running;
    while (!Stop.stop_requested()) std::this_thread::yield();
    ++Stopped;
  };
}

void WaitFor(const std::atomic<int>& Value, int Expected) {
  while (Value.load() < Expected) std::this_thread::yield();
}

TEST(RequestJobs, CancellationReachesQueuedAndRunningJobs) {
  CyRequestJobs Jobs;
  std::atomic<int> Stopped{0}, Running{0};
  struct TyRow {
    const char* How;  // "before": cancel before Start; "id", "token": while running
    bool Starts;
  };
  const TyRow kRows[] = {{"before", false}, {"id", true}, {"token", true}};
  int Expected = 0;
  for (const TyRow& Row : kRows) {
    SCOPED_TRACE(Row.How);
    const std::string Id = std::string("\"") + Row.How + "\"";
    if (std::string(Row.How) == "before") Jobs.Cancel(Id);
    ASSERT_EQ(Jobs.Start(Id, "\"t-" + std::string(Row.How) + "\"", UntilStopped(Stopped, Running)),
              Row.Starts);
    if (!Row.Starts) {
      EXPECT_FALSE(Jobs.TakeCancelled(Id));  // the refusal used the cancel up
      continue;
    }
    WaitFor(Running, ++Expected);
    if (std::string(Row.How) == "id")
      Jobs.Cancel(Id);
    else
      Jobs.CancelProgress("\"t-token\"");
    WaitFor(Stopped, Expected);
    // A cancel of a running job is not remembered for a later request of the same id.
    EXPECT_FALSE(Jobs.TakeCancelled(Id));
  }
  Jobs.Reap();
  EXPECT_EQ(Jobs.getCount(), 0u);

  // A cancel of an id that never runs is kept for TakeCancelled (a request still queued).
  Jobs.Cancel("7");
  EXPECT_TRUE(Jobs.TakeCancelled("7"));
  EXPECT_FALSE(Jobs.TakeCancelled("7"));

  // StopAll stops and joins every running job.
  for (int i = 0; i < 3; ++i)
    ASSERT_TRUE(Jobs.Start(std::to_string(100 + i), "", UntilStopped(Stopped, Running)));
  WaitFor(Running, Expected + 3);
  Jobs.StopAll();
  EXPECT_EQ(Stopped.load(), Expected + 3);
  EXPECT_EQ(Jobs.getCount(), 0u);
}

TEST(WorkDoneProgress, ConcurrentAdvancesGiveOneBeginRisingReportsAndOneEnd) {
  std::mutex Mutex;
  std::vector<json> Sent;
  {
    CyWorkDoneProgress Progress("tok", "Tokenizing", true, 2, [&](json Params) {
      std::lock_guard Lock(Mutex);
      EXPECT_EQ(Params["token"], "tok");
      Sent.push_back(std::move(Params["value"]));
    });
    for (const char* Stage : {"Loading", "Scanning"}) {
      Progress.Begin(Stage, 40000);
      std::vector<std::thread> Threads;
      for (int t = 0; t < 4; ++t)
        Threads.emplace_back([&] {
          for (int i = 0; i < 10000; ++i) Progress.Advance(1);
        });
      for (std::thread& T : Threads) T.join();
    }
    // The destructor ends it.
  }
  ASSERT_GE(Sent.size(), 3u);
  EXPECT_EQ(Sent.front()["kind"], "begin");
  EXPECT_EQ(Sent.front()["title"], "Tokenizing");
  EXPECT_EQ(Sent.front()["cancellable"], true);
  EXPECT_EQ(Sent.back()["kind"], "end");
  int Last = 0, Reports = 0;
  for (size_t i = 1; i + 1 < Sent.size(); ++i) {
    ASSERT_EQ(Sent[i]["kind"], "report");
    const int Percentage = Sent[i]["percentage"];
    EXPECT_GE(Percentage, Last);
    EXPECT_LE(Percentage, 100);
    Last = Percentage;
    ++Reports;
  }
  EXPECT_EQ(Last, 100);
  EXPECT_LE(Reports, 102);  // at most one a percent, plus a report per new stage
}

TEST(WorkDoneProgress, EndWithoutStagesStillBegins) {
  std::vector<std::string> Kinds;
  CyWorkDoneProgress Progress(1, "Folding", false, 1,
                              [&](json Params) { Kinds.push_back(Params["value"]["kind"]); });
  Progress.End();
  Progress.End();
  EXPECT_EQ(Kinds, (std::vector<std::string>{"begin", "end"}));
}

}  // namespace
}  // namespace xylem::lsp
