#pragma once
// Replace over UTF-8 text outside the editor (a file): decoded piece by piece, replaced in one
// streamed pass, encoded back to UTF-8 piece by piece. Memory stays small whatever the size.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "search/Replacer.hpp"

namespace xylem {

// Receives the replaced text as UTF-8, in order, in pieces.
using TyUTF8Sink = std::function<void(std::string_view Bytes)>;

// Replaces all matches in the UTF-8 text [Data, Data + Size) (no byte-order mark) and hands the
// result to Write. Invalid sequences become U+FFFD. Raises CyException (code 17, the
// binary-file message) for a NUL byte; what was written before stays written. Sequential.
// Returns the number of replacements. PieceSize as in CyReplacer::ReplaceAllStreamed.
int64_t ReplaceAllUTF8(const uint8_t* Data, size_t Size, CyReplacer& Replacer,
                       const TyUTF8Sink& Write, int64_t PieceSize = int64_t{1} << 18);

// The same over the file at Path, read piece by piece. Raises CyException when it cannot be read.
int64_t ReplaceAllUTF8File(const std::string& Path, CyReplacer& Replacer, const TyUTF8Sink& Write,
                           int64_t PieceSize = int64_t{1} << 18);

}  // namespace xylem
