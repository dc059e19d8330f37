// Formatting big.xml (256 MiB) and big.oneline.xml (64 MiB) with the default choices,
// including the load of the file into a text list and the UTF-8 output to /dev/null, against
// `xmllint --format file > /dev/null` run as a child process in the same run: the tool's route
// (streamed, in parts at once) and, for reference, the editor's route through the tree. Peak
// memory of each is measured in a child process before the timings.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/ChildProcess.hpp"
#include "support/Corpus.hpp"
#include "support/PeakMemory.hpp"
#include "text/TextFile.hpp"
#include "text/TextFileWriter.hpp"
#include "xml/format/Formatter.hpp"
#include "xml/format/WriterFileStream.hpp"

extern char** environ;

namespace {

using namespace xylem;

// Tree: through the node tree (the editor's route); else streamed (the tool's).
void FormatFile(const std::string& path, bool Tree) {
  TxTextList list;
  const TyTextFileFormat format = LoadTextFile(path, list);
  const TyXMLFormatterChoices choices = TyXMLFormatterChoices::FromSettings(CySettings());
  const int fd = ::open("/dev/null", O_WRONLY);
  CyTextFileWriter file(fd, "/dev/null", format);
  if (Tree) {
    CyXMLWriterFileOutputStream out(file);
    TxXMLParser parser;
    CyXMLFormatter::Format(list, parser, u"", out, choices.XMLFormattingOptions,
                           choices.XMLLayoutOptions, CyXMLWordList(choices.WordsD),
                           CyXMLWordList(choices.WordsP));
  } else {
    CyXMLFormatter::FormatToFile__PARALLEL__(list, file, format, choices);
  }
  file.Commit();
  ::close(fd);
}

void BM_XylemFormat(benchmark::State& state, const char* file) {
  const std::string path = bench::CorpusFile(file);
  for (auto _ : state) FormatFile(path, false);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(bench::ReadFileBytes(path).size()));
}

void BM_XylemFormatTree(benchmark::State& state, const char* file) {
  const std::string path = bench::CorpusFile(file);
  for (auto _ : state) FormatFile(path, true);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(bench::ReadFileBytes(path).size()));
}

void BM_XmllintFormat(benchmark::State& state, const char* file) {
  const std::string path = bench::CorpusFile(file);
  for (auto _ : state)
    if (bench::RunChild({"xmllint", "--format", path}).Status != 0)
      state.SkipWithError("xmllint failed");
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(bench::ReadFileBytes(path).size()));
}

BENCHMARK_CAPTURE(BM_XylemFormat, big, "big.xml")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1)
    ->Repetitions(3);
BENCHMARK_CAPTURE(BM_XylemFormatTree, big, "big.xml")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1)
    ->Repetitions(3);
BENCHMARK_CAPTURE(BM_XmllintFormat, big, "big.xml")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1)
    ->Repetitions(3);
BENCHMARK_CAPTURE(BM_XylemFormat, oneline, "big.oneline.xml")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1)
    ->Repetitions(3);
BENCHMARK_CAPTURE(BM_XylemFormatTree, oneline, "big.oneline.xml")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1)
    ->Repetitions(3);
BENCHMARK_CAPTURE(BM_XmllintFormat, oneline, "big.oneline.xml")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1)
    ->Repetitions(3);

}  // namespace

int main(int argc, char** argv) {
  // XYLEM_BENCH_NO_PEAK=1 skips the memory measurement (for quick timing runs).
  const char* skip = std::getenv("XYLEM_BENCH_NO_PEAK");
  for (const char* file : {"big.xml", "big.oneline.xml"}) {
    if (skip && *skip == '1') break;
    const std::string path = bench::CorpusFile(file);
    const uint64_t ours = bench::PeakMemoryOf([&] { FormatFile(path, false); });
    const uint64_t tree = bench::PeakMemoryOf([&] { FormatFile(path, true); });
    const uint64_t theirs = bench::RunChild({"xmllint", "--format", path}).PeakBytes;
    std::printf(
        "peak memory %s: xylem %.0f MiB (through the tree %.0f MiB), xmllint %.0f MiB (ratio "
        "%.2f)\n",
        file, ours / 1048576.0, tree / 1048576.0, theirs / 1048576.0,
        theirs ? double(ours) / double(theirs) : 0.0);
  }
  std::fflush(stdout);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
