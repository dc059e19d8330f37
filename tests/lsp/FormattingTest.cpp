// Formatting answers: the edits, applied to the document's text, give the formatter's text;
// every edit changes only white space; a broken document is refused with the exact message.
#include "lsp/Formatting.hpp"

#include <gtest/gtest.h>

#include <random>

#include "LspTestSupport.hpp"
#include "common/Utf.hpp"
#include "editor/Document.hpp"
#include "json/Formatter.hpp"

namespace xylem::lsp {
namespace {

bool IsBlank(std::u16string_view Text) {
  return Text.find_first_not_of(u" \t\r\n") == std::u16string_view::npos;
}

TEST(MinimalTextEdits, ApplyingTheEditsGivesTheNewText) {
  const std::pair<std::u16string, std::u16string> kRows[] = {
      {u"", u""},
      {u"<a><b/></a>", u"<a>\n  <b/>\n</a>"},
      {u"<a>\n      <b/>\n</a>", u"<a>\n  <b/>\n</a>"},
      {u"<a>\r\n<b/>\r\n</a>\r\n", u"<a>\r\n    <b/>\r\n</a>\r\n"},
      {u"x  y", u"x y"},
      {u"  lead", u"lead"},
      {u"tail", u"tail\n"},
      {u"abc", u"abd"},  // not white space: one edit for the rest
      {u"a b c", u"a bXc d"},
      {u"\u00e9 \U0001F600 x", u"\u00e9\n\U0001F600\n  x"},  // characters beyond one unit
  };
  for (const auto& [Old, New] : kRows) {
    const json Edits = MinimalTextEdits(Old, New);
    EXPECT_EQ(test::ApplyTextEdits(Old, Edits), New) << ToUTF8(Old);
  }
  // Random white-space changes of a text are undone by the edits, and each edit is blank.
  std::mt19937 Random(5);
  const std::u16string Base = u"<r>\n  <a x=\"1\">t</a>\n  <b/>\n  <!-- c -->\n</r>\n";
  for (int Round = 0; Round < 200; ++Round) {
    std::u16string Changed;
    for (char16_t C : Base) {
      if (C == u' ' || C == u'\n') {
        const char16_t* kRuns[] = {u"", u" ", u"\n", u"\t", u"  \n  ", u"\n\n"};
        Changed += kRuns[Random() % 6];
      } else {
        Changed += C;
      }
    }
    const json Edits = MinimalTextEdits(Changed, Base);
    ASSERT_EQ(test::ApplyTextEdits(Changed, Edits), Base) << ToUTF8(Changed);
    for (const json& Edit : Edits)
      EXPECT_TRUE(IsBlank(ToUTF16(Edit["newText"].get<std::string>())));
  }
}

TEST(FormatEdits, EditsGiveTheFormattersTextAndOnlyTouchWhiteSpace) {
  struct TyRow {
    const char* Path;
    std::u16string Text;
  };
  const TyRow kRows[] = {
      {"a.xml", u"<r><a x=\"1\">t</a>\n<b>\n<c/></b>   <!-- c --></r>\n"},
      {"a.xml", u"<r>\r\n<a/>\r\n</r>"},
      {"s.xsl",
       u"<xsl:stylesheet xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\" "
       u"version=\"3.0\"><xsl:template match=\"/\"><x/></xsl:template></xsl:stylesheet>"},
      {"j.json", u"{\"a\":[1,2,{\"b\":null}],\"c\":\"d\"}\n"},
  };
  for (const TyRow& Row : kRows) {
    SCOPED_TRACE(Row.Path);
    TxMarkupDocument Document;
    Document.LoadFromText(Row.Text, Row.Path);
    const json Options = {{"tabSize", 2}, {"insertSpaces", true}};
    const TyXMLFormatterChoices Choices;
    const json Edits = FormatEdits(Document, Options, Choices, std::nullopt);
    const std::u16string Formatted = test::ApplyTextEdits(Document.getText(), Edits);
    // The differential model: the formatter itself, on the whole text.
    std::u16string Expected;
    if (Document.getKind() == TyDocumentKind::dkJSON) {
      TyJSONWriterOptions JSONOptions;
      JSONOptions.IndentationUnit = u"  ";
      JSONOptions.Newline = std::u16string(Document.getNewline());
      Expected = CyJSONFormatter::Format(Document.getText(), JSONOptions);
      if (Document.getText().ends_with(u"\n") && !Expected.ends_with(u"\n"))
        Expected += Document.getNewline();
    } else {
      TyXMLFormatterChoices Two = Choices;
      Two.IndentationUnit = u"  ";
      Expected = CyXMLFormatter::FormatText(Document.getText(), u"", Two);
      if (Document.getNewline() != u"\r\n") {
        std::u16string Converted;
        for (size_t i = 0; i < Expected.size(); ++i)
          if (!(Expected[i] == u'\r' && i + 1 < Expected.size() && Expected[i + 1] == u'\n'))
            Converted += Expected[i];
        Expected = Converted;
      }
    }
    EXPECT_EQ(ToUTF8(Formatted), ToUTF8(Expected));
    EXPECT_GT(Edits.size(), 0u);
    for (const json& Edit : Edits)
      EXPECT_TRUE(IsBlank(ToUTF16(Edit["newText"].get<std::string>()))) << Edit.dump();
    // Formatting the formatted text changes nothing.
    Document.LoadFromText(Formatted, Row.Path);
    EXPECT_EQ(FormatEdits(Document, Options, Choices, std::nullopt), json::array());
  }
}

TEST(FormatEdits, RangeFormattingKeepsEditsTouchingTheRange) {
  TxMarkupDocument Document;
  Document.LoadFromText(u"<r>\n<a>\n<b/>\n</a>\n<c/>\n</r>\n", "a.xml");
  const json All = FormatEdits(Document, json(), {}, std::nullopt);
  const json Part = FormatEdits(Document, json(), {}, TyTextRange{{3, 1}, {3, 5}});
  ASSERT_GT(All.size(), Part.size());
  ASSERT_EQ(Part.size(), 1u);
  EXPECT_EQ(Part[0]["range"]["start"], json({{"line", 2}, {"character", 0}}));  // indents <b/>
}

TEST(FormatEdits, BrokenDocumentsAreRefusedWithTheirMessage) {
  const std::pair<const char*, std::u16string> kRows[] = {
      {"a.xml", u"<r><a></r>"},
      {"j.json", u"{\"a\": }"},
      {"t.txt", u"plain"},
  };
  for (const auto& [Path, Text] : kRows) {
    TxMarkupDocument Document;
    Document.LoadFromText(Text, Path);
    try {
      FormatEdits(Document, json(), {}, std::nullopt);
      ADD_FAILURE() << Path << " was formatted";
    } catch (const CyLspError& Error) {
      EXPECT_EQ(Error.getCode(), lecRequestFailed);
      if (std::string(Path) == "a.xml") {
        EXPECT_STREQ(Error.what(), kNotWellFormedMessage);
      }
    }
  }
}

}  // namespace
}  // namespace xylem::lsp
