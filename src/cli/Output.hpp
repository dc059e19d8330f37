#pragma once
// Writing a command's resulting text: to stdout in the input's own encoding, byte-order mark
// and newline, or back into the file atomically.

#include <functional>
#include <string>

#include "cli/InputFile.hpp"
#include "text/TextFileWriter.hpp"

namespace xylem::cli {

// Streams what Produce puts into the writer (lines joined with PutNewline) in the input's
// format: into the file when InPlace, as Mode says (standard input goes to stdout instead),
// else to stdout. Returns false after printing "xylem: NAME: MESSAGE" when writing failed (the
// file is then untouched). Other exceptions of Produce pass through, and an in-place file is
// left as it was.
bool WriteStreamed(const TyInputFile& Input, bool InPlace,
                   const std::function<void(CyTextFileWriter&)>& Produce,
                   TyInPlaceWrite Mode = TyInPlaceWrite::ipwRename);
// Text uses "\n", "\r" or "\r\n" line ends; it is split into lines and written as above when
// InPlace or ToStdout (nothing is written when neither is set).
bool WriteResult(const TyInputFile& Input, std::u16string_view Text, bool InPlace, bool ToStdout,
                 TyInPlaceWrite Mode = TyInPlaceWrite::ipwRename);
// The same for a result already in a text list.
bool WriteResult(const TyInputFile& Input, const TxTextList& Result, bool InPlace, bool ToStdout,
                 TyInPlaceWrite Mode = TyInPlaceWrite::ipwRename);

// What --help says about -i and --in-place-keep-links, the same for every command.
inline constexpr const char* kInPlaceHelp =
    "Write the result back into each file: into a temporary file first, renamed over the file "
    "(permissions, owner, group, extended attributes and ACLs kept). Like sed -i, this gives the "
    "path a new file: other hard links to it keep the old content.";
inline constexpr const char* kInPlaceKeepLinksHelp =
    "Like -i, but copy the finished result into the existing file, so that its hard links and "
    "identity are kept (not atomic; a failure names the temporary file holding the result).";

}  // namespace xylem::cli
