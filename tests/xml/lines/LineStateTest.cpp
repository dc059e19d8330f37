#include "xml/lines/LineState.hpp"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "support/LineStateTestSupport.hpp"
#include "text/TextList.hpp"

namespace xylem {
namespace {

using test::ReferenceScan;
using test::Stored;
using test::TyLineRecord;

void Load(TxTextList& List, const std::u16string& Text) { List.LoadFromText__PARALLEL__(Text, 1); }

TEST(LineStateTest, CutsPiecesWithTheLongerOnesLast) {
  struct Row {
    int64_t Lines;
    int Pieces;
    std::vector<int64_t> Lengths;
  };
  const Row rows[] = {
      {10, 4, {2, 2, 3, 3}}, {3, 4, {0, 1, 1, 1}}, {0, 2, {0, 0}},
      {7, 1, {7}},           {9, 3, {3, 3, 3}},    {11, 8, {1, 1, 1, 1, 1, 2, 2, 2}},
  };
  for (const Row& row : rows) {
    int64_t next = 1;
    for (int i = 0; i < row.Pieces; ++i) {
      int64_t first = 0, count = 0;
      CyXMLLineStates::CutPiece(row.Lines, row.Pieces, i, first, count);
      EXPECT_EQ(first, next) << row.Lines << " lines, piece " << i;
      EXPECT_EQ(count, row.Lengths[static_cast<size_t>(i)]) << row.Lines << " lines, piece " << i;
      next = first + count;
    }
    EXPECT_EQ(next, row.Lines + 1);
  }
}

// Any piece count leaves exactly the states and deltas of a plain sequential tokenizer scan.
TEST(LineStateTest, PiecesLeaveTheStatesOfASequentialScan) {
  std::mt19937 random(7);
  for (int round = 0; round < 40; ++round) {
    TxTextList list;
    Load(list, test::GenerateLines(random, 1 + static_cast<int>(random() % 40)));
    int64_t expectedTotal = 0;
    const std::vector<TyLineRecord> expected = ReferenceScan(list.getTextItems(), expectedTotal);
    for (int pieces : {1, 2, 3, 4, 8}) {
      int64_t total = -12345;
      CyXMLParserParallel::UpdateAllLines(list.getTextItems(), total, pieces);
      ASSERT_EQ(Stored(list.getTextItems()), expected) << "round " << round << ", " << pieces;
      EXPECT_EQ(total, expectedTotal);
      EXPECT_EQ(total, list.getTextItems().CalcDelta(1, list.getCount()));
    }
  }
}

TEST(LineStateTest, CommentAcrossAPieceBoundaryIsRepairedUpToItsEnd) {
  // Two pieces of five lines: the comment opens on line 5 and closes on line 7.
  TxTextList list;
  Load(list, u"<r>\n<a/>\n<b/>\n<c/>\n<d/><!-- one\ntwo\nthree --><e/>\n<f/>\n<g/>\n</r>");
  TxTextItems& items = list.getTextItems();
  CyXMLParserParam second{&items, 6, 5, 0};
  CyXMLParserParam first{&items, 1, 5, 0};
  CyXMLParserParallel::UpdatePiece(first);
  CyXMLParserParallel::UpdatePiece(second);
  int64_t total = first.TotalDelta + second.TotalDelta;
  // The second piece assumed the document level at its start.
  EXPECT_EQ(CyXMLLineStates::getStartState(*items.getItems(6)), TyXMLLineState{});

  int64_t repaired = -1;
  EXPECT_EQ(CyXMLParserParallel::Repair(items, 6, 5, total, repaired), 2);
  EXPECT_EQ(repaired, 2);
  for (int64_t line : {6, 7})
    EXPECT_EQ(items.getItems(line)->StackG & 31, XMLValue(TyXMLGroup::COMMENT)) << line;
  int64_t expectedTotal = 0;
  EXPECT_EQ(Stored(items), ReferenceScan(items, expectedTotal));
  EXPECT_EQ(total, expectedTotal);

  // Right states: nothing to rewrite, wherever the repair starts.
  for (int64_t line = 1; line <= 10; ++line) {
    EXPECT_EQ(CyXMLParserParallel::Repair(items, line, 10, total, repaired), 0) << line;
    EXPECT_EQ(repaired, 0);
  }
  EXPECT_EQ(total, expectedTotal);
}

// The tokenizer closes whatever is open at the end of the document's last line (missing
// tokens), so the document's total is 0 either way; what stays open shows in the total of
// the lines before the last.
TEST(LineStateTest, TotalDeltaShowsConstructsLeftOpen) {
  struct Row {
    std::u16string Text;
    bool Open;
  };
  const Row rows[] = {
      {u"<r>\n  <a x=\"1\">t</a>\n</r>", false},
      {u"<r>\n<!-- a\nb -->\n</r>", false},
      {u"<r>\n<!-- never\nclosed\n", true},
      {u"<r>\n<a x=\"open\nvalue\n", true},
  };
  for (const Row& row : rows) {
    for (int pieces : {1, 2, 3}) {
      TxTextList list;
      Load(list, row.Text);
      int64_t total = -1;
      CyXMLParserParallel::UpdateAllLines(list.getTextItems(), total, pieces);
      EXPECT_EQ(total, 0) << pieces;
      const int64_t beforeLast = list.getTextItems().CalcDelta(1, list.getCount() - 1);
      if (row.Open)
        EXPECT_GT(beforeLast, 0) << pieces;
      else
        EXPECT_EQ(beforeLast, 0) << pieces;
    }
  }
}

// Random edits, each followed by the after-edit repair, leave exactly the records of a fresh
// scan, and the repair rewrites exactly the edited lines and those whose records were wrong.
TEST(LineStateTest, RepairAfterRandomEditsEqualsAFreshScan) {
  std::mt19937 random(11);
  for (int round = 0; round < 25; ++round) {
    TxTextList list;
    Load(list, test::GenerateLines(random, 1 + static_cast<int>(random() % 30)));
    int64_t total = 0;
    CyXMLParserParallel::UpdateAllLines(list.getTextItems(), total,
                                        1 + static_cast<int>(round % 3));
    for (int edit = 0; edit < 30; ++edit) {
      const test::TyEditOutcome outcome = test::RandomEdit(random, list, total);
      int64_t expectedTotal = 0;
      const std::vector<TyLineRecord> expected = ReferenceScan(list.getTextItems(), expectedTotal);
      ASSERT_EQ(Stored(list.getTextItems()), expected) << "round " << round << " edit " << edit;
      ASSERT_EQ(total, expectedTotal) << "round " << round << " edit " << edit;
      ASSERT_EQ(outcome.Rewritten, outcome.Expected) << "round " << round << " edit " << edit;
    }
  }
}

// The same edits move the records' gap all over the list; parallel scans in between (pieces
// reading lines on both sides of the gap) must leave what the repair left.
TEST(LineStateTest, ParallelScansBetweenEditsAgreeWithTheRepair) {
  std::mt19937 random(23);
  TxTextList list;
  Load(list, test::GenerateLines(random, 400));
  int64_t total = 0;
  CyXMLParserParallel::UpdateAllLines(list.getTextItems(), total, 3);
  for (int edit = 0; edit < 300; ++edit) {
    test::RandomEdit(random, list, total);
    if (edit % 7 != 6) continue;
    const std::vector<TyLineRecord> repaired = Stored(list.getTextItems());
    int64_t scanned = 0;
    CyXMLParserParallel::UpdateAllLines(list.getTextItems(), scanned, 2 + edit % 3);
    ASSERT_EQ(Stored(list.getTextItems()), repaired) << "edit " << edit;
    ASSERT_EQ(scanned, total) << "edit " << edit;
  }
}

// A block of lines that carries states of its own scan (a large paste scanned apart, or lines
// restored by undo with the states they had) is put in place of a random range; the repair
// that checks only the block's ends must leave the records of a fresh scan.
TEST(LineStateTest, InsertedScannedBlocksEqualAFreshScan) {
  std::mt19937 random(31);
  for (int round = 0; round < 300; ++round) {
    TxTextList list;
    Load(list, test::GenerateLines(random, 1 + static_cast<int>(random() % 40)));
    TxTextItems& items = list.getTextItems();
    int64_t total = 0;
    CyXMLParserParallel::UpdateAllLines(items, total, 2);
    const int64_t count = list.getCount();
    const int64_t first = 1 + static_cast<int64_t>(random() % static_cast<uint32_t>(count));
    const int64_t removed =
        1 + static_cast<int64_t>(random() % static_cast<uint32_t>(count - first + 1));
    // The block: lines of the list itself with their states (undo's case) or new lines
    // scanned on their own from the document-level state (a paste).
    TxTextList block;
    if (round % 2 == 0) {
      const int64_t from = 1 + static_cast<int64_t>(random() % static_cast<uint32_t>(count));
      const int64_t to = std::min(count, from + 1 + static_cast<int64_t>(random() % 20));
      block.InsertAtEnd(list, from, to);
    } else {
      Load(block, test::GenerateLines(random, 2 + static_cast<int>(random() % 20)));
      int64_t blockTotal = 0;
      CyXMLParserParallel::UpdateAllLines(block.getTextItems(), blockTotal, 3);
    }
    if (block.getCount() < 2) continue;
    CyXMLLineStates::BeforeEdit(items, first, removed, total);
    if (removed > 1) list.Remove(first + 1, removed - 1);
    list.Dent(first, {std::u16string(list.getLine(first))}, {std::u16string(block.getLine(1))});
    list.InsertBefore(first + 1, block, 2, block.getCount());
    const int64_t last = CyXMLLineStates::AfterInsertScanned(items, first, block.getCount(), total);
    int64_t expectedTotal = 0;
    const std::vector<TyLineRecord> expected = ReferenceScan(items, expectedTotal);
    ASSERT_EQ(Stored(items), expected) << "round " << round;
    ASSERT_EQ(total, expectedTotal) << "round " << round;
    ASSERT_GE(last, first + block.getCount() - 1) << "round " << round;
  }
}

TEST(LineStateTest, TypingInCharacterDataRewritesOneLine) {
  TxTextList list;
  Load(list, u"<r>\n<a>one</a>\n<a>two</a>\n<a>three</a>\n</r>");
  int64_t total = 0;
  CyXMLParserParallel::UpdateAllLines(list.getTextItems(), total, 2);
  list.Dent(3, {u"<a>two</a>"}, {u"<a>twoo</a>"});
  EXPECT_EQ(CyXMLLineStates::AfterEdit(list.getTextItems(), 3, 1, total), 1);
  // Opening a comment changes every line after it.
  list.Dent(3, {u"<a>twoo</a>"}, {u"<a>twoo</a><!--"});
  EXPECT_EQ(CyXMLLineStates::AfterEdit(list.getTextItems(), 3, 1, total), 3);
  EXPECT_EQ(total, list.getTextItems().CalcDelta(1, list.getCount()));
  EXPECT_GT(list.getTextItems().CalcDelta(1, 4), 0);
}

}  // namespace
}  // namespace xylem
