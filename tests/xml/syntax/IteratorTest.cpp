#include "xml/syntax/Iterator.hpp"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include "common/Utf.hpp"

namespace xylem {

namespace {

std::string Describe(const TyXMLNode& n) {
  switch (n.Kind) {
    case TyXMLNodeKind::xnkStartTag: {
      std::string s = "<" + ToUTF8(n.Name);
      for (const TyXMLAttribute& a : n.Attributes)
        s += " " + ToUTF8(a.Name) + "=" + ToUTF8(a.RawValue);
      return s + (n.IsEmptyElement ? "/>" : ">") + std::to_string(n.Depth);
    }
    case TyXMLNodeKind::xnkEndTag:
      return "</" + ToUTF8(n.Name) + ">" + std::to_string(n.Depth);
    case TyXMLNodeKind::xnkText:
      return "'" + ToUTF8(n.Text) + "'";
    default:
      return "?";
  }
}

std::vector<std::string> Nodes(const std::u16string& text) {
  CyXMLIterator it(text.c_str());
  std::vector<std::string> out;
  for (bool more = it.Parse(); more; more = it.Next()) out.push_back(Describe(it.getCurrentNode()));
  EXPECT_TRUE(it.getIsDone());
  return out;
}

}  // namespace

TEST(Iterator, DeliversStartTagsEndTagsAndTextInOrder) {
  const std::u16string doc =
      u"\uFEFF<?xml version='1.0'?>\n<!DOCTYPE r [<!ENTITY e 'v'>]>\n<!-- c -->"
      u"<r a='1' b=\"x&amp;y\"><x:e/>t &e; <![CDATA[<c>]]>u<?pi?><s>\n</s></r>";
  const std::vector<std::string> expected = {
      "'\n'",  "'\n'", "<r a=1 b=x&amp;y>0", "<x:e/>1", "'t &e; <![CDATA[<c>]]>u'", "<s>1", "'\n'",
      "</s>1", "</r>0"};
  EXPECT_EQ(Nodes(doc), expected);
  // Broken markup still yields nodes: the tag cut off by '<' ends there.
  EXPECT_EQ(Nodes(u"<a b='1' <c/></a"), (std::vector<std::string>{"<a b=1>0", "<c/>1", "</a>0"}));
  EXPECT_EQ(Nodes(u""), std::vector<std::string>{});

  CyXMLIterator it(doc.c_str());
  ASSERT_TRUE(it.Parse());
  EXPECT_TRUE(it.getDataStartsWithXMLBracket());
  EXPECT_EQ(it.getDataStartsAtLine(), 3);
  EXPECT_TRUE(it.SkipWhitespaceAndCheckFirstNode(u"r"));
  EXPECT_EQ(it.getCurrentLine(), 3);
  EXPECT_EQ(it.getCurrentLinepos(), 11);
  EXPECT_FALSE(CyXMLIterator(u"  text<a/>").getDataStartsWithXMLBracket());
}

TEST(Iterator, SkipsWholeElements) {
  const std::u16string doc = u"<r><a><a><b/></a>x</a><c/><a/><d/></r>";
  CyXMLIterator it(doc.c_str());
  ASSERT_TRUE(it.Parse());
  ASSERT_TRUE(it.Next());  // <a>
  ASSERT_TRUE(it.Skip());
  EXPECT_EQ(Describe(it.getCurrentNode()), "<c/>1");
  ASSERT_TRUE(it.Skip());  // an empty element: just the next node
  EXPECT_EQ(Describe(it.getCurrentNode()), "<a/>1");
  ASSERT_TRUE(it.Next());
  ASSERT_TRUE(it.Next());
  EXPECT_EQ(Describe(it.getCurrentNode()), "</r>0");
  ASSERT_TRUE(it.Parse());
  EXPECT_FALSE(it.Skip());  // the root with everything in it
  EXPECT_TRUE(it.getIsDone());
}

TEST(Iterator, AnswersAttributeQuestionsWithNamespacesAndLocations) {
  const std::u16string doc =
      u"<r xmlns='urn:d' xmlns:p='urn:p'>\n"
      u"  <p:e p:a='1' a='2'\r\n"
      u"       xmlns:q='urn:q' q:b=\"&lt;3\"/>\n"
      u"  <f q:b='4' p:a='5'/>\n"
      u"</r>";
  CyXMLIterator it(doc.c_str());
  ASSERT_TRUE(it.Parse());
  EXPECT_EQ(it.CreateXMLPrefixMappings(), (std::vector<std::pair<std::u16string, std::u16string>>{
                                              {u"", u"urn:d"}, {u"p", u"urn:p"}}));
  ASSERT_TRUE(it.Next());
  ASSERT_TRUE(it.Next());
  ASSERT_EQ(it.getCurrentNode().Name, u"p:e");
  int index = 0;
  EXPECT_TRUE(it.FindAttribute(u"a", index));
  EXPECT_EQ(index, 1);
  EXPECT_TRUE(it.FindAttribute(u"urn:p", u"a", index));
  EXPECT_EQ(index, 0);
  EXPECT_TRUE(it.FindAttribute(u"", u"a", index));  // unprefixed: no namespace
  EXPECT_EQ(index, 1);
  EXPECT_FALSE(it.FindAttribute(u"urn:d", u"a"));  // the default namespace is not for attributes
  EXPECT_TRUE(it.FindAttribute(u"urn:q", u"b"));   // bound on the same tag
  EXPECT_TRUE(it.FindAttribute(u"http://www.w3.org/2000/xmlns/", u"q"));
  EXPECT_TRUE(it.FindAttributeWithValue(u"q:b", u"<3", index));
  EXPECT_EQ(index, 3);
  EXPECT_FALSE(it.FindAttributeWithValue(u"q:b", u"&lt;3"));
  EXPECT_TRUE(it.FindAttributeWithValue(u"urn:p", u"a", u"1"));
  EXPECT_FALSE(it.FindAttributeWithValue(u"urn:p", u"a", u"2", index));
  EXPECT_EQ(index, -1);
  const std::u16string_view names[] = {u"q:b", u"zz", u"p:a"};
  EXPECT_EQ(it.FindAttributes(names), (std::vector<int>{3, -1, 0}));
  EXPECT_EQ(it.GetAttributeValue(u"a"), u"2");
  EXPECT_EQ(it.GetAttributeValue(7), u"");

  struct Row {
    const char16_t* Name;
    int64_t NameLine, NamePos, ValueLine, ValuePos;
  };
  const Row rows[] = {{u"p:a", 2, 8, 2, 13}, {u"a", 2, 16, 2, 19}, {u"q:b", 3, 24, 3, 29}};
  for (const Row& row : rows) {
    int64_t line = 0, pos = 0;
    ASSERT_TRUE(it.GetAttributeNameLocation(row.Name, line, pos));
    EXPECT_EQ(std::make_pair(line, pos), std::make_pair(row.NameLine, row.NamePos));
    ASSERT_TRUE(it.GetAttributeValueLocation(row.Name, line, pos));
    EXPECT_EQ(std::make_pair(line, pos), std::make_pair(row.ValueLine, row.ValuePos));
  }
  int64_t line, pos;
  EXPECT_FALSE(it.GetAttributeNameLocation(u"none", line, pos));

  // The sibling no longer sees q; p is still in scope.
  ASSERT_TRUE(it.Next());
  ASSERT_TRUE(it.Next());
  ASSERT_EQ(it.getCurrentNode().Name, u"f");
  EXPECT_FALSE(it.FindAttribute(u"urn:q", u"b"));
  EXPECT_TRUE(it.FindAttribute(u"urn:p", u"a"));
  EXPECT_TRUE(it.CreateXMLPrefixMappings().empty());
  EXPECT_EQ(it.LookupNamespace(u"xml"), u"http://www.w3.org/XML/1998/namespace");
}

TEST(Iterator, ExpandsReferencesInAttributeValues) {
  const std::u16string doc =
      u"<!DOCTYPE r [\n<!ENTITY in 'inner &#65;'>\n<!ENTITY % pe 'no'>\n"
      u"<!ENTITY sys SYSTEM 'x.ent'>\n<!ENTITY in 'second'>\n]>\n<r/>";
  const TyXMLExternalEntities external = {
      {u"ext", u"E&in;&ext2;"}, {u"ext2", u"2"}, {u"loop", u"&loop;"}, {u"sys", u"S"}};
  CyXMLIterator it(doc.c_str(), &external);
  ASSERT_TRUE(it.Parse());
  struct Row {
    const char16_t* Raw;
    const char16_t* Expected;
  };
  const Row rows[] = {
      {u"a&amp;b&lt;&gt;&quot;&apos;", u"a&b<>\"'"},
      {u"&#65;&#x42;&#x1F600;", u"AB\U0001F600"},
      {u"&in;", u"inner A"},           // declared, character reference replaced
      {u"&ext;", u"Einner A2"},        // external, expanded recursively
      {u"&sys;", u"S"},                // external entity declared in the DOCTYPE: from the table
      {u"&pe;&nope;", u"&pe;&nope;"},  // unknown: kept as written
      {u"&loop;", u"&loop;"},          // self-reference stops at the depth limit
      {u"&#xD800;&#x110000;", u"\uFFFD\uFFFD"},
  };
  for (const Row& row : rows)
    EXPECT_EQ(it.ExpandReferences(row.Raw, 0), row.Expected) << ToUTF8(row.Raw);

  struct ErrorRow {
    const char16_t* Raw;
    const char* Message;
    int64_t Line, Linepos;
  };
  const ErrorRow errors[] = {
      {u"ab&#12", "The character reference must end with ';'.", 1, 3},
      {u"&#x;", "The character reference must end with ';'.", 1, 1},
      {u"&#12a;", "The character reference must end with ';'.", 1, 1},
      {u"x\n&amp", "The entity reference must end with ';'.", 2, 1},
  };
  for (const ErrorRow& row : errors) {
    const std::u16string text = u"<a v='" + std::u16string(row.Raw) + u"'/>";
    CyXMLIterator one(text.c_str());
    ASSERT_TRUE(one.Parse());
    try {
      one.GetAttributeValue(u"v");
      ADD_FAILURE() << row.Message;
    } catch (const CyXMLReferenceException& e) {
      EXPECT_STREQ(e.what(), row.Message);
      EXPECT_EQ(e.Line, row.Line) << ToUTF8(row.Raw);
      EXPECT_EQ(e.Linepos, row.Linepos + (row.Line == 1 ? 6 : 0)) << ToUTF8(row.Raw);
    }
  }
  // Inside an external entity the position is unknown: line 1.
  const TyXMLExternalEntities broken = {{u"b", u"&#1"}};
  const std::u16string text = u"<a v='\n&b;'/>";
  CyXMLIterator one(text.c_str(), &broken);
  ASSERT_TRUE(one.Parse());
  try {
    one.GetAttributeValue(u"v");
    ADD_FAILURE();
  } catch (const CyXMLReferenceException& e) {
    EXPECT_EQ(e.Line, 1);
  }
}

// Differential: element names and expanded attribute values, in document order, as libxml2
// reads them with entity substitution.
TEST(Iterator, AgreesWithLibxml2OnNamesAndValues) {
  const std::string doc =
      "<?xml version='1.0'?>\n<!DOCTYPE r [\n  <!ENTITY co 'Xylem &#169; Ltd'>\n"
      "  <!ATTLIST r id ID #IMPLIED>\n]>\n"
      "<r xmlns:x='urn:x' id='r1' t=\"a &co; &#x2192; &amp;&lt; b\">\n"
      "  <x:e x:k=\"v\" w='line\n two'><f g=''/></x:e>\n  text &co;\n"
      "  <!-- <z/> --><![CDATA[<y/>]]><h i=\"&quot;\" j='&apos;'/>\n</r>\n";
  std::vector<std::string> ours, theirs;
  const std::u16string wide = ToUTF16(doc);
  CyXMLIterator it(wide.c_str());
  for (bool more = it.Parse(); more; more = it.Next()) {
    const TyXMLNode& n = it.getCurrentNode();
    if (n.Kind != TyXMLNodeKind::xnkStartTag) continue;
    ours.push_back(ToUTF8(n.Name));
    for (int i = 0; i < static_cast<int>(n.Attributes.size()); ++i) {
      const std::u16string& name = n.Attributes[i].Name;
      if (name == u"xmlns" || name.starts_with(u"xmlns:")) continue;
      // Values are copied as written; XML's white-space normalisation is left to callers.
      std::u16string value = it.GetAttributeValue(i);
      for (char16_t& c : value)
        if (c == u'\n' || c == u'\t' || c == u'\r') c = u' ';
      ours.push_back(ToUTF8(name) + "=" + ToUTF8(value));
    }
  }
  xmlDocPtr parsed = xmlReadMemory(doc.data(), static_cast<int>(doc.size()), nullptr, nullptr,
                                   XML_PARSE_NOENT | XML_PARSE_NONET);
  ASSERT_NE(parsed, nullptr);
  auto qname = [](const xmlChar* name, xmlNsPtr ns) {
    std::string s = ns && ns->prefix ? std::string(reinterpret_cast<const char*>(ns->prefix)) + ":"
                                     : std::string();
    return s + reinterpret_cast<const char*>(name);
  };
  auto walk = [&](auto&& self, xmlNodePtr node) -> void {
    for (; node; node = node->next) {
      if (node->type != XML_ELEMENT_NODE) continue;
      theirs.push_back(qname(node->name, node->ns));
      for (xmlAttrPtr a = node->properties; a; a = a->next) {
        xmlChar* value = xmlNodeListGetString(parsed, a->children, 1);
        // libxml2 escapes '<' and '&' again when it joins the value; undo for comparison.
        std::string v = value ? reinterpret_cast<const char*>(value) : "";
        xmlFree(value);
        xmlChar* raw = xmlNodeGetContent(reinterpret_cast<xmlNodePtr>(a));
        v = raw ? reinterpret_cast<const char*>(raw) : v;
        xmlFree(raw);
        theirs.push_back(qname(a->name, a->ns) + "=" + v);
      }
      self(self, node->children);
    }
  };
  walk(walk, xmlDocGetRootElement(parsed));
  xmlFreeDoc(parsed);
  EXPECT_EQ(ours, theirs);
}

}  // namespace xylem
