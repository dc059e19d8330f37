// xylem xquery: an XQuery 3.1 query run by Saxon-HE in the Java host, one result item per line.
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "cli/Command.hpp"
#include "cli/ProcessingOutput.hpp"

namespace xylem::cli {

namespace {

struct TyXQueryArgs {
  std::vector<std::string> Positional;  // QUERY [FILE], or FILE alone with --file
  std::string QueryFile;
  std::vector<std::string> Variables;
  std::string Report = "gcc";
};

int runXQuery(const TyXQueryArgs& Args) {
  TyXQueryRun request;
  std::vector<std::string> rest = Args.Positional;
  if (!Args.QueryFile.empty()) {
    std::ifstream in(Args.QueryFile, std::ios::binary);
    if (!in) {
      std::fprintf(stderr, "xylem: %s: cannot open the file\n", Args.QueryFile.c_str());
      return kExitUsage;
    }
    std::ostringstream text;
    text << in.rdbuf();
    request.Query = text.str();
    request.QueryURL = Args.QueryFile;
  } else if (!rest.empty()) {
    request.Query = rest.front();
    rest.erase(rest.begin());
  } else {
    std::fprintf(stderr, "xylem: xquery: give a query or --file\n");
    return kExitUsage;
  }
  if (rest.size() > 1) {
    std::fprintf(stderr, "xylem: xquery: at most one document\n");
    return kExitUsage;
  }
  if (!rest.empty()) request.Document.Path = rest.front();
  if (!ParseAssignments(Args.Variables, "--var", request.Variables)) return kExitUsage;
  CyJavaHost* host = HostForCommand("xquery");
  if (!host) return kExitUsage;
  const std::string label = !request.QueryURL.empty()        ? request.QueryURL
                            : !request.Document.Path.empty() ? request.Document.Path
                                                             : "(query)";
  return PrintProcessingResults({{label, RunXQuery(*host, request)}}, Args.Report);
}

}  // namespace

void AddXQueryCommand(CLI::App& App, TyCommandRun& Run) {
  auto args = std::make_shared<TyXQueryArgs>();
  CLI::App* command = App.add_subcommand(
      "xquery",
      "Run an XQuery 3.1 query (Saxon-HE), given as text or with --file, with FILE as the "
      "context item. Results one item per line (nodes serialized as XML); errors on stderr. "
      "Exit code 0 on success, 1 on a query error, 2 for usage or I/O errors.");
  command->add_option("QUERY_OR_FILE", args->Positional, "The query (unless --file), then FILE");
  command->add_option("--file", args->QueryFile, "Read the query from this file");
  command->add_option("--var", args->Variables, "External variable name=value (repeatable)")
      ->allow_extra_args(false);
  command->add_option("--report", args->Report, "Errors as gcc (default), json, sarif or github")
      ->check(CLI::IsMember({"gcc", "json", "sarif", "github"}));
  command->callback([&Run, args] { Run = [args] { return runXQuery(*args); }; });
}

}  // namespace xylem::cli
