#include "common/Tasks.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <vector>

#include "common/Settings.hpp"

namespace xylem {

TEST(Tasks, RunsEveryIndexOnceAndRethrowsTheFirstFailure) {
  std::vector<std::atomic<int>> hits(7);
  CyTasks::RunAll(7, [&](int index) { hits[static_cast<size_t>(index)]++; });
  for (const auto& hit : hits) EXPECT_EQ(hit.load(), 1);

  std::atomic<int> finished{0};
  EXPECT_THROW(CyTasks::RunAll(4,
                               [&](int index) {
                                 if (index == 2) throw std::runtime_error("piece 2");
                                 finished++;
                               }),
               std::runtime_error);
  EXPECT_EQ(finished.load(), 3);  // the other tasks still ran to their end
}

TEST(Tasks, PieceCountFollowsTheParallelSetting) {
  EXPECT_GE(CyTasks::ProcessorCount(), 1);
  auto& settings = CySettings::Get();
  settings.ParallelProcessing = false;
  EXPECT_EQ(settings.getPieceCount(), 1);
  settings.ParallelProcessing = true;
  EXPECT_EQ(settings.getPieceCount(), CyTasks::ProcessorCount());
}

}  // namespace xylem
