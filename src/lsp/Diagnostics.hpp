#pragma once
// Diagnostics: the error records of the document's checks (well-formedness, the XPath of XSLT
// stylesheets, JSON) as LSP Diagnostic objects.

#include "diag/ErrList.hpp"
#include "lsp/Protocol.hpp"

namespace xylem::lsp {

// The diagnostics of Errs (null: none) for Document, whose positions they must already match.
// A record with a second position spans to it; one without marks the character it names (or
// the line's end). Severity by the record's level; code the record's standard code.
json DiagnosticsOf(const IyXMLErrs* Errs, const CyDocumentView& Document);

}  // namespace xylem::lsp
