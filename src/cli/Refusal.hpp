#pragma once
// Findings the tool makes of its own: one error at a position, and a file whose bytes were
// refused (binary or undecodable) as the one finding `check` reports for it.

#include <cstdint>
#include <string>

#include "diag/ErrList.hpp"
#include "text/DecodeError.hpp"

namespace xylem::cli {

// A list of one error at Line and Linepos.
IyXMLErrsPtr OneError(int64_t Line, int64_t Linepos, std::u16string Message);

// The refusal as one error at the first bad byte, its message on one line.
IyXMLErrsPtr RefusalErrors(const CyDecodeException& Refusal);

}  // namespace xylem::cli
