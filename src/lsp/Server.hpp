#pragma once
// CyLspServer: the language server behind `xylem lsp`. A reader thread takes framed messages
// from the input and parses them; the dispatch thread (the caller of Run) handles them in
// order against the open documents, so every answer reflects the version it was asked for.
// Long requests (full and range tokens, folding, formatting, symbols, pulled diagnostics) take
// a snapshot on the dispatch thread and run on a thread of their own (CyRequestJobs), with
// work-done progress and cancellation; a keystroke's didChange and delta are not held up by
// them. Checks run on worker threads over snapshots and report back through the same queue;
// their diagnostics are pushed after a pause in typing and replaced by newer ones.
//
//   CyLspServer server(std::cout);
//   return server.Run(std::cin);
//
// Nothing a client sends ends the server but `exit` or the end of the input: malformed JSON,
// oversize messages, unknown methods and bad parameters are answered with JSON-RPC errors.

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <istream>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>
#include <unordered_map>
#include <vector>

#include "lsp/BigText.hpp"
#include "lsp/LspDocument.hpp"
#include "lsp/Protocol.hpp"
#include "lsp/RequestJobs.hpp"
#include "lsp/Transport.hpp"
#include "services/XPathCheckerCachePool.hpp"
#include "xml/format/Formatter.hpp"

namespace xylem::lsp {

struct TyLspServerOptions {
  // The largest message accepted; a 50 MB document in didOpen fits with its JSON escapes.
  size_t MaxMessageLength = size_t{512} << 20;
  // The pause in typing after which checks start.
  std::chrono::milliseconds DiagnosticsDelay{300};
  // Documents of at least this many lines get work-done progress of the server's own (when
  // the client supports it) for long requests; a request's own workDoneToken is always used.
  int64_t ProgressMinLines = 100000;
};

class CyLspServer {
 public:
  explicit CyLspServer(std::ostream& Out, const TyLspServerOptions& Options = {});
  ~CyLspServer();
  CyLspServer(const CyLspServer&) = delete;
  CyLspServer& operator=(const CyLspServer&) = delete;

  // Serves In until `exit` or its end. Returns the process exit code: 0 after shutdown and
  // exit, 1 when the input ended or exit came without shutdown (as LSP asks).
  int Run(std::istream& In);

  // ---- The dispatcher's steps, callable directly (tests, fuzzing); dispatch thread only.

  // Handles one message's content (a JSON-RPC request, notification or response).
  void HandleContent(std::string_view Content);
  // Handles one parsed message.
  void HandleMessage(const json& Message);
  // Starts the checks that are due and publishes finished ones.
  void RunDueWork();
  // True once `exit` was received.
  bool getExitRequested() const { return ExitRequested_; }

 private:
  using TyHandler = std::function<json(const json& Params)>;
  // A handler whose result is already serialised JSON (big results skip the JSON tree).
  using TyRawHandler = std::function<std::string(const json& Params)>;
  // What a long request's work gives: the result's JSON text in parts (written one after
  // another), or a body part that writes itself in chunks.
  struct TyLongResult {
    TyLongResult(std::vector<std::string> Parts) : Parts(std::move(Parts)) {}  // NOLINT
    TyLongResult(std::unique_ptr<IyBodyPart> Body) : Body(std::move(Body)) {}  // NOLINT
    std::vector<std::string> Parts;
    std::unique_ptr<IyBodyPart> Body;
  };
  // The work of a long request, run on a thread of its own.
  using TyLongWork = std::function<TyLongResult(const TyJobContext& Job)>;
  // Runs on the dispatch thread: takes what the work needs (a snapshot) and returns it; or
  // answers at once by filling Now and returning no work.
  using TyLongHandler =
      std::function<TyLongWork(const json& Params, std::vector<std::string>& Now)>;
  struct TyLongRequest {
    std::string Title;  // of its progress
    TyLongHandler Handler;
  };
  struct TyInbound {
    enum TyKind : uint8_t { ikMessage, ikCheckDone, ikTask, ikEnd } Kind;
    json Message;
    std::string Uri;
    std::function<void()> Task;      // ikTask: runs on the dispatch thread
    std::unique_ptr<TyBigText> Big;  // ikMessage: a didOpen's text taken out before parsing
  };

  void Register();
  void Request(const std::string& Method, TyHandler Handler);
  void RawRequest(const std::string& Method, TyRawHandler Handler);
  void LongRequest(const std::string& Method, std::string Title, TyLongHandler Handler);
  // Starts a long request's work on a thread of its own, with progress when asked for.
  void StartLong(const json& Id, const json& Params, const CyLspDocument* Document,
                 const std::string& Title, TyLongWork Work);
  // The progress token for a long request: the request's workDoneToken, or one of ours created
  // through window/workDoneProgress/create for a big document when the client supports it.
  json ProgressTokenFor(const json& Params, const CyLspDocument* Document);
  // Creates a progress token of ours through window/workDoneProgress/create.
  json CreateProgressToken();
  void RespondParts(const json& Id, const std::vector<std::string>& Parts);
  void RespondBody(const json& Id, const IyBodyPart& Body);
  void Notification(const std::string& Method, std::function<void(const json& Params)> Handler);
  void Respond(const json& Id, json Result);
  void RespondRaw(const json& Id, const std::string& Result);
  void RespondError(const json& Id, int Code, const std::string& Message);
  void Notify(const std::string& Method, json Params);
  void Post(TyInbound Item);
  bool TakeCancelled(const json& Id);
  // Notes the client's cancellation of request Id (any thread).
  void CancelRequest(const json& Params);

  CyLspDocument& DocumentOf(const json& Params);
  json Initialize(const json& Params);
  void DidOpen(const json& Params);
  void DidChange(const json& Params);
  void DidClose(const json& Params);
  void DidChangeConfiguration(const json& Params);
  // Asks a client that supports it for the "xylem" settings (workspace/configuration).
  void RequestConfiguration();
  void ScheduleChecks(CyLspDocument& Document);
  void PublishDiagnostics(CyLspDocument& Document);
  TyLongWork PullDiagnostics(const json& Params, std::vector<std::string>& Now);
  TyLongWork FullTokens(const json& Params);

  TyLspServerOptions Options_;
  CyMessageWriter Writer_;
  CyXPathCheckerCachePool Caches_;
  TyXMLFormatterChoices FormatterChoices_;
  std::map<std::string, std::unique_ptr<CyLspDocument>> Documents_;
  std::unordered_map<std::string, TyHandler> Requests_;
  std::unordered_map<std::string, TyRawHandler> RawRequests_;
  std::unordered_map<std::string, TyLongRequest> LongRequests_;
  std::unordered_map<std::string, std::function<void(const json&)>> Notifications_;
  bool Initialized_ = false;
  bool ShutdownRequested_ = false;
  bool ExitRequested_ = false;
  bool ClientPullsConfiguration_ = false;
  bool ClientShowsProgress_ = false;  // window.workDoneProgress
  TyBigText* BigText_ = nullptr;      // the text of the didOpen being handled, if taken out
  uint64_t NextProgressToken_ = 1;

  // Shared with the reader thread and the check workers.
  std::mutex Mutex_;
  std::condition_variable Arrived_;
  std::deque<TyInbound> Queue_;
  // Declared last: destroyed first, its jobs stopped while what they use still exists.
  CyRequestJobs Jobs_;
};

}  // namespace xylem::lsp
