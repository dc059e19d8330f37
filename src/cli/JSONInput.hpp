#pragma once
// A loaded input file as the one NUL-terminated buffer the JSON scanner reads.

#include "cli/InputFile.hpp"
#include "json/Memory.hpp"

namespace xylem::cli {

// The lines of Input joined with its newline, copied once into the JSON memory.
CyJSONMemory JSONMemoryOf(const TyInputFile& Input);

}  // namespace xylem::cli
