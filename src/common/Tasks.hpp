#pragma once
// The task facility for parallel stages: one task per piece, the caller waits for all of them
// before the next stage begins. Tasks work on disjoint data; nothing here locks.

#include <functional>

namespace xylem {

class CyTasks {
 public:
  // Number of pieces a parallel stage is cut into: 1 when parallel processing is switched off
  // in the settings, otherwise the number of processors in the process's affinity mask (read
  // once and cached for the life of the process).
  static int PieceCount();

  // The affinity count alone, ignoring the setting. Cached; the cache starts at -1.
  static int ProcessorCount();

  // Runs Task(0) .. Task(Count - 1), one task per index, and returns when all have ended.
  // Every task is started before any is awaited; task 0 runs on the calling thread. The first
  // exception a task throws (in index order) is rethrown after all tasks have ended.
  static void RunAll(int Count, const std::function<void(int)>& Task);
};

}  // namespace xylem
