#include "EditorOracle.hpp"

#include <algorithm>

#include "xml/check/WellFormed.hpp"

namespace xylem::test {

std::u16string RandomFragment(std::mt19937& Random, bool JSON) {
  static const char16_t* const kXML[] = {u"<a>",  u"</a>",   u"<b x=\"1\"/>", u"<!--",      u"-->",
                                         u"text", u" ",      u"&amp;",        u"<![CDATA[", u"]]>",
                                         u"<?p ", u"?>",     u"<c",           u">",         u"\"",
                                         u"é",    u"\u4E2D", u"\t",           u"<"};
  static const char16_t* const kJSON[] = {u"{", u"}", u"[",  u"]",  u"\"s\"", u",", u":",
                                          u"1", u" ", u"\"", u"\\", u"true",  u"x"};
  if (JSON) return kJSON[Random() % std::size(kJSON)];
  return kXML[Random() % std::size(kXML)];
}

std::u16string RandomText(std::mt19937& Random, bool JSON, int MaxLines, bool Mixed) {
  static const char16_t* const kEnds[] = {u"\n", u"\r\n", u"\r"};
  std::u16string text;
  const int lines = static_cast<int>(Random() % static_cast<unsigned>(MaxLines)) + 1;
  for (int line = 0; line < lines; ++line) {
    if (line > 0) text += Mixed ? kEnds[Random() % 3] : u"\n";
    const int fragments = static_cast<int>(Random() % 5);
    for (int f = 0; f < fragments; ++f) text += RandomFragment(Random, JSON);
  }
  return text;
}

namespace {

std::string Where(int64_t Line, const char* What) {
  return std::string(What) + " differs on line " + std::to_string(Line);
}

}  // namespace

std::string CompareWithFreshScan(const TxMarkupDocument& Document, const std::u16string& Model) {
  if (Document.getText() != Model) return "text differs from the model";
  TxTextList fresh;
  fresh.LoadFromText__PARALLEL__(Model, 1);
  if (fresh.getCount() != Document.getLineCount()) return "line count differs";
  if (!Document.getKeepsLineStates()) return "";
  CyXMLWellFormed::StoreLineStates_NOT_PARALLEL(fresh);
  int64_t total = 0;
  for (int64_t line = 1; line <= fresh.getCount(); ++line) {
    const TxItem& a = *Document.getTextList().getItems(line);
    const TxItem& b = *fresh.getItems(line);
    if (a.StackG != b.StackG || a.StackS != b.StackS) return Where(line, "start state");
    if (a.Delta != b.Delta || a.DeltaMin != b.DeltaMin || a.DeltaMax != b.DeltaMax)
      return Where(line, "deltas");
    total += b.Delta;
  }
  if (total != Document.getTotalDelta())
    return "total delta differs: " + std::to_string(total) + " fresh, " +
           std::to_string(Document.getTotalDelta()) + " kept";
  return "";
}

std::vector<TyFoldRange> FreshFoldRanges(const std::u16string& Model, TyDocumentKind Kind) {
  TxTextList fresh;
  fresh.LoadFromText__PARALLEL__(Model, 1);
  if (Kind != TyDocumentKind::dkJSON && Kind != TyDocumentKind::dkText)
    CyXMLWellFormed::StoreLineStates_NOT_PARALLEL(fresh);
  return FoldRangesOf(fresh, Kind);
}

std::string CompareVisibleLines(const CyEditorFolding& Folding, int64_t LineCount) {
  std::vector<bool> hidden(static_cast<size_t>(LineCount) + 1, false);
  const auto& ranges = Folding.getFoldRanges();
  for (size_t i = 0; i < ranges.size(); ++i) {
    // The outermost range of a line is the first one starting there.
    if (i > 0 && ranges[i - 1].FirstLine == ranges[i].FirstLine) continue;
    if (!Folding.IsCollapsed(ranges[i].FirstLine) || hidden[ranges[i].FirstLine]) continue;
    for (int64_t l = ranges[i].FirstLine + 1; l <= ranges[i].LastLine && l <= LineCount; ++l)
      hidden[static_cast<size_t>(l)] = true;
  }
  int64_t visible = 0;
  int64_t lastVisible = 1;
  for (int64_t line = 1; line <= LineCount; ++line) {
    if (Folding.IsLineVisible(line) == hidden[static_cast<size_t>(line)])
      return Where(line, "visibility");
    if (!hidden[static_cast<size_t>(line)]) {
      ++visible;
      lastVisible = visible;
      if (Folding.VisibleLineToDocument(visible) != line) return Where(line, "visible to document");
    }
    if (Folding.DocumentLineToVisible(line) != lastVisible)
      return Where(line, "document to visible");
  }
  if (Folding.getVisibleLineCount() != visible) return "visible line count differs";
  return "";
}

std::string CompareRows(CyWordWrap& Wrap, const TxMarkupDocument& Document) {
  int64_t row = 0;
  for (int64_t line = 1; line <= Document.getLineCount(); ++line) {
    const int32_t rows = CountRows(Document.getLine(line), Wrap.getOptions());
    if (Wrap.getRowCount(line) != rows) return Where(line, "row count");
    if (Wrap.LineToRow(line) != row) return Where(line, "line to row");
    for (int32_t r = 0; r < rows; ++r) {
      int64_t inLine = -1;
      if (Wrap.RowToLine(row + r, inLine) != line || inLine != r) return Where(line, "row to line");
    }
    row += rows;
  }
  if (Wrap.getTotalRowCount() != row) return "total rows differ";
  return "";
}

int64_t MoveOffset(int64_t Offset, int64_t Start, int64_t End, int64_t Length) {
  if (Offset <= Start) return Offset;
  if (Offset <= End) return Start + Length;
  return Offset + Length - (End - Start);
}

CyIdentityWatch::CyIdentityWatch(TxMarkupDocument& Document) : Document_(Document) {
  Document_.AddListener(this);
  Capture(Document);
}

CyIdentityWatch::~CyIdentityWatch() { Document_.RemoveListener(this); }

void CyIdentityWatch::Capture(const TxMarkupDocument& Document) {
  IDs_.resize(static_cast<size_t>(Document.getLineCount()));
  for (int64_t line = 1; line <= Document.getLineCount(); ++line)
    IDs_[static_cast<size_t>(line - 1)] = Document.getTextList().getItems(line)->UniqueID;
}

void CyIdentityWatch::OnDocumentChanged(const TxMarkupDocument& Document,
                                        const TyDocumentChange& Change) {
  ++Changes_;
  Last_ = Change;
  if (!Change.WholeContent && Failure_.empty()) {
    const int64_t oldCount = static_cast<int64_t>(IDs_.size());
    if (oldCount + Change.getLineDelta() != Document.getLineCount()) Failure_ = "line count";
    for (int64_t line = 1; line < Change.FirstLine && Failure_.empty(); ++line)
      if (Document.getTextList().getItems(line)->UniqueID != IDs_[static_cast<size_t>(line - 1)])
        Failure_ = "identity changed in front of the change, line " + std::to_string(line);
    for (int64_t old = Change.FirstLine + Change.LinesRemoved; old <= oldCount && Failure_.empty();
         ++old)
      if (Document.getTextList().getItems(old + Change.getLineDelta())->UniqueID !=
          IDs_[static_cast<size_t>(old - 1)])
        Failure_ = "identity changed behind the change, old line " + std::to_string(old);
  }
  Capture(Document);
}

}  // namespace xylem::test
