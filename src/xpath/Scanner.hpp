#pragma once
// The XPath 3.1 scanner: cuts NUL-terminated UTF-16 text into token kinds without deciding
// whether a name is a keyword (the tokenizer does that in context).

#include <string>
#include <string_view>
#include <vector>

#include "common/Exception.hpp"
#include "xpath/Token.hpp"

namespace xylem {

// A lexical error: the message and the offending stretch [PStart, PEnd) of the scanned text.
class XPath31ScannerException : public CyException {
 public:
  XPath31ScannerException(const std::string& Text, const char16_t* PStart, const char16_t* PEnd)
      : CyException(Text), PStart_(PStart), PEnd_(PEnd) {}
  // The message (UTF-8), e.g. "Unterminated string.".
  std::string Text() const { return what(); }
  // First character of the offending stretch.
  const char16_t* getPStart() const noexcept { return PStart_; }
  // Just past the offending stretch (PStart + 1 or 2 for a single invalid character).
  const char16_t* getPEnd() const noexcept { return PEnd_; }

 private:
  const char16_t* PStart_;
  const char16_t* PEnd_;
};

// Where a token's text lies: [Head, Tail). Left uninitialised on construction, so that the
// scanner can size its list for the worst case without clearing it.
struct TyXPath31TokenSpan {
  const char16_t* Head;
  const char16_t* Tail;
  TyXPath31TokenSpan() {}  // NOLINT: deliberately no initialisation
  TyXPath31TokenSpan(const char16_t* Head, const char16_t* Tail) : Head(Head), Tail(Tail) {}
  std::u16string_view Text() const { return {Head, size_t(Tail - Head)}; }
};

// Scans one expression (or attribute value template) per call. Not thread-safe; cheap to make.
class CyXPath31Scanner {
 public:
  // AVT: the text is an attribute value template, so scanning starts in literal-text mode.
  explicit CyXPath31Scanner(bool AVT = false) : AVT(AVT) {}

  // Scans the whole text from Head (which must end with a 0) and appends the kinds to Tokens,
  // starting with X_BOF and ending with X_EOF; texts go to TokenTexts in step. Returns true;
  // raises XPath31ScannerException at the first lexical error (tokens so far stay in the lists).
  // Linear in the text; appends to the lists, nothing else is allocated.
  bool ScanXPath31(const char16_t* Head, std::vector<TyXPath31Token>& Tokens);

  // The texts of the tokens produced so far (spans of the scanned text), in step with the kinds.
  const std::vector<TyXPath31TokenSpan>& TokenTexts() const { return TokenTexts_; }
  // Start pointer of the text last scanned.
  const char16_t* getStart() const { return Start_; }

  // Scanning routines: each moves P. Optional ones return whether they consumed anything;
  // mandatory ones raise XPath31ScannerException when nothing matches.
  bool ScanOptionalCommentAndWhitespace(const char16_t*& P);
  bool ScanOptionalComment(const char16_t*& P);
  bool ScanOptionalWhitespace(const char16_t*& P);
  void ScanMandatoryNCName(const char16_t*& P, const char* TokenName);
  bool ScanOptionalNCName(const char16_t*& P);
  void ScanMandatoryInteger(const char16_t*& P);
  TyXPath31Token ScanMandatoryNumeric(const char16_t*& P);  // X_IntegerLiteral or X_NumericLiteral
  void ScanMandatoryNumericDigits(const char16_t*& P);
  bool ScanOptionalNumericDigits(const char16_t*& P);
  bool ScanOptionalNumericExponent(const char16_t*& P);
  void ScanDoubleQuotedString(const char16_t*& P);  // P at the opening delimiter (any spelling)
  void ScanSingleQuotedString(const char16_t*& P);
  void ScanAVT(const char16_t*& P);  // literal text up to an opening brace or the end

  // Raise XPath31ScannerException; TokenName may be null (then the short message is used).
  [[noreturn]] void ERROR_INVALID_CHARACTER(const char16_t* P, const char* TokenName);
  [[noreturn]] void ERROR_INVALID_TOKEN(const char16_t* P, const char* TokenName);
  [[noreturn]] void ERROR_UNTERMINATED_TOKEN(const char16_t* P, const char* TokenName);

  const bool AVT;

 private:
  void Append(TyXPath31Token Kind, const char16_t* Head, const char16_t* Tail);
  void ScanExpressionTokens(const char16_t*& P);
  TyXPath31Token ScanName(const char16_t*& P);
  TyXPath31Token ScanSymbol(const char16_t*& P);
  void ScanQuotedString(const char16_t*& P, bool Double);

  const char16_t* Start_ = nullptr;
  const char16_t* TokenStart_ = nullptr;  // first character of the token being scanned
  std::vector<TyXPath31Token>* Tokens_ = nullptr;
  size_t TokenBase_ = 0;  // size of Tokens_ when the scan began
  size_t Count_ = 0;      // tokens produced by this scan
  std::vector<TyXPath31TokenSpan> TokenTexts_;
};

// XML 1.0 character classes over UTF-16, shared with the tokenizer's keyword checks.
namespace xpath31chars {
// Code units (1 or 2) of the name-start character at P, or 0.
int NameStartLength(const char16_t* P);
// Code units (1 or 2) of the name character at P, or 0.
int NameCharLength(const char16_t* P);
// Code units (1 or 2) of the legal XML character at P, or 0 (also 0 at the terminating 0).
int XMLCharLength(const char16_t* P);
}  // namespace xpath31chars

}  // namespace xylem
