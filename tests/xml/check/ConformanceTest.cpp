// XML 1.0 well-formedness rule by rule: a few documents written for each rule, every verdict
// compared with libxml2's (external entities and network off) and with the expected one, and
// the first error's position asserted where libxml2 gives no column.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "common/Utf.hpp"
#include "support/CheckerTestAnnotations.hpp"
#include "support/WellFormedTestSupport.hpp"
#include "xml/check/WellFormed.hpp"

namespace xylem {
namespace {

struct TyRuleRow {
  const char* Rule;
  const char* Document;
  bool WellFormed;
  // libxml2 2.9 accepts what XML 1.0 refuses here (later versions refuse it too).
  bool LibXml2Lenient = false;
};

// clang-format off
const TyRuleRow kRows[] = {
    {"line break between attributes", "<doc a=\"1\"\nb=\"2\"/>", true},
    {"line break between attributes", "<doc a=\"1\"\r\nb=\"2\"/>", true},
    {"line break between attributes", "<doc a=\"1\"\rb=\"2\"/>", true},
    {"line break between attributes", "<doc\n a='1'\n\n b='2'\n/>", true},
    {"line break between attributes", "<doc a=\"1\"b=\"2\"/>", false},
    {"attribute names", "<doc a1=\"v1\" \"v2\"/>", false},
    {"attribute names", "<doc \"v2\"/>", false},
    {"attribute names", "<doc a='1' ='2'/>", false},
    {"attribute names", "<doc a.b-c_d:e='1'/>", true},
    {"attribute names", "<doc -a='1'/>", false},
    {"root element", "", false},
    {"root element", "  \n\t\n", false},
    {"root element", "<?xml version=\"1.0\"?>", false},
    {"root element", "<?xml version=\"1.0\"?>\n<!-- c -->\n<?pi x?>\n", false},
    {"root element", "<!DOCTYPE r>", false},
    {"processing instructions", "<r><?xml-stylesheet \"?></r>", true},
    {"processing instructions", "<r><?xml-stylesheet href='a' <x> ?></r>", true},
    {"processing instructions", "<r><?xml-model '?></r>", true},
    {"processing instructions", "<r><?pi a > b ?></r>", true},
    {"processing instructions", "<r><?xml-stylesheet \"?></r", false},
    {"processing instructions", "<r><?pi\x01?></r>", false},
    {"forbidden characters", "<!-- \x02 --><r/>", false},
    {"forbidden characters", "<!DOCTYPE r [<!-- \x0C -->]><r/>", false},
    {"forbidden characters", "<!DOCTYPE r [<!ENTITY e \"\x1F\">]><r/>", false},
    {"forbidden characters", "<r>\xEF\xBF\xBF</r>", false},
    {"XML declaration", "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?><r/>", true},
    {"XML declaration", "<?xml version='1.0'?><r/>", true},
    {"XML declaration", "<?xml version=\"1.1\"?><r/>", true},
    {"XML declaration", "<?xml VERSION=\"1.0\"?><r/>", false},
    {"XML declaration", "<?xml encoding=\"UTF-8\"?><r/>", false},
    {"XML declaration", "<?xml version=\"1.0\" standalone=\"YES\"?><r/>", false},
    {"XML declaration", "<?xml version=\"1.0\" encoding=\".UTF-8\"?><r/>", false},
    {"XML declaration", "<?xml version=\"1.0\" standalone=\"yes\" encoding=\"UTF-8\"?><r/>", false},
    {"XML declaration", "<?xml version=\"2.0\"?><r/>", false},
    {"XML declaration", "<?xml version=\"1.\"?><r/>", false, true},
    {"XML declaration", "<?xml version=\"1.0\"encoding=\"UTF-8\"?><r/>", false},
    {"XML declaration", "<?xml?><r/>", false},
    {"XML declaration", "\n<?xml version=\"1.0\"?><r/>", false},
    {"document type declaration", "<!DOCTYPE r SYSTEM 'r.dtd'><r/>", true},
    {"document type declaration", "<!DOCTYPE r PUBLIC '-//A//B' 'r.dtd' [ ]><r/>", true},
    {"document type declaration", "<!doctype r><r/>", false},
    {"document type declaration", "<!DOCTYPEr><r/>", false, true},
    {"document type declaration", "<!DOCTYPE r SYSTEM><r/>", false},
    {"document type declaration", "<!DOCTYPE r PUBLIC 'a{b}' 'r.dtd'><r/>", false},
    {"document type declaration", "<!DOCTYPE r PUBLIC '-//A//B'><r/>", false},
    {"document type declaration", "<!DOCTYPE r [ ] x><r/>", false},
    {"element declarations", "<!DOCTYPE r [<!ELEMENT r EMPTY><!ELEMENT a ANY>]><r/>", true},
    {"element declarations", "<!DOCTYPE r [<!ELEMENT r (#PCDATA|a|b)*><!ELEMENT a (#PCDATA)><!ELEMENT b ( #PCDATA )*>]><r/>", true},
    {"element declarations", "<!DOCTYPE r [<!ELEMENT r ((a,b)?|(c+,d*))+>]><r/>", true},
    {"element declarations", "<!DOCTYPE r [<!ELEMENT r (#PCDATA|a)>]><r/>", false},
    {"element declarations", "<!DOCTYPE r [<!ELEMENT r (a,b|c)>]><r/>", false},
    {"element declarations", "<!DOCTYPE r [<!ELEMENT r (a|#PCDATA)*>]><r/>", false},
    {"element declarations", "<!DOCTYPE r [<!ELEMENT r empty>]><r/>", false},
    {"element declarations", "<!DOCTYPE r [<!ELEMENT r()>]><r/>", false},
    {"element declarations", "<!DOCTYPE r [<!ELEMENT r (a)>]><r/>", true},
    {"element declarations", "<!DOCTYPE r [<!ELEMENTr ANY>]><r/>", false},
    {"attribute-list declarations", "<!DOCTYPE r [<!ATTLIST r a CDATA #IMPLIED b ID #REQUIRED c IDREF #IMPLIED d IDREFS #IMPLIED e ENTITY #IMPLIED f ENTITIES #IMPLIED g NMTOKEN #IMPLIED h NMTOKENS #IMPLIED>]><r b='x'/>", true},
    {"attribute-list declarations", "<!DOCTYPE r [<!NOTATION n SYSTEM 'n'><!ATTLIST r a NOTATION (n) #IMPLIED b (x|1|-y) 'x' c CDATA #FIXED \"v&amp;&#65;\">]><r/>", true},
    {"attribute-list declarations", "<!DOCTYPE r [<!ATTLIST r a CDATA '<'>]><r/>", false},
    {"attribute-list declarations", "<!DOCTYPE r [<!ATTLIST r a cdata #IMPLIED>]><r/>", false},
    {"attribute-list declarations", "<!DOCTYPE r [<!ATTLIST r a CDATA #FIXED>]><r/>", false},
    {"attribute-list declarations", "<!DOCTYPE r [<!ATTLIST r a (x y) 'x'>]><r/>", false},
    {"attribute-list declarations", "<!DOCTYPE r [<!ATTLIST r a CDATA #DEFAULT 'x'>]><r/>", false},
    {"attribute-list declarations", "<!DOCTYPE r [<!ATTLIST r a CDATA 'x'b CDATA 'y'>]><r/>", false},
    {"attribute-list declarations", "<!DOCTYPE r [<!ATTLIST r a CDATA '&e;'><!ENTITY e 'x'>]><r/>", false},
    {"attribute-list declarations", "<!DOCTYPE r [<!ENTITY e '&lt;'><!ATTLIST r a CDATA '&e;'>]><r/>", true},
    {"attribute-list declarations", "<!DOCTYPE r [<!ENTITY e '&#60;'><!ATTLIST r a CDATA '&e;'>]><r/>", false},
    {"entity declarations", "<!DOCTYPE r [<!ENTITY e 'a&#38;b&amp;&f;'><!ENTITY f \"x\"><!ENTITY % p 'y'><!ENTITY g SYSTEM 'g.xml'><!ENTITY h PUBLIC '-//A//B' 'h.xml'><!ENTITY i SYSTEM 'i.gif' NDATA gif><!NOTATION gif SYSTEM 'gif'>]><r/>", true},
    {"entity declarations", "<!DOCTYPE r [<!ENTITY e 'a&b'>]><r/>", false},
    {"entity declarations", "<!DOCTYPE r [<!ENTITY e 'a%p;'>]><r/>", false},
    {"entity declarations", "<!DOCTYPE r [<!ENTITY % p SYSTEM 'p' NDATA n>]><r/>", false},
    {"entity declarations", "<!DOCTYPE r [<!ENTITY e SYSTEM>]><r/>", false},
    {"entity declarations", "<!DOCTYPE r [<!ENTITY e 'x' NDATA n>]><r/>", false},
    {"entity declarations", "<!DOCTYPE r [<!ENTITY e PUBLIC 'a\\b' 'e'>]><r/>", false},
    {"entity declarations", "<!DOCTYPE r [<!ENTITY e system 'e'>]><r/>", false},
    {"entity declarations", "<!DOCTYPE r [<!ENTITY e 'x'>\n<!ENTITY e 'y'>]><r>&e;</r>", true},
    {"entity declarations", "<!DOCTYPE r [<!ENTITY e '&#0;'>]><r/>", false},
    {"entity declarations", "<!DOCTYPE r [<!ENTITY  % p 'x'><!ENTITY %p 'x'>]><r/>", false},
    {"notation declarations", "<!DOCTYPE r [<!NOTATION a SYSTEM 'a'><!NOTATION b PUBLIC 'b'><!NOTATION c PUBLIC 'c' 'c'>]><r/>", true},
    {"notation declarations", "<!DOCTYPE r [<!NOTATION a>]><r/>", false},
    {"notation declarations", "<!DOCTYPE r [<!NOTATION a SYSTEM>]><r/>", false},
    {"comments and PIs in the subset", "<!DOCTYPE r [<!-- c --><?pi x?>]><r/>", true},
    {"comments and PIs in the subset", "<!DOCTYPE r [<?pi ]> ?><!-- ]> -->]><r/>", true},
    {"comments and PIs in the subset", "<!DOCTYPE r [<!ENTITY e \"]>\"><!ATTLIST r a CDATA ']>'>]><r>&e;</r>", true},
    {"comments and PIs in the subset", "<!DOCTYPE r [<!-- a -- b -->]><r/>", false},
    {"comments and PIs in the subset", "<!DOCTYPE r [<?xml version='1.0'?>]><r/>", false},
    {"comments and PIs in the subset", "<!DOCTYPE r [<!-- c ]><r/>", false},
    {"comments and PIs in the subset", "<!DOCTYPE r [ junk ]><r/>", false},
    {"parameter-entity references", "<!DOCTYPE r [<!ENTITY % p '<!ENTITY e \"x\">'> %p; ]><r>&e;</r>", true},
    {"parameter-entity references", "<!DOCTYPE r [<!ENTITY % p '<!ELEMENT'> %p; ]><r/>", false},
    {"parameter-entity references", "<!DOCTYPE r [%q;]><r/>", false},
    {"parameter-entity references", "<!DOCTYPE r [<!ENTITY % p 'x'><!ELEMENT r %p;>]><r/>", false},
    {"parameter-entity references", "<!DOCTYPE r SYSTEM 'r.dtd' [%q;]><r>&e;</r>", true},
    {"parameter-entity references", "<!DOCTYPE r [<!ENTITY % p SYSTEM 'p.ent'>]><r/>", true},
    {"conditional sections", "<!DOCTYPE r [<![INCLUDE[<!ELEMENT r ANY>]]>]><r/>", false},
    {"conditional sections", "<!DOCTYPE r [<![IGNORE[]]>]><r/>", false},
    {"undeclared entities", "<r>&e;</r>", false},
    {"undeclared entities", "<!DOCTYPE r [<!ENTITY f 'x'>]><r a='&e;'/>", false},
    {"undeclared entities", "<!DOCTYPE r SYSTEM 'r.dtd'><r>&e;</r>", true},
    {"undeclared entities", "<?xml version='1.0' standalone='yes'?><!DOCTYPE r SYSTEM 'r.dtd'><r>&e;</r>", false},
    {"undeclared entities", "<!DOCTYPE r [<!ENTITY e '&f;'>]><r>&e;</r>", false},
    {"undeclared entities", "<!DOCTYPE r [<!ENTITY e '&f;'>]><r/>", true},
    {"recursion", "<!DOCTYPE r [<!ENTITY a '&b;'><!ENTITY b '&a;'>]><r>&a;</r>", false},
    {"recursion", "<!DOCTYPE r [<!ENTITY a '&a;'>]><r a='&a;'/>", false},
    {"recursion", "<!DOCTYPE r [<!ENTITY a '&b;&b;'><!ENTITY b 'x'>]><r>&a;&b;&a;</r>", true},
    {"recursion", "<!DOCTYPE r [<!ENTITY a '&b;'><!ENTITY b '&a;'>]><r/>", true},
    {"recursion", "<!DOCTYPE r [<!ENTITY a '&b;'><!ENTITY b '&a;'><!ATTLIST r x CDATA '&a;'>]><r/>", false},
    {"unparsed entities", "<!DOCTYPE r [<!NOTATION n SYSTEM 'n'><!ENTITY u SYSTEM 'u' NDATA n>]><r>&u;</r>", false},
    {"unparsed entities", "<!DOCTYPE r [<!NOTATION n SYSTEM 'n'><!ENTITY u SYSTEM 'u' NDATA n>]><r a='&u;'/>", false},
    {"unparsed entities", "<!DOCTYPE r [<!NOTATION n SYSTEM 'n'><!ENTITY u SYSTEM 'u' NDATA n><!ATTLIST r a ENTITY #IMPLIED>]><r a='u'/>", true},
    {"external entities", "<!DOCTYPE r [<!ENTITY x SYSTEM 'x.xml'>]><r>&x;</r>", true},
    {"external entities", "<!DOCTYPE r [<!ENTITY x SYSTEM 'x.xml'>]><r a='&x;'/>", false},
    {"'<' through entities in attribute values", "<!DOCTYPE r [<!ENTITY e '&#60;'>]><r a='&e;'/>", false},
    {"'<' through entities in attribute values", "<!DOCTYPE r [<!ENTITY e '&#38;#60;'>]><r a='&e;'/>", true},
    {"'<' through entities in attribute values", "<!DOCTYPE r [<!ENTITY e '&f;'><!ENTITY f '<b/>'>]><r a='&e;'/>", false},
    {"'<' through entities in attribute values", "<!DOCTYPE r [<!ENTITY e '<b/>'>]><r>&e;</r>", true},
    {"balanced replacement text", "<!DOCTYPE foo [<!ENTITY e '</foo><foo>'>]><foo>&e;</foo>", false},
    {"balanced replacement text", "<!DOCTYPE r [<!ENTITY e '<a>'>]><r>&e;</r>", false},
    {"balanced replacement text", "<!DOCTYPE r [<!ENTITY e '<a>x</a><!--c--><?p?><![CDATA[<]]>&amp;'>]><r>&e;</r>", true},
    {"balanced replacement text", "<!DOCTYPE r [<!ENTITY e '<a b=\"1\" b=\"2\"/>'>]><r>&e;</r>", false},
    {"balanced replacement text", "<!DOCTYPE r [<!ENTITY e ']]>'>]><r>&e;</r>", false},
    {"balanced replacement text", "<!DOCTYPE r [<!ENTITY e ']]&gt;'>]><r>&e;</r>", true},
    {"balanced replacement text", "<!DOCTYPE r [<!ENTITY b 'text ]]>'>]><r at='&b;'>&b;</r>", false, true},
    {"balanced replacement text", "<!DOCTYPE r [<!ENTITY e '<a>'><!ENTITY f '&e;</a>'>]><r>&f;</r>", false},
    {"character references", "<r>&#x9;&#xA;&#xD;&#x20;&#xD7FF;&#xE000;&#xFFFD;&#x10000;</r>", true},
    {"character references", "<r a='&#x1;'/>", false},
    {"character references", "<r>&#xDFFF;</r>", false},
    {"character references", "<!DOCTYPE r [<!ATTLIST r a CDATA '&#xFFFF;'>]><r/>", false},
    {"character references", "<!DOCTYPE r [<!ENTITY e '&#xFFFE;'>]><r/>", false},
    {"predefined entities", "<!DOCTYPE r [<!ENTITY lt '&#38;#60;'><!ENTITY amp '&#38;#38;'><!ENTITY gt '>'><!ENTITY quot '&#34;'><!ENTITY apos \"'\">]><r>&lt;&amp;&gt;</r>", true},
    {"predefined entities", "<!DOCTYPE r [<!ENTITY lt '<'>]><r/>", false, true},
    {"predefined entities", "<!DOCTYPE r [<!ENTITY gt 'x'>]><r/>", false, true},
    {"predefined entities", "<!DOCTYPE r [<!ENTITY amp SYSTEM 'a'>]><r/>", false, true},
};
// clang-format on

TEST(ConformanceTest, EveryRuleAgreesWithLibXml2) {
  std::map<std::string, int> perRule;
  for (const TyRuleRow& row : kRows) {
    SCOPED_TRACE(std::string(row.Rule) + ": " + row.Document);
    const test::TyLibXml2Verdict libxml = test::LibXml2Verdict(row.Document);
    if (!row.LibXml2Lenient) {
      EXPECT_EQ(libxml.WellFormed, row.WellFormed) << "libxml2";
    }
    auto list = test::LinesWithStates(row.Document);
    const IyXMLErrsPtr errs = CyXMLWellFormed::Check_NOT_PARALLEL(*list);
    std::string shown;
    for (int32_t i = 0; i < errs->getCount(); ++i)
      shown += std::to_string(errs->getXMLErr(i)->getLocation()->getLine()) + ":" +
               std::to_string(errs->getXMLErr(i)->getLocation()->getLinepos()) + " " +
               ToUTF8(errs->getXMLErr(i)->getReason()) + "\n";
    EXPECT_EQ(errs->getCount() == 0, row.WellFormed) << shown;
    // The verdict does not depend on where the pieces are cut.
    EXPECT_EQ(CyXMLWellFormed::Check_PARALLEL(*list, 3)->getCount(), errs->getCount());
    ++perRule[row.Rule];
  }
  for (const auto& [rule, count] : perRule) {
    EXPECT_GE(count, 2) << rule;
    std::printf("%-44s %d documents\n", rule.c_str(), count);
  }
}

// The first error of each document is where '^' marks it, with this message.
TEST(ConformanceTest, FirstErrorPositions) {
  const struct {
    std::u16string_view Marked;
    std::string Message;
  } cases[] = {
      {u"<?xml ^VERSION=\"1.0\"?><r/>", "Expected \"version\"."},
      {u"<?xml ^encoding=\"UTF-8\"?><r/>", "Expected \"version\"."},
      {u"<?xml version=\"1.0\"\n  standalone=^\"YES\"?><r/>",
       "The standalone value must be \"yes\" or \"no\"."},
      {u"<?xml version=\"1.0\" encoding=^\".UTF-8\"?><r/>", "The encoding value is invalid."},
      {u"<?xml version=\"1.0\" standalone=\"no\" ^encoding=\"UTF-8\"?><r/>", "Expected \"?>\"."},
      {u"<!DOCTYPE r [\n<!ELEMENT r (a,b^|c)>\n]><r/>",
       "',' and '|' may not be mixed in one group of a content model."},
      {u"<!DOCTYPE r [\n<!ELEMENT r (#PCDATA|a)^>]><r/>",
       "A mixed content model with element names must end with ')*'."},
      {u"<!DOCTYPE r [\n  ^<![INCLUDE[]]>\n]><r/>",
       "Conditional sections are not allowed in the internal subset."},
      {u"<!DOCTYPE r [<!ENTITY e 'x'>\n<!ATTLIST r a CDATA '^<'>]><r/>",
       "A default value must not contain '<'."},
      {u"<!DOCTYPE r [<!ENTITY e 'a^%p;'>]><r/>",
       "Parameter-entity references are not allowed inside declarations of the internal subset."},
      {u"<!DOCTYPE r [<!ENTITY a '&b;'><!ENTITY b '&a;'>]>\n<r>\n  ^&a;</r>",
       "Entity 'a' refers to itself."},
      {u"<!DOCTYPE foo [<!ENTITY e '</foo><foo>'>]>\n<foo>^&e;</foo>",
       "The replacement text of entity 'e' is not well-formed content."},
      {u"<!DOCTYPE r [<!ENTITY e '&#60;'>]>\n<r a='x^&e;'/>",
       "Entity 'e' expands to '<', which an attribute value must not contain."},
      {u"<?xml version='1.0' standalone='yes'?>\n<!DOCTYPE r SYSTEM 'r.dtd'>\n<r>^&e;</r>",
       "Entity 'e' is not declared."},
      {u"<doc a1=\"v1\" ^\"v2\"/>", "An attribute name is expected before the value."},
      {u"<?xml version=\"1.0\"?>\n<!-- prolog only -->^", "The document has no root element."},
  };
  for (const auto& c : cases) {
    const test::TyAnnotated doc = test::Annotate(c.Marked);
    SCOPED_TRACE(ToUTF8(doc.Text));
    ASSERT_EQ(doc.Points.size(), 1u);
    EXPECT_FALSE(test::LibXml2Verdict(ToUTF8(doc.Text)).WellFormed);
    auto list = test::LinesWithStates(ToUTF8(doc.Text));
    const IyXMLErrsPtr errs = CyXMLWellFormed::Check_NOT_PARALLEL(*list);
    ASSERT_GE(errs->getCount(), 1);
    const IyXMLErr& first = *errs->getXMLErr(0);
    EXPECT_EQ(ToUTF8(first.getReason()), c.Message);
    EXPECT_EQ(first.getLocation()->getLine(), doc.Points[0].first);
    EXPECT_EQ(first.getLocation()->getLinepos(), doc.Points[0].second);
  }
}

// A billion laughs: reported at the reference, judged without expanding anything.
TEST(ConformanceTest, EntityExpansionIsBounded) {
  std::string doc = "<!DOCTYPE r [\n<!ENTITY l0 'ha'>\n";
  for (int i = 1; i <= 30; ++i)
    doc += "<!ENTITY l" + std::to_string(i) + " '&l" + std::to_string(i - 1) + ";&l" +
           std::to_string(i - 1) + ";'>\n";
  auto list = test::LinesWithStates(doc + "]>\n<r>&l30;</r>");
  const IyXMLErrsPtr errs = CyXMLWellFormed::Check_NOT_PARALLEL(*list);
  ASSERT_EQ(errs->getCount(), 1);
  EXPECT_EQ(errs->getXMLErr(0)->getLocation()->getLine(), 34);
  EXPECT_EQ(ToUTF8(errs->getXMLErr(0)->getReason()),
            "Entity 'l23' expands to more than 10000000 characters.");
  // Below the bound the same chain is fine.
  auto small = test::LinesWithStates(doc + "]>\n<r>&l20;</r>");
  EXPECT_EQ(CyXMLWellFormed::Check_NOT_PARALLEL(*small)->getCount(), 0);
}

// Long chains of entities, each referring to the next, are judged without deep recursion:
// beyond 40 levels they are refused (libxml2 refuses even shallower ones); short ones pass.
std::string EntityChain(int Length, bool Parameter, bool InAttribute) {
  std::string doc =
      Parameter ? "<!DOCTYPE r [\n<!ENTITY % e0 ''>\n" : "<!DOCTYPE r [\n<!ENTITY e0 'x'>\n";
  for (int i = 1; i < Length; ++i) {
    const std::string name = "e" + std::to_string(i), previous = "e" + std::to_string(i - 1);
    // A parameter entity's text refers to the previous one between declarations.
    doc += Parameter ? "<!ENTITY % " + name + " '&#37;" + previous + ";'>\n"
                     : "<!ENTITY " + name + " '&" + previous + ";'>\n";
  }
  const std::string last = "e" + std::to_string(Length - 1);
  if (Parameter) return doc + "%" + last + ";\n]>\n<r/>";
  return doc + (InAttribute ? "]>\n<r a='&" + last + ";'/>" : "]>\n<r>&" + last + ";</r>");
}

TEST(ConformanceTest, EntityNestingIsBounded) {
  for (const int length : {8, 100000}) {
    for (const int kind : {0, 1, 2}) {
      const std::string doc = EntityChain(length, kind == 2, kind == 1);
      SCOPED_TRACE(std::to_string(length) + " levels, kind " + std::to_string(kind));
      const bool wellFormed = length < 40;
      if (length < 1000) {
        EXPECT_EQ(test::LibXml2Verdict(doc).WellFormed, wellFormed);
      }
      auto list = test::LinesWithStates(doc);
      EXPECT_EQ(CyXMLWellFormed::Check_NOT_PARALLEL(*list)->getCount() == 0, wellFormed);
    }
  }
}

}  // namespace
}  // namespace xylem
