#include "ToolRunner.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <random>
#include <sstream>

namespace xylem::cli::test {

namespace {

std::string readAll(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return std::move(bytes).str();
}

}  // namespace

CyTempFolder::CyTempFolder() {
  std::random_device seed;
  Path_ = std::filesystem::temp_directory_path() /
          ("xylem-test-" + std::to_string(getpid()) + "-" + std::to_string(seed()));
  std::filesystem::create_directories(Path_);
}

CyTempFolder::~CyTempFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(Path_, ignored);
}

std::string CyTempFolder::Write(const std::string& Name, const std::string& Bytes) const {
  std::ofstream(Path_ / Name, std::ios::binary) << Bytes;
  return Path(Name);
}

std::string CyTempFolder::Read(const std::string& Name) const { return readAll(Path_ / Name); }

std::string UTF16LEWithMark(const std::string& ASCII) {
  std::string out = "\xFF\xFE";
  for (char c : ASCII) out += std::string{c, '\0'};
  return out;
}

TyToolResult RunTool(const std::string& Args, const std::string& Stdin) {
  CyTempFolder io;
  io.Write("stdin", Stdin);
  const std::string command = std::string("'") + XYLEM_BINARY + "' " + Args + " <'" +
                              io.Path("stdin") + "' >'" + io.Path("stdout") + "' 2>'" +
                              io.Path("stderr") + "'";
  const int status = std::system(command.c_str());
  TyToolResult result;
  result.ExitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  result.Out = io.Read("stdout");
  result.Err = io.Read("stderr");
  return result;
}

}  // namespace xylem::cli::test
