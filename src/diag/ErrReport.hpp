#pragma once
// The diagnostics report writer: the one place that turns error lists into the command-line
// tool's output formats (gcc-style text, JSON, SARIF 2.1.0, GitHub workflow annotations).

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "diag/ErrList.hpp"

namespace xylem {

enum class TyErrReportFormat : uint8_t {
  erfGcc,     // "FILE:LINE:COL: error: MESSAGE [CODE]", one line per error
  erfJSON,    // array of {file, line, column, severity, message, code}
  erfSARIF,   // SARIF 2.1.0 log with one run of the tool "xylem"
  erfGitHub,  // "::error file=F,line=L,col=C::MESSAGE" workflow commands
};

// The format named "gcc", "json", "sarif" or "github"; nullopt for any other name.
std::optional<TyErrReportFormat> ErrReportFormatFromName(std::string_view Name);

// One checked document's errors. Document (UTF-8) names the file that records with an empty
// URL refer to; records with a URL name their own file. A null Errs counts as empty.
struct TyErrReportSource {
  std::string Document;
  IyXMLErrsPtr Errs;
};

// The whole report in Format (UTF-8; every line, JSON's last included, ends with a newline).
// Sources keep their order; within a source, errors are sorted by URL (the document itself first),
// line and position. A line or position of zero or less counts as unknown and is left out (null in
// JSON, no region in SARIF). Severities: gcc and SARIF show errors, fatal errors and terminations
// as error, warnings as warning, the rest as note (GitHub: notice); JSON gives the record's own
// severity name ("error", "fatal", "info", "ok", "termination", "warning"). Linear in the number of
// errors after the sort; allocates. Safe to call from any thread.
std::string WriteErrReport(const std::vector<TyErrReportSource>& Sources, TyErrReportFormat Format);

}  // namespace xylem
