#pragma once
// A read-only copy of a document's lines for work off the editing thread (checks, folding,
// a language server's analysis). It copies the line records (about 80 bytes a line) and shares
// the line texts through their reference counts, so no text is copied; the document may go on
// editing at once. A shared snapshot (TxMarkupDocument::CreateSharedSnapshot) copies nothing:
// it holds the document's own list, which the document leaves to it at its next change.
// Everything here is immutable after creation and may be read from any thread.

#include <cstdint>
#include <memory>
#include <string>

#include "services/DocumentKind.hpp"
#include "text/TextList.hpp"

namespace xylem {

class TxDocumentSnapshot {
 public:
  TxDocumentSnapshot(std::shared_ptr<const TxTextList> TextList, std::u16string Newline,
                     TyDocumentKind Kind, std::string Path, uint64_t Generation)
      : TextList_(std::move(TextList)),
        Newline_(std::move(Newline)),
        Kind_(Kind),
        Path_(std::move(Path)),
        Generation_(Generation) {}

  // The lines with their stored line states, as they were at the snapshot.
  const TxTextList& getTextList() const { return *TextList_; }
  std::u16string_view getNewline() const { return Newline_; }
  TyDocumentKind getKind() const { return Kind_; }
  const std::string& getPath() const { return Path_; }
  // The document's generation the snapshot shows; results computed from it are outdated once
  // the document's generation differs.
  uint64_t getGeneration() const { return Generation_; }
  // The whole text joined by the document's newline. Linear; allocates.
  std::u16string getText() const {
    return TextList_->getTextItems().getJoined(Newline_, 1, TextList_->getCount());
  }

 private:
  std::shared_ptr<const TxTextList> TextList_;
  std::u16string Newline_;
  TyDocumentKind Kind_;
  std::string Path_;
  uint64_t Generation_;
};

using TxDocumentSnapshotPtr = std::shared_ptr<const TxDocumentSnapshot>;

}  // namespace xylem
