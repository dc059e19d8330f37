#pragma once
// Whole-text commands: format an XML document (the XML formatter) or a JSON document (the JSON
// formatter) as one undoable change. The caret stays on the same element where it can (the
// same start tag for XML, the same token for JSON). A refusal (not well-formed, not valid
// JSON) leaves the text as it was and reports the formatter's message and position.
//
// Editing thread only; linear in the text.

#include <cstdint>
#include <memory>
#include <string>

#include "common/JobContext.hpp"
#include "editor/Snapshot.hpp"
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

// A snapshot's formatted text, waiting to replace the document's (FormatSnapshot, Install).
struct TyFormattedText {
  TyFormatResult Result;             // Refused and its message, or not
  std::unique_ptr<TxTextList> List;  // null when refused, plain text or unchanged
  uint64_t Generation = 0;           // the snapshot's
  bool JSON = false;
};

class CyEditorFormat {
 public:
  // Formats by the document's kind (JSON documents with the JSON formatter, plain text not at
  // all, every other kind with the XML formatter).
  static TyFormatResult FormatDocument(TxMarkupDocument& Document, const TyFormatChoices& Choices);
  // FormatDocument in two halves, so that a front end formats on a worker thread: FormatSnapshot
  // reads only Snapshot (any thread; the XML formatter reports "Formatting" progress to Job and
  // polls its stop, ending with CyCancelledException); Install replaces the text as one
  // undoable step when the document is still at the snapshot's generation, else changes
  // nothing and returns false (editing thread).
  static TyFormattedText FormatSnapshot(const TxDocumentSnapshot& Snapshot,
                                        const TyFormatChoices& Choices, const TyJobContext& Job);
  static bool Install(TxMarkupDocument& Document, TyFormattedText&& Formatted);
};

}  // namespace xylem
