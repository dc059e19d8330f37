// xylem xpath eval: an XPath 3.1 expression evaluated by Saxon-HE in the Java host, once per file
// (or once without a context item), one result item per line.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli/Command.hpp"
#include "cli/ProcessingOutput.hpp"

namespace xylem::cli {

namespace {

struct TyXPathEvalArgs {
  std::string Expression;
  std::vector<std::string> Files;
  std::vector<std::string> Namespaces;
  std::vector<std::string> Variables;
  std::string Report = "gcc";
};

int runXPathEval(const TyXPathEvalArgs& Args) {
  TyXPathEvaluation request;
  request.Expression = Args.Expression;
  request.RootNamespaces = true;
  if (!ParseAssignments(Args.Namespaces, "--ns", request.Namespaces) ||
      !ParseAssignments(Args.Variables, "--var", request.Variables))
    return kExitUsage;
  CyJavaHost* host = HostForCommand("xpath eval");
  if (!host) return kExitUsage;
  std::vector<std::pair<std::string, TyProcessingResult>> results;
  if (Args.Files.empty()) results.emplace_back("(expression)", EvaluateXPath(*host, request));
  for (const std::string& file : Args.Files) {
    request.Document.Path = file;
    results.emplace_back(file, EvaluateXPath(*host, request));
  }
  return PrintProcessingResults(results, Args.Report);
}

}  // namespace

void AddXPathEvalCommand(CLI::App& XPath, TyCommandRun& Run) {
  auto args = std::make_shared<TyXPathEvalArgs>();
  CLI::App* eval = XPath.add_subcommand(
      "eval",
      "Evaluate an XPath 3.1 expression (Saxon-HE) with each FILE as the context item, or with "
      "none. Prefixes: those declared on the document's root element and --ns. Results one item "
      "per line (nodes serialized as XML), prefixed by the file when there are several; errors "
      "on stderr. Exit code 0 when every evaluation succeeded, 1 on an evaluation error, 2 for "
      "usage or I/O errors.");
  eval->add_option("EXPR", args->Expression, "The expression")->required();
  eval->add_option("FILE", args->Files, "Documents to evaluate against");
  eval->add_option("--ns", args->Namespaces, "Namespace binding prefix=uri (repeatable)")
      ->allow_extra_args(false);
  eval->add_option("--var", args->Variables, "Variable name=value, untyped (repeatable)")
      ->allow_extra_args(false);
  eval->add_option("--report", args->Report,
                   "Errors as gcc (default), json, sarif or github; json also puts the results "
                   "into one JSON object on stdout")
      ->check(CLI::IsMember({"gcc", "json", "sarif", "github"}));
  eval->callback([&Run, args] { Run = [args] { return runXPathEval(*args); }; });
}

}  // namespace xylem::cli
