#include "lsp/Server.hpp"

#include <thread>

#include "common/Exception.hpp"
#include "common/Settings.hpp"
#include "common/Utf.hpp"
#include "lsp/Completion.hpp"
#include "lsp/Diagnostics.hpp"
#include "lsp/DocumentSymbols.hpp"
#include "lsp/FoldingRanges.hpp"
#include "lsp/Formatting.hpp"
#include "lsp/TagNavigation.hpp"

namespace xylem::lsp {

namespace {

constexpr size_t kMaxCancelledIds = 4096;
// The id of our own workspace/configuration requests.
constexpr const char* kConfigurationRequestId = "xylem/configuration";
const json kNull;

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
  // The checks' workers post to the queue: stop them while it still exists.
  Documents_.clear();
}

void CyLspServer::Request(const std::string& Method, TyHandler Handler) {
  Requests_[Method] = std::move(Handler);
}

void CyLspServer::RawRequest(const std::string& Method, TyRawHandler Handler) {
  RawRequests_[Method] = std::move(Handler);
}

void CyLspServer::Notification(const std::string& Method,
                               std::function<void(const json& Params)> Handler) {
  Notifications_[Method] = std::move(Handler);
}

void CyLspServer::Register() {
  Request("initialize", [this](const json& P) { return Initialize(P); });
  Request("shutdown", [this](const json&) {
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

  RawRequest("textDocument/semanticTokens/full", [this](const json& P) {
    CyLspDocument& D = DocumentOf(P);
    return D.getTokens().FullText(D.getDocument());
  });
  RawRequest("textDocument/semanticTokens/full/delta", [this](const json& P) {
    CyLspDocument& D = DocumentOf(P);
    return D.getTokens().DeltaText(D.getDocument(), RequireString(P, "previousResultId"));
  });
  Request("textDocument/semanticTokens/range", [this](const json& P) {
    CyLspDocument& D = DocumentOf(P);
    return CySemanticTokensState::Range(D.getDocument(),
                                        FromLspRange(P.value("range", json()), D.getDocument()));
  });
  Request("textDocument/foldingRange", [this](const json& P) {
    CyLspDocument& D = DocumentOf(P);
    std::optional<int64_t> Limit;
    if (P.contains("rangeLimit") && P["rangeLimit"].is_number_integer())
      Limit = P["rangeLimit"].get<int64_t>();
    return FoldingRanges(D.getDocument(), Limit);
  });
  Request("textDocument/formatting", [this](const json& P) {
    CyLspDocument& D = DocumentOf(P);
    return FormatEdits(D.getDocument(), P.value("options", json()), FormatterChoices_,
                       std::nullopt);
  });
  Request("textDocument/rangeFormatting", [this](const json& P) {
    CyLspDocument& D = DocumentOf(P);
    return FormatEdits(D.getDocument(), P.value("options", json()), FormatterChoices_,
                       FromLspRange(P.value("range", json()), D.getDocument()));
  });
  Request("textDocument/diagnostic", [this](const json& P) { return PullDiagnostics(P); });
  Request("textDocument/completion", [this](const json& P) {
    CyLspDocument& D = DocumentOf(P);
    return Completion(D.getDocument(),
                      FromLspPosition(P.value("position", json()), D.getDocument()));
  });
  Request("textDocument/documentSymbol",
          [this](const json& P) { return DocumentSymbols(DocumentOf(P).getDocument()); });
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
  if (Params.is_object() && Params.contains("initializationOptions"))
    DidChangeConfiguration({{"settings", {{"xylem", Params["initializationOptions"]}}}});
  json Capabilities = {
      {"positionEncoding", "utf-16"},
      {"textDocumentSync", {{"openClose", true}, {"change", 2}, {"save", false}}},
      {"semanticTokensProvider",
       {{"legend", SemanticTokensLegend()}, {"range", true}, {"full", {{"delta", true}}}}},
      {"foldingRangeProvider", true},
      {"documentFormattingProvider", true},
      {"documentRangeFormattingProvider", true},
      {"completionProvider", {{"triggerCharacters", {"<", "/", "(", "$", ":", " ", "@"}}}},
      {"documentSymbolProvider", true},
      {"linkedEditingRangeProvider", true},
      {"documentHighlightProvider", true},
      {"selectionRangeProvider", true},
      {"diagnosticProvider",
       {{"identifier", "xylem"},
        {"interFileDependencies", false},
        {"workspaceDiagnostics", false}}},
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
  auto Document = std::make_unique<CyLspDocument>(Uri, LanguageId, Version, ToUTF16(Text), Caches_);
  Document->getChecks().setOnFinished([this, Uri] { Post({TyInbound::ikCheckDone, {}, Uri}); });
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
  D.ApplyChanges(Params["contentChanges"], Version);
  ScheduleChecks(D);
}

void CyLspServer::DidClose(const json& Params) {
  const std::string& Uri = RequireString(RequireObject(Params, "textDocument"), "uri");
  if (Documents_.erase(Uri))
    Notify("textDocument/publishDiagnostics", {{"uri", Uri}, {"diagnostics", json::array()}});
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

json CyLspServer::PullDiagnostics(const json& Params) {
  CyLspDocument& D = DocumentOf(Params);
  TxMarkupDocument& Doc = D.getDocument();
  IyXMLErrsPtr Errs;
  if (D.getChecks().getResultGeneration() == Doc.getGeneration() && !D.getChecks().getRunning())
    Errs = D.getChecks().getErrs();
  if (!Errs) {
    TyJobContext Job;
    Job.PieceCount = 1;
    Errs = CheckSnapshot(*Doc.CreateSnapshot(), Caches_, Job);
  }
  return {{"kind", "full"}, {"items", DiagnosticsOf(Errs.get(), Doc)}};
}

void CyLspServer::RunDueWork() {
  const auto Now = std::chrono::steady_clock::now();
  for (auto& [Uri, D] : Documents_)
    if (D->ChecksDue && *D->ChecksDue <= Now) {
      D->ChecksDue.reset();
      D->getChecks().Start();
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

bool CyLspServer::TakeCancelled(const json& Id) {
  std::lock_guard Lock(Mutex_);
  return Cancelled_.erase(Id.dump()) > 0;
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
      if (Params.is_object() && Params.contains("id")) {
        std::lock_guard Lock(Mutex_);
        if (Cancelled_.size() >= kMaxCancelledIds) Cancelled_.clear();
        Cancelled_.insert(Params["id"].dump());
      }
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
    RespondError(Id, lecRequestCancelled, "The request was cancelled.");
    return;
  }
  auto It = Requests_.find(Method);
  auto RawIt = RawRequests_.find(Method);
  if (It == Requests_.end() && RawIt == RawRequests_.end()) {
    RespondError(Id, lecMethodNotFound, "Unhandled method " + Method + ".");
    return;
  }
  try {
    if (RawIt != RawRequests_.end())
      RespondRaw(Id, RawIt->second(Params));
    else
      Respond(Id, It->second(Params));
  } catch (const CyLspError& Error) {
    RespondError(Id, Error.getCode(), Error.what());
  } catch (const json::exception& Error) {
    RespondError(Id, lecInvalidParams, Error.what());
  } catch (const CyCancelledException&) {
    RespondError(Id, lecRequestCancelled, "The request was cancelled.");
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
      json Message = json::parse(Body, nullptr, false);
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
        const json& Params = Message.value("params", json());
        if (Params.is_object() && Params.contains("id")) {
          std::lock_guard Lock(Mutex_);
          if (Cancelled_.size() >= kMaxCancelledIds) Cancelled_.clear();
          Cancelled_.insert(Params["id"].dump());
        }
        continue;
      }
      Post({TyInbound::ikMessage, std::move(Message), {}});
      if (IsExit) return;  // nothing after exit is read
    }
    Post({TyInbound::ikEnd, {}, {}});
  });

  while (!ExitRequested_) {
    std::optional<std::chrono::steady_clock::time_point> Due;
    for (auto& [Uri, D] : Documents_)
      if (D->ChecksDue && (!Due || *D->ChecksDue < *Due)) Due = D->ChecksDue;
    TyInbound Item{TyInbound::ikCheckDone, {}, {}};
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
        HandleMessage(Item.Message);
      } else {
        auto It = Documents_.find(Item.Uri);
        if (It != Documents_.end() && It->second->getChecks().Poll())
          PublishDiagnostics(*It->second);
      }
    }
    RunDueWork();
  }
  Reader.join();
  // Stop the checks before the queue they post to goes away.
  Documents_.clear();
  return ShutdownRequested_ && ExitRequested_ ? 0 : 1;
}

}  // namespace xylem::lsp
