#pragma once
// TxMarkupDocument: the editable document that the desktop window and the language server
// share. It owns the text list, the newline and file format of the load, the document's kind,
// path and modified flag, the selection, the markers and the undo history, and keeps the line
// states (tokenizer state and deltas per line) current after every edit.
//
// One edit gateway: every change of the text goes through ReplaceRange (or ReplaceContent for
// a whole new text), which records undo, edits the text list through its own operations,
// repairs the line states, moves the markers and the selection, and tells listeners what
// changed. Lines outside a change keep their records and UniqueIDs.
//
//   TxMarkupDocument doc;
//   doc.LoadFromFile("a.xml");
//   doc.InsertText({3, 5}, u"<b/>", TyEditKind::ekTyping);
//   doc.Undo();
//
// Threading: the editing thread owns the document; nothing here is thread-safe. Parallel
// stages run only inside the load calls. Work on other threads reads a TxDocumentSnapshot
// (CreateSnapshot) and never the document itself.

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "common/JobContext.hpp"
#include "editor/DocumentChange.hpp"
#include "editor/Markers.hpp"
#include "editor/Snapshot.hpp"
#include "editor/TextPosition.hpp"
#include "editor/UndoHistory.hpp"
#include "services/DocumentKind.hpp"
#include "text/TextFile.hpp"
#include "text/TextList.hpp"

namespace xylem {

// Options handed down by the front end (the core reads no settings of its own).
struct TyEditorOptions {
  int64_t UndoLimit = 1000;                     // steps kept; 0 switches undo off
  std::chrono::milliseconds TypingPause{1000};  // a longer pause starts a new typing step;
                                                // 0: pauses never split
  int PieceCount = 0;                           // parallel stages: 0 one per processor
};

struct TyDocumentLoadOptions {
  // Use this encoding instead of detecting one.
  std::optional<CyEncoding> Encoding;
  // Pieces, progress, threads and stop of the load's parallel stages (decode, line states); a
  // stop request ends the load with the document unchanged (LoadFromFile returns false). A
  // piece count of the job is used only when the editor options leave it at 0.
  TyJobContext Job;
};

// A file's text read and scanned off the editing thread (TxMarkupDocument::ReadFile or
// ReadBytes), waiting to become a document's content through InstallLoaded. Owns its lines.
struct TyLoadedDocument {
  std::unique_ptr<TxTextList> List;
  TyTextFileFormat Format;
  std::string Path;
  TyDocumentKind Kind = TyDocumentKind::dkText;
  int64_t TotalDelta = 0;  // sum of the line deltas (0 unless the kind keeps line states)
};

// Code of the error raised for an edit position outside the text.
inline constexpr int kErrorEditPosition = 6301;

class TxMarkupDocument {
 public:
  // An empty document: one empty line, newline "\r\n", kind plain text, no path, clean.
  explicit TxMarkupDocument(const TyEditorOptions& Options = {});
  ~TxMarkupDocument();
  TxMarkupDocument(const TxMarkupDocument&) = delete;
  TxMarkupDocument& operator=(const TxMarkupDocument&) = delete;

  // ---- Loading and saving.

