#include "ChildProcess.hpp"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>

extern char** environ;

namespace xylem::bench {

TyChildRun RunChild(const std::vector<std::string>& Argv, const std::string& OutputPath) {
  TyChildRun run;
  // The kernel starts a spawned child's peak from the spawning process's, so the peak comes
  // from /usr/bin/time, whose own resident set is tiny.
  char peakPath[] = "/tmp/xylem-peak-XXXXXX";
  const int peakFd = mkstemp(peakPath);
  std::vector<std::string> timed = Argv;
  const bool viaTime = peakFd >= 0 && access("/usr/bin/time", X_OK) == 0;
  if (viaTime) timed.insert(timed.begin(), {"/usr/bin/time", "-f", "%M", "-o", peakPath});
  std::vector<char*> argv;
  for (const std::string& arg : timed) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, OutputPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0644);
  const auto start = std::chrono::steady_clock::now();
  pid_t pid = -1;
  const int spawned = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) return run;
  int status = 0;
  struct rusage usage {};
  if (wait4(pid, &status, 0, &usage) != pid) return run;
  run.WallSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  run.Status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  run.CPUSeconds = static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                   static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
  run.PeakBytes = static_cast<uint64_t>(usage.ru_maxrss) * 1024;
  if (viaTime) {
    char text[64] = {};
    if (pread(peakFd, text, sizeof(text) - 1, 0) > 0)
      run.PeakBytes = std::strtoull(text, nullptr, 10) * 1024;
  }
  if (peakFd >= 0) {
    close(peakFd);
    unlink(peakPath);
  }
  return run;
}

}  // namespace xylem::bench
