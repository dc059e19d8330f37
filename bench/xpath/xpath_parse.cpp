// Parsing throughput over the 100,000 expressions of xpaths.txt from the Expr start rule on one
// thread, with the tokenizer alone as a baseline (the share of lexing in the parse).

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "common/Exception.hpp"
#include "common/Utf.hpp"
#include "support/Corpus.hpp"
#include "xpath/Parser.hpp"

namespace {

using namespace xylem;

const std::vector<std::u16string>& Expressions() {
  static const std::vector<std::u16string> Lines = [] {
    std::vector<std::u16string> Result;
    std::string Bytes = bench::ReadFileBytes(bench::CorpusFile("xpaths.txt"));
    size_t Start = 0;
    while (Start < Bytes.size()) {
      size_t End = Bytes.find('\n', Start);
      if (End == std::string::npos) End = Bytes.size();
      Result.push_back(ToUTF16(std::string_view(Bytes).substr(Start, End - Start)));
      Start = End + 1;
    }
    return Result;
  }();
  return Lines;
}

void BM_ParseExpr(benchmark::State& State) {
  const auto& Lines = Expressions();
  int64_t Rejected = 0;
  for (auto _ : State) {
    Rejected = 0;
    for (const auto& Line : Lines) {
      CyXPath31Parser Parser(Line.c_str(), xprExpr);
      try {
        Parser.Parse();
      } catch (const CyException&) {
        ++Rejected;
      }
    }
  }
  State.SetItemsProcessed(State.iterations() * int64_t(Lines.size()));
  State.counters["rejected"] = double(Rejected);
}
BENCHMARK(BM_ParseExpr)->Unit(benchmark::kMillisecond)->MinTime(2.0);

void BM_TokenizeOnly(benchmark::State& State) {
  const auto& Lines = Expressions();
  size_t Steps = 0;
  for (auto _ : State) {
    for (const auto& Line : Lines) {
      CyXPath31Tokenizer Tokenizer(Line.c_str(), false);
      Steps += Tokenizer.XPath31Steps().size();
    }
  }
  benchmark::DoNotOptimize(Steps);
  State.SetItemsProcessed(State.iterations() * int64_t(Lines.size()));
}
BENCHMARK(BM_TokenizeOnly)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
