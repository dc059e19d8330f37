#pragma once
// Peak resident memory of a piece of work, measured in a child process so that every case
// starts from the same baseline and the benchmark process's own high-water mark does not leak
// from one case into the next.

#include <cstdint>
#include <functional>

namespace xylem::bench {

// Runs Work in a forked child and returns the child's peak resident set in bytes.
uint64_t PeakMemoryOf(const std::function<void()>& Work);

}  // namespace xylem::bench
