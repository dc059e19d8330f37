#include "editor/UndoHistory.hpp"

namespace xylem {

CySharedLine::CySharedLine(const TyTextUTF16& Slice) : Slice_(Slice) {
  if (Slice_.Owner) Slice_.Owner->AddRef();
}

CySharedLine::CySharedLine(CySharedLine&& Other) noexcept : Slice_(Other.Slice_) {
  Other.Slice_ = {};
}

CySharedLine& CySharedLine::operator=(CySharedLine&& Other) noexcept {
  if (this != &Other) {
    if (Slice_.Owner) Slice_.Owner->Release();
    Slice_ = Other.Slice_;
    Other.Slice_ = {};
  }
  return *this;
}

CySharedLine::~CySharedLine() {
  if (Slice_.Owner) Slice_.Owner->Release();
}

void CyUndoHistory::setLimit(int64_t Limit) {
  Limit_ = Limit < 0 ? 0 : Limit;
  while (static_cast<int64_t>(Steps_.size()) > Limit_) {
    // Drop from the front (the oldest); when only redo steps remain beyond the limit, drop those.
    if (Current_ > 0) {
      Steps_.pop_front();
      --Current_;
      SavePoint_ = SavePoint_ <= 0 ? -1 : SavePoint_ - 1;
    } else {
      Steps_.pop_back();
      if (SavePoint_ > static_cast<int64_t>(Steps_.size())) SavePoint_ = -1;
    }
  }
  Open_ = false;
}

void CyUndoHistory::Clear() {
  Steps_.clear();
  Current_ = 0;
  SavePoint_ = 0;
  CompoundDepth_ = 0;
  Open_ = false;
}

bool CyUndoHistory::CoversLine(const TyUndoStep& Step, int64_t Line) {
  if (Step.Entries.size() != 1) return false;
  const TyUndoEntry& entry = Step.Entries.back();
  return !entry.Lines && !entry.WholeContent && entry.FirstLine == Line && entry.LineCount == 1;
}

TyUndoStep* CyUndoHistory::BeginChange(TyEditKind Kind, const TyTextRange& Range,
                                       const TySelection& Selection,
                                       std::chrono::milliseconds Pause, bool& Merged) {
  Merged = false;
  const auto now = std::chrono::steady_clock::now();
  if (Limit_ == 0) {
    // Without a history the text can never return to the saved state by undo.
    SavePoint_ = -1;
    return nullptr;
  }
  if (CompoundDepth_ > 0 && getCanUndo()) return &Steps_[static_cast<size_t>(Current_ - 1)];
  if (Open_ && Kind != TyEditKind::ekOther && Range.Start.Line == Range.End.Line && getCanUndo() &&
      Current_ == static_cast<int64_t>(Steps_.size())) {
    TyUndoStep& last = Steps_.back();
    const bool samePlace = last.Kind == Kind && last.TypingLine == Range.Start.Line &&
                           (Kind == TyEditKind::ekTyping
                                ? Range.Start == last.TypingEnd
                                : Range.End == last.TypingEnd || Range.Start == last.TypingEnd);
    const bool paused = Pause.count() > 0 && now - last.Time > Pause;
    if (samePlace && !paused && !last.TypingWordEnded) {
      last.Time = now;
      Merged = true;
      return &last;
    }
  }
  // A new step: whatever could be redone is gone, and the oldest step goes beyond the limit.
  if (SavePoint_ > Current_) SavePoint_ = -1;
  Steps_.resize(static_cast<size_t>(Current_));
  Steps_.emplace_back();
  ++Current_;
  ++StepsBegun_;
  TyUndoStep& step = Steps_.back();
  step.SelectionBefore = Selection;
  step.SelectionAfter = Selection;
  step.Kind = Kind;
  step.TypingLine = Range.Start.Line;
  step.Time = now;
  Open_ = Kind != TyEditKind::ekOther;
  if (static_cast<int64_t>(Steps_.size()) > Limit_) {
    Steps_.pop_front();
    --Current_;
    SavePoint_ = SavePoint_ <= 0 ? -1 : SavePoint_ - 1;
  }
  return &Steps_.back();
}

void CyUndoHistory::BeginCompound(const TySelection& Selection) {
  if (CompoundDepth_++ > 0 || Limit_ == 0) return;
  // The step is made outside the compound so that it is a new one.
  --CompoundDepth_;
  bool merged = false;
  BeginChange(TyEditKind::ekOther, {Selection.Caret, Selection.Caret}, Selection,
              std::chrono::milliseconds{0}, merged);
  ++CompoundDepth_;
}

void CyUndoHistory::EndCompound(const TySelection& Selection) {
  if (CompoundDepth_ == 0 || --CompoundDepth_ > 0 || Limit_ == 0) return;
  if (!getCanUndo()) return;
  TyUndoStep& step = Steps_[static_cast<size_t>(Current_ - 1)];
  step.SelectionAfter = Selection;
  // A compound change that changed nothing leaves no step behind.
  if (step.Entries.empty() && Current_ == static_cast<int64_t>(Steps_.size())) {
    Steps_.pop_back();
    --Current_;
  }
  Open_ = false;
}

}  // namespace xylem
