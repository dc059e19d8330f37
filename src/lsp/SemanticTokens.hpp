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

#include "common/JobContext.hpp"
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
  explicit CyLineTokenizer(const CyDocumentView& Document);
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

// A legend entry: the type and modifiers of a token.
struct TyLegendEntry {
  uint32_t Type;
  uint32_t Modifiers;
};
// Every legend entry that Tokenize gives, numbered so that one byte codes a token's entry.
const std::vector<TyLegendEntry>& getLegendEntries();
// The codes of getLegendEntries() by getLegendKey; 0xFF where there is no entry (never for a
// token of Tokenize).
const std::vector<uint8_t>& getLegendCodes();
inline size_t getLegendKey(const TyLspToken& Token) {
  return Token.Type < 16 && Token.Modifiers < (1u << 11)
             ? size_t(Token.Type) << 11 | Token.Modifiers
             : size_t{1} << 15;
}

// The last full or delta result sent for one document and the lines changed since.
//
// A full result may be computed elsewhere from a snapshot: BeginFull takes its id when the
// snapshot is made, changes from then on are tracked against it, and InstallFull hands over its
// line counts once it is done. Until then (or when another result began meanwhile) every delta
// request gets a full result, so an outdated result never becomes the base of a delta.
class CySemanticTokensState : public IyDocumentListener {
 public:
  // `textDocument/semanticTokens/full`: every line; remembers the result for later deltas.
  // Linear in the text.
  json Full(const CyDocumentView& Document);
  // Full as serialised JSON, written without building a JSON tree.
  std::string FullText(const CyDocumentView& Document);
  // Delta as serialised JSON (FullText when a full result is due).
  std::string DeltaText(const CyDocumentView& Document, const std::string& PreviousResultId);
  // `textDocument/semanticTokens/full/delta` against PreviousResultId: a delta when that id is
  // the last result, else a full result.
  json Delta(const CyDocumentView& Document, const std::string& PreviousResultId);
  // `textDocument/semanticTokens/range`: lines touching Range; no state kept.
  static json Range(const CyDocumentView& Document, const TyTextRange& Range);

  // True when a delta against PreviousResultId cannot be answered here (a full result is due).
  bool NeedsFull(const std::string& PreviousResultId) const;
  // Starts a full result of the document as it is now (call with the snapshot it is computed
  // from); returns its result id. Dispatch thread.
  std::string BeginFull();
  // Hands over the line counts of the full result ResultId; ignored unless it is the result
  // begun last and none was sent since. Dispatch thread.
  void InstallFull(const std::string& ResultId, std::vector<uint32_t> Counts);

  void OnDocumentChanged(const TxMarkupDocument& Document, const TyDocumentChange& Change) override;

 private:
  std::string NextResultId();

  std::vector<uint32_t> SentCounts_;  // tokens per line of the last result, in its numbering
  bool HaveResult_ = false;
  bool Pending_ = false;  // a full result was begun and its counts are not installed yet
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
