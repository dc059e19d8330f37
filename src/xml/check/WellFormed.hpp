#pragma once
// The well-formedness check of an XML document held in a text list. It reads the tokenizer
// state stored at the start of every line (TxItem::StackG/StackS) and the tokens, and reports
// every missing token, tag-matching fault, misplaced or malformed construct, forbidden
// character, fault of the XML declaration or of a markup declaration in the internal subset,
// and broken entity rule as error records. It needs no external entity and loads none, so it
// agrees with a conforming non-validating XML 1.0 parser on documents that need none; where
// only an unread declaration could tell (an undeclared entity in a document with an external
// subset or a parameter-entity reference, not standalone), it reports nothing.
//
//   CyXMLParserParallel::UpdateAllLines(list.getTextItems(), total, job.PieceCount, job);
//   IyXMLErrsPtr errs = CyXMLWellFormed::Check_PARALLEL(list);
// or, for a freshly loaded list, both in one pass over the text:
//   IyXMLErrsPtr errs = CyXMLWellFormed::StoreLineStatesAndCheck_PARALLEL(list, total);

#include <cstdint>

#include "common/JobContext.hpp"
#include "diag/ErrList.hpp"
#include "text/TextList.hpp"

namespace xylem {

class CyXMLWellFormed {
 public:
  // Errors kept for one check: the first ones by line and position. Huge broken files stop
  // costing memory here (the check still reads every line, for the tag matching); the first
  // error is never dropped.
  static constexpr int32_t kMaxErrors = 1000;

  // Checks List, whose line start states must be stored. The lines are cut into PieceCount
  // consecutive pieces (0: Job.PieceCount), each checked in its own task from its first
  // line's stored state; tag matching and root counting are joined in piece order afterwards.
  // Errors are sorted by line, then position, then message, and capped at kMaxErrors; the
  // result does not depend on PieceCount. The text must not change while this runs. Tasks run
  // on Job's pool; the stage "Checking" (total: the line count) is announced to Job's progress
  // and advanced; its stop token is polled every 16 K lines of each piece and ends the check
  // with CyCancelledException.
  static IyXMLErrsPtr Check_PARALLEL(const TxTextList& List, int PieceCount = 0,
                                     const TyJobContext& Job = {});
  // The same on the calling thread in one piece.
  static IyXMLErrsPtr Check_NOT_PARALLEL(const TxTextList& List) { return Check_PARALLEL(List, 1); }
  // UpdateAllLines and Check_PARALLEL in one pass: each piece stores the line states as it
  // checks, from the document-level state; the pieces whose first line the repair then finds
  // in another state (rare: a construct open across the cut) are checked again from the
  // repaired states. Leaves exactly the states, TotalDelta and errors of the two calls. Job as
  // for Check_PARALLEL; a cancelled call leaves the line states partly stored.
  static IyXMLErrsPtr StoreLineStatesAndCheck_PARALLEL(TxTextList& List, int64_t& TotalDelta,
                                                       int PieceCount = 0,
                                                       const TyJobContext& Job = {});

  // The sequential reference for the stored line states: from the document-level state, stores
  // each line's start state and deltas and scans it with TxXMLParser::ScanUntilEOL (end of
  // input on the last line). Linear, one thread; the parallel scan gives the same states.
  static void StoreLineStates_NOT_PARALLEL(TxTextList& List);

  // Processor info of the records this checker makes.
  static const IyProcessorInfoPtr& getProcessorInfo();
};

}  // namespace xylem
