// The xylem command-line tool: one subcommand per job, git style.
#include <CLI/CLI.hpp>

int main(int argc, char** argv) {
  CLI::App app{"Xylem: fast, exact XML and JSON tools"};
  app.set_version_flag("--version", std::string("xylem ") + XYLEM_VERSION);
  app.require_subcommand(1);
  CLI11_PARSE(app, argc, argv);
  return 0;
}
