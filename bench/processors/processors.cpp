// Validation and XPath through the processors, against xmllint in the same run: a large
// document (XYLEM_BENCH_MIB, 100 by default) validated against an XML Schema by libxml2 in
// process, by Xerces-J through the host and by `xmllint --noout --schema`; 1,000 small XPath
// evaluations through one host against a JVM started per evaluation; an XPath 1.0 expression on
// the large document through the host against `xmllint --xpath`. Inputs are generated
// deterministically.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "processors/HostRequests.hpp"
#include "processors/JavaHost.hpp"
#include "processors/Validation.hpp"
#include "support/ChildProcess.hpp"
#include "support/PeakMemory.hpp"

namespace {

using namespace xylem;

const char* kSchema = R"(<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">
  <xs:element name="records"><xs:complexType><xs:sequence>
    <xs:element name="record" maxOccurs="unbounded"><xs:complexType><xs:sequence>
      <xs:element name="name" type="xs:string"/>
      <xs:element name="amount" type="xs:decimal"/>
      <xs:element name="date" type="xs:date"/>
    </xs:sequence><xs:attribute name="id" type="xs:int" use="required"/>
    </xs:complexType></xs:element>
  </xs:sequence></xs:complexType></xs:element>
</xs:schema>
)";
const char* kXPath1 = "count(//record[@id mod 7 = 0][amount > 500])";

std::string TempPath(const std::string& Name) {
  return std::string(std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "/tmp") + "/" + Name;
}

struct TyInputs {
  std::string Document, Schema;
  uint64_t Bytes = 0;
};

const TyInputs& Inputs() {
  static const TyInputs inputs = [] {
    TyInputs made;
    made.Schema = TempPath("xylem_processors_bench.xsd");
    std::ofstream(made.Schema, std::ios::binary) << kSchema;
    made.Document = TempPath("xylem_processors_bench.xml");
    const char* mib = std::getenv("XYLEM_BENCH_MIB");
    const uint64_t target = static_cast<uint64_t>(mib ? std::atoll(mib) : 100) << 20;
    std::ofstream out(made.Document, std::ios::binary);
    out << "<records>\n";
    std::string chunk;
    made.Bytes = 11;
    for (uint64_t i = 0; made.Bytes + chunk.size() < target; ++i) {
      chunk += "  <record id=\"" + std::to_string(i) + "\"><name>name " + std::to_string(i * 31) +
               "</name><amount>" + std::to_string((i * 7919) % 1000) + ".25</amount><date>20" +
               std::to_string(10 + i % 15) + "-0" + std::to_string(1 + i % 9) + "-1" +
               std::to_string(i % 9) + "</date></record>\n";
      if (chunk.size() > (1u << 20)) {
        out << chunk;
        made.Bytes += chunk.size();
        chunk.clear();
      }
    }
    out << chunk << "</records>\n";
    made.Bytes += chunk.size();
    return made;
  }();
  return inputs;
}

void Validate(benchmark::State& State, TyValidationProcessor Processor) {
  const TyInputs& inputs = Inputs();
  TyValidationRequest request;
  request.DocumentPath = inputs.Document;
  request.SchemaPath = inputs.Schema;
  request.Processor = Processor;
  CyJavaHost* host = CyJavaHost::IsBuiltIn() ? &CyJavaHost::Shared() : nullptr;
  if (Processor == TyValidationProcessor::vpXerces) {
    if (!host) return State.SkipWithError("built without the Java host");
    EvaluateXPath(*host, {"1", {}, {}, {}});  // the JVM's start is not the validation's cost
  }
  for (auto _ : State) {
    const TyValidationResult result = ValidateDocument(request, host);
    if (result.Verdict != TyValidationVerdict::vvValid)
      return State.SkipWithError("the generated document should be valid");
  }
  State.SetBytesProcessed(static_cast<int64_t>(State.iterations() * inputs.Bytes));
  if (Processor == TyValidationProcessor::vpLibXml2)
    State.counters["peak_MiB"] =
        static_cast<double>(bench::PeakMemoryOf([&] { ValidateDocument(request, nullptr); })) /
        (1 << 20);
}

