#include "xml/lines/LineColoring.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "common/Utf.hpp"
#include "support/ColoringLog.hpp"
#include "support/FormatterTestSupport.hpp"
#include "support/LineStateTestSupport.hpp"
#include "text/TextList.hpp"
#include "xml/lines/Coloring.hpp"

namespace xylem {
namespace {

// Category name of every character of line Line, after the document's line states are set.
std::vector<std::string_view> Paint(TxTextList& List, int64_t Line) {
  static const CyXMLColoring scheme;
  CyXMLLineColoring coloring(List.getTextItems(), scheme);
  std::vector<std::string_view> out(List.getLine(Line).size());
  for (coloring.FirstLine(Line); !coloring.IsDone(); coloring.Next())
    for (int64_t i = 0; i < coloring.ItemTextCount(); ++i)
      out[static_cast<size_t>(coloring.ItemLinepos() - 1 + i)] =
          CyXMLColoring::getCategoryName(coloring.ItemCategory());
  return out;
}

TEST(LineColoringTest, PaintsTokensByCategory) {
  struct Row {
    const char* Document;
    int64_t Line;
    const char* Part;  // first occurrence in the line, or after '|' in Document's line
    size_t Occurrence;
    const char* Category;
  };
  const Row rows[] = {
      {"<x:a>t</x:a>", 1, "x:a", 0, "Start-tag name with prefix"},
      {"<x:a>t</x:a>", 1, "x:a", 1, "End-tag name with prefix"},
      {"<a>t</a>", 1, "a", 0, "Start-tag name without prefix"},
      {"<a>t</a>", 1, "a", 1, "End-tag name without prefix"},
      {"<a>t</a>", 1, "<", 0, "Start-tag marker"},
      {"<a>t</a>", 1, "</", 0, "End-tag marker"},
      {"<a>t</a>", 1, "t", 0, "Text"},
      {"<r><!-- one\ntwo < & \"\nthree --><b/>", 2, "two < & \"", 0, "Comment text"},
      {"<r><!-- one\ntwo\nthree --><b/>", 3, "three ", 0, "Comment text"},
      {"<r><!-- one\ntwo\nthree --><b/>", 3, "-->", 0, "Comment marker"},
      {"<r><!-- one\ntwo\nthree --><b/>", 3, "b", 0, "Start-tag name without prefix"},
      {"<a>x&amp;y&nbsp;</a>", 1, "x&amp;y", 0, "Text"},
      {"<a>x&amp;y&nbsp;</a>", 1, "&nbsp;", 0, "Entity"},
      {"<a b=\"v\">", 1, "b", 0, "Start-tag attribute name"},
      {"<a b=\"v\">", 1, "=", 0, "Start-tag attribute equals"},
      {"<a b=\"v\">", 1, "\"", 0, "Start-tag attribute quote"},
      {"<a b=\"v\">", 1, "v", 0, "Start-tag attribute value"},
      {"<a b=\"one\ntwo\">", 2, "two", 0, "Start-tag attribute value"},
      {"<?xml version=\"1.0\"?>", 1, "<?", 0, "XML marker"},
      {"<?xml version=\"1.0\"?>", 1, "xml", 0, "XML tag"},
      {"<?xml version=\"1.0\"?>", 1, "version", 0, "XML attribute name"},
      {"<?xml version=\"1.0\"?>", 1, "1.0", 0, "XML attribute value"},
      {"<?pi do it?>", 1, "pi", 0, "PI tag"},
      {"<?pi do it?>", 1, "do it", 0, "PI definition"},
      {"<?pi do it?>", 1, "?>", 0, "PI marker"},
      {"<![CDATA[ <x> ]]>", 1, "<![CDATA[", 0, "CDATA marker"},
      {"<![CDATA[ <x> ]]>", 1, " <x> ", 0, "CDATA text"},
      {"<!DOCTYPE r SYSTEM \"r.dtd\">", 1, "<!DOCTYPE", 0, "DOCTYPE marker"},
      {"<!DOCTYPE r SYSTEM \"r.dtd\">", 1, "r.dtd", 0, "DOCTYPE external id"},
  };
  for (const Row& row : rows) {
    TxTextList list;
    list.LoadFromText__PARALLEL__(ToUTF16(row.Document), 1);
    int64_t total = 0;
    CyXMLParserParallel::UpdateAllLines(list.getTextItems(), total, 1);
    const std::u16string line(list.getLine(row.Line));
    const std::u16string part = ToUTF16(row.Part);
    size_t at = line.find(part);
    for (size_t k = 0; k < row.Occurrence; ++k) at = line.find(part, at + 1);
    ASSERT_NE(at, std::u16string::npos) << row.Document;
    const std::vector<std::string_view> painted = Paint(list, row.Line);
    for (size_t i = at; i < at + part.size(); ++i)
      EXPECT_EQ(painted[i], row.Category) << row.Document << " / " << row.Part << " at " << i;
  }
}

// On generated documents every line is covered by its tokens in order, each token carries its
// category's colours, and ScanUntilEndOfLine leads to the next line's stored state.
TEST(LineColoringTest, TokensCoverEachLineAndScanMatchesStoredStates) {
  std::mt19937 random(5);
  const CyXMLColoring scheme = CyXMLColoring::DefaultDark();
  for (int round = 0; round < 30; ++round) {
    TxTextList list;
    list.LoadFromText__PARALLEL__(test::GenerateLines(random, 20), 1);
    TxTextItems& items = list.getTextItems();
    CyXMLLineColoring coloring(items, scheme);
    int64_t total = 0;
    coloring.UpdateAllLines__PARALLEL__(total);
    for (int64_t line = 1; line <= list.getCount(); ++line) {
      int64_t next = 1;
      for (coloring.FirstLine(line); !coloring.IsDone(); coloring.Next()) {
        ASSERT_EQ(coloring.ItemLinepos(), next) << "line " << line;
        ASSERT_GT(coloring.ItemTextCount(), 0);
        const TyColorItem& item = scheme.getItem(coloring.ItemCategory());
        EXPECT_EQ(coloring.ItemForegroundColor(), item.Foreground);
        EXPECT_EQ(coloring.ItemBackgroundColor(), item.Background);
        EXPECT_EQ(coloring.ItemStyles(), item.Styles);
        EXPECT_EQ(coloring.getEmbedded(), nullptr);
        next += coloring.ItemTextCount();
      }
      EXPECT_EQ(next, static_cast<int64_t>(list.getLine(line).size()) + 1) << "line " << line;
      TxItem copy = *items.getItems(line);
      uint64_t g = static_cast<uint64_t>(copy.StackG), s = static_cast<uint64_t>(copy.StackS);
      coloring.ScanUntilEndOfLine(copy, line == list.getCount(), g, s);
      EXPECT_EQ(copy.Delta, items.getItems(line)->Delta);
      if (line < list.getCount()) {
        EXPECT_EQ(TyXMLLineState({g, s}),
                  CyXMLLineStates::getStartState(*items.getItems(line + 1)));
      }
    }
  }
}

// The hook is asked only for attribute values, and only when embedded colouring is enabled.
TEST(LineColoringTest, EmbeddedColoringIsAskedForAttributeValuesOnly) {
  struct CyMarker : IyEmbeddedLineColoring {
    void First(int64_t) override {}
    void Next() override {}
    bool IsDone() const override { return true; }
    uint32_t ItemForegroundColor() const override { return 0; }
    uint32_t ItemBackgroundColor() const override { return kNoColor; }
    uint8_t ItemStyles() const override { return fsNone; }
    int64_t ItemLinepos() const override { return 1; }
    int64_t ItemTextCount() const override { return 0; }
  };
  struct CyColoring : CyXMLLineColoring {
    using CyXMLLineColoring::CyXMLLineColoring;
    int Asked = 0;
    std::unique_ptr<IyEmbeddedLineColoring> CreateEmbeddedLineColoring() override {
      ++Asked;
      return std::make_unique<CyMarker>();
    }
  };
  TxTextList list;
  list.LoadFromText__PARALLEL__(u"<a select=\"x/y\" b='z'>text</a>", 1);
  int64_t total = 0;
  CyXMLParserParallel::UpdateAllLines(list.getTextItems(), total, 1);
  const CyXMLColoring scheme;
  for (bool enabled : {false, true}) {
    CyColoring coloring(list.getTextItems(), scheme, enabled);
    std::u16string embedded;
    for (coloring.FirstLine(1); !coloring.IsDone(); coloring.Next()) {
      EXPECT_EQ(coloring.getLine(), 1);
      if (coloring.getEmbedded() != nullptr)
        embedded.append(coloring.ItemText(), static_cast<size_t>(coloring.ItemTextCount()));
    }
    EXPECT_EQ(coloring.Asked, enabled ? 2 : 0);
    EXPECT_EQ(embedded, enabled ? u"x/yz" : u"");
  }
}

TEST(LineColoringTest, SchemeHasTheTwentyEightNamedCategories) {
  const CyXMLColoring light = CyXMLColoring::DefaultLight();
  const CyXMLColoring dark = CyXMLColoring::DefaultDark();
  std::set<std::string_view> names;
  int differing = 0;
  for (unsigned i = 0; i < kXMLColoringCategoryCount; ++i) {
    const auto category = static_cast<TyXMLColoringCategory>(i);
    const std::string_view name = CyXMLColoring::getCategoryName(category);
    names.insert(name);
    TyXMLColoringCategory found{};
    ASSERT_TRUE(CyXMLColoring::FindCategory(name, found)) << name;
    EXPECT_EQ(found, category);
    EXPECT_NE(light.getItem(category).Foreground, kNoColor) << name;
    EXPECT_NE(dark.getItem(category).Foreground, kNoColor) << name;
    differing += light.getItem(category) == dark.getItem(category) ? 0 : 1;
  }
  EXPECT_EQ(names.size(), kXMLColoringCategoryCount);
  EXPECT_EQ(differing, static_cast<int>(kXMLColoringCategoryCount));
  TyXMLColoringCategory unused{};
  EXPECT_FALSE(CyXMLColoring::FindCategory("Text ", unused));
  EXPECT_EQ(CyXMLColoring::getCategoryName(TyXMLColoringCategory::xcDOCTYPEExternalID),
            "DOCTYPE external id");
  EXPECT_EQ(&light.getEndTagMarker(), &light.getItem(TyXMLColoringCategory::xcEndTagMarker));
  EXPECT_EQ(CyXMLColoring::getName(), "XML");
}

// The lexer's batches and the hand-overs between it and the tokenizer (at a line's start
// inside a construct, at a construct the lexer leaves alone, back at document level) give the
// tokens and categories of the tokenizer alone, on whole documents and on broken ones.
TEST(LineColoringTest, FastPathGivesTheTokenizersTokens) {
  std::vector<std::string> docs = test::VariedDocuments();
  for (const std::string& doc : test::BrokenDocuments()) docs.push_back(doc);
  std::mt19937 random(11);
  for (int i = 0; i < 30; ++i) docs.push_back(test::RandomFragmentDocument(random, 3 + i % 12));
  for (int i = 0; i < 30; ++i) docs.push_back(ToUTF8(test::GenerateLines(random, 40)));
  for (const std::string& doc : docs) {
    SCOPED_TRACE(doc);
    const std::string tokenizer = test::ColoringLog(doc, false);
    EXPECT_EQ(test::ColoringLog(doc, true), tokenizer);
    for (int i = 0; i < 6 && !doc.empty(); ++i) {
      const std::string broken = test::BrokenCopy(doc, random, i);
      EXPECT_EQ(test::ColoringLog(broken, true), test::ColoringLog(broken, false)) << broken;
    }
  }
}

}  // namespace
}  // namespace xylem
