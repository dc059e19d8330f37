// Throughput of the line-by-line tokenizer against expat on the same UTF-8 file, in one run.
// Both are counted in bytes of the UTF-8 file. Decoding and line splitting are setup, as they
// are done once at load; the tokenizer case is ScanUntilEOL over every line on one thread,
// carrying the two state words as the line-state scan does.
#include <benchmark/benchmark.h>
#include <expat.h>

#include <cstdio>
#include <string>
#include <vector>

#include "common/Utf.hpp"
#include "support/Corpus.hpp"
#include "support/PeakMemory.hpp"
#include "xml/syntax/Tokenizer.hpp"

namespace {

using namespace xylem;

struct TyLines {
  std::u16string Buffer;                // decoded text, each line end's first unit made NUL
  std::vector<const char16_t*> Starts;  // first character of each line
};

const std::string& FileBytes() {
  static const std::string bytes = bench::ReadFileBytes(bench::CorpusFile("big.xml"));
  return bytes;
}

// Decodes and cuts into NUL-terminated lines the way the loader does (the CR of a CR LF
// becomes the NUL, the LF stays behind it).
TyLines Split(const std::string& bytes) {
  TyLines lines;
  lines.Buffer.resize(bytes.size() + 1);
  const auto* in = reinterpret_cast<const uint8_t*>(bytes.data());
  const size_t n = DecodeUTF8(in, in + bytes.size(), lines.Buffer.data()).Written;
  lines.Buffer.resize(n + 1);
  lines.Buffer[n] = 0;
  char16_t* p = lines.Buffer.data();
  lines.Starts.push_back(p);
  for (size_t i = 0; i < n; ++i) {
    if (p[i] == u'\r' || p[i] == u'\n') {
      const bool pair = p[i] == u'\r' && p[i + 1] == u'\n';
      p[i] = 0;
      if (pair) ++i;
      lines.Starts.push_back(p + i + 1);
    }
  }
  return lines;
}

const TyLines& Lines() {
  static const TyLines lines = Split(FileBytes());
  return lines;
}

uint64_t ScanAll(const TyLines& lines) {
  TxXMLParser parser;
  uint64_t g = kXMLDocumentGroupWord, s = kXMLDocumentSymbolWord;
  int32_t last, lowest, highest;
  int64_t total = 0;
  const size_t count = lines.Starts.size();
  for (size_t i = 0; i < count; ++i) {
    parser.ScanUntilEOL(lines.Starts[i], i + 1 == count, last, lowest, highest, g, s);
    total += last;
  }
  return g ^ s ^ static_cast<uint64_t>(total);
}

struct TyExpatCounts {
  uint64_t Elements = 0;
  uint64_t CharacterData = 0;
};

void XMLCALL OnStart(void* data, const XML_Char*, const XML_Char**) {
  ++static_cast<TyExpatCounts*>(data)->Elements;
}
void XMLCALL OnEnd(void*, const XML_Char*) {}
void XMLCALL OnText(void* data, const XML_Char*, int len) {
  static_cast<TyExpatCounts*>(data)->CharacterData += static_cast<uint64_t>(len);
}

bool ParseWithExpat(const std::string& bytes, TyExpatCounts& counts) {
  XML_Parser parser = XML_ParserCreate(nullptr);
  XML_SetUserData(parser, &counts);
  XML_SetElementHandler(parser, OnStart, OnEnd);
  XML_SetCharacterDataHandler(parser, OnText);
  const bool ok =
      XML_Parse(parser, bytes.data(), static_cast<int>(bytes.size()), 1) == XML_STATUS_OK;
  if (!ok)
    std::fprintf(stderr, "expat: %s at line %lu\n", XML_ErrorString(XML_GetErrorCode(parser)),
                 static_cast<unsigned long>(XML_GetCurrentLineNumber(parser)));
  XML_ParserFree(parser);
  return ok;
}

void BM_TokenizerScanUntilEOL(benchmark::State& state) {
  const TyLines& lines = Lines();
  for (auto _ : state) benchmark::DoNotOptimize(ScanAll(lines));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * FileBytes().size()));
  state.counters["lines"] = static_cast<double>(lines.Starts.size());
}

void BM_ExpatParse(benchmark::State& state) {
  const std::string& bytes = FileBytes();
  for (auto _ : state) {
    TyExpatCounts counts;
    if (!ParseWithExpat(bytes, counts)) state.SkipWithError("expat failed");
    benchmark::DoNotOptimize(counts.Elements);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
}

BENCHMARK(BM_TokenizerScanUntilEOL)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(5);
BENCHMARK(BM_ExpatParse)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(5);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  // Peak memory first, each in a fresh child, before this process holds any of the data.
  const uint64_t tokenizerPeak = bench::PeakMemoryOf([] {
    const TyLines lines = Split(FileBytes());
    benchmark::DoNotOptimize(ScanAll(lines));
  });
  const uint64_t expatPeak = bench::PeakMemoryOf([] {
    TyExpatCounts counts;
    ParseWithExpat(FileBytes(), counts);
  });
  benchmark::AddCustomContext("peak_rss_tokenizer_MiB",
                              std::to_string(tokenizerPeak >> 20) + " (file + UTF-16 + lines)");
  benchmark::AddCustomContext("peak_rss_expat_MiB", std::to_string(expatPeak >> 20) + " (file)");
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
