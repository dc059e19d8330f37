#pragma once
// The JSON parser: recursive descent over the scanner's tokens, reporting to a listener.

#include <cstdint>
#include <initializer_list>
#include <string_view>

#include "json/Listener.hpp"
#include "json/Scanner.hpp"
#include "json/Token.hpp"

namespace xylem {

// Recognises exactly one RFC 8259 value followed by nothing but white space. The first error
// raises JSONException with the line and column of the current token (or of the offending
// character, for scanner errors). Arrays and objects may nest at most MaxDepth levels, which
// bounds the stack the descent uses. Not thread-safe; one parser per parse.
class CyJSONParser {
 public:
  // Deep enough for any real document; shallow enough for the descent to fit an 1 MiB stack.
  static constexpr int kDefaultMaxDepth = 1024;

  // Scanner and Listener must outlive the parser; the scanner must not have moved yet.
  CyJSONParser(CyJSONScanner& Scanner, IyJSONParserListener& Listener,
               int MaxDepth = kDefaultMaxDepth);

  // Runs the whole parse and returns true; DocumentName goes unchanged to the listener's BOF.
  // Linear in the text; allocates nothing unless it raises.
  bool Parse(std::u16string_view DocumentName = {});

  // Line, 1-based column and kind of the current token.
  int64_t CurrentLine() const { return Scanner_.Line(); }
  int64_t CurrentLinepos() const { return Scanner_.Head() - Scanner_.LineStart() + 1; }
  TyJSONToken CurrentToken() const { return Scanner_.Token(); }

 private:
  void ParseArray();
  void ParseObject();
  void ParseObjectMember();
  void ParseValue();
  void CheckToken(TyJSONToken Kind);
  void MatchToken(TyJSONToken Kind);
  void SkipToken();
  [[noreturn]] void Error(std::u16string_view Format,
                          std::initializer_list<std::u16string_view> Arguments);
  [[noreturn]] void ErrorExpectingNonTerminals(std::initializer_list<TyJSONNonTerminal> Set);
  [[noreturn]] void ErrorExpectingTokens(std::initializer_list<TyJSONToken> Set);
  // Counts one more level of nesting at the current bracket; raises beyond MaxDepth.
  void EnterNesting();

  CyJSONScanner& Scanner_;
  IyJSONParserListener& Listener_;
  int MaxDepth_;
  int Depth_ = 0;
};

}  // namespace xylem
