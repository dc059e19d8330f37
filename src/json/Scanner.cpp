#include "json/Scanner.hpp"

#include "json/Exception.hpp"

namespace xylem {

namespace {

constexpr std::u16string_view kNewlineInString =
    u"Newlines are not allowed inside strings. Use '\\n' to specify a newline.";
constexpr std::u16string_view kUnexpectedInString = u"Unexpected %s in string.";
constexpr std::u16string_view kBadEscape =
    uR"m(Unexpected %s. Allowed character escapes are '\"', '\\', '\/', '\b', '\f', '\n', '\r' and '\t'. Characters '"' and '\' must be escaped ('\"' and '\\').)m";
constexpr std::u16string_view kBadUnicodeEscape =
    uR"m(Unexpected %s in Unicode character escape sequence. Use '\uhhhh' to specify a Unicode character, where hhhh is a four-digit hexadecimal number.)m";

inline bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
inline bool isHexDigit(char16_t c) {
  return isDigit(c) || (c >= u'A' && c <= u'F') || (c >= u'a' && c <= u'f');
}
inline bool isSurrogate(char16_t c) { return (c & 0xF800) == 0xD800; }
inline bool isHighSurrogate(char16_t c) { return (c & 0xFC00) == 0xD800; }
inline bool isLowSurrogate(char16_t c) { return (c & 0xFC00) == 0xDC00; }
// Characters a string takes without a closer look: not a control, quote, backslash or surrogate.
inline bool isPlainStringCharacter(char16_t c) {
  return c >= 0x20 && c != u'"' && c != u'\\' && !isSurrogate(c);
}

}  // namespace

CyJSONScanner::CyJSONScanner(const CyJSONMemory& Input)
    : CyJSONScanner(Input.Data(), Input.DataCount()) {}

CyJSONScanner::CyJSONScanner(const char16_t* Data, size_t Count)
    : Begin_(Data),
      End_(Data + Count),
      Current_(Data),
      LineStart_(Data),
      Head_(Data),
      PreviousHead_(Data) {}

void CyJSONScanner::Next() {
  PreviousToken_ = Token_;
  PreviousHead_ = Head_;
  const char16_t* p = Current_;
  Head_ = p;
  switch (*p) {
    case u' ':
    case u'\t':
    case u'\n':
    case u'\r':
      ScanWhitespace();
      Token_ = jsonWhitespace;
      break;
    case u'\0':
      if (p != End_) ErrorAt(p, u"Unexpected %s.");
      Token_ = jsonEOI;
      break;
    case u'[':
      Token_ = jsonLeftSquareBracket, Current_ = p + 1;
      break;
    case u']':
      Token_ = jsonRightSquareBracket, Current_ = p + 1;
      break;
    case u'{':
      Token_ = jsonLeftCurlyBracket, Current_ = p + 1;
      break;
    case u'}':
      Token_ = jsonRightCurlyBracket, Current_ = p + 1;
      break;
    case u':':
      Token_ = jsonColon, Current_ = p + 1;
      break;
    case u',':
      Token_ = jsonComma, Current_ = p + 1;
      break;
    case u'"':
      ScanString();
      Token_ = jsonString;
      break;
    case u'-':
    case u'0':
    case u'1':
    case u'2':
    case u'3':
    case u'4':
    case u'5':
    case u'6':
    case u'7':
    case u'8':
    case u'9':
      ScanNumber();
      Token_ = jsonNumber;
      break;
    case u't':
      MatchText(u"true");
      Token_ = jsonLiteralTrue;
      break;
    case u'f':
      MatchText(u"false");
      Token_ = jsonLiteralFalse;
      break;
    case u'n':
      MatchText(u"null");
      Token_ = jsonLiteralNull;
      break;
    default:
      ErrorAt(p, u"Unexpected %s.");
  }
}

void CyJSONScanner::ScanWhitespace() {
  const char16_t* p = Current_;
  while (true) {
    const char16_t c = *p;
    if (c == u' ') {
      // Indentation comes in runs of spaces.
      ++p;
      while (p[0] == u' ' && p[1] == u' ' && p[2] == u' ' && p[3] == u' ') p += 4;
    } else if (c == u'\t') {
      ++p;
    } else if (c == u'\n') {
      ++Line_;
      LineStart_ = ++p;
    } else if (c == u'\r') {
      ++Line_;
      p += p[1] == u'\n' ? 2 : 1;
      LineStart_ = p;
    } else {
      break;
    }
  }
  Current_ = p;
}

void CyJSONScanner::ScanString() {
  const char16_t* p = Current_ + 1;
  while (true) {
    // The common case first: runs of ordinary characters, four per round.
    while (isPlainStringCharacter(p[0]) && isPlainStringCharacter(p[1]) &&
           isPlainStringCharacter(p[2]) && isPlainStringCharacter(p[3]))
      p += 4;
    const char16_t c = *p;
    if (isPlainStringCharacter(c)) {
      ++p;
    } else if (c == u'"') {
      Current_ = p + 1;
      return;
    } else if (c == u'\\') {
      switch (p[1]) {
        case u'"':
        case u'\\':
        case u'/':
        case u'b':
        case u'f':
        case u'n':
        case u'r':
        case u't':
          p += 2;
          break;
        case u'u':
          for (int i = 2; i < 6; ++i)
            if (!isHexDigit(p[i])) ErrorAt(p + i, kBadUnicodeEscape);
          p += 6;
          break;
        default:
          ErrorAt(p + 1, kBadEscape);
      }
    } else if (c == u'\n' || c == u'\r') {
      Current_ = p;
      Error(kNewlineInString, {});
    } else if (isHighSurrogate(c) && isLowSurrogate(p[1])) {
      p += 2;
    } else {
      // A control character, a lone surrogate (the text is not Unicode there) or the end.
      ErrorAt(p, kUnexpectedInString);
    }
  }
}

void CyJSONScanner::ScanNumber() {
  const char16_t* p = Current_;
  if (*p == u'-') ++p;
  if (*p == u'0') {
    ++p;
    if (isDigit(*p)) {
      Current_ = p;
      Error(u"Leading zeros are not allowed in numbers.", {});
    }
  } else if (isDigit(*p)) {
    while (isDigit(*++p)) {
    }
  } else {
    ErrorAt(p, u"Unexpected %s in number.");
  }
  if (*p == u'.') {
    if (!isDigit(*++p)) {
      Current_ = p;
      Error(u"Decimal point ('.') must be followed by one or more digits.", {});
    }
    while (isDigit(*++p)) {
    }
  }
  if (*p == u'e' || *p == u'E') {
    ++p;
    if (*p == u'+' || *p == u'-') {
      if (!isDigit(*++p)) {
        Current_ = p;
        Error(u"Exponent sign ('+' or '-') must be followed by one or more digits.", {});
      }
    } else if (!isDigit(*p)) {
      Current_ = p;
      Error(u"Exponent indicator ('e' or 'E') must be followed by one or more digits.", {});
    }
    while (isDigit(*++p)) {
    }
  }
  Current_ = p;
}

void CyJSONScanner::MatchText(std::u16string_view Text) {
  const char16_t* p = Current_;
  for (size_t i = 0; i < Text.size(); ++i) {
    if (p[i] != Text[i]) {
      Current_ = p + i;
      Error(u"Expected \"%s\".", {Text});
    }
  }
  Current_ = p + Text.size();
}

void CyJSONScanner::Error(std::u16string_view Format,
                          std::initializer_list<std::u16string_view> Arguments) {
  Token_ = jsonError;
  throw JSONException(Line_, Current_ - LineStart_ + 1, JSONFormatMessage(Format, Arguments));
}

void CyJSONScanner::ErrorAt(const char16_t* At, std::u16string_view Format) {
  Current_ = At;
  Error(Format, {JSONDescribeCharacter(At, End_)});
}

}  // namespace xylem