  // Opens Path through the parallel loader (encoding detection, progress stages reported to
  // Options.Job), computes the line states and the kind, clears the undo history and the
  // markers and marks the document clean. Returns false, leaving everything as it was, when
  // Options.Job's stop was requested; raises CyException (with the loader's code) on a bad file,
  // also leaving everything as it was.
  bool LoadFromFile(const std::string& Path, const TyDocumentLoadOptions& Options = {});
  // LoadFromFile in two halves, so that a front end can read a big file on a worker thread
  // while the editing thread keeps the document: ReadFile touches no document (any thread; the
  // job's stop ends it with nullopt; raises CyException on a bad file) and InstallLoaded makes
  // its result the content as LoadFromFile does (editing thread; history and markers cleared,
  // clean, listeners told of a whole new content). PieceCount 0: the job's piece count.
  static std::optional<TyLoadedDocument> ReadFile(const std::string& Path,
                                                  const TyDocumentLoadOptions& Options,
                                                  int PieceCount = 0);
  // The same for bytes in memory named Path (its extension and content decide the kind unless
  // Kind is given); one piece. For a file's first or last stretch (a preview while it loads).
  static TyLoadedDocument ReadBytes(std::string_view Bytes, const std::string& Path,
                                    const TyDocumentLoadOptions& Options,
                                    std::optional<TyDocumentKind> Kind = std::nullopt);
  void InstallLoaded(TyLoadedDocument Loaded);
  // Takes Text (any line ends; the newline is chosen as a load chooses it) as the document's
  // content with Path for the kind; clears history and markers; clean afterwards.
  void LoadFromText(std::u16string_view Text, const std::string& Path = {});
  // Takes the UTF-8 Bytes (no byte-order mark; any line ends, the newline chosen as a load
  // chooses it; bad sequences replaced) as the content with Path for the kind, through the
  // parallel loader: pieces, progress ("Loading", "Scanning") and stop from Options.Job.
  // AfterDecode runs once Bytes are no longer read (their owner may free them before the line
  // records are made). Returns false, leaving everything as it was, when stopped; raises
  // CyException for a NUL (code 17), also leaving everything as it was.
  bool LoadFromUTF8(std::string_view Bytes, const std::string& Path,
                    const TyDocumentLoadOptions& Options = {},
                    const std::function<void()>& AfterDecode = {});
  // Writes the text atomically to the document's path in its format (encoding, mark and
  // newline kept); the document becomes clean (undo's save point moves here). Raises
  // CyException on failure, the document staying modified.
  void Save();
  // Save under another path, which becomes the document's path (the kind is kept).
  void SaveAs(const std::string& Path);

  // ---- Properties.

  const TxTextList& getTextList() const { return *TextList_; }
  std::u16string_view getNewline() const { return Format_.Newline; }
  const TyTextFileFormat& getFormat() const { return Format_; }
  // Changes encoding, mark or newline for the next save; marks the document modified.
  void setFormat(const TyTextFileFormat& Format);
  TyDocumentKind getKind() const { return Kind_; }
  // Sets the kind (recomputes the line states when XML states start or stop being kept).
  void setKind(TyDocumentKind Kind);
  const std::string& getPath() const { return Path_; }
  void setPath(const std::string& Path) { Path_ = Path; }
  // True when the text differs from the last load or save (undo back to it makes it clean).
  bool getModified() const { return Modified_; }
  int64_t getLineCount() const { return TextList_->getCount(); }
  // Line Index's text without line end, 1 <= Index <= getLineCount().
  std::u16string_view getLine(int64_t Index) const { return TextList_->getLine(Index); }
  // The whole text joined by the document's newline. Linear; allocates.
  std::u16string getText() const;
  // The text of Range joined by the document's newline. Linear in the range.
  std::u16string getText(const TyTextRange& Range) const;
  // Sum of the line deltas (0 when every construct is closed); kept by the repair.
  int64_t getTotalDelta() const { return TotalDelta_; }
  // True when the line states (StackG, StackS, Delta...) of the XML tokenizer are kept: every
  // kind but JSON and plain text.
  bool getKeepsLineStates() const { return KeepsLineStates_; }
  // Counts changes; every edit, undo, redo and load takes a new value. Results computed from a
  // snapshot of another generation are outdated.
  uint64_t getGeneration() const { return Generation_; }
  const TyEditorOptions& getOptions() const { return Options_; }

  // ---- Positions. Offsets are 0-based UTF-16 code units with every line end counting the
  // newline's length; both conversions walk the lines (linear in the line number), so a
  // caller must not convert per character.

