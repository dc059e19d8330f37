#pragma once
// The plain models the editor tests compare against: the text as one string, the line states
// of a fresh load and sequential scan, fold ranges of a fresh scan, rows by brute force, and
// markers moved in offsets. Shared by the differential tests and the fuzz target.

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "editor/Document.hpp"
#include "editor/Folding.hpp"
#include "editor/WordWrap.hpp"

namespace xylem::test {

// Random fragments that open and close XML or JSON constructs across lines.
std::u16string RandomFragment(std::mt19937& Random, bool JSON);
// A random text of up to MaxLines lines (line ends of every convention when Mixed).
std::u16string RandomText(std::mt19937& Random, bool JSON, int MaxLines, bool Mixed);

// Checks Document against Model (text joined by the document's newline) and a fresh load of it:
// text, line count, stored states and deltas, total delta. Returns "" or what differs.
std::string CompareWithFreshScan(const TxMarkupDocument& Document, const std::u16string& Model);
// Fold ranges of a fresh load of Model.
std::vector<TyFoldRange> FreshFoldRanges(const std::u16string& Model, TyDocumentKind Kind);
// Checks the folding's visible-line map against the hidden lines counted one by one.
std::string CompareVisibleLines(const CyEditorFolding& Folding, int64_t LineCount);
// Checks row counts and both row mappings against sums of CountRows over the lines.
std::string CompareRows(CyWordWrap& Wrap, const TxMarkupDocument& Document);

// Offsets in the model for a change [Start, End) replaced by Length units.
int64_t MoveOffset(int64_t Offset, int64_t Start, int64_t End, int64_t Length);

// Checks on every notification that lines outside the change kept their identities.
class CyIdentityWatch : public IyDocumentListener {
 public:
  explicit CyIdentityWatch(TxMarkupDocument& Document);
  ~CyIdentityWatch() override;
  void OnDocumentChanged(const TxMarkupDocument& Document, const TyDocumentChange& Change) override;
  const std::string& getFailure() const { return Failure_; }
  const TyDocumentChange& getLast() const { return Last_; }
  int64_t getChanges() const { return Changes_; }

 private:
  void Capture(const TxMarkupDocument& Document);
  TxMarkupDocument& Document_;
  std::vector<int64_t> IDs_;
  std::string Failure_;
  TyDocumentChange Last_;
  int64_t Changes_ = 0;
};

}  // namespace xylem::test
