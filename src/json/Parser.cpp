#include "json/Parser.hpp"

#include <string>

#include "json/Exception.hpp"

namespace xylem {

CyJSONParser::CyJSONParser(CyJSONScanner& Scanner, IyJSONParserListener& Listener, int MaxDepth)
    : Scanner_(Scanner), Listener_(Listener), MaxDepth_(MaxDepth) {}

bool CyJSONParser::Parse(std::u16string_view DocumentName) {
  Listener_.BOF(DocumentName);
  MatchToken(jsonBOI);
  ParseValue();
  Listener_.EOF_();
  MatchToken(jsonEOI);
  return true;
}

void CyJSONParser::ParseArray() {
  EnterNesting();
  Listener_.StartArray(Scanner_.Head());
  MatchToken(jsonLeftSquareBracket);
  if (CurrentToken() != jsonRightSquareBracket) {
    ParseValue();
    while (true) {
      if (CurrentToken() == jsonComma) {
        SkipToken();
        ParseValue();
      } else if (CurrentToken() == jsonRightSquareBracket) {
        break;
      } else {
        ErrorExpectingTokens({jsonComma, jsonRightSquareBracket});
      }
    }
  }
  Listener_.EndArray(Scanner_.Head());
  MatchToken(jsonRightSquareBracket);
  --Depth_;
}

void CyJSONParser::ParseObject() {
  EnterNesting();
  Listener_.StartObject(Scanner_.Head());
  MatchToken(jsonLeftCurlyBracket);
  if (CurrentToken() != jsonRightCurlyBracket) {
    ParseObjectMember();
    while (true) {
      if (CurrentToken() == jsonComma) {
        SkipToken();
        ParseObjectMember();
      } else if (CurrentToken() == jsonRightCurlyBracket) {
        break;
      } else {
        ErrorExpectingTokens({jsonComma, jsonRightCurlyBracket});
      }
    }
  }
  Listener_.EndObject(Scanner_.Head());
  MatchToken(jsonRightCurlyBracket);
  --Depth_;
}

void CyJSONParser::ParseObjectMember() {
  Listener_.StartObjectMember(Scanner_.Head(), Scanner_.Tail());
  CheckToken(jsonString);
  SkipToken();
  MatchToken(jsonColon);
  Listener_.EndObjectMember();
  ParseValue();
}

void CyJSONParser::ParseValue() {
  const char16_t* head = Scanner_.Head();
  const char16_t* tail = Scanner_.Tail();
  switch (CurrentToken()) {
    case jsonLeftCurlyBracket:
      ParseObject();
      return;
    case jsonLeftSquareBracket:
      ParseArray();
      return;
    case jsonLiteralFalse:
      Listener_.WriteLiteralFalse(head, tail);
      break;
    case jsonLiteralNull:
      Listener_.WriteLiteralNull(head, tail);
      break;
    case jsonLiteralTrue:
      Listener_.WriteLiteralTrue(head, tail);
      break;
    case jsonNumber:
      Listener_.WriteNumber(head, tail);
      break;
    case jsonString:
      Listener_.WriteString(head, tail);
      break;
    default:
      ErrorExpectingNonTerminals({jsonValue});
  }
  SkipToken();
}

void CyJSONParser::CheckToken(TyJSONToken Kind) {
  if (CurrentToken() != Kind) ErrorExpectingTokens({Kind});
}

void CyJSONParser::MatchToken(TyJSONToken Kind) {
  CheckToken(Kind);
  SkipToken();
}

void CyJSONParser::SkipToken() {
  do {
    Scanner_.Next();
  } while (Scanner_.Token() == jsonWhitespace);
}

void CyJSONParser::Error(std::u16string_view Format,
                         std::initializer_list<std::u16string_view> Arguments) {
  throw JSONException(CurrentLine(), CurrentLinepos(), JSONFormatMessage(Format, Arguments));
}

void CyJSONParser::ErrorExpectingNonTerminals(std::initializer_list<TyJSONNonTerminal> Set) {
  Error(u"Expected %s, found %s.",
        {JSONDescribeNonTerminals(Set), JSONTokenDescription(CurrentToken())});
}

void CyJSONParser::ErrorExpectingTokens(std::initializer_list<TyJSONToken> Set) {
  if (Set.size() == 1 && *Set.begin() == jsonEOI)
    Error(u"Unexpected %s.", {JSONTokenDescription(CurrentToken())});
  if (CurrentToken() == jsonEOI) Error(u"Expected %s.", {JSONDescribeTokens(Set)});
  Error(u"Expected %s, found %s.", {JSONDescribeTokens(Set), JSONTokenDescription(CurrentToken())});
}

void CyJSONParser::EnterNesting() {
  if (++Depth_ > MaxDepth_) {
    const std::string digits = std::to_string(MaxDepth_);
    Error(u"Arrays and objects are nested too deeply (more than %s levels).",
          {std::u16string(digits.begin(), digits.end())});
  }
}

}  // namespace xylem
