// xylem transform: an XSLT 3.0 stylesheet applied to a document by Saxon-HE in the Java host; the
// output is written to a temporary file beside it and renamed only when the run succeeded.
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "cli/Command.hpp"
#include "cli/ProcessingOutput.hpp"

namespace xylem::cli {

namespace {

struct TyTransformArgs {
  std::string Stylesheet;
  std::string File;
  std::string Output;
  std::vector<std::string> Parameters;
  std::string Template;
  std::string Mode;
  std::string Report = "gcc";
};

int runTransform(const TyTransformArgs& Args) {
  for (const std::string* path : {&Args.Stylesheet, &Args.File}) {
    std::error_code error;
    if (!path->empty() && !std::filesystem::is_regular_file(*path, error)) {
      std::fprintf(stderr, "xylem: %s: cannot open the file\n", path->c_str());
      return kExitUsage;
    }
  }
  TyTransformation request;
  request.StylesheetPath = Args.Stylesheet;
  request.Document.Path = Args.File;
  request.InitialTemplate = Args.Template;
  request.InitialMode = Args.Mode;
  if (!ParseAssignments(Args.Parameters, "--param", request.Parameters)) return kExitUsage;
  CyJavaHost* host = HostForCommand("transform");
  if (!host) return kExitUsage;
  // Same folder as the target, so the rename is atomic and a failed run leaves the target as it
  // was.
  std::string temporary;
  if (!Args.Output.empty() && Args.Output != "-") {
    temporary = Args.Output + ".xylem-" + std::to_string(getpid()) + ".tmp";
    request.OutputPath = temporary;
  }
  TyProcessingResult result = Transform(*host, request);
  if (!temporary.empty()) {
    std::error_code error;
    if (result.Ok) std::filesystem::rename(temporary, Args.Output, error);
    if (!result.Ok || error) std::filesystem::remove(temporary, error);
    if (result.Ok && error) {
      std::fprintf(stderr, "xylem: %s: cannot write the file\n", Args.Output.c_str());
      return kExitUsage;
    }
  } else if (result.Ok) {
    std::fwrite(result.Output.data(), 1, result.Output.size(), stdout);
  }
  const std::string label = Args.File.empty() ? Args.Stylesheet : Args.File;
  return PrintProcessingResults({{label, std::move(result)}}, Args.Report);
}

}  // namespace

void AddTransformCommand(CLI::App& App, TyCommandRun& Run) {
  auto args = std::make_shared<TyTransformArgs>();
  CLI::App* command = App.add_subcommand(
      "transform",
      "Apply an XSLT 3.0 stylesheet (Saxon-HE) to FILE. The result goes to stdout, or with -o "
      "to a file replaced only when the run succeeds; messages and errors (placed on their "
      "character in the stylesheet) on stderr. Exit code 0 on success, 1 on a stylesheet or "
      "run-time error, 2 for usage or I/O errors.");
  command->add_option("STYLESHEET", args->Stylesheet, "The stylesheet")->required();
  command->add_option("FILE", args->File, "The source document (optional with --template)");
  command->add_option("-o,--output", args->Output, "Write the result here");
  command->add_option("--param", args->Parameters, "Stylesheet parameter name=value (repeatable)")
      ->allow_extra_args(false);
  command->add_option("--template", args->Template, "Start with this named template");
  command->add_option("--mode", args->Mode, "Start in this mode");
  command->add_option("--report", args->Report, "Errors as gcc (default), json, sarif or github")
      ->check(CLI::IsMember({"gcc", "json", "sarif", "github"}));
  command->callback([&Run, args] { Run = [args] { return runTransform(*args); }; });
}

}  // namespace xylem::cli
