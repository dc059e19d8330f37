#include "editor/Markers.hpp"

namespace xylem {

namespace {

constexpr uint64_t kSlotBits = 32;
constexpr uint64_t kSlotMask = (uint64_t{1} << kSlotBits) - 1;

}  // namespace

TyTextPosition MovePosition(TyTextPosition Position, const TyDocumentChange& Change) {
  if (Position <= Change.Start) return Position;
  if (Position <= Change.OldEnd) return Change.NewEnd;
  // Behind the change: the same line as the old end keeps its distance to it; later lines only
  // move by the line count's change.
  if (Position.Line == Change.OldEnd.Line)
    return {Change.NewEnd.Line, Change.NewEnd.Linepos + (Position.Linepos - Change.OldEnd.Linepos)};
  return {Position.Line + (Change.NewEnd.Line - Change.OldEnd.Line), Position.Linepos};
}

TyMarkerID CyMarkers::Add(TyTextPosition Position, TyMarkerKind Kind) {
  uint32_t slot;
  if (!Free_.empty()) {
    slot = Free_.back();
    Free_.pop_back();
  } else {
    slot = static_cast<uint32_t>(Slots_.size());
    Slots_.emplace_back();
  }
  // The serial in the high bits tells a reused slot's new marker from the removed one.
  const TyMarkerID id = (NextSerial_++ << kSlotBits) | slot;
  Slots_[slot] = {Position, id, Kind};
  ++Live_;
  return id;
}

void CyMarkers::Remove(TyMarkerID ID) {
  const uint64_t slot = ID & kSlotMask;
  if (ID == kNoMarker || slot >= Slots_.size() || Slots_[slot].ID != ID) return;
  Slots_[slot].ID = kNoMarker;
  Free_.push_back(static_cast<uint32_t>(slot));
  --Live_;
}

void CyMarkers::RemoveKind(TyMarkerKind Kind) {
  for (TySlot& slot : Slots_)
    if (slot.ID != kNoMarker && slot.Kind == Kind) Remove(slot.ID);
}

void CyMarkers::Clear() {
  Slots_.clear();
  Free_.clear();
  Live_ = 0;
}

bool CyMarkers::getPosition(TyMarkerID ID, TyTextPosition& Position) const {
  const uint64_t slot = ID & kSlotMask;
  if (ID == kNoMarker || slot >= Slots_.size() || Slots_[slot].ID != ID) return false;
  Position = Slots_[slot].Position;
  return true;
}

TyTextPosition CyMarkers::getPosition(TyMarkerID ID) const {
  TyTextPosition position;
  getPosition(ID, position);
  return position;
}

bool CyMarkers::Contains(TyMarkerID ID) const {
  TyTextPosition position;
  return getPosition(ID, position);
}

void CyMarkers::ForEach(TyMarkerKind Kind,
                        const std::function<void(TyMarkerID, TyTextPosition)>& Visit) const {
  for (const TySlot& slot : Slots_)
    if (slot.ID != kNoMarker && slot.Kind == Kind) Visit(slot.ID, slot.Position);
}

void CyMarkers::Adjust(const TyDocumentChange& Change) {
  if (Live_ == 0) return;
  for (TySlot& slot : Slots_)
    if (slot.ID != kNoMarker) slot.Position = MovePosition(slot.Position, Change);
}

void CyMarkers::Transform(const std::function<TyTextPosition(TyTextPosition)>& Move) {
  for (TySlot& slot : Slots_)
    if (slot.ID != kNoMarker) slot.Position = Move(slot.Position);
}

}  // namespace xylem
