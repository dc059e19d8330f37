#include "json/Parser.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>
#include <string>

#include "Support.hpp"

namespace xylem {
namespace {

using testing::ParseError;

constexpr char16_t kValue[] = u"value ('{', '[', string, number, true, false or null)";

std::u16string Expected(std::u16string_view What, std::u16string_view Found) {
  return u"Expected " + std::u16string(What) + u", found " + std::u16string(Found) + u".";
}

// Every parser message, raised at the token under the '^'.
TEST(JSONParser, EveryMessageAtTheOffendingToken) {
  struct Row {
    std::u16string marked;
    std::u16string reason;
  };
  const Row rows[] = {
      {u"^", Expected(kValue, u"end-of-input")},
      {u" \r\n\t ^", Expected(kValue, u"end-of-input")},
      {u"[1,^]", Expected(kValue, u"']'")},
      {u"[^,1]", Expected(kValue, u"','")},
      {u"[^:]", Expected(kValue, u"':'")},
      {u"{\"a\":^}", Expected(kValue, u"'}'")},
      {u"^]", Expected(kValue, u"']'")},
      {u"[1 ^2]", Expected(u"',' or ']'", u"number")},
      {u"[1\n  ^\"x\"]", Expected(u"',' or ']'", u"string")},
      {u"[[]^}", Expected(u"',' or ']'", u"'}'")},
      {u"[1^", u"Expected ',' or ']'."},
      {u"{\"a\":1 ^\"b\":2}", Expected(u"',' or '}'", u"string")},
      {u"{\"a\":1^", u"Expected ',' or '}'."},
      {u"{^1:2}", Expected(u"string", u"number")},
      {u"{^true:2}", Expected(u"string", u"true")},
      {u"{^,}", Expected(u"string", u"','")},
      {u"{\"a\":1,^}", Expected(u"string", u"'}'")},
      {u"{^", u"Expected string."},
      {u"{\"a\" ^1}", Expected(u"':'", u"number")},
      {u"{\"a\"^", u"Expected ':'."},
      {u"1 ^2", u"Unexpected number."},
      {u"{}\n^{}", u"Unexpected '{'."},
      {u"\"a\" ^\"b\"", u"Unexpected string."},
      {u"[] ^]", u"Unexpected ']'."},
      {u"null^,", u"Unexpected ','."},
      {u"false ^:", u"Unexpected ':'."},
  };
  for (const Row& row : rows) testing::ExpectErrorAt(row.marked, row.reason.c_str());
}

// Writes each event with the offsets of its positions, to check order and spans at once.
class CyRecordingListener final : public IyJSONParserListener {
 public:
  explicit CyRecordingListener(const char16_t* Base) : Base_(Base) {}
  std::string Log;

  void BOF(std::u16string_view Name) override { Log += "BOF(" + ToUTF8(Name) + ")"; }
  void EOF_() override { Log += " EOF"; }
  void StartArray(const char16_t* At) override { Point(" [", At); }
  void EndArray(const char16_t* At) override { Point(" ]", At); }
  void StartObject(const char16_t* At) override { Point(" {", At); }
  void EndObject(const char16_t* At) override { Point(" }", At); }
  void StartObjectMember(const char16_t* Head, const char16_t* Tail) override {
    Span(" key", Head, Tail);
  }
  void EndObjectMember() override { Log += " :"; }
  void WriteLiteralFalse(const char16_t* Head, const char16_t* Tail) override {
    Span(" false", Head, Tail);
  }
  void WriteLiteralNull(const char16_t* Head, const char16_t* Tail) override {
    Span(" null", Head, Tail);
  }
  void WriteLiteralTrue(const char16_t* Head, const char16_t* Tail) override {
    Span(" true", Head, Tail);
  }
  void WriteNumber(const char16_t* Head, const char16_t* Tail) override {
    Span(" num", Head, Tail);
  }
  void WriteString(const char16_t* Head, const char16_t* Tail) override {
    Span(" str", Head, Tail);
  }

