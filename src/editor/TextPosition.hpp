#pragma once
// Positions, ranges and the selection of an editable document. Lines and line positions are
// 1-based and count UTF-16 code units, as the text list does; a position may stand behind a
// line's last character (Linepos = length + 1), never beyond.

#include <compare>
#include <cstdint>

#include "common/Utf.hpp"  // TyTextPosition

namespace xylem {

// [Start, End) with Start <= End.
struct TyTextRange {
  TyTextPosition Start;
  TyTextPosition End;
  bool operator==(const TyTextRange&) const = default;
  bool isEmpty() const { return Start == End; }
};

// The one selection: the anchor stays where the selection began, the caret moves. The anchor
// may lie behind the caret (a selection made backwards); equal ends are a plain caret.
struct TySelection {
  TyTextPosition Anchor;
  TyTextPosition Caret;
  bool operator==(const TySelection&) const = default;
  TyTextRange getRange() const {
    return Anchor < Caret ? TyTextRange{Anchor, Caret} : TyTextRange{Caret, Anchor};
  }
  bool isEmpty() const { return Anchor == Caret; }
  static TySelection At(TyTextPosition Position) { return {Position, Position}; }
};

}  // namespace xylem
