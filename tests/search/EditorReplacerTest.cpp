#include "search/EditorReplacer.hpp"

#include <gtest/gtest.h>

#include "search/RegExprSearcher.hpp"
#include "search/ReplaceWithParts.hpp"

namespace xylem {
namespace {

// An editor holding a text list, its newline and a selection, counting content changes.
class TyFakeEditor : public IyReplaceEditor {
 public:
  TyFakeEditor(std::u16string_view Text, std::u16string Newline) : Newline_(std::move(Newline)) {
    List_ = std::make_unique<TxTextList>();
    List_->setOnCreateUniqueID(CreateProcessUniqueIDs);
    List_->LoadFromText__PARALLEL__(Text);
  }
  const TxTextList& getTextList() const override { return *List_; }
  std::u16string_view getNewline() const override { return Newline_; }
  TyReplaceSelection getSelection() const override { return Selection; }
  void setSelection(const TyReplaceSelection& Value) override { Selection = Value; }
  void ReplaceContent(std::unique_ptr<TxTextList> Content) override {
    List_ = std::move(Content);
    ++ChangeCount;
  }
  std::u16string getJoined() const {
    return List_->getTextItems().getJoined(Newline_, 1, List_->getCount());
  }
  std::vector<int64_t> getIDs() const {
    std::vector<int64_t> ids;
    for (int64_t line = 1; line <= List_->getCount(); ++line)
      ids.push_back(List_->getItems(line)->UniqueID);
    return ids;
  }

  TyReplaceSelection Selection;
  int ChangeCount = 0;

 private:
  std::unique_ptr<TxTextList> List_;
  std::u16string Newline_;
};

TEST(EditorReplacer, ReplaceAllIsOneChangeAndKeepsTheSelectionOnItsText) {
  TyFakeEditor editor(u"alpha beta\r\nbeta gamma\r\nend", u"\r\n");
  // Anchor inside the first "beta" (line 1, position 8), caret at the start of "gamma".
  editor.Selection = {1, 8, 2, 6};
  TxEditorReplacer replacer(editor);
  int64_t count = 0;
  ASSERT_TRUE(replacer.ReplaceAll(u"beta", u"B\\nB", roRegExpr | roCaseSensitive, count));
  EXPECT_EQ(count, 2);
  EXPECT_EQ(editor.ChangeCount, 1);
  EXPECT_EQ(editor.getJoined(), u"alpha B\r\nB\r\nB\r\nB gamma\r\nend");
  EXPECT_EQ(editor.getTextList().getCount(), 5);
  // Inside a match: the end of its replacement (line 2, position 2). Behind: shifted with it.
  EXPECT_EQ(editor.Selection.AnchorLine, 2);
  EXPECT_EQ(editor.Selection.AnchorLinepos, 2);
  EXPECT_EQ(editor.Selection.CaretLine, 4);
  EXPECT_EQ(editor.Selection.CaretLinepos, 3);
}

TEST(EditorReplacer, ReplaceRestInBothDirections) {
  struct Row {
    TyReplaceSelection Selection;
    uint8_t Options;
    bool Replaced;
    std::u16string Expected;
  };
  // "ab" at offsets 0, 3 (line 1) and 6 (line 2, position 1) with "\n" as newline.
  const Row rows[] = {
      {{1, 4, 1, 6}, roForward, true, u"ab X\nX"},     // forward from the selection's first end
      {{1, 6, 1, 4}, roForward, true, u"ab X\nX"},     // the same selection made backwards
      {{1, 4, 1, 6}, 0, true, u"X X\nab"},             // backward up to its last end
      {{1, 1, 1, 1}, 0, false, u"ab ab\nab"},          // backward from the very start: nothing
      {{2, 3, 2, 3}, roForward, false, u"ab ab\nab"},  // forward from the very end: nothing
      {{2, 3, 2, 3}, 0, true, u"X X\nX"},
  };
  for (const Row& row : rows) {
    TyFakeEditor editor(u"ab ab\nab", u"\n");
    editor.Selection = row.Selection;
    int64_t count = 0;
    TxEditorReplacer replacer(editor);
    EXPECT_EQ(replacer.ReplaceRest(u"AB", u"X", row.Options, count), row.Replaced);
    EXPECT_EQ(editor.getJoined(), row.Expected);
    EXPECT_EQ(editor.ChangeCount, row.Replaced ? 1 : 0);
  }
}

TEST(EditorReplacer, FailuresLeaveTheDocumentUntouched) {
  TyFakeEditor editor(u"a1\r\nb2", u"\r\n");
  editor.Selection = {1, 2, 2, 1};
  const std::vector<int64_t> ids = editor.getIDs();
  TxEditorReplacer replacer(editor);
  int64_t count = 7;
  EXPECT_THROW(replacer.ReplaceAll(u"(\\d)", u"$2", roRegExpr, count), ReplaceWithException);
  EXPECT_THROW(replacer.ReplaceAll(u"(\\d", u"x", roRegExpr, count), CyRegExprException);
  EXPECT_FALSE(replacer.ReplaceAll(u"zzz", u"x", 0, count));
  EXPECT_EQ(count, 0);
  EXPECT_EQ(editor.ChangeCount, 0);
  EXPECT_EQ(editor.getIDs(), ids);
  EXPECT_EQ(editor.getJoined(), u"a1\r\nb2");
  EXPECT_EQ(editor.Selection.AnchorLinepos, 2);
}

TEST(EditorReplacer, MatchesMayCrossLineEnds) {
  TyFakeEditor editor(u"x1\ny2\nz", u"\n");
  int64_t count = 0;
  TxEditorReplacer replacer(editor);
  EXPECT_TRUE(replacer.ReplaceAll(u"(\\d)\\R", u"[$1]", roRegExpr, count));
  EXPECT_EQ(editor.getJoined(), u"x[1]y[2]z");
  EXPECT_EQ(editor.getTextList().getCount(), 1);
  EXPECT_TRUE(replacer.ReplaceAll(u"\\[2\\]", u"\\n", roRegExpr, count));
  EXPECT_EQ(editor.getTextList().getCount(), 2);
}

}  // namespace
}  // namespace xylem