  int64_t ConvertPositionToOffset(TyTextPosition Position) const;
  TyTextPosition ConvertOffsetToPosition(int64_t Offset) const;
  // Position moved into the text: line into 1 .. count, line position into 1 .. length + 1.
  TyTextPosition ClampPosition(TyTextPosition Position) const;
  bool IsValidPosition(TyTextPosition Position) const;
  // The position behind the last character of the document.
  TyTextPosition getEndPosition() const;

  // ---- The edit gateway. Positions must be valid (CyException kErrorEditPosition
  // otherwise, nothing changed). Text may hold line ends of any convention: they become the
  // document's newline. A NUL in Text is refused (code 17), nothing changed. Each call is one
  // undo step unless it merges (typing) or a compound change is open. Returns the position
  // behind the inserted text. Cost: the touched lines plus the repair, plus, when the line
  // count changes, a move of the records between the previous such edit and this one (the
  // records' gap, TxTextItems). Text beyond 1 Mi units is loaded and scanned in parallel.

  TyTextPosition ReplaceRange(const TyTextRange& Range, std::u16string_view Text,
                              TyEditKind Kind = TyEditKind::ekOther);
  TyTextPosition InsertText(TyTextPosition At, std::u16string_view Text,
                            TyEditKind Kind = TyEditKind::ekOther) {
    return ReplaceRange({At, At}, Text, Kind);
  }
  void DeleteRange(const TyTextRange& Range, TyEditKind Kind = TyEditKind::ekOther) {
    ReplaceRange(Range, {}, Kind);
  }
  // Puts Content in place of all lines as one step; the old text list is kept by the undo
  // history (no text copied). Content's lines become the document's; their line states are
  // computed in parallel. The selection is set to Selection afterwards.
  void ReplaceContent(std::unique_ptr<TxTextList> Content, const TySelection& Selection);
  void ReplaceContent(std::unique_ptr<TxTextList> Content) {
    ReplaceContent(std::move(Content), TySelection{});
  }

  // ---- Commands at the selection (what a view binds to keys).

  // Replaces the selection by Text and puts the caret behind it.
  void TypeText(std::u16string_view Text, TyEditKind Kind = TyEditKind::ekTyping);
  // Deletes the selection, or with an empty selection the character before the caret
  // (Forward false: backspace, joining lines at a line start) or after it (Forward true).
  // Surrogate pairs go as one character.
  void DeleteAtCaret(bool Forward);
  // Indents (or outdents) lines FirstLine .. LastLine by one Unit (a tab or spaces): one step.
  void IndentLines(int64_t FirstLine, int64_t LastLine, std::u16string_view Unit, bool Outdent);

  // ---- Compound changes: the edits between BeginCompound and EndCompound (nested pairs
  // count as one) are one undo step with the selection before the first and after the last.

  void BeginCompound();
  void EndCompound();

  // ---- Undo and redo. Each restores the text, the selection and the modified flag; false
  // when there is nothing to undo or redo.

  bool Undo();
  bool Redo();
  bool getCanUndo() const { return Undo_.getCanUndo(); }
  bool getCanRedo() const { return Undo_.getCanRedo(); }
  // The next typing starts a new step (a front end calls this when the caret is moved).
  void CloseUndoStep() { Undo_.CloseStep(); }
  const CyUndoHistory& getUndoHistory() const { return Undo_; }
  void setUndoLimit(int64_t Limit);

  // ---- Selection and markers.

  const TySelection& getSelection() const { return Selection_; }
  // Sets the selection (ends clamped into the text). Not an edit; closes the typing step when
  // the caret moves elsewhere.
  void setSelection(const TySelection& Selection);
  CyMarkers& getMarkers() { return Markers_; }
  const CyMarkers& getMarkers() const { return Markers_; }

  // ---- Per-line caches. A view or a command may write the cache fields of a line record
  // (Bookmark, RowCount, FoldLeftover, FoldCount, Panic), never its text or states.
  TxItem& getItemForCaches(int64_t Index) { return *getListForChange().getItems(Index); }

