#pragma once
// A one-line progress bar on stderr for the long jobs on big files: the progress sink the
// commands hand to the core (through their TyJobContext), drawn by a thread of its own.

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "common/Progress.hpp"

namespace xylem::cli {

// Shows the progress of the work on one input file while it lives. It draws only for a file
// above 64 MiB and only when stderr is a terminal, so pipes and logs never see it; otherwise
// it costs only the counting. Not copyable; construct and destroy on the command's thread.
class CyProgressBar : public CyProgressCounter {
 public:
  // Files above this many bytes get a bar.
  static constexpr uint64_t kMinimumBytes = uint64_t{64} << 20;

  // The decision: a file of FileBytes, with stderr a terminal or not.
  static bool ShouldShow(uint64_t FileBytes, bool StderrIsTerminal);
  // The bar's text for Width columns, without line control: "Loading [####----]  50%", or the
  // stage and a spinner frame (Tick) when Total is 0. Done beyond Total shows as 100%. Never
  // wider than Width, but the stage name is kept whole.
  static std::string FormatLine(std::string_view Stage, uint64_t Done, uint64_t Total,
                                unsigned Width, unsigned Tick);

  // Starts drawing for the file at Path ("-" is standard input: unknown size, no bar) when
  // ShouldShow says so for its size and stderr.
  explicit CyProgressBar(const std::string& Path);
  // Stops and clears the line.
  ~CyProgressBar() override;
  CyProgressBar(const CyProgressBar&) = delete;
  CyProgressBar& operator=(const CyProgressBar&) = delete;

  // Stops drawing and clears the line now, before a command writes to a terminal.
  void Stop();

 private:
  void draw();

  std::thread Thread_;
  std::mutex Mutex_;
  std::condition_variable Wake_;
  bool Stopping_ = false;
};

}  // namespace xylem::cli
