#pragma once
// How subcommands plug into the tool: each Add*Command registers its CLI11 subcommand and,
// when the user picks it, stores the function that runs it. Exit codes follow the convention
// of xmllint and compilers, so scripts can trust them.

#include <CLI/CLI.hpp>
#include <functional>

namespace xylem::cli {

inline constexpr int kExitOK = 0;        // every file is fine
inline constexpr int kExitFindings = 1;  // some file has an error (not well-formed, ...)
inline constexpr int kExitUsage = 2;     // usage or I/O error: missing, binary, unreadable file

using TyCommandRun = std::function<int()>;

void AddCheckCommand(CLI::App& App, TyCommandRun& Run);
void AddFormatCommand(CLI::App& App, TyCommandRun& Run);
void AddHighlightCommand(CLI::App& App, TyCommandRun& Run);
void AddInfoCommand(CLI::App& App, TyCommandRun& Run);
void AddLspCommand(CLI::App& App, TyCommandRun& Run);
void AddReplaceCommand(CLI::App& App, TyCommandRun& Run);
void AddTokensCommand(CLI::App& App, TyCommandRun& Run);
void AddTransformCommand(CLI::App& App, TyCommandRun& Run);
void AddValidateCommand(CLI::App& App, TyCommandRun& Run);
void AddXPathCommand(CLI::App& App, TyCommandRun& Run);
// `xpath eval`, added to the xpath command.
void AddXPathEvalCommand(CLI::App& XPath, TyCommandRun& Run);
void AddXQueryCommand(CLI::App& App, TyCommandRun& Run);

}  // namespace xylem::cli
