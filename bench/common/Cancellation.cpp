// Cancellation latency of the long stages: the time from a stop request to the stage having
// returned (with CyCancelledException), for the load, the well-formedness check and the
// formatter's file route, on a generated document of 256 MiB (XYLEM_BENCH_MIB shrinks it).
// Stop is requested from the progress sink when the stage has done a given share of its work
// (the argument, in percent), so each case stops inside a known part of the stage. The target
// is at most 50 ms; medians are reported in milliseconds, with the stage's own time to the stop
// for scale and the process's peak memory.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <stop_token>
#include <string>

#include "common/Progress.hpp"
#include "common/TaskPool.hpp"
#include "text/TextFile.hpp"
#include "xml/check/WellFormed.hpp"
#include "xml/format/Formatter.hpp"

namespace {

using namespace xylem;
using Clock = std::chrono::steady_clock;

size_t DocumentBytes() {
  const char* mib = std::getenv("XYLEM_BENCH_MIB");
  return (mib ? std::strtoull(mib, nullptr, 10) : 256) << 20;
}

// Items of a catalog, as the format and check benchmarks read them: tags, attributes, text
// with a reference, an empty element; about 90 bytes a line.
const std::string& Document() {
  static const std::string doc = [] {
    const size_t size = DocumentBytes();
    std::string text = "<?xml version=\"1.0\"?>\n<catalog>\n";
    text.reserve(size + 200);
    for (int i = 0; text.size() < size; ++i)
      text += "  <item id=\"" + std::to_string(i) + "\" kind=\"k" + std::to_string(i % 7) +
              "\"><name>Item &amp; part " + std::to_string(i) + "</name><empty/></item>\n";
    return text + "</catalog>\n";
  }();
  return doc;
}

CyTaskPool& Pool() {
  static CyTaskPool pool(CyTasks::ProcessorCount() - 1);
  return pool;
}

// Asks for stop once Stage has done Percent of its total, and notes when.
class CyStopAt : public CyProgressCounter {
 public:
  CyStopAt(const char* Stage, int64_t Percent) : Stage_(Stage), Percent_(Percent) {}
  std::stop_token getToken() const { return Stop_.get_token(); }
  Clock::time_point getStopTime() const { return StopTime_; }

  void Begin(const char* Stage, uint64_t Total) override {
    CyProgressCounter::Begin(Stage, Total);
    if (std::string_view(Stage) == Stage_)
      Threshold_ = Total * static_cast<uint64_t>(Percent_) / 100;
  }
  void Advance(uint64_t Count) override {
    CyProgressCounter::Advance(Count);
    if (Threshold_ == 0 || Snapshot().Done < Threshold_ || Asked_.exchange(true)) return;
    StopTime_ = Clock::now();
    Stop_.request_stop();
  }

 private:
  std::string_view Stage_;
  int64_t Percent_;
  uint64_t Threshold_ = 0;  // 0 until the stage begins
  std::atomic<bool> Asked_{false};
  std::stop_source Stop_;
  Clock::time_point StopTime_;
};

// Runs Stage under a job that stops at Percent of StageName; reports the latency as the
// iteration's time and the time to the stop as a counter.
template <typename TyStage>
void MeasureStop(benchmark::State& state, const char* StageName, TyStage Stage) {
  double beforeStop = 0;
  for (auto _ : state) {
    CyStopAt sink(StageName, state.range(0));
    TyJobContext job;
    job.Pool = &Pool();
    job.Progress = &sink;
    job.StopToken = sink.getToken();
    const Clock::time_point start = Clock::now();
    bool cancelled = false;
    try {
      Stage(job);
    } catch (const CyCancelledException&) {
      cancelled = true;
    }
    const Clock::time_point end = Clock::now();
    if (!cancelled) {
      state.SkipWithError("the stage ran to its end");
      break;
    }
    state.SetIterationTime(std::chrono::duration<double>(end - sink.getStopTime()).count());
    beforeStop += std::chrono::duration<double>(sink.getStopTime() - start).count();
  }
  state.counters["to_stop_ms"] = 1000 * beforeStop / static_cast<double>(state.iterations());
}

void BM_CancelLoad(benchmark::State& state) {
  const std::string& doc = Document();
  MeasureStop(state, "Loading", [&](const TyJobContext& Job) {
    TxTextList list;
    TyTextFileLoadOptions options;
    options.Job = &Job;
    LoadTextBytes(doc, "doc.xml", list, options);
  });
}

TxTextList& LoadedList() {
  static TxTextList list;
  if (list.getCount() <= 1) LoadTextBytes(Document(), "doc.xml", list);
  return list;
}

void BM_CancelCheck(benchmark::State& state) {
  TxTextList& list = LoadedList();
  MeasureStop(state, "Checking", [&](const TyJobContext& Job) {
    int64_t total = 0;
    CyXMLWellFormed::StoreLineStatesAndCheck_PARALLEL(list, total, 0, Job);
  });
}

void BM_CancelFormat(benchmark::State& state) {
  const TxTextList& list = LoadedList();
  const TyXMLFormatterChoices choices = TyXMLFormatterChoices::FromSettings(CySettings());
  MeasureStop(state, "Formatting", [&](const TyJobContext& Job) {
    const int fd = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    const TyTextFileFormat format;
    CyTextFileWriter out(fd, "/dev/null", format);
    CyXMLFormatter::FormatToFile__PARALLEL__(list, out, format, choices, 0, int64_t{1} << 20, Job);
  });
}

// Load: decoding, counting line ends, filling records; format: first pass, writing pass.
BENCHMARK(BM_CancelLoad)
    ->Arg(15)
    ->Arg(50)
    ->Arg(85)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(1)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_CancelCheck)
    ->Arg(50)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(1)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_CancelFormat)
    ->Arg(25)
    ->Arg(75)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(1)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::AddCustomContext("document_MiB", std::to_string(DocumentBytes() >> 20));
  benchmark::AddCustomContext("workers", std::to_string(Pool().getWorkerCount()));
  benchmark::RunSpecifiedBenchmarks();
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  std::printf("peak_rss_MiB: %ld\n", usage.ru_maxrss >> 10);
  benchmark::Shutdown();
  return 0;
}
