#include "json/Memory.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "Support.hpp"
#include "common/JobContext.hpp"

namespace xylem {
namespace {

std::string Bytes(std::initializer_list<int> Values) {
  std::string bytes;
  for (const int value : Values) bytes += static_cast<char>(value);
  return bytes;
}

// Every encoding the loader recognises decodes to the same text, marks dropped.
TEST(JSONMemory, DecodesUTF8AndMarkedUTF16) {
  const std::u16string expected = u"[\"\u00E9\U0001F600\"]";
  const std::string utf8 = ToUTF8(expected);
  std::string le = Bytes({0xFF, 0xFE}), be = Bytes({0xFE, 0xFF});
  for (const char16_t unit : expected) {
    le += static_cast<char>(unit & 0xFF), le += static_cast<char>(unit >> 8);
    be += static_cast<char>(unit >> 8), be += static_cast<char>(unit & 0xFF);
  }
  for (const std::string& bytes : {utf8, Bytes({0xEF, 0xBB, 0xBF}) + utf8, le, be}) {
    const CyJSONMemory memory = CyJSONMemory::FromBytes(bytes.data(), bytes.size());
    EXPECT_EQ(std::u16string(memory.View()), expected);
    EXPECT_EQ(memory.Data()[memory.DataCount()], u'\0');
    std::istringstream stream(bytes);
    EXPECT_EQ(std::u16string(CyJSONMemory::FromStream(stream).View()), expected);
  }
  EXPECT_EQ(CyJSONMemory::FromBytes("", 0).DataCount(), 0u);
  EXPECT_EQ(CyJSONMemory::FromBytes("\xFF\xFE", 2).DataCount(), 0u);
}

// A NUL byte stays in the text, so that the scanner refuses it instead of stopping there.
TEST(JSONMemory, KeepsEmbeddedNulsForTheScannerToRefuse) {
  const std::string bytes("[1]\0[2]", 7);
  const CyJSONMemory memory = CyJSONMemory::FromBytes(bytes.data(), bytes.size());
  EXPECT_EQ(memory.DataCount(), 7u);
  const auto error = testing::ParseError(memory.View());
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->Linepos, 4);
}

TEST(JSONMemory, RefusesIllFormedInputWithThePositionOfTheFirstBadByte) {
  struct Row {
    std::string bytes;
    int64_t line, linepos;
    std::u16string reason;
  };
  const Row rows[] = {
      {"[\"a\xFF\"]", 1, 4, u"Invalid UTF-8 byte 0xFF. JSON text must be encoded in UTF-8."},
      {"[\r\n\"\xC3\xA9\xE4\xB8\"]", 2, 3,
       u"Invalid UTF-8 byte 0xE4. JSON text must be encoded in UTF-8."},
      {"\xEF\xBB\xBF\n\r  \xC0\xAF", 3, 3,
       u"Invalid UTF-8 byte 0xC0. JSON text must be encoded in UTF-8."},
      {"\xFF\xFE[\x00]", 1, 1,
       u"The UTF-16 text ends with a lone byte: it has an odd number of bytes, not two per code "
       u"unit."},
  };
  for (const Row& row : rows) {
    try {
      CyJSONMemory::FromBytes(row.bytes.data(), row.bytes.size());
      ADD_FAILURE() << "accepted: " << row.bytes;
    } catch (const JSONException& error) {
      EXPECT_EQ(error.Line, row.line) << row.bytes;
      EXPECT_EQ(error.Linepos, row.linepos) << row.bytes;
      EXPECT_EQ(ToUTF8(error.Reason), ToUTF8(row.reason));
    }
  }
}

// Large inputs are decoded in parallel pieces; the result must match one sequential decode,
// also when a piece boundary falls inside a multi-byte character.
TEST(JSONMemory, ParallelDecodingMatchesSequentialDecoding) {
  std::string bytes = "[";
  for (int i = 0; i < 200000; ++i) bytes += i % 3 == 0 ? "\"\xC3\xA9\xF0\x9F\x98\x80\"," : "12,";
  bytes += "0]";
  TyJobContext job;
  job.PieceCount = 4;
  const CyJSONMemory parallel = CyJSONMemory::FromBytes(bytes.data(), bytes.size(), job);
  EXPECT_EQ(std::u16string(parallel.View()), ToUTF16(bytes));
  EXPECT_FALSE(testing::ParseError(parallel.View()).has_value());
}

TEST(JSONMemory, ReadsFilesAndReportsMissingOnes) {
  const std::string path = ::testing::TempDir() + "json_memory_test.json";
  {
    std::ofstream out(path, std::ios::binary);
    out << "\xEF\xBB\xBF{\"k\": \"\xE2\x82\xAC\"}";
  }
  EXPECT_EQ(std::u16string(CyJSONMemory::FromFile(path).View()), u"{\"k\": \"\u20AC\"}");
  std::remove(path.c_str());
  EXPECT_THROW(CyJSONMemory::FromFile(path), CyException);
}

}  // namespace
}  // namespace xylem