 private:
  void Point(const char* What, const char16_t* At) {
    Log += What + ("@" + std::to_string(At - Base_));
  }
  void Span(const char* What, const char16_t* Head, const char16_t* Tail) {
    Log += What + ("@" + std::to_string(Head - Base_) + "-" + std::to_string(Tail - Base_));
  }
  const char16_t* Base_;
};

TEST(JSONParser, ReportsEventsInDocumentOrderWithSpans) {
  struct Row {
    std::u16string text;
    std::string log;
  };
  const Row rows[] = {
      {u" 42 ", "BOF(doc) num@1-3 EOF"},
      {u"\"a\\u00e9\"", "BOF(doc) str@0-9 EOF"},
      {u"[]", "BOF(doc) [@0 ]@1 EOF"},
      {u"[true, false ,null]", "BOF(doc) [@0 true@1-5 false@7-12 null@14-18 ]@18 EOF"},
      {u"{\"k\" : [ -1e3 ], \"\":{}}",
       "BOF(doc) {@0 key@1-4 : [@7 num@9-13 ]@14 key@17-19 : {@20 }@21 }@22 EOF"},
      {u"{\"a\":{\"b\":\"c\"}}", "BOF(doc) {@0 key@1-4 : {@5 key@6-9 : str@10-13 }@13 }@14 EOF"},
  };
  for (const Row& row : rows) {
    const CyJSONMemory input = CyJSONMemory::FromString(row.text);
    CyJSONScanner scanner(input);
    CyRecordingListener listener(input.Data());
    CyJSONParser parser(scanner, listener);
    EXPECT_TRUE(parser.Parse(u"doc"));
    EXPECT_EQ(listener.Log, row.log) << ToUTF8(row.text);
    EXPECT_EQ(parser.CurrentToken(), jsonEOI);
  }
}

TEST(JSONParser, EventsStopAtTheFirstErrorAndEOFPrecedesTheTrailingCheck) {
  const std::pair<std::u16string, std::string> rows[] = {
      {u"[1,]", "BOF() [@0 num@1-2"},
      {u"{1:2}", "BOF() {@0 key@1-2"},
      {u"[] 1", "BOF() [@0 ]@1 EOF"},
  };
  for (const auto& [text, log] : rows) {
    const CyJSONMemory input = CyJSONMemory::FromString(text);
    CyJSONScanner scanner(input);
    CyRecordingListener listener(input.Data());
    CyJSONParser parser(scanner, listener);
    EXPECT_THROW(parser.Parse(), JSONException);
    EXPECT_EQ(listener.Log, log) << ToUTF8(text);
  }
}

// What RFC 8259 allows is accepted and what it forbids is refused. Rows marked `peer` must get
// the same verdict from nlohmann::json::accept, an independent strict parser.
TEST(JSONParser, StrictnessFollowsRFC8259) {
  struct Row {
    std::u16string text;
    bool valid;
    bool peer = true;
  };
  const Row rows[] = {
      // Numbers.
      {u"0", true},
      {u"-0", true},
      {u"-0.0e-0", true},
      {u"1E+2", true},
      {u"1e5", true},
      {u"0.5", true},
      {u"-12.75e-3", true},
      {u"123456789012345678901234567890", true},
      {u"1e999", true, false},  // the grammar allows any magnitude; the peer refuses to convert it
      {u"01", false},
      {u"+1", false},
      {u".5", false},
      {u"1.", false},
      {u"1.e5", false},
      {u"-", false},
      {u"--1", false},
      {u"0x10", false},
      {u"1e", false},
      {u"1e+", false},
      {u"Infinity", false},
      {u"-Infinity", false},
      {u"NaN", false},
      {u"1_000", false},
      {u"- 1", false},
      {u"1 000", false},
      {u"0.", false},
      // Literals.
      {u"true", true},
      {u"false", true},
      {u"null", true},
      {u"True", false},
      {u"nul", false},
      {u"nulll", false},
      {u"undefined", false},
      // Strings and escapes.
      {u"\"\"", true},
      {u"\"\\\" \\\\ \\/ \\b \\f \\n \\r \\t\"", true},
      {u"\"\\u00e9\\uABCD\"", true},
      {u"\"\u007F\u0080\u00A0\u2028\"", true},
      {u"\"\\a\"", false},
      {u"\"\\x41\"", false},
      {u"\"\\u12\"", false},
      {u"\"\\U0041\"", false},
      {u"\"\\'\"", false},
      {u"\"\\0\"", false},
      {u"'a'", false},
      {u"\"a\tb\"", false},
      {u"\"a\nb\"", false},
      {u"\"\u001F\"", false},
      {u"\"abc", false},
      {u"\"\\\"", false},
      // Surrogates: escapes follow the grammar (a lone escaped half is grammatical), raw text must
      // be Unicode.
      {u"\"\\uD83D\\uDE00\"", true},
      {testing::Units(u"\"<D83D><DE00>\""), true},
      {u"\"\\uD800\"", true, false},
      {u"\"\\uDC00x\"", true, false},
      {testing::Units(u"\"<D800>\""), false, false},
      {testing::Units(u"\"<DC00><D800>\""), false, false},
      // White space: only space, tab, CR and LF.
      {u" \t\r\n[ \t\r\n1 \t\r\n] \t\r\n", true},
      {u"\u000C1", false},
      {u"\u000B1", false},
      {u"\u00A01", false},
      {u"1\u2028", false},
      {u"\uFEFF1", false, false},
      // Nesting.
      {u"[[[]]]", true},
      {u"{\"a\":{\"b\":[{}]}}", true},
      {u"[}", false},
      {u"{]", false},
      {u"[[]", false},
      {u"[]]", false},
      {u"{\"a\":1,\"a\":2}", true},
      {u"{\"\":0}", true},
      {u"[1,]", false},
      {u"{\"a\":1,}", false},
      {u"[,1]", false},
      {u"[1,,2]", false},
      {u"{\"a\" 1}", false},
      {u"{a:1}", false},
      {u"{\"a\":}", false},
      {u"{:1}", false},
      // Top-level scalars and trailing content.
      {u"\"s\"", true},
      {u" 7 ", true},
      {u"", false},
      {u"  ", false},
      {u"1 x", false},
      {u"[] []", false},
      {u"1,", false},
      {u"{} // c", false},
      {u"/* c */ 1", false},
      {std::u16string(u"1\0", 2), false, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(ToUTF8(row.text));
    const auto error = ParseError(row.text);
    EXPECT_EQ(!error.has_value(), row.valid) << (error ? ToUTF8(error->Reason) : "");
    if (row.peer) {
      EXPECT_EQ(nlohmann::json::accept(ToUTF8(row.text)), row.valid);
    }
  }
}

// Random texts built from JSON fragments: our verdict must equal nlohmann's on every one.
TEST(JSONParser, AgreesWithAnIndependentParserOnRandomTexts) {
  static const char16_t* const fragments[] = {
      u"[",    u"]",     u"{",       u"}",           u":",       u",",     u" ",    u"\n",
      u"\r\n", u"\"a\"", u"\"\\n\"", u"\"\\u0041\"", u"\"\\q\"", u"1",     u"0",    u"-",
      u".",    u"e",     u"+",       u"2",           u"true",    u"null",  u"fals", u"\"",
      u"\\",   u"\t",    u"/",       u"\u00E9",      u"x",       u"\"k\":"};
  std::mt19937 random(20261121);
  int accepted = 0;
  for (int round = 0; round < 8000; ++round) {
    std::u16string text;
    const int count = 1 + static_cast<int>(random() % 12);
    for (int i = 0; i < count; ++i) text += fragments[random() % std::size(fragments)];
    const bool ours = !ParseError(text).has_value();
    accepted += ours;
    ASSERT_EQ(ours, nlohmann::json::accept(ToUTF8(text))) << ToUTF8(text);
  }
  EXPECT_GT(accepted, 80);  // the generator must reach valid documents too
}

TEST(JSONParser, DeepNestingFailsCleanlyBeyondTheLimit) {
  const int limit = CyJSONParser::kDefaultMaxDepth;
  const std::u16string deepest = std::u16string(limit, u'[') + std::u16string(limit, u']');
  EXPECT_FALSE(ParseError(deepest).has_value());
  const std::u16string objects = [&] {
    std::u16string text;
    for (int i = 0; i < limit; ++i) text += u"{\"k\":";
    text += u"1";
    for (int i = 0; i < limit; ++i) text += u"}";
    return text;
  }();
  EXPECT_FALSE(ParseError(objects).has_value());

  const std::u16string reason =
      u"Arrays and objects are nested too deeply (more than 1024 levels).";
  for (const std::u16string& text :
       {std::u16string(100000, u'['), std::u16string(100000, u'[') + std::u16string(100000, u']'),
        std::u16string(limit, u'[') + u"{" + std::u16string(limit, u']'),
        u"{\"k\":" + deepest + u"}"}) {
    const auto error = ParseError(text);
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(ToUTF8(error->Reason), ToUTF8(reason));
    EXPECT_EQ(error->Line, 1);
    EXPECT_EQ(error->Linepos, text[0] == u'{' ? limit + 5 : limit + 1);
  }
}

}  // namespace
}  // namespace xylem