  // ---- Listeners, told of every change after it is complete (DocumentChange.hpp). A listener
  // must stay alive until removed; the order of notification is the order of adding.

  void AddListener(IyDocumentListener* Listener);
  void RemoveListener(IyDocumentListener* Listener);

  // ---- Snapshots for work on other threads (Snapshot.hpp). Linear in the lines (copies
  // records, shares texts).
  TxDocumentSnapshotPtr CreateSnapshot() const;
  // A snapshot that copies nothing now: it holds the document's own list. The first change of
  // the text, its states or its caches while such a snapshot lives pays the copy instead (the
  // document goes on with a copy, linear in the lines, and leaves the list to the snapshot), so
  // work that ends before the next edit never copies. Constant time.
  TxDocumentSnapshotPtr CreateSharedSnapshot();

 private:
  // The job of loads and kind changes made without one: the editor options' piece count.
  TyJobContext DefaultJob() const;
  void ComputeLineStates(TxTextList& List, TyDocumentKind Kind, int64_t& TotalDelta,
                         const TyJobContext& Job) const;
  static void ComputeLineStates(TxTextList& List, TyDocumentKind Kind, int64_t& TotalDelta,
                                const TyJobContext& Job, int PieceCount);
  void Install(std::unique_ptr<TxTextList> List, int64_t TotalDelta, const TyTextFileFormat& Format,
               const std::string& Path, TyDocumentKind Kind);
  TyUndoEntry CaptureLines(int64_t FirstLine, int64_t Count) const;
  void ApplyEntry(TyUndoEntry& Entry, bool FromUndo);
  void SetLine(int64_t Index, std::u16string_view Text);
  // Repairs the line states after lines FirstLine .. FirstLine + ChangedCount - 1 changed and
  // fills the change's state range. Scanned: lines behind the first carry states of a scan of
  // their texts (CyXMLLineStates::AfterInsertScanned), else all changed lines are rescanned.
  int64_t RepairAfter(int64_t FirstLine, int64_t ChangedCount, TyDocumentChange& Change,
                      bool Scanned = false);
  // Tells the markers and listeners that the whole text was replaced.
  void NotifyWholeContent(int64_t OldCount, TyTextPosition OldEnd, bool FromUndo);
  void Notify(TyDocumentChange& Change);
  void UpdateModified();
  void RequireValid(TyTextPosition Position) const;
  // The list for a change in place: first a copy of its own when a shared snapshot holds it.
  TxTextList& getListForChange();

  TyEditorOptions Options_;
  // Shared only with snapshots of CreateSharedSnapshot, which never change it.
  std::shared_ptr<TxTextList> TextList_;
  TyTextFileFormat Format_;
  TyDocumentKind Kind_ = TyDocumentKind::dkText;
  std::string Path_;
  bool Modified_ = false;
  bool FormatModified_ = false;
  bool KeepsLineStates_ = false;
  int64_t TotalDelta_ = 0;
  uint64_t Generation_ = 0;
  TySelection Selection_;
  CyMarkers Markers_;
  CyUndoHistory Undo_;
  std::vector<IyDocumentListener*> Listeners_;
  // Reused by single-line edits so that typing allocates only the line's new text.
  std::u16string LineBuffer_;
  std::vector<std::u16string> DentSource_;
  std::vector<std::u16string> DentTarget_;
};

// Opens a compound change for the lifetime of the object.
class CyCompoundChange {
 public:
  explicit CyCompoundChange(TxMarkupDocument& Document) : Document_(Document) {
    Document_.BeginCompound();
  }
  ~CyCompoundChange() { Document_.EndCompound(); }
  CyCompoundChange(const CyCompoundChange&) = delete;
  CyCompoundChange& operator=(const CyCompoundChange&) = delete;

 private:
  TxMarkupDocument& Document_;
};

}  // namespace xylem
