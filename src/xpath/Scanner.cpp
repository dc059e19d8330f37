// Lexical analysis of XPath 3.1 text. Names are left undecided (keywords are not reserved in
// XPath); string delimiters also come in their XML entity spellings because XPath text is often
// copied straight out of an attribute value.

#include "xpath/Scanner.hpp"

#include <string>

#include "common/Utf.hpp"

namespace xylem {

namespace xpath31chars {

namespace {

// Name classes of the ASCII characters, looked up instead of compared on the hot path.
enum : uint8_t { kNameStart = 1, kNameChar = 2 };
struct TyAsciiClasses {
  uint8_t Of[128] = {};
  constexpr TyAsciiClasses() {
    for (int C = 0; C < 128; ++C) {
      bool Start = (C >= 'a' && C <= 'z') || (C >= 'A' && C <= 'Z') || C == '_';
      bool Char = Start || (C >= '0' && C <= '9') || C == '-' || C == '.';
      Of[C] = uint8_t((Start ? kNameStart : 0) | (Char ? kNameChar : 0));
    }
  }
};
constexpr TyAsciiClasses kAscii;

bool IsNameStartBMP(char16_t C) {
  if (C < 0x80) return kAscii.Of[C] & kNameStart;
  return (C >= 0xC0 && C <= 0xD6) || (C >= 0xD8 && C <= 0xF6) || (C >= 0xF8 && C <= 0x2FF) ||
         (C >= 0x370 && C <= 0x37D) || (C >= 0x37F && C <= 0x1FFF) || C == 0x200C || C == 0x200D ||
         (C >= 0x2070 && C <= 0x218F) || (C >= 0x2C00 && C <= 0x2FEF) ||
         (C >= 0x3001 && C <= 0xD7FF) || (C >= 0xF900 && C <= 0xFDCF) ||
         (C >= 0xFDF0 && C <= 0xFFFD);
}

bool IsNameCharBMP(char16_t C) {
  if (C < 0x80) return kAscii.Of[C] & kNameChar;
  return IsNameStartBMP(C) || C == 0xB7 || (C >= 0x300 && C <= 0x36F) || C == 0x203F || C == 0x2040;
}

bool IsSurrogatePair(const char16_t* P) {
  return P[0] >= 0xD800 && P[0] <= 0xDBFF && P[1] >= 0xDC00 && P[1] <= 0xDFFF;
}

}  // namespace

int NameStartLength(const char16_t* P) {
  if (*P < 0x80) return kAscii.Of[*P] & kNameStart;
  if (IsNameStartBMP(*P)) return 1;
  // Planes 1 to 14 (#x10000-#xEFFFF) have high surrogates D800-DB7F.
  return (IsSurrogatePair(P) && P[0] <= 0xDB7F) ? 2 : 0;
}

int NameCharLength(const char16_t* P) {
  if (*P < 0x80) return (kAscii.Of[*P] & kNameChar) ? 1 : 0;
  if (IsNameCharBMP(*P)) return 1;
  return (IsSurrogatePair(P) && P[0] <= 0xDB7F) ? 2 : 0;
}

int XMLCharLength(const char16_t* P) {
  char16_t C = *P;
  if (C >= 0x20 && C <= 0xD7FF) return 1;
  if (C == 0x9 || C == 0xA || C == 0xD || (C >= 0xE000 && C <= 0xFFFD)) return 1;
  return IsSurrogatePair(P) ? 2 : 0;
}

}  // namespace xpath31chars

using namespace xpath31chars;

namespace {

bool IsDigit(char16_t C) { return C >= '0' && C <= '9'; }
bool IsWhitespace(char16_t C) { return C == 0x20 || C == 0x9 || C == 0xD || C == 0xA; }

bool StartsWith(const char16_t* P, std::u16string_view Text) {
  for (char16_t C : Text)
    if (*P++ != C) return false;  // stops at the terminating 0 as well
  return true;
}

// Length of a string delimiter of the given family at P, or 0.
int QuoteLength(const char16_t* P, bool Double) {
  if (*P == (Double ? u'"' : u'\'')) return 1;
  if (*P != '&') return 0;
  if (Double) return StartsWith(P, u"&quot;") ? 6 : StartsWith(P, u"&#34;") ? 5 : 0;
  return StartsWith(P, u"&apos;") ? 6 : StartsWith(P, u"&#39;") ? 5 : 0;
}

std::string CharacterText(const char16_t* P) {
  int N = XMLCharLength(P);
  return ToUTF8(std::u16string_view(P, N == 2 ? 2 : 1));
}

}  // namespace

void CyXPath31Scanner::ERROR_INVALID_CHARACTER(const char16_t* P, const char* TokenName) {
  std::string Message = "Invalid character \"" + CharacterText(P) + "\"";
  Message += TokenName ? std::string(" in ") + TokenName + "." : std::string(".");
  throw XPath31ScannerException(Message, P, P + (XMLCharLength(P) == 2 ? 2 : 1));
}

void CyXPath31Scanner::ERROR_INVALID_TOKEN(const char16_t* P, const char* TokenName) {
  std::string Text = ToUTF8(std::u16string_view(TokenStart_, size_t(P - TokenStart_)));
  throw XPath31ScannerException(std::string("Invalid ") + TokenName + " \"" + Text + "\".",
                                TokenStart_, P);
}

void CyXPath31Scanner::ERROR_UNTERMINATED_TOKEN(const char16_t* P, const char* TokenName) {
  throw XPath31ScannerException(std::string("Unterminated ") + TokenName + ".", TokenStart_, P);
}

void CyXPath31Scanner::Append(TyXPath31Token Kind, const char16_t* Head, const char16_t* Tail) {
  // Both lists were sized for the worst case up front; Count_ is the number of slots used.
  (*Tokens_)[TokenBase_ + Count_] = Kind;
  TokenTexts_[Count_] = TyXPath31TokenSpan(Head, Tail);
  ++Count_;
}

bool CyXPath31Scanner::ScanOptionalWhitespace(const char16_t*& P) {
  const char16_t* Begin = P;
  while (IsWhitespace(*P)) ++P;
  return P != Begin;
}

bool CyXPath31Scanner::ScanOptionalComment(const char16_t*& P) {
  if (P[0] != '(' || P[1] != ':') return false;
  TokenStart_ = P;
  P += 2;
  int Depth = 1;
  while (Depth > 0) {
    if (*P == 0) ERROR_UNTERMINATED_TOKEN(P, "comment");
    if (P[0] == '(' && P[1] == ':') {
      ++Depth;
      P += 2;
    } else if (P[0] == ':' && P[1] == ')') {
      --Depth;
      P += 2;
    } else {
      int N = XMLCharLength(P);
      if (N == 0) ERROR_INVALID_CHARACTER(P, "comment");
      P += N;
    }
  }
  return true;
}

bool CyXPath31Scanner::ScanOptionalCommentAndWhitespace(const char16_t*& P) {
  const char16_t* Begin = P;
  for (;;) {
    ScanOptionalWhitespace(P);
    if (*P != '(' || !ScanOptionalComment(P)) break;
  }
  return P != Begin;
}

bool CyXPath31Scanner::ScanOptionalNCName(const char16_t*& P) {
  int N = NameStartLength(P);
  if (N == 0) return false;
  P += N;
  while ((N = NameCharLength(P)) != 0) P += N;
  return true;
}

void CyXPath31Scanner::ScanMandatoryNCName(const char16_t*& P, const char* TokenName) {
  if (!ScanOptionalNCName(P)) ERROR_INVALID_TOKEN(P, TokenName);
}

bool CyXPath31Scanner::ScanOptionalNumericDigits(const char16_t*& P) {
  const char16_t* Begin = P;
  while (IsDigit(*P)) ++P;
  return P != Begin;
}

void CyXPath31Scanner::ScanMandatoryNumericDigits(const char16_t*& P) {
  if (!ScanOptionalNumericDigits(P)) ERROR_INVALID_TOKEN(P, "number");
}

void CyXPath31Scanner::ScanMandatoryInteger(const char16_t*& P) {
  if (!ScanOptionalNumericDigits(P)) ERROR_INVALID_TOKEN(P, "integer");
}

bool CyXPath31Scanner::ScanOptionalNumericExponent(const char16_t*& P) {
  if (*P != 'e' && *P != 'E') return false;
  ++P;
  if (*P == '+' || *P == '-') ++P;
  ScanMandatoryNumericDigits(P);
  return true;
}

TyXPath31Token CyXPath31Scanner::ScanMandatoryNumeric(const char16_t*& P) {
  TyXPath31Token Kind = X_IntegerLiteral;
  if (IsDigit(*P)) {
    ScanMandatoryInteger(P);
    if (*P == '.') {
      ++P;
      ScanOptionalNumericDigits(P);
      Kind = X_NumericLiteral;
    }
  } else {
    if (*P != '.') ERROR_INVALID_TOKEN(P, "number");
    ++P;
    ScanMandatoryNumericDigits(P);
    Kind = X_NumericLiteral;
  }
  if (ScanOptionalNumericExponent(P)) Kind = X_NumericLiteral;
  // A.2.2 terminal delimitation: "10div 3" is not "10 div 3".
  if (NameStartLength(P) != 0) {
    while (int N = NameCharLength(P)) P += N;
    throw XPath31ScannerException(
        "A number must be separated from the name that follows it: \"" +
            ToUTF8(std::u16string_view(TokenStart_, size_t(P - TokenStart_))) + "\".",
        TokenStart_, P);
  }
  return Kind;
}

void CyXPath31Scanner::ScanQuotedString(const char16_t*& P, bool Double) {
  const char* Name = "string";
  P += QuoteLength(P, Double);
  for (;;) {
    if (*P == 0) ERROR_UNTERMINATED_TOKEN(P, Name);
    if (int N = QuoteLength(P, Double)) {
      P += N;
      int M = QuoteLength(P, Double);
      if (M == 0) return;  // a lone delimiter ends the string
      P += M;              // a doubled delimiter is an escaped quote
      continue;
    }
    int N = XMLCharLength(P);
    if (N == 0) ERROR_INVALID_CHARACTER(P, Name);
    P += N;
  }
}

void CyXPath31Scanner::ScanDoubleQuotedString(const char16_t*& P) { ScanQuotedString(P, true); }
void CyXPath31Scanner::ScanSingleQuotedString(const char16_t*& P) { ScanQuotedString(P, false); }

void CyXPath31Scanner::ScanAVT(const char16_t*& P) {
  const char16_t* Begin = P;
  for (;;) {
    char16_t C = *P;
    if (C == 0) break;
    if (C == '{') {
      if (P[1] != '{') break;
      P += 2;
    } else if (C == '}') {
      if (P[1] != '}') ERROR_INVALID_CHARACTER(P, nullptr);
      P += 2;
    } else {
      ++P;
    }
  }
  if (P != Begin) Append(X_AVT, Begin, P);
}

TyXPath31Token CyXPath31Scanner::ScanName(const char16_t*& P) {
  if (P[0] == 'Q' && P[1] == '{') {
    P += 2;
    for (;;) {
      if (*P == 0) ERROR_UNTERMINATED_TOKEN(P, "BracedURILiteral");
      if (*P == '}') break;
      if (*P == '{') ERROR_INVALID_CHARACTER(P, "BracedURILiteral");
      int N = XMLCharLength(P);
      if (N == 0) ERROR_INVALID_CHARACTER(P, "BracedURILiteral");
      P += N;
    }
    ++P;
    if (*P == '*') {
      ++P;
      return X_BracedURILiteralAsterisk;
    }
    ScanMandatoryNCName(P, "URIQualifiedName");
    return X_EQName;
  }
  ScanOptionalNCName(P);
  // "a::" is a name and an axis separator; "a:b" is a prefixed name; "a:*" a wildcard.
  if (P[0] == ':' && P[1] != ':') {
    if (P[1] == '*') {
      P += 2;
      return X_NCNameColonAsterisk;
    }
    if (NameStartLength(P + 1) != 0) {
      ++P;
      ScanMandatoryNCName(P, "EQName");
      return X_EQName;
    }
  }
  return X_NCName;
}

TyXPath31Token CyXPath31Scanner::ScanSymbol(const char16_t*& P) {
  char16_t C = P[0], D = P[1];
  int Length = 1;
  TyXPath31Token Kind;
  switch (C) {
    case '=':
      Kind = D == '>' ? (Length = 2, X_Arrow) : X_Equal;
      break;
    case ':':
      Kind = D == ':'   ? (Length = 2, X_ColonColon)
             : D == '=' ? (Length = 2, X_ColonEqual)
                        : X_Colon;
      break;
    case '.':
      Kind = D == '.' ? (Length = 2, X_DotDot) : X_Dot;
      break;
    case '>':
      Kind = D == '=' ? (Length = 2, X_GtEqual) : D == '>' ? (Length = 2, X_GtGt) : X_Gt;
      break;
    case '<':
      Kind = D == '=' ? (Length = 2, X_LtEqual) : D == '<' ? (Length = 2, X_LtLt) : X_Lt;
      break;
    case '!':
      Kind = D == '=' ? (Length = 2, X_NotEqual) : X_Bang;
      break;
    case '/':
      Kind = D == '/' ? (Length = 2, X_SlashSlash) : X_Slash;
      break;
    case '|':
      Kind = D == '|' ? (Length = 2, X_VBarVBar) : X_VBar;
      break;
    case '*':
      // "*:local" is one wildcard token.
      if (D == ':' && NameStartLength(P + 2) != 0) {
        P += 2;
        ScanOptionalNCName(P);
        return X_AsteriskColonNCName;
      }
      Kind = X_Asterisk;
      break;
    case '@':
      Kind = X_At;
      break;
    case ',':
      Kind = X_Comma;
      break;
    case '$':
      Kind = X_Dollar;
      break;
    case '#':
      Kind = X_Hash;
      break;
    case '{':
      Kind = X_LCurlyBracket;
      break;
    case '(':
      Kind = X_LParenthesis;
      break;
    case '[':
      Kind = X_LSquareBracket;
      break;
    case '-':
      Kind = X_Minus;
      break;
    case '+':
      Kind = X_Plus;
      break;
    case '?':
      Kind = X_QMark;
      break;
    case '}':
      Kind = X_RCurlyBracket;
      break;
    case ')':
      Kind = X_RParenthesis;
      break;
    case ']':
      Kind = X_RSquareBracket;
      break;
    default:
      ERROR_INVALID_CHARACTER(P, nullptr);
  }
  P += Length;
  return Kind;
}

// Scans expression tokens up to the end of text or, in an attribute value template, up to the
// brace that closes the enclosed expression (braces of maps, arrays and bodies nest inside).
void CyXPath31Scanner::ScanExpressionTokens(const char16_t*& P) {
  int Depth = 0;
  for (;;) {
    ScanOptionalCommentAndWhitespace(P);
    char16_t C = *P;
    if (C == 0) return;
    if (AVT && C == '}' && Depth == 0) return;
    TokenStart_ = P;
    TyXPath31Token Kind;
    if (IsDigit(C) || (C == '.' && IsDigit(P[1]))) {
      Kind = ScanMandatoryNumeric(P);
    } else if ((C == '"' || C == '\'' || C == '&') && QuoteLength(P, true)) {
      ScanDoubleQuotedString(P);
      Kind = X_StringLiteral;
    } else if ((C == '\'' || C == '&') && QuoteLength(P, false)) {
      ScanSingleQuotedString(P);
      Kind = X_StringLiteral;
    } else if (NameStartLength(P) != 0) {
      Kind = ScanName(P);
    } else {
      Kind = ScanSymbol(P);
      if (Kind == X_LCurlyBracket) ++Depth;
      if (Kind == X_RCurlyBracket) --Depth;
    }
    Append(Kind, TokenStart_, P);
  }
}

bool CyXPath31Scanner::ScanXPath31(const char16_t* Head, std::vector<TyXPath31Token>& Tokens) {
  Start_ = Head;
  Tokens_ = &Tokens;
  TokenBase_ = Tokens.size();
  Count_ = 0;
  // A token takes at least one character (besides X_BOF and X_EOF), so this many slots suffice;
  // the lists are cut to the tokens produced on every exit, a lexical error included.
  size_t Capacity = std::char_traits<char16_t>::length(Head) + 2;
  Tokens.resize(TokenBase_ + Capacity);
  TokenTexts_.resize(Capacity);
  struct TyTrim {
    CyXPath31Scanner& Scanner;
    ~TyTrim() {
      Scanner.Tokens_->resize(Scanner.TokenBase_ + Scanner.Count_);
      Scanner.TokenTexts_.resize(Scanner.Count_);
    }
  } Trim{*this};
  const char16_t* P = Head;
  Append(X_BOF, P, P);
  if (!AVT) {
    ScanExpressionTokens(P);
  } else {
    while (*P != 0) {
      ScanAVT(P);
      if (*P != '{') break;
      Append(X_LCurlyBracket, P, P + 1);
      ++P;
      ScanExpressionTokens(P);
      if (*P == '}') {
        Append(X_RCurlyBracket, P, P + 1);
        ++P;
      }
    }
  }
  Append(X_EOF, P, P);
  return true;
}

}  // namespace xylem
