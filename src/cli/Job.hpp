#pragma once
// The job context the tool's commands hand to the core: the piece count from the settings,
// the tool's one task pool, the application's name, and the progress of the file at hand.

#include "common/JobContext.hpp"

namespace xylem::cli {

// A context for one file's work, with Progress (the file's progress bar, or null). The pool
// is made on first use (one worker per processor but one: the command's thread works too)
// and lives until the process ends. Call from the command's thread.
TyJobContext JobFor(IyProgressSink* Progress);

}  // namespace xylem::cli
