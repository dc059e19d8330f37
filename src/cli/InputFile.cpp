#include "cli/InputFile.hpp"

#include <unistd.h>

#include <chrono>
#include <cstdio>

#include "common/Exception.hpp"
#include "common/InputBytes.hpp"

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

std::unique_ptr<TyInputFile> LoadInputFile(const std::string& Path,
                                           std::optional<CyDecodeException>* Refused) {
  auto input = std::make_unique<TyInputFile>();
  input->Path = Path;
  input->DisplayName = Path == "-" ? "<stdin>" : Path;
  input->List.setOnCreateUniqueID(CreateProcessUniqueIDs);
  const auto start = std::chrono::steady_clock::now();
  // Mode 1: refuse what does not decode rather than count replacements.
  CyUTF8ToCharErrorHandler refuse(1);
  TyTextFileLoadOptions options;
  options.ErrorHandler = &refuse;
  try {
    if (Path == "-") {
      const CyInputBytes bytes = CyInputBytes::FromDescriptor(STDIN_FILENO, "standard input");
      input->Format = LoadTextBytes(
          std::string_view(reinterpret_cast<const char*>(bytes.getData()), bytes.getSize()), "",
          input->List, options);
    } else {
      input->Format = LoadTextFile(Path, input->List, options);
    }
  } catch (const CyDecodeException& error) {
    if (Refused) {
      Refused->emplace(error);
      return nullptr;
    }
    std::fprintf(stderr, "xylem: %s: %s\n", input->DisplayName.c_str(),
                 OneLine(error.what()).c_str());
    return nullptr;
  } catch (const CyException& error) {
    std::string message = OneLine(error.what());
    if (error.getCode() == kErrorStreamLimit) message += " Raise it with --max-stream-bytes.";
    std::fprintf(stderr, "xylem: %s: %s\n", input->DisplayName.c_str(), message.c_str());
    return nullptr;
  }
  input->LoadSeconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return input;
}

}  // namespace xylem::cli
