#pragma once
// Helpers shared by the JSON tests: annotated inputs, parsing to a verdict, token lists.

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/Utf.hpp"
#include "json/Exception.hpp"
#include "json/Memory.hpp"
#include "json/Parser.hpp"
#include "json/Scanner.hpp"

namespace xylem::testing {

// An input with one '^' marking a position; Text is the input without it.
struct TyAnnotated {
  std::u16string Text;
  int64_t Line = 1;
  int64_t Linepos = 1;
};

// Line and column of the '^' in Marked, counting CR LF, CR and LF as one line break each.
inline TyAnnotated Annotate(std::u16string_view Marked) {
  TyAnnotated result;
  int64_t line = 1, column = 1;
  for (size_t i = 0; i < Marked.size(); ++i) {
    const char16_t c = Marked[i];
    if (c == u'^') {
      result.Line = line, result.Linepos = column;
      continue;
    }
    result.Text += c;
    if (c == u'\n' || (c == u'\r' && (i + 1 >= Marked.size() || Marked[i + 1] != u'\n'))) {
      ++line, column = 1;
    } else if (c != u'\r') {
      ++column;
    }
  }
  return result;
}

// Parses Text with the NIL listener; the exception if it fails.
inline std::optional<JSONException> ParseError(std::u16string_view Text) {
  const CyJSONMemory input = CyJSONMemory::FromString(Text);
  CyJSONScanner scanner(input);
  CyJSONParserListenerNIL listener;
  CyJSONParser parser(scanner, listener);
  try {
    EXPECT_TRUE(parser.Parse());
  } catch (const JSONException& error) {
    return error;
  }
  return std::nullopt;
}

// Parses the annotated input Marked and expects it to fail at the '^' with Reason (any reason
// when Reason is null), the exception's message being the reason.
inline void ExpectErrorAt(std::u16string_view Marked, const char16_t* Reason) {
  const TyAnnotated input = Annotate(Marked);
  const std::optional<JSONException> error = ParseError(input.Text);
  SCOPED_TRACE(ToUTF8(Marked));
  ASSERT_TRUE(error.has_value());
  if (Reason) {
    EXPECT_EQ(ToUTF8(error->Reason), ToUTF8(Reason));
    EXPECT_STREQ(error->what(), ToUTF8(Reason).c_str());
  }
  EXPECT_EQ(error->Line, input.Line);
  EXPECT_EQ(error->Linepos, input.Linepos);
}

// Text with each "<XXXX>" (four hex digits) replaced by that UTF-16 unit: lone surrogates cannot
// be written in C++ string literals.
inline std::u16string Units(std::u16string_view Text) {
  std::u16string result;
  for (size_t i = 0; i < Text.size(); ++i) {
    if (Text[i] == u'<' && i + 5 < Text.size() && Text[i + 5] == u'>') {
      result += static_cast<char16_t>(std::stoi(ToUTF8(Text.substr(i + 1, 4)), nullptr, 16));
      i += 5;
    } else {
      result += Text[i];
    }
  }
  return result;
}

// The tokens of Text other than white space and the markers, as (kind, text) pairs.
inline std::vector<std::pair<TyJSONToken, std::u16string>> SignificantTokens(
    std::u16string_view Text) {
  const CyJSONMemory input = CyJSONMemory::FromString(Text);
  CyJSONScanner scanner(input);
  std::vector<std::pair<TyJSONToken, std::u16string>> tokens;
  for (scanner.Next(); !scanner.IsDone(); scanner.Next())
    if (scanner.Token() != jsonWhitespace)
      tokens.emplace_back(scanner.Token(), std::u16string(scanner.Head(), scanner.Tail()));
  return tokens;
}

}  // namespace xylem::testing
