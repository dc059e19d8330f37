#pragma once
// The tokenizer state at the start of every line and every line's delta counts, kept in the
// line records (TxItem: StackG, StackS, Delta, DeltaMin, DeltaMax) so that colouring, folding
// and checking can restart at any line.
//
//   int64_t total = 0;
//   CyXMLParserParallel::UpdateAllLines(items, total, job.PieceCount, job);  // after a load
//   CyXMLLineStates::BeforeEdit(items, 7, 2, total);   // lines 7 and 8 will be removed/rewritten
//   ... edit the text list ...
//   CyXMLLineStates::AfterEdit(items, 7, 1, total);    // line 7 holds new text now
//
// Invariant kept by all calls here: TotalDelta equals the sum of the lines' Delta fields. A
// fresh line record (Delta 0, states 99) fits it; BeforeEdit keeps it across removals.

#include <cstdint>

#include "common/JobContext.hpp"
#include "text/TextItems.hpp"
#include "xml/syntax/Tokenizer.hpp"

namespace xylem {

// One piece of consecutive lines and, after its task, the sum of their line deltas.
struct CyXMLParserParam {
  TxTextItems* TextItems = nullptr;   // the document's lines
  int64_t TextItemsIndex = 1;         // first line of the piece (1-based)
  int64_t TextItemsCount = 0;         // number of lines (0: the piece does nothing)
  int64_t TotalDelta = 0;             // out: sum of the piece's line deltas
  const TyJobContext* Job = nullptr;  // progress and stop polling; null: none
};

// A line's stored start state, as the tokenizer's two words.
struct TyXMLLineState {
  uint64_t StackG = kXMLDocumentGroupWord;
  uint64_t StackS = kXMLDocumentSymbolWord;
  bool operator==(const TyXMLLineState&) const = default;
};

class CyXMLLineStates {
 public:
  // Piece Index (0 .. PieceCount - 1) of LineCount lines cut into PieceCount consecutive
  // pieces: each takes the unassigned lines divided by the pieces left, so the longer pieces
  // come last (10 lines in 4: 2, 2, 3, 3). Lets later readers of the stored states (checkers)
  // cut the same way. Linear in PieceCount.
  static void CutPiece(int64_t LineCount, int PieceCount, int Index, int64_t& FirstLine,
                       int64_t& Count);
  // The stored start state of a line record.
  static TyXMLLineState getStartState(const TxItem& Item) {
    return {static_cast<uint64_t>(Item.StackG), static_cast<uint64_t>(Item.StackS)};
  }
  // Scans one line from State (replaced by the state after the line) and stores the line's
  // delta, lowest and highest delta in Item; AtEnd for the document's last line. Fast scan
  // first, the full tokenizer when it declines. Linear in the line, no allocation.
  static void ScanLine(TxXMLParser& Parser, TxItem& Item, bool AtEnd, TyXMLLineState& State);
  // Before an edit that removes or rewrites lines FirstLine .. FirstLine + Count - 1: takes
  // their deltas out of TotalDelta and zeroes them. Linear in Count.
  static void BeforeEdit(TxTextItems& TextItems, int64_t FirstLine, int64_t Count,
                         int64_t& TotalDelta);
  // After an edit: lines FirstChangedLine .. FirstChangedLine + ChangedCount - 1 hold new text
  // (ChangedCount 0 after a pure removal; FirstChangedLine is then the line that followed the
  // removed ones, getCount() + 1 at the end). Rescans those lines whatever
  // their start state, then repairs on with the stop rule; when the edit reaches the document's
  // end the line before it is rescanned too (it may have become or ceased to be the last line).
  // Keeps TotalDelta; returns the number of lines whose stored values were rewritten. Cost
  // proportional to that number. Editor thread only.
  static int64_t AfterEdit(TxTextItems& TextItems, int64_t FirstChangedLine, int64_t ChangedCount,
                           int64_t& TotalDelta);
  // After an edit that put Count >= 2 lines from FirstLine in place of others, where line
  // FirstLine holds new text and lines FirstLine + 1 .. FirstLine + Count - 1 come with start
  // states and counts that one scan of the same texts in the same order computed, from any
  // start state (records restored by undo, or an inserted block scanned on its own): adds their
  // deltas to TotalDelta, rescans line FirstLine and repairs on with the stop rule, then
  // rescans the block's last line from its stored start state (its end-of-input flag may have
  // differed) and repairs on behind it with the stop rule. Exact: where the repair stops inside
  // the block the stored states agree and the rest of the block was computed from them. Returns
  // the last line rewritten (at least the block's last). Cost: linear in Count for the delta
  // sum, plus the lines whose state was wrong. Editor thread only.
  static int64_t AfterInsertScanned(TxTextItems& TextItems, int64_t FirstLine, int64_t Count,
                                    int64_t& TotalDelta);
};

class CyXMLParserParallel {
 public:
  // Computes the start states and deltas of all lines in PieceCount pieces (one task each, all
  // started before any is awaited), then repairs piece boundaries in piece order. TotalDelta
  // receives the document's total delta. Blocks; the text must not change meanwhile. Tasks run
  // on Job's pool, advance its progress by lines and poll its stop token every 16 K lines:
  // a cancelled scan throws CyCancelledException and leaves the states partly computed (they
  // are recomputed by the next scan, never read as valid: TotalDelta is not set).
  static void UpdateAllLines(TxTextItems& TextItems, int64_t& TotalDelta, int PieceCount,
                             const TyJobContext& Job = {});
  // One piece's task: scans its lines from the document-level state.
  static void UpdatePiece(CyXMLParserParam& Param);
  // Recomputes start states from FirstLine on, at most LineCount lines, stopping at the first
  // line whose stored start state already equals the computed one. Keeps TotalDelta; sets and
  // returns RepairedLines, the number of lines rewritten. Nothing to do for line 1.
  static int64_t Repair(TxTextItems& TextItems, int64_t FirstLine, int64_t LineCount,
                        int64_t& TotalDelta, int64_t& RepairedLines);
};

// The per-line entry of the colouring.
class CyXMLParserEOL {
 public:
  // The fast scan of one line from (GroupWord, SymbolWord): true, with the state unchanged
  // and the line's counts set, when the state is the document-level one and CyRawXMLParser
  // accepts the line; false when TxXMLParser::ScanUntilEOL must be used.
  static bool ParseUntilEOL(const char16_t* Text, uint64_t GroupWord, uint64_t SymbolWord,
                            int32_t& Delta, int32_t& Lowest, int32_t& Highest);
};

}  // namespace xylem
