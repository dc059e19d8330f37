// xylem replace: replace all over whole files, plain or regular expression.
#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/Command.hpp"
#include "cli/InputFile.hpp"
#include "cli/Output.hpp"
#include "cli/ProgressBar.hpp"
#include "common/Utf.hpp"
#include "search/Escapes.hpp"
#include "search/EuroReplacer.hpp"
#include "search/FileReplacer.hpp"
#include "search/RegExprSearcher.hpp"
#include "text/EncodingDetector.hpp"
#include "text/InputStream.hpp"

namespace xylem::cli {

namespace {

// Ends a streamed in-place replace that found nothing, before the file is replaced.
struct TyNothingReplaced {};

struct TyReplaceArgs {
  std::string Search;
  std::string Replacement;
  std::vector<std::string> Files;
  bool Regex = false;
  bool CaseSensitive = false;
  bool WholeWord = false;
  bool InPlace = false;
  bool KeepLinks = false;  // --in-place-keep-links
};

// The replaced text of one file, joined with the document's own newline.
std::u16string replaceAll(CyReplacer& Replacer, const TyInputFile& Input, int64_t& Count) {
  const std::u16string text =
      Input.List.getTextItems().getJoined(Input.Format.Newline, 1, Input.List.getCount());
  CyFIFOUTF16 out;
  int64_t delta = 0, maxDelta = 0;
  Count = 0;
  Replacer.Replace(text.data(), static_cast<int64_t>(text.size()), 0,
                   static_cast<int64_t>(text.size()), {}, out, delta, maxDelta, Count);
  return Count > 0 ? out.ReadAll() : text;
}

// The format of a file that can be replaced as a stream of UTF-8: UTF-8 without a mark, by the
// text model's own detection on its first bytes; nothing for anything else.
std::optional<TyTextFileFormat> StreamableFormat(const std::string& Path) {
  // Only a regular file can be read twice (its head here, then the whole); a pipe goes to the
  // text model, which reads it once as a stream.
  struct stat info {};
  if (Path == "-" || stat(Path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
  std::ifstream file(Path, std::ios::binary);
  std::string head(64 * 1024, '\0');
  head.resize(static_cast<size_t>(
      file.read(head.data(), static_cast<std::streamsize>(head.size())).gcount()));
  if (!file.eof() && !file) return std::nullopt;
  TyTextFileFormat format;
  try {
    CyRewindableInputStream stream(reinterpret_cast<const uint8_t*>(head.data()), head.size());
    CyEncodingDetector::DetectEncodingAndSkipBOM(Path, stream, format.HasBOM, format.Encoding,
                                                 format.EncodingFixed);
  } catch (const CyException&) {
    return std::nullopt;  // the text model's load reports it
  }
  if (format.HasBOM || format.Encoding.getCodePage() != kCodePageUTF8) return std::nullopt;
  return format;  // the newline is counted over the whole file when it is replaced
}

// Replaces a UTF-8 file as a stream (constant memory) into stdout or, with InPlace and at least
// one replacement, atomically into the file, with the document's rules: line ends and the
// template's newline escapes become the newline a load would choose, counted over the whole
// file first; that first pass also refuses bytes that are not UTF-8 before anything is written.
// Returns the exit code.
int replaceStreamed(const std::string& Path, const TyTextFileFormat& Format,
                    const std::u16string& Search, const std::u16string& Replacement,
                    uint8_t Options, bool InPlace, TyInPlaceWrite Mode) {
  TyInputFile target;  // names the file for WriteStreamed
  target.Path = Path;
  target.DisplayName = Path;
  target.Format = Format;
  CyProgressBar bar(Path);
  const TyJobContext job = JobFor(&bar);
  int64_t count = 0;
  try {
    // Standard output cannot be taken back: the newline's pass refuses bytes that are not
    // UTF-8 before the first byte goes out.
    target.Format.Newline = ScanUTF8FileNewline(Path, job);
    const auto replacer = CreateReplacer(Search, Replacement, Options, target.Format.Newline);
    const bool written = WriteStreamed(
        target, InPlace,
        [&](CyTextFileWriter& Out) {
          count = ReplaceAllUTF8File(
              Path, *replacer, target.Format.Newline,
              [&Out](std::string_view Bytes) { Out.PutEncoded(Bytes); }, int64_t{1} << 18, job);
          // Nothing replaced: the file keeps its bytes and its time stamp.
          if (InPlace && count == 0) throw TyNothingReplaced{};
        },
        Mode);
    bar.Stop();
    if (!written) return kExitUsage;
  } catch (const TyNothingReplaced&) {
    bar.Stop();
  } catch (const CyException& error) {
    bar.Stop();
    std::fprintf(stderr, "xylem: %s: %s\n", Path.c_str(), OneLine(error.what()).c_str());
    return kExitUsage;
  }
  std::fprintf(stderr, "%s: %lld replacement%s\n", Path.c_str(), static_cast<long long>(count),
               count == 1 ? "" : "s");
  return kExitOK;
}

int runReplace(const TyReplaceArgs& Args) {
  const uint8_t options = (Args.Regex ? roRegExpr : 0) |
                          (Args.CaseSensitive ? roCaseSensitive : 0) |
                          (Args.WholeWord ? roWholeWordOnly : 0);
  const std::u16string search = ToUTF16(Args.Search);
  const std::u16string replacement = ToUTF16(Args.Replacement);
  // Pattern and template are checked once, before any file is touched.
  try {
    CreateReplacer(search, replacement, options, u"\n");
  } catch (const CyRegExprException& error) {
    std::fprintf(stderr, "xylem: pattern: %s (at offset %lld)\n", error.getPCRE2Message().c_str(),
                 static_cast<long long>(error.getPosition()));
    return kExitUsage;
  } catch (const ReplaceWithException& error) {
    std::fprintf(stderr, "xylem: replacement: %s (at offset %lld)\n", error.what(),
                 static_cast<long long>(error.getPosition()));
    return kExitUsage;
  }

  const bool inPlace = Args.InPlace || Args.KeepLinks;
  const TyInPlaceWrite mode =
      Args.KeepLinks ? TyInPlaceWrite::ipwKeepLinks : TyInPlaceWrite::ipwRename;
  int exitCode = kExitOK;
  for (const std::string& path : Args.Files) {
    if (const std::optional<TyTextFileFormat> format = StreamableFormat(path)) {
      exitCode = std::max(
          exitCode, replaceStreamed(path, *format, search, replacement, options, inPlace, mode));
      continue;
    }
    CyProgressBar bar(path);
    std::unique_ptr<TyInputFile> input = LoadInputFile(path, JobFor(&bar));
    if (!input) {
      exitCode = kExitUsage;
      continue;
    }
    // The pattern's newline follows each document's own.
    const auto replacer = CreateReplacer(search, replacement, options, input->Format.Newline);
    int64_t count = 0;
    const std::u16string result = replaceAll(*replacer, *input, count);
    bar.Stop();  // the count and the result follow on the terminal
    std::fprintf(stderr, "%s: %lld replacement%s\n", input->DisplayName.c_str(),
                 static_cast<long long>(count), count == 1 ? "" : "s");
    if (!WriteResult(*input, result, inPlace && count > 0, !inPlace, mode)) exitCode = kExitUsage;
  }
  return exitCode;
}

}  // namespace

void AddReplaceCommand(CLI::App& App, TyCommandRun& Run) {
  auto args = std::make_shared<TyReplaceArgs>();
  CLI::App* command = App.add_subcommand(
      "replace",
      "Replace every match of SEARCH with REPLACEMENT in each file. The count per file goes to "
      "stderr; the result goes to stdout, or back into the file with -i (written atomically, "
      "encoding, byte-order mark and newline kept; see --in-place-keep-links for hard links). "
      "Bytes that do not decode are refused (exit 2) with the position of the first one; "
      "nothing is written. With --regex, SEARCH is a PCRE2 pattern and "
      "REPLACEMENT may use $1, ${name}, \\n and the other template escapes.");
  command->add_option("SEARCH", args->Search, "Text or pattern to find")->required();
  command->add_option("REPLACEMENT", args->Replacement, "Replacement text or template")->required();
  command->add_option("FILE", args->Files, "Files (- for standard input)")->required();
  command->add_flag("--regex,-r", args->Regex, "SEARCH is a regular expression");
  command->add_flag("--case-sensitive,-c", args->CaseSensitive, "Match case exactly");
  command->add_flag("--whole-word,-w", args->WholeWord,
                    "Matches must not touch letters, digits, _, -, . or :");
  command->add_flag("--in-place,-i", args->InPlace, kInPlaceHelp);
  command->add_flag("--in-place-keep-links", args->KeepLinks, kInPlaceKeepLinksHelp);
  command->callback([&Run, args] { Run = [args] { return runReplace(*args); }; });
}

}  // namespace xylem::cli
