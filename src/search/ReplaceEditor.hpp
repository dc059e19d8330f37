#pragma once
// What replace needs of the editor that owns a document: its text list, its newline, the
// selection, and a way to put new content in place as one change. The editor itself lives
// elsewhere; tests stand in for it.

#include <cstdint>
#include <memory>
#include <string_view>

#include "text/TextList.hpp"

namespace xylem {

// The two ends of the selection, 1-based lines and line positions. The anchor may lie behind
// the caret (a selection made backwards).
struct TyReplaceSelection {
  int64_t AnchorLine = 1;
  int64_t AnchorLinepos = 1;
  int64_t CaretLine = 1;
  int64_t CaretLinepos = 1;
};

class IyReplaceEditor {
 public:
  // Implemented by the editor; replace never keeps it beyond a call.
  virtual ~IyReplaceEditor() = default;
  // The document's lines; replace only reads them.
  virtual const TxTextList& getTextList() const = 0;
  // The document's newline: "\r\n", "\r" or "\n".
  virtual std::u16string_view getNewline() const = 0;
  // The selection, and setting it again after a replace.
  virtual TyReplaceSelection getSelection() const = 0;
  virtual void setSelection(const TyReplaceSelection& Selection) = 0;
  // Puts Content in place of all lines as one change (one undo step).
  virtual void ReplaceContent(std::unique_ptr<TxTextList> Content) = 0;
};

}  // namespace xylem
