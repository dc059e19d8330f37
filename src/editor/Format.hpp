#pragma once
// Whole-text commands: format an XML document (the XML formatter) or a JSON document (the JSON
// formatter) as one undoable change. The caret stays on the same element where it can (the
// same start tag for XML, the same token for JSON). A refusal (not well-formed, not valid
// JSON) leaves the text as it was and reports the formatter's message and position.
//
// Editing thread only; linear in the text.

#include <cstdint>
#include <string>

#include "json/Writer.hpp"
#include "xml/format/Formatter.hpp"

namespace xylem {

class TxMarkupDocument;

struct TyFormatResult {
  bool Formatted = false;  // the text was replaced (false also when it was already formatted)
  bool Refused = false;    // the formatter refused the document
  std::string Message;     // the formatter's message when refused
  int64_t Line = 0;        // where the formatter stopped (1-based; 0 when unknown)
  int64_t Linepos = 0;
};

struct TyFormatChoices {
  TyXMLFormatterChoices XML;
  TyJSONWriterOptions JSON;
};

class CyEditorFormat {
 public:
  // Formats by the document's kind (JSON documents with the JSON formatter, plain text not at
  // all, every other kind with the XML formatter).
  static TyFormatResult FormatDocument(TxMarkupDocument& Document, const TyFormatChoices& Choices);
};

}  // namespace xylem
