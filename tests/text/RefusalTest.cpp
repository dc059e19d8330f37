// Bytes the loader refuses, and where it says the first bad one is; inputs that are not plain
// files (pipes, devices, streams over the limit) and mapped files that shrink while read.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "common/InputBytes.hpp"
#include "common/Utf.hpp"
#include "support/TempFolderTest.hpp"
#include "text/DecodeError.hpp"
#include "text/TextFile.hpp"

namespace xylem {

namespace {

// Line and position of byte Offset by brute force: decode the prefix and walk its units.
TyTextPosition modelPosition(std::u16string_view Prefix) {
  TyTextPosition at;
  for (size_t i = 0; i < Prefix.size(); ++i) {
    const char16_t c = Prefix[i];
    if (c == u'\n' || (c == u'\r' && (i + 1 == Prefix.size() || Prefix[i + 1] != u'\n'))) {
      ++at.Line;
      at.Linepos = 1;
    } else if (c != u'\r') {
      ++at.Linepos;
    }
  }
  return at;
}

struct TyRefusalRow {
  const char* Name;
  std::string Bytes;
  std::string URL;
  int Code;
  int64_t ByteOffset;   // of the first bad byte in the file (mark included)
  std::u16string Good;  // the text before it, decoded, for the model position
};

const std::vector<TyRefusalRow>& refusalRows() {
  static const std::vector<TyRefusalRow> rows = {
      {"latin-1 without declaration", "<r>caf\xE9</r>\n", "a.xml", 21, 6, u"<r>caf"},
      {"truncated at the end", "<r>\xE2\x82", "a.xml", 21, 3, u"<r>"},
      {"after CR LF and a pair", "a\r\n\xF0\x9F\x98\x80z\xC0\xAF", "a.xml", 21, 8,
       u"a\r\n\U0001F600z"},
      {"lone CR lines", "a\rb\rc\x80", "a.xml", 21, 5, u"a\rb\rc"},
      {"encoded surrogate", "ok\n\xED\xA0\x80", "a.xml", 21, 3, u"ok\n"},
      {"behind a UTF-8 mark", "\xEF\xBB\xBFx\xFF", "a.xml", 21, 4, u"x"},
      {"odd UTF-16LE", std::string("\xFF\xFE<\0a\0\n\0b", 9), "a.xml", 21, 8, u"<a\n"},
      {"odd UTF-16BE", std::string("\xFE\xFF\0x\0\r\0\n\0", 9), "a.xml", 21, 8, u"x\r\n"},
      {"windows-1252 undefined byte",
       "<?xml version=\"1.0\" encoding=\"windows-1252\"?>\n<a>\x81</a>", "a.xml", 21, 49,
       u"<?xml version=\"1.0\" encoding=\"windows-1252\"?>\n<a>"},
      {"NUL in UTF-8", std::string("<a>\n\xC3\xA9\0</a>", 10), "a.xml", 17, 6, u"<a>\n\u00E9"},
      {"NUL before a bad byte", std::string("ab\0\xFF", 4), "a.xml", 17, 2, u"ab"},
  };
  return rows;
}

}  // namespace

// Every refusal names the first bad byte: its offset, and a line and position that agree with
// a brute-force count over the text before it; the list keeps its content; for every piece
// count (a later piece's error must not win over an earlier one's).
TEST(Refusal, FirstBadBytePositionMatchesTheModel) {
  for (const TyRefusalRow& row : refusalRows()) {
    for (int pieces : {1, 2, 5}) {
      SCOPED_TRACE(std::string(row.Name) + ", pieces " + std::to_string(pieces));
      // A second bad byte further on must not be the one reported.
      const std::string bytes = row.Bytes + (row.Code == 21 && row.Name[0] != 'o' ? "\n\xFF" : "");
      TxTextList list;
      list.LoadFromText__PARALLEL__(u"kept");
      CyUTF8ToCharErrorHandler refuse(1);
      TyTextFileLoadOptions options;
      options.ErrorHandler = &refuse;
      options.PieceCount = pieces;
      try {
        LoadTextBytes(bytes, row.URL, list, options);
        ADD_FAILURE() << "loaded";
      } catch (const CyDecodeException& error) {
        EXPECT_EQ(error.getCode(), row.Code);
        const TyTextPosition expected = modelPosition(row.Good);
        EXPECT_EQ(error.getPosition().Line, expected.Line);
        EXPECT_EQ(error.getPosition().Linepos, expected.Linepos);
        if (row.Code == 21) {
          EXPECT_EQ(error.getByteOffset(), row.ByteOffset);
          EXPECT_NE(std::string(error.what())
                        .find("Line " + std::to_string(expected.Line) + ", position " +
                              std::to_string(expected.Linepos)),
                    std::string::npos)
              << error.what();
        }
      }
      EXPECT_EQ(list.getText(), u"kept");
    }
  }
  // Counting mode (the default) still loads, with replacements, for callers that want it.
  TxTextList list;
  LoadTextBytes("a\xFF", "a.xml", list);
  EXPECT_EQ(list.getText(), u"a\uFFFD");
}

TEST(Refusal, OddUTF16SaysWhatIsWrong) {
  TxTextList list;
  CyUTF8ToCharErrorHandler refuse(1);
  TyTextFileLoadOptions options;
  options.ErrorHandler = &refuse;
  try {
    LoadTextBytes(std::string("\xFF\xFEx\0y", 5), "a.xml", list, options);
    ADD_FAILURE();
  } catch (const CyDecodeException& error) {
    EXPECT_NE(std::string(error.what()).find("lone byte 0x79"), std::string::npos) << error.what();
    EXPECT_NE(std::string(error.what()).find("even number of bytes"), std::string::npos);
  }
}

class SpecialInput : public test::CyTempFolderTest {};

TEST_F(SpecialInput, PipesAreStreamsWithALimitAndDevicesAreRefused) {
  const std::string fifo = path("doc.xml");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  TyTextFileLoadOptions limited;
  limited.MaxStreamBytes = 100;
  for (const size_t size : {size_t{0}, size_t{99}, size_t{100}, size_t{101}, size_t{5000}}) {
    SCOPED_TRACE(size);
    std::thread writer([&] {
      const int fd = open(fifo.c_str(), O_WRONLY);
      const std::string bytes(size, 'x');
      // The reader stops at the limit: a write into a pipe nobody reads any more just fails.
      if (size) (void)!::write(fd, bytes.data(), bytes.size());
      close(fd);
    });
    TxTextList list;
    try {
      LoadTextFile(fifo, list, limited);
      EXPECT_LE(size, 100u);
      EXPECT_EQ(list.getLine(1).size(), size);
    } catch (const CyException& error) {
      EXPECT_GT(size, 100u);
      EXPECT_EQ(error.getCode(), kErrorStreamLimit);
      EXPECT_NE(std::string(error.what()).find("MaxStreamBytes"), std::string::npos);
    }
    writer.join();
  }
  for (const std::string& special : {std::string("/dev/null"), Folder_.string()}) {
    TxTextList list;
    try {
      LoadTextFile(special, list);
      ADD_FAILURE() << special;
    } catch (const CyException& error) {
      EXPECT_EQ(error.getCode(), special == "/dev/null" ? kErrorNotAFile : kErrorFileRead);
    }
  }
}

// A mapped file cut short under the loader: an error, never SIGBUS; on the calling thread and
// in the parallel decoder's tasks alike, and for every encoding path.
TEST_F(SpecialInput, AFileThatShrinksWhileMappedIsAnErrorNotASignal) {
  const std::string file = path("shrinking.xml");
  for (const char* head : {"", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>", "\xFF\xFE"}) {
    SCOPED_TRACE(head);
    {
      std::ofstream out(file, std::ios::binary);
      out << head;
      for (int i = 0; i < 200000; ++i) out << "<line>text</line>\n";
    }
    const CyInputBytes input = CyInputBytes::FromPath(file);
    ASSERT_TRUE(input.IsMapped());
    // The head (mark, declaration) stays readable; the pages behind it vanish.
    ASSERT_EQ(truncate(file.c_str(), static_cast<off_t>(input.getSize() / 3)), 0);
    for (int pieces : {1, 4}) {
      TxTextList list;
      TyTextFileLoadOptions options;
      options.PieceCount = pieces;
      try {
        LoadTextBytes(
            std::string_view(reinterpret_cast<const char*>(input.getData()), input.getSize()), file,
            list, options);
        ADD_FAILURE() << "loaded a vanished file";
      } catch (const CyException& error) {
        EXPECT_EQ(error.getCode(), kErrorFileRead);
        EXPECT_NE(std::string(error.what()).find("changed while it was being read"),
                  std::string::npos);
      }
    }
    bool touched = false;
    EXPECT_FALSE(ReadMapped([&] { touched = input.getData()[input.getSize() - 1] != 0; }));
    EXPECT_FALSE(touched);
  }
  EXPECT_TRUE(ReadMapped([] {}));
}

}  // namespace xylem
