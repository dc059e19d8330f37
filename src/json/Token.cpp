#include "json/Token.hpp"

#include "common/Exception.hpp"

namespace xylem {

namespace {

constexpr std::u16string_view kTokenDescriptions[] = {
    u"begin-of-input",
    u"end-of-input",
    u"error",
    u"':'",
    u"','",
    u"'{'",
    u"'['",
    u"'}'",
    u"']'",
    u"false",
    u"null",
    u"true",
    u"number",
    u"string",
    u"whitespace",
};
static_assert(std::size(kTokenDescriptions) == jsonWhitespace + 1);

// The tokens a value can begin with, in the order the value's description lists them.
constexpr TyJSONToken kValueStarts[] = {
    jsonLeftCurlyBracket, jsonLeftSquareBracket, jsonString,     jsonNumber,
    jsonLiteralTrue,      jsonLiteralFalse,      jsonLiteralNull};

template <typename Item, typename Describe>
std::u16string joinDescriptions(std::initializer_list<Item> Items, Describe&& describe) {
  std::u16string result;
  size_t index = 0;
  for (const Item item : Items) {
    if (index > 0) result += index + 1 == Items.size() ? u" or " : u", ";
    result += describe(item);
    ++index;
  }
  return result;
}

void appendHex4(std::u16string& Out, uint32_t Code) {
  constexpr char16_t digits[] = u"0123456789ABCDEF";
  char16_t text[8];
  int count = 0;
  do {
    text[count++] = digits[Code & 0xF];
    Code >>= 4;
  } while (Code != 0 || count < 4);
  while (count > 0) Out += text[--count];
}

}  // namespace

std::u16string_view JSONTokenDescription(TyJSONToken Token) {
  if (Token > jsonWhitespace) throw CyShouldNeverHappenException("JSON token kind out of range");
  return kTokenDescriptions[Token];
}

std::u16string JSONNonTerminalDescription(TyJSONNonTerminal NonTerminal) {
  switch (NonTerminal) {
    case jsonArray:
      return u"array";
    case jsonObject:
      return u"object";
    case jsonValue: {
      const auto& s = kValueStarts;
      return JSONFormatMessage(
          u"value (%s, %s, %s, %s, %s, %s or %s)",
          {JSONTokenDescription(s[0]), JSONTokenDescription(s[1]), JSONTokenDescription(s[2]),
           JSONTokenDescription(s[3]), JSONTokenDescription(s[4]), JSONTokenDescription(s[5]),
           JSONTokenDescription(s[6])});
    }
  }
  throw CyShouldNeverHappenException("JSON non-terminal out of range");
}

std::u16string JSONDescribeTokens(std::initializer_list<TyJSONToken> Tokens) {
  return joinDescriptions(Tokens,
                          [](TyJSONToken t) { return std::u16string(JSONTokenDescription(t)); });
}

std::u16string JSONDescribeNonTerminals(std::initializer_list<TyJSONNonTerminal> NonTerminals) {
  return joinDescriptions(NonTerminals, JSONNonTerminalDescription);
}

std::u16string JSONDescribeCharacter(const char16_t* At, const char16_t* End) {
  if (At >= End) return u"end-of-input";
  const char16_t c = *At;
  std::u16string result;
  if (c < 0x20 || (c >= 0xD800 && c <= 0xDFFF)) {
    result = u"character (Unicode character \\u";
  } else {
    result = u"character '";
    result += c;
    result += u"' (Unicode character \\u";
  }
  appendHex4(result, c);
  result += u')';
  return result;
}

std::u16string JSONFormatMessage(std::u16string_view Format,
                                 std::initializer_list<std::u16string_view> Arguments) {
  std::u16string result;
  auto argument = Arguments.begin();
  for (size_t i = 0; i < Format.size(); ++i) {
    if (Format[i] == u'%' && i + 1 < Format.size() && Format[i + 1] == u's' &&
        argument != Arguments.end()) {
      result += *argument++;
      ++i;
    } else {
      result += Format[i];
    }
  }
  return result;
}

}  // namespace xylem
