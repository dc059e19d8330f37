#include "xml/syntax/Names.hpp"

#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <string>

#include "common/Utf.hpp"

namespace xylem {

namespace {

std::string UTF8Of(char32_t c) {
  std::u16string s;
  if (c >= 0x10000) {
    s.push_back(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
    s.push_back(static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
  } else {
    s.push_back(static_cast<char16_t>(c));
  }
  return ToUTF8(s);
}

bool Libxml2Accepts(const std::string& document) {
  xmlParserCtxtPtr ctxt = xmlNewParserCtxt();
  xmlDocPtr doc = xmlCtxtReadMemory(ctxt, document.data(), static_cast<int>(document.size()),
                                    nullptr, "UTF-8", XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
  const bool ok = doc != nullptr && ctxt->wellFormed;
  xmlFreeDoc(doc);
  xmlFreeParserCtxt(ctxt);
  return ok;
}

}  // namespace

TEST(Names, NameTestsFollowTheProductions) {
  struct Row {
    std::u16string Text;
    bool Name, NCName;
  };
  const Row rows[] = {
      {u"", false, false},
      {u"a:b", true, false},
      {u"a", true, true},
      {u"_x-1.2", true, true},
      {u"-a", false, false},
      {u"1a", false, false},
      {u".a", false, false},
      {u":", true, false},
      {u"a b", false, false},
      {u"\u00B7a", false, false},
      {u"a\u00B7", true, true},
      {u"\u0300", false, false},
      {u"x\u0300\u203F", true, true},
      {u"\u00D7", false, false},
      {u"\u00C0\u00F7", false, false},
      {u"\U00010000", true, true},
      {u"a\U000EFFFF", true, true},
      {u"\U000F0000", false, false},
      {u"\xD800", false, false},
      {u"a\xDC00", false, false},
      {u"\u3001", true, true},
      {u"\uFFFE", false, false},
      {u"\u037E", false, false},
      {u"\u200C\u200D", true, true},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(CyXMLNames::IsName(row.Text), row.Name) << ToUTF8(row.Text);
    EXPECT_EQ(CyXMLNames::IsNCName(row.Text), row.NCName) << ToUTF8(row.Text);
    EXPECT_EQ(CyXMLNames::IsPrefix(row.Text), row.NCName) << ToUTF8(row.Text);
  }
  // The per-unit tests agree with the string tests on single BMP characters.
  for (char32_t c = 0; c < 0x10000; ++c) {
    if (c >= 0xD800 && c <= 0xDFFF) continue;
    const std::u16string one(1, static_cast<char16_t>(c));
    const std::u16string second = u"a" + one;
    ASSERT_EQ(CyXMLNames::IsName_Char(1, static_cast<char16_t>(c)), CyXMLNames::IsName(one))
        << static_cast<uint32_t>(c);
    ASSERT_EQ(CyXMLNames::IsName_Char(2, static_cast<char16_t>(c)), CyXMLNames::IsName(second));
    ASSERT_EQ(CyXMLNames::IsNCName_Char(2, static_cast<char16_t>(c)), CyXMLNames::IsNCName(second));
    ASSERT_EQ(CyXMLNames::IsPrefix_Char(1, static_cast<char16_t>(c)), CyXMLNames::IsPrefix(one));
  }
  EXPECT_TRUE(CyXMLNames::IsName_Char(1, 0xD800));   // leads to U+10000
  EXPECT_FALSE(CyXMLNames::IsName_Char(1, 0xDB80));  // leads to U+F0000
}

// Differential: libxml2 (fifth-edition name rules) accepts <X/> exactly when X is a start
// character and <aX/> exactly when X is a name character. Non-ASCII only, where no character
// is markup; every range boundary and a spread of other code points.
TEST(Names, AgreesWithLibxml2OnNonASCIICharacters) {
  std::vector<char32_t> probes;
  auto around = [&](char32_t c) {
    for (char32_t d = c > 0x81 ? c - 1 : 0x80; d <= c + 1; ++d) probes.push_back(d);
  };
  for (const auto& r : CyXML105thCharacterSets::NameStartChar()) {
    around(r.First);
    around(r.Last);
  }
  for (const auto& r : CyXML105thCharacterSets::NameCharExtra()) {
    around(r.First);
    around(r.Last);
  }
  for (char32_t c = 0x80; c < 0x30000; c += 251) probes.push_back(c);
  for (char32_t c : {0xEFFFFu, 0xF0000u, 0x10FFFFu}) probes.push_back(c);
  for (char32_t c : probes) {
    if (c < 0x80 || (c >= 0xD800 && c <= 0xDFFF) || c > 0x10FFFF) continue;
    const std::string x = UTF8Of(c);
    EXPECT_EQ(CyXML105th::IsNameStartChar(c), Libxml2Accepts("<" + x + "/>"))
        << std::hex << static_cast<uint32_t>(c);
    EXPECT_EQ(CyXML105th::IsNameChar(c), Libxml2Accepts("<a" + x + "/>"))
        << std::hex << static_cast<uint32_t>(c);
  }
}

}  // namespace xylem
