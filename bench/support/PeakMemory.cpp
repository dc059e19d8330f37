#include "PeakMemory.hpp"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

namespace xylem::bench {

uint64_t PeakMemoryOf(const std::function<void()>& Work) {
  const pid_t child = fork();
  if (child == 0) {
    Work();
    _exit(0);
  }
  int status = 0;
  struct rusage usage {};
  if (child < 0 || wait4(child, &status, 0, &usage) < 0) return 0;
  return static_cast<uint64_t>(usage.ru_maxrss) * 1024;
}

}  // namespace xylem::bench
