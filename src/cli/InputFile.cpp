#include "cli/InputFile.hpp"

#include <unistd.h>

#include <chrono>
#include <cstdio>

#include "common/Exception.hpp"
#include "common/InputBytes.hpp"
#include "common/Settings.hpp"

namespace xylem::cli {

std::string OneLine(std::string Message) {
  // CR LF becomes one blank, a lone CR or LF another; built anew (string::replace in a loop
  // trips a false -Wrestrict of g++ 12).
  std::string line;
  line.reserve(Message.size());
  for (size_t at = 0; at < Message.size(); ++at) {
    const char c = Message[at];
    if (c == '\r' && at + 1 < Message.size() && Message[at + 1] == '\n') ++at;
    line += c == '\r' || c == '\n' ? ' ' : c;
  }
  return line;
}

const char* NewlineName(std::u16string_view Newline) {
  if (Newline == u"\r\n") return "CR LF";
  if (Newline == u"\r") return "CR";
  return "LF";
}

std::unique_ptr<TyInputFile> LoadInputFile(const std::string& Path, const TyJobContext& Job,
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
  options.Job = &Job;
  options.MaxStreamBytes = CySettings::Get().MaxStreamBytes;
  try {
    if (Path == "-") {
      const CyInputBytes bytes =
          CyInputBytes::FromDescriptor(STDIN_FILENO, "standard input", options.MaxStreamBytes);
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
