#pragma once
// Writing a command's resulting text: to stdout in the input's own encoding, byte-order mark
// and newline, or back into the file atomically.

#include <functional>
#include <string>

#include "cli/InputFile.hpp"
#include "text/TextFileWriter.hpp"

namespace xylem::cli {

// Streams what Produce puts into the writer (lines joined with PutNewline) in the input's
// format: into the file atomically when InPlace (standard input goes to stdout instead), else
// to stdout. Returns false after printing "xylem: NAME: MESSAGE" when writing failed (the file
// is then untouched). Other exceptions of Produce pass through, and an in-place file is left
// as it was.
bool WriteStreamed(const TyInputFile& Input, bool InPlace,
                   const std::function<void(CyTextFileWriter&)>& Produce);
// Text uses "\n", "\r" or "\r\n" line ends; it is split into lines and written as above when
// InPlace or ToStdout (nothing is written when neither is set).
bool WriteResult(const TyInputFile& Input, std::u16string_view Text, bool InPlace, bool ToStdout);
// The same for a result already in a text list.
bool WriteResult(const TyInputFile& Input, const TxTextList& Result, bool InPlace, bool ToStdout);

}  // namespace xylem::cli
