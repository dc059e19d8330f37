#include "cli/InputFile.hpp"

#include <chrono>
#include <cstdio>
#include <iostream>
#include <iterator>
#include <sstream>

#include "common/Exception.hpp"

namespace xylem::cli {

std::string OneLine(std::string Message) {
  for (size_t at; (at = Message.find("\r\n")) != std::string::npos;) Message.replace(at, 2, " ");
  for (char& c : Message)
    if (c == '\r' || c == '\n') c = ' ';
  return Message;
}

const char* NewlineName(std::u16string_view Newline) {
  if (Newline == u"\r\n") return "CR LF";
  if (Newline == u"\r") return "CR";
  return "LF";
}

std::unique_ptr<TyInputFile> LoadInputFile(const std::string& Path, const TyJobContext& Job) {
  auto input = std::make_unique<TyInputFile>();
  input->Path = Path;
  input->DisplayName = Path == "-" ? "<stdin>" : Path;
  input->List.setOnCreateUniqueID(CreateProcessUniqueIDs);
  const auto start = std::chrono::steady_clock::now();
  TyTextFileLoadOptions options;
  options.Job = &Job;
  try {
    if (Path == "-") {
      std::ostringstream bytes;
      bytes << std::cin.rdbuf();
      input->Format = LoadTextBytes(bytes.str(), "", input->List, options);
    } else {
      input->Format = LoadTextFile(Path, input->List, options);
    }
  } catch (const CyException& error) {
    std::fprintf(stderr, "xylem: %s: %s\n", input->DisplayName.c_str(),
                 OneLine(error.what()).c_str());
    return nullptr;
  }
  input->LoadSeconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return input;
}

}  // namespace xylem::cli
