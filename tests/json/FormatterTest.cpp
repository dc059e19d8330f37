#include "json/Formatter.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>

#include "Support.hpp"
#include "json/TreeBuilder.hpp"

namespace xylem {
namespace {

using testing::SignificantTokens;

std::u16string Format(std::u16string_view Text) { return CyJSONFormatter::Format(Text); }

TEST(JSONFormatter, ReproducesTheReferenceLayout) {
  EXPECT_EQ(Format(u"{\"a\":[1,2],\"b\":{}}"),
            u"{\n"
            u"    \"a\": [\n"
            u"        1,\n"
            u"        2\n"
            u"    ],\n"
            u"    \"b\": {}\n"
            u"}");
}

TEST(JSONFormatter, LaysOutEveryShapeAndKeepsLeavesVerbatim) {
  const std::pair<std::u16string, std::u16string> rows[] = {
      {u" 1.5E+10 ", u"1.5E+10"},
      {u"\n\"\\u00e9\\/\\\"\"\n", u"\"\\u00e9\\/\\\"\""},
      {u"[ ]", u"[]"},
      {u"{ \r\n }", u"{}"},
      {u"[[],{},[[]]]", u"[\n    [],\n    {},\n    [\n        []\n    ]\n]"},
      {u"{\"k\":{\"\\u0041\":[]}}", u"{\n    \"k\": {\n        \"\\u0041\": []\n    }\n}"},
      {u"[true,false,null,-0,0.0e-0]",
       u"[\n    true,\n    false,\n    null,\n    -0,\n    0.0e-0\n]"},
      {u"[{\"a\":1,\"a\":2}]", u"[\n    {\n        \"a\": 1,\n        \"a\": 2\n    }\n]"},
  };
  for (const auto& [input, expected] : rows) EXPECT_EQ(ToUTF8(Format(input)), ToUTF8(expected));
}

TEST(JSONFormatter, TakesTheIndentationUnitAndTheLineEndFromTheOptions) {
  TyJSONWriterOptions options;
  options.IndentationUnit = u"\t";
  options.Newline = u"\r\n";
  EXPECT_EQ(CyJSONFormatter::Format(u"{\"a\":[1]}", options),
            u"{\r\n\t\"a\": [\r\n\t\t1\r\n\t]\r\n}");
}

TEST(JSONFormatter, WritesByteStreamsInTheChosenEncoding) {
  const CyJSONMemory input = CyJSONMemory::FromString(u"[\"\u00E9\U0001F600\"]");
  const std::u16string expected = u"[\n    \"\u00E9\U0001F600\"\n]";
  for (const int codePage :
       {CyTextOutputStream::kCodePageUTF8, CyTextOutputStream::kCodePageUTF16LE,
        CyTextOutputStream::kCodePageUTF16BE}) {
    TyJSONWriterOptions options;
    options.CodePage = codePage;
    std::ostringstream out;
    CyJSONFormatter::Format(input, out, options);
    const std::string bytes = out.str();
    // Decoding through a byte-order mark (prepended for UTF-16) must give the text back.
    const std::string marked = codePage == CyTextOutputStream::kCodePageUTF16LE ? "\xFF\xFE" + bytes
                               : codePage == CyTextOutputStream::kCodePageUTF16BE
                                   ? "\xFE\xFF" + bytes
                                   : bytes;
    EXPECT_EQ(std::u16string(CyJSONMemory::FromBytes(marked.data(), marked.size()).View()),
              expected)
        << codePage;
  }
}

TEST(JSONFormatter, RaisesTheParseErrorAndLeavesTheTextAlone) {
  const std::u16string text = u"{\n  \"a\": [1,\n  ]\n}";
  const std::u16string copy = text;
  try {
    Format(text);
    ADD_FAILURE() << "formatted a broken document";
  } catch (const JSONException& error) {
    EXPECT_EQ(error.Line, 3);
    EXPECT_EQ(error.Linepos, 3);
  }
  EXPECT_EQ(text, copy);
}

// A random valid document with random white space between its tokens.
std::u16string RandomDocument(std::mt19937& random, int Depth) {
  static const char16_t* const leaves[] = {
      u"0",    u"-1.5e+3",         u"1E2",      u"true",          u"false", u"null",
      u"\"\"", u"\"a\\u00e9\\n\"", u"\"\\\"\"", u"\"\U0001F600\""};
  static const char16_t* const spaces[] = {u"", u"", u" ", u"\n", u"\r\n\t", u"  "};
  auto space = [&] { return std::u16string(spaces[random() % std::size(spaces)]); };
  const unsigned pick = Depth > 4 ? 0 : random() % 4;
  if (pick < 2) return space() + leaves[random() % std::size(leaves)] + space();
  const bool isArray = pick == 2;
  std::u16string text = space() + (isArray ? u"[" : u"{");
  const int count = static_cast<int>(random() % 4);
  for (int i = 0; i < count; ++i) {
    if (i > 0) text += u",";
    if (!isArray)
      text += space() + u"\"k" + static_cast<char16_t>(u'0' + i) + u"\"" + space() + u":";
    text += RandomDocument(random, Depth + 1);
  }
  return text + space() + (isArray ? u"]" : u"}") + space();
}

// Formatting changes only white space, and formatting formatted text changes nothing.
TEST(JSONFormatter, KeepsEveryTokenAndIsIdempotent) {
  std::mt19937 random(4242);
  for (int round = 0; round < 150; ++round) {
    const std::u16string text = RandomDocument(random, 0);
    const std::u16string once = Format(text);
    EXPECT_EQ(SignificantTokens(once), SignificantTokens(text)) << ToUTF8(text);
    EXPECT_EQ(Format(once), once) << ToUTF8(text);
  }
}

TEST(JSONFormatter, FormatsTheDeepestAcceptedNesting) {
  const int depth = CyJSONParser::kDefaultMaxDepth;
  const std::u16string text = std::u16string(depth, u'[') + std::u16string(depth, u']');
  const std::u16string once = Format(text);
  // Line k (k < depth - 1) opens at 4k spaces and closes at 4k spaces; the innermost "[]" stands
  // at 4(depth - 1). Summed with the brackets and line ends: 4 depth (depth - 1) + 2 units.
  EXPECT_EQ(once.size(), 4 * size_t(depth) * size_t(depth - 1) + 2);
  EXPECT_EQ(std::count(once.begin(), once.end(), u'\n'), 2 * depth - 2);
  EXPECT_EQ(Format(once), once);
}

// The tree keeps spans, not copies: every leaf and key points back into the source.
TEST(JSONTreeBuilder, BuildsNodesWhoseSpansAreTheSourceTokens) {
  const std::u16string text = u"{ \"a\" : [ 1 , \"x\\n\" ], \"b\":{\"c\":null}, \"d\":[] }";
  const CyJSONMemory input = CyJSONMemory::FromString(text);
  CyJSONScanner scanner(input);
  CyJSONTreeBuilder builder(input);
  CyJSONParser parser(scanner, builder);
  parser.Parse();
  const CyJSONTree tree = builder.TakeTree();
  EXPECT_EQ(tree.Count(), 11u);  // object, 3 members, 2 arrays, inner object, 4 leaves
  EXPECT_EQ(tree.MaxDepth(), 2);
  const TyJSONValue root = tree.Root();
  EXPECT_EQ(root.Kind(), jnObject);
  EXPECT_EQ(root.Text(), text);
  EXPECT_EQ(root.ChildCount(), 3u);
  std::u16string walked;
  for (TyJSONValue member = root.FirstChild(); root.Contains(member);
       member = member.NextSibling()) {
    EXPECT_EQ(member.Kind(), jnMember);
    walked +=
        std::u16string(member.Text()) + u"=" + std::u16string(member.MemberValue().Text()) + u";";
  }
  EXPECT_EQ(walked, u"\"a\"=[ 1 , \"x\\n\" ];\"b\"={\"c\":null};\"d\"=[];");
  const TyJSONValue array = root.FirstChild().MemberValue();
  EXPECT_EQ(array.FirstChild().Kind(), jnNumber);
  EXPECT_EQ(array.FirstChild().NextSibling().Kind(), jnString);
  EXPECT_EQ(array.FirstChild().NextSibling().Head(), input.Data() + text.find(u"\"x"));
  EXPECT_EQ(tree.MemoryUsed(), CyJSONTree::kBlockSize * sizeof(TyJSONNode));
}

// Every array and object span runs from its bracket to the matching one and parses on its own.
TEST(JSONTreeBuilder, ContainerSpansEndAtTheirClosingBrackets) {
  std::mt19937 random(77);
  for (int round = 0; round < 200; ++round) {
    const std::u16string text = u"[" + RandomDocument(random, 0) + u", [ ], { \n}\n]";
    const CyJSONMemory input = CyJSONMemory::FromString(text);
    CyJSONScanner scanner(input);
    CyJSONTreeBuilder builder(input);
    CyJSONParser parser(scanner, builder);
    parser.Parse();
    const CyJSONTree& tree = builder.Tree();
    for (uint32_t index = 0; index < tree.Count(); ++index) {
      const TyJSONValue value{&tree, index};
      if (value.Kind() != jnArray && value.Kind() != jnObject) continue;
      const std::u16string_view span = value.Text();
      EXPECT_EQ(span.back(), value.Kind() == jnArray ? u']' : u'}') << ToUTF8(text);
      EXPECT_FALSE(testing::ParseError(span).has_value()) << ToUTF8(span);
    }
  }
}

}  // namespace
}  // namespace xylem
