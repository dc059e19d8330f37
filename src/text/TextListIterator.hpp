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
      : list_(List),
        newline_(Newline),
        line_(FirstLine),
        last_(LastLine < 0 ? List.getCount() : LastLine) {}

  // The next span and the line it belongs to; false at the end. Empty lines give empty spans.
  bool Next(std::u16string_view& Span, int64_t& Line, bool& IsNewline) {
    if (line_ > last_) return false;
    Line = line_;
    IsNewline = newlinePending_;
    if (newlinePending_) {
      Span = newline_;
      newlinePending_ = false;
      ++line_;
    } else {
      Span = list_.getLine(line_);
      if (line_ < last_)
        newlinePending_ = true;
      else
        ++line_;
    }
    return true;
  }

 private:
  const TxTextList& list_;
  std::u16string_view newline_;
  int64_t line_;
  int64_t last_;
  bool newlinePending_ = false;
};

}  // namespace xylem
