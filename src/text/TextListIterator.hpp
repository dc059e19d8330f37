#pragma once
// Walks a range of a text list as the text it stands for, span by span, without joining it:
// each line's characters, then the newline (none after the last line of the range).

#include <cstdint>
#include <string_view>

#include "text/TextList.hpp"

namespace xylem {

class CyTextListIterator {
 public:
  // Lines FirstLine .. LastLine (LastLine -1: to the end). The list must not change while the
  // iterator is in use; Newline must outlive it.
  CyTextListIterator(const TxTextList& List, std::u16string_view Newline, int64_t FirstLine = 1,
                     int64_t LastLine = -1)
      : List_(List),
        Newline_(Newline),
        Line_(FirstLine),
        Last_(LastLine < 0 ? List.getCount() : LastLine) {}

  // The next span and the line it belongs to; false at the end. Empty lines give empty spans.
  bool Next(std::u16string_view& Span, int64_t& Line, bool& IsNewline) {
    if (Line_ > Last_) return false;
    Line = Line_;
    IsNewline = NewlinePending_;
    if (NewlinePending_) {
      Span = Newline_;
      NewlinePending_ = false;
      ++Line_;
    } else {
      Span = List_.getLine(Line_);
      if (Line_ < Last_)
        NewlinePending_ = true;
      else
        ++Line_;
    }
    return true;
  }

 private:
  const TxTextList& List_;
  std::u16string_view Newline_;
  int64_t Line_;
  int64_t Last_;
  bool NewlinePending_ = false;
};

}  // namespace xylem
