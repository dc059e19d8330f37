#pragma once
// What one change did to a document, as told to its listeners: enough for a view to repaint
// only the lines whose text or stored states changed, for per-line view data (fold levels,
// wrap rows, markers) to follow line inserts and removals, and for a language server to send
// an incremental content change and token deltas.

#include <cstdint>

#include "editor/TextPosition.hpp"

namespace xylem {

class TxMarkupDocument;

struct TyDocumentChange {
  // Lines FirstLine .. FirstLine + LinesRemoved - 1 of the old text were replaced by lines
  // FirstLine .. FirstLine + LinesInserted - 1 of the new text (both at least 1 for a text
  // edit: an edit inside one line removes one line and inserts one). Lines before FirstLine
  // keep their records; lines behind the change keep their records and identities and are
  // renumbered by LinesInserted - LinesRemoved.
  int64_t FirstLine = 1;
  int64_t LinesRemoved = 0;
  int64_t LinesInserted = 0;
  // The last line (in new numbering) whose stored line states or deltas changed: at least
  // FirstLine + LinesInserted - 1, more when the repair had to go on behind the edit (an
  // opened comment recolours the lines behind it). Lines in between need repainting.
  int64_t StatesChangedUntil = 0;
  // The first line whose stored states changed; FirstLine, or FirstLine - 1 when an edit at
  // the document's end changed the counts of the line before it.
  int64_t StatesChangedFrom = 1;
  // The same change in positions: the old text [Start, OldEnd) became [Start, NewEnd). Kept
  // as narrow as the gateway knows (an edit inside a line gives the exact columns).
  TyTextPosition Start;
  TyTextPosition OldEnd;
  TyTextPosition NewEnd;
  // The whole content was replaced (load, format, replace all, undo of those).
  bool WholeContent = false;
  // The change may have opened or closed a construct (for XML: a line's deltas or the states
  // behind the edit changed, or a removed or inserted line opens or closes something; for JSON:
  // a bracket or quote was removed or inserted). When false, fold ranges only shift.
  bool StructureChanged = true;
  // The change came from undo or redo.
  bool FromUndo = false;
  // The document's generation after the change (see TxMarkupDocument::getGeneration).
  uint64_t Generation = 0;
  // Net change of the line count.
  int64_t getLineDelta() const { return LinesInserted - LinesRemoved; }
};

// Told of every change, on the editing thread, after the text, the line states and the
// document's markers are up to date and before the edit call returns. A listener must not
// edit the document from the notification.
class IyDocumentListener {
 public:
  virtual ~IyDocumentListener() = default;
  virtual void OnDocumentChanged(const TxMarkupDocument& Document,
                                 const TyDocumentChange& Change) = 0;
};

}  // namespace xylem
