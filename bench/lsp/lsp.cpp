// `xylem lsp` through the real protocol, on a generated XML document of XYLEM_BENCH_MIB MiB
// (50 by default, the largest document VS Code hands to a server), all in one run: open to the
// first semanticTokens/full answer; one keystroke's didChange and the full/delta round trip;
// folding of the whole document; the diagnostics after a keystroke; and the server's peak
// memory per byte of the document. The server runs with its default pause of 300 ms before
// checks, so the diagnostics case includes that pause. XYLEM_BENCH_SERVER names another
// server binary (an older build, to compare back to back). The clock of the open case runs
// from the didOpen's first byte sent to the answer's last byte read: the client's own JSON
// encoding of the 50 MB text (about 0.27 s with nlohmann) is done before it starts.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

namespace {

using json = nlohmann::json;

// The document: nested sections of items with attributes, text and comments.
std::string MakeDocument(size_t Bytes) {
  std::string Text = "<?xml version=\"1.0\"?>\n<catalog>\n";
  static const char* const kKinds[] = {"alpha", "beta", "gamma", "delta"};
  for (uint64_t I = 0; Text.size() < Bytes; ++I) {
    if (I % 100 == 0) Text += "  <section n=\"" + std::to_string(I / 100) + "\">\n";
    Text += "    <item id=\"" + std::to_string(I) + "\" kind=\"" + kKinds[I % 4] +
            "\">Item text &amp; more</item>\n";
    if (I % 50 == 0) Text += "    <!-- note " + std::to_string(I) + "\n         spans lines -->\n";
    if (I % 100 == 99) Text += "  </section>\n";
  }
  Text += "  </section>\n</catalog>\n";
  return Text;
}

// The server as a child process with pipes on both standard streams.
class CyServer {
 public:
  CyServer() {
    int In[2], Out[2];
    if (pipe(In) != 0 || pipe(Out) != 0) throw std::runtime_error("pipe");
    Pid_ = fork();
    if (Pid_ == 0) {
      dup2(In[0], 0);
      dup2(Out[1], 1);
      close(In[1]);
      close(Out[0]);
      const char* Binary = std::getenv("XYLEM_BENCH_SERVER");
      if (!Binary) Binary = XYLEM_BINARY;
      execl(Binary, Binary, "lsp", nullptr);
      _exit(127);
    }
    close(In[0]);
    close(Out[1]);
    ToServer_ = In[1];
    FromServer_ = Out[0];
  }
  ~CyServer() {
    close(ToServer_);
    close(FromServer_);
    kill(Pid_, SIGTERM);
    waitpid(Pid_, nullptr, 0);
  }
  // Message as it goes over the wire: its header and its JSON text.
  static std::string Frame(const json& Message) {
    const std::string Body = Message.dump();
    return "Content-Length: " + std::to_string(Body.size()) + "\r\n\r\n" + Body;
  }
  void Send(const json& Message) { SendFrame(Frame(Message)); }
  void SendFrame(const std::string& Framed) {
    for (size_t Done = 0; Done < Framed.size();) {
      const ssize_t N = write(ToServer_, Framed.data() + Done, Framed.size() - Done);
      if (N <= 0) throw std::runtime_error("write");
      Done += size_t(N);
    }
  }
  // The next message's body (not parsed: a full token answer is tens of megabytes). A big body
  // is read straight into its string, as a client with a framing reader would.
  std::string Receive() {
    size_t HeaderEnd;
    while ((HeaderEnd = Buffer_.find("\r\n\r\n")) == std::string::npos) Fill();
    const size_t Length = std::stoull(Buffer_.substr(Buffer_.find(':') + 1, HeaderEnd));
    const size_t Have = std::min(Length, Buffer_.size() - HeaderEnd - 4);
    std::string Body(Length, '\0');
    Buffer_.copy(Body.data(), Have, HeaderEnd + 4);
    Buffer_.erase(0, HeaderEnd + 4 + Have);
    for (size_t Done = Have; Done < Length;) {
      const ssize_t N = read(FromServer_, Body.data() + Done, Length - Done);
      if (N <= 0) throw std::runtime_error("the server closed its output");
      Done += size_t(N);
    }
    return Body;
  }
  // Receives until the answer to request Id (our server writes "id" first).
  std::string Answer(int Id) {
    const std::string Prefix = "{\"id\":" + std::to_string(Id) + ",";
    for (;;) {
      std::string Body = Receive();
      if (Body.compare(0, Prefix.size(), Prefix) == 0) return Body;
    }
  }
  // Peak resident set of the server so far.
  uint64_t PeakBytes() const {
    std::ifstream Status("/proc/" + std::to_string(Pid_) + "/status");
    std::string Line;
    while (std::getline(Status, Line))
      if (Line.rfind("VmHWM:", 0) == 0) return std::stoull(Line.substr(6)) * 1024;
    return 0;
  }

 private:
  void Fill() {
    char Block[1 << 16];
    const ssize_t N = read(FromServer_, Block, sizeof Block);
    if (N <= 0) throw std::runtime_error("the server closed its output");
    Buffer_.append(Block, size_t(N));
  }
  pid_t Pid_;
  int ToServer_, FromServer_;
  std::string Buffer_;
};

std::string ResultId(const std::string& Body) {
  const size_t At = Body.rfind("\"resultId\":\"");
  return At == std::string::npos ? "" : Body.substr(At + 12, Body.find('"', At + 12) - At - 12);
}

size_t DocumentBytes() {
  const char* Mib = std::getenv("XYLEM_BENCH_MIB");
  return size_t(Mib ? std::atoi(Mib) : 50) << 20;
}

struct TyState {
  std::string Text = MakeDocument(DocumentBytes());
  CyServer Server;
  int NextId = 1;
  int Version = 1;
  std::string ResultId;
  int64_t EditLine = 5;
  const std::string Uri = "file:///bench/big.xml";

