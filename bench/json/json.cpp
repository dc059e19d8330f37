// Checking and formatting the big JSON corpora, against jq and Python's json.tool run as child
// processes in the same session. Every Xylem time includes reading and decoding the file.
// Prints medians, ratios and peak memory in a summary after the Google Benchmark table.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "json/Formatter.hpp"
#include "json/Memory.hpp"
#include "json/Parser.hpp"
#include "json/Scanner.hpp"
#include "support/ChildProcess.hpp"
#include "support/Corpus.hpp"
#include "support/PeakMemory.hpp"
#include "text/TextFileWriter.hpp"

namespace {

using namespace xylem;

const char* const kFiles[] = {"big.json", "big.min.json"};

struct TyCase {
  std::vector<double> Seconds;     // wall clock
  std::vector<double> CPUSeconds;  // user + system, all threads
  uint64_t PeakBytes = 0;
};
std::map<std::string, TyCase> results;  // "tool/task/file"

void Record(const std::string& Key, double Seconds, double CPUSeconds) {
  results[Key].Seconds.push_back(Seconds);
  results[Key].CPUSeconds.push_back(CPUSeconds);
}

double Seconds(const timeval& Time) {
  return static_cast<double>(Time.tv_sec) + static_cast<double>(Time.tv_usec) * 1e-6;
}
double CPUSeconds(const rusage& Usage) { return Seconds(Usage.ru_utime) + Seconds(Usage.ru_stime); }
double OwnCPUSeconds() {
  struct rusage usage {};
  ::getrusage(RUSAGE_SELF, &usage);
  return CPUSeconds(usage);
}
void RecordPeak(const std::string& Key, uint64_t Bytes) {
  results[Key].PeakBytes = std::max(results[Key].PeakBytes, Bytes);
}

void Check(const std::string& Path) {
  const CyJSONMemory input = CyJSONMemory::FromFile(Path);
  CyJSONScanner scanner(input);
  CyJSONParserListenerNIL listener;
  CyJSONParser parser(scanner, listener);
  parser.Parse();
}

// As the tool formats: into a file writer in the document's encoding.
void FormatToNull(const std::string& Path) {
  const CyJSONMemory input = CyJSONMemory::FromFile(Path);
  const int fd = ::open("/dev/null", O_WRONLY);
  CyTextFileWriter out(fd, "/dev/null", TyTextFileFormat{});
  CyJSONFormatter::Format(input, out, TyJSONWriterOptions{});
  out.Commit();
  ::close(fd);
}

void XylemCase(benchmark::State& State, const std::string& Task, const std::string& File) {
  const std::string path = bench::CorpusFile(File);
  const std::string key = "xylem/" + Task + "/" + File;
  auto work = [&] { Task == "check" ? Check(path) : FormatToNull(path); };
  for (auto _ : State) {
    const double cpuStart = OwnCPUSeconds();
    const auto start = std::chrono::steady_clock::now();
    work();
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    State.SetIterationTime(seconds);
    Record(key, seconds, OwnCPUSeconds() - cpuStart);
  }
  RecordPeak(key, bench::PeakMemoryOf(work));
  State.SetBytesProcessed(
      static_cast<int64_t>(State.iterations()) *
      static_cast<int64_t>(std::ifstream(path, std::ios::ate | std::ios::binary).tellg()));
  State.counters["peak_MiB"] = static_cast<double>(results[key].PeakBytes) / (1 << 20);
}

void PeerCase(benchmark::State& State, const std::string& Tool, const std::string& Task,
              const std::string& File) {
  const std::string path = bench::CorpusFile(File);
  const std::string key = Tool + "/" + Task + "/" + File;
  std::vector<std::string> argv;
  if (Tool == "jq")
    argv = {"jq", Task == "check" ? "empty" : ".", path};
  else
    argv = {"python3", "-m", "json.tool", path};
  for (auto _ : State) {
    const bench::TyChildRun run = bench::RunChild(argv);
    if (run.Status != 0) State.SkipWithError((argv[0] + " failed").c_str());
    State.SetIterationTime(run.WallSeconds);
    Record(key, run.WallSeconds, run.CPUSeconds);
    RecordPeak(key, run.PeakBytes);
  }
  State.counters["peak_MiB"] = static_cast<double>(results[key].PeakBytes) / (1 << 20);
}

double Median(std::vector<double> Values) {
  std::sort(Values.begin(), Values.end());
  const size_t n = Values.size();
  return n == 0 ? 0 : n % 2 ? Values[n / 2] : (Values[n / 2 - 1] + Values[n / 2]) / 2;
}

void PrintSummary() {
  std::printf("\n%-34s %10s %10s %10s %12s\n", "case", "median s", "cpu s", "MiB/s", "peak MiB");
  for (const auto& [key, result] : results) {
    const std::string file = key.substr(key.rfind('/') + 1);
    const double size = static_cast<double>(
        std::ifstream(bench::CorpusFile(file), std::ios::ate | std::ios::binary).tellg());
    const double median = Median(result.Seconds);
    std::printf("%-34s %10.3f %10.3f %10.1f %12.1f\n", key.c_str(), median,
                Median(result.CPUSeconds), size / median / (1 << 20),
                static_cast<double>(result.PeakBytes) / (1 << 20));
  }
  std::printf("\n%-44s %8s %8s %8s\n", "ratio (peer median / Xylem median)", "wall", "target",
              "cpu");
  for (const char* file : kFiles) {
    const struct {
      const char* peer;
      const char* task;
      double target;
    } pairs[] = {
        {"jq", "check", 5}, {"jq", "format", 8}, {"python", "check", 0}, {"python", "format", 0}};
    for (const auto& pair : pairs) {
      const std::string peer = std::string(pair.peer) + "/" + pair.task + "/" + file;
      const std::string ours = std::string("xylem/") + pair.task + "/" + file;
      if (!results.count(peer) || !results.count(ours)) continue;
      const double ratio = Median(results[peer].Seconds) / Median(results[ours].Seconds);
      const double cpuRatio = Median(results[peer].CPUSeconds) / Median(results[ours].CPUSeconds);
      std::printf("%-44s %8.1f %8s %8.1f\n", (peer + " vs xylem").c_str(), ratio,
                  pair.target > 0 ? (ratio >= pair.target ? "met" : "MISSED") : "-", cpuRatio);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  const int repetitions = std::getenv("XYLEM_BENCH_REPETITIONS")
                              ? std::atoi(std::getenv("XYLEM_BENCH_REPETITIONS"))
                              : 3;
  for (const char* file : kFiles) {
    for (const char* task : {"check", "format"}) {
      benchmark::RegisterBenchmark((std::string("xylem/") + task + "/" + file).c_str(),
                                   [=](benchmark::State& s) { XylemCase(s, task, file); })
          ->UseManualTime()
          ->Iterations(1)
          ->Repetitions(repetitions)
          ->ReportAggregatesOnly(true)
          ->Unit(benchmark::kMillisecond);
      benchmark::RegisterBenchmark((std::string("jq/") + task + "/" + file).c_str(),
                                   [=](benchmark::State& s) { PeerCase(s, "jq", task, file); })
          ->UseManualTime()
          ->Iterations(1)
          ->Repetitions(repetitions)
          ->ReportAggregatesOnly(true)
          ->Unit(benchmark::kMillisecond);
      // json.tool has no check-only mode: it always parses and prints.
      if (std::string(task) == "format")
        benchmark::RegisterBenchmark(
            (std::string("python/") + task + "/" + file).c_str(),
            [=](benchmark::State& s) { PeerCase(s, "python", task, file); })
            ->UseManualTime()
            ->Iterations(1)
            ->Repetitions(repetitions)
            ->ReportAggregatesOnly(true)
            ->Unit(benchmark::kMillisecond);
    }
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  PrintSummary();
  return 0;
}
