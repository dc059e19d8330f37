#include "common/Tasks.hpp"

#include <sched.h>

#include <atomic>
#include <exception>
#include <thread>
#include <vector>

namespace xylem {

namespace {
std::atomic<int> cachedProcessorCount{-1};
}

int CyTasks::ProcessorCount() {
  int count = cachedProcessorCount.load(std::memory_order_relaxed);
  if (count < 0) {
    cpu_set_t mask;
    CPU_ZERO(&mask);
    count = sched_getaffinity(0, sizeof(mask), &mask) == 0 ? CPU_COUNT(&mask) : 1;
    if (count < 1) count = 1;
    cachedProcessorCount.store(count, std::memory_order_relaxed);
  }
  return count;
}

void CyTasks::RunAll(int Count, const std::function<void(int)>& Task) {
  if (Count <= 0) return;
  std::vector<std::exception_ptr> failures(static_cast<size_t>(Count));
  auto guarded = [&](int index) {
    try {
      Task(index);
    } catch (...) {
      failures[static_cast<size_t>(index)] = std::current_exception();
    }
  };
  {
    std::vector<std::jthread> workers;
    workers.reserve(static_cast<size_t>(Count - 1));
    for (int index = 1; index < Count; ++index) workers.emplace_back(guarded, index);
    guarded(0);
  }  // jthread joins here
  for (const auto& failure : failures)
    if (failure) std::rethrow_exception(failure);
}

}  // namespace xylem
