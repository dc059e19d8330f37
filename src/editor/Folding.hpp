#pragma once
// Folding of one view: the document's fold ranges (XML constructs and elements spread over
// lines, as CyXMLFolding gives them; JSON objects and arrays), which of them are collapsed, and
// the map between document lines and visible lines.
//
// The ranges follow edits: an edit that changes no construct's opening or closing (the line
// deltas and states of the edited lines and behind them stay as they were) only shifts the
// ranges behind it; any other edit marks them stale, and they are computed again on the next
// Update (linear in the text: call it when idle, or hand in ranges computed from a snapshot
// with setFoldRanges). Collapsed ranges stay collapsed across edits and recomputation while a
// range starts on the same line. The visible-line map costs O(log k) per query for k collapsed
// ranges and nothing when none is collapsed.
//
// Not thread-safe: the editing thread (the view's) only. FoldRangesOf may run on any thread
// over a snapshot.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "editor/DocumentChange.hpp"
#include "services/DocumentKind.hpp"
#include "text/TextList.hpp"
#include "xml/lines/Folding.hpp"

namespace xylem {

enum class TyFoldKind : uint8_t {
  fkElement,
  fkTag,
  fkAttributeValue,
  fkComment,
  fkCDATA,
  fkPI,
  fkDoctype,
  fkJSONObject,
  fkJSONArray,
};

struct TyFoldRange {
  int64_t FirstLine;  // the line that stays visible
  int64_t LastLine;   // greater than FirstLine; lines FirstLine + 1 .. LastLine fold away
  TyFoldKind Kind;
  bool operator==(const TyFoldRange&) const = default;
};

// The fold ranges of a list of Kind (whose line states must be stored for the XML kinds),
// ordered by FirstLine, outer before inner. JSON: objects and arrays spread over lines,
// strings respected. Plain text: none. Linear; any thread, the list must not change meanwhile.
std::vector<TyFoldRange> FoldRangesOf(const TxTextList& List, TyDocumentKind Kind);

class CyEditorFolding : public IyDocumentListener {
 public:
  // Computes the ranges of Document now and follows its edits until destroyed.
  explicit CyEditorFolding(TxMarkupDocument& Document);
  ~CyEditorFolding() override;
  CyEditorFolding(const CyEditorFolding&) = delete;
  CyEditorFolding& operator=(const CyEditorFolding&) = delete;

  // The current ranges, shifted over edits since the last computation (exact unless stale).
  const std::vector<TyFoldRange>& getFoldRanges() const { return Ranges_; }
  // True when an edit may have changed the ranges beyond shifting them.
  bool getStale() const { return Stale_; }
  // Computes the ranges again when stale. Linear in the text.
  void Update();
  // Takes ranges computed elsewhere (FoldRangesOf on a snapshot) when Generation is the
  // document's current one; returns false (and ignores them) otherwise.
  bool setFoldRanges(std::vector<TyFoldRange> Ranges, uint64_t Generation);

  // ---- Collapsing. Line is the first line of a range; false when no range starts there.
  bool Collapse(int64_t Line);
  bool Expand(int64_t Line);
  bool Toggle(int64_t Line);
  void CollapseAll();
  void ExpandAll();
  bool IsCollapsed(int64_t Line) const;
  // Lines of the collapsed ranges, ordered, without the ranges nested in collapsed ones.
  std::vector<TyFoldRange> getCollapsedRanges() const;

  // ---- Visible lines (1-based). O(log k).
  bool IsLineVisible(int64_t Line) const;
  int64_t getVisibleLineCount() const;
  // The visible line showing document line Line (a hidden line maps to the line of the
  // collapsed range that hides it).
  int64_t DocumentLineToVisible(int64_t Line) const;
  // The document line shown as visible line Visible (clamped to the visible lines).
  int64_t VisibleLineToDocument(int64_t Visible) const;

  void OnDocumentChanged(const TxMarkupDocument& Document, const TyDocumentChange& Change) override;

 private:
  void Recompute();
  void RebuildHidden();
  const TyFoldRange* FindRange(int64_t Line) const;
  ptrdiff_t IntervalAtOrBefore(int64_t Line) const;

  TxMarkupDocument& Document_;
  std::vector<TyFoldRange> Ranges_;
  std::vector<int64_t> Collapsed_;  // first lines of collapsed ranges, sorted
  // Hidden intervals [First, Last] (outermost collapsed ranges without their first line),
  // sorted and disjoint, and the hidden line count before each.
  struct TyHidden {
    int64_t First;
    int64_t Last;
    int64_t HiddenBefore;
  };
  std::vector<TyHidden> Hidden_;
  int64_t HiddenTotal_ = 0;
  bool Stale_ = false;
};

}  // namespace xylem
