#pragma once
// CyDocumentView: what the analysis features read (lines with their stored states, the kind,
// the newline), taken either from the live document (dispatch thread) or from a snapshot (any
// thread). Features written against the view run unchanged on a worker.
//
// A view does not own what it shows: the document or snapshot must outlive it and, for a
// document, must not change while the view is used.

#include <cstdint>
#include <string>
#include <string_view>

#include "editor/Document.hpp"
#include "editor/Snapshot.hpp"
#include "editor/TextPosition.hpp"

namespace xylem::lsp {

class CyDocumentView {
 public:
  // Implicit on purpose: every feature taking a view also takes the document itself.
  CyDocumentView(const TxMarkupDocument& Document)  // NOLINT(google-explicit-constructor)
      : List_(&Document.getTextList()),
        Newline_(Document.getNewline()),
        Kind_(Document.getKind()) {}
  CyDocumentView(const TxDocumentSnapshot& Snapshot)  // NOLINT(google-explicit-constructor)
      : List_(&Snapshot.getTextList()),
        Newline_(Snapshot.getNewline()),
        Kind_(Snapshot.getKind()) {}

  const TxTextList& getTextList() const { return *List_; }
  std::u16string_view getNewline() const { return Newline_; }
  TyDocumentKind getKind() const { return Kind_; }
  // True when the lines carry the XML tokenizer's states (every kind but JSON and text).
  bool getKeepsLineStates() const { return KeepsXMLLineStates(Kind_); }
  int64_t getLineCount() const { return List_->getCount(); }
  // Line Index's text without line end, 1 <= Index <= getLineCount().
  std::u16string_view getLine(int64_t Index) const { return List_->getLine(Index); }
  // The position behind the last character.
  TyTextPosition getEndPosition() const;
  // Position moved into the text (line into 1 .. count, line position into 1 .. length + 1).
  TyTextPosition ClampPosition(TyTextPosition Position) const;
  // The whole text joined by the newline. Linear; allocates.
  std::u16string getText() const;

 private:
  const TxTextList* List_;
  std::u16string_view Newline_;
  TyDocumentKind Kind_;
};

}  // namespace xylem::lsp
