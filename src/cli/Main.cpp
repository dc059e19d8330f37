// The xylem command-line tool: one subcommand per job, git style.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "cli/Command.hpp"
#include "common/Exception.hpp"
#include "common/Settings.hpp"
#include "text/TemporaryFiles.hpp"

namespace {

// A closed standard descriptor would be handed out again by the next open, and the tool's
// output would land in whatever file got it. Each is held open on /dev/null, standard output and
// error read-only, so that writing to them still fails (EBADF) and is reported.
void holdStandardDescriptors() {
  for (int fd = 0; fd <= 2; ++fd) {
    if (fcntl(fd, F_GETFD) != -1 || errno != EBADF) continue;
    const int held = open("/dev/null", fd == 0 ? O_WRONLY : O_RDONLY);
    if (held >= 0 && held != fd) {
      dup2(held, fd);
      close(held);
    }
  }
}

// Whatever a command printed must have reached standard output: a full disk, a closed pipe or
// an I/O error turns success into exit code 2.
int checkStandardOutput(int Code) {
  errno = 0;
  std::cout.flush();  // through stdio: may already be the failing write
  const bool failed = std::fflush(stdout) != 0 || std::ferror(stdout) || !std::cout;
  if (!failed) return Code;
  const int error = errno;
  std::fprintf(stderr, "xylem: standard output cannot be written: %s.\n",
               error ? std::strerror(error) : "a write failed");
  return xylem::cli::kExitUsage;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace xylem::cli;
  holdStandardDescriptors();
  // A reader that went away is a write error like any other (EPIPE), not a silent death.
  signal(SIGPIPE, SIG_IGN);
  xylem::CyTemporaryFiles::RemoveOnSignals();

  CLI::App app{"Xylem: fast, exact XML, XPath and JSON tools.", "xylem"};
  app.set_version_flag("--version", std::string("xylem ") + XYLEM_VERSION);
  app.require_subcommand(1);
  app.fallthrough(false);
  uint64_t maxStreamBytes = xylem::CySettings::Get().MaxStreamBytes;
  app.add_option("--max-stream-bytes", maxStreamBytes,
                 "Most bytes read from standard input or a named pipe (K, M, G suffixes; "
                 "default 4G)")
      ->transform(CLI::AsSizeValue(false));

  TyCommandRun run;
  AddCheckCommand(app, run);
  AddFormatCommand(app, run);
  AddHighlightCommand(app, run);
  AddInfoCommand(app, run);
  AddLspCommand(app, run);
  AddReplaceCommand(app, run);
  AddTokensCommand(app, run);
  AddTransformCommand(app, run);
  AddValidateCommand(app, run);
  AddXPathCommand(app, run);
  AddXQueryCommand(app, run);
  // The global options may also follow the subcommand.
  for (CLI::App* command : app.get_subcommands({})) command->fallthrough(true);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    // CLI11 reports --help and --version as "errors" with exit code 0.
    const int code = app.exit(error);
    return checkStandardOutput(code == 0 ? kExitOK : kExitUsage);
  }
  xylem::CySettings::Get().MaxStreamBytes = maxStreamBytes;
  int code = kExitUsage;
  try {
    code = run ? run() : kExitUsage;
  } catch (const xylem::CyException& error) {
    std::fprintf(stderr, "xylem: %s\n", error.what());
    code = kExitUsage;
  }
  return checkStandardOutput(code);
}
