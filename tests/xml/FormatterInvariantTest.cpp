// Invariants of the formatter over a varied set of documents and every combination of the
// two option sets: formatting twice changes nothing, the content libxml2 sees is unchanged,
// and preserved elements survive byte for byte.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FormatterTestSupport.hpp"

namespace xylem {

namespace {

using test::ContentOf;
using test::FormatXML;

constexpr uint32_t kVerbatim = 8;

const std::vector<std::string>& Documents() {
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

// Formatting twice changes nothing and libxml2 sees the same content, for every formatting
// set in [First, Last) combined with every layout set.
void CheckIdempotentAndContentKeeping(uint32_t First, uint32_t Last) {
  for (const std::string& doc : Documents()) {
    std::string error;
    const std::string content = ContentOf(doc, &error);
    ASSERT_TRUE(error.empty()) << error << "\n" << doc;
    for (uint32_t formatting = First; formatting < Last; ++formatting) {
      for (uint32_t layout = 0; layout < 32; ++layout) {
        const std::string once = FormatXML(doc, formatting, layout);
        const std::string twice = FormatXML(once, formatting, layout);
        ASSERT_EQ(twice, once) << "options " << formatting << "/" << layout << "\n" << doc;
        ASSERT_EQ(ContentOf(once), content)
            << "options " << formatting << "/" << layout << "\n" << doc << "\n---\n" << once;
      }
    }
  }
}

}  // namespace

// Split in two by xfoRemoveWhitespaceOnlyLines to keep each test short under the sanitizers.
TEST(FormatterInvariant, KeepsContentAndIsIdempotentKeepingBlankLines) {
  CheckIdempotentAndContentKeeping(0, 16);
}

TEST(FormatterInvariant, KeepsContentAndIsIdempotentRemovingBlankLines) {
  CheckIdempotentAndContentKeeping(16, 32);
}

TEST(FormatterInvariant, PreservedElementsSurviveByteForByte) {
  for (const std::string& source : Documents()) {
    std::string doc;  // line ends as the writer writes them
    for (size_t i = 0; i < source.size(); ++i)
      if (!(source[i] == '\r' && i + 1 < source.size() && source[i + 1] == '\n')) doc += source[i];
    std::vector<std::string> preserved;  // outermost <pre> elements
    for (size_t at = doc.find("<pre>"); at != std::string::npos; at = doc.find("<pre>", at)) {
      size_t end = at + 5;
      for (int depth = 1; depth > 0;) {
        const size_t open = doc.find("<pre>", end), close = doc.find("</pre>", end);
        depth += open < close ? 1 : -1;
        end = (open < close ? open : close) + (open < close ? 5 : 6);
      }
      preserved.push_back(doc.substr(at, end - at));
      at = end;
    }
    for (uint32_t formatting = 0; formatting < 32; ++formatting) {
      for (uint32_t layout = kVerbatim; layout < 32; layout = (layout + 1) | kVerbatim) {
        const std::string out = FormatXML(doc, formatting, layout);
        for (const std::string& p : preserved)
          EXPECT_NE(out.find(p), std::string::npos)
              << p << "\noptions " << formatting << "/" << layout << "\n" << out;
      }
    }
  }
}

}  // namespace xylem
