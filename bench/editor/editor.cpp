// The editable document on a large XML file (XYLEM_BENCH_MIB, 1024 by default) and on a
// 2,000-line one in the same run: a typed character (edit, undo record, repair, 60 lines
// recoloured), a typed line break (near the last edit and far from it), a 100,000-line
// selection deleted and undone, a 10 MB paste, replace all of a common word and its undo, and
// peak memory after opening and after 10,000 typed characters. Medians of repetitions.
// Inputs are generated deterministically.

#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <string>

#include "editor/Document.hpp"
#include "editor/Search.hpp"
#include "support/ItemDocument.hpp"
#include "xml/lines/LineColoring.hpp"

namespace {

using namespace xylem;

struct TyFile {
  std::string Path;
  uint64_t Bytes = 0;
};

// 0: the small document (2,000 lines), 1: the large one.
const TyFile& File(int Which) {
  static std::map<int, TyFile> files;
  auto it = files.find(Which);
  if (it != files.end()) return it->second;
  TyFile file;
  file.Path = Which == 0
                  ? bench::MakeItemDocument(2000 * 110, "xylem_editor_small.xml")
                  : bench::MakeItemDocument(bench::BenchBytes(1024), "xylem_editor_large.xml");
  std::ifstream in(file.Path, std::ios::binary | std::ios::ate);
  file.Bytes = static_cast<uint64_t>(in.tellg());
  return files[Which] = file;
}

TxMarkupDocument& Document(int Which) {
  static std::map<int, std::unique_ptr<TxMarkupDocument>> docs;
  auto& doc = docs[Which];
  if (!doc) {
    doc = std::make_unique<TxMarkupDocument>();
    doc->LoadFromFile(File(Which).Path);
  }
  return *doc;
}

void BM_TypeCharacter(benchmark::State& State, bool Recolor) {
  TxMarkupDocument& doc = Document(static_cast<int>(State.range(0)));
  CyXMLColoring scheme;
  CyXMLLineColoring coloring(const_cast<TxTextList&>(doc.getTextList()).getTextItems(), scheme);
  const int64_t line = doc.getLineCount() / 2;
  uint64_t tokens = 0;
  for (auto _ : State) {
    doc.CloseUndoStep();
    const auto start = std::chrono::steady_clock::now();
    doc.InsertText({line, 5}, u"x", TyEditKind::ekTyping);
    if (Recolor)
      for (int64_t l = line; l < line + 60; ++l)
        for (coloring.FirstLine(l); !coloring.IsDone(); coloring.Next()) ++tokens;
    const auto end = std::chrono::steady_clock::now();
    State.SetIterationTime(std::chrono::duration<double>(end - start).count());
    doc.DeleteRange({{line, 5}, {line, 6}}, TyEditKind::ekDelete);
  }
  benchmark::DoNotOptimize(tokens);
  State.counters["lines"] = static_cast<double>(doc.getLineCount());
}

// A line break typed in the middle and taken out again: the line count changes, so before the
// records had a gap this moved every record behind the line. Arg 2 alternates between a
// quarter and three quarters of the large document, so the gap crosses half the records each
// time (the cost of the first edit far from the last one).
void BM_TypeNewline(benchmark::State& State) {
  const bool far = State.range(0) == 2;
  TxMarkupDocument& doc = Document(far ? 1 : static_cast<int>(State.range(0)));
  bool upper = false;
  for (auto _ : State) {
    const int64_t line = far ? (upper ? 3 : 1) * doc.getLineCount() / 4 : doc.getLineCount() / 2;
    upper = !upper;
    doc.CloseUndoStep();
    const auto start = std::chrono::steady_clock::now();
    doc.InsertText({line, 5}, u"\n", TyEditKind::ekTyping);
    const auto end = std::chrono::steady_clock::now();
    State.SetIterationTime(std::chrono::duration<double>(end - start).count());
    doc.DeleteRange({{line, 5}, {line + 1, 1}}, TyEditKind::ekDelete);
  }
}

void BM_DeleteLines(benchmark::State& State, bool MeasureUndo) {
  TxMarkupDocument& doc = Document(1);
  const int64_t first = doc.getLineCount() / 2;
  for (auto _ : State) {
    auto start = std::chrono::steady_clock::now();
    doc.DeleteRange({{first, 1}, {first + 100000, 1}});
    auto end = std::chrono::steady_clock::now();
    if (MeasureUndo) start = std::chrono::steady_clock::now();
    doc.Undo();
    if (MeasureUndo) end = std::chrono::steady_clock::now();
    State.SetIterationTime(std::chrono::duration<double>(end - start).count());
  }
}

void BM_Paste10MB(benchmark::State& State) {
  TxMarkupDocument& doc = Document(static_cast<int>(State.range(0)));
  std::string utf8;
  for (uint64_t i = 0; utf8.size() < 10u << 20; ++i) utf8 += bench::ItemLine(i);
  const std::u16string paste(utf8.begin(), utf8.end());
  const int64_t line = doc.getLineCount() / 2;
  for (auto _ : State) {
    const auto start = std::chrono::steady_clock::now();
    doc.InsertText({line, 1}, paste);
    const auto end = std::chrono::steady_clock::now();
    State.SetIterationTime(std::chrono::duration<double>(end - start).count());
    doc.Undo();
  }
}

void BM_ReplaceAll(benchmark::State& State, bool MeasureUndo) {
  TxMarkupDocument& doc = Document(static_cast<int>(State.range(0)));
  TySearchQuery query;
  query.SearchWhat = u"common";
  query.CaseSensitive = true;
  int64_t count = 0;
  for (auto _ : State) {
    auto start = std::chrono::steady_clock::now();
    ReplaceAllInDocument(doc, query, u"usual", count);
    auto end = std::chrono::steady_clock::now();
    if (MeasureUndo) start = std::chrono::steady_clock::now();
    doc.Undo();
    if (MeasureUndo) end = std::chrono::steady_clock::now();
    State.SetIterationTime(std::chrono::duration<double>(end - start).count());
  }
  State.counters["replaced"] = static_cast<double>(count);
}

// Resident and peak memory (bytes) of this process, from /proc/self/status.
void ReadMemory(uint64_t& Resident, uint64_t& Peak) {
  std::ifstream status("/proc/self/status");
  std::string key;
  uint64_t kib = 0;
  std::string unit;
  while (status >> key) {
    if (key == "VmRSS:" || key == "VmHWM:") {
      status >> kib >> unit;
      (key == "VmRSS:" ? Resident : Peak) = kib << 10;
    }
  }
}

// In a child process (a clean baseline): open the large document, read resident and peak
// memory, type 10,000 characters in the middle, read the resident memory again.
void BM_Memory(benchmark::State& State) {
  const TyFile& file = File(1);
  uint64_t values[3] = {0, 0, 0};
  for (auto _ : State) {
    int fds[2];
    if (pipe(fds) != 0) return;
    const pid_t child = fork();
    if (child == 0) {
      uint64_t out[3] = {0, 0, 0};
      {
        TxMarkupDocument doc;
        doc.LoadFromFile(file.Path);
        ReadMemory(out[0], out[1]);
        doc.setSelection(TySelection::At({doc.getLineCount() / 2, 3}));
        for (int i = 0; i < 10000; ++i) doc.TypeText(i % 7 == 6 ? u" " : u"x");
        uint64_t ignored = 0;
        ReadMemory(out[2], ignored);
        if (write(fds[1], out, sizeof out) != sizeof out) _exit(1);
      }
      _exit(0);
    }
    close(fds[1]);
    if (read(fds[0], values, sizeof values) != sizeof values) values[0] = values[1] = values[2] = 0;
    close(fds[0]);
    waitpid(child, nullptr, 0);
  }
  const double bytes = static_cast<double>(file.Bytes);
  State.counters["file_MiB"] = bytes / (1 << 20);
  State.counters["resident_per_byte"] = static_cast<double>(values[0]) / bytes;
  State.counters["peak_per_byte"] = static_cast<double>(values[1]) / bytes;
  State.counters["typed_growth_pct"] =
      values[0] ? 100.0 * (static_cast<double>(values[2]) - static_cast<double>(values[0])) /
                      static_cast<double>(values[0])
                : 0;
}

}  // namespace

BENCHMARK(BM_Memory)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK_CAPTURE(BM_TypeCharacter, edit_repair_recolor60, true)
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK_CAPTURE(BM_TypeCharacter, edit_repair_only, false)
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_TypeNewline)
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_TypeNewline)
    ->Arg(2)
    ->UseManualTime()
    ->Iterations(2)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMillisecond);
// One iteration per repetition: the median leaves out the first run, which moves the records'
// gap to the edit (and grows it), a cost BM_TypeNewline/2 shows on its own.
BENCHMARK_CAPTURE(BM_DeleteLines, delete_100k_lines, false)
    ->UseManualTime()
    ->Iterations(1)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_DeleteLines, undo_delete_100k_lines, true)
    ->UseManualTime()
    ->Iterations(1)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Paste10MB)
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Iterations(1)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ReplaceAll, replace_all, false)
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Iterations(2)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ReplaceAll, undo_replace_all, true)
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Iterations(2)
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
