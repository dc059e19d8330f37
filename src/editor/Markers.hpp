#pragma once
// Markers: positions that follow the text they point at while it is edited (error positions,
// search results, fold starts, the saved selection of a replace). The rules are those of the
// replace pass: a marker at or before the start of a changed range stays; one inside it
// (behind its start, not behind its old end) moves to the end of the new text; one behind the
// old end moves with the text behind it.
//
// Not thread-safe: the editing thread owns the markers with the document.

#include <cstdint>
#include <functional>
#include <vector>

#include "editor/DocumentChange.hpp"
#include "editor/TextPosition.hpp"

namespace xylem {

enum class TyMarkerKind : uint8_t {
  mkUser,          // kept for a front end
  mkError,         // the ends of an error's position (background checks)
  mkSearchResult,  // the ends of a search hit
  mkFold,          // the first line of a collapsed fold range
  mkSelection,     // selection ends kept across a whole-text change
};

using TyMarkerID = uint64_t;
inline constexpr TyMarkerID kNoMarker = 0;

// Moves Position over a change of [Start, OldEnd) into [Start, NewEnd) by the rules above.
// Constant time.
TyTextPosition MovePosition(TyTextPosition Position, const TyDocumentChange& Change);

class CyMarkers {
 public:
  // Adds a marker at Position; returns its identity (never kNoMarker). Amortised constant.
  TyMarkerID Add(TyTextPosition Position, TyMarkerKind Kind);
  // Removes one marker; unknown identities are ignored. Constant.
  void Remove(TyMarkerID ID);
  // Removes every marker of Kind. Linear in the markers.
  void RemoveKind(TyMarkerKind Kind);
  void Clear();
  // The current position of a marker; false for an unknown identity. Constant.
  bool getPosition(TyMarkerID ID, TyTextPosition& Position) const;
  TyTextPosition getPosition(TyMarkerID ID) const;
  bool Contains(TyMarkerID ID) const;
  int64_t getCount() const { return Live_; }
  // Visits the live markers of Kind in no particular order.
  void ForEach(TyMarkerKind Kind,
               const std::function<void(TyMarkerID, TyTextPosition)>& Visit) const;

  // Moves every marker over Change (the document calls this before notifying listeners).
  // Linear in the markers; nothing to do without markers.
  void Adjust(const TyDocumentChange& Change);
  // Moves every marker to Move(its position) (a whole-text change clamps them into the text).
  void Transform(const std::function<TyTextPosition(TyTextPosition)>& Move);

 private:
  struct TySlot {
    TyTextPosition Position;
    TyMarkerID ID = kNoMarker;  // kNoMarker: free slot
    TyMarkerKind Kind = TyMarkerKind::mkUser;
  };
  std::vector<TySlot> Slots_;
  std::vector<uint32_t> Free_;
  uint64_t NextSerial_ = 1;
  int64_t Live_ = 0;
};

}  // namespace xylem
