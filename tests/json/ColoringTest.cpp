#include "json/Coloring.hpp"

#include <gtest/gtest.h>

#include <string>

#include "common/Utf.hpp"
#include "json/Memory.hpp"

namespace xylem {
namespace {

// One letter per character of the text, by category: K key, S string, N number, L literal,
// P punctuation, . plain, E error. Fails the test when the stretches leave a gap or overlap.
std::string categoryLetters(std::u16string_view Text) {
  const CyJSONMemory input = CyJSONMemory::FromString(Text);
  CyJSONTokenColoring coloring(input.Data(), input.DataCount());
  std::string letters;
  const char16_t* expectedHead = input.Data();
  while (coloring.Next()) {
    EXPECT_EQ(coloring.Head(), expectedHead) << "gap or overlap at " << letters.size();
    EXPECT_LT(coloring.Head(), coloring.Tail());
    expectedHead = coloring.Tail();
    const char letter = "KSNLP.E"[static_cast<size_t>(coloring.Category())];
    letters.append(static_cast<size_t>(coloring.Tail() - coloring.Head()), letter);
  }
  EXPECT_EQ(expectedHead, input.Data() + input.DataCount()) << "text not covered";
  return letters;
}

TEST(JSONColoring, EveryCharacterGetsItsTokensCategory) {
  struct Row {
    std::u16string text;
    std::string letters;
    bool error;
  };
  const Row rows[] = {
      {u"{\"a\": 1, \"b\" :[true,null,\"x\"]}", "PKKKP.NP.KKK.PPLLLLPLLLLPSSSPP", false},
      // A string is a key by the colon behind it, white space and line breaks between allowed.
      {u"\"k\"", "SSS", false},
      {u"[\"a\"\r\n\t:1]", "PKKK...PNP", false},
      {u"[\"a:\",\"b\"]", "PSSSSPSSSP", false},
      {u"[-0.5e-3,false]", "PNNNNNNNPLLLLLP", false},
      {u"", "", false},
      // A scanning error: the failing token to its line's end, then the rest plain.
      {u"{\"a\": tru}\n[1]", "PKKKP.EEEE....", true},
      {u"[\"ab\ncd\"]", "PEEE.....", true},
      {u"[1, 'x']\n2", "PNP.EEEE..", true},
      {u"{\"a\":1,\"b\"\n:01}", "PKKKPNPKKK.PEEE", true},
      // Grammar errors are not the coloring's business: tokens keep their colors.
      {u"[1 2,]", "PN.NPP", false},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(categoryLetters(row.text), row.letters) << ToUTF8(row.text);
    const CyJSONMemory input = CyJSONMemory::FromString(row.text);
    CyJSONTokenColoring coloring(input.Data(), input.DataCount());
    while (coloring.Next()) {
    }
    EXPECT_EQ(coloring.Error().has_value(), row.error) << ToUTF8(row.text);
  }
}

TEST(JSONColoring, SchemesNameEveryCategoryAndDiffer) {
  const CyJSONColoring light = CyJSONColoring::DefaultLight(), dark = CyJSONColoring::DefaultDark();
  for (unsigned i = 0; i < kJSONColoringCategoryCount; ++i) {
    const auto category = static_cast<TyJSONColoringCategory>(i);
    TyJSONColoringCategory found{};
    ASSERT_TRUE(CyJSONColoring::FindCategory(CyJSONColoring::getCategoryName(category), found));
    EXPECT_EQ(found, category);
    EXPECT_NE(light.getItem(category).Foreground, kNoColor);
  }
  EXPECT_NE(light.getPlain(), dark.getPlain());
  TyJSONColoringCategory unused{};
  EXPECT_FALSE(CyJSONColoring::FindCategory("key", unused));
}

}  // namespace
}  // namespace xylem
