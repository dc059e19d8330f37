// The xylem command-line tool: one subcommand per job, git style.
#include <cstdio>

#include "cli/Command.hpp"
#include "common/Exception.hpp"

int main(int argc, char** argv) {
  using namespace xylem::cli;
  CLI::App app{"Xylem: fast, exact XML, XPath and JSON tools.", "xylem"};
  app.set_version_flag("--version", std::string("xylem ") + XYLEM_VERSION);
  app.require_subcommand(1);
  app.fallthrough(false);

  TyCommandRun run;
  AddCheckCommand(app, run);
  AddFormatCommand(app, run);
  AddHighlightCommand(app, run);
  AddInfoCommand(app, run);
  AddLspCommand(app, run);
  AddReplaceCommand(app, run);
  AddTokensCommand(app, run);
  AddXPathCommand(app, run);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    // CLI11 reports --help and --version as "errors" with exit code 0.
    const int code = app.exit(error);
    return code == 0 ? kExitOK : kExitUsage;
  }
  try {
    return run ? run() : kExitUsage;
  } catch (const xylem::CyException& error) {
    std::fprintf(stderr, "xylem: %s\n", error.what());
    return kExitUsage;
  }
}
