// The record array with its movable gap against a plain model: random inserts, removes,
// merges, splits and self-copies at random places, checked after every step line by line
// (text, identity, record order) and through the span walk.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "text/TextList.hpp"

namespace xylem {

namespace {

struct TyModelLine {
  std::u16string Text;
  int64_t ID;  // 0: a line the step just made, whose identity is read back
};

std::u16string RandomText(std::mt19937& Random) {
  std::u16string text;
  const int length = static_cast<int>(Random() % 8);
  for (int i = 0; i < length; ++i) text += static_cast<char16_t>(u'a' + Random() % 26);
  return text;
}

class CyGapChecker {
 public:
  CyGapChecker() {
    List_.setOnCreateUniqueID([this](int64_t Count) {
      const int64_t first = Next_;
      Next_ += Count;
      return first;
    });
  }

  TxTextList& getList() { return List_; }
  std::vector<TyModelLine>& getModel() { return Model_; }

  void Load(std::u16string_view Text) {
    List_.LoadFromText__PARALLEL__(Text, 3);
    Model_.clear();
    size_t start = 0;
    while (true) {
      const size_t end = Text.find(u'\n', start);
      Model_.push_back({std::u16string(Text.substr(start, end - start)), 0});
      if (end == std::u16string_view::npos) break;
      start = end + 1;
    }
    Check("load");
  }

  // Compares list and model; takes the identities of lines the step made (ID 0), which must be
  // new ones.
  void Check(const std::string& Step) {
    SCOPED_TRACE(Step);
    const TxTextItems& items = List_.getTextItems();
    ASSERT_EQ(items.getCount(), static_cast<int64_t>(Model_.size()));
    const TxItem* previous = nullptr;
    for (int64_t line = 1; line <= items.getCount(); ++line) {
      TyModelLine& model = Model_[static_cast<size_t>(line - 1)];
      const TxItem* item = items.getItems(line);
      ASSERT_EQ(item->TextUTF16.getView(), model.Text) << "line " << line;
      if (model.ID == 0) {
        ASSERT_GE(item->UniqueID, Checked_) << "line " << line;
        model.ID = item->UniqueID;
      } else {
        ASSERT_EQ(item->UniqueID, model.ID) << "line " << line;
      }
      // Records keep the lines' order in the block, whatever side of the gap they are on.
      if (previous) {
        ASSERT_LT(previous, item) << "line " << line;
      }
      previous = item;
    }
    Checked_ = Next_;
    // The spans cover every line once, in order, each on one side of the gap.
    int64_t line = 1;
    while (line <= items.getCount()) {
      int64_t length = 0;
      const TxItem* span = items.getSpan(line, items.getCount(), length);
      ASSERT_GT(length, 0);
      for (int64_t k = 0; k < length; ++k) ASSERT_EQ(span + k, items.getItems(line + k));
      line += length;
    }
    ASSERT_LE(items.getGapLine(), items.getCount() + 1);
  }

