// `xylem lsp`: the language server over standard input and output.
#include <iostream>

#include "cli/Command.hpp"
#include "lsp/Server.hpp"

namespace xylem::cli {

void AddLspCommand(CLI::App& App, TyCommandRun& Run) {
  CLI::App* Command = App.add_subcommand(
      "lsp", "Run the language server (LSP 3.17) over standard input and output.");
  auto Options = std::make_shared<lsp::TyLspServerOptions>();
  auto DelayMs = std::make_shared<int64_t>(Options->DiagnosticsDelay.count());
  Command->add_option("--diagnostics-delay", *DelayMs,
                      "Milliseconds of pause in typing before checks run (default 300).");
  Command->add_option("--max-message", Options->MaxMessageLength,
                      "Largest message accepted, in bytes.");
  Command->callback([&Run, Options, DelayMs] {
    Run = [Options, DelayMs] {
      Options->DiagnosticsDelay = std::chrono::milliseconds(*DelayMs);
      std::ios::sync_with_stdio(false);
      lsp::CyLspServer Server(std::cout, *Options);
      return Server.Run(std::cin);
    };
  });
}

}  // namespace xylem::cli
