#pragma once
// Full semantic tokens of a whole document for the language server: tokenized in parallel
// pieces of lines into a compact form (a 50 MB document's 139 MB of JSON text take about a
// third of that), then written as JSON text in bounded chunks behind a length counted while
// tokenizing, so the whole text is never held.
//
// Threading: computed on any thread from a view that does not change meanwhile; the result
// is immutable and written by one thread (which starts a helper thread for big results).

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/JobContext.hpp"
#include "lsp/DocumentView.hpp"
#include "lsp/SemanticTokens.hpp"
#include "lsp/Transport.hpp"

namespace xylem::lsp {

// One piece of lines of a full result, held compactly until it is written (about 3 bytes a
// token instead of about 9 as text): for every line holding tokens its distance from the
// previous such line of the piece and its token count, then per token its start (from the
// previous token of the line), its length and its legend entry, as variable-length numbers
// in blocks of 1 MiB (no block is ever moved).
struct TyTokensPiece {
  struct TyBlock {
    std::unique_ptr<uint8_t[]> Bytes;
    size_t Used = 0;
  };
  std::vector<TyBlock> Blocks;
  std::vector<uint32_t> Counts;  // tokens per line of the piece (moved out once joined)
  int64_t FirstTokenLine = 0;    // 0: no token in the piece
  int64_t LastTokenLine = 0;
  // Length of the piece's text without the first token's line delta.
  size_t TextLength = 0;
};

// A full result computed off the dispatch thread: the "data" array in compact pieces, written
// as text in bounded chunks (never held whole), and the token count of every line.
struct TyFullTokens {
  std::vector<TyTokensPiece> Pieces;
  std::vector<uint32_t> Counts;
  // Length of the "data" array's content as text (between its brackets).
  size_t getTextLength() const;
  // Passes the "data" array's content as text to Sink in chunks of about ChunkBytes (at least
  // one number each). Linear; holds one chunk.
  void WriteText(const std::function<void(std::string_view)>& Sink,
                 size_t ChunkBytes = size_t{1} << 20) const;
  // The content joined (tests; the server writes the chunks as they come).
  std::string getJoined() const;
};

// Tokenizes every line of View into a full result, in up to Job.PieceCount pieces of lines
// run in parallel (each with its own tokenizer; they only read the lines). Progress
// "Tokenizing" counts lines; Job's stop ends it with CyCancelledException. Any thread; View
// must not change meanwhile (a snapshot, or the document on its own thread). MinPieceLines:
// no piece is cut shorter (a short piece costs more in threads than it saves).
TyFullTokens ComputeFullTokens(const CyDocumentView& View, const TyJobContext& Job,
                               int64_t MinPieceLines = 16384);

// The full result's JSON text around Data: {"data":[...],"resultId":"Id"}, as a body part
// that writes it in bounded chunks.
std::unique_ptr<IyBodyPart> FullResultBody(TyFullTokens Data, const std::string& ResultId);

}  // namespace xylem::lsp
