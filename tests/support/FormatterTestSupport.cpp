#include "support/FormatterTestSupport.hpp"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

#include "common/Utf.hpp"
#include "xml/format/Formatter.hpp"

namespace xylem::test {

const std::vector<std::string>& VariedDocuments() {
  static const std::vector<std::string> docs = {
      // one line, every kind of node
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?><!DOCTYPE r [<!ENTITY e \"E&#65;\"><!ELEMENT r "
      "ANY>]><?xml-stylesheet href=\"s.xsl\" type=\"text/xsl\"?><r xmlns:x=\"urn:x\" a=\"1\"><x:e/>"
      "<p>Some <b>bold</b> and &e; &#x41;&amp;<i/></p><!-- c --><![CDATA[ <c> ]]><?pi d?><q></q>"
      "<pre> keep  <b> this </b>\t</pre></r>",
      // badly indented, blank lines, attributes over several lines
      "<?xml version=\"1.0\"?>\n\n\n<!-- top -->\n<root\n  id=\"r\"   lang='en'\n>\n"
      "      <item  n=\"1\"\n    m=\"two\nlines\"  />\n\n\n   <item n=\"2\">  </item>\n"
      "<text>\n   first line\n\t\tsecond   line  \n</text>\n  <!-- after -->  <x/>\n"
      "<pre>\n  indented\n    code\n</pre>\n</root>\n\n",
      // mixed content with line breaks around elements and references
      "<doc>\n<para>A <em>b</em>, then\n  <strong>c</strong>\n&#169; d.</para>\n<para/>"
      "<para>  </para><para>x<br/>y</para></doc>",
      // xml:space and nested preserve
      "<r><a xml:space=\"preserve\">  1  <b>  2  </b>\n  <c xml:space=\"default\">  <d>3</d>  "
      "</c>\n</a><pre><pre>  nested </pre>  </pre></r>",
      // comments and PIs in every position
      "<r><!-- 1 --><a/><!-- 2 --><?p 3?><!-- 4 -->\n  <!-- 5 --><b>t<!-- 6 --></b>\n\n"
      "<!-- 7 --></r>\n<!-- tail -->\n<?tail?>",
      // CDATA and text runs
      "<r>\n  <c><![CDATA[\nline 1\n   line 2\n]]></c>\n  <t>a<![CDATA[b]]>c</t>\n</r>",
      // deep, no text
      "<a><b><c><d><e><f/></e></d></c></b><g><h/><h></h><h> </h></g></a>",
      // tabs and CR LF line ends
      "<r>\r\n\t<a\tx=\"1\">\t</a>\r\n\t<b>\tw\t</b>\r\n</r>\r\n",
  };
  return docs;
}

// Lines that end with ">" followed by lines that begin with "<", inside and outside markup.
const char* const kFragments[kFragmentCount] = {
    "<item n=\"1\">\n  <name>a</name>\n</item>\n",
    "<!-- a comment>\n<that looks like tags -->\n",
    "<![CDATA[ x>\n<y ]]>\n",
    "<a t=\"1>\n<2\"/>\n",
    "<p>text &amp; more>\n<b>bold</b>\n tail</p>\n",
    "<pre>\n  <keep>  </keep>\n</pre>\n",
    "<s xml:space=\"preserve\">\n <x>\n </x>\n<fmt>\n<y/>\n</fmt>\n</s>\n",
    "<?pi a>\n<b?>\n",
    "<e\n  a=\"1\"\n/>\n",
    "<deep><deeper>\n<deepest/>\n</deeper></deep>\n",
};

const std::vector<std::string>& BrokenDocuments() {
  static const std::vector<std::string> docs = {
      "<a>\n<b>\n</a>\n</b>\n",
      "<a>\n</a>\n<b>\n</b>\n",
      "<a>\n</a>\ntext\n<!-- -->\n",
      "<a>\n</a>\n&amp;\n<!-- -->\n",
      "<a>\n<b>\n</b>\n</a>\n&amp;\n",
      "<a>\n<b>\n</b>\n",
      "</a>\n<a>\n</a>\n",
      "<!-- only -->\n<!-- comments -->\n",
      "<a>\n<b x=\"1\" x>\n</b>\n</a>\n",
      "<r/r>\n<e>\n</e>\n</r>\n",
      "<r>\n<p></q x=\"y\" /><p></p>\n</r>\n",
  };
  return docs;
}

std::string BrokenCopy(const std::string& Doc, std::mt19937& Random, int Round) {
  std::string broken = Doc;
  const size_t where = std::uniform_int_distribution<size_t>(0, Doc.size() - 1)(Random);
  if (Round % 2)
    broken.erase(where, 1);
  else
    broken.insert(where, 1, broken[where]);
  return broken;
}

std::string RandomFragmentDocument(std::mt19937& Random, int Fragments) {
  std::string doc = "<?xml version=\"1.0\"?>\n<root>\n";
  std::uniform_int_distribution<size_t> pick(0, std::size(kFragments) - 1);
  for (int i = 0; i < Fragments; ++i) doc += kFragments[pick(Random)];
  return doc + "</root>\n";
}

std::string FormatXML(const std::string& Text, uint32_t FormattingBits, uint32_t LayoutBits,
                      const std::u16string& ExtraIndent) {
  TyXMLFormatterChoices choices = TyXMLFormatterChoices::FromSettings(CySettings());
  choices.XMLFormattingOptions = TyXMLFormattingOptions::FromBits(FormattingBits);
  choices.XMLLayoutOptions = TyXMLLayoutOptions::FromBits(LayoutBits);
  const std::string out = ToUTF8(CyXMLFormatter::FormatText(ToUTF16(Text), ExtraIndent, choices));
  std::string lf;
  for (size_t i = 0; i < out.size(); ++i) {
    if (out[i] == '\n') ADD_FAILURE() << "bare line feed at " << i << " in\n" << out;
    if (out[i] == '\r' && i + 1 < out.size() && out[i + 1] == '\n') {
      lf += '\n';
      ++i;
    } else {
      lf += out[i];
    }
  }
  return lf;
}

namespace {

std::string Collapsed(const std::string& s, bool Trim) {
  std::string out;
  bool blank = false;
  for (char c : s) {
    if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
      blank = true;
      continue;
    }
    if (blank && (!out.empty() || !Trim)) out += ' ';
    blank = false;
    out += c;
  }
  if (blank && !Trim) out += ' ';
  return out;
}

std::string Str(const xmlChar* s) { return s ? reinterpret_cast<const char*>(s) : ""; }

void Describe(xmlNode* first, std::string& out) {
  std::string run;
  auto flush = [&] {
    const std::string text = Collapsed(run, true);
    if (!text.empty()) out += "T(" + text + ")";
    run.clear();
  };
  for (xmlNode* n = first; n; n = n->next) {
    if (n->type == XML_TEXT_NODE || n->type == XML_CDATA_SECTION_NODE) {
      run += Str(n->content);
      continue;
    }
    if (n->type == XML_ENTITY_REF_NODE) {  // substituted: its children are the text
      for (xmlNode* c = n->children; c; c = c->next) run += Str(c->content);
      continue;
    }
    flush();
    if (n->type == XML_ELEMENT_NODE) {
      out += "<";
      if (n->ns && n->ns->prefix) out += Str(n->ns->prefix) + ":";
      out += Str(n->name);
      for (xmlAttr* a = n->properties; a; a = a->next) {
        xmlChar* v = xmlNodeListGetString(n->doc, a->children, 1);
        out += " " + Str(a->name) + "=" + Collapsed(Str(v), false);
        xmlFree(v);
      }
      out += ">";
      Describe(n->children, out);
      out += "</>";
    } else if (n->type == XML_COMMENT_NODE) {
      out += "C(" + Str(n->content) + ")";
    } else if (n->type == XML_PI_NODE) {
      out += "P(" + Str(n->name) + " " + Str(n->content) + ")";
    }
  }
  flush();
}

}  // namespace

std::string ContentOf(const std::string& Text, std::string* Error) {
  xmlDoc* doc =
      xmlReadMemory(Text.data(), static_cast<int>(Text.size()), "doc.xml", "UTF-8",
                    XML_PARSE_NOENT | XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
  if (!doc) {
    if (Error) *Error = "libxml2 refused the document";
    return {};
  }
  std::string out;
  Describe(doc->children, out);
  xmlFreeDoc(doc);
  return out;
}

std::string ReadFile(const std::string& Path) {
  std::ifstream in(Path, std::ios::binary);
  EXPECT_TRUE(in.good()) << Path;
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

namespace {

std::string trimmed(const std::string& Text) {
  const size_t first = Text.find_first_not_of(' ');
  return first == std::string::npos ? ""
                                    : Text.substr(first, Text.find_last_not_of(' ') - first + 1);
}

uint32_t bitsOf(const std::string& Words, const std::vector<std::string>& Names) {
  uint32_t bits = 0;
  std::stringstream list(Words);
  for (std::string word; std::getline(list, word, ',');) {
    word = trimmed(word);
    if (word == "-") continue;
    const auto at = std::find(Names.begin(), Names.end(), word);
    EXPECT_NE(at, Names.end()) << "unknown choice " << word;
    bits |= 1u << (at - Names.begin());
  }
  return bits;
}

}  // namespace

TyChoiceRow ParseChoiceRow(const std::string& Line) {
  std::vector<std::string> fields;
  std::stringstream row(Line);
  for (std::string field; std::getline(row, field, '|');) fields.push_back(trimmed(field));
  EXPECT_EQ(fields.size(), 4u) << Line;
  fields.resize(4);
  return {fields[0], bitsOf(fields[1], {"clear", "attributes", "empty", "text", "remove"}),
          bitsOf(fields[2], {"inline", "space", "expand", "verbatim", "textinline"}), fields[3]};
}

}  // namespace xylem::test
