#pragma once
// The undo history: a compact log of changes grouped into steps. A change is recorded as the
// lines it replaced (line records whose texts are shared by reference count, so recording
// copies no text), and undoing it swaps those lines back in, keeping the lines it takes out
// for redo; undo and redo are therefore one operation. A step holds the changes of one user
// action (consecutive typing merged, or a compound change) with the selection before and after
// it; a save point tells whether the document is modified.
//
// Memory: a typing step costs one record and one line reference; a whole-text change keeps the
// old text list itself. Not thread-safe: the editing thread owns it with the document.

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "editor/TextPosition.hpp"
#include "text/TextList.hpp"

namespace xylem {

// One line's text held by reference (the text list's slices are plain data, so the reference
// is taken and dropped here explicitly).
class CySharedLine {
 public:
  CySharedLine() = default;
  explicit CySharedLine(const TyTextUTF16& Slice);
  CySharedLine(CySharedLine&& Other) noexcept;
  CySharedLine& operator=(CySharedLine&& Other) noexcept;
  CySharedLine(const CySharedLine&) = delete;
  CySharedLine& operator=(const CySharedLine&) = delete;
  ~CySharedLine();
  std::u16string_view getView() const { return Slice_.getView(); }

 private:
  TyTextUTF16 Slice_{};
};

// Lines FirstLine .. FirstLine + LineCount - 1 of the document are to be replaced by the held
// lines (one shared line, or a list of records, or a whole text list).
struct TyUndoEntry {
  int64_t FirstLine = 1;
  int64_t LineCount = 1;
  CySharedLine Line;  // when Lines is null: exactly one line
  // Several lines, or the whole old text (WholeContent; it may be held by a shared snapshot).
  std::shared_ptr<TxTextList> Lines;
  bool WholeContent = false;  // Lines replaces every line
  int64_t TotalDelta = 0;     // WholeContent: the held list's total delta
  bool StatesKept = false;    // the held records carry the line states computed for their texts
  int64_t getHeldCount() const { return Lines ? Lines->getCount() : 1; }
};

// What kind of user action an edit is: typing and deleting merge into one step per word.
enum class TyEditKind : uint8_t {
  ekOther,   // a change of its own (command, paste, drop): always a step of its own
  ekTyping,  // characters typed at the caret
  ekDelete,  // a character deleted by backspace or delete
};

struct TyUndoStep {
  std::vector<TyUndoEntry> Entries;  // in the order they were made
  TySelection SelectionBefore;
  TySelection SelectionAfter;
  TyEditKind Kind = TyEditKind::ekOther;
  int64_t TypingLine = 0;  // merging: the line typed on, and where the caret stood after
  TyTextPosition TypingEnd;
  bool TypingWordEnded = false;  // a non-word character was typed: the next word starts a step
  std::chrono::steady_clock::time_point Time;
};

class CyUndoHistory {
 public:
  // At most Limit steps are kept (the oldest are dropped); 0 keeps none (undo off).
  explicit CyUndoHistory(int64_t Limit = 1000) : Limit_(Limit) {}

  bool getCanUndo() const { return Current_ > 0; }
  bool getCanRedo() const { return Current_ < static_cast<int64_t>(Steps_.size()); }
  // Steps that undo (and redo) can take now.
  int64_t getUndoCount() const { return Current_; }
  int64_t getRedoCount() const { return static_cast<int64_t>(Steps_.size()) - Current_; }
  int64_t getLimit() const { return Limit_; }
  // Counts the steps ever begun: a change that merged into the open step leaves it alone.
  uint64_t getStepsBegun() const { return StepsBegun_; }
  // Drops the oldest steps beyond Limit (the save point with them, if it is among them).
  void setLimit(int64_t Limit);
  // True when the text equals the text at the last save point.
  bool getIsClean() const { return SavePoint_ == Current_; }
  // The current state becomes the save point (after a load or a save).
  void MarkClean() { SavePoint_ = Current_; }
  // Forgets every step (after a load); the empty history is clean.
  void Clear();
  // The next change starts a new step even when it could merge (caret moved, pause, focus).
  void CloseStep() { Open_ = false; }

  // ---- For the document's edit gateway.

  // The step the next entry goes into: the open step when Kind may merge into it (the same
  // kind of typing on the same line, at the caret the last one left, within Pause, no word
  // ended; Merged is then true), else a new one (dropping any redo steps and the oldest beyond
  // the limit). A compound change keeps its step for every change until EndCompound. Returns
  // nullptr when undo is off.
  TyUndoStep* BeginChange(TyEditKind Kind, const TyTextRange& Range, const TySelection& Selection,
                          std::chrono::milliseconds Pause, bool& Merged);
  // True when the step's last entry already holds the line as it was before this step's
  // typing, so a further edit of the same line needs no entry.
  static bool CoversLine(const TyUndoStep& Step, int64_t Line);
  void BeginCompound(const TySelection& Selection);
  void EndCompound(const TySelection& Selection);
  bool getInCompound() const { return CompoundDepth_ > 0; }
  // The step undo would take back, and the one redo would repeat; nullptr when none.
  TyUndoStep* getUndoStep() {
    return getCanUndo() ? &Steps_[static_cast<size_t>(Current_ - 1)] : nullptr;
  }
  TyUndoStep* getRedoStep() {
    return getCanRedo() ? &Steps_[static_cast<size_t>(Current_)] : nullptr;
  }
  void StepUndone() {
    --Current_;
    Open_ = false;
  }
  void StepRedone() {
    ++Current_;
    Open_ = false;
  }

 private:
  std::deque<TyUndoStep> Steps_;
  int64_t Current_ = 0;    // steps applied
  int64_t SavePoint_ = 0;  // Current_ at the save point; -1 when it can no longer be reached
  int64_t Limit_;
  uint64_t StepsBegun_ = 0;
  int CompoundDepth_ = 0;
  bool Open_ = false;  // the last step may take more changes
};

}  // namespace xylem
