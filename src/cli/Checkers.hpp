#pragma once
// The checks behind `xylem check`, one per document kind, each returning error records located
// in the document (lines and positions as the text list counts them).

#include "cli/InputFile.hpp"
#include "xml/ErrList.hpp"

namespace xylem::cli {

// XML well-formedness. Stores the line states while checking (in parallel pieces), so the list
// is changed only in its per-line caches.
IyXMLErrsPtr CheckXML(TyInputFile& Input);

// The syntax of every XPath-bearing attribute of an XSLT stylesheet (which must be
// well-formed), errors placed on the failing token.
IyXMLErrsPtr CheckXSLT(const TyInputFile& Input);

// JSON strictness (RFC 8259): at most one error, the first.
IyXMLErrsPtr CheckJSON(const TyInputFile& Input);

}  // namespace xylem::cli
