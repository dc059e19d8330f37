#pragma once
// Writing a command's resulting text: to stdout in the input's own encoding, byte-order mark
// and newline, or back into the file atomically.

#include <string>

#include "cli/InputFile.hpp"

namespace xylem::cli {

// Text uses "\n", "\r" or "\r\n" line ends; it is split into lines and written with the
// input's format. InPlace writes the file (never standard input); ToStdout writes the bytes to
// stdout. Returns false after printing "xylem: NAME: MESSAGE" when writing failed.
bool WriteResult(const TyInputFile& Input, std::u16string_view Text, bool InPlace, bool ToStdout);
// The same for a result already in a text list.
bool WriteResult(const TyInputFile& Input, const TxTextList& Result, bool InPlace, bool ToStdout);

}  // namespace xylem::cli
