#include "search/CaseFolding.hpp"

#define PCRE2_CODE_UNIT_WIDTH 16
#include <gtest/gtest.h>
#include <pcre2.h>

#include "search/TextSearcher.hpp"

namespace xylem {
namespace {

TEST(CaseFolding, FoldsScriptsBySimpleFoldingOnly) {
  struct Row {
    char32_t Code;
    char32_t Folded;
  };
  const Row rows[] = {
      {U'A', U'a'}, {U'z', U'z'},     {U'É', U'é'},     {U'Ÿ', U'ÿ'},       {U'Ā', U'ā'},
      {U'Σ', U'σ'}, {U'ς', U'σ'},     {U'Ά', U'ά'},     {U'ϴ', U'θ'},       {U'П', U'п'},
      {U'Ё', U'ё'}, {U'Ѡ', U'ѡ'},     {U'Ա', U'ա'},     {0x212A, U'k'},     {0x1E9E, U'ß'},
      {U'ß', U'ß'}, {0x0130, 0x0130}, {U'ı', U'ı'},     {0x10400, 0x10428}, {0x1E900, 0x1E922},
      {U'0', U'0'}, {0xFFFF, 0xFFFF}, {0x1F88, 0x1F80}, {U'µ', U'μ'},       {0x10FFFF, 0x10FFFF},
  };
  for (const Row& row : rows)
    EXPECT_EQ(CyCaseFolding::FoldCodePoint(row.Code), row.Folded)
        << std::hex << static_cast<uint32_t>(row.Code);
}

// Every fold the table claims must be a case-insensitive equality for PCRE2 too (its Unicode
// tables are independent of ours), and folding must be idempotent.
TEST(CaseFolding, AgreesWithPCRE2CaselessMatching) {
  int checked = 0;
  for (char32_t code = 0x41; code < 0x20000; ++code) {
    if (code >= 0xD800 && code <= 0xDFFF) continue;
    const char32_t folded = CyCaseFolding::FoldCodePoint(code);
    ASSERT_EQ(CyCaseFolding::FoldCodePoint(folded), folded)
        << std::hex << static_cast<uint32_t>(code);
    if (folded == code) continue;
    ++checked;
    auto units = [](char32_t c) {
      std::u16string s;
      if (c < 0x10000) {
        s.push_back(static_cast<char16_t>(c));
      } else {
        s.push_back(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
        s.push_back(static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
      }
      return s;
    };
    const std::u16string pattern = units(code);
    const std::u16string subject = units(folded);
    ASSERT_EQ(pattern.size(), subject.size()) << std::hex << static_cast<uint32_t>(code);
    int error = 0;
    PCRE2_SIZE offset = 0;
    pcre2_code_16* re =
        pcre2_compile_16(reinterpret_cast<PCRE2_SPTR16>(pattern.data()), pattern.size(),
                         PCRE2_UTF | PCRE2_CASELESS | PCRE2_LITERAL, &error, &offset, nullptr);
    ASSERT_NE(re, nullptr);
    pcre2_match_data_16* md = pcre2_match_data_create_from_pattern_16(re, nullptr);
    const int rc = pcre2_match_16(re, reinterpret_cast<PCRE2_SPTR16>(subject.data()),
                                  subject.size(), 0, 0, md, nullptr);
    EXPECT_GT(rc, 0) << std::hex << static_cast<uint32_t>(code);
    pcre2_match_data_free_16(md);
    pcre2_code_free_16(re);
  }
  EXPECT_GT(checked, 1400);
}

TEST(CaseFolding, FoldUnitAtFoldsSurrogatePairsAndLeavesLoneOnesAlone) {
  const std::u16string deseret = u"\U00010400x\xDC00";  // capital long I, then a lone low surrogate
  EXPECT_EQ(CyCaseFolding::Fold(deseret), std::u16string(u"\U00010428x\xDC00"));
  EXPECT_EQ(CyCaseFolding::Fold(u"ΣΊΣΥΦΟΣ Привет ÉCOLE"), u"σίσυφοσ привет école");
}

}  // namespace
}  // namespace xylem
