#include "common/Progress.hpp"

#include <atomic>

namespace xylem {

namespace {
// The label is published after its counters; a poller that reads across a stage change shows
// one stale frame, never a torn label.
std::atomic<const char*> gStage{""};
std::atomic<uint64_t> gDone{0};
std::atomic<uint64_t> gTotal{0};
std::atomic<uint32_t> gGeneration{0};
}  // namespace

void CyProgress::Begin(const char* Stage, uint64_t Total) {
  gDone.store(0, std::memory_order_relaxed);
  gTotal.store(Total, std::memory_order_relaxed);
  gStage.store(Stage, std::memory_order_release);
  gGeneration.fetch_add(1, std::memory_order_release);
}

void CyProgress::Advance(uint64_t Count) { gDone.fetch_add(Count, std::memory_order_relaxed); }

TyProgressSnapshot CyProgress::Snapshot() {
  TyProgressSnapshot snapshot;
  snapshot.Generation = gGeneration.load(std::memory_order_acquire);
  snapshot.Stage = gStage.load(std::memory_order_acquire);
  snapshot.Done = gDone.load(std::memory_order_relaxed);
  snapshot.Total = gTotal.load(std::memory_order_relaxed);
  return snapshot;
}

}  // namespace xylem