 private:
  TxTextList List_;
  std::vector<TyModelLine> Model_;
  int64_t Next_ = 1;
  int64_t Checked_ = 1;
};

// One random edit of list and model; Large makes ranges of up to LargeRange lines.
void RandomStep(std::mt19937& Random, CyGapChecker& Checker, int64_t LargeRange) {
  TxTextList& list = Checker.getList();
  std::vector<TyModelLine>& model = Checker.getModel();
  const auto count = static_cast<int64_t>(model.size());
  const auto pick = [&Random](int64_t Limit) {
    return static_cast<int64_t>(Random() % static_cast<uint64_t>(Limit));
  };
  const int64_t at = 1 + pick(count);
  const int64_t span = 1 + pick(Random() % 8 == 0 ? LargeRange : 4);
  const auto where = model.begin() + (at - 1);
  switch (Random() % 9) {
    case 0: {
      const std::u16string text = RandomText(Random);
      const int64_t before = 1 + pick(count + 1);
      list.InsertBefore(before, text);
      model.insert(model.begin() + (before - 1), {text, 0});
      break;
    }
    case 1: {  // lines of another list
      TxTextList source;
      std::u16string text = RandomText(Random);
      for (int64_t i = 1; i < span; ++i) text += u"\n" + RandomText(Random);
      source.LoadFromText__PARALLEL__(text, 2);
      const int64_t before = 1 + pick(count + 1);
      std::vector<TyModelLine> lines;
      for (int64_t i = 1; i <= source.getCount(); ++i)
        lines.push_back({std::u16string(source.getLine(i)), 0});
      list.InsertBefore(before, source, 1, source.getCount());
      model.insert(model.begin() + (before - 1), lines.begin(), lines.end());
      break;
    }
    case 2: {  // lines of the list itself, before, inside or behind the copied range
      const int64_t last = std::min(count, at + span - 1);
      const int64_t before = 1 + pick(count + 1);
      std::vector<TyModelLine> lines(where, model.begin() + last);
      for (TyModelLine& line : lines) line.ID = 0;
      list.InsertBefore(before, list, at, last);
      model.insert(model.begin() + (before - 1), lines.begin(), lines.end());
      break;
    }
    case 3:
    case 4: {
      const int64_t n = std::min(span, count - at + 1);
      if (n == count) return;
      list.Remove(at, n);
      model.erase(where, where + n);
      break;
    }
    case 5:
      if (at == count) return;
      list.Merge(at);
      where->Text += (where + 1)->Text;
      where->ID = 0;
      model.erase(where + 1);
      break;
    case 6: {
      const int64_t length = static_cast<int64_t>(where->Text.size());
      const int64_t cut = 1 + pick(length + 1);
      const std::u16string text = where->Text;
      list.Split(at, cut);
      if (cut == 1) {
        model.insert(where, {u"", 0});
      } else if (cut == length + 1) {
        model.insert(where + 1, {u"", 0});
      } else {
        *where = {text.substr(0, static_cast<size_t>(cut - 1)), 0};
        model.insert(where + 1, {text.substr(static_cast<size_t>(cut - 1)), 0});
      }
      break;
    }
    case 7: {
      const std::u16string text = RandomText(Random);
      list.Dent(at, {where->Text}, {text});
      if (text != where->Text) *where = {text, 0};
      break;
    }
    default:
      list.getTextItems().CloseGap();
      ASSERT_EQ(list.getTextItems().getGapLine(), count + 1);
      break;
  }
}

std::u16string NumberedLines(int Count) {
  std::u16string text;
  for (int i = 0; i < Count; ++i) {
    if (i > 0) text += u'\n';
    for (char c : std::to_string(i)) text += static_cast<char16_t>(c);
  }
  return text;
}

}  // namespace

TEST(TextItemsGap, RandomEditsMatchAPlainModel) {
  for (uint32_t seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    CyGapChecker checker;
    checker.Load(NumberedLines(1 + static_cast<int>(random() % 300)));
    for (int step = 0; step < 400; ++step) {
      RandomStep(random, checker, 60);
      checker.Check("step " + std::to_string(step));
      if (::testing::Test::HasFatalFailure()) return;
    }
  }
}

// Ranges beyond the parallel release threshold, so removed texts go through the crusher's
// tasks on both sides of the gap.
TEST(TextItemsGap, LargeRangesAcrossTheGap) {
  std::mt19937 random(7);
  CyGapChecker checker;
  checker.Load(NumberedLines(200000));
  for (int step = 0; step < 40; ++step) {
    RandomStep(random, checker, 90000);
    checker.Check("step " + std::to_string(step));
    if (::testing::Test::HasFatalFailure()) return;
  }
}

TEST(TextItemsGap, TrimDropsTheLastRecordsWhereverTheGapIs) {
  const struct {
    int64_t GapBefore;  // a remove of one line here leaves the gap there
    int64_t Trimmed;
  } rows[] = {{1, 3}, {5, 3}, {8, 3}, {10, 1}, {3, 9}};
  for (const auto& row : rows) {
    TxTextList list;
    list.LoadFromText__PARALLEL__(NumberedLines(11), 1);
    list.Remove(row.GapBefore, 1);
    TxTextItems& items = list.getTextItems();
    // The dropped records' texts are the load buffer's: their references are handed back here.
    for (int64_t line = items.getCount() - row.Trimmed + 1; line <= items.getCount(); ++line)
      items.getItems(line)->TextUTF16.Free();
    items.Trim(row.Trimmed);
    std::u16string expected;
    for (int64_t i = 0, kept = 0; i < 11 && kept < 10 - row.Trimmed; ++i) {
      if (i == row.GapBefore - 1) continue;
      if (kept++ > 0) expected += u'|';
      for (char c : std::to_string(i)) expected += static_cast<char16_t>(c);
    }
    EXPECT_EQ(items.getJoined(u"|", 1, items.getCount()), expected) << row.GapBefore;
  }
}

}  // namespace xylem
