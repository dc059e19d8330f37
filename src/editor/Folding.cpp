#include "editor/Folding.hpp"

#include <algorithm>

#include "editor/Document.hpp"

namespace xylem {

namespace {

TyFoldKind FromXML(TyXMLFoldKind Kind) {
  switch (Kind) {
    case TyXMLFoldKind::fkElement:
      return TyFoldKind::fkElement;
    case TyXMLFoldKind::fkTag:
      return TyFoldKind::fkTag;
    case TyXMLFoldKind::fkAttributeValue:
      return TyFoldKind::fkAttributeValue;
    case TyXMLFoldKind::fkComment:
      return TyFoldKind::fkComment;
    case TyXMLFoldKind::fkCDATA:
      return TyFoldKind::fkCDATA;
    case TyXMLFoldKind::fkPI:
      return TyFoldKind::fkPI;
    case TyXMLFoldKind::fkDoctype:
      return TyFoldKind::fkDoctype;
  }
  return TyFoldKind::fkElement;
}

// Objects and arrays spread over lines. Strings are skipped (escapes included, and carried over
// a line end so that a broken string does not make brackets of its text).
std::vector<TyFoldRange> JSONFoldRanges(const TxTextList& List) {
  struct TyOpen {
    int64_t Line;
    int64_t Order;
    TyFoldKind Kind;
  };
  struct TyFound {
    TyFoldRange Range;
    int64_t Order;
  };
  std::vector<TyOpen> open;
  std::vector<TyFound> found;
  bool inString = false;
  bool escaped = false;
  int64_t order = 0;
  for (int64_t line = 1; line <= List.getCount(); ++line) {
    for (char16_t c : List.getLine(line)) {
      if (inString) {
        if (escaped)
          escaped = false;
        else if (c == u'\\')
          escaped = true;
        else if (c == u'"')
          inString = false;
        continue;
      }
      if (c == u'"') {
        inString = true;
      } else if (c == u'{' || c == u'[') {
        open.push_back(
            {line, order++, c == u'{' ? TyFoldKind::fkJSONObject : TyFoldKind::fkJSONArray});
      } else if ((c == u'}' || c == u']') && !open.empty()) {
        const TyOpen o = open.back();
        open.pop_back();
        if (line > o.Line) found.push_back({{o.Line, line, o.Kind}, o.Order});
      }
    }
  }
  std::sort(found.begin(), found.end(), [](const TyFound& a, const TyFound& b) {
    return a.Range.FirstLine != b.Range.FirstLine ? a.Range.FirstLine < b.Range.FirstLine
                                                  : a.Order < b.Order;
  });
  std::vector<TyFoldRange> ranges;
  ranges.reserve(found.size());
  for (const TyFound& f : found) ranges.push_back(f.Range);
  return ranges;
}

}  // namespace

std::vector<TyFoldRange> FoldRangesOf(const TxTextList& List, TyDocumentKind Kind) {
  if (Kind == TyDocumentKind::dkText) return {};
  if (Kind == TyDocumentKind::dkJSON) return JSONFoldRanges(List);
  std::vector<TyFoldRange> ranges;
  for (const TyXMLFoldRange& r : CyXMLFolding::FoldRanges(List))
    ranges.push_back({r.FirstLine, r.LastLine, FromXML(r.Kind)});
  return ranges;
}

CyEditorFolding::CyEditorFolding(TxMarkupDocument& Document) : Document_(Document) {
  Document_.AddListener(this);
  Recompute();
}

CyEditorFolding::~CyEditorFolding() { Document_.RemoveListener(this); }

void CyEditorFolding::Update() {
  if (Stale_) Recompute();
}

void CyEditorFolding::Recompute() {
  Ranges_ = FoldRangesOf(Document_.getTextList(), Document_.getKind());
  Stale_ = false;
  // A collapsed line stays collapsed while a range still starts there.
  std::erase_if(Collapsed_, [this](int64_t line) { return !FindRange(line); });
  RebuildHidden();
}

bool CyEditorFolding::setFoldRanges(std::vector<TyFoldRange> Ranges, uint64_t Generation) {
  if (Generation != Document_.getGeneration()) return false;
  Ranges_ = std::move(Ranges);
  Stale_ = false;
  std::erase_if(Collapsed_, [this](int64_t line) { return !FindRange(line); });
  RebuildHidden();
  return true;
}

const TyFoldRange* CyEditorFolding::FindRange(int64_t Line) const {
  // The first range starting on Line is the outermost one.
  auto it = std::lower_bound(Ranges_.begin(), Ranges_.end(), Line,
                             [](const TyFoldRange& r, int64_t l) { return r.FirstLine < l; });
  return it != Ranges_.end() && it->FirstLine == Line ? &*it : nullptr;
}

bool CyEditorFolding::Collapse(int64_t Line) {
  if (!FindRange(Line)) return false;
  auto it = std::lower_bound(Collapsed_.begin(), Collapsed_.end(), Line);
  if (it == Collapsed_.end() || *it != Line) Collapsed_.insert(it, Line);
  RebuildHidden();
  return true;
}

bool CyEditorFolding::Expand(int64_t Line) {
  auto it = std::lower_bound(Collapsed_.begin(), Collapsed_.end(), Line);
  if (it == Collapsed_.end() || *it != Line) return FindRange(Line) != nullptr;
  Collapsed_.erase(it);
  RebuildHidden();
  return true;
}

bool CyEditorFolding::Toggle(int64_t Line) {
  return IsCollapsed(Line) ? Expand(Line) : Collapse(Line);
}

void CyEditorFolding::CollapseAll() {
  Collapsed_.clear();
  for (const TyFoldRange& r : Ranges_)
    if (Collapsed_.empty() || Collapsed_.back() != r.FirstLine) Collapsed_.push_back(r.FirstLine);
  RebuildHidden();
}

void CyEditorFolding::ExpandAll() {
  Collapsed_.clear();
  RebuildHidden();
}

bool CyEditorFolding::IsCollapsed(int64_t Line) const {
  return std::binary_search(Collapsed_.begin(), Collapsed_.end(), Line);
}

std::vector<TyFoldRange> CyEditorFolding::getCollapsedRanges() const {
  std::vector<TyFoldRange> ranges;
  for (const TyHidden& h : Hidden_) {
    const TyFoldRange* r = FindRange(h.First - 1);
    ranges.push_back({h.First - 1, h.Last, r ? r->Kind : TyFoldKind::fkElement});
  }
  return ranges;
}

void CyEditorFolding::RebuildHidden() {
  Hidden_.clear();
  int64_t hidden = 0;
  for (int64_t line : Collapsed_) {
    const TyFoldRange* r = FindRange(line);
    if (!r) continue;
    // A range that starts on a hidden line adds nothing: it cannot be seen to be expanded.
    if (!Hidden_.empty() && r->FirstLine <= Hidden_.back().Last) continue;
    Hidden_.push_back({r->FirstLine + 1, r->LastLine, hidden});
    hidden += r->LastLine - r->FirstLine;
  }
  HiddenTotal_ = hidden;
}

// The last hidden interval starting at or before Line, or -1.
ptrdiff_t CyEditorFolding::IntervalAtOrBefore(int64_t Line) const {
  auto it = std::upper_bound(Hidden_.begin(), Hidden_.end(), Line,
                             [](int64_t l, const TyHidden& h) { return l < h.First; });
  return (it - Hidden_.begin()) - 1;
}

bool CyEditorFolding::IsLineVisible(int64_t Line) const {
  const ptrdiff_t i = IntervalAtOrBefore(Line);
  return i < 0 || Line > Hidden_[static_cast<size_t>(i)].Last;
}

int64_t CyEditorFolding::getVisibleLineCount() const {
  return Document_.getLineCount() - HiddenTotal_;
}

int64_t CyEditorFolding::DocumentLineToVisible(int64_t Line) const {
  const ptrdiff_t i = IntervalAtOrBefore(Line);
  if (i < 0) return Line;
  const TyHidden& h = Hidden_[static_cast<size_t>(i)];
  if (Line <= h.Last) return h.First - 1 - h.HiddenBefore;
  return Line - h.HiddenBefore - (h.Last - h.First + 1);
}

int64_t CyEditorFolding::VisibleLineToDocument(int64_t Visible) const {
  Visible = std::clamp<int64_t>(Visible, 1, std::max<int64_t>(getVisibleLineCount(), 1));
  // The visible number of the line in front of interval i is First - 1 - HiddenBefore; lines
  // shown behind it come after the interval.
  auto it =
      std::upper_bound(Hidden_.begin(), Hidden_.end(), Visible,
                       [](int64_t v, const TyHidden& h) { return v < h.First - h.HiddenBefore; });
  if (it == Hidden_.begin()) return Visible;
  const TyHidden& h = *(it - 1);
  return Visible + h.HiddenBefore + (h.Last - h.First + 1);
}

void CyEditorFolding::OnDocumentChanged(const TxMarkupDocument& Document,
                                        const TyDocumentChange& Change) {
  if (Change.WholeContent) {
    Stale_ = true;
    std::erase_if(Ranges_,
                  [&](const TyFoldRange& r) { return r.LastLine > Document.getLineCount(); });
    std::erase_if(Collapsed_, [&](int64_t l) { return l > Document.getLineCount(); });
    RebuildHidden();
    return;
  }
  const int64_t first = Change.FirstLine;
  const int64_t removedEnd = first + Change.LinesRemoved - 1;
  const int64_t delta = Change.getLineDelta();
  // Lines in front stay; the first line of the change keeps its ranges; lines behind move.
  const auto moveStart = [&](int64_t Line) -> int64_t {
    if (Line <= first) return Line;
    if (Line <= removedEnd) return 0;
    return Line + delta;
  };
  const auto moveEnd = [&](int64_t Line) -> int64_t {
    if (Line < first) return Line;
    // A range ending on the first line keeps ending there (its closing stays in front of the
    // split when the structure is unchanged); one ending on a removed line ends with the change.
    if (Line <= removedEnd) return Line == first ? first : first + Change.LinesInserted - 1;
    return Line + delta;
  };
  if (delta != 0 || Change.StructureChanged) {
    std::vector<TyFoldRange> moved;
    moved.reserve(Ranges_.size());
    for (TyFoldRange r : Ranges_) {
      r.FirstLine = moveStart(r.FirstLine);
      r.LastLine = moveEnd(r.LastLine);
      if (r.FirstLine > 0 && r.LastLine > r.FirstLine) moved.push_back(r);
    }
    Ranges_ = std::move(moved);
    std::vector<int64_t> collapsed;
    for (int64_t line : Collapsed_)
      if (const int64_t m = moveStart(line); m > 0) collapsed.push_back(m);
    Collapsed_ = std::move(collapsed);
  }
  if (Change.StructureChanged) Stale_ = true;
  RebuildHidden();
}

}  // namespace xylem
