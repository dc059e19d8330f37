// Commands over the document: typing merged into steps, the modified flag, markers by the
// replace rules, search against a brute-force scan of the joined text, replace all as one step,
// format with refusal, bookmarks, background checks on snapshots.

#include <gtest/gtest.h>

#include <random>

#include "EditorOracle.hpp"
#include "editor/BackgroundCheck.hpp"
#include "editor/Bookmarks.hpp"
#include "editor/Document.hpp"
#include "editor/Format.hpp"
#include "editor/Search.hpp"
#include "services/DocumentChecks.hpp"

namespace xylem::test {
namespace {

TyEditorOptions NoPause() {
  TyEditorOptions options;
  options.TypingPause = std::chrono::milliseconds{0};
  return options;
}

TEST(EditorCommands, TypingMergesPerWordAndUndoRestoresSelectionAndClean) {
  struct TyRow {
    const char16_t* Typed;
    std::vector<const char16_t*> AfterEachUndo;
  };
  const TyRow rows[] = {
      {u"hello world", {u"hello ", u""}},
      {u"ab\ncd", {u"ab\n", u""}},
      {u"x", {u""}},
  };
  for (const TyRow& row : rows) {
    TxMarkupDocument doc(NoPause());
    doc.LoadFromText(u"", "a.txt");
    for (char16_t c : std::u16string_view(row.Typed)) doc.TypeText(std::u16string(1, c));
    ASSERT_TRUE(doc.getModified());
    for (const char16_t* expected : row.AfterEachUndo) {
      ASSERT_TRUE(doc.Undo());
      std::u16string text = expected;
      for (size_t at = text.find(u'\n'); at != std::u16string::npos; at = text.find(u'\n', at + 2))
        text.replace(at, 1, u"\r\n");
      EXPECT_EQ(doc.getText(), text);
      EXPECT_EQ(doc.getSelection().Caret, doc.getEndPosition());
    }
    EXPECT_FALSE(doc.Undo());
    EXPECT_FALSE(doc.getModified());
    while (doc.Redo()) {
    }
    EXPECT_TRUE(doc.getModified());
  }
}

TEST(EditorCommands, MarkersFollowTheReplaceRules) {
  // Text "abcdef" (offsets 0..6); the change replaces [2, 4) by "XYZ".
  const struct {
    int64_t Offset;
    int64_t Expected;
  } rows[] = {{0, 0}, {2, 2}, {3, 5}, {4, 5}, {5, 6}, {6, 7}};
  for (const auto& row : rows) {
    TxMarkupDocument doc(NoPause());
    doc.LoadFromText(u"abcdef", "a.txt");
    const TyMarkerID id =
        doc.getMarkers().Add(doc.ConvertOffsetToPosition(row.Offset), TyMarkerKind::mkUser);
    doc.ReplaceRange({{1, 3}, {1, 5}}, u"XYZ");
    EXPECT_EQ(doc.ConvertPositionToOffset(doc.getMarkers().getPosition(id)), row.Expected)
        << row.Offset;
    EXPECT_EQ(MoveOffset(row.Offset, 2, 4, 3), row.Expected);
  }
}

TEST(EditorCommands, FindMatchesBruteForceOverTheJoinedText) {
  std::mt19937 random(7);
  for (int round = 0; round < 30; ++round) {
    TxMarkupDocument doc(NoPause());
    doc.LoadFromText(RandomText(random, false, 40, false) + u"\n", "a.xml");
    const std::u16string text = doc.getText();
    const std::u16string what = round % 3 == 0 ? u"a>\n<" : round % 3 == 1 ? u"<a>" : u"TEXT";
    // Brute force: every match start, case-insensitive, leftmost non-overlapping.
    std::vector<int64_t> starts;
    std::u16string lower = text, needle = what;
    for (auto& c : lower) c = (c >= u'A' && c <= u'Z') ? c + 32 : c;
    for (auto& c : needle) c = (c >= u'A' && c <= u'Z') ? c + 32 : c;
    std::u16string needleDoc;
    for (char16_t c : needle)
      needleDoc += c == u'\n' ? std::u16string(doc.getNewline()) : std::u16string(1, c);
    for (size_t at = lower.find(needleDoc); at != std::u16string::npos;
         at = lower.find(needleDoc, at + needleDoc.size()))
      starts.push_back(static_cast<int64_t>(at));
    for (bool regExpr : {false, true}) {
      TySearchQuery query;
      query.SearchWhat = regExpr ? (what == u"a>\n<" ? u"a>\\R<" : what) : what;
      query.RegExpr = regExpr;
      query.Wrap = false;
      CyEditorSearch search(doc, query);
      EXPECT_EQ(search.CountAll(), static_cast<int64_t>(starts.size()));
      TyTextPosition from{1, 1};
      for (int64_t start : starts) {
        TyTextRange match;
        ASSERT_TRUE(search.FindNext(from, match));
        ASSERT_EQ(doc.ConvertPositionToOffset(match.Start), start);
        from = match.End;
      }
      TyTextRange match;
      EXPECT_FALSE(search.FindNext(from, match));
      // Backwards from the end meets the same starts in reverse.
      from = doc.getEndPosition();
      for (auto it = starts.rbegin(); it != starts.rend(); ++it) {
        ASSERT_TRUE(search.FindPrevious(from, match));
        ASSERT_EQ(doc.ConvertPositionToOffset(match.Start), *it);
        from = match.Start;
      }
    }
  }
}

TEST(EditorCommands, ReplaceAllIsOneStepAndKeepsTheSelection) {
  TxMarkupDocument doc(NoPause());
  doc.LoadFromText(u"<a>one</a>\n<a>two</a>\n", "a.xml");
  doc.setSelection({{2, 4}, {2, 7}});
  int64_t count = 0;
  TySearchQuery query;
  query.SearchWhat = u"a>";
  ASSERT_TRUE(ReplaceAllInDocument(doc, query, u"bb>", count));
  EXPECT_EQ(count, 4);
  EXPECT_EQ(doc.getText(), u"<bb>one</bb>\n<bb>two</bb>\n");
  EXPECT_EQ(doc.getText(doc.getSelection().getRange()), u"two");
  ASSERT_TRUE(doc.Undo());
  EXPECT_EQ(doc.getText(), u"<a>one</a>\n<a>two</a>\n");
  EXPECT_FALSE(doc.getModified());
  ASSERT_TRUE(doc.Redo());
  EXPECT_EQ(doc.getText(), u"<bb>one</bb>\n<bb>two</bb>\n");
}

TEST(EditorCommands, FormatIsOneStepAndARefusalChangesNothing) {
  const struct {
    const char16_t* Text;
    const char* Path;
    bool Refused;
  } rows[] = {
      {u"<r><a>x</a><b/></r>\n", "a.xml", false},
      {u"<r><a>x</b></r>\n", "a.xml", true},
      {u"{\"a\":[1,2],\"b\":{}}\n", "a.json", false},
      {u"{\"a\":[1,2\n", "a.json", true},
  };
  for (const auto& row : rows) {
    TxMarkupDocument doc(NoPause());
    doc.LoadFromText(row.Text, row.Path);
    const std::u16string before = doc.getText();
    const TyFormatResult result = CyEditorFormat::FormatDocument(doc, {});
    EXPECT_EQ(result.Refused, row.Refused) << row.Path;
    if (row.Refused) {
      EXPECT_FALSE(result.Message.empty());
      EXPECT_GT(result.Line, 0);
      EXPECT_EQ(doc.getText(), before);
      EXPECT_FALSE(doc.getModified());
      continue;
    }
    ASSERT_TRUE(result.Formatted);
    EXPECT_GT(doc.getLineCount(), 2);
    // Formatting the formatted text changes nothing.
    EXPECT_FALSE(CyEditorFormat::FormatDocument(doc, {}).Formatted);
    ASSERT_TRUE(doc.Undo());
    EXPECT_EQ(doc.getText(), before);
  }
}

TEST(EditorCommands, BookmarksFollowLinesAndWrapAround) {
  TxMarkupDocument doc(NoPause());
  doc.LoadFromText(u"a\nb\nc\nd\n", "a.txt");
  EXPECT_TRUE(CyBookmarks::Toggle(doc, 2));
  EXPECT_TRUE(CyBookmarks::Toggle(doc, 4));
  doc.InsertText({1, 1}, u"x\ny\n");  // lines 2 and 4 become 4 and 6
  EXPECT_EQ(CyBookmarks::Next(doc, 1), 4);
  EXPECT_EQ(CyBookmarks::Next(doc, 4), 6);
  EXPECT_EQ(CyBookmarks::Next(doc, 6), 4);
  EXPECT_EQ(CyBookmarks::Previous(doc, 4), 6);
  EXPECT_EQ(CyBookmarks::Clear(doc), 2);
  EXPECT_EQ(CyBookmarks::Next(doc, 1), 0);
}

TEST(EditorCommands, BackgroundCheckResultsFollowEditsAndOutdatedOnesAreDropped) {
  CyXPathCheckerCachePool pool;
  TxMarkupDocument doc(NoPause());
  doc.LoadFromText(u"<r>\n<a></b>\n</r>\n", "a.xml");
  CyBackgroundChecks checks(doc, pool);
  checks.Start();
  doc.InsertText({1, 1}, u"\n");  // makes the running check outdated
  EXPECT_FALSE(checks.WaitAndPoll());
  checks.Start();
  ASSERT_TRUE(checks.WaitAndPoll());
  IyXMLErrsPtr errs = checks.getErrs();
  ASSERT_TRUE(errs && errs->getCount() > 0);
  const int32_t line = errs->getXMLErr(0)->getLocation()->getLine();
  EXPECT_EQ(line, 3);
  doc.InsertText({1, 1}, u"\n\n");
  errs = checks.getErrs();
  EXPECT_EQ(errs->getXMLErr(0)->getLocation()->getLine(), line + 2);
  // A snapshot is independent of later edits.
  TxDocumentSnapshotPtr snapshot = doc.CreateSnapshot();
  doc.DeleteRange({{1, 1}, doc.getEndPosition()});
  EXPECT_EQ(snapshot->getTextList().getCount(), 7);
  EXPECT_TRUE(HasErrors(CheckSnapshot(*snapshot, pool, {})));
}

TEST(EditorCommands, BadPositionsAndNulAreRefusedWithoutChange) {
  TxMarkupDocument doc(NoPause());
  doc.LoadFromText(u"ab\ncd", "a.txt");
  EXPECT_THROW(doc.InsertText({3, 1}, u"x"), CyException);
  EXPECT_THROW(doc.InsertText({1, 4}, u"x"), CyException);
  EXPECT_THROW(doc.InsertText({1, 1}, std::u16string(u"a\0b", 3)), CyException);
  EXPECT_EQ(doc.getText(), u"ab\ncd");
  EXPECT_FALSE(doc.getModified());
}

}  // namespace
}  // namespace xylem::test
