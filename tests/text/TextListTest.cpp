#include "text/TextList.hpp"

#include <gtest/gtest.h>

#include <set>

#include "text/TextListIterator.hpp"

namespace xylem {

namespace {

// A list with identities from a private counter, loaded from Text (lines split at "\n").
struct TyFixtureList {
  int64_t next = 100;
  TxTextList list;
  explicit TyFixtureList(std::u16string_view Text) {
    list.setOnCreateUniqueID([this](int64_t Count) {
      const int64_t first = next;
      next += Count;
      return first;
    });
    list.LoadFromText__PARALLEL__(Text, 1);
  }
  std::u16string lines() const { return list.getTextItems().getJoined(u"|", 1, list.getCount()); }
};

bool isFresh(const TxItem& Item) {
  return Item.StackG == 99 && Item.StackS == 99 && Item.FoldLeftover == 0 && Item.Delta == 0 &&
         Item.DeltaMin == 99 && Item.DeltaMax == 99 && Item.FoldCount == 0 && Item.RowCount == 1 &&
         Item.Bookmark == 0 && Item.Panic == 0;
}

void dirty(TxItem& Item) {
  Item.StackG = 1, Item.StackS = 2, Item.FoldLeftover = 3, Item.Delta = 4, Item.DeltaMin = -5;
  Item.DeltaMax = 6, Item.FoldCount = 7, Item.RowCount = 8, Item.Bookmark = 1, Item.Panic = 1;
}

}  // namespace

TEST(TextList, LineEditsKeepTextsIdentitiesAndFreshValues) {
  TyFixtureList f(u"one\ntwo\nthree");
  for (int64_t line = 1; line <= 3; ++line) {
    EXPECT_TRUE(isFresh(*f.list.getItems(line)));
    dirty(*f.list.getItems(line));
  }
  const int64_t idTwo = f.list.getItems(2)->UniqueID;

  f.list.InsertBefore(2, u"new");
  f.list.InsertAtBegin(u"first");
  f.list.InsertAtEnd(u"last");
  f.list.InsertAfter(1, u"after");
  EXPECT_EQ(f.lines(), u"first|after|one|new|two|three|last");
  EXPECT_TRUE(isFresh(*f.list.getItems(4)));
  EXPECT_EQ(f.list.getItems(5)->UniqueID, idTwo);  // untouched lines keep their identity
  EXPECT_EQ(f.list.getItems(5)->StackG, 1);        // and their caches

  f.list.Remove(2, 2);
  f.list.RemoveAtBegin();
  f.list.RemoveAtEnd();
  EXPECT_EQ(f.lines(), u"new|two|three");
  f.list.Trim(1);
  EXPECT_EQ(f.lines(), u"new|two");

  std::set<int64_t> ids;
  for (int64_t line = 1; line <= f.list.getCount(); ++line)
    ids.insert(f.list.getItems(line)->UniqueID);
  EXPECT_EQ(ids.size(), 2u);

  // Merge gives fresh values and a new identity; Split through Replace does too.
  f.list.Merge(1);
  EXPECT_EQ(f.lines(), u"newtwo");
  EXPECT_TRUE(isFresh(*f.list.getItems(1)));
  EXPECT_EQ(ids.count(f.list.getItems(1)->UniqueID), 0u);

  struct Row {
    int64_t where;
    std::u16string expected;
  };
  const Row rows[] = {{1, u"|newtwo"}, {7, u"newtwo|"}, {4, u"new|two"}};
  for (const Row& row : rows) {
    TyFixtureList g(u"newtwo");
    const int64_t before = g.list.getItems(1)->UniqueID;
    g.list.Split(1, row.where);
    EXPECT_EQ(g.lines(), row.expected) << row.where;
    EXPECT_EQ(g.list.getCount(), 2);
    if (row.where == 4) {
      EXPECT_NE(g.list.getItems(1)->UniqueID, before);
      EXPECT_LT(g.list.getItems(1)->UniqueID, g.list.getItems(2)->UniqueID);
    } else {
      // The split line itself is left alone at the ends.
      EXPECT_EQ(g.list.getItems(row.where == 1 ? 2 : 1)->UniqueID, before);
    }
  }
}

TEST(TextList, RangeInsertCopiesEveryFieldButIdentityAndSharesTheBuffer) {
  TyFixtureList source(u"a\nbb\nccc\ndddd");
  dirty(*source.list.getItems(2));
  TyFixtureList target(u"x\ny");
  target.list.InsertBefore(2, source.list, 2, 3);
  EXPECT_EQ(target.lines(), u"x|bb|ccc|y");
  const TxItem& copy = *target.list.getItems(2);
  const TxItem& original = *source.list.getItems(2);
  EXPECT_EQ(copy.StackG, 1);
  EXPECT_EQ(copy.Panic, 1);
  EXPECT_EQ(copy.TextUTF16.Text, original.TextUTF16.Text);  // shared, not copied
  EXPECT_NE(copy.UniqueID, original.UniqueID);

  // The source may go away: the copies hold their own references.
  source.list.Clear();
  EXPECT_EQ(target.lines(), u"x|bb|ccc|y");

  // Inserting a list's own range, before, inside and behind it.
  struct Row {
    int64_t index, first, last;
    std::u16string expected;
  };
  const Row rows[] = {
      {1, 2, 3, u"2|3|1|2|3|4"},
      {3, 2, 4, u"1|2|2|3|4|3|4"},
      {5, 1, 2, u"1|2|3|4|1|2"},
  };
  for (const Row& row : rows) {
    TyFixtureList self(u"1\n2\n3\n4");
    self.list.InsertBefore(row.index, self.list, row.first, row.last);
    EXPECT_EQ(self.lines(), row.expected) << row.index;
  }

  TyFixtureList replaced(u"1\n2\n3\n4");
  TyFixtureList two(u"x\ny");
  replaced.list.Replace(2, 2, two.list);
  EXPECT_EQ(replaced.lines(), u"1|x|y|4");
}

TEST(TextList, DentChangesOnlyTextAndIdentityOfChangedLines) {
  TyFixtureList f(u"    a\n  b\nc\n    d");
  dirty(*f.list.getItems(1));
  const int64_t idLine2 = f.list.getItems(2)->UniqueID;
  const int64_t idLine1 = f.list.getItems(1)->UniqueID;
  // Outdent line 1 by two, leave line 2 alone (same cut and text), indent line 3.
  const int64_t changed = f.list.Dent(1, {u"  ", u"  ", u""}, {u"", u"  ", u"\t"});
  EXPECT_EQ(changed, 2);
  EXPECT_EQ(f.lines(), u"  a|  b|\tc|    d");
  EXPECT_EQ(f.list.getItems(2)->UniqueID, idLine2);
  EXPECT_NE(f.list.getItems(1)->UniqueID, idLine1);
  EXPECT_EQ(f.list.getItems(1)->StackG, 1);  // caches survive a dent
  EXPECT_EQ(f.list.Dent(4, {u"    "}, {u"    "}), 0);
}

TEST(TextList, IdentitiesAndCachedTotals) {
  TxTextList bare;
  EXPECT_EQ(bare.CreateUniqueID(), 0);
  EXPECT_EQ(bare.CreateUniqueID(5), 0);

  TyFixtureList f(u"a\nb\nc");
  const int64_t before = f.next;
  EXPECT_EQ(f.list.CreateUniqueID(5), before);
  EXPECT_EQ(f.list.CreateUniqueID(), before + 5);
  EXPECT_EQ(f.next, before + 6);

  f.list.getItems(1)->Delta = 2, f.list.getItems(3)->Delta = -1;
  f.list.getItems(2)->Panic = 1;
  f.list.getItems(2)->RowCount = 4;
  EXPECT_EQ(f.list.getTotalDelta(), 1);
  EXPECT_EQ(f.list.getTotalPanic(), 1);
  EXPECT_EQ(f.list.getTotalRowCount(), 6);
  f.list.getItems(2)->RowCount = 1;
  EXPECT_EQ(f.list.getTotalRowCount(), 6);  // cached until invalidated
  f.list.setAnchorLine(3);
  f.list.InsertAtEnd(u"d");  // every insert invalidates
  EXPECT_EQ(f.list.getAnchorLine(), 1);
  EXPECT_EQ(f.list.getAnchorRowCount(), 0);
  EXPECT_EQ(f.list.getTotalRowCount(), 4);

  const TxTextItems& items = f.list.getTextItems();
  EXPECT_EQ(items.CalcDelta(2, 1), 0);
  EXPECT_TRUE(items.getDelta(2, 1));
  f.list.getItems(1)->DeltaMin = 0, f.list.getItems(1)->DeltaMax = 0;
  EXPECT_TRUE(items.getDelta(1, 1));
  EXPECT_FALSE(items.getDelta(1, 2));  // 99 means unknown and counts as opening
  EXPECT_EQ(items.getTextCount(1, 4), 4);
}

TEST(TextList, OffsetsAndLinePositionsRoundTripForEveryNewline) {
  for (const std::u16string newline : {u"\r\n", u"\r", u"\n"}) {
    std::u16string text = u"ab" + newline + newline + u"c\U0001F600d" + newline + u"e";
    TxTextList list;
    EXPECT_EQ(list.LoadFromText__PARALLEL__(text), newline);
    ASSERT_EQ(list.getCount(), 4);
    // Every offset of the text maps to a line and position that maps back to it, and the
    // characters agree.
    for (int64_t offset = 0; offset <= static_cast<int64_t>(text.size()); ++offset) {
      int64_t line = 0, linepos = 0;
      list.ConvertOffsetToLineLinepos(newline, offset, line, linepos);
      EXPECT_EQ(list.ConvertLineLineposToOffset(newline, line, linepos), offset);
      const std::u16string_view lineText = list.getLine(line);
      if (linepos <= static_cast<int64_t>(lineText.size())) {
        EXPECT_EQ(lineText[static_cast<size_t>(linepos - 1)], text[static_cast<size_t>(offset)]);
      }
    }
    int64_t line = 0, linepos = 0;
    list.ConvertOffsetToLineLinepos(newline, 0, line, linepos);
    EXPECT_EQ(line, 1);
    EXPECT_EQ(linepos, 1);
    list.ConvertOffsetToLineLinepos(newline, static_cast<int64_t>(text.size()), line, linepos);
    EXPECT_EQ(line, 4);
    EXPECT_EQ(linepos, 2);
    list.ConvertOffsetToLineLinepos(newline, 1000, line, linepos);
    EXPECT_EQ(line, 4);
    EXPECT_EQ(linepos, 2);
  }
  // Inside a CR LF line end: behind the line's last character, length + 2 for the LF.
  TxTextList list;
  list.LoadFromText__PARALLEL__(u"ab\r\ncd");
  int64_t line = 0, linepos = 0;
  list.ConvertOffsetToLineLinepos(u"\r\n", 3, line, linepos);
  EXPECT_EQ(line, 1);
  EXPECT_EQ(linepos, 4);
}

TEST(TextList, JoinedTextAndByteQueue) {
  TxTextList list;
  const std::u16string newline = list.LoadFromText__PARALLEL__(u"a\nb\u00E9\nc");
  EXPECT_EQ(newline, u"\n");
  EXPECT_EQ(list.getText(), u"a\r\nb\u00E9\r\nc");  // "\r\n" whatever the newline
  EXPECT_EQ(list.getFIFOUTF16LE(true, u"\n", 2, 3), std::string("\xFF\xFE"
                                                                "b\0\xE9\0\n\0c\0",
                                                                10));
  EXPECT_EQ(list.getFIFOUTF16LE(false, u"", 1, 3), std::string("a\0b\0\xE9\0c\0", 8));
  EXPECT_EQ(list.getTextFIFOUTF16LE().size(), list.getText().size() * 2);
  list.setText(u"x\r\ny");
  EXPECT_EQ(list.getCount(), 2);
  EXPECT_EQ(list.getLine(2), u"y");
}

TEST(TextList, IteratorSpansJoinToTheRangeText) {
  TxTextList list;
  list.LoadFromText__PARALLEL__(u"a\n\nbc\nd");
  struct Row {
    int64_t first, last;
    std::u16string_view newline;
  };
  const Row rows[] = {{1, -1, u"\r\n"}, {2, 3, u"\n"}, {4, 4, u"\r"}, {3, 2, u"\n"}, {1, 4, u""}};
  for (const Row& row : rows) {
    CyTextListIterator iterator(list, row.newline, row.first, row.last);
    std::u16string joined;
    std::u16string_view span;
    int64_t line = 0, previous = row.first;
    bool isNewline = false;
    while (iterator.Next(span, line, isNewline)) {
      EXPECT_GE(line, previous);
      previous = line;
      joined += span;
    }
    const int64_t last = row.last < 0 ? list.getCount() : row.last;
    EXPECT_EQ(joined, list.getTextItems().getJoined(row.newline, row.first, last)) << row.first;
  }
}

TEST(TextList, SliceGettersAndPrivateCopies) {
  TxTextList list;
  list.LoadFromText__PARALLEL__(u"hello\nworld");
  TyTextUTF16& text = list.getItems(1)->TextUTF16;
  EXPECT_EQ(text.getText()[5], u'\0');  // a loaded slice is NUL-terminated in place
  EXPECT_EQ(text.getHeadOfText(2), u"he");
  EXPECT_EQ(text.getHeadOfText(99), u"hello");
  EXPECT_EQ(text.getMiddOfText(2, 3), u"ell");
  EXPECT_EQ(text.getMiddOfText(6, 3), u"");
  EXPECT_EQ(text.getTailOfText(4), u"lo");
  EXPECT_EQ(text.getAsText_0_based(0), u'h');
  EXPECT_EQ(text.getAsText_1_based(5), u'o');
  EXPECT_EQ(text.getAsText_1_based(6), u'\0');
  CyTextOwner* shared = text.Owner;
  const size_t references = shared->getRefCount();
  text.Replace(text.getView().substr(1));  // aliasing its own text
  EXPECT_EQ(text.getAsString(), u"ello");
  EXPECT_NE(text.Owner, shared);
  EXPECT_EQ(shared->getRefCount(), references - 1);
  EXPECT_EQ(text.getText()[4], u'\0');
  text.Free();
  EXPECT_EQ(text.getText()[0], u'\0');
  EXPECT_EQ(text.Length, 0u);
}

}  // namespace xylem
