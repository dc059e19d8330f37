#pragma once
// The checks behind `xylem check`, one per document kind, each returning error records located
// in the document (lines and positions as the text list counts them).

#include "cli/InputFile.hpp"
#include "xml/ErrList.hpp"

namespace xylem::cli {

// JSON strictness (RFC 8259): at most one error, the first.
IyXMLErrsPtr CheckJSON(const TyInputFile& Input);

}  // namespace xylem::cli
