#pragma once
// A character cursor over the checked text for the checks that read a construct spanning lines
// (the XML declaration, the document type declaration) or over a replacement text. Line ends
// read as one '\n'; positions are the text list's (1-based line and position). Internal to
// CyXMLWellFormed.

#include <cstdint>
#include <string_view>

#include "text/TextList.hpp"

namespace xylem::wellformed {

class CySourceCursor {
 public:
  static constexpr int32_t kEnd = -1;

  // Lines of List from (Line, Pos). Reads no further than the list's last line.
  CySourceCursor(const TxTextList& List, int64_t Line, int32_t Pos)
      : List_(&List), Line_(Line), Text_(List.getLine(Line)), At_(static_cast<size_t>(Pos - 1)) {}
  // A text of its own (a replacement text): every position reads as (Line, Pos), where the
  // text is referenced.
  CySourceCursor(std::u16string_view Text, int64_t Line, int32_t Pos)
      : Line_(Line), Text_(Text), FixedPos_(Pos) {}

  // The code unit Ahead units on (within the current line, or the line end), kEnd past the end.
  int32_t Peek(size_t Ahead = 0) const {
    const size_t i = At_ + Ahead;
    if (i < Text_.size()) return Text_[i];
    if (i == Text_.size() && List_ != nullptr && Line_ < List_->getCount()) return u'\n';
    return kEnd;
  }
  bool AtEnd() const { return Peek() == kEnd; }
  // True when the current line continues with Literal (case-sensitive).
  bool LookingAt(std::u16string_view Literal) const {
    return Text_.substr(std::min(At_, Text_.size())).starts_with(Literal);
  }
  void Next() {
    if (At_ < Text_.size()) {
      ++At_;
    } else if (List_ != nullptr && Line_ < List_->getCount()) {
      Text_ = List_->getLine(++Line_);
      At_ = 0;
    }
  }
  void Skip(size_t Count) {
    for (size_t i = 0; i < Count; ++i) Next();
  }
  // Skips white space (space, tab, line ends); true when any was skipped.
  bool SkipSpace() {
    bool any = false;
    for (int32_t c = Peek(); c == ' ' || c == '\t' || c == '\n' || c == '\r'; c = Peek()) {
      Next();
      any = true;
    }
    return any;
  }
  int64_t getLine() const { return Line_; }
  int32_t getPos() const { return FixedPos_ > 0 ? FixedPos_ : static_cast<int32_t>(At_ + 1); }
  bool IsReplacementText() const { return List_ == nullptr; }

 private:
  const TxTextList* List_ = nullptr;
  int64_t Line_;
  std::u16string_view Text_;
  size_t At_ = 0;
  int32_t FixedPos_ = 0;
};

}  // namespace xylem::wellformed
