#pragma once
// Shared vocabulary of the language server: JSON-RPC error codes, the error a handler raises,
// and conversions between LSP positions (0-based line and UTF-16 character, the document
// model's own unit, so no transcoding) and the document's 1-based positions.

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "editor/Document.hpp"
#include "editor/TextPosition.hpp"
#include "lsp/DocumentView.hpp"

namespace xylem::lsp {

using json = nlohmann::json;

// JSON-RPC and LSP error codes.
enum TyLspErrorCode : int {
  lecParseError = -32700,
  lecInvalidRequest = -32600,
  lecMethodNotFound = -32601,
  lecInvalidParams = -32602,
  lecInternalError = -32603,
  lecServerNotInitialized = -32002,
  lecRequestFailed = -32803,
  lecServerCancelled = -32802,
  lecContentModified = -32801,
  lecRequestCancelled = -32800,
};

// Raised by handlers; the dispatcher answers the request with this code and message.
class CyLspError : public std::runtime_error {
 public:
  CyLspError(int Code, const std::string& Message) : std::runtime_error(Message), Code_(Code) {}
  int getCode() const { return Code_; }

 private:
  int Code_;
};

// The document position of an LSP Position object, clamped into the text (a client may send
// a character past a line's end; LSP says to use the line's end then). Raises CyLspError
// (InvalidParams) when the object lacks its numbers.
TyTextPosition FromLspPosition(const json& Position, const TxMarkupDocument& Document);
// The document range of an LSP Range object, clamped and ordered.
TyTextRange FromLspRange(const json& Range, const TxMarkupDocument& Document);
json ToLspPosition(TyTextPosition Position);
json ToLspRange(const TyTextRange& Range);

// Serialises a message; text that is not valid UTF-8 (never from us) is replaced, not thrown.
std::string DumpMessage(const json& Message);

}  // namespace xylem::lsp
