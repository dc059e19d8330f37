#pragma once
// One open document of the language server: the editable document holding the client's text,
// its version, and what the server keeps per document (the last semantic tokens result, the
// background checks and when they are due).
//
// Threading: the dispatch thread owns it; the background checks read snapshots on their own
// thread and report back through the server's queue.

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "editor/BackgroundCheck.hpp"
#include "editor/Document.hpp"
#include "lsp/Protocol.hpp"
#include "lsp/SemanticTokens.hpp"

namespace xylem::lsp {

// The file system path of a "file:" URI with its percent escapes decoded; other URIs are
// returned as they are (the path only chooses the document's kind by its extension).
std::string PathOfUri(const std::string& Uri);

class CyLspDocument {
 public:
  // Opens Text as the document at Uri; LanguageId ("xml", "xsl", "json", ...) picks the kind
  // when it names one, else the path's extension and content do.
  CyLspDocument(std::string Uri, const std::string& LanguageId, int64_t Version,
                std::u16string_view Text, CyXPathCheckerCachePool& Caches);
  // Opens the UTF-8 Text through the document's parallel loader (Load's job: progress and
  // stop; a stop leaves the document empty); AfterDecode runs once Text is no longer read.
  CyLspDocument(std::string Uri, const std::string& LanguageId, int64_t Version,
                std::string_view Text, const TyDocumentLoadOptions& Load,
                const std::function<void()>& AfterDecode, CyXPathCheckerCachePool& Caches);
  ~CyLspDocument();
  CyLspDocument(const CyLspDocument&) = delete;
  CyLspDocument& operator=(const CyLspDocument&) = delete;

  // Applies `contentChanges` of didChange in order: a change with a range is one edit of the
  // range (only the touched lines are rescanned); one without replaces the whole text. Raises
  // CyLspError (InvalidParams) for a malformed change; the changes before it stay applied.
  void ApplyChanges(const json& ContentChanges, int64_t Version);

  const std::string& getUri() const { return Uri_; }
  int64_t getVersion() const { return Version_; }
  TxMarkupDocument& getDocument() { return Document_; }
  const TxMarkupDocument& getDocument() const { return Document_; }
  CySemanticTokensState& getTokens() { return Tokens_; }
  CyBackgroundChecks& getChecks() { return *Checks_; }
  // A snapshot of the document as it is now for work on other threads; one still held by a
  // job for the same generation is shared. It holds the document's own lines (nothing is
  // copied); an edit while a job still reads them gives the document a copy of its own.
  TxDocumentSnapshotPtr getSnapshot();
  // Tells this document from an earlier one of the same URI (work that finishes late checks it).
  uint64_t getSerial() const { return Serial_; }

  // When the next background check is due (after a pause in typing); empty when none is.
  std::optional<std::chrono::steady_clock::time_point> ChecksDue;
  // Full token requests running on their own threads: due checks wait for them, so that the
  // two do not share the processors and their memory peaks do not add up.
  int FullTokensRunning = 0;

 private:
  // The kind by LanguageId, the listeners and the checks, once the text is loaded.
  void Init(const std::string& LanguageId, CyXPathCheckerCachePool& Caches);

  std::string Uri_;
  int64_t Version_;
  TxMarkupDocument Document_;
  CySemanticTokensState Tokens_;
  std::unique_ptr<CyBackgroundChecks> Checks_;
  std::weak_ptr<const TxDocumentSnapshot> Snapshot_;
  uint64_t Serial_;
};

}  // namespace xylem::lsp
