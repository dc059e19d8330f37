#pragma once
// What the commands that run the Java host (xpath eval, transform, xquery) share: name=value
// options, the host itself, and how results and errors are printed.

#include <map>
#include <string>
#include <vector>

#include "processors/HostRequests.hpp"

namespace xylem::cli {

// Splits each "name=value" into Into; false (and a message on stderr naming Option) when one
// has no '=' or an empty name.
bool ParseAssignments(const std::vector<std::string>& Given, const char* Option,
                      std::map<std::string, std::string>& Into);

// The process's host, or null with a message on stderr when the tool was built without it.
CyJavaHost* HostForCommand(const char* Command);

// Prints Results (one per source: its label and its result). Text: every item on its own line,
// prefixed "LABEL:" when there are several sources, and the errors in Report's format (gcc,
// json, sarif, github) on stderr. With Report "json": one object on stdout,
// {"results": [{"file", "ok", "items"}...], "errors": <the json report>}. Returns the exit code:
// 0 all ran, 1 some failed with the processor's errors, 2 the host failed.
int PrintProcessingResults(const std::vector<std::pair<std::string, TyProcessingResult>>& Results,
                           const std::string& Report);

}  // namespace xylem::cli
