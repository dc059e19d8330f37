// The line-state scan of a loaded document and the editor's per-keystroke path.
//  - UpdateAllLines over big.xml with 1 and 2 pieces (MB/s of the UTF-8 file; process CPU
//    time, since the machine is shared), against a plain sequential tokenizer scan of the same
//    lines (no fast path, no pieces) as the baseline.
//  - One letter typed into the character data of a line in the middle: the line's text changes
//    through the text list, the after-edit repair runs, 60 visible lines are coloured. On
//    big.xml and on a small document cut from it, to show that the cost does not grow with
//    the document.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "support/Corpus.hpp"
#include "support/PeakMemory.hpp"
#include "text/TextFile.hpp"
#include "text/TextList.hpp"
#include "xml/lines/Coloring.hpp"
#include "xml/lines/LineColoring.hpp"
#include "xml/lines/LineState.hpp"
#include "xml/lines/RawXMLParser.hpp"

namespace {

using namespace xylem;

constexpr int64_t kSmallLines = 2000;
constexpr int64_t kVisibleLines = 60;

TxTextList& Big() {
  static TxTextList* list = [] {
    auto* l = new TxTextList;
    LoadTextFile(bench::CorpusFile("big.xml"), *l);
    return l;
  }();
  return *list;
}

TxTextList& Small() {
  static TxTextList* list = [] {
    auto* l = new TxTextList;
    l->InsertAtEnd(Big(), 1, kSmallLines);
    return l;
  }();
  return *list;
}

int64_t FileSize() {
  static const int64_t size =
      static_cast<int64_t>(bench::ReadFileBytes(bench::CorpusFile("big.xml")).size());
  return size;
}

int64_t TokenizerOnly(const TxTextItems& items) {
  TxXMLParser parser;
  uint64_t g = kXMLDocumentGroupWord, s = kXMLDocumentSymbolWord;
  int32_t last, lowest, highest;
  int64_t total = 0;
  const int64_t count = items.getCount();
  for (int64_t line = 1; line <= count; ++line) {
    parser.ScanUntilEOL(items.getItems(line)->TextUTF16.getText(), line == count, last, lowest,
                        highest, g, s);
    total += last;
  }
  return total ^ static_cast<int64_t>(g ^ s);
}

void BM_UpdateAllLines(benchmark::State& state) {
  TxTextList& list = Big();
  int64_t total = 0;
  for (auto _ : state) {
    CyXMLParserParallel::UpdateAllLines(list.getTextItems(), total,
                                        static_cast<int>(state.range(0)));
    benchmark::DoNotOptimize(total);
  }
  state.SetBytesProcessed(state.iterations() * FileSize());
  state.counters["lines"] = static_cast<double>(list.getCount());
  // Share of lines that the fast scan answers (outside the timing).
  int64_t fast = 0;
  for (int64_t line = 1; line <= list.getCount(); ++line) {
    const TxItem& item = *list.getItems(line);
    int32_t delta, lowest, highest;
    fast +=
        CyXMLParserEOL::ParseUntilEOL(item.TextUTF16.getText(), static_cast<uint64_t>(item.StackG),
                                      static_cast<uint64_t>(item.StackS), delta, lowest, highest)
            ? 1
            : 0;
  }
  state.counters["fast_path_share"] =
      static_cast<double>(fast) / static_cast<double>(list.getCount());
}

void BM_TokenizerOnlySequential(benchmark::State& state) {
  TxTextList& list = Big();
  for (auto _ : state) benchmark::DoNotOptimize(TokenizerOnly(list.getTextItems()));
  state.SetBytesProcessed(state.iterations() * FileSize());
}

// A line near the middle whose first '>' is followed by character data ("<leaf k=..>text</").
int64_t TypingLine(const TxTextList& list, size_t& at) {
  for (int64_t line = list.getCount() / 2; line <= list.getCount(); ++line) {
    const std::u16string_view text = list.getLine(line);
    const size_t close = text.find(u'>');
    if (close != std::u16string_view::npos && close + 1 < text.size() && text[close + 1] != u'<' &&
        text.find(u"</") != std::u16string_view::npos) {
      at = close + 1;
      return line;
    }
  }
  return 0;
}

void TypeOneLetter(benchmark::State& state, TxTextList& list) {
  TxTextItems& items = list.getTextItems();
  int64_t total = 0;
  CyXMLParserParallel::UpdateAllLines(items, total, 1);
  size_t at = 0;
  const int64_t line = TypingLine(list, at);
  if (line == 0) return state.SkipWithError("no line with character data");
  const std::u16string original(list.getLine(line));
  std::u16string typed = original;
  typed.insert(at, 1, u'x');
  const CyXMLColoring scheme;
  CyXMLLineColoring coloring(items, scheme);
  bool letterIn = false;
  int64_t rewritten = 0, painted = 0;
  for (auto _ : state) {
    // Typing and deleting the letter in turn keeps the document the same over the run.
    if (letterIn)
      list.Dent(line, {typed}, {original});
    else
      list.Dent(line, {original}, {typed});
    letterIn = !letterIn;
    rewritten += CyXMLLineStates::AfterEdit(items, line, 1, total);
    for (int64_t visible = line - kVisibleLines / 2; visible < line + kVisibleLines / 2; ++visible)
      for (coloring.FirstLine(visible); !coloring.IsDone(); coloring.Next())
        painted += coloring.ItemTextCount();
  }
  benchmark::DoNotOptimize(painted);
  state.counters["lines_rewritten_per_edit"] =
      static_cast<double>(rewritten) / static_cast<double>(state.iterations());
  state.counters["document_lines"] = static_cast<double>(list.getCount());
}

void BM_TypeOneLetter_Big(benchmark::State& state) { TypeOneLetter(state, Big()); }
void BM_TypeOneLetter_Small(benchmark::State& state) { TypeOneLetter(state, Small()); }

BENCHMARK(BM_TokenizerOnlySequential)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(3)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK(BM_UpdateAllLines)
    ->Arg(1)
    ->Arg(2)
    ->ArgName("pieces")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(3)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK(BM_TypeOneLetter_Big)->Unit(benchmark::kMicrosecond)->Repetitions(5);
BENCHMARK(BM_TypeOneLetter_Small)->Unit(benchmark::kMicrosecond)->Repetitions(5);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  // Peak memory first, each in a fresh child, before this process holds the document.
  const uint64_t loadPeak = bench::PeakMemoryOf([] {
    TxTextList list;
    LoadTextFile(bench::CorpusFile("big.xml"), list);
  });
  const uint64_t scanPeak = bench::PeakMemoryOf([] {
    TxTextList list;
    LoadTextFile(bench::CorpusFile("big.xml"), list);
    int64_t total = 0;
    CyXMLParserParallel::UpdateAllLines(list.getTextItems(), total, 2);
  });
  benchmark::AddCustomContext("peak_rss_load_MiB", std::to_string(loadPeak >> 20));
  benchmark::AddCustomContext("peak_rss_load_and_scan_MiB", std::to_string(scanPeak >> 20));
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
