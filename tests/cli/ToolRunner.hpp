#pragma once
// Runs the built xylem binary as a user would, in a temporary folder of the test's own.

#include <filesystem>
#include <string>

namespace xylem::cli::test {

struct TyToolResult {
  int ExitCode = -1;
  std::string Out;
  std::string Err;
};

// Runs `xylem ARGS` through the shell (ARGS already quoted), with Stdin as standard input.
TyToolResult RunTool(const std::string& Args, const std::string& Stdin = "");

// ASCII text as UTF-16LE bytes behind a byte-order mark.
std::string UTF16LEWithMark(const std::string& ASCII);

// A fresh folder removed when the object goes away.
class CyTempFolder {
 public:
  CyTempFolder();
  ~CyTempFolder();
  CyTempFolder(const CyTempFolder&) = delete;
  CyTempFolder& operator=(const CyTempFolder&) = delete;

  // Writes Bytes to NAME inside the folder and returns the full path.
  std::string Write(const std::string& Name, const std::string& Bytes) const;
  std::string Read(const std::string& Name) const;
  std::string Path(const std::string& Name) const { return (Path_ / Name).string(); }

 private:
  std::filesystem::path Path_;
};

}  // namespace xylem::cli::test