  TyState() {
    Server.Send(
        {{"jsonrpc", "2.0"}, {"id", NextId}, {"method", "initialize"}, {"params", json::object()}});
    Server.Answer(NextId++);
    Server.Send({{"jsonrpc", "2.0"}, {"method", "initialized"}, {"params", json::object()}});
  }
  int Request(const std::string& Method, json Params) {
    Server.Send(
        {{"jsonrpc", "2.0"}, {"id", NextId}, {"method", Method}, {"params", std::move(Params)}});
    return NextId++;
  }
  // One typed character inside an item's text, on lines that move through the document.
  void Keystroke() {
    EditLine = (EditLine * 7919 + 13) % 400000 + 3;
    Server.Send({{"jsonrpc", "2.0"},
                 {"method", "textDocument/didChange"},
                 {"params",
                  {{"textDocument", {{"uri", Uri}, {"version", ++Version}}},
                   {"contentChanges",
                    {{{"range",
                       {{"start", {{"line", EditLine}, {"character", 0}}},
                        {"end", {{"line", EditLine}, {"character", 0}}}}},
                      {"text", " "}}}}}}});
  }
};

TyState& State() {
  static TyState S;
  return S;
}

void BM_OpenToFirstFullTokens(benchmark::State& St) {
  TyState& S = State();
  // The client's own encoding of the 50 MB didOpen is not the server's time: the messages are
  // framed before the clock starts, and the clock runs from the first byte sent to the last
  // byte of the answer read.
  const std::string Open = CyServer::Frame(
      {{"jsonrpc", "2.0"},
       {"method", "textDocument/didOpen"},
       {"params",
        {{"textDocument",
          {{"uri", S.Uri}, {"languageId", "xml"}, {"version", S.Version}, {"text", S.Text}}}}}});
  for (auto _ : St) {
    const int Id = S.NextId++;
    const std::string Tokens = CyServer::Frame({{"jsonrpc", "2.0"},
                                                {"id", Id},
                                                {"method", "textDocument/semanticTokens/full"},
                                                {"params", {{"textDocument", {{"uri", S.Uri}}}}}});
    const auto Start = std::chrono::steady_clock::now();
    S.Server.SendFrame(Open);
    S.Server.SendFrame(Tokens);
    const std::string Body = S.Server.Answer(Id);
    St.SetIterationTime(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count());
    S.ResultId = ResultId(Body);
    St.counters["response_MB"] = double(Body.size()) / 1e6;
    St.PauseTiming();
    S.Server.Send({{"jsonrpc", "2.0"},
                   {"method", "textDocument/didClose"},
                   {"params", {{"textDocument", {{"uri", S.Uri}}}}}});
    St.ResumeTiming();
  }
  // Leave the document open (and its tokens sent) for the cases below.
  S.Server.Send(
      {{"jsonrpc", "2.0"},
       {"method", "textDocument/didOpen"},
       {"params",
        {{"textDocument",
          {{"uri", S.Uri}, {"languageId", "xml"}, {"version", S.Version}, {"text", S.Text}}}}}});
  S.ResultId = ResultId(S.Server.Answer(
      S.Request("textDocument/semanticTokens/full", {{"textDocument", {{"uri", S.Uri}}}})));
  St.counters["document_MB"] = double(S.Text.size()) / 1e6;
}

void BM_KeystrokeDeltaRoundTrip(benchmark::State& St) {
  TyState& S = State();
  for (auto _ : St) {
    const auto Start = std::chrono::steady_clock::now();
    S.Keystroke();
    const int Id =
        S.Request("textDocument/semanticTokens/full/delta",
                  {{"textDocument", {{"uri", S.Uri}}}, {"previousResultId", S.ResultId}});
    const std::string Body = S.Server.Answer(Id);
    St.SetIterationTime(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count());
    S.ResultId = ResultId(Body);
  }
}

void BM_FoldingWholeDocument(benchmark::State& St) {
  TyState& S = State();
  size_t Bytes = 0;
  for (auto _ : St) {
    const auto Start = std::chrono::steady_clock::now();
    Bytes =
        S.Server
            .Answer(S.Request("textDocument/foldingRange", {{"textDocument", {{"uri", S.Uri}}}}))
            .size();
    St.SetIterationTime(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count());
  }
  St.counters["response_MB"] = double(Bytes) / 1e6;
}

void BM_DiagnosticsAfterKeystroke(benchmark::State& St) {
  TyState& S = State();
  for (auto _ : St) {
    const auto Start = std::chrono::steady_clock::now();
    S.Keystroke();
    const std::string Version = "\"version\":" + std::to_string(S.Version) + "}";
    for (;;) {
      const std::string Body = S.Server.Receive();
      if (Body.find("publishDiagnostics") != std::string::npos &&
          Body.find(Version) != std::string::npos)
        break;
    }
    St.SetIterationTime(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count());
  }
  St.counters["server_peak_MB"] = double(S.Server.PeakBytes()) / 1e6;
  St.counters["peak_bytes_per_document_byte"] =
      double(S.Server.PeakBytes()) / double(S.Text.size());
}

BENCHMARK(BM_OpenToFirstFullTokens)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->Repetitions(1);
BENCHMARK(BM_KeystrokeDeltaRoundTrip)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Iterations(200)
    ->Repetitions(3)
    ->ReportAggregatesOnly(false);
BENCHMARK(BM_FoldingWholeDocument)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_DiagnosticsAfterKeystroke)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);

}  // namespace

BENCHMARK_MAIN();
