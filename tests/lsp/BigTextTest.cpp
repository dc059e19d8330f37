// A didOpen text taken out of the message's bytes: the unescaped text and the rest of the
// message, parsed, must equal what a JSON parse of the whole message gives (nlohmann as the
// model), for escapes of every kind; anything else is left to the ordinary parse untouched.
#include "lsp/BigText.hpp"

#include <gtest/gtest.h>

#include <random>

#include "lsp/Protocol.hpp"

namespace xylem::lsp {
namespace {

std::string DidOpen(const std::string& EscapedText) {
  return "{\"jsonrpc\":\"2.0\",\"method\":\"textDocument/didOpen\",\"params\":{\"textDocument\":"
         "{\"uri\":\"file:///a.xml\",\"languageId\":\"xml\",\"version\":3,\"text\":\"" +
         EscapedText + "\"}}}";
}

TEST(BigText, ExtractionMatchesAWholeParse) {
  // Pieces of escaped JSON text, joined at random into texts.
  const char* const kPieces[] = {
      "<r a=\\\"1\\\">", "\\n",     "\\r\\n",         "\\t",      "\\\\",    "\\/",
      "\\u00e9",         "\\u20AC", "\\ud83d\\ude00", "\\ud800x", "\\udc00", "plain text ",
      "\xc3\xa9",        "\\b\\f",  "]}\\\"{["};
  std::mt19937 Random(3);
  for (int Round = 0; Round < 300; ++Round) {
    std::string Escaped;
    for (int i = Random() % 40; i > 0; --i) Escaped += kPieces[Random() % std::size(kPieces)];
    std::string Body = DidOpen(Escaped);
    // The model: a lone surrogate is refused by nlohmann, so compare after our replacement.
    const json Whole = json::parse(Body, nullptr, false);
    TyBigText Text;
    std::string Copy = Body;
    const std::optional<std::string> Rest = ExtractBigText(Copy, Text, 0);
    ASSERT_TRUE(Rest) << Body;
    const json Parsed = json::parse(*Rest);
    EXPECT_EQ(Parsed["params"]["textDocument"]["text"], "");
    EXPECT_EQ(Parsed["params"]["textDocument"]["version"], 3);
    if (!Whole.is_discarded()) {
      EXPECT_EQ(std::string(Text.getText()),
                Whole["params"]["textDocument"]["text"].get<std::string>())
          << Body;
    } else {
      // A lone surrogate, high or low.
      EXPECT_TRUE(Escaped.find("\\ud800x") != std::string::npos ||
                  Escaped.find("\\udc00") != std::string::npos);
      EXPECT_NE(std::string(Text.getText()).find("\xef\xbf\xbd"), std::string::npos);
    }
  }
}

// Unescaping against nlohmann's parse of the same string, with raw control characters and
// escapes at every offset of the eight-byte words the scan reads.
TEST(BigText, UnescapingMatchesAParseAtEveryOffset) {
  const char* const kPieces[] = {"a",    "bc",   " ",    "\x7f", "\xc3\xa9", "\\n",
                                 "\\\\", "\\\"", "\x1f", "\x01", "\t",       "0123456789abcdef"};
  std::mt19937 Random(11);
  for (int Round = 0; Round < 3000; ++Round) {
    std::string Escaped;
    for (int i = Random() % 24; i > 0; --i) {
      const size_t Piece = Random() % std::size(kPieces);
      // Control characters rarely, so that most strings are valid and compared in full.
      if (Piece >= 8 && Piece <= 10 && Random() % 4 != 0) continue;
      Escaped += kPieces[Piece];
    }
    const json Model = json::parse("\"" + Escaped + "\"", nullptr, false);
    std::string Out(Escaped.size(), '\0');
    const std::optional<size_t> Length = UnescapeJSONString(Escaped, Out.data());
    ASSERT_EQ(Length.has_value(), !Model.is_discarded()) << Escaped;
    if (Length) {
      EXPECT_EQ(Out.substr(0, *Length), Model.get<std::string>()) << Escaped;
    }
  }
}

TEST(BigText, OtherMessagesAndBadTextsAreLeftAlone) {
  const std::string kBodies[] = {
      DidOpen("short"),                                    // under the limit below
      DidOpen("bad escape \\q here and long enough"),      // refused escape
      DidOpen("raw\ncontrol character, long enough...."),  // raw line end inside a string
      // The same far into the text, behind escapes, where the scan reads whole words.
      DidOpen("a long text with \\\"escapes\\\" first, then a raw\tcontrol"),
      DidOpen("a long text with \\\"escapes\\\" first, then a bad \\u12G4 escape"),
      "{\"method\":\"textDocument/didChange\",\"params\":{\"textDocument\":{\"text\":"
      "\"long enough text but not an open\"}}}",
      DidOpen("truncated message long enough") + "garbage",
      "{\"method\":\"textDocument/didOpen\",\"params\":{\"other\":{\"text\":\"long enough text "
      "elsewhere\"}}}",
  };
  for (const std::string& Original : kBodies) {
    std::string Body = Original;
    TyBigText Text;
    EXPECT_FALSE(ExtractBigText(Body, Text, 20)) << Original;
    EXPECT_EQ(Body, Original);
  }
}

}  // namespace
}  // namespace xylem::lsp
