#pragma once
// Loading the tool's input files: a path, or "-" for standard input, into a text list with
// its detected format. Failures become one clear line on stderr, never an exception.
//
// Bytes that do not decode in the detected encoding are refused with the position of the first
// bad one, never replaced: a replacement character must not reach a file the tool writes.
// Standard input and named pipes are read as streams up to --max-stream-bytes.

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "cli/Job.hpp"
#include "json/Memory.hpp"
#include "text/DecodeError.hpp"
#include "text/TextFile.hpp"
#include "text/TextList.hpp"

namespace xylem::cli {

struct TyInputFile {
  std::string Path;         // as given on the command line ("-" for standard input)
  std::string DisplayName;  // what messages call it ("<stdin>" for standard input)
  TxTextList List;
  TyTextFileFormat Format;
  // A JSON file read straight into JSON memory (see LoadJSONOrInputFile); List is then empty.
  std::shared_ptr<const CyJSONMemory> JSON;
  double LoadSeconds = 0;
};

// Loads Path (or stdin for "-"). On failure prints "xylem: NAME: MESSAGE" to stderr, with the
// message on one line, and returns null. Job: the load's pieces, threads and progress. With
// Refused, a refusal of the file's bytes (binary or undecodable) is stored there instead of
// printed, for a caller that reports it as a finding.
std::unique_ptr<TyInputFile> LoadInputFile(const std::string& Path,
                                           const TyJobContext& Job = JobFor(nullptr),
                                           std::optional<CyDecodeException>* Refused = nullptr);

// The message of an exception as one line: the loader's two-line messages joined by a blank.
std::string OneLine(std::string Message);

// The document's line end judged by the first one in Text (a file's first bytes or
// characters): CR LF, LF or CR, and CR LF, what a new document gets, when there is none.
template <typename Char>
std::u16string FirstNewline(std::basic_string_view<Char> Text) {
  const Char ends[] = {Char('\r'), Char('\n'), Char(0)};
  const size_t at = Text.find_first_of(ends);
  if (at == Text.npos) return u"\r\n";
  if (Text[at] == Char('\n')) return u"\n";
  return at + 1 < Text.size() && Text[at + 1] == Char('\n') ? u"\r\n" : u"\r";
}

// "CR LF", "LF" or "CR".
const char* NewlineName(std::u16string_view Newline);

}  // namespace xylem::cli
