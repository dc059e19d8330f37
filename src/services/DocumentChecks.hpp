#pragma once
// The checks of a document by its kind, shared by the front ends: XML well-formedness, the XPath
// syntax of XSLT stylesheets, strict JSON. Each returns error records located in the document
// (lines and positions as the text list counts them).

#include <cstdint>

#include "common/JobContext.hpp"
#include "diag/ErrList.hpp"
#include "services/DocumentKind.hpp"
#include "services/XPathCheckerCachePool.hpp"

namespace xylem {

class TxTextList;
class CyJSONMemory;

// XML well-formedness. Stores the line states while checking (in parallel pieces), so the list
// changes only in its per-line caches; TotalDelta receives the document's total delta. Job:
// pieces, threads, progress and cancellation of the check.
IyXMLErrsPtr CheckXMLDocument(TxTextList& List, int64_t& TotalDelta, const TyJobContext& Job = {});

// The syntax of every XPath-bearing attribute of an XSLT stylesheet (which must be
// well-formed), errors placed on the failing token. Uses a cache leased from Caches.
IyXMLErrsPtr CheckXSLTDocument(const TxTextList& List, CyXPathCheckerCachePool& Caches);

// JSON strictness (RFC 8259): at most one error, the first.
IyXMLErrsPtr CheckJSONDocument(const CyJSONMemory& Text);

// Whether any record of Errs is an error (not a warning or a hint).
bool HasErrors(const IyXMLErrsPtr& Errs);

}  // namespace xylem
