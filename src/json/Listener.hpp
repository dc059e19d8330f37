#pragma once
// What the JSON parser reports as it recognises a document. Spans are pairs of pointers into
// the parsed text: the first character and just past the last.

#include <string_view>

namespace xylem {

// Receives the parse in document order. Implementations decide what to build; the parser
// builds nothing. Events stop at the first error (the parser raises JSONException).
class IyJSONParserListener {
 public:
  virtual ~IyJSONParserListener() = default;

  // Before anything else, with what CyJSONParser::Parse was given.
  virtual void BOF(std::u16string_view DocumentName) = 0;
  // After the top-level value, before the end of input is checked. (EOF is a C library macro,
  // hence the underscore.)
  virtual void EOF_() = 0;
  // At "[", with the bracket's position.
  virtual void StartArray(const char16_t* Position) = 0;
  // At "]", with the bracket's position.
  virtual void EndArray(const char16_t* Position) = 0;
  // At "{", with the bracket's position.
  virtual void StartObject(const char16_t* Position) = 0;
  // At "}", with the bracket's position.
  virtual void EndObject(const char16_t* Position) = 0;
  // Before a member's key is consumed, with the key token's span (quotes included). The span
  // may be of a token that is not a string: the parser checks the key right after this call.
  virtual void StartObjectMember(const char16_t* Head, const char16_t* Tail) = 0;
  // After the ":" that follows the key, before the member's value.
  virtual void EndObjectMember() = 0;
  virtual void WriteLiteralFalse(const char16_t* Head, const char16_t* Tail) = 0;
  virtual void WriteLiteralNull(const char16_t* Head, const char16_t* Tail) = 0;
  virtual void WriteLiteralTrue(const char16_t* Head, const char16_t* Tail) = 0;
  // A number token's span, spelled as in the source.
  virtual void WriteNumber(const char16_t* Head, const char16_t* Tail) = 0;
  // A string value's span, quotes and escapes included.
  virtual void WriteString(const char16_t* Head, const char16_t* Tail) = 0;
};

// Does nothing: for checking well-formedness only.
class CyJSONParserListenerNIL final : public IyJSONParserListener {
 public:
  void BOF(std::u16string_view) override {}
  void EOF_() override {}
  void StartArray(const char16_t*) override {}
  void EndArray(const char16_t*) override {}
  void StartObject(const char16_t*) override {}
  void EndObject(const char16_t*) override {}
  void StartObjectMember(const char16_t*, const char16_t*) override {}
  void EndObjectMember() override {}
  void WriteLiteralFalse(const char16_t*, const char16_t*) override {}
  void WriteLiteralNull(const char16_t*, const char16_t*) override {}
  void WriteLiteralTrue(const char16_t*, const char16_t*) override {}
  void WriteNumber(const char16_t*, const char16_t*) override {}
  void WriteString(const char16_t*, const char16_t*) override {}
};

}  // namespace xylem
