#include "search/FileReplacer.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>

#include "SearchTestSupport.hpp"
#include "common/Utf.hpp"
#include "search/RegExprReplacer.hpp"
#include "search/TextReplacer.hpp"

namespace xylem {
namespace {

// The streamed UTF-8 paths, from memory and from a file, against the one-buffer pass over the
// decoded text, with pieces cutting through multi-byte characters.
TEST(FileReplacer, StreamedUTF8EqualsOneBufferPass) {
  std::string input;
  for (int i = 0; i < 40; ++i) input += "<a qty=\"12\">1.5 Straße 😀€</a>\n<b qty=\"7\"/>\xff\n";
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
                  reinterpret_cast<const uint8_t*>(input.data()), input.size(), *replacer,
                  [&](std::string_view Bytes) { fromMemory.append(Bytes); }, pieceSize),
              120);
    EXPECT_EQ(
        ReplaceAllUTF8File(
            path, *replacer, [&](std::string_view Bytes) { fromFile.append(Bytes); }, pieceSize),
        120);
    EXPECT_EQ(fromMemory, expected) << "pieces of " << pieceSize;
    EXPECT_EQ(fromFile, expected) << "pieces of " << pieceSize;
  }
  std::remove(path.c_str());
  EXPECT_NE(expected.find("\xEF\xBF\xBD"), std::string::npos);  // the invalid byte became U+FFFD
}

TEST(FileReplacer, BinaryAndMissingFilesFail) {
  const std::string input("ab\0cd", 5);
  const auto replacer = CyTextReplacer::Create(u"b", u"c", true, false);
  try {
    ReplaceAllUTF8(reinterpret_cast<const uint8_t*>(input.data()), input.size(), *replacer,
                   [](std::string_view) {});
    ADD_FAILURE();
  } catch (const CyException& error) {
    EXPECT_EQ(error.getCode(), 17);
    EXPECT_EQ(std::string(error.what()),
              "Xylem does not support binary files.\r\nUse another editor to edit the file.");
  }
  EXPECT_THROW(ReplaceAllUTF8File("/nonexistent/file.xml", *replacer, [](std::string_view) {}),
               CyException);
}

}  // namespace
}  // namespace xylem
