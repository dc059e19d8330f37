#pragma once
// A progress sink that keeps the current stage and its counts for a poller on another thread
// (a progress bar, a test). Advance is one relaxed atomic add, cheap enough to call every few
// thousand lines.

#include <atomic>
#include <cstdint>

#include "common/JobContext.hpp"

namespace xylem {

struct TyProgressSnapshot {
  const char* Stage = "";  // "" before the first stage
  uint64_t Done = 0;
  uint64_t Total = 0;       // 0 when the stage's size is unknown
  uint32_t Generation = 0;  // counts the stages begun, so a poller sees a stage change
};

class CyProgressCounter : public IyProgressSink {
 public:
  void Begin(const char* Stage, uint64_t Total) override;
  void Advance(uint64_t Count) override;
  // The current stage and its counts; Done may run ahead of Total when estimates are rough.
  // Thread-safe.
  TyProgressSnapshot Snapshot() const;

 private:
  // The label is published after its counters; a poller that reads across a stage change
  // shows one stale frame, never a torn label.
  std::atomic<const char*> Stage_{""};
  std::atomic<uint64_t> Done_{0};
  std::atomic<uint64_t> Total_{0};
  std::atomic<uint32_t> Generation_{0};
};

}  // namespace xylem
