// xylem validate: each file against its schema (given, or named by the document itself), by
// libxml2 in process or by Xerces-J / Jing in the Java host; errors in the report formats of check.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli/Command.hpp"
#include "diag/ErrReport.hpp"
#include "processors/Validation.hpp"

namespace xylem::cli {

namespace {

struct TyValidateArgs {
  std::vector<std::string> Files;
  std::string Schema;
  std::string Processor = "auto";
  std::vector<std::string> Catalogs;
  std::string Report = "gcc";
};

int runValidate(const TyValidateArgs& Args) {
  const std::optional<TyErrReportFormat> format = ErrReportFormatFromName(Args.Report);
  if (!format) return kExitUsage;
  const TyValidationProcessor processor =
      Args.Processor == "libxml2"  ? TyValidationProcessor::vpLibXml2
      : Args.Processor == "xerces" ? TyValidationProcessor::vpXerces
      : Args.Processor == "jing"   ? TyValidationProcessor::vpJing
                                   : TyValidationProcessor::vpAuto;
  const CyXMLCatalogs catalogs(Args.Catalogs);
  for (const std::string& unreadable : catalogs.getUnreadable()) {
    std::fprintf(stderr, "xylem: %s: the catalog cannot be read\n", unreadable.c_str());
    return kExitUsage;
  }
  CyJavaHost* host = CyJavaHost::IsBuiltIn() ? &CyJavaHost::Shared() : nullptr;
  int exitCode = kExitOK;
  std::vector<TyErrReportSource> sources;
  for (const std::string& file : Args.Files) {
    std::FILE* probe = std::fopen(file.c_str(), "rb");
    if (!probe) {
      std::fprintf(stderr, "xylem: %s: cannot open the file\n", file.c_str());
      exitCode = kExitUsage;
      continue;
    }
    std::fclose(probe);
    TyValidationRequest request;
    request.DocumentPath = file;
    request.SchemaPath = Args.Schema;
    request.Processor = processor;
    request.Catalogs = &catalogs;
    const TyValidationResult result = ValidateDocument(request, host);
    // A missing or broken schema, or a processor that cannot run, is a usage or I/O failure.
    if (result.Verdict == TyValidationVerdict::vvSchemaError ||
        result.Verdict == TyValidationVerdict::vvProcessorError)
      exitCode = kExitUsage;
    else if (result.Verdict == TyValidationVerdict::vvInvalid && exitCode == kExitOK)
      exitCode = kExitFindings;
    sources.push_back({file, result.Errs});
  }
  const std::string report = WriteErrReport(sources, *format);
  std::fwrite(report.data(), 1, report.size(), stdout);
  return exitCode;
}

}  // namespace

void AddValidateCommand(CLI::App& App, TyCommandRun& Run) {
  auto args = std::make_shared<TyValidateArgs>();
  CLI::App* command = App.add_subcommand(
      "validate",
      "Validate each file against --schema or the schema it names (xsi:schemaLocation, "
      "xsi:noNamespaceSchemaLocation, DOCTYPE, xml-model), resolved through XML catalogs "
      "(--catalog, XML_CATALOG_FILES); the network is never used. Exit code 0 when every file "
      "is valid, 1 when any is invalid, 2 for usage or I/O errors and missing or broken schemas.");
  command->add_option("FILE", args->Files, "Files to validate")->required();
  command->add_option("--schema", args->Schema, "Schema file (.xsd, .dtd, .rng, .rnc, .sch)")
      ->allow_extra_args(false);
  command
      ->add_option("--processor", args->Processor,
                   "libxml2 (in process, default), xerces (XML Schema) or jing (RELAX NG)")
      ->check(CLI::IsMember({"auto", "libxml2", "xerces", "jing"}));
  command->add_option("--catalog", args->Catalogs, "OASIS XML catalog file (repeatable)")
      ->allow_extra_args(false);
  command->add_option("--report", args->Report, "Output format: gcc (default), json, sarif, github")
      ->check(CLI::IsMember({"gcc", "json", "sarif", "github"}));
  command->callback([&Run, args] { Run = [args] { return runValidate(*args); }; });
}

}  // namespace xylem::cli