void BM_ValidateLibXml2InProcess(benchmark::State& State) {
  Validate(State, TyValidationProcessor::vpLibXml2);
}
void BM_ValidateXercesThroughHost(benchmark::State& State) {
  Validate(State, TyValidationProcessor::vpXerces);
}

// A peer tool's run measured by the child's own clock; reported as manual time.
void Child(benchmark::State& State, const std::vector<std::string>& Argv) {
  const TyInputs& inputs = Inputs();
  double peak = 0;
  for (auto _ : State) {
    const bench::TyChildRun run = bench::RunChild(Argv);
    if (run.Status != 0) return State.SkipWithError("the peer tool failed or is not installed");
    State.SetIterationTime(run.WallSeconds);
    peak = static_cast<double>(run.PeakBytes) / (1 << 20);
  }
  State.SetBytesProcessed(static_cast<int64_t>(State.iterations() * inputs.Bytes));
  State.counters["peak_MiB"] = peak;
}

void BM_ValidateXmllint(benchmark::State& State) {
  Child(State, {"xmllint", "--noout", "--schema", Inputs().Schema, Inputs().Document});
}

// 1,000 small evaluations, each a request to the one host.
void BM_XPath1000ThroughOneHost(benchmark::State& State) {
  if (!CyJavaHost::IsBuiltIn()) return State.SkipWithError("built without the Java host");
  CyJavaHost& host = CyJavaHost::Shared();
  TyXPathEvaluation request{
      "string-join(for $i in 1 to 5 return string($i * $x), ',')", {}, {}, {}};
  EvaluateXPath(host, request);  // started outside the measured loop, as a session would have it
  int64_t n = 0;
  for (auto _ : State) {
    for (int i = 0; i < 1000; ++i) {
      request.Variables["x"] = std::to_string(++n);
      if (!EvaluateXPath(host, request).Ok) return State.SkipWithError("evaluation failed");
    }
  }
  State.SetItemsProcessed(State.iterations() * 1000);
}

// The same evaluation with a JVM started for each; timed on a sample and given per evaluation
// (items/s compare directly with the host's).
void BM_XPathJVMPerEvaluation(benchmark::State& State) {
  if (!CyJavaHost::IsBuiltIn()) return State.SkipWithError("built without the Java host");
  TyXPathEvaluation request{
      "string-join(for $i in 1 to 5 return string($i * $x), ',')", {}, {}, {}};
  request.Variables["x"] = "3";
  for (auto _ : State) {
    CyJavaHost host;
    if (!EvaluateXPath(host, request).Ok) return State.SkipWithError("evaluation failed");
  }
  State.SetItemsProcessed(State.iterations());
}

void BM_XPathLargeDocumentThroughHost(benchmark::State& State) {
  if (!CyJavaHost::IsBuiltIn()) return State.SkipWithError("built without the Java host");
  const TyInputs& inputs = Inputs();
  CyJavaHost& host = CyJavaHost::Shared();
  TyXPathEvaluation request{kXPath1, {}, {}, {}};
  request.Document.Path = inputs.Document;
  for (auto _ : State)
    if (!EvaluateXPath(host, request).Ok) return State.SkipWithError("evaluation failed");
  State.SetBytesProcessed(static_cast<int64_t>(State.iterations() * inputs.Bytes));
}

void BM_XPathLargeDocumentXmllint(benchmark::State& State) {
  Child(State, {"xmllint", "--xpath", kXPath1, Inputs().Document});
}

// The host works in another process, so its rates count wall time, not this process's CPU time.
BENCHMARK(BM_ValidateLibXml2InProcess)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(BM_ValidateXercesThroughHost)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->UseRealTime();
BENCHMARK(BM_ValidateXmllint)->Unit(benchmark::kMillisecond)->Iterations(3)->UseManualTime();
BENCHMARK(BM_XPath1000ThroughOneHost)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(BM_XPathJVMPerEvaluation)->Unit(benchmark::kMillisecond)->Iterations(10)->UseRealTime();
BENCHMARK(BM_XPathLargeDocumentThroughHost)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->UseRealTime();
BENCHMARK(BM_XPathLargeDocumentXmllint)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->UseManualTime();

}  // namespace

BENCHMARK_MAIN();
