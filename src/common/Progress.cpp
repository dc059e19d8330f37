#include "common/Progress.hpp"

namespace xylem {

void CyProgressCounter::Begin(const char* Stage, uint64_t Total) {
  Done_.store(0, std::memory_order_relaxed);
  Total_.store(Total, std::memory_order_relaxed);
  Stage_.store(Stage, std::memory_order_release);
  Generation_.fetch_add(1, std::memory_order_release);
}

void CyProgressCounter::Advance(uint64_t Count) {
  Done_.fetch_add(Count, std::memory_order_relaxed);
}

TyProgressSnapshot CyProgressCounter::Snapshot() const {
  TyProgressSnapshot snapshot;
  snapshot.Generation = Generation_.load(std::memory_order_acquire);
  snapshot.Stage = Stage_.load(std::memory_order_acquire);
  snapshot.Done = Done_.load(std::memory_order_relaxed);
  snapshot.Total = Total_.load(std::memory_order_relaxed);
  return snapshot;
}

}  // namespace xylem
