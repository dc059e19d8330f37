// Loading the 256 MiB corpus file into a text list with 1 and 2 pieces, against a plain
// single-threaded reference (read the file, decode it to UTF-16 with a simple loop, record the
// line starts). Reports throughput of input bytes and peak memory per input byte (measured in
// a child process per case).
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "support/Corpus.hpp"
#include "support/PeakMemory.hpp"
#include "text/PageMemory.hpp"
#include "text/TextFile.hpp"

namespace {

using namespace xylem;

const std::string& corpusPath() {
  static const std::string path = bench::CorpusFile("big.xml");
  return path;
}

size_t corpusSize() {
  static const size_t size = [] {
    std::FILE* file = std::fopen(corpusPath().c_str(), "rb");
    std::fseek(file, 0, SEEK_END);
    const long size = std::ftell(file);
    std::fclose(file);
    return static_cast<size_t>(size);
  }();
  return size;
}

int64_t loadWithPieces(int Pieces) {
  TxTextList list;
  TyTextFileLoadOptions options;
  options.PieceCount = Pieces;
  LoadTextFile(corpusPath(), list, options);
  return list.getCount();
}

// The reference a careful programmer writes without tuning.
int64_t loadPlain() {
  std::string bytes(corpusSize(), '\0');
  std::ifstream(corpusPath(), std::ios::binary)
      .read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  std::u16string text;
  text.reserve(bytes.size());
  std::vector<size_t> lineStarts{0};
  const auto* in = reinterpret_cast<const unsigned char*>(bytes.data());
  const auto* end = in + bytes.size();
  while (in < end) {
    uint32_t code = *in++;
    int extra = code >= 0xF0 ? 3 : code >= 0xE0 ? 2 : code >= 0xC0 ? 1 : 0;
    if (extra) code &= 0x3Fu >> extra;
    while (extra-- > 0 && in < end) code = (code << 6) | (*in++ & 0x3F);
    if (code >= 0x10000) {
      text.push_back(static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10)));
      text.push_back(static_cast<char16_t>(0xDC00 + (code & 0x3FF)));
    } else {
      text.push_back(static_cast<char16_t>(code));
      if (code == '\n') lineStarts.push_back(text.size());
    }
  }
  return static_cast<int64_t>(lineStarts.size());
}

double processCPUSeconds() {
  struct rusage usage {};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
}

void report(benchmark::State& State, const std::function<int64_t()>& Load) {
  // Peak first, from a parent that holds no retained buffers, so the child starts clean; the
  // child's wall time is the load of a fresh process (memory never touched before).
  CyPageMemory::ReleaseRetained();
  const auto start = std::chrono::steady_clock::now();
  const uint64_t peak = bench::PeakMemoryOf([&] { Load(); });
  const double freshProcess =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  int64_t lines = 0;
  const double cpuStart = processCPUSeconds();
  for (auto _ : State) lines = Load();
  const double cpu = processCPUSeconds() - cpuStart;
  State.SetBytesProcessed(static_cast<int64_t>(State.iterations() * corpusSize()));
  State.counters["lines"] = static_cast<double>(lines);
  // CPU of all threads per load: on a shared machine the wall time depends on the neighbours.
  State.counters["process_cpu_ms_per_load"] = cpu * 1e3 / static_cast<double>(State.iterations());
  State.counters["fresh_process_ms"] = freshProcess * 1e3;
  State.counters["peak_MiB"] = static_cast<double>(peak) / (1 << 20);
  State.counters["peak_bytes_per_input_byte"] =
      static_cast<double>(peak) / static_cast<double>(corpusSize());
}

void BM_TextListLoad(benchmark::State& State) {
  const int pieces = static_cast<int>(State.range(0));
  report(State, [pieces] { return loadWithPieces(pieces); });
}

void BM_PlainReference(benchmark::State& State) { report(State, loadPlain); }

}  // namespace

BENCHMARK(BM_TextListLoad)
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->Repetitions(5)
    ->UseRealTime();
BENCHMARK(BM_PlainReference)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(5)
    ->UseRealTime();

BENCHMARK_MAIN();
