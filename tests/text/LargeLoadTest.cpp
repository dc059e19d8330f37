#include <gtest/gtest.h>

#include "common/Utf.hpp"
#include "text/PageMemory.hpp"
#include "text/TextListLoader.hpp"

namespace xylem {

// Loads large enough for the mapped, retained-for-reuse buffers: a second load gets the first
// load's memory back uninitialized, so any record or unit the loader forgets to write shows.
TEST(LargeLoad, ReusedBuffersGiveTheSameListsAsFreshOnes) {
  auto document = [](int Seed) {
    std::string text;
    const char* const ends[] = {"\n", "\r\n", "\r"};
    for (int line = 0; text.size() < (size_t{5} << 19); ++line) {
      text += "<item n=\"" + std::to_string(line * Seed) + "\">\xC3\xA9\xE4\xB8\xAD</item>";
      text += ends[(line * Seed) % 3];
    }
    return text;
  };
  CyPageMemory::ReleaseRetained();
  for (int round = 0; round < 2; ++round) {
    for (int pieces : {1, 2}) {
      const std::string bytes = document(round + pieces);
      TxTextList list;
      const std::u16string newline =
          list.LoadFromDataEncoded__PARALLEL__(reinterpret_cast<const uint8_t*>(bytes.data()),
                                               bytes.size(), CyEncoding::UTF8(), nullptr, pieces);
      // The joined lines are the decoded document with every line end replaced by the newline.
      std::u16string expected = ToUTF16(bytes);
      std::u16string normalized;
      normalized.reserve(expected.size());
      for (size_t i = 0; i < expected.size(); ++i) {
        if (expected[i] == u'\r' || expected[i] == u'\n') {
          if (expected[i] == u'\r' && i + 1 < expected.size() && expected[i + 1] == u'\n') ++i;
          normalized += newline;
        } else {
          normalized += expected[i];
        }
      }
      EXPECT_EQ(list.getTextItems().getJoined(newline, 1, list.getCount()), normalized);
      for (int64_t line = 1; line <= list.getCount(); line += 997) {
        const TxItem& item = *list.getItems(line);
        EXPECT_EQ(item.StackG, 99);
        EXPECT_EQ(item.Bookmark, 0);
        EXPECT_EQ(item.TextUTF16.getText()[item.TextUTF16.Length], u'\0');
      }
    }
    EXPECT_GT(CyPageMemory::getRetainedBytes(), 0u);
  }
  // Growing the record block line by line crosses from the heap to a mapping; records made
  // room for come zero-filled even where removed ones lay.
  TxTextList list;
  for (int line = 0; line < 60000; ++line) list.InsertAtEnd(u"x");
  list.Remove(2, 59998);
  EXPECT_EQ(list.getText(), u"x\r\nx");
  const TxItem* room = list.getTextItems().InsertBefore(2, 3);
  for (int k = 0; k < 3; ++k) EXPECT_EQ(room[k].TextUTF16.Owner, nullptr);
  list.getTextItems().Remove(2, 3);
  EXPECT_EQ(list.getText(), u"x\r\nx");
  CyPageMemory::ReleaseRetained();
  EXPECT_EQ(CyPageMemory::getRetainedBytes(), 0u);
}

}  // namespace xylem
