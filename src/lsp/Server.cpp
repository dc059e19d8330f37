#include "lsp/Server.hpp"

#include <malloc.h>

#include <thread>

#include "common/Exception.hpp"
#include "common/Settings.hpp"
#include "common/Utf.hpp"
#include "lsp/Completion.hpp"
#include "lsp/Diagnostics.hpp"
#include "lsp/DocumentSymbols.hpp"
#include "lsp/FoldingRanges.hpp"
#include "lsp/Formatting.hpp"
#include "lsp/FullTokens.hpp"
#include "lsp/TagNavigation.hpp"
#include "lsp/WorkDoneProgress.hpp"

namespace xylem::lsp {

namespace {

// The id of our own workspace/configuration requests.
constexpr const char* kConfigurationRequestId = "xylem/configuration";
const json kNull;
constexpr const char* kCancelledMessage = "The request was cancelled.";
// How long a didChange waits for an outdated check to stop before it copies the lines instead.
constexpr std::chrono::milliseconds kCheckStopWait{5};
// A didOpen text from this size on is read from the message's bytes (BigText.hpp).
constexpr size_t kBigTextBytes = size_t{1} << 20;

const json& RequireObject(const json& Params, const char* Name) {
  if (!Params.is_object() || !Params.contains(Name) || !Params[Name].is_object())
    throw CyLspError(lecInvalidParams,
                     std::string("The parameters need the object \"") + Name + "\".");
  return Params[Name];
}

const std::string& RequireString(const json& Object, const char* Name) {
  if (!Object.is_object() || !Object.contains(Name) || !Object[Name].is_string())
    throw CyLspError(lecInvalidParams,
                     std::string("The parameters need the string \"") + Name + "\".");
  return Object[Name].get_ref<const std::string&>();
}

}  // namespace

CyLspServer::CyLspServer(std::ostream& Out, const TyLspServerOptions& Options)
    : Options_(Options),
      Writer_(Out),
      FormatterChoices_(TyXMLFormatterChoices::FromSettings(CySettings())) {
  Register();
}

CyLspServer::~CyLspServer() {
  // Jobs and the checks' workers write answers and post to the queue: stop them first.
  Jobs_.StopAll();
  Documents_.clear();
}

void CyLspServer::Request(const std::string& Method, TyHandler Handler) {
  Requests_[Method] = std::move(Handler);
}

void CyLspServer::RawRequest(const std::string& Method, TyRawHandler Handler) {
  RawRequests_[Method] = std::move(Handler);
}

void CyLspServer::LongRequest(const std::string& Method, std::string Title, TyLongHandler Handler) {
  LongRequests_[Method] = {std::move(Title), std::move(Handler)};
}

void CyLspServer::Notification(const std::string& Method,
                               std::function<void(const json& Params)> Handler) {
  Notifications_[Method] = std::move(Handler);
}

void CyLspServer::Register() {
  Request("initialize", [this](const json& P) { return Initialize(P); });
  Request("shutdown", [this](const json&) {
    // Running requests are stopped and answered (RequestCancelled) before this answer.
    Jobs_.StopAll();
    ShutdownRequested_ = true;
    return json(nullptr);
  });
  Notification("initialized", [this](const json&) { RequestConfiguration(); });
  Notification("exit", [this](const json&) { ExitRequested_ = true; });
  Notification("$/setTrace", [](const json&) {});
  Notification("textDocument/didOpen", [this](const json& P) { DidOpen(P); });
  Notification("textDocument/didChange", [this](const json& P) { DidChange(P); });
  Notification("textDocument/didClose", [this](const json& P) { DidClose(P); });
  Notification("textDocument/didSave", [](const json&) {});
  Notification("workspace/didChangeConfiguration",
               [this](const json& P) { DidChangeConfiguration(P); });
  Notification("window/workDoneProgress/cancel", [this](const json& P) {
    if (P.is_object() && P.contains("token")) Jobs_.CancelProgress(P["token"].dump());
  });

  LongRequest("textDocument/semanticTokens/full", "Tokenizing",
              [this](const json& P, std::vector<std::string>&) { return FullTokens(P); });
  LongRequest("textDocument/semanticTokens/full/delta", "Tokenizing",
              [this](const json& P, std::vector<std::string>& Now) -> TyLongWork {
                CyLspDocument& D = DocumentOf(P);
                const std::string& Previous = RequireString(P, "previousResultId");
                if (D.getTokens().NeedsFull(Previous)) return FullTokens(P);
                Now.push_back(D.getTokens().DeltaText(D.getDocument(), Previous));
                return {};
              });
  LongRequest("textDocument/semanticTokens/range", "Tokenizing",
              [this](const json& P, std::vector<std::string>&) -> TyLongWork {
                CyLspDocument& D = DocumentOf(P);
                const TyTextRange Range = FromLspRange(P.value("range", json()), D.getDocument());
                return [Snapshot = D.getSnapshot(), Range](const TyJobContext&) {
                  return std::vector<std::string>{
                      DumpMessage(CySemanticTokensState::Range(*Snapshot, Range))};
                };
              });
  LongRequest("textDocument/foldingRange", "Folding",
              [this](const json& P, std::vector<std::string>&) -> TyLongWork {
                CyLspDocument& D = DocumentOf(P);
                std::optional<int64_t> Limit;
                if (P.contains("rangeLimit") && P["rangeLimit"].is_number_integer())
                  Limit = P["rangeLimit"].get<int64_t>();
                return [Snapshot = D.getSnapshot(), Limit](const TyJobContext& Job) {
                  Job.Begin("Folding", 0);
                  return std::vector<std::string>{DumpMessage(FoldingRanges(*Snapshot, Limit))};
                };
              });
  auto Formatting = [this](const json& P, bool WithRange) -> TyLongWork {
    CyLspDocument& D = DocumentOf(P);
    std::optional<TyTextRange> Range;
    if (WithRange) Range = FromLspRange(P.value("range", json()), D.getDocument());
    return [Snapshot = D.getSnapshot(), Options = P.value("options", json()),
            Choices = FormatterChoices_, Range](const TyJobContext& Job) {
      Job.Begin("Formatting", 0);
      return std::vector<std::string>{DumpMessage(FormatEdits(*Snapshot, Options, Choices, Range))};
    };
  };
  LongRequest(
      "textDocument/formatting", "Formatting",
      [Formatting](const json& P, std::vector<std::string>&) { return Formatting(P, false); });
  LongRequest(
      "textDocument/rangeFormatting", "Formatting",
      [Formatting](const json& P, std::vector<std::string>&) { return Formatting(P, true); });
  LongRequest(
      "textDocument/diagnostic", "Checking",
      [this](const json& P, std::vector<std::string>& Now) { return PullDiagnostics(P, Now); });
  LongRequest("textDocument/documentSymbol", "Outlining",
              [this](const json& P, std::vector<std::string>&) -> TyLongWork {
                return [Snapshot = DocumentOf(P).getSnapshot()](const TyJobContext& Job) {
                  Job.Begin("Outlining", 0);
                  return std::vector<std::string>{DumpMessage(DocumentSymbols(*Snapshot))};
                };
              });
  Request("textDocument/completion", [this](const json& P) {
    CyLspDocument& D = DocumentOf(P);
    return Completion(D.getDocument(),
                      FromLspPosition(P.value("position", json()), D.getDocument()));
  });
  Request("textDocument/linkedEditingRange", [this](const json& P) {
    CyLspDocument& D = DocumentOf(P);
    return LinkedEditingRanges(D.getDocument(),
                               FromLspPosition(P.value("position", json()), D.getDocument()));
  });
  Request("textDocument/documentHighlight", [this](const json& P) {
    CyLspDocument& D = DocumentOf(P);
    return DocumentHighlights(D.getDocument(),
                              FromLspPosition(P.value("position", json()), D.getDocument()));
  });
  Request("textDocument/selectionRange", [this](const json& P) {
    CyLspDocument& D = DocumentOf(P);
    std::vector<TyTextPosition> Positions;
    if (!P.contains("positions") || !P["positions"].is_array())
      throw CyLspError(lecInvalidParams, "selectionRange needs positions.");
    for (const json& Position : P["positions"])
      Positions.push_back(FromLspPosition(Position, D.getDocument()));
    return SelectionRanges(D.getDocument(), Positions);
  });
}

json CyLspServer::Initialize(const json& Params) {
  if (Initialized_) throw CyLspError(lecInvalidRequest, "The server is already initialized.");
  Initialized_ = true;
  const json* Node = &Params;
  for (const char* Key : {"capabilities", "workspace", "configuration"}) {
    if (!Node->is_object() || !Node->contains(Key)) {
      Node = &kNull;
      break;
    }
    Node = &(*Node)[Key];
  }
  ClientPullsConfiguration_ = Node->is_boolean() && Node->get<bool>();
  if (Params.is_object() && Params.contains("capabilities")) {
    const json& Capabilities = Params["capabilities"];
    if (Capabilities.is_object() && Capabilities.contains("window") &&
        Capabilities["window"].is_object())
      ClientShowsProgress_ = Capabilities["window"].value("workDoneProgress", false) == true;
  }
  if (Params.is_object() && Params.contains("initializationOptions"))
    DidChangeConfiguration({{"settings", {{"xylem", Params["initializationOptions"]}}}});
  json Capabilities = {
      {"positionEncoding", "utf-16"},
      {"textDocumentSync", {{"openClose", true}, {"change", 2}, {"save", false}}},
      {"semanticTokensProvider",
       {{"legend", SemanticTokensLegend()},
        {"range", true},
        {"full", {{"delta", true}}},
        {"workDoneProgress", true}}},
      {"foldingRangeProvider", {{"workDoneProgress", true}}},
      {"documentFormattingProvider", {{"workDoneProgress", true}}},
      {"documentRangeFormattingProvider", {{"workDoneProgress", true}}},
      {"completionProvider", {{"triggerCharacters", {"<", "/", "(", "$", ":", " ", "@"}}}},
      {"documentSymbolProvider", {{"workDoneProgress", true}}},
      {"linkedEditingRangeProvider", true},
      {"documentHighlightProvider", true},
      {"selectionRangeProvider", true},
      {"diagnosticProvider",
       {{"identifier", "xylem"},
        {"interFileDependencies", false},
        {"workspaceDiagnostics", false},
        {"workDoneProgress", true}}},
  };
  return {{"capabilities", std::move(Capabilities)}, {"serverInfo", {{"name", "xylem"}}}};
}

CyLspDocument& CyLspServer::DocumentOf(const json& Params) {
  const std::string& Uri = RequireString(RequireObject(Params, "textDocument"), "uri");
  auto It = Documents_.find(Uri);
  if (It == Documents_.end())
    throw CyLspError(lecInvalidParams, "The document " + Uri + " is not open.");
  return *It->second;
}

void CyLspServer::DidOpen(const json& Params) {
  const json& Item = RequireObject(Params, "textDocument");
  const std::string& Uri = RequireString(Item, "uri");
  const std::string& Text = RequireString(Item, "text");
  const std::string LanguageId = Item.value("languageId", std::string());
  const int64_t Version = Item.value("version", int64_t{0});
  std::unique_ptr<CyLspDocument> Document;
  if (BigText_ && Text.empty()) {
    // Straight from the message's bytes into the lines, the bytes freed once decoded.
    TyBigText* Big = BigText_;
    std::optional<CyWorkDoneProgress> Progress;
    TyDocumentLoadOptions Load;
    if (ClientShowsProgress_) {
      Progress.emplace(CreateProgressToken(), "Opening", false, 2,
                       [this](json P) { Notify("$/progress", std::move(P)); });
      Load.Job.Progress = &*Progress;
    }
    Document = std::make_unique<CyLspDocument>(
        Uri, LanguageId, Version, Big->getText(), Load, [Big] { Big->Release(); }, Caches_);
  } else {
    Document = std::make_unique<CyLspDocument>(Uri, LanguageId, Version, ToUTF16(Text), Caches_);
  }
  Document->getChecks().setOnFinished([this, Uri] {
    Post({TyInbound::ikCheckDone, {}, Uri, {}, {}});
  });
  CyLspDocument& D = *(Documents_[Uri] = std::move(Document));
  // The first check of a document is not waiting for a pause in typing.
  D.ChecksDue = std::chrono::steady_clock::now();
}

void CyLspServer::DidChange(const json& Params) {
  CyLspDocument& D = DocumentOf(Params);
  const json& Item = RequireObject(Params, "textDocument");
  const int64_t Version = Item.value("version", D.getVersion() + 1);
  if (!Params.contains("contentChanges"))
    throw CyLspError(lecInvalidParams, "didChange needs contentChanges.");
  // A running check is outdated by this change: let it end before the lines change, so that
  // the lines it shares need no copy. The well-formedness check stops within a few thousand
  // lines; one that does not look at its stop token (JSON, XSLT's XPath) is not waited for
  // beyond a moment, and the change then gives the document a copy of its lines. A result
  // finished already is published first, as it would have been a moment earlier.
  CyBackgroundChecks& Checks = D.getChecks();
  if (Checks.getRunning()) {
    Checks.Cancel();
    const auto Until = std::chrono::steady_clock::now() + kCheckStopWait;
    while (!Checks.getEnded() && std::chrono::steady_clock::now() < Until)
      std::this_thread::sleep_for(std::chrono::microseconds(50));
    if (Checks.getEnded() && Checks.WaitAndPoll()) PublishDiagnostics(D);
  }
  D.ApplyChanges(Params["contentChanges"], Version);
  ScheduleChecks(D);
}

void CyLspServer::DidClose(const json& Params) {
  const std::string& Uri = RequireString(RequireObject(Params, "textDocument"), "uri");
  if (Documents_.erase(Uri)) {
    // A big document's lines and its jobs' buffers were spread over the threads' heaps: give
    // the freed pages back now rather than keep them for the next open.
    malloc_trim(0);
    Notify("textDocument/publishDiagnostics", {{"uri", Uri}, {"diagnostics", json::array()}});
  }
}

void CyLspServer::RequestConfiguration() {
  if (!ClientPullsConfiguration_) return;
  Writer_.Write(DumpMessage({{"jsonrpc", "2.0"},
                             {"id", kConfigurationRequestId},
                             {"method", "workspace/configuration"},
                             {"params", {{"items", {{{"section", "xylem"}}}}}}}));
}

void CyLspServer::DidChangeConfiguration(const json& Params) {
  // A client of the pull model sends no settings here: ask it for them.
  if (ClientPullsConfiguration_ &&
      (!Params.is_object() || !Params.contains("settings") || Params["settings"].is_null())) {
    RequestConfiguration();
    return;
  }
  if (!Params.is_object() || !Params.contains("settings")) return;
  const json& Settings = Params["settings"];
  if (!Settings.is_object() || !Settings.contains("xylem") || !Settings["xylem"].is_object())
    return;
  const json& X = Settings["xylem"];
  if (X.contains("diagnosticsDelay") && X["diagnosticsDelay"].is_number_integer())
    Options_.DiagnosticsDelay = std::chrono::milliseconds(
        std::clamp<int64_t>(X["diagnosticsDelay"].get<int64_t>(), 0, 60000));
}

void CyLspServer::ScheduleChecks(CyLspDocument& Document) {
  // A running check is outdated now; the new one starts after the pause.
  Document.getChecks().Cancel();
  Document.ChecksDue = std::chrono::steady_clock::now() + Options_.DiagnosticsDelay;
}

void CyLspServer::PublishDiagnostics(CyLspDocument& Document) {
  IyXMLErrsPtr Errs = Document.getChecks().getErrs();
  Notify("textDocument/publishDiagnostics",
         {{"uri", Document.getUri()},
          {"version", Document.getVersion()},
          {"diagnostics", DiagnosticsOf(Errs.get(), Document.getDocument())}});
}

CyLspServer::TyLongWork CyLspServer::PullDiagnostics(const json& Params,
                                                     std::vector<std::string>& Now) {
  CyLspDocument& D = DocumentOf(Params);
  TxMarkupDocument& Doc = D.getDocument();
  if (D.getChecks().getResultGeneration() == Doc.getGeneration() && !D.getChecks().getRunning()) {
    IyXMLErrsPtr Errs = D.getChecks().getErrs();
    Now.push_back(DumpMessage({{"kind", "full"}, {"items", DiagnosticsOf(Errs.get(), Doc)}}));
    return {};
  }
  return [this, Snapshot = D.getSnapshot()](const TyJobContext& Job) {
    TyJobContext One = Job;
    One.PieceCount = 1;
    IyXMLErrsPtr Errs = CheckSnapshot(*Snapshot, Caches_, One);
    return std::vector<std::string>{
        DumpMessage({{"kind", "full"}, {"items", DiagnosticsOf(Errs.get(), *Snapshot)}})};
  };
}

CyLspServer::TyLongWork CyLspServer::FullTokens(const json& Params) {
  CyLspDocument& D = DocumentOf(Params);
  TxDocumentSnapshotPtr Snapshot = D.getSnapshot();
  // The result id is taken now, for the snapshot's version: edits arriving while it is
  // computed are tracked against it, and its line counts are installed before it is sent.
  std::string ResultId = D.getTokens().BeginFull();
  ++D.FullTokensRunning;
  // Dropped with the work once its answer is written (or it failed): due checks may start.
  std::shared_ptr<void> Running(nullptr, [this, Uri = D.getUri(), Serial = D.getSerial()](void*) {
    Post({TyInbound::ikTask,
          {},
          {},
          [this, Uri, Serial] {
            auto It = Documents_.find(Uri);
            if (It != Documents_.end() && It->second->getSerial() == Serial)
              --It->second->FullTokensRunning;
          },
          {}});
  });
  return [this, Snapshot, ResultId, Uri = D.getUri(), Serial = D.getSerial(),
          Running](const TyJobContext& Job) -> TyLongResult {
    TyFullTokens Data = ComputeFullTokens(*Snapshot, Job);
    Post({TyInbound::ikTask,
          {},
          {},
          [this, Uri, Serial, ResultId, Counts = std::move(Data.Counts)]() mutable {
            auto It = Documents_.find(Uri);
            if (It != Documents_.end() && It->second->getSerial() == Serial)
              It->second->getTokens().InstallFull(ResultId, std::move(Counts));
          },
          {}});
    return FullResultBody(std::move(Data), ResultId);
  };
}

void CyLspServer::RunDueWork() {
  const auto Now = std::chrono::steady_clock::now();
  for (auto& [Uri, D] : Documents_)
    if (D->ChecksDue && *D->ChecksDue <= Now && D->FullTokensRunning == 0) {
      D->ChecksDue.reset();
      D->getChecks().Start(D->getSnapshot());
    }
}

void CyLspServer::Respond(const json& Id, json Result) {
  Writer_.Write(DumpMessage({{"jsonrpc", "2.0"}, {"id", Id}, {"result", std::move(Result)}}));
}

void CyLspServer::RespondRaw(const json& Id, const std::string& Result) {
  // The members in the order DumpMessage writes them (sorted), so answers look alike.
  const std::string Head = "{\"id\":" + DumpMessage(Id) + ",\"jsonrpc\":\"2.0\",\"result\":";
  Writer_.Write({Head, Result, "}"});
}

void CyLspServer::RespondParts(const json& Id, const std::vector<std::string>& Parts) {
  std::vector<std::string_view> All;
  All.reserve(Parts.size() + 2);
  const std::string Head = "{\"id\":" + DumpMessage(Id) + ",\"jsonrpc\":\"2.0\",\"result\":";
  All.push_back(Head);
  All.insert(All.end(), Parts.begin(), Parts.end());
  All.push_back("}");
  Writer_.Write(All);
}

void CyLspServer::RespondBody(const json& Id, const IyBodyPart& Body) {
  const std::string Head = "{\"id\":" + DumpMessage(Id) + ",\"jsonrpc\":\"2.0\",\"result\":";
  Writer_.Write(Head, Body, "}");
}

json CyLspServer::ProgressTokenFor(const json& Params, const CyLspDocument* Document) {
  if (Params.is_object() && Params.contains("workDoneToken")) {
    const json& Token = Params["workDoneToken"];
    if (Token.is_string() || Token.is_number_integer()) return Token;
  }
  if (!ClientShowsProgress_ || !Document ||
      Document->getDocument().getLineCount() < Options_.ProgressMinLines)
    return nullptr;
  return CreateProgressToken();
}

json CyLspServer::CreateProgressToken() {
  json Token = "xylem/progress/" + std::to_string(NextProgressToken_++);
  // The answer needs nothing from us (a response without method is dropped quietly).
  Writer_.Write(DumpMessage({{"jsonrpc", "2.0"},
                             {"id", Token},
                             {"method", "window/workDoneProgress/create"},
                             {"params", {{"token", Token}}}}));
  return Token;
}

void CyLspServer::StartLong(const json& Id, const json& Params, const CyLspDocument* Document,
                            const std::string& Title, TyLongWork Work) {
  json Token = ProgressTokenFor(Params, Document);
  const std::string TokenKey = Token.is_null() ? std::string() : Token.dump();
  const bool Started = Jobs_.Start(
      Id.dump(), TokenKey, [this, Id, Token, Title, Work = std::move(Work)](std::stop_token Stop) {
        std::optional<CyWorkDoneProgress> Progress;
        if (!Token.is_null())
          Progress.emplace(Token, Title, true, 1,
                           [this](json P) { Notify("$/progress", std::move(P)); });
        TyJobContext Job;
        Job.StopToken = Stop;
        Job.Progress = Progress ? &*Progress : nullptr;
        try {
          TyLongResult Result = Work(Job);
          Job.ThrowIfStopped();
          if (Progress) Progress->End();
          size_t Bytes = 0;
          if (Result.Body) {
            RespondBody(Id, *Result.Body);
            Bytes = Result.Body->getLength();
          } else {
            RespondParts(Id, Result.Parts);
            for (const std::string& Part : Result.Parts) Bytes += Part.size();
          }
          Result.Parts = {};
          Result.Body.reset();
          // A big answer was built on the threads' own heaps, which keep freed pages: give
          // them back now rather than hold them until the next big request.
          if (Bytes > (size_t{16} << 20)) malloc_trim(0);
        } catch (const CyCancelledException&) {
          if (Progress) Progress->End();
          RespondError(Id, lecRequestCancelled, kCancelledMessage);
        } catch (const CyLspError& Error) {
          if (Progress) Progress->End();
          RespondError(Id, Error.getCode(), Error.what());
        } catch (const std::exception& Error) {
          if (Progress) Progress->End();
          RespondError(Id, lecInternalError, Error.what());
        }
      });
  if (!Started) RespondError(Id, lecRequestCancelled, kCancelledMessage);
}

void CyLspServer::RespondError(const json& Id, int Code, const std::string& Message) {
  Writer_.Write(DumpMessage(
      {{"jsonrpc", "2.0"}, {"id", Id}, {"error", {{"code", Code}, {"message", Message}}}}));
}

void CyLspServer::Notify(const std::string& Method, json Params) {
  Writer_.Write(
      DumpMessage({{"jsonrpc", "2.0"}, {"method", Method}, {"params", std::move(Params)}}));
}

void CyLspServer::Post(TyInbound Item) {
  {
    std::lock_guard Lock(Mutex_);
    Queue_.push_back(std::move(Item));
  }
  Arrived_.notify_one();
}

bool CyLspServer::TakeCancelled(const json& Id) { return Jobs_.TakeCancelled(Id.dump()); }

void CyLspServer::CancelRequest(const json& Params) {
  if (Params.is_object() && Params.contains("id")) Jobs_.Cancel(Params["id"].dump());
}

void CyLspServer::HandleContent(std::string_view Content) {
  json Message = json::parse(Content, nullptr, false);
  if (Message.is_discarded()) {
    RespondError(nullptr, lecParseError, "The message is not valid JSON.");
    return;
  }
  HandleMessage(Message);
}

void CyLspServer::HandleMessage(const json& Message) {
  if (!Message.is_object()) {
    RespondError(nullptr, lecInvalidRequest, "A message must be a JSON object.");
    return;
  }
  const auto MethodIt = Message.find("method");
  const auto IdIt = Message.find("id");
  const bool HasId = IdIt != Message.end();
  if (HasId && !IdIt->is_number_integer() && !IdIt->is_string() && !IdIt->is_null()) {
    RespondError(nullptr, lecInvalidRequest, "A request id must be a number or a string.");
    return;
  }
  if (MethodIt == Message.end() || !MethodIt->is_string()) {
    // The answer to our workspace/configuration request: one value per item asked.
    if (HasId && *IdIt == kConfigurationRequestId) {
      const json& Result = Message.value("result", json());
      if (Result.is_array() && !Result.empty())
        DidChangeConfiguration({{"settings", {{"xylem", Result[0]}}}});
      return;
    }
    // A response to a request of ours that needs no answer, or garbage.
    if (!HasId || (!Message.contains("result") && !Message.contains("error")))
      RespondError(HasId ? *IdIt : json(nullptr), lecInvalidRequest,
                   "A message needs a method or a result.");
    return;
  }
  const std::string& Method = MethodIt->get_ref<const std::string&>();
  // By reference: the params of didOpen hold the whole text.
  const auto ParamsIt = Message.find("params");
  const json& Params = ParamsIt != Message.end() ? *ParamsIt : kNull;
  if (!HasId) {
    if (Method == "$/cancelRequest") {
      CancelRequest(Params);
      return;
    }
    if (!Initialized_ && Method != "exit") return;
    auto It = Notifications_.find(Method);
    if (It == Notifications_.end()) return;  // unknown notifications are ignored (LSP)
    try {
      It->second(Params);
    } catch (const std::exception&) {
      // A notification has no answer; a bad one changes nothing more than it managed to.
    }
    return;
  }
  const json& Id = *IdIt;
  if (!Initialized_ && Method != "initialize") {
    RespondError(Id, lecServerNotInitialized, "The server is not initialized.");
    return;
  }
  if (ShutdownRequested_) {
    RespondError(Id, lecInvalidRequest, "The server is shutting down.");
    return;
  }
  if (TakeCancelled(Id)) {
    RespondError(Id, lecRequestCancelled, kCancelledMessage);
    return;
  }
  auto It = Requests_.find(Method);
  auto RawIt = RawRequests_.find(Method);
  auto LongIt = LongRequests_.find(Method);
  if (It == Requests_.end() && RawIt == RawRequests_.end() && LongIt == LongRequests_.end()) {
    RespondError(Id, lecMethodNotFound, "Unhandled method " + Method + ".");
    return;
  }
  try {
    if (LongIt != LongRequests_.end()) {
      std::vector<std::string> Now;
      TyLongWork Work = LongIt->second.Handler(Params, Now);
      if (Work) {
        auto DocIt = Documents_.end();
        if (Params.is_object() && Params.contains("textDocument") &&
            Params["textDocument"].is_object())
          DocIt = Documents_.find(Params["textDocument"].value("uri", std::string()));
        StartLong(Id, Params, DocIt != Documents_.end() ? DocIt->second.get() : nullptr,
                  LongIt->second.Title, std::move(Work));
      } else {
        RespondParts(Id, Now);
      }
    } else if (RawIt != RawRequests_.end())
      RespondRaw(Id, RawIt->second(Params));
    else
      Respond(Id, It->second(Params));
  } catch (const CyLspError& Error) {
    RespondError(Id, Error.getCode(), Error.what());
  } catch (const json::exception& Error) {
    RespondError(Id, lecInvalidParams, Error.what());
  } catch (const CyCancelledException&) {
    RespondError(Id, lecRequestCancelled, kCancelledMessage);
  } catch (const std::exception& Error) {
    RespondError(Id, lecInternalError, Error.what());
  }
}

int CyLspServer::Run(std::istream& In) {
  // A tied input (std::cin to std::cout) flushes the output before every read, from the reader
  // thread and outside the writer's lock: untie it, so only the writer touches the output.
  In.tie(nullptr);
  std::thread Reader([this, &In] {
    CyMessageReader MessageReader(In, Options_.MaxMessageLength);
    std::string Body;
    for (;;) {
      const TyReadStatus Status = MessageReader.Read(Body);
      if (Status == TyReadStatus::rsEnd) break;
      if (Status == TyReadStatus::rsOversize) {
        RespondError(nullptr, lecInvalidRequest,
                     "The message of " + std::to_string(MessageReader.getLength()) +
                         " bytes is over the limit of " +
                         std::to_string(MessageReader.getMaxLength()) + " bytes.");
        continue;
      }
      if (Status == TyReadStatus::rsBadHeader) {
        RespondError(nullptr, lecParseError, "A message header lacks a valid Content-Length.");
        continue;
      }
      auto Big = std::make_unique<TyBigText>();
      const std::optional<std::string> Rest = ExtractBigText(Body, *Big, kBigTextBytes);
      if (!Rest) Big.reset();
      json Message = json::parse(Rest ? *Rest : Body, nullptr, false);
      // A document's text is not kept twice: give back what a big message took.
      if (Body.capacity() > (size_t{1} << 20)) std::string().swap(Body);
      if (Message.is_discarded()) {
        RespondError(nullptr, lecParseError, "The message is not valid JSON.");
        continue;
      }
      // Cancellation is noted here, so a request still waiting in the queue sees it.
      const bool IsCancel =
          Message.is_object() && Message.value("method", json()) == "$/cancelRequest";
      const bool IsExit = Message.is_object() && Message.value("method", json()) == "exit";
      if (IsCancel) {
        CancelRequest(Message.value("params", json()));
        continue;
      }
      Post({TyInbound::ikMessage, std::move(Message), {}, {}, std::move(Big)});
      if (IsExit) return;  // nothing after exit is read
    }
    Post({TyInbound::ikEnd, {}, {}, {}, {}});
  });

  while (!ExitRequested_) {
    std::optional<std::chrono::steady_clock::time_point> Due;
    for (auto& [Uri, D] : Documents_)
      if (D->ChecksDue && D->FullTokensRunning == 0 && (!Due || *D->ChecksDue < *Due))
        Due = D->ChecksDue;
    TyInbound Item{TyInbound::ikCheckDone, {}, {}, {}, {}};
    bool Have = false;
    {
      std::unique_lock Lock(Mutex_);
      auto Ready = [this] { return !Queue_.empty(); };
      if (Due)
        Arrived_.wait_until(Lock, *Due, Ready);
      else
        Arrived_.wait(Lock, Ready);
      if (!Queue_.empty()) {
        Item = std::move(Queue_.front());
        Queue_.pop_front();
        Have = true;
      }
    }
    if (Have) {
      if (Item.Kind == TyInbound::ikEnd) break;
      if (Item.Kind == TyInbound::ikMessage) {
        BigText_ = Item.Big.get();
        HandleMessage(Item.Message);
        BigText_ = nullptr;
      } else if (Item.Kind == TyInbound::ikTask) {
        Item.Task();
      } else {
        auto It = Documents_.find(Item.Uri);
        if (It != Documents_.end() && It->second->getChecks().Poll())
          PublishDiagnostics(*It->second);
      }
    }
    // Due checks wait for the messages already here: a full token request right behind a
    // didOpen gets the processors first, and a check would only be outdated by a change.
    bool Waiting;
    {
      std::lock_guard Lock(Mutex_);
      Waiting = !Queue_.empty();
    }
    if (!Waiting) RunDueWork();
    Jobs_.Reap();
  }
  Reader.join();
  // Stop the jobs and checks before the queue they post to goes away.
  Jobs_.StopAll();
  Documents_.clear();
  return ShutdownRequested_ && ExitRequested_ ? 0 : 1;
}

}  // namespace xylem::lsp
