// Edits large enough for the document's bulk paths: a paste beyond the parallel threshold
// (loaded and scanned in pieces apart, then repaired at its ends) and the undo and redo of
// many lines (records restored with their states), each compared with a fresh scan, also when
// the paste lands inside a comment or an open tag and when the kind changed in between.

#include <gtest/gtest.h>

#include <random>

#include "EditorOracle.hpp"
#include "editor/Document.hpp"

namespace xylem::test {
namespace {

TyEditorOptions Options(int Pieces) {
  TyEditorOptions options;
  options.TypingPause = std::chrono::milliseconds{0};
  options.PieceCount = Pieces;
  return options;
}

// About Units code units of random XML lines joined by "\n".
std::u16string LargeText(std::mt19937& Random, size_t Units) {
  std::u16string text;
  while (text.size() < Units) {
    text += RandomFragment(Random, false);
    if (Random() % 3 == 0) text += u'\n';
  }
  return text;
}

TEST(LargeEdits, BulkPasteDeleteUndoAndRedoEqualAFreshScan) {
  const struct {
    const char16_t* Document;
    TyTextPosition At;  // where the paste goes
  } rows[] = {
      {u"<r>\n<a>x</a>\n</r>", {2, 1}},
      {u"<r>\n<!-- open\n</r>", {2, 8}},          // inside a comment that runs to the end
      {u"<r>\n<a b='1'\n c='2'>\n</r>", {2, 8}},  // inside an open tag's value
      {u"<r>\n<a>x</a>\n</r>", {3, 5}},           // at the end
      {u"<r>\n<a>x</a>\n</r>", {1, 1}},           // at the start
  };
  std::mt19937 random(5);
  int row = 0;
  for (const auto& r : rows) {
    SCOPED_TRACE("row " + std::to_string(row++));
    TxMarkupDocument doc(Options(1 + row % 3));
    doc.LoadFromText(r.Document, "t.xml");
    const std::u16string before = doc.getText();
    // Beyond 1 Mi units: the paste's own parallel load and scan.
    const std::u16string paste = LargeText(random, (size_t{1} << 20) + 4096);
    ASSERT_EQ(doc.getNewline(), u"\n");
    std::u16string model = before;
    model.insert(static_cast<size_t>(doc.ConvertPositionToOffset(r.At)), paste);
    doc.InsertText(r.At, paste);
    ASSERT_EQ(CompareWithFreshScan(doc, model), "");

    // Many lines deleted from the middle of the paste, undone and redone.
    const int64_t lines = doc.getLineCount();
    const TyTextRange range{{lines / 4, 2}, {3 * lines / 4, 1}};
    const std::u16string afterPaste = doc.getText();
    doc.DeleteRange(range);
    const std::u16string afterDelete = doc.getText();
    ASSERT_EQ(CompareWithFreshScan(doc, afterDelete), "");
    ASSERT_TRUE(doc.Undo());
    ASSERT_EQ(CompareWithFreshScan(doc, afterPaste), "");
    ASSERT_TRUE(doc.Redo());
    ASSERT_EQ(CompareWithFreshScan(doc, afterDelete), "");
    ASSERT_TRUE(doc.Undo());
    ASSERT_TRUE(doc.Undo());
    ASSERT_EQ(CompareWithFreshScan(doc, before), "");
    // Records held while states were not kept are rescanned when they come back.
    doc.setKind(TyDocumentKind::dkText);
    ASSERT_TRUE(doc.Redo());
    doc.setKind(TyDocumentKind::dkXML);
    ASSERT_EQ(CompareWithFreshScan(doc, model), "");
    doc.setKind(TyDocumentKind::dkText);
    doc.DeleteRange(range);
    doc.setKind(TyDocumentKind::dkXML);
    ASSERT_TRUE(doc.Undo());
    ASSERT_EQ(CompareWithFreshScan(doc, model), "");
  }
}

}  // namespace
}  // namespace xylem::test
