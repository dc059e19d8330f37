// xylem check: well-formedness of XML, strictness of JSON; errors in the formats that editors'
// problem matchers and CI logs parse.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli/Command.hpp"
#include "cli/InputFile.hpp"
#include "cli/JSONInput.hpp"
#include "cli/ProgressBar.hpp"
#include "cli/Refusal.hpp"
#include "diag/ErrReport.hpp"
#include "services/DocumentChecks.hpp"

namespace xylem::cli {

namespace {

struct TyCheckArgs {
  std::vector<std::string> Files{"-"};
  std::string Report = "gcc";
};

int runCheck(const TyCheckArgs& Args) {
  const std::optional<TyErrReportFormat> format = ErrReportFormatFromName(Args.Report);
  if (!format) {
    std::fprintf(stderr, "xylem: unknown report format '%s' (gcc, json, sarif, github)\n",
                 Args.Report.c_str());
    return kExitUsage;
  }
  int exitCode = kExitOK;
  std::vector<TyErrReportSource> sources;
  // Bytes the loader refuses (binary, undecodable) are a finding about the file, at its first
  // bad byte, like any other error in it.
  auto refusal = [&](const std::string& Path, const CyDecodeException& Refused) {
    sources.push_back({Path == "-" ? "<stdin>" : Path, RefusalErrors(Refused)});
    if (exitCode == kExitOK) exitCode = kExitFindings;
  };
  for (const std::string& path : Args.Files) {
    CyProgressBar bar(path);
    const TyJobContext job = JobFor(&bar);
    std::optional<CyDecodeException> refused;
    std::unique_ptr<TyInputFile> input = LoadJSONOrInputFile(path, job, &refused);
    if (!input) {
      if (refused)
        refusal(path, *refused);
      else
        exitCode = kExitUsage;
      continue;
    }
    IyXMLErrsPtr errors;
    int64_t totalDelta = 0;
    switch (input->JSON ? TyDocumentKind::dkJSON : DetectDocumentKind(path, input->List)) {
      case TyDocumentKind::dkJSON:
        errors = CheckJSONDocument(*JSONMemoryOf(*input));
        if (HasErrors(errors) && RefusedAsBinary(*input, &refused)) {
          if (refused)
            refusal(path, *refused);
          else
            exitCode = kExitUsage;
          continue;
        }
        break;
      case TyDocumentKind::dkXML:
        errors = CheckXMLDocument(input->List, totalDelta, job);
        break;
      case TyDocumentKind::dkXSLT:
        errors = CheckXMLDocument(input->List, totalDelta, job);
        if (!HasErrors(errors))
          errors = CheckXSLTDocument(input->List, CyXPathCheckerCachePool::Shared());
        break;
      case TyDocumentKind::dkDTD:
      case TyDocumentKind::dkText:
        continue;  // nothing to check yet
    }
    if (HasErrors(errors) && exitCode == kExitOK) exitCode = kExitFindings;
    sources.push_back({input->DisplayName, errors});
  }
  const std::string report = WriteErrReport(sources, *format);
  std::fwrite(report.data(), 1, report.size(), stdout);
  return exitCode;
}

}  // namespace

void AddCheckCommand(CLI::App& App, TyCommandRun& Run) {
  auto args = std::make_shared<TyCheckArgs>();
  CLI::App* command = App.add_subcommand(
      "check",
      "Check each file: XML for well-formedness, XSLT stylesheets also for the syntax of every "
      "XPath-bearing attribute, JSON for strict RFC 8259 syntax (kind by extension, then by "
      "content). "
      "Errors go to stdout as FILE:LINE:COL: error: MESSAGE, sorted by position. A binary file, "
      "or bytes that do not decode in the file's encoding, is one error at the first bad byte. "
      "Exit code 0 when every file is fine, 1 when any has an error, 2 for usage or I/O errors.");
  command->add_option("FILE", args->Files, "Files to check (- or nothing for standard input)");
  command->add_option("--report", args->Report, "Output format: gcc (default), json, sarif, github")
      ->check(CLI::IsMember({"gcc", "json", "sarif", "github"}));
  command->callback([&Run, args] { Run = [args] { return runCheck(*args); }; });
}

}  // namespace xylem::cli
