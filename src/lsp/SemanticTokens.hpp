#pragma once
// Semantic tokens: the XML line colouring's categories, the XPath colouring inside XSLT
// attribute values and the JSON colouring, as LSP semantic tokens (full, range and delta).
//
// Tokens never span lines (every colouring here works line by line), so the result is kept as
// one token count per line. After edits the lines whose text or stored line states changed
// are known from the document's change notices; a delta re-tokenizes only those lines (plus
// the next line holding tokens, whose line offset moves) and replaces their stretch of the
// previous result. Nothing diffs the whole token array.
//
// Threading: the dispatch thread only (it reads the document).

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "editor/DocumentChange.hpp"
#include "lsp/Protocol.hpp"

namespace xylem::lsp {

// One token of a line: 0-based start and length in UTF-16 units, legend indexes.
struct TyLspToken {
  uint32_t Start;
  uint32_t Length;
  uint32_t Type;
  uint32_t Modifiers;
  bool operator==(const TyLspToken&) const = default;
};

// The legend announced in the server's capabilities (tokenTypes, tokenModifiers).
json SemanticTokensLegend();

// Tokenizes single lines of a document by its kind. Holds the colouring objects, so tokenizing
// many lines costs no allocation per line beyond Out's growth. The document must not change
// while the object lives.
class CyLineTokenizer {
 public:
  explicit CyLineTokenizer(const TxMarkupDocument& Document);
  ~CyLineTokenizer();
  // Appends the tokens of line Line (1-based), ordered by start, without overlaps.
  void Tokenize(int64_t Line, std::vector<TyLspToken>& Out);

 private:
  struct TyImpl;
  std::unique_ptr<TyImpl> Impl_;
};

// Appends the tokens of lines First .. Last to Data in LSP's relative encoding; PreviousLine
// is the 1-based line of the token before (1 when there is none: LSP counts the first token
// from the start of the first line) and is updated. Returns the count per line
// through Counts when not null.
void EncodeLineTokens(CyLineTokenizer& Tokenizer, int64_t First, int64_t Last,
                      int64_t& PreviousLine, std::vector<uint32_t>& Data,
                      std::vector<uint32_t>* Counts);

// The last full or delta result sent for one document and the lines changed since.
class CySemanticTokensState : public IyDocumentListener {
 public:
  // `textDocument/semanticTokens/full`: every line; remembers the result for later deltas.
  // Linear in the text.
  json Full(const TxMarkupDocument& Document);
  // Full as serialised JSON, written without building a JSON tree (the server's path: a big
  // document has millions of numbers).
  std::string FullText(const TxMarkupDocument& Document);
  // Delta as serialised JSON (FullText when a full result is due).
  std::string DeltaText(const TxMarkupDocument& Document, const std::string& PreviousResultId);
  // `textDocument/semanticTokens/full/delta` against PreviousResultId: a delta when that id is
  // the last result, else a full result.
  json Delta(const TxMarkupDocument& Document, const std::string& PreviousResultId);
  // `textDocument/semanticTokens/range`: lines touching Range; no state kept.
  static json Range(const TxMarkupDocument& Document, const TyTextRange& Range);

  void OnDocumentChanged(const TxMarkupDocument& Document, const TyDocumentChange& Change) override;

 private:
  std::string NextResultId();
  // Tokenizes every line into Data and makes it the last result; returns its id.
  std::string FullData(const TxMarkupDocument& Document, std::vector<uint32_t>& Data);
  bool NeedsFull(const std::string& PreviousResultId) const;

  std::vector<uint32_t> SentCounts_;  // tokens per line of the last result, in its numbering
  bool HaveResult_ = false;
  uint64_t ResultNumber_ = 0;
  // Lines changed since the last result: [DirtyFrom_, DirtyUntil_] in today's numbering; lines
  // behind are the result's lines shifted by Shift_.
  bool Dirty_ = false;
  bool AllDirty_ = false;
  int64_t DirtyFrom_ = 0;
  int64_t DirtyUntil_ = 0;
  int64_t Shift_ = 0;
};

}  // namespace xylem::lsp
