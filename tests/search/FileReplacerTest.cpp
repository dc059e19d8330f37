#include "search/FileReplacer.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>

#include "SearchTestSupport.hpp"
#include "common/Utf.hpp"
#include "search/EuroReplacer.hpp"
#include "search/RegExprReplacer.hpp"
#include "search/TextReplacer.hpp"
#include "text/DecodeError.hpp"
#include "text/TextList.hpp"

namespace xylem {
namespace {

// The streamed UTF-8 paths, from memory and from a file, against the one-buffer pass over the
// decoded text, with pieces cutting through multi-byte characters.
TEST(FileReplacer, StreamedUTF8EqualsOneBufferPass) {
  std::string input;
  for (int i = 0; i < 40; ++i) input += "<a qty=\"12\">1.5 Straße 😀€</a>\n<b qty=\"7\"/>\n";
  const auto replacer =
      CyRegExprReplacer::Create(u"qty=\"([0-9]+)\"|(\\d+)\\.(\\d+)", u"[$1$2,$3]", true, u"\n");
  const std::string expected = ToUTF8(test::RunAll(*replacer, ToUTF16(input)).Text);
  const std::string path = testing::TempDir() + "/search_file_replacer.xml";
  FILE* file = std::fopen(path.c_str(), "wb");
  ASSERT_NE(file, nullptr);
  std::fwrite(input.data(), 1, input.size(), file);
  std::fclose(file);
  for (int64_t pieceSize : {2, 3, 5, 7, 64, 1 << 18}) {
    std::string fromMemory;
    std::string fromFile;
    EXPECT_EQ(ReplaceAllUTF8(
                  reinterpret_cast<const uint8_t*>(input.data()), input.size(), *replacer, u"\n",
                  [&](std::string_view Bytes) { fromMemory.append(Bytes); }, pieceSize),
              120);
    EXPECT_EQ(ReplaceAllUTF8File(
                  path, *replacer, u"\n", [&](std::string_view Bytes) { fromFile.append(Bytes); },
                  pieceSize),
              120);
    EXPECT_EQ(fromMemory, expected) << "pieces of " << pieceSize;
    EXPECT_EQ(fromFile, expected) << "pieces of " << pieceSize;
  }
  // A byte that is not UTF-8 is refused at its position, never written back as U+FFFD.
  const std::string bad = input + "<c/>\xff\n";
  file = std::fopen(path.c_str(), "wb");
  ASSERT_NE(file, nullptr);
  std::fwrite(bad.data(), 1, bad.size(), file);
  std::fclose(file);
  for (int64_t pieceSize : {2, 7, 1 << 18}) {
    for (bool fromFile : {false, true}) {
      std::string out;
      try {
        const auto sink = [&](std::string_view Bytes) { out.append(Bytes); };
        if (fromFile)
          ReplaceAllUTF8File(path, *replacer, u"\n", sink, pieceSize);
        else
          ReplaceAllUTF8(reinterpret_cast<const uint8_t*>(bad.data()), bad.size(), *replacer, u"\n",
                         sink, pieceSize);
        ADD_FAILURE() << "accepted";
      } catch (const CyDecodeException& error) {
        EXPECT_EQ(error.getCode(), kErrorInvalidEncoding);
        EXPECT_EQ(error.getPosition().Line, 81);
        EXPECT_EQ(error.getPosition().Linepos, 5);
      }
      EXPECT_EQ(out.find("\xEF\xBF\xBD"), std::string::npos);
    }
  }
  std::remove(path.c_str());
}

TEST(FileReplacer, BinaryAndMissingFilesFail) {
  const std::string input("ab\0cd", 5);
  const auto replacer = CyTextReplacer::Create(u"b", u"c", true, false);
  try {
    ReplaceAllUTF8(reinterpret_cast<const uint8_t*>(input.data()), input.size(), *replacer, u"\n",
                   [](std::string_view) {});
    ADD_FAILURE();
  } catch (const CyException& error) {
    EXPECT_EQ(error.getCode(), 17);
    EXPECT_EQ(std::string(error.what()),
              "Xylem does not support binary files.\r\nUse another editor to edit the file.");
  }
  EXPECT_THROW(
      ReplaceAllUTF8File("/nonexistent/file.xml", *replacer, u"\n", [](std::string_view) {}),
      CyException);
  EXPECT_THROW(ScanUTF8FileNewline("/nonexistent/file.xml"), CyException);
}

// The streamed route against the document route: the same bytes loaded into lines, joined with
// the newline the load chose, replaced in one buffer by a replacer made with that newline. Line
// ends of every kind, split CR LF pairs across pieces, templates inserting newlines, and NULs
// (refused by the newline scan exactly when the load refuses them).
TEST(FileReplacer, StreamedRouteKeepsTheDocumentsRules) {
  std::mt19937 random(7);
  const char* atoms[] = {"a",    "b",        "\r",  "\n", "\r\n",
                         "\n\r", "\xC3\xA9", "k=1", " ",  "\xF0\x9F\x98\x80"};
  struct {
    const char16_t *Search, *Template;
    bool Regex;
  } replaces[] = {{u"b", u"X", false},
                  {u"k=(\\d)", u"[$1\\n]", true},
                  {u"b|\\R", u"\\r<\\R>", true},
                  {u"a$", u"A\\r\\n", true}};
  for (int round = 0; round < 400; ++round) {
    std::string input;
    const int atomCount = static_cast<int>(random() % 24);
    for (int i = 0; i < atomCount; ++i) input += atoms[random() % std::size(atoms)];
    // A NUL, a stray continuation byte or a cut sequence now and then: refused by both.
    if (round % 25 == 24) input.insert(random() % (input.size() + 1), 1, '\0');
    if (round % 25 == 12)
      input.insert(random() % (input.size() + 1), round % 2 ? "\x80" : "\xE2\x82");
    const auto* data = reinterpret_cast<const uint8_t*>(input.data());
    TxTextList list;
    std::u16string newline;
    // A file load refuses what the mapped byte check refuses (the text list's own load only
    // counts bad sequences); the scan must refuse the same, with the same message.
    std::string refusal;
    try {
      newline = list.LoadFromDataEncoded__PARALLEL__(data, input.size(), CyEncoding(), nullptr, 1);
    } catch (const CyException&) {
      refusal = "the load";
    }
    try {
      CheckUTF8(data, input.size());
    } catch (const CyException& error) {
      refusal = error.what();
    }
    if (!refusal.empty()) {
      try {
        ScanUTF8Newline(data, input.size());
        ADD_FAILURE() << "round " << round << ": not refused";
      } catch (const CyException& error) {
        EXPECT_EQ(error.what(), refusal) << round;
      }
      continue;
    }
    ASSERT_EQ(ScanUTF8Newline(data, input.size()), newline) << round;
    const std::u16string joined = list.getTextItems().getJoined(newline, 1, list.getCount());
    for (const auto& r : replaces) {
      const auto replacer = CreateReplacer(r.Search, r.Template, r.Regex ? roRegExpr : 0, newline);
      const std::string expected = ToUTF8(test::RunAll(*replacer, joined).Text);
      std::string streamed;
      const int64_t pieceSize = 1 + static_cast<int64_t>(random() % 12);
      ReplaceAllUTF8(
          data, input.size(), *replacer, newline,
          [&](std::string_view Bytes) { streamed.append(Bytes); }, pieceSize);
      ASSERT_EQ(streamed, expected) << "round " << round << ", pieces of " << pieceSize;
    }
  }
}

// The newline scan reads 1 MiB at a time: a CR LF pair cut by a step is one pair, as for the
// load, and a CR or LF on either side of the cut counts once.
TEST(FileReplacer, NewlineScanAgreesWithTheLoadAcrossItsSteps) {
  constexpr size_t kStep = size_t{1} << 20;
  const char* around[] = {"\r\n", "\n\r", "\r\r", "\n\n", "x\r", "\nx"};
  for (const char* pair : around) {
    for (const char* filler : {"a\nb\r\n", "a\rb\r\n", "ab\r\n"}) {
      std::string input;
      while (input.size() < 2 * kStep) input += filler;
      input.replace(kStep - 1, 2, pair);
      const auto* data = reinterpret_cast<const uint8_t*>(input.data());
      TxTextList list;
      EXPECT_EQ(ScanUTF8Newline(data, input.size()),
                list.LoadFromDataEncoded__PARALLEL__(data, input.size(), CyEncoding(), nullptr, 3))
          << pair << " in " << filler;
    }
  }
}

// The scan checks the bytes piece by piece: a character cut by a step is whole, and a bad
// sequence on either side of a step is refused at its own position, as the load refuses it.
TEST(FileReplacer, NewlineScanRefusesBadBytesWhereverTheStepsFall) {
  constexpr size_t kStep = size_t{1} << 20;
  const char* characters[] = {"\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"};
  for (const char* character : characters) {
    const size_t length = std::strlen(character);
    for (size_t cut = 1; cut < length; ++cut) {
      std::string input(2 * kStep, 'a');
      input.replace(kStep - cut, length, character);
      EXPECT_EQ(ScanUTF8Newline(reinterpret_cast<const uint8_t*>(input.data()), input.size()),
                u"\r\n")
          << character << " cut after " << cut;
      // The same character without its last byte.
      input[kStep - cut + length - 1] = 'a';
      try {
        ScanUTF8Newline(reinterpret_cast<const uint8_t*>(input.data()), input.size());
        ADD_FAILURE() << "a cut sequence was not refused";
      } catch (const CyDecodeException& error) {
        EXPECT_EQ(error.getPosition().Linepos, static_cast<int64_t>(kStep - cut + 1));
      }
    }
  }
}

}  // namespace
}  // namespace xylem
