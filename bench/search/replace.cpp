// Replace all over the 256 MiB XML corpus, against perl -pe and sed -E doing the same
// replacements as child processes in the same session. Xylem's time includes reading and
// decoding the file and encoding the result back to UTF-8 (written to /dev/null like the peers'
// output). Before timing, every case's output is checked byte for byte against both peers'.
// Prints medians, ratios and peak memory in a summary after the Google Benchmark table.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "search/FileReplacer.hpp"
#include "search/RegExprReplacer.hpp"
#include "search/TextReplacer.hpp"
#include "support/ChildProcess.hpp"
#include "support/Corpus.hpp"
#include "support/PeakMemory.hpp"

namespace {

using namespace xylem;

constexpr const char* kFile = "big.xml";

struct TyReplaceCase {
  const char* Name;
  bool RegExpr;
  const char16_t* SearchWhat;
  const char16_t* ReplaceWith;
  const char* Perl;
  const char* Sed;
};

const TyReplaceCase kCases[] = {
    {"word", false, u"warehouse", u"depot", "s/warehouse/depot/g", "s/warehouse/depot/g"},
    {"qty", true, u"qty=\"([0-9]+)\"", u"quantity=\"$1\"", "s/qty=\"([0-9]+)\"/quantity=\"$1\"/g",
     "s/qty=\"([0-9]+)\"/quantity=\"\\1\"/g"},
    {"decimal", true, u"([0-9]+)\\.([0-9]+)", u"$1,$2", "s/([0-9]+)\\.([0-9]+)/$1,$2/g",
     "s/([0-9]+)\\.([0-9]+)/\\1,\\2/g"},
};

struct TyResult {
  std::vector<double> Seconds;
  uint64_t PeakBytes = 0;
};
std::map<std::string, TyResult> results;  // "tool/case"

std::string ReadWholeFile(const std::string& Path) {
  const int fd = ::open(Path.c_str(), O_RDONLY);
  struct stat info {};
  if (fd < 0 || ::fstat(fd, &info) != 0) {
    std::fprintf(stderr, "cannot read %s\n", Path.c_str());
    std::exit(2);
  }
  std::string bytes(static_cast<size_t>(info.st_size), '\0');
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = ::read(fd, bytes.data() + done, bytes.size() - done);
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  ::close(fd);
  bytes.resize(done);
  return bytes;
}

// Scan for the newline, read, decode, replace all, encode: the whole of Xylem's work on one
// file. The result goes to Write piece by piece.
int64_t XylemReplace(const std::string& Path, const TyReplaceCase& Case, const TyUTF8Sink& Write) {
  const std::u16string newline = ScanUTF8FileNewline(Path);
  std::unique_ptr<CyReplacer> replacer;
  if (Case.RegExpr) {
    replacer = CyRegExprReplacer::Create(Case.SearchWhat, Case.ReplaceWith, true, newline);
  } else {
    replacer = CyTextReplacer::Create(Case.SearchWhat, Case.ReplaceWith, true, false);
  }
  return ReplaceAllUTF8File(Path, *replacer, newline, Write);
}

// Writes to /dev/null, as the peers' standard output goes there.
int64_t XylemReplaceToNull(const std::string& Path, const TyReplaceCase& Case) {
  const int fd = ::open("/dev/null", O_WRONLY);
  const int64_t count = XylemReplace(Path, Case, [fd](std::string_view Bytes) {
    if (::write(fd, Bytes.data(), Bytes.size()) != static_cast<ssize_t>(Bytes.size())) std::exit(5);
  });
  ::close(fd);
  return count;
}

std::vector<std::string> PeerArgv(const std::string& Tool, const TyReplaceCase& Case,
                                  const std::string& Path) {
  if (Tool == "perl") return {"perl", "-pe", Case.Perl, Path};
  return {"sed", "-E", Case.Sed, Path};
}

// Our output must equal perl's and sed's byte for byte, or the timings compare different work.
void VerifyOutputs() {
  const std::string path = bench::CorpusFile(kFile);
  const std::string scratch = std::string(std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "/tmp") +
                              "/xylem_bench_replace.out";
  for (const TyReplaceCase& replaceCase : kCases) {
    std::string ours;
    const int64_t count =
        XylemReplace(path, replaceCase, [&ours](std::string_view Bytes) { ours.append(Bytes); });
    for (const char* tool : {"perl", "sed"}) {
      bench::RunChild(PeerArgv(tool, replaceCase, path), scratch);
      const std::string theirs = ReadWholeFile(scratch);
      const bool same = theirs == ours;
      std::printf("verify %-8s %-5s: %lld replacements, %zu bytes, %s\n", replaceCase.Name, tool,
                  static_cast<long long>(count), ours.size(), same ? "identical" : "DIFFERENT");
      if (!same) {
        const auto mismatch = std::mismatch(ours.begin(), ours.end(), theirs.begin(), theirs.end());
        std::fprintf(stderr, "first difference at byte %zu\n",
                     static_cast<size_t>(mismatch.first - ours.begin()));
        std::exit(4);
      }
    }
  }
  std::remove(scratch.c_str());
  // Give the verification's big strings back, so that the children forked for the timed runs
  // (whose peak resident memory includes what they inherit) start from a small baseline.
  ::malloc_trim(0);
}

void XylemCase(benchmark::State& State, const TyReplaceCase& Case) {
  const std::string path = bench::CorpusFile(kFile);
  const std::string key = std::string("xylem/") + Case.Name;
  auto work = [&] { XylemReplaceToNull(path, Case); };
  for (auto _ : State) {
    const auto start = std::chrono::steady_clock::now();
    work();
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    State.SetIterationTime(seconds);
    results[key].Seconds.push_back(seconds);
  }
  results[key].PeakBytes = std::max(results[key].PeakBytes, bench::PeakMemoryOf(work));
  State.counters["peak_MiB"] = static_cast<double>(results[key].PeakBytes) / (1 << 20);
}

void PeerCase(benchmark::State& State, const std::string& Tool, const TyReplaceCase& Case) {
  const std::string key = Tool + "/" + Case.Name;
  const std::vector<std::string> argv = PeerArgv(Tool, Case, bench::CorpusFile(kFile));
  for (auto _ : State) {
    const bench::TyChildRun run = bench::RunChild(argv);
    if (run.Status != 0) State.SkipWithError((argv[0] + " failed").c_str());
    State.SetIterationTime(run.WallSeconds);
    results[key].Seconds.push_back(run.WallSeconds);
    results[key].PeakBytes = std::max(results[key].PeakBytes, run.PeakBytes);
  }
  State.counters["peak_MiB"] = static_cast<double>(results[key].PeakBytes) / (1 << 20);
}

double Median(std::vector<double> Values) {
  std::sort(Values.begin(), Values.end());
  const size_t n = Values.size();
  return n == 0 ? 0 : n % 2 ? Values[n / 2] : (Values[n / 2 - 1] + Values[n / 2]) / 2;
}

void PrintSummary() {
  const double size = static_cast<double>(ReadWholeFile(bench::CorpusFile(kFile)).size());
  std::printf("\n%-20s %10s %10s %12s\n", "case", "median s", "MiB/s", "peak MiB");
  for (const auto& [key, result] : results) {
    const double median = Median(result.Seconds);
    std::printf("%-20s %10.3f %10.1f %12.1f\n", key.c_str(), median, size / median / (1 << 20),
                static_cast<double>(result.PeakBytes) / (1 << 20));
  }
  std::printf("\n%-36s %8s %8s\n", "ratio (faster peer median / Xylem)", "ratio", "target");
  for (const TyReplaceCase& replaceCase : kCases) {
    const std::string name = replaceCase.Name;
    if (!results.count("xylem/" + name) || !results.count("perl/" + name) ||
        !results.count("sed/" + name))
      continue;
    const double peer =
        std::min(Median(results["perl/" + name].Seconds), Median(results["sed/" + name].Seconds));
    const double ratio = peer / Median(results["xylem/" + name].Seconds);
    std::printf("%-36s %8.2f %8s\n", name.c_str(), ratio, ratio >= 1.2 ? "met" : "MISSED");
  }
}

}  // namespace

int main(int argc, char** argv) {
  const char* repetitionsText = std::getenv("XYLEM_BENCH_REPETITIONS");
  const int repetitions = repetitionsText ? std::atoi(repetitionsText) : 3;
  if (!std::getenv("XYLEM_BENCH_NO_VERIFY")) VerifyOutputs();
  for (const TyReplaceCase& replaceCase : kCases) {
    const TyReplaceCase* use = &replaceCase;
    benchmark::RegisterBenchmark((std::string("xylem/") + use->Name).c_str(),
                                 [use](benchmark::State& s) { XylemCase(s, *use); })
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(repetitions)
        ->ReportAggregatesOnly(true)
        ->Unit(benchmark::kMillisecond);
    for (const char* tool : {"perl", "sed"})
      benchmark::RegisterBenchmark((std::string(tool) + "/" + use->Name).c_str(),
                                   [use, tool](benchmark::State& s) { PeerCase(s, tool, *use); })
          ->UseManualTime()
          ->Iterations(1)
          ->Repetitions(repetitions)
          ->ReportAggregatesOnly(true)
          ->Unit(benchmark::kMillisecond);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  PrintSummary();
  return 0;
}
