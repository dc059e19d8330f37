#pragma once
// Progress of the one long job a front end runs (load, check, format, replace of a big file),
// for a progress bar. Work announces a stage with its total and advances it from any thread;
// a front end polls a snapshot from its own thread. Reporting is two relaxed atomic operations,
// cheap enough to call every few thousand lines, never per token.

#include <cstdint>

namespace xylem {

struct TyProgressSnapshot {
  const char* Stage = "";  // "" before the first stage
  uint64_t Done = 0;
  uint64_t Total = 0;       // 0 when the stage's size is unknown
  uint32_t Generation = 0;  // counts the stages begun, so a poller sees a stage change
};

class CyProgress {
 public:
  // Starts a stage (Stage: a string literal, such as "Checking") with Total units of work, Done
  // at 0. Call from the thread that runs the job, between parallel parts.
  static void Begin(const char* Stage, uint64_t Total);
  // Adds Count units to the current stage's Done. Thread-safe.
  static void Advance(uint64_t Count);
  // The current stage and its counts; Done may run ahead of Total when estimates are rough.
  static TyProgressSnapshot Snapshot();
};

}  // namespace xylem
