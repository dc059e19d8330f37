#include <gtest/gtest.h>

#include <random>

#include "common/Exception.hpp"
#include "common/Settings.hpp"
#include "text/TextListLoader.hpp"

namespace xylem {

namespace {

std::vector<std::u16string> linesOf(const TxTextList& List) {
  std::vector<std::u16string> lines;
  for (int64_t line = 1; line <= List.getCount(); ++line) lines.emplace_back(List.getLine(line));
  return lines;
}

// The reference: split at every CR LF, lone CR and lone LF.
std::vector<std::u16string> referenceLines(std::u16string_view Text) {
  std::vector<std::u16string> lines(1);
  for (size_t i = 0; i < Text.size(); ++i) {
    if (Text[i] == u'\r' || Text[i] == u'\n') {
      if (Text[i] == u'\r' && i + 1 < Text.size() && Text[i + 1] == u'\n') ++i;
      lines.emplace_back();
    } else {
      lines.back().push_back(Text[i]);
    }
  }
  return lines;
}

void counter(TxTextList& List, int64_t& Next) {
  List.setOnCreateUniqueID([&Next](int64_t Count) {
    const int64_t first = Next;
    Next += Count;
    return first;
  });
}

std::string utf8(std::u16string_view Text) { return ToUTF8(Text); }

}  // namespace

TEST(Loader, EveryPieceCountGivesTheSameList) {
  // Random documents over an alphabet rich in line ends and multi-byte characters, so that
  // boundaries land next to CR LF pairs and inside sequences.
  std::mt19937 random(7);
  const std::u16string alphabet[] = {u"a",      u"<",      u"\r",         u"\n", u"\r\n",
                                     u"\u00E9", u"\u4E2D", u"\U0001F600", u"  "};
  for (int round = 0; round < 60; ++round) {
    std::u16string text;
    const int length = static_cast<int>(random() % 200);
    for (int i = 0; i < length; ++i) text += alphabet[random() % std::size(alphabet)];
    const std::string bytes = utf8(text);
    const std::vector<std::u16string> expected = referenceLines(text);
    std::u16string firstNewline;
    for (int pieces : {1, 2, 3, 7}) {
      for (bool encoded : {true, false}) {
        TxTextList list;
        int64_t next = 1;
        counter(list, next);
        const std::u16string newline = encoded
                                           ? list.LoadFromDataEncoded__PARALLEL__(
                                                 reinterpret_cast<const uint8_t*>(bytes.data()),
                                                 bytes.size(), CyEncoding::UTF8(), nullptr, pieces)
                                           : list.LoadFromDataDecoded__PARALLEL__(text, pieces);
        EXPECT_EQ(linesOf(list), expected) << round << " pieces " << pieces;
        if (firstNewline.empty()) firstNewline = newline;
        EXPECT_EQ(newline, firstNewline) << round << " pieces " << pieces;
        for (int64_t line = 2; line <= list.getCount(); ++line)
          EXPECT_LT(list.getItems(line - 1)->UniqueID, list.getItems(line)->UniqueID);
        for (int64_t line = 1; line <= list.getCount(); ++line) {
          const TxItem& item = *list.getItems(line);
          EXPECT_EQ(item.TextUTF16.getText()[item.TextUTF16.Length], u'\0');
          EXPECT_EQ(item.RowCount, 1);
          EXPECT_EQ(item.StackG, 99);
        }
      }
    }
  }
}

TEST(Loader, NewlineChoiceAndLineCounts) {
  struct Row {
    std::u16string text;
    std::u16string newline;
    int64_t lines;
  };
  const Row rows[] = {
      {u"", u"\r\n", 1},
      {u"a\n", u"\n", 2},
      {u"a\r\nb\rc\nd", u"\r\n", 4},         // no kind beats the pair count of 1
      {u"1\r2\r3\n4\n5\n6\r\n7", u"\r", 7},  // lone CR tested first
      {u"1\n2\n3\r\n4\r\n", u"\r\n", 5},     // tie between LF and pairs
      {u"1\n2\n3\r\n4", u"\n", 4},
      {u"\r\n\r\n", u"\r\n", 3},
      {u"\r", u"\r", 2},
  };
  for (const Row& row : rows) {
    TxTextList list;
    EXPECT_EQ(list.LoadFromText__PARALLEL__(row.text, 2), row.newline) << ToUTF8(row.text);
    EXPECT_EQ(list.getCount(), row.lines) << ToUTF8(row.text);
  }
}

TEST(Loader, BoundariesStayBehindLineEnds) {
  struct Row {
    std::string data;
    int pieces;
    std::vector<size_t> bounds;
  };
  const Row rows[] = {
      {"", 4, {0, 0}},
      {"abc", 3, {0, 3}},          // first part reaches the end: one part
      {"ab\r\ncd", 2, {0, 4, 6}},  // a cut on the LF of a pair moves behind it
      {"ab\r\nc", 2, {0, 4, 5}},   // a cut on the CR steps over the LF too
      {"ab\ncd\nef\ngh", 4, {0, 3, 6, 9, 11}},
      {"a\nb", 7, {0, 2, 3}},  // more pieces than lines: trailing ones dropped
      {"\xE4\xB8\xAD\xE4\xB8\xAD\n\xE4\xB8\xAD", 2, {0, 7, 10}},  // never inside a sequence
  };
  for (const Row& row : rows) {
    const auto* data = reinterpret_cast<const uint8_t*>(row.data.data());
    EXPECT_EQ(CyTextListLoader::SplitBoundaries(data, row.data.size(), row.pieces), row.bounds)
        << row.data;
  }
  // Counts over pieces: a CR LF pair straddling the naive cut is counted once.
  TxTextList list;
  EXPECT_EQ(list.LoadFromText__PARALLEL__(u"ab\r\ncd\r\nef", 2), u"\r\n");
  EXPECT_EQ(list.getCount(), 3);
}

TEST(Loader, BinaryContentIsRefusedAndTheListKept) {
  auto& settings = CySettings::Get();
  const std::string expected =
      settings.ApplicationName +
      " does not support binary files.\r\nUse another editor to edit the file.";
  struct Row {
    std::string bytes;
    CyEncoding encoding;
  };
  const Row rows[] = {
      {std::string("ab\ncd\0ef\ngh", 11), CyEncoding::UTF8()},
      {std::string("\0", 1), CyEncoding::UTF8()},
      {std::string("a\0b\0\n\0\0\0", 8), CyEncoding::UTF16LE()},
      {std::string("\0a\0\0", 4), CyEncoding::UTF16BE()},
      {std::string("x\0y", 3), CyEncoding::FromCodePage(1252)},
      {"text", CyBinaryEncoding()},
  };
  for (const Row& row : rows) {
    for (int pieces : {1, 3}) {
      TxTextList list;
      list.LoadFromText__PARALLEL__(u"kept\nlines");
      const int64_t firstID = list.getItems(1)->UniqueID;
      try {
        list.LoadFromDataEncoded__PARALLEL__(reinterpret_cast<const uint8_t*>(row.bytes.data()),
                                             row.bytes.size(), row.encoding, nullptr, pieces);
        ADD_FAILURE() << "no error for " << row.encoding.getName();
      } catch (const CyException& error) {
        EXPECT_EQ(error.getCode(), 17);
        EXPECT_EQ(std::string(error.getMessage()), expected);
      }
      EXPECT_EQ(list.getText(), u"kept\r\nlines");
      EXPECT_EQ(list.getItems(1)->UniqueID, firstID);
    }
  }
}

TEST(Loader, InvalidSequencesAreCountedOnceAndModeOneRefuses) {
  const std::string bytes = "a\xFF\nb\xC3\n\xE4\xB8\xAD";
  const auto* data = reinterpret_cast<const uint8_t*>(bytes.data());
  for (int pieces : {1, 2, 3}) {
    CyUTF8ToCharErrorHandler handler;
    TxTextList list;
    list.LoadFromDataEncoded__PARALLEL__(data, bytes.size(), CyEncoding::UTF8(), &handler, pieces);
    EXPECT_EQ(handler.getErrorCount(), 2u);
    EXPECT_EQ(list.getText(), u"a\uFFFD\r\nb\uFFFD\r\n\u4E2D");
  }
  CyUTF8ToCharErrorHandler strict(1);
  TxTextList list;
  EXPECT_THROW(
      list.LoadFromDataEncoded__PARALLEL__(data, bytes.size(), CyEncoding::UTF8(), &strict),
      CyException);
  EXPECT_EQ(list.getCount(), 0);
}

TEST(Loader, ReloadReleasesTheOldBuffer) {
  TxTextList list;
  list.LoadFromText__PARALLEL__(u"a\nb\nc");
  CyTextOwner* owner = list.getItems(1)->TextUTF16.Owner;
  owner->AddRef();  // keep it alive to watch its count
  EXPECT_EQ(owner->getRefCount(), 4u);
  list.LoadFromText__PARALLEL__(u"d");
  EXPECT_EQ(owner->getRefCount(), 1u);
  owner->Release();
  list.RemoveAtEnd();
  EXPECT_EQ(list.getCount(), 0);
}

}  // namespace xylem
