#include "cli/ProcessingOutput.hpp"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "cli/Command.hpp"
#include "diag/ErrReport.hpp"
#include "processors/ProcessorInfos.hpp"

namespace xylem::cli {

bool ParseAssignments(const std::vector<std::string>& Given, const char* Option,
                      std::map<std::string, std::string>& Into) {
  for (const std::string& one : Given) {
    const size_t equals = one.find('=');
    if (equals == std::string::npos || equals == 0) {
      std::fprintf(stderr, "xylem: %s %s: expected name=value\n", Option, one.c_str());
      return false;
    }
    Into[one.substr(0, equals)] = one.substr(equals + 1);
  }
  return true;
}

CyJavaHost* HostForCommand(const char* Command) {
  if (CyJavaHost::IsBuiltIn()) return &CyJavaHost::Shared();
  std::fprintf(stderr,
               "xylem: %s needs the Java processor host, which this build left out (install "
               "default-jdk-headless, libsaxonhe-java, libxerces2-java and jing, then rebuild)\n",
               Command);
  return nullptr;
}

namespace {

// A failure of the host itself (it could not start, died, timed out), not a processor's finding.
bool hostFailed(const TyProcessingResult& Result) {
  return !Result.Ok && Result.Errs->getCount() == 1 &&
         Result.Errs->getXMLErr(0)->getProcessorInfo() == JavaHostProcessorInfo();
}

}  // namespace

int PrintProcessingResults(const std::vector<std::pair<std::string, TyProcessingResult>>& Results,
                           const std::string& Report) {
  const std::optional<TyErrReportFormat> format = ErrReportFormatFromName(Report);
  if (!format) return kExitUsage;
  int exitCode = kExitOK;
  std::vector<TyErrReportSource> sources;
  nlohmann::json results = nlohmann::json::array();
  for (const auto& [label, result] : Results) {
    if (hostFailed(result))
      exitCode = kExitUsage;
    else if (!result.Ok && exitCode == kExitOK)
      exitCode = kExitFindings;
    sources.push_back({label, result.Errs});
    if (Report == "json") {
      results.push_back({{"file", label}, {"ok", result.Ok}, {"items", result.Items}});
      continue;
    }
    for (const std::string& item : result.Items) {
      if (Results.size() > 1) std::printf("%s:", label.c_str());
      std::printf("%s\n", item.c_str());
    }
  }
  const std::string errors = WriteErrReport(sources, *format);
  if (Report == "json") {
    const nlohmann::json out{{"results", results}, {"errors", nlohmann::json::parse(errors)}};
    std::printf("%s\n", out.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
  } else {
    std::fwrite(errors.data(), 1, errors.size(), stderr);
  }
  return exitCode;
}

}  // namespace xylem::cli
