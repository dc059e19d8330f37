#include "cli/ProgressBar.hpp"

#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>

#include "common/Progress.hpp"

namespace xylem::cli {

namespace {

unsigned terminalWidth() {
  winsize size{};
  if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  return 80;
}

uint64_t fileSize(const std::string& Path) {
  struct stat info {};
  if (Path == "-" || ::stat(Path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return 0;
  return static_cast<uint64_t>(info.st_size);
}

void writeStderr(const std::string& Text) {
  // Straight to the descriptor: stderr's stdio buffer belongs to the command's thread.
  for (size_t at = 0; at < Text.size();) {
    const ssize_t written = ::write(STDERR_FILENO, Text.data() + at, Text.size() - at);
    if (written <= 0) return;
    at += static_cast<size_t>(written);
  }
}

}  // namespace

bool CyProgressBar::ShouldShow(uint64_t FileBytes, bool StderrIsTerminal) {
  return StderrIsTerminal && FileBytes > kMinimumBytes;
}

std::string CyProgressBar::FormatLine(std::string_view Stage, uint64_t Done, uint64_t Total,
                                      unsigned Width, unsigned Tick) {
  std::string line(Stage.empty() ? std::string_view("Working") : Stage);
  if (Total == 0) {
    line += ' ';
    line += "|/-\\"[Tick % 4];
    return line;
  }
  uint64_t done = std::min(Done, Total), total = Total;
  // Scaled down to 32 bits, so that times 100 or a bar width cannot overflow; the lost low bits
  // do not show in a percentage.
  while (total > UINT32_MAX) done >>= 1, total >>= 1;
  const auto percent = static_cast<unsigned>(done * 100 / total);
  char suffix[8];
  std::snprintf(suffix, sizeof suffix, " %3u%%", percent);
  const size_t fixed = line.size() + 3 + std::char_traits<char>::length(suffix);  // " [" "]"
  if (Width < fixed + 4) return line + suffix;  // too narrow for a useful bar
  const size_t barWidth = Width - fixed;
  const auto filled = static_cast<size_t>(done * barWidth / total);
  line += " [";
  line.append(filled, '#');
  line.append(barWidth - filled, '-');
  line += ']';
  line += suffix;
  return line;
}

CyProgressBar::CyProgressBar(const std::string& Path) {
  if (!ShouldShow(fileSize(Path), ::isatty(STDERR_FILENO) == 1)) return;
  Thread_ = std::thread([this] { draw(); });
}

CyProgressBar::~CyProgressBar() { Stop(); }

void CyProgressBar::Stop() {
  if (!Thread_.joinable()) return;
  {
    std::lock_guard<std::mutex> lock(Mutex_);
    Stopping_ = true;
  }
  Wake_.notify_one();
  Thread_.join();
}

void CyProgressBar::draw() {
  std::string shown;
  unsigned tick = 0;
  std::unique_lock<std::mutex> lock(Mutex_);
  while (!Wake_.wait_for(lock, std::chrono::milliseconds(100), [this] { return Stopping_; })) {
    const TyProgressSnapshot snapshot = Snapshot();
    // One column short of the width: writing the last column makes some terminals wrap.
    const std::string line =
        FormatLine(snapshot.Stage, snapshot.Done, snapshot.Total, terminalWidth() - 1, tick++);
    if (line == shown) continue;
    writeStderr("\r" + line + "\x1b[K");
    shown = line;
  }
  if (!shown.empty()) writeStderr("\r\x1b[K");
}

}  // namespace xylem::cli
