#include "cli/ProgressBar.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace xylem::cli::test {

TEST(ProgressBar, LineShowsStageBarAndPercentWithinTheWidth) {
  struct Row {
    const char* stage;
    uint64_t done, total;
    unsigned width, tick;
    const char* expected;
  };
  const Row rows[] = {
      {"Loading", 50, 100, 30, 0, "Loading [#######--------]  50%"},
      {"Loading", 0, 100, 30, 0, "Loading [---------------]   0%"},
      {"Loading", 99, 100, 30, 0, "Loading [##############-]  99%"},
      // Rough estimates may run ahead of the total.
      {"Loading", 150, 100, 30, 0, "Loading [###############] 100%"},
      // Counts of huge files times 100 overflow 64 bits.
      {"Replacing", uint64_t{3} << 60, uint64_t{4} << 60, 30, 0, "Replacing [#########----]  75%"},
      // Unknown totals spin.
      {"Decoding", 5, 0, 30, 0, "Decoding |"},
      {"Decoding", 5, 0, 30, 5, "Decoding /"},
      {"", 1, 2, 20, 0, "Working [##---]  50%"},
      // Too narrow for a bar: the percentage alone, the stage kept whole.
      {"Loading", 1, 3, 10, 0, "Loading  33%"},
  };
  for (const Row& row : rows)
    EXPECT_EQ(CyProgressBar::FormatLine(row.stage, row.done, row.total, row.width, row.tick),
              row.expected)
        << row.stage << " " << row.done << "/" << row.total << " width " << row.width;

  // Over all widths that hold a bar, the line fits and the bar grows with the work done.
  for (unsigned width = 19; width < 140; width += 7) {
    size_t filled = 0;
    for (uint64_t done = 0; done <= 1000; done += 37) {
      const std::string line = CyProgressBar::FormatLine("Loading", done, 1000, width, 0);
      EXPECT_EQ(line.size(), width) << line;
      const size_t now = static_cast<size_t>(std::count(line.begin(), line.end(), '#'));
      EXPECT_GE(now, filled) << line;
      filled = now;
    }
  }
}

TEST(ProgressBar, OnlyBigFilesOnATerminalGetABar) {
  struct Row {
    uint64_t bytes;
    bool terminal, shown;
  };
  const Row rows[] = {
      {0, true, false},
      {CyProgressBar::kMinimumBytes, true, false},
      {CyProgressBar::kMinimumBytes + 1, true, true},
      {uint64_t{4} << 30, true, true},
      // Pipes, files and CI logs never get one.
      {CyProgressBar::kMinimumBytes + 1, false, false},
      {uint64_t{4} << 30, false, false},
  };
  for (const Row& row : rows)
    EXPECT_EQ(CyProgressBar::ShouldShow(row.bytes, row.terminal), row.shown)
        << row.bytes << " " << row.terminal;
  EXPECT_EQ(CyProgressBar::kMinimumBytes, uint64_t{64} << 20);
}

}  // namespace xylem::cli::test
