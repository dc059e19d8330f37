// xylem info: how each file is stored, as the loader sees it.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli/Command.hpp"
#include "cli/InputFile.hpp"
#include "cli/ProgressBar.hpp"
#include "services/DocumentKind.hpp"

namespace xylem::cli {

namespace {

int runInfo(const std::vector<std::string>& Files) {
  int exitCode = kExitOK;
  bool first = true;
  for (const std::string& path : Files) {
    std::unique_ptr<TyInputFile> input;
    {
      CyProgressBar bar(path);
      input = LoadInputFile(path, JobFor(&bar));
    }
    if (!input) {
      exitCode = kExitUsage;
      continue;
    }
    if (!first) std::printf("\n");
    first = false;
    const TyTextFileFormat& format = input->Format;
    std::printf("%s\n", input->DisplayName.c_str());
    std::printf("  encoding:   %s\n", format.Encoding.getName().c_str());
    std::printf("  mark:       %s\n", format.HasBOM ? "yes" : "no");
    std::printf("  fixed:      %s\n", format.EncodingFixed ? "yes" : "no");
    std::printf("  newline:    %s\n", NewlineName(format.Newline));
    std::printf("  lines:      %lld\n", static_cast<long long>(input->List.getCount()));
    std::printf("  type:       %s\n", DocumentKindName(DetectDocumentKind(path, input->List)));
    std::printf("  load time:  %.3f ms\n", input->LoadSeconds * 1000);
  }
  return exitCode;
}

}  // namespace

void AddInfoCommand(CLI::App& App, TyCommandRun& Run) {
  auto files = std::make_shared<std::vector<std::string>>();
  CLI::App* info = App.add_subcommand(
      "info",
      "Show how each file is stored: encoding, byte-order mark, whether the encoding is "
      "fixed by a declaration, newline, line count, document type and load time.");
  info->add_option("FILE", *files, "Files to inspect (- for standard input)")->required();
  info->callback([&Run, files] { Run = [files] { return runInfo(*files); }; });
}

}  // namespace xylem::cli
