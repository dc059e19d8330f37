#pragma once
// Completion: inside the XPath-bearing attributes of XSLT stylesheets, the tokens the XPath
// parser expects at the caret (keywords, axes, operators, and the function library with
// signatures where a name may stand); in XML content, the end tag of the element open at the
// caret and the element names used in the document; inside a start tag, the attribute names
// used in the document.

#include "lsp/Protocol.hpp"

namespace xylem::lsp {

// `textDocument/completion` at Position: a CompletionList (never incomplete). Linear in the
// text for the name lists; the XPath case parses the value up to the caret.
json Completion(const TxMarkupDocument& Document, TyTextPosition Position);

}  // namespace xylem::lsp
