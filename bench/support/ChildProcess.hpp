#pragma once
// Running a peer tool (xmllint, jq, perl, sed, ...) as a child process in the same benchmark
// run, so that ratios come from one machine state.

#include <cstdint>
#include <string>
#include <vector>

namespace xylem::bench {

struct TyChildRun {
  int Status = -1;  // exit status; -1 when it could not start or was killed
  double WallSeconds = 0;
  double CPUSeconds = 0;   // user + system time of the child
  uint64_t PeakBytes = 0;  // the child's peak resident set
};

// Runs Argv (looked up on PATH) with stdout to OutputPath. The peak is measured by
// /usr/bin/time when it is installed (a spawned child's peak would start from this process's).
TyChildRun RunChild(const std::vector<std::string>& Argv,
                    const std::string& OutputPath = "/dev/null");

}  // namespace xylem::bench
