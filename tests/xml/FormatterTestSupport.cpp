#include "FormatterTestSupport.hpp"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include "common/Utf.hpp"
#include "xml/Formatter.hpp"

namespace xylem::test {

std::string FormatXML(const std::string& Text, uint32_t FormattingBits, uint32_t LayoutBits,
                      const std::u16string& ExtraIndent) {
  TyXMLFormatterChoices choices = TyXMLFormatterChoices::FromSettings();
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
  xmlDoc* doc = xmlReadMemory(Text.data(), static_cast<int>(Text.size()), "doc.xml", "UTF-8",
                              XML_PARSE_NOENT | XML_PARSE_NONET | XML_PARSE_NOERROR |
                                  XML_PARSE_NOWARNING);
  if (!doc) {
    if (Error) *Error = "libxml2 refused the document";
    return {};
  }
  std::string out;
  Describe(doc->children, out);
  xmlFreeDoc(doc);
  return out;
}

}  // namespace xylem::test
