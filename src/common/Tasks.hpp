#pragma once
// The task facility for parallel stages: one task per piece, the caller waits for all of them
// before the next stage begins. Tasks work on disjoint data; nothing here locks.

#include <functional>

namespace xylem {

class CyTasks {
 public:
  // The number of processors in the process's affinity mask, read once and cached for the
  // life of the process (the cache starts at -1).
  static int ProcessorCount();

  // Runs Task(0) .. Task(Count - 1), one task per index, and returns when all have ended.
  // Every task is started before any is awaited; task 0 runs on the calling thread, the others
  // on threads started for this call (a CyTaskPool avoids that). The first exception a task
  // throws (in index order) is rethrown after all tasks have ended.
  static void RunAll(int Count, const std::function<void(int)>& Task);
};

}  // namespace xylem
