// Writing a document in parts cut at any elements inside the root gives, joined, exactly what one
// writer gives, under every option combination: the parts' writers rebuild the open elements'
// layout state without having written them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/Utf.hpp"
#include "xml/Formatter.hpp"
#include "xml/Reader.hpp"
#include "xml/Writer.hpp"

namespace xylem {

namespace {

const char* const kDocuments[] = {
    "<?xml version=\"1.0\"?>\n\n<!-- top -->\n<root\n  id=\"r\"   lang='en'\n>\n"
    "      <item  n=\"1\"\n    m=\"two\nlines\"  />\n\n\n   <item n=\"2\">  </item>\n"
    "<text>\n   first line\n\t\tsecond   line  \n</text>\n  <!-- after -->  <x/>\n"
    "<pre>\n  indented\n    <b> code </b>\n</pre>\n</root>\n\n<!-- tail -->\n",
    "<doc>\n<para>A <em>b</em>, then\n  <strong>c</strong>\n&#169; d.</para>\n<para/>"
    "<para>  </para><para>x<br/>y</para><s xml:space=\"preserve\"> <k> <j/> </k>\n"
    "<fmt> <l/> </fmt></s></doc>",
    "<r><!-- 1 --><a/><!-- 2 --><?p 3?><!-- 4 -->\n  <!-- 5 --><b>t<!-- 6 --><c/></b>\n\n"
    "<!-- 7 --><d> <e/>x</d></r>\n<?tail?>",
};

// Every element inside the root element, in document order.
std::vector<const TyXMLDOMNode*> InnerNodes(const PyXMLDOMTree& Tree) {
  std::vector<const TyXMLDOMNode*> nodes;
  const TyXMLDOMNode* root = Tree.getFirst();
  while (root->Type_ != TyXMLDOMNodeType::ntElement) root = root->NextSibling;
  const TyXMLDOMNode* n = root->FirstChild;
  while (n) {
    if (n->Type_ == TyXMLDOMNodeType::ntElement) nodes.push_back(n);
    if (n->FirstChild) {
      n = n->FirstChild;
      continue;
    }
    while (n && !n->NextSibling && n != root) n = n->Parent;
    n = n && n != root ? n->NextSibling : nullptr;
  }
  return nodes;
}

}  // namespace

TEST(WriterParts, JoinedPartsEqualOneWriter) {
  const CyXMLWordList wordsD(u"fmt"), wordsP(u"pre");
  for (const char* doc : kDocuments) {
    TxTextList list;
    list.LoadFromText__PARALLEL__(ToUTF16(doc), 1);
    PyXMLDOMTree tree;
    TxXMLParser parser;
    CyXMLReader::Read(list, parser, {}, {}, wordsD, wordsP, tree);
    const std::vector<const TyXMLDOMNode*> nodes = InnerNodes(tree);
    ASSERT_GE(nodes.size(), 3u);
    for (uint32_t formatting = 0; formatting < 32; ++formatting) {
      for (uint32_t layout = 0; layout < 32; layout += 3) {
        const auto f = TyXMLFormattingOptions::FromBits(formatting);
        const auto l = TyXMLLayoutOptions::FromBits(layout);
        CyXMLWriterStringOutputStream whole;
        CyXMLWriter(whole, f, l, u" ", u"\t").WriteDocument(tree);
        for (size_t a = 0; a < nodes.size(); ++a) {
          // Two cuts: at node a, and at a node further on (or only at a).
          const size_t b = a + (nodes.size() - a) / 2;
          CyXMLWriterStringOutputStream first, second, third;
          CyXMLWriter(first, f, l, u" ", u"\t").WriteDocumentUntil(tree, *nodes[a]);
          const TyXMLDOMNode* stop = b > a ? nodes[b] : nullptr;
          CyXMLWriter(second, f, l, u" ", u"\t").WriteDocumentFrom(*nodes[a], stop);
          if (stop) CyXMLWriter(third, f, l, u" ", u"\t").WriteDocumentFrom(*stop, nullptr);
          ASSERT_EQ(first.getText() + second.getText() + third.getText(), whole.getText())
              << "options " << formatting << "/" << layout << " cut " << a << "/" << b << "\n"
              << doc;
        }
      }
    }
  }
}

}  // namespace xylem

namespace xylem {

TEST(WriterParts, BigDocumentWrittenInPartsEqualsOneWriter) {
  // Big enough to be read in pieces and written in parts, in UTF-8 and UTF-16.
  std::u16string doc = u"<?xml version=\"1.0\"?>\n<root>\n";
  for (int i = 0; i < 15000; ++i)
    doc += u"  <item n=\"" + ToUTF16(std::to_string(i)) + u"\">\n    <name>x \u00e9\U0001F680</name>\n  </item>\n";
  doc += u"</root>\n";
  TxTextList list;
  list.LoadFromText__PARALLEL__(doc, 1);
  const TyXMLFormatterChoices choices = TyXMLFormatterChoices::FromSettings();
  const std::u16string expected = CyXMLFormatter::FormatText(doc, u"", choices);
  for (const char* encoding : {"UTF-8", "UTF-16BE"}) {
    const TyTextFileFormat format{CyEncoding::FromName(encoding), false, true, u"\r\n"};
    std::string bytes;
    CyTextFileWriter out(bytes, format);
    CyXMLFormatter::FormatToFile__PARALLEL__(list, out, format, choices);
    out.Commit();
    TxTextList written;
    LoadTextBytes(bytes, "x.xml", written, {format.Encoding});
    EXPECT_EQ(written.getText(), expected) << encoding;
  }
}

}  // namespace xylem
