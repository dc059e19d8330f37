#pragma once
// Formatting: the XML formatter and the JSON formatter, answered as the smallest text edits
// that turn the document's text into the formatted text (only runs of white space that change,
// trimmed to the part that differs), never one replacement of the whole text.

#include <optional>
#include <string_view>

#include "lsp/Protocol.hpp"
#include "xml/format/Formatter.hpp"

namespace xylem::lsp {

// The message of a refused XML document.
inline constexpr const char* kNotWellFormedMessage =
    "Cannot format document because it's not well-formed.";

// The LSP TextEdits turning Old into New (both with the same line ends). Where the two differ
// only in white space (what formatters change), each differing run of white space becomes one
// edit of its differing part; past the first difference in other characters, one edit covers
// the rest up to the common tail. Linear in the texts.
json MinimalTextEdits(std::u16string_view Old, std::u16string_view New);

// `textDocument/formatting` (Range empty) and `textDocument/rangeFormatting` (edits touching
// Range). Options: the client's FormattingOptions (tabSize, insertSpaces) choose the
// indentation unit; XMLChoices holds the rest. Raises CyLspError (RequestFailed) with
// kNotWellFormedMessage for a refused XML document, with the JSON formatter's message for bad
// JSON, and for plain text. Linear in the text.
json FormatEdits(const CyDocumentView& Document, const json& Options,
                 const TyXMLFormatterChoices& XMLChoices, std::optional<TyTextRange> Range);

}  // namespace xylem::lsp
