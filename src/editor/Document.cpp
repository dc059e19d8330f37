#include "editor/Document.hpp"

#include <algorithm>
#include <atomic>

#include "common/Exception.hpp"
#include "text/TextListLoader.hpp"
#include "xml/lines/LineState.hpp"

namespace xylem {

namespace {

bool HasLineEnd(std::u16string_view Text) {
  return Text.find_first_of(u"\r\n") != std::u16string_view::npos;
}

// A bracket or quote changes the JSON folding beyond shifting.
bool HasJSONStructure(std::u16string_view Text) {
  return Text.find_first_of(u"{}[]\"\\") != std::u16string_view::npos;
}

bool HasMarkup(std::u16string_view Text) {
  return Text.find_first_of(u"<>&\"'/!?-[]=;") != std::u16string_view::npos;
}

// Inserted text beyond this many units is loaded and scanned in parallel pieces.
constexpr size_t kParallelInsertUnits = size_t{1} << 20;

bool IsNeutral(const TxItem& Item) {
  return Item.Delta == 0 && Item.DeltaMin == 0 && Item.DeltaMax == 0;
}

struct TyTriple {
  int32_t Delta, DeltaMin, DeltaMax;
  bool operator==(const TyTriple&) const = default;
};
TyTriple TripleOf(const TxItem& Item) { return {Item.Delta, Item.DeltaMin, Item.DeltaMax}; }

size_t CommonPrefix(std::u16string_view A, std::u16string_view B) {
  const size_t n = std::min(A.size(), B.size());
  size_t i = 0;
  while (i < n && A[i] == B[i]) ++i;
  return i;
}

size_t CommonSuffix(std::u16string_view A, std::u16string_view B, size_t Limit) {
  size_t i = 0;
  while (i < Limit && A[A.size() - 1 - i] == B[B.size() - 1 - i]) ++i;
  return i;
}

}  // namespace

TxMarkupDocument::TxMarkupDocument(const TyEditorOptions& Options)
    : Options_(Options), TextList_(std::make_unique<TxTextList>()), Undo_(Options.UndoLimit) {
  TextList_->setOnCreateUniqueID(CreateProcessUniqueIDs);
  TextList_->LoadFromText__PARALLEL__(u"", 1);
  DentSource_.resize(1);
  DentTarget_.resize(1);
}

TxMarkupDocument::~TxMarkupDocument() = default;

// ---- Loading and saving.

TyJobContext TxMarkupDocument::DefaultJob() const {
  TyJobContext job;
  job.PieceCount = job.ResolvePieceCount(Options_.PieceCount);
  return job;
}

void TxMarkupDocument::ComputeLineStates(TxTextList& List, TyDocumentKind Kind, int64_t& TotalDelta,
                                         const TyJobContext& Job) const {
  ComputeLineStates(List, Kind, TotalDelta, Job, Options_.PieceCount);
}

void TxMarkupDocument::ComputeLineStates(TxTextList& List, TyDocumentKind Kind, int64_t& TotalDelta,
                                         const TyJobContext& Job, int PieceCount) {
  TotalDelta = 0;
  if (!KeepsXMLLineStates(Kind)) return;
  Job.Begin("Scanning", static_cast<uint64_t>(List.getCount()));
  CyXMLParserParallel::UpdateAllLines(List.getTextItems(), TotalDelta,
                                      Job.ResolvePieceCount(PieceCount), Job);
}

void TxMarkupDocument::Install(std::unique_ptr<TxTextList> List, int64_t TotalDelta,
                               const TyTextFileFormat& Format, const std::string& Path,
                               TyDocumentKind Kind) {
  const int64_t oldCount = TextList_->getCount();
  const TyTextPosition oldEnd = getEndPosition();
  TextList_ = std::move(List);
  TotalDelta_ = TotalDelta;
  Format_ = Format;
  Path_ = Path;
  Kind_ = Kind;
  KeepsLineStates_ = KeepsXMLLineStates(Kind);
  Undo_.Clear();
  Markers_.Clear();
  Selection_ = {};
  FormatModified_ = false;
  Modified_ = false;
  NotifyWholeContent(oldCount, oldEnd, false);
}

bool TxMarkupDocument::LoadFromFile(const std::string& Path, const TyDocumentLoadOptions& Options) {
  std::optional<TyLoadedDocument> loaded = ReadFile(Path, Options, Options_.PieceCount);
  if (!loaded) return false;
  InstallLoaded(std::move(*loaded));
  return true;
}

std::optional<TyLoadedDocument> TxMarkupDocument::ReadFile(const std::string& Path,
                                                           const TyDocumentLoadOptions& Options,
                                                           int PieceCount) {
  const TyJobContext& job = Options.Job;
  if (job.StopRequested()) return std::nullopt;
  TyLoadedDocument loaded;
  loaded.List = std::make_unique<TxTextList>();
  loaded.List->setOnCreateUniqueID(CreateProcessUniqueIDs);
  TyTextFileLoadOptions load;
  load.Encoding = Options.Encoding;
  load.PieceCount = job.ResolvePieceCount(PieceCount);
  load.Job = &job;
  try {
    loaded.Format = LoadTextFile(Path, *loaded.List, load);
    loaded.Kind = DetectDocumentKind(Path, *loaded.List);
    ComputeLineStates(*loaded.List, loaded.Kind, loaded.TotalDelta, job, PieceCount);
    job.ThrowIfStopped();
  } catch (const CyCancelledException&) {
    return std::nullopt;
  }
  loaded.Path = Path;
  return loaded;
}

TyLoadedDocument TxMarkupDocument::ReadBytes(std::string_view Bytes, const std::string& Path,
                                             const TyDocumentLoadOptions& Options,
                                             std::optional<TyDocumentKind> Kind) {
  TyLoadedDocument loaded;
  loaded.List = std::make_unique<TxTextList>();
  loaded.List->setOnCreateUniqueID(CreateProcessUniqueIDs);
  TyTextFileLoadOptions load;
  load.Encoding = Options.Encoding;
  load.PieceCount = 1;
  load.Job = &Options.Job;
  loaded.Format = LoadTextBytes(Bytes, Path, *loaded.List, load);
  loaded.Kind = Kind ? *Kind : DetectDocumentKind(Path, *loaded.List);
  ComputeLineStates(*loaded.List, loaded.Kind, loaded.TotalDelta, Options.Job, 1);
  loaded.Path = Path;
  return loaded;
}

void TxMarkupDocument::InstallLoaded(TyLoadedDocument Loaded) {
  Install(std::move(Loaded.List), Loaded.TotalDelta, Loaded.Format, Loaded.Path, Loaded.Kind);
}

void TxMarkupDocument::LoadFromText(std::u16string_view Text, const std::string& Path) {
  auto list = std::make_unique<TxTextList>();
  list->setOnCreateUniqueID(CreateProcessUniqueIDs);
  TyTextFileFormat format;
  const TyJobContext job = DefaultJob();
  format.Newline = list->LoadFromText__PARALLEL__(Text, job.PieceCount, job);
  const TyDocumentKind kind = DetectDocumentKind(Path, *list);
  int64_t total = 0;
  ComputeLineStates(*list, kind, total, job);
  Install(std::move(list), total, format, Path, kind);
}

bool TxMarkupDocument::LoadFromUTF8(std::string_view Bytes, const std::string& Path,
                                    const TyDocumentLoadOptions& Options,
                                    const std::function<void()>& AfterDecode) {
  const TyJobContext& job = Options.Job;
  if (job.StopRequested()) return false;
  auto list = std::make_unique<TxTextList>();
  list->setOnCreateUniqueID(CreateProcessUniqueIDs);
  TyTextFileFormat format;
  try {
    format.Newline = CyTextListLoader::LoadTextList_PARALLEL(
        *list, reinterpret_cast<const uint8_t*>(Bytes.data()), Bytes.size(), CyEncoding::UTF8(),
        nullptr, job.ResolvePieceCount(Options_.PieceCount), AfterDecode, job);
    const TyDocumentKind kind = DetectDocumentKind(Path, *list);
    int64_t total = 0;
    ComputeLineStates(*list, kind, total, job);
    job.ThrowIfStopped();
    Install(std::move(list), total, format, Path, kind);
  } catch (const CyCancelledException&) {
    return false;
  }
  return true;
}

void TxMarkupDocument::Save() {
  SaveTextFile(Path_, *TextList_, Format_);
  Undo_.MarkClean();
  FormatModified_ = false;
  UpdateModified();
}

void TxMarkupDocument::SaveAs(const std::string& Path) {
  SaveTextFile(Path, *TextList_, Format_);
  Path_ = Path;
  Undo_.MarkClean();
  FormatModified_ = false;
  UpdateModified();
}

void TxMarkupDocument::setFormat(const TyTextFileFormat& Format) {
  Format_ = Format;
  FormatModified_ = true;
  UpdateModified();
}

void TxMarkupDocument::setKind(TyDocumentKind Kind) {
  const bool keeps = KeepsXMLLineStates(Kind);
  Kind_ = Kind;
  if (keeps != KeepsLineStates_) {
    KeepsLineStates_ = keeps;
    ComputeLineStates(getListForChange(), Kind, TotalDelta_, DefaultJob());
  }
}

void TxMarkupDocument::UpdateModified() { Modified_ = FormatModified_ || !Undo_.getIsClean(); }

// ---- Text and positions.

std::u16string TxMarkupDocument::getText() const {
  return TextList_->getTextItems().getJoined(Format_.Newline, 1, TextList_->getCount());
}

std::u16string TxMarkupDocument::getText(const TyTextRange& Range) const {
  RequireValid(Range.Start);
  RequireValid(Range.End);
  const TyTextPosition s = std::min(Range.Start, Range.End);
  const TyTextPosition e = std::max(Range.Start, Range.End);
  if (s.Line == e.Line)
    return std::u16string(getLine(s.Line).substr(static_cast<size_t>(s.Linepos - 1),
                                                 static_cast<size_t>(e.Linepos - s.Linepos)));
  std::u16string text(getLine(s.Line).substr(static_cast<size_t>(s.Linepos - 1)));
  for (int64_t line = s.Line + 1; line < e.Line; ++line) {
    text += Format_.Newline;
    text += getLine(line);
  }
  text += Format_.Newline;
  text += getLine(e.Line).substr(0, static_cast<size_t>(e.Linepos - 1));
  return text;
}

int64_t TxMarkupDocument::ConvertPositionToOffset(TyTextPosition Position) const {
  const TyTextPosition p = ClampPosition(Position);
  return TextList_->ConvertLineLineposToOffset(Format_.Newline, p.Line, p.Linepos);
}

TyTextPosition TxMarkupDocument::ConvertOffsetToPosition(int64_t Offset) const {
  TyTextPosition p;
  TextList_->ConvertOffsetToLineLinepos(Format_.Newline, std::max<int64_t>(Offset, 0), p.Line,
                                        p.Linepos);
  return ClampPosition(p);
}

TyTextPosition TxMarkupDocument::ClampPosition(TyTextPosition Position) const {
  const int64_t line = std::clamp<int64_t>(Position.Line, 1, TextList_->getCount());
  const int64_t length = static_cast<int64_t>(getLine(line).size());
  return {line, std::clamp<int64_t>(Position.Linepos, 1, length + 1)};
}

bool TxMarkupDocument::IsValidPosition(TyTextPosition Position) const {
  return Position.Line >= 1 && Position.Line <= TextList_->getCount() && Position.Linepos >= 1 &&
         Position.Linepos <= static_cast<int64_t>(getLine(Position.Line).size()) + 1;
}

TyTextPosition TxMarkupDocument::getEndPosition() const {
  const int64_t count = TextList_->getCount();
  return {count, static_cast<int64_t>(getLine(count).size()) + 1};
}

void TxMarkupDocument::RequireValid(TyTextPosition Position) const {
  if (!IsValidPosition(Position))
    throw CyException("Position " + std::to_string(Position.Line) + ":" +
                          std::to_string(Position.Linepos) + " lies outside the text (" +
                          std::to_string(TextList_->getCount()) + " lines).",
                      kErrorEditPosition);
}

// ---- The gateway.

void TxMarkupDocument::SetLine(int64_t Index, std::u16string_view Text) {
  // Dent rewrites text and identity in place: no record moves, the other fields stay.
  DentSource_[0].assign(getLine(Index).size(), u' ');
  DentTarget_[0].assign(Text);
  TextList_->Dent(Index, DentSource_, DentTarget_);
}

int64_t TxMarkupDocument::RepairAfter(int64_t FirstLine, int64_t ChangedCount,
                                      TyDocumentChange& Change, bool Scanned) {
  const int64_t count = TextList_->getCount();
  int64_t last = FirstLine + ChangedCount - 1;
  Change.StatesChangedFrom = FirstLine;
  if (KeepsLineStates_ && Scanned && ChangedCount > 1) {
    last = std::max(last, CyXMLLineStates::AfterInsertScanned(TextList_->getTextItems(), FirstLine,
                                                              ChangedCount, TotalDelta_));
  } else if (KeepsLineStates_) {
    const int64_t rewritten =
        CyXMLLineStates::AfterEdit(TextList_->getTextItems(), FirstLine, ChangedCount, TotalDelta_);
    if (FirstLine + ChangedCount > count && FirstLine > 1) Change.StatesChangedFrom = FirstLine - 1;
    last = std::max(last, FirstLine + rewritten - 1);
  }
  Change.StatesChangedUntil = std::min(last, count);
  return Change.StatesChangedUntil;
}

void TxMarkupDocument::NotifyWholeContent(int64_t OldCount, TyTextPosition OldEnd, bool FromUndo) {
  TyDocumentChange change;
  change.FromUndo = FromUndo;
  change.FirstLine = 1;
  change.LinesRemoved = OldCount;
  change.LinesInserted = TextList_->getCount();
  change.StatesChangedFrom = 1;
  change.StatesChangedUntil = TextList_->getCount();
  change.Start = {1, 1};
  change.OldEnd = OldEnd;
  change.NewEnd = getEndPosition();
  change.WholeContent = true;
  Notify(change);
}

void TxMarkupDocument::Notify(TyDocumentChange& Change) {
  Change.Generation = ++Generation_;
  TextList_->InvalidateCache();
  if (Change.WholeContent)
    Markers_.Transform([this](TyTextPosition p) { return ClampPosition(p); });
  else
    Markers_.Adjust(Change);
  for (IyDocumentListener* listener : Listeners_) listener->OnDocumentChanged(*this, Change);
}

TyTextPosition TxMarkupDocument::ReplaceRange(const TyTextRange& Range, std::u16string_view Text,
                                              TyEditKind Kind) {
  RequireValid(Range.Start);
  RequireValid(Range.End);
  const TyTextRange range{std::min(Range.Start, Range.End), std::max(Range.Start, Range.End)};
  if (Text.find(u'\0') != std::u16string_view::npos)
    throw CyException("Text holding a NUL character cannot be inserted.", kErrorBinaryFile);
  if (range.isEmpty() && Text.empty()) return range.Start;

  const int64_t l1 = range.Start.Line;
  const int64_t l2 = range.End.Line;
  const bool multi = HasLineEnd(Text);
  bool merged = false;
  TyUndoStep* step = Undo_.BeginChange(Kind, range, Selection_, Options_.TypingPause, merged);
  TyUndoEntry* recorded = nullptr;
  if (step && !(merged && !multi && l1 == l2 && CyUndoHistory::CoversLine(*step, l1))) {
    step->Entries.push_back(CaptureLines(l1, l2 - l1 + 1));
    recorded = &step->Entries.back();
  }

  TyDocumentChange change;
  change.FirstLine = l1;
  change.LinesRemoved = l2 - l1 + 1;
  change.Start = range.Start;
  change.OldEnd = range.End;
  TxTextItems& items = getListForChange().getTextItems();

  // What the folding needs to know: whether the edit can have moved a construct's opening or
  // closing to another line. Inside one line, the line's counts and the states behind it tell.
  // Across lines, every line but the first must also begin and end at document level and open
  // or close nothing, so that no construct spans the lines that moved.
  const bool sameLine = l1 == l2 && !multi;
  const std::u16string_view first = getLine(l1);
  const std::u16string_view last = getLine(l2);
  const size_t prefix = static_cast<size_t>(range.Start.Linepos - 1);
  const size_t suffixAt = static_cast<size_t>(range.End.Linepos - 1);
  const auto movable = [](const TxItem& Item) {
    return IsNeutral(Item) && CyXMLLineStates::getStartState(Item) == TyXMLLineState{};
  };
  // The last character in front of Linepos Pos of Line, over line ends; NUL at the start.
  const auto characterBefore = [this](int64_t Line, size_t Pos) {
    for (; Line >= 1; --Line, Pos = SIZE_MAX) {
      const std::u16string_view text = getLine(Line);
      const size_t at = std::min(Pos, text.size());
      if (at > 0) return text[at - 1];
    }
    return u'\0';
  };
  bool structureChanged = false;
  if (KeepsLineStates_) {
    // Markup characters can turn broken markup into a tag elsewhere on the line, which the
    // line's counts need not show; only edits of names, text and blanks keep the structure.
    structureChanged =
        HasMarkup(Text) ||
        (sameLine ? HasMarkup(first.substr(prefix, suffixAt - prefix))
                  : HasMarkup(first.substr(prefix)) || HasMarkup(last.substr(0, suffixAt)));
    // A name character or blank joins the markup beside it into another construct: between
    // "<" and "/a>" it makes the end tag a start tag, which no line count shows. Behind the end
    // of a tag or reference, and in front of the next one, it is only text.
    const auto joinsMarkup = [](char16_t Neighbour, char16_t Harmless1, char16_t Harmless2) {
      return Neighbour != Harmless1 && Neighbour != Harmless2 &&
             HasMarkup(std::u16string_view(&Neighbour, 1));
    };
    // Letters typed or removed inside a declaration's keyword ("<![CDATA[", "<!DOCTYPE",
    // "<?xml") change what the construct is (a broken "<![CD" reads as a start tag), though
    // their neighbours are letters too.
    const auto inKeyword = [&first](size_t At) {
      while (At > 0 && ((first[At - 1] | 0x20) >= u'a' && (first[At - 1] | 0x20) <= u'z')) --At;
      return At > 0 && (first[At - 1] == u'[' || first[At - 1] == u'!' || first[At - 1] == u'?');
    };
    structureChanged = structureChanged || inKeyword(prefix) ||
                       (prefix > 0 && joinsMarkup(first[prefix - 1], u'>', u';')) ||
                       (suffixAt < last.size() && joinsMarkup(last[suffixAt], u'<', u'&'));
    for (int64_t line = l1 + 1; line <= l2 && !structureChanged; ++line)
      structureChanged = !movable(*items.getItems(line));
  } else if (Kind_ == TyDocumentKind::dkJSON) {
    structureChanged = HasJSONStructure(Text) || HasJSONStructure(getText(range)) ||
                       // A backslash in front of the edit escapes whatever comes first after it,
                       // across line ends too.
                       characterBefore(l1, prefix) == u'\\' ||
                       (!sameLine && HasJSONStructure(last.substr(suffixAt)));
  }
  const TyTriple firstBefore = TripleOf(*items.getItems(l1));

  int64_t inserted = 1;
  bool scanned = false;
  if (KeepsLineStates_) CyXMLLineStates::BeforeEdit(items, l1, l2 - l1 + 1, TotalDelta_);
  if (!multi) {
    LineBuffer_.assign(first.substr(0, prefix));
    LineBuffer_ += Text;
    LineBuffer_ += last.substr(suffixAt);
    change.NewEnd = {l1, range.Start.Linepos + static_cast<int64_t>(Text.size())};
    if (l2 > l1) TextList_->Remove(l1 + 1, l2 - l1);
    SetLine(l1, LineBuffer_);
  } else {
    // The new lines come from one load of prefix + text + suffix, which splits at line ends of
    // every convention; the records behind move once.
    LineBuffer_.assign(first.substr(0, prefix));
    LineBuffer_ += Text;
    const size_t suffixLength = last.size() - suffixAt;
    LineBuffer_ += last.substr(suffixAt);
    TxTextList lines;
    const bool large = LineBuffer_.size() > kParallelInsertUnits;
    const TyJobContext job = DefaultJob();
    lines.LoadFromText__PARALLEL__(LineBuffer_, large ? job.PieceCount : 1, job);
    inserted = lines.getCount();
    // A large block's states come from a parallel scan of its own; the repair then rewrites
    // only the lines whose start state differs in the document.
    if (large && KeepsLineStates_) {
      int64_t blockTotal = 0;
      CyXMLParserParallel::UpdateAllLines(lines.getTextItems(), blockTotal, job.PieceCount, job);
      scanned = true;
    }
    change.NewEnd = {l1 + inserted - 1,
                     static_cast<int64_t>(lines.getLine(inserted).size() - suffixLength) + 1};
    if (l2 > l1) TextList_->Remove(l1 + 1, l2 - l1);
    SetLine(l1, lines.getLine(1));
    if (inserted > 1) TextList_->InsertBefore(l1 + 1, lines, 2, inserted);
  }
  change.LinesInserted = inserted;
  if (recorded) recorded->LineCount = inserted;
  RepairAfter(l1, inserted, change, scanned);
  if (KeepsLineStates_) {
    structureChanged = structureChanged || TripleOf(*items.getItems(l1)) != firstBefore ||
                       change.StatesChangedFrom != l1 ||
                       change.StatesChangedUntil != l1 + inserted - 1;
    // The first line must begin and end at document level too: a tag, comment or value that
    // reaches into it or out of it can start or end on another line after the edit.
    const auto atDocumentLevel = [&](int64_t Line) {
      return Line > TextList_->getCount() ||
             CyXMLLineStates::getStartState(*items.getItems(Line)) == TyXMLLineState{};
    };
    structureChanged = structureChanged || !atDocumentLevel(l1) || !atDocumentLevel(l1 + inserted);
    for (int64_t line = l1 + 1; line < l1 + inserted && !structureChanged; ++line)
      structureChanged = !movable(*items.getItems(line));
  }
  change.StructureChanged = structureChanged;

  Selection_.Anchor = MovePosition(Selection_.Anchor, change);
  Selection_.Caret = MovePosition(Selection_.Caret, change);
  if (step) {
    step->SelectionAfter = Selection_;
    if (Kind != TyEditKind::ekOther) {
      step->TypingLine = change.NewEnd.Line;
      step->TypingEnd = Kind == TyEditKind::ekTyping ? change.NewEnd : range.Start;
      for (char16_t c : Text)
        if (!(c == u'_' || (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') ||
              (c >= u'a' && c <= u'z') || c >= 0x80))
          step->TypingWordEnded = true;
      if (multi) Undo_.CloseStep();
    }
  }
  UpdateModified();
  Notify(change);
  return change.NewEnd;
}

TyUndoEntry TxMarkupDocument::CaptureLines(int64_t FirstLine, int64_t Count) const {
  TyUndoEntry entry;
  entry.FirstLine = FirstLine;
  entry.LineCount = 0;  // set by the caller once the new line count is known
  entry.StatesKept = KeepsLineStates_;
  if (Count == 1) {
    entry.Line = CySharedLine(TextList_->getItems(FirstLine)->TextUTF16);
  } else {
    entry.Lines = std::make_unique<TxTextList>();
    entry.Lines->InsertAtEnd(*TextList_, FirstLine, FirstLine + Count - 1);
  }
  return entry;
}

void TxMarkupDocument::ReplaceContent(std::unique_ptr<TxTextList> Content,
                                      const TySelection& Selection) {
  if (!Content || Content->getCount() == 0) {
    Content = std::make_unique<TxTextList>();
    Content->LoadFromText__PARALLEL__(u"", 1);
  }
  if (!Content->getOnCreateUniqueID()) Content->setOnCreateUniqueID(CreateProcessUniqueIDs);
  bool merged = false;
  TyUndoStep* step = Undo_.BeginChange(TyEditKind::ekOther, {Selection_.Caret, Selection_.Caret},
                                       Selection_, Options_.TypingPause, merged);
  int64_t total = 0;
  ComputeLineStates(*Content, Kind_, total, DefaultJob());
  const int64_t oldCount = TextList_->getCount();
  const TyTextPosition oldEnd = getEndPosition();
  const int64_t oldTotal = TotalDelta_;
  std::shared_ptr<TxTextList> old = std::move(TextList_);
  TextList_ = std::move(Content);
  TotalDelta_ = total;
  if (step) {
    TyUndoEntry entry;
    entry.FirstLine = 1;
    entry.LineCount = TextList_->getCount();
    entry.Lines = std::move(old);
    entry.WholeContent = true;
    entry.TotalDelta = oldTotal;
    step->Entries.push_back(std::move(entry));
  }
  Selection_ = {ClampPosition(Selection.Anchor), ClampPosition(Selection.Caret)};
  if (step) step->SelectionAfter = Selection_;
  UpdateModified();
  NotifyWholeContent(oldCount, oldEnd, false);
}

void TxMarkupDocument::ApplyEntry(TyUndoEntry& Entry, bool FromUndo) {
  if (Entry.WholeContent) {
    const int64_t oldCount = TextList_->getCount();
    const TyTextPosition oldEnd = getEndPosition();
    std::swap(TextList_, Entry.Lines);
    Entry.LineCount = TextList_->getCount();
    // The kept list holds its line states and total from when it was the document's.
    std::swap(TotalDelta_, Entry.TotalDelta);
    NotifyWholeContent(oldCount, oldEnd, FromUndo);
    return;
  }
  TyDocumentChange change;
  change.FromUndo = FromUndo;
  const int64_t first = Entry.FirstLine;
  const int64_t removed = Entry.LineCount;
  TyUndoEntry taken = CaptureLines(first, removed);
  const int64_t inserted = Entry.getHeldCount();
  // Records held since states were kept carry states computed for their texts: the repair
  // then checks them at both ends instead of rescanning them all.
  const bool scanned = Entry.StatesKept && KeepsLineStates_;
  TxTextItems& items = getListForChange().getTextItems();
  if (KeepsLineStates_) CyXMLLineStates::BeforeEdit(items, first, removed, TotalDelta_);
  if (removed > 1) TextList_->Remove(first + 1, removed - 1);
  if (Entry.Lines) {
    SetLine(first, Entry.Lines->getLine(1));
    if (inserted > 1) {
      TextList_->InsertBefore(first + 1, *Entry.Lines, 2, inserted);
      // Rescanned records are counted from zero by the repair.
      if (!scanned)
        for (int64_t line = first + 1; line < first + inserted; ++line)
          items.getItems(line)->Delta = 0;
    }
  } else {
    SetLine(first, Entry.Line.getView());
  }
  // The narrowest positions that describe the swap, for markers and incremental clients.
  const std::u16string_view oldFirst = taken.Lines ? taken.Lines->getLine(1) : taken.Line.getView();
  const std::u16string_view oldLast =
      taken.Lines ? taken.Lines->getLine(removed) : taken.Line.getView();
  const std::u16string_view newFirst = getLine(first);
  const std::u16string_view newLast = getLine(first + inserted - 1);
  const size_t prefix = CommonPrefix(oldFirst, newFirst);
  size_t limit = std::min(oldLast.size(), newLast.size());
  if (removed == 1) limit = std::min(limit, oldLast.size() - prefix);
  if (inserted == 1) limit = std::min(limit, newLast.size() - prefix);
  const size_t suffix = CommonSuffix(oldLast, newLast, limit);
  change.FirstLine = first;
  change.LinesRemoved = removed;
  change.LinesInserted = inserted;
  change.Start = {first, static_cast<int64_t>(prefix) + 1};
  change.OldEnd = {first + removed - 1, static_cast<int64_t>(oldLast.size() - suffix) + 1};
  change.NewEnd = {first + inserted - 1, static_cast<int64_t>(newLast.size() - suffix) + 1};
  change.StructureChanged = true;
  Entry.Line = std::move(taken.Line);
  Entry.Lines = std::move(taken.Lines);
  Entry.LineCount = inserted;
  Entry.StatesKept = taken.StatesKept;
  RepairAfter(first, inserted, change, scanned);
  Notify(change);
}

bool TxMarkupDocument::Undo() {
  TyUndoStep* step = Undo_.getUndoStep();
  if (!step || Undo_.getInCompound()) return false;
  for (auto entry = step->Entries.rbegin(); entry != step->Entries.rend(); ++entry)
    ApplyEntry(*entry, true);
  Selection_ = {ClampPosition(step->SelectionBefore.Anchor),
                ClampPosition(step->SelectionBefore.Caret)};
  Undo_.StepUndone();
  UpdateModified();
  return true;
}

bool TxMarkupDocument::Redo() {
  TyUndoStep* step = Undo_.getRedoStep();
  if (!step || Undo_.getInCompound()) return false;
  for (TyUndoEntry& entry : step->Entries) ApplyEntry(entry, true);
  Selection_ = {ClampPosition(step->SelectionAfter.Anchor),
                ClampPosition(step->SelectionAfter.Caret)};
  Undo_.StepRedone();
  UpdateModified();
  return true;
}

void TxMarkupDocument::setUndoLimit(int64_t Limit) {
  Options_.UndoLimit = Limit;
  Undo_.setLimit(Limit);
  UpdateModified();
}

void TxMarkupDocument::BeginCompound() { Undo_.BeginCompound(Selection_); }

void TxMarkupDocument::EndCompound() {
  Undo_.EndCompound(Selection_);
  UpdateModified();
}

// ---- Commands at the selection.

void TxMarkupDocument::TypeText(std::u16string_view Text, TyEditKind Kind) {
  const TyTextPosition end = ReplaceRange(Selection_.getRange(), Text, Kind);
  Selection_ = TySelection::At(end);
  if (TyUndoStep* step = Undo_.getUndoStep()) step->SelectionAfter = Selection_;
}

void TxMarkupDocument::DeleteAtCaret(bool Forward) {
  if (!Selection_.isEmpty()) {
    const TyTextPosition at = ReplaceRange(Selection_.getRange(), {}, TyEditKind::ekOther);
    Selection_ = TySelection::At(at);
  } else {
    const TyTextPosition caret = Selection_.Caret;
    const std::u16string_view line = getLine(caret.Line);
    TyTextRange range{caret, caret};
    const auto isLow = [](char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; };
    if (Forward) {
      if (caret.Linepos <= static_cast<int64_t>(line.size())) {
        const size_t at = static_cast<size_t>(caret.Linepos - 1);
        const int64_t width = at + 1 < line.size() && isLow(line[at + 1]) ? 2 : 1;
        range.End.Linepos += width;
      } else if (caret.Line < getLineCount()) {
        range.End = {caret.Line + 1, 1};
      }
    } else {
      if (caret.Linepos > 1) {
        const size_t at = static_cast<size_t>(caret.Linepos - 2);
        const int64_t width = at > 0 && isLow(line[at]) ? 2 : 1;
        range.Start.Linepos -= width;
      } else if (caret.Line > 1) {
        range.Start = {caret.Line - 1, static_cast<int64_t>(getLine(caret.Line - 1).size()) + 1};
      }
    }
    if (range.isEmpty()) return;
    const TyTextPosition at = ReplaceRange(range, {}, TyEditKind::ekDelete);
    Selection_ = TySelection::At(at);
  }
  if (TyUndoStep* step = Undo_.getUndoStep()) step->SelectionAfter = Selection_;
}

void TxMarkupDocument::IndentLines(int64_t FirstLine, int64_t LastLine, std::u16string_view Unit,
                                   bool Outdent) {
  FirstLine = std::max<int64_t>(FirstLine, 1);
  LastLine = std::min(LastLine, getLineCount());
  CyCompoundChange compound(*this);
  for (int64_t line = FirstLine; line <= LastLine; ++line) {
    const std::u16string_view text = getLine(line);
    if (!Outdent) {
      if (!text.empty()) ReplaceRange({{line, 1}, {line, 1}}, Unit);
      continue;
    }
    // Outdent takes away one unit's width of leading blanks (a tab counts as a whole unit).
    size_t cut = 0;
    while (cut < text.size() && cut < Unit.size() && text[cut] == u' ') ++cut;
    if (cut == 0 && !text.empty() && text[0] == u'\t') cut = 1;
    if (cut > 0) ReplaceRange({{line, 1}, {line, static_cast<int64_t>(cut) + 1}}, {});
  }
}

// ---- Selection, listeners, snapshots.

void TxMarkupDocument::setSelection(const TySelection& Selection) {
  const TySelection clamped{ClampPosition(Selection.Anchor), ClampPosition(Selection.Caret)};
  if (clamped.Caret != Selection_.Caret) Undo_.CloseStep();
  Selection_ = clamped;
}

void TxMarkupDocument::AddListener(IyDocumentListener* Listener) {
  if (Listener && std::find(Listeners_.begin(), Listeners_.end(), Listener) == Listeners_.end())
    Listeners_.push_back(Listener);
}

void TxMarkupDocument::RemoveListener(IyDocumentListener* Listener) {
  Listeners_.erase(std::remove(Listeners_.begin(), Listeners_.end(), Listener), Listeners_.end());
}

TxTextList& TxMarkupDocument::getListForChange() {
  if (TextList_.use_count() > 1) {
    // A shared snapshot reads this list (maybe on another thread): it keeps it, unchanged.
    auto copy = std::make_shared<TxTextList>();
    copy->setOnCreateUniqueID(TextList_->getOnCreateUniqueID());
    copy->InsertAtEnd(*TextList_, 1, TextList_->getCount());
    // The lines are the same lines: they keep their identities.
    for (int64_t line = 1; line <= copy->getCount(); ++line)
      copy->getItems(line)->UniqueID = TextList_->getItems(line)->UniqueID;
    TextList_ = std::move(copy);
  } else {
    // The last snapshot may just have been dropped on another thread: its reads come first.
    std::atomic_thread_fence(std::memory_order_acquire);
  }
  return *TextList_;
}

TxDocumentSnapshotPtr TxMarkupDocument::CreateSharedSnapshot() {
  return std::make_shared<const TxDocumentSnapshot>(TextList_, Format_.Newline, Kind_, Path_,
                                                    Generation_);
}

TxDocumentSnapshotPtr TxMarkupDocument::CreateSnapshot() const {
  auto list = std::make_unique<TxTextList>();
  list->InsertAtEnd(*TextList_, 1, TextList_->getCount());
  return std::make_shared<const TxDocumentSnapshot>(std::move(list), Format_.Newline, Kind_, Path_,
                                                    Generation_);
}

}  // namespace xylem
