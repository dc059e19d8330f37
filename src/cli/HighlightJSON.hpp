#pragma once
// `xylem highlight` for JSON documents: colored by token kind.

#include "cli/InputFile.hpp"

namespace xylem::cli {

// Writes Input colored by the JSON scheme to stdout (an HTML page when Html, else ANSI escapes).
// A scanning error is reported on stderr as FILE:LINE:COL: error: MESSAGE; the text up to it
// keeps its colors and the rest is written plainly. Returns the exit code (always kExitOK: the
// document was shown). Linear; holds the joined text once.
int HighlightJSON(const TyInputFile& Input, bool Html, bool Dark, const TyJobContext& Job);

}  // namespace xylem::cli
