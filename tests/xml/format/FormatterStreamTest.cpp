// Formatting a file without a tree, in one pass or in parts written at once, gives exactly the
// text and the refusals of formatting through the tree: for every option combination, on
// documents cut in awkward places, and on broken documents (where nothing may be written).
#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>

#include "common/Utf.hpp"
#include "support/FormatterTestSupport.hpp"
#include "text/TextFile.hpp"
#include "text/TextFileWriter.hpp"
#include "xml/format/Formatter.hpp"

namespace xylem {

namespace {

struct TyResult {
  std::string Text;  // UTF-8, CR LF
  std::optional<std::pair<int64_t, int64_t>> Refused;
  int Parts = 1;
  bool operator==(const TyResult& Other) const {
    return Text == Other.Text && Refused == Other.Refused;
  }
};

std::ostream& operator<<(std::ostream& Out, const TyResult& Result) {
  if (Result.Refused)
    Out << "refused at " << Result.Refused->first << ":" << Result.Refused->second;
  return Out << "\n" << Result.Text;
}

TyResult ByTree(const std::string& Utf8, const TyXMLFormatterChoices& Choices) {
  TyResult result;
  try {
    result.Text = ToUTF8(CyXMLFormatter::FormatText(ToUTF16(Utf8), u"", Choices));
  } catch (const CyXMLFormatException& error) {
    result.Refused = {error.Line, error.Linepos};
  }
  return result;
}

TyResult Streamed(const std::string& Utf8, const TyXMLFormatterChoices& Choices, int Pieces) {
  TxTextList list;
  list.LoadFromText__PARALLEL__(ToUTF16(Utf8), 1);
  const TyTextFileFormat format;  // UTF-8, CR LF
  TyResult result;
  CyTextFileWriter file(result.Text, format);
  try {
    result.Parts = CyXMLFormatter::FormatToFile__PARALLEL__(list, file, format, Choices, Pieces, 1);
  } catch (const CyXMLFormatException& error) {
    result.Refused = {error.Line, error.Linepos};
    file.Commit();
    EXPECT_EQ(result.Text, "") << "written before the refusal";
    return result;
  }
  file.Commit();
  return result;
}

TyXMLFormatterChoices Choices(uint32_t Formatting, uint32_t Layout) {
  TyXMLFormatterChoices choices{TyXMLFormattingOptions::FromBits(Formatting),
                                TyXMLLayoutOptions::FromBits(Layout), u"fmt", u"pre"};
  return choices;
}

}  // namespace

TEST(FormatterStream, SameTextAsTheTreeForEveryOptionSet) {
  for (const std::string& doc : test::VariedDocuments()) {
    for (uint32_t formatting = 0; formatting < 32; ++formatting) {
      for (uint32_t layout = 0; layout < 32; ++layout) {
        const TyXMLFormatterChoices choices = Choices(formatting, layout);
        const TyResult tree = ByTree(doc, choices);
        ASSERT_FALSE(tree.Refused) << doc;
        // In parts for a sample of the combinations: each costs temporary files.
        for (int pieces : {1, 3}) {
          if (pieces > 1 && (formatting * 32 + layout) % 7 != 0) continue;
          ASSERT_EQ(Streamed(doc, choices, pieces), tree)
              << "options " << formatting << "/" << layout << ", " << pieces << " pieces\n"
              << doc;
        }
      }
    }
  }
}

TEST(FormatterStream, PartsJoinToTheOnePassTextWhereverTheyAreCut) {
  std::mt19937 random(5);
  int inParts = 0;  // runs that really wrote parts rather than falling back to one pass
  const std::pair<uint32_t, uint32_t> options[] = {
      {0x1F, 0x19}, {0x0F, 0x11}, {0x12, 0x02}, {0, 0x08}};
  for (int round = 0; round < 50; ++round) {
    const std::string doc = test::RandomFragmentDocument(random, 4 + round % 20);
    for (const auto& [formatting, layout] : options) {
      const TyXMLFormatterChoices choices = Choices(formatting, layout);
      const TyResult tree = ByTree(doc, choices);
      ASSERT_FALSE(tree.Refused) << doc;
      for (int pieces : {2, 3, 5, 8}) {
        const TyResult parts = Streamed(doc, choices, pieces);
        ASSERT_EQ(parts, tree) << pieces << " pieces, options " << formatting << "/" << layout
                               << "\n"
                               << doc;
        inParts += parts.Parts > 1;
      }
    }
  }
  EXPECT_GT(inParts, 200);
  // Plain records are always written in parts, on lines of their own or all on one line.
  std::string plain = "<root>\n", oneLine = "<root>";
  for (int i = 0; i < 50; ++i) {
    plain += test::kFragments[0];
    oneLine += "<item n=\"1\"><name>a</name><b/></item>";
  }
  plain += "</root>\n";
  oneLine += "</root>";
  for (const std::string& doc : {plain, oneLine}) {
    for (int pieces : {2, 3, 5}) {
      const TyResult parts = Streamed(doc, Choices(0x1F, 0x19), pieces);
      EXPECT_EQ(parts.Parts, pieces) << doc;
      EXPECT_EQ(parts, ByTree(doc, Choices(0x1F, 0x19))) << doc;
    }
  }
}

TEST(FormatterStream, RefusesWhereTheTreeDoesAndWritesNothing) {
  std::mt19937 random(13);
  const TyXMLFormatterChoices choices = Choices(0x1F, 0x19);
  for (const std::string& doc : test::BrokenDocuments()) {
    const TyResult tree = ByTree(doc, choices);
    ASSERT_TRUE(tree.Refused) << doc;
    for (int pieces : {1, 2, 3, 4})
      ASSERT_EQ(Streamed(doc, choices, pieces), tree) << pieces << "\n" << doc;
  }
  for (int round = 0; round < 80; ++round) {
    std::string doc = test::RandomFragmentDocument(random, 6 + round % 10);
    // Delete one character somewhere after the prolog.
    std::uniform_int_distribution<size_t> at(30, doc.size() - 1);
    doc.erase(at(random), 1);
    const TyResult tree = ByTree(doc, choices);
    for (int pieces : {1, 2, 3, 6})
      ASSERT_EQ(Streamed(doc, choices, pieces), tree) << pieces << "\n" << doc;
  }
}

}  // namespace xylem
