// The whole well-formedness check of big.xml (load with encoding detection, then the parallel
// check that stores the line states as it goes) against xmllint --noout and xmllint --stream
// --noout run as child processes in the same run. Wall-clock medians are compared; CPU times
// (process-wide for the check, the child's for xmllint) and peak memory are reported because the
// machine is shared.
#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "common/JobContext.hpp"
#include "support/ChildProcess.hpp"
#include "support/Corpus.hpp"
#include "support/PeakMemory.hpp"
#include "text/TextFile.hpp"
#include "xml/check/WellFormed.hpp"

namespace {

using namespace xylem;

const std::string& BigXML() {
  static const std::string path = bench::CorpusFile("big.xml");
  return path;
}

// Wall-clock seconds of the two stages of the last CheckFile.
struct TyStageTimes {
  double Load = 0, Check = 0;
};
TyStageTimes gStages;

double Since(std::chrono::steady_clock::time_point& Start) {
  const auto now = std::chrono::steady_clock::now();
  const double s = std::chrono::duration<double>(now - Start).count();
  Start = now;
  return s;
}

// Load, then line states and check: what `xylem check` does for one file. Returns the error
// count.
int32_t CheckFile(const std::string& Path) {
  auto start = std::chrono::steady_clock::now();
  TxTextList list;
  LoadTextFile(Path, list);
  gStages.Load = Since(start);
  int64_t totalDelta = 0;
  const int32_t errors =
      CyXMLWellFormed::StoreLineStatesAndCheck_PARALLEL(list, totalDelta)->getCount();
  gStages.Check = Since(start);
  return errors;
}

void BM_XylemCheck(benchmark::State& state) {
  int32_t errors = 0;
  for (auto _ : state) errors = CheckFile(BigXML());
  state.counters["errors"] = errors;
  state.counters["load_s"] = gStages.Load;
  state.counters["check_s"] = gStages.Check;
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * 268444478);
}

void RunXmllint(benchmark::State& state, std::vector<std::string> Args) {
  Args.push_back(BigXML());
  bench::TyChildRun run;
  double cpu = 0;
  for (auto _ : state) {
    run = bench::RunChild(Args);
    if (run.Status != 0) state.SkipWithError("xmllint failed");
    cpu += run.CPUSeconds;
  }
  state.counters["child_cpu_s"] = cpu / static_cast<double>(state.iterations());
  state.counters["child_peak_MiB"] = static_cast<double>(run.PeakBytes) / (1 << 20);
}

void BM_XmllintNoout(benchmark::State& state) { RunXmllint(state, {"xmllint", "--noout"}); }
void BM_XmllintStreamNoout(benchmark::State& state) {
  RunXmllint(state, {"xmllint", "--stream", "--noout"});
}

// Process CPU time covers the check's worker threads; the xmllint cases spend it in a child,
// reported as child_cpu_s.
BENCHMARK(BM_XylemCheck)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(5)
    ->UseRealTime()
    ->MeasureProcessCPUTime()
    ->ReportAggregatesOnly(false);
BENCHMARK(BM_XmllintStreamNoout)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(3)
    ->UseRealTime()
    ->MeasureProcessCPUTime();
BENCHMARK(BM_XmllintNoout)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(3)
    ->UseRealTime()
    ->MeasureProcessCPUTime();

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const uint64_t peak = bench::PeakMemoryOf([] { benchmark::DoNotOptimize(CheckFile(BigXML())); });
  benchmark::AddCustomContext("peak_rss_xylem_check_MiB", std::to_string(peak >> 20));
  benchmark::AddCustomContext("pieces", std::to_string(TyJobContext().PieceCount));
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
