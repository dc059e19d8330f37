#include "xml/format/Formatter.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "common/Settings.hpp"
#include "common/Utf.hpp"
#include "support/FormatterTestSupport.hpp"
#include "xml/format/WriterFileStream.hpp"

namespace xylem {

namespace {

using test::FormatXML;

// Option bits (bit i: value i of the enumeration).
constexpr uint32_t kClear = 1, kAttr = 2, kEmpty = 4, kText = 8, kRemove = 16;
constexpr uint32_t kAttrInline = 1, kSpace = 2, kExpand = 4, kVerbatim = 8, kTextInline = 16;

struct TyRow {
  const char* Name;
  uint32_t Formatting;
  uint32_t Layout;
  const char* Input;
  const char* Expected;
};

}  // namespace

TEST(Formatter, LayoutRules) {
  const TyRow rows[] = {
      {"empty child indented", 0, 0, "<a><b/></a>", "<a>\n    <b/>\n</a>"},
      {"inline text", kText, kTextInline, "<p>Hello   <b>big</b>   world</p>",
       "<p>Hello <b>big</b> world</p>"},
      {"indented text", kText, 0, "<p>Hello <b>big</b> world</p>",
       "<p>Hello\n    <b>big</b>\n    world</p>"},
      {"text left as written", 0, 0, "<p>Hello   <b> big  </b>\n  world</p>",
       "<p>Hello   <b> big  </b>\n  world</p>"},
      {"text lines normalised", kText, kTextInline, "<p>\n  one\t two  \n\n   three\n</p>",
       "<p> one two three </p>"},
      {"white space between elements in inline text", kText, kTextInline, "<p>x<b/> \n <c/></p>",
       "<p>x<b/> <c/></p>"},
      {"references in place", kText, 0, "<p>a&#65;&x;b</p>", "<p>a&#65;&x;b</p>"},
      {"preserved verbatim", kText | kEmpty, kVerbatim | kTextInline,
       "<r><pre>  a\n\t b  <i> c </i><e></e>\n</pre></r>",
       "<r>\n    <pre>  a\n\t b  <i> c </i><e></e>\n</pre>\n</r>"},
      {"xml:space default inside preserve", 0, kVerbatim,
       "<r xml:space=\"preserve\"> <a xml:space=\"default\"> <b/> </a> </r>",
       "<r xml:space=\"preserve\"> <a xml:space=\"default\">\n        <b/>\n    </a> </r>"},
      {"preserve needs the verbatim choice", kText, kTextInline, "<pre>  a  <i/> </pre>",
       "<pre> a <i/> </pre>"},
      {"blank lines at document level kept", 0, 0, "<?xml version=\"1.0\"?>\n\n\n<a/>",
       "<?xml version=\"1.0\"?>\n\n\n<a/>"},
      {"blank lines at document level removed", kRemove, 0, "<?xml version=\"1.0\"?>\n\n\n<a/>",
       "<?xml version=\"1.0\"?>\n<a/>"},
      {"blank lines before the first and after the last node", 0, 0, "\n\n<a/>\n\n", "<a/>\n"},
      {"blank lines between children kept", 0, 0, "<a>\n<b/>\n\n\n<c/>\n</a>",
       "<a>\n    <b/>\n\n\n    <c/>\n</a>"},
      {"blank lines between children removed", kRemove, 0, "<a>\n<b/>\n\n\n<c/>\n</a>",
       "<a>\n    <b/>\n    <c/>\n</a>"},
      {"space before slash", kEmpty, kSpace, "<e/>", "<e />"},
      {"expand", kEmpty, kExpand, "<e/>", "<e></e>"},
      {"collapse", kEmpty, 0, "<e></e>", "<e/>"},
      {"ending as written", 0, 0, "<r><e  /><f></f></r>", "<r>\n    <e  />\n    <f></f>\n</r>"},
      {"clear white space", kClear, 0, "<a> \n </a>", "<a></a>"},
      {"clear and collapse", kClear | kEmpty, 0, "<a> \n </a>", "<a/>"},
      {"white space kept without clear", 0, 0, "<a> \n </a>", "<a>\n</a>"},
      {"comment after an element stays", 0, 0, "<a><x/><!-- note --></a>",
       "<a>\n    <x/><!-- note -->\n</a>"},
      {"comment after the start tag stays", 0, 0, "<a><!-- c --><b/></a>",
       "<a><!-- c -->\n    <b/>\n</a>"},
      {"comment after a PI moves down", 0, 0, "<a><?p d?><!-- c --></a>",
       "<a>\n    <?p d?>\n    <!-- c -->\n</a>"},
      {"comment after blanks on the same line", 0, 0, "<a>\n  <x/> <!-- c -->\n</a>",
       "<a>\n    <x/> <!-- c -->\n</a>"},
      {"other nodes as written", 0, 0, "<a><![CDATA[ x\n  y ]]><!--\n c\n--><?p\n d?></a>",
       "<a>\n    <![CDATA[ x\n  y ]]>\n    <!--\n c\n-->\n    <?p\n d?>\n</a>"},
      {"attributes left", 0, 0, "<a x='1'\n   y=\"2\"   z=\"3\"/>",
       "<a x='1'\n    y=\"2\" z=\"3\"/>"},
      {"attributes on lines", kAttr, 0, "<a x='1'\n   y=\"2\" z=\"3\"/>",
       "<a\n    x='1'\n    y=\"2\"\n    z=\"3\"/>"},
      {"attributes inline", kAttr, kAttrInline, "<a x='1'\n   y=\"2\" z=\"3\"/>",
       "<a x='1' y=\"2\" z=\"3\"/>"},
      {"multi-line attribute re-indented", 0, 0, "<r>\n<a x=\"1\n     2\"\n y=\"3\"/>\n</r>",
       "<r>\n    <a x=\"1\n            2\"\n        y=\"3\"/>\n</r>"},
      {"deep element inside text", kText, kTextInline, "<p>a<q><r/></q></p>",
       "<p>a<q>\n        <r/>\n    </q></p>"},
      {"trailing line end kept", 0, 0, "<a/>\n", "<a/>\n"},
  };
  for (const TyRow& row : rows)
    EXPECT_EQ(FormatXML(row.Input, row.Formatting, row.Layout), row.Expected) << row.Name;
}

// Each choice of the dialog applied on its own to one document with attributes, empty
// elements, mixed content, comments, PIs, CDATA, a DOCTYPE and a preserved element. The rows and
// their expected documents are files under data/dialog (choices.txt lists them).
TEST(Formatter, EveryDialogChoice) {
  const std::string folder = std::string(XYLEM_TEST_DATA) + "/dialog/";
  const std::string doc = test::ReadFile(folder + "input.xml");
  std::ifstream manifest(folder + "choices.txt");
  int rows = 0;
  for (std::string line; std::getline(manifest, line);) {
    if (line.empty() || line[0] == '#') continue;
    const test::TyChoiceRow row = test::ParseChoiceRow(line);
    EXPECT_EQ(FormatXML(doc.c_str(), row.Formatting, row.Layout), test::ReadFile(folder + row.File))
        << row.Name;
    ++rows;
  }
  EXPECT_EQ(rows, 11);
}

TEST(Formatter, DefaultsGiveTheUsualLayout) {
  const CySettings& s = CySettings::Get();
  EXPECT_EQ(FormatXML("<?xml version=\"1.0\"?><r a=\"1\"\n  b=\"2\"><e></e><p>Some  <b>bold</b> "
                      "text</p>\n\n<pre> keep  </pre><w>  </w></r>\n",
                      s.XMLFormattingOptions, s.XMLLayoutOptions),
            "<?xml version=\"1.0\"?>\n<r a=\"1\" b=\"2\">\n    <e/>\n    <p>Some <b>bold</b> "
            "text</p>\n    <pre> keep  </pre>\n    <w/>\n</r>\n");
}

TEST(Formatter, RefusesDocumentsThatAreNotWellFormedWithThePosition) {
  struct {
    const char* Input;
    int64_t Line, Linepos;
  } rows[] = {
      {"<a>", 1, 1},                // unclosed
      {"<a></b>", 1, 4},            // mismatched
      {"</a>", 1, 1},               // unmatched
      {"<a/><b/>", 1, 5},           // a second root
      {"x<a/>", 1, 1},              // text before the root
      {"<a/>\n &x;", 2, 2},         // a reference after it
      {"<a/><![CDATA[x]]>", 1, 5},  // CDATA outside the root
      {"", 1, 1},                   // no root
      {"  \n  ", 2, 3},             // no root
      {"<a>\n  <b>\n</a>", 3, 1},   // end tag of the wrong element
      {"<a x=\"1/>", 1, 10},        // unterminated value
      {"<a><!-- x </a>", 1, 15},    // unterminated comment
      {"<a><b</a>", 1, 6},          // tag broken off by "<"
      {"<a b/>", 1, 4},             // an attribute without a value
      {"<a b c=\"1\"/>", 1, 4},     // the same before another attribute
      {"<a =\"x\"/>", 1, 7},        // a value without a name
  };
  const CySettings& s = CySettings::Get();
  for (const auto& row : rows) {
    TxTextList list;
    list.LoadFromText__PARALLEL__(ToUTF16(row.Input));
    const std::u16string before = list.getText();
    try {
      CyXMLFormatter::FormatTextList(list, u"", TyXMLFormatterChoices::FromSettings(CySettings()));
      ADD_FAILURE() << "formatted: " << row.Input;
    } catch (const CyXMLFormatException& e) {
      EXPECT_STREQ(e.what(), "Cannot format document because it's not well-formed.");
      EXPECT_EQ(e.Line, row.Line) << row.Input;
      EXPECT_EQ(e.Linepos, row.Linepos) << row.Input;
    }
    EXPECT_EQ(list.getText(), before) << row.Input;
  }
  (void)s;
}

TEST(Formatter, DeepNestingFormatsOrFailsWithoutRecursion) {
  constexpr int kDeep = 100000;
  std::string deep;
  for (int i = 0; i < kDeep; ++i) deep += "<a>";
  for (int i = 0; i < kDeep; ++i) deep += "</a>";
  // Well-formed, so formatted: past the limit, lines start without indentation, so the output
  // stays linear in the input.
  const std::string formatted = FormatXML(deep, 0, 0);
  std::string tags;
  for (char c : formatted)
    if (c != '\r' && c != '\n' && c != ' ' && c != '\t') tags += c;
  EXPECT_TRUE(tags == deep);
  const bool unindented = formatted.find("<a>\r\n<a>\r\n<a>") != std::string::npos ||
                          formatted.find("<a>\n<a>\n<a>") != std::string::npos;
  EXPECT_TRUE(unindented);
  // The indentation up to the limit, plus linear output.
  EXPECT_LT(formatted.size(), 128u * 1024 * 1024);
  EXPECT_TRUE(FormatXML(formatted, 0, 0) == formatted);
  // At the limit: mixed content stays on one line, so the output is the input.
  std::string mixed;
  for (int i = 0; i < kXMLFormatterMaxDepth; ++i) mixed += "<a>x";
  for (int i = 0; i < kXMLFormatterMaxDepth; ++i) mixed += "</a>";
  EXPECT_EQ(FormatXML(mixed, kText, kTextInline), mixed);
  // Indented without an indentation unit: one tag per line.
  TxTextList list;
  list.LoadFromText__PARALLEL__(ToUTF16(deep.substr(0, 3 * kXMLFormatterMaxDepth) +
                                        deep.substr(deep.size() - 4 * kXMLFormatterMaxDepth)));
  PyXMLDOMTree tree;
  TxXMLParser parser;
  CyXMLReader::Read(list, parser, {}, {}, CyXMLWordList(), CyXMLWordList(), tree);
  CyXMLWriterStringOutputStream out;
  CyXMLWriter(out, {}, {}, u"", u"").WriteDocument(tree);
  // The innermost element is empty: its start and end tag stay on one line.
  std::u16string expected;
  for (int i = 1; i < kXMLFormatterMaxDepth; ++i) expected += u"<a>\r\n";
  expected += u"<a></a>";
  for (int i = 1; i < kXMLFormatterMaxDepth; ++i) expected += u"\r\n</a>";
  EXPECT_EQ(out.getText(), expected);
}

TEST(Formatter, ExtraIndentStartsEveryLineTheWriterStarts) {
  const char* doc = "<r a=\"1\"\n b=\"2\"><c/><!-- x\ny --><p>t <i>u</i></p><pre> v\nw </pre></r>";
  const std::string plain = FormatXML(doc, kAttr, kVerbatim);
  const std::string extra = FormatXML(doc, kAttr, kVerbatim, u"\t>");
  // Lines continuing text copied from the source (the comment's and the preserved element's)
  // are content and stay as they are.
  std::string expected = "\t>";
  for (size_t i = 0; i < plain.size(); ++i) {
    expected += plain[i];
    if (plain[i] == '\n' && plain.compare(i + 1, 2, "y ") != 0 &&
        plain.compare(i + 1, 2, "w ") != 0)
      expected += "\t>";
  }
  EXPECT_EQ(extra, expected);
}

TEST(Formatter, ResultReplacesTheTextListAndIsIdempotentThere) {
  TxTextList list;
  list.LoadFromText__PARALLEL__(u"<a>\n<b/><c>x</c></a>\n");
  const TyXMLFormatterChoices choices = TyXMLFormatterChoices::FromSettings(CySettings());
  CyXMLFormatter::FormatTextList(list, u"", choices);
  ASSERT_EQ(list.getCount(), 5);
  EXPECT_EQ(list.getLine(1), u"<a>");
  EXPECT_EQ(list.getLine(2), u"    <b/>");
  EXPECT_EQ(list.getLine(3), u"    <c>x</c>");
  EXPECT_EQ(list.getLine(4), u"</a>");
  EXPECT_EQ(list.getLine(5), u"");
  const std::u16string once = list.getText();
  CyXMLFormatter::FormatTextList(list, u"", choices);
  EXPECT_EQ(list.getText(), once);
}

TEST(Formatter, WordListsSplitAtBars) {
  const CyXMLWordList words(u" pre |xsl:text||  a ");
  EXPECT_TRUE(words.Contains(u"pre"));
  EXPECT_TRUE(words.Contains(u"xsl:text"));
  EXPECT_TRUE(words.Contains(u"a"));
  EXPECT_FALSE(words.Contains(u""));
  EXPECT_FALSE(words.Contains(u"text"));
  EXPECT_TRUE(CyXMLWordList(u" | ").IsEmpty());
}

TEST(Formatter, FileStreamWritesTheDocumentsNewlineAndEncoding) {
  // Line breaks become the document's newline; a pair split across writes and text longer than
  // the writer's buffer come out whole.
  const std::u16string Long_(70000, u'x');
  for (const char* encoding : {"UTF-8", "UTF-16LE", "ISO-8859-1"}) {
    for (const std::u16string newline : {u"\n", u"\r\n"}) {
      TyTextFileFormat format{CyEncoding::FromName(encoding), false, true, newline};
      const bool unicode = format.Encoding.IsUnicode();
      std::string bytes;
      CyTextFileWriter file(bytes, format);
      CyXMLWriterFileOutputStream out(file);
      const std::u16string text = unicode ? u"a\u00e9\U0001F680" : u"a\u00e9\u00ff";
      out.WriteString(text.substr(0, 3));
      out.WritePiece(text.data() + 3, text.size() - 3);
      out.WriteString(u"\r\n");
      out.WritePiece(Long_.data(), Long_.size());
      out.WriteString(u"\r\n  <b/>");
      file.Commit();
      TxTextList reloaded;
      const TyTextFileFormat read = LoadTextBytes(bytes, "x.txt", reloaded, {format.Encoding});
      EXPECT_EQ(read.Newline, newline) << encoding;
      EXPECT_EQ(reloaded.getTextItems().getJoined(u"|", 1, reloaded.getCount()),
                text + u"|" + Long_ + u"|  <b/>")
          << encoding;
    }
  }
}

}  // namespace xylem
