#include "text/TextFile.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "common/Exception.hpp"
#include "common/Utf.hpp"
#include "support/TempFolderTest.hpp"

namespace xylem {

namespace {

class TextFile : public test::CyTempFolderTest {};

}  // namespace

TEST_F(TextFile, LoadSaveLoadRoundTripsEveryEncoding) {
  const std::u16string text = u"<?xml version=\"1.0\"?>\r\n<a>\u00E9\u00FC \u20AC</a>\r\n<b/>";
  struct Row {
    std::string name;
    std::string bytes;  // the file as found
    std::string encoding;
    bool hasBOM;
  };
  auto utf16 = [&](bool big, bool mark) {
    std::string bytes = mark ? (big ? "\xFE\xFF" : "\xFF\xFE") : "";
    for (char16_t unit : text) {
      const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
      bytes += big ? high : low;
      bytes += big ? low : high;
    }
    return bytes;
  };
  const std::string utf8 = ToUTF8(text);
  const std::string latin =
      "<?xml version=\"1.0\" encoding=\"windows-1252\"?>\r\n<a>\xE9\xFC \x80</a>\r\n<b/>";
  const Row rows[] = {
      {"utf8.xml", utf8, "UTF-8", false},
      {"utf8bom.xml", "\xEF\xBB\xBF" + utf8, "UTF-8", true},
      {"utf16le.xml", utf16(false, true), "UTF-16LE", true},
      {"utf16be.xml", utf16(true, true), "UTF-16BE", true},
      {"cp1252.xml", latin, "windows-1252", false},
  };
  for (const Row& row : rows) {
    write(path(row.name), row.bytes);
    for (int pieces : {1, 2, 3}) {
      TxTextList list;
      TyTextFileLoadOptions options;
      options.PieceCount = pieces;
      const TyTextFileFormat format = LoadTextFile(path(row.name), list, options);
      EXPECT_EQ(format.Encoding.getName(), row.encoding) << row.name;
      EXPECT_EQ(format.HasBOM, row.hasBOM) << row.name;
      EXPECT_EQ(format.Newline, u"\r\n") << row.name;
      EXPECT_EQ(list.getCount(), 3) << row.name;
      EXPECT_EQ(list.getLine(2), u"<a>\u00E9\u00FC \u20AC</a>") << row.name;
      // Saving in the found format gives the file back byte for byte.
      SaveTextFile(path(row.name), list, format);
      EXPECT_EQ(read(path(row.name)), row.bytes) << row.name;
      TxTextList again;
      EXPECT_EQ(LoadTextFile(path(row.name), again).Encoding, format.Encoding);
      EXPECT_EQ(again.getText(), list.getText()) << row.name;
    }
  }
  // The ISO-8859-1 path through iconv, chosen by the caller.
  write(path("latin1.txt"), "caf\xE9\n");
  TxTextList list;
  TyTextFileLoadOptions options;
  options.Encoding = CyEncoding::FromName("ISO-8859-1");
  TyTextFileFormat format = LoadTextFile(path("latin1.txt"), list, options);
  EXPECT_TRUE(format.EncodingFixed);
  EXPECT_EQ(list.getLine(1), u"caf\u00E9");
  EXPECT_EQ(format.Newline, u"\n");
  EXPECT_EQ(EncodeTextList(list, format), "caf\xE9\n");
}

TEST_F(TextFile, SaveUsesTheDocumentNewlineAndMarkRules) {
  TxTextList list;
  list.LoadFromText__PARALLEL__(u"a\r\nb\rc\nd");  // mixed ends are not kept
  TyTextFileFormat format;
  format.Newline = std::u16string(u"\n");
  EXPECT_EQ(EncodeTextList(list, format), "a\nb\nc\nd");
  format.HasBOM = true;
  EXPECT_EQ(EncodeTextList(list, format),
            "\xEF\xBB\xBF"
            "a\nb\nc\nd");
  format.Encoding = CyEncoding::UTF16BE();
  format.HasBOM = false;  // UTF-16 always gets its mark
  EXPECT_EQ(EncodeTextList(list, format).substr(0, 4), std::string("\xFE\xFF\0a", 4));
  format.Encoding = CyEncoding::FromCodePage(1252);
  format.HasBOM = true;  // never a mark for a code page
  EXPECT_EQ(EncodeTextList(list, format), "a\nb\nc\nd");

  list.InsertAtEnd(u"x\u4E2Dy");
  try {
    EncodeTextList(list, format);
    ADD_FAILURE() << "no error for an unrepresentable character";
  } catch (const CyException& error) {
    EXPECT_EQ(error.getCode(), kErrorUnrepresentable);
    EXPECT_EQ(
        std::string(error.getMessage()),
        "Line 5, position 2: the character U+4E2D cannot be written in the encoding windows-1252.");
  }
  // The position stays right when the character lies buffers behind the start of the text.
  TxTextList longer;
  longer.LoadFromText__PARALLEL__(std::u16string(40000, u'a') + u"\r\n" +
                                  std::u16string(70000, u'b') + u"\r\nxyz\u4E2D");
  format.Newline = u"\r\n";
  try {
    EncodeTextList(longer, format);
    ADD_FAILURE() << "no error for an unrepresentable character";
  } catch (const CyException& error) {
    EXPECT_EQ(
        std::string(error.getMessage()),
        "Line 3, position 4: the character U+4E2D cannot be written in the encoding windows-1252.");
  }
}

TEST_F(TextFile, SaveIsAtomicAndKeepsPermissions) {
  const std::string target = path("doc.xml");
  write(target, "old");
  chmod(target.c_str(), 0640);
  TxTextList list;
  list.LoadFromText__PARALLEL__(u"new\u4E2D");
  TyTextFileFormat format;
  format.Encoding = CyEncoding::FromCodePage(28591);
  EXPECT_THROW(SaveTextFile(target, list, format), CyException);
  EXPECT_EQ(read(target), "old");  // a failed save leaves the file alone
  format.Encoding = CyEncoding::UTF8();
  SaveTextFile(target, list, format);
  EXPECT_EQ(read(target), "new\xE4\xB8\xAD");
  struct stat info {};
  ASSERT_EQ(stat(target.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0640u);
  size_t files = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(Folder_)) ++files;
  EXPECT_EQ(files, 1u);  // no temporary left behind

  // Through a symbolic link the linked file is replaced and the link stays.
  const std::string link = path("link.xml");
  ASSERT_EQ(symlink(target.c_str(), link.c_str()), 0);
  list.InsertAtEnd(u"more");
  SaveTextFile(link, list, format);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(read(target), "new\xE4\xB8\xAD\r\nmore");

  try {
    SaveTextFile(path("missing/doc.xml"), list, format);
    ADD_FAILURE();
  } catch (const CyException& error) {
    EXPECT_EQ(error.getCode(), kErrorFileWrite);
  }
  try {
    LoadTextFile(path("missing.xml"), list);
    ADD_FAILURE();
  } catch (const CyException& error) {
    EXPECT_EQ(error.getCode(), kErrorFileRead);
  }
  EXPECT_EQ(list.getLine(1), u"new\u4E2D");
}

TEST_F(TextFile, EdgeFilesAndNulInEveryEncoding) {
  struct Row {
    std::string bytes;
    std::string name;
    int64_t lines;
    bool binary;
  };
  const Row rows[] = {
      {"", "empty.xml", 1, false},
      {"a\n", "one.xml", 2, false},
      {std::string("a\0b", 3), "nul.xml", 0, true},
      {std::string("\xFF\xFE"
                   "a\0\0\0",
                   6),
       "nul16.xml", 0, true},
      {std::string("\xFE\xFF\0a\0\n\0\0", 8), "nul16be.xml", 0, true},
      {"GIF89a", "image.gif", 0, true},
  };
  for (const Row& row : rows) {
    write(path(row.name), row.bytes);
    TxTextList list;
    list.LoadFromText__PARALLEL__(u"previous");
    try {
      LoadTextFile(path(row.name), list);
      EXPECT_FALSE(row.binary) << row.name;
      EXPECT_EQ(list.getCount(), row.lines) << row.name;
    } catch (const CyException& error) {
      EXPECT_TRUE(row.binary) << row.name;
      EXPECT_EQ(error.getCode(), kErrorBinaryFile) << row.name;
      EXPECT_EQ(list.getText(), u"previous") << row.name;
    }
  }
}

}  // namespace xylem
