// The language server's message reader and dispatcher: random bytes as a framed stream, and
// random requests (every method, parameters made of random JSON with the expected keys) against
// open documents, answered into a null stream. Nothing may crash or hang.
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <sstream>
#include <string>

#include "lsp/Server.hpp"
#include "lsp/Transport.hpp"

namespace {

using xylem::lsp::json;

class CyBytes {
 public:
  CyBytes(const uint8_t* Data, size_t Size) : Data_(Data), Size_(Size) {}
  bool Empty() const { return At_ >= Size_; }
  uint8_t Byte() { return At_ < Size_ ? Data_[At_++] : 0; }
  std::string Text(size_t Max) {
    const size_t Wanted = Byte() % (Max + 1);  // read before the rest is measured
    const size_t Count = std::min<size_t>(Wanted, Size_ - std::min(At_, Size_));
    std::string Result(reinterpret_cast<const char*>(Data_ + At_), Count);
    At_ += Count;
    for (char& C : Result)
      if (static_cast<unsigned char>(C) >= 0x80) C = '?';  // JSON strings must be UTF-8
    return Result;
  }

 private:
  const uint8_t* Data_;
  size_t Size_;
  size_t At_ = 0;
};

json RandomValue(CyBytes& In, int Depth) {
  switch (In.Byte() % (Depth > 2 ? 5 : 7)) {
    case 0:
      return nullptr;
    case 1:
      return static_cast<int>(In.Byte()) - 8;
    case 2:
      return In.Byte() % 2 == 0;
    case 3:
      return In.Text(12);
    case 4:
      return static_cast<double>(In.Byte()) / 3;
    case 5: {
      json Array = json::array();
      for (int i = In.Byte() % 4; i > 0; --i) Array.push_back(RandomValue(In, Depth + 1));
      return Array;
    }
    default: {
      static const char* const kKeys[] = {"line",     "character", "start", "end",
                                          "range",    "text",      "uri",   "textDocument",
                                          "position", "options",   "id"};
      json Object = json::object();
      for (int i = In.Byte() % 4; i > 0; --i)
        Object[kKeys[In.Byte() % 11]] = RandomValue(In, Depth + 1);
      return Object;
    }
  }
}

json RandomPosition(CyBytes& In) {
  return {{"line", In.Byte() % 8}, {"character", In.Byte() % 24}};
}

const char* const kUris[] = {"file:///f/a.xml", "file:///f/s.xsl", "file:///f/j.json"};

json RandomParams(CyBytes& In) {
  json Params = {{"textDocument", {{"uri", kUris[In.Byte() % 3]}, {"version", In.Byte()}}}};
  switch (In.Byte() % 6) {
    case 0:
      Params["position"] = RandomPosition(In);
      break;
    case 1:
      Params["range"] = {{"start", RandomPosition(In)}, {"end", RandomPosition(In)}};
      break;
    case 2:
      Params["contentChanges"] =
          json::array({{{"range", {{"start", RandomPosition(In)}, {"end", RandomPosition(In)}}},
                        {"text", In.Text(16)}}});
      break;
    case 3:
      Params["previousResultId"] = std::to_string(In.Byte() % 4);
      break;
    case 4:
      Params["options"] = {{"tabSize", In.Byte() % 9}, {"insertSpaces", In.Byte() % 2}};
      Params["rangeLimit"] = In.Byte() % 5;
      break;
    default:
      Params[In.Text(8)] = RandomValue(In, 0);
  }
  if (In.Byte() % 8 == 0) return RandomValue(In, 0);
  return Params;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  std::ostringstream Sink;
  xylem::lsp::CyLspServer Server(Sink);
  if (Size == 0) return 0;
  CyBytes In(Data + 1, Size - 1);
  if (Data[0] % 2 == 0) {
    // The raw stream: every framed message goes to the dispatcher.
    std::istringstream Stream(std::string(reinterpret_cast<const char*>(Data + 1), Size - 1));
    xylem::lsp::CyMessageReader Reader(Stream, 1 << 16);
    std::string Body;
    for (int Count = 0; Count < 64; ++Count) {
      const xylem::lsp::TyReadStatus Status = Reader.Read(Body);
      if (Status == xylem::lsp::TyReadStatus::rsEnd) break;
      if (Status == xylem::lsp::TyReadStatus::rsMessage) Server.HandleContent(Body);
    }
    return 0;
  }
  static const char* const kMethods[] = {"textDocument/semanticTokens/full",
                                         "textDocument/semanticTokens/full/delta",
                                         "textDocument/semanticTokens/range",
                                         "textDocument/foldingRange",
                                         "textDocument/formatting",
                                         "textDocument/rangeFormatting",
                                         "textDocument/diagnostic",
                                         "textDocument/didChange",
                                         "textDocument/didClose",
                                         "textDocument/completion",
                                         "textDocument/documentSymbol",
                                         "textDocument/linkedEditingRange",
                                         "textDocument/documentHighlight",
                                         "textDocument/selectionRange",
                                         "$/cancelRequest",
                                         "shutdown",
                                         "workspace/didChangeConfiguration",
                                         "no/such/method"};
  Server.HandleMessage({{"jsonrpc", "2.0"}, {"id", 0}, {"method", "initialize"}, {"params", {}}});
  const char* const kTexts[] = {
      "<r a=\"1\">\n  <b>t</b>\n  <!-- c\n  -->\n</r>\n",
      "<xsl:stylesheet xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\">\n"
      "<xsl:template match=\"/a[\">\n<xsl:value-of select=\"count(\"/>\n</xsl:template>\n"
      "</xsl:stylesheet>\n",
      "{\"a\": [1, {\"b\": null}],\n \"c\": \"d\"}\n"};
  for (int i = 0; i < 3; ++i)
    Server.HandleMessage(
        {{"jsonrpc", "2.0"},
         {"method", "textDocument/didOpen"},
         {"params", {{"textDocument", {{"uri", kUris[i]}, {"text", kTexts[i]}}}}}});
  for (int Id = 1; !In.Empty() && Id < 64; ++Id) {
    json Message = {{"jsonrpc", "2.0"}, {"method", kMethods[In.Byte() % 18]}};
    if (In.Byte() % 4 != 0) Message["id"] = Id;
    Message["params"] = RandomParams(In);
    Server.HandleMessage(Message);
  }
  return 0;
}
