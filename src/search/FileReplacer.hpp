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
// result to Write. Sequential. Returns the number of replacements. PieceSize as in
// CyReplacer::ReplaceAllStreamed. Bytes that are not UTF-8 are never replaced by U+FFFD: the
// first invalid sequence or NUL byte raises what CheckUTF8 raises; what was written before
// stays written (write to a temporary file, or call CheckUTF8 first, to write nothing).
int64_t ReplaceAllUTF8(const uint8_t* Data, size_t Size, CyReplacer& Replacer,
                       const TyUTF8Sink& Write, int64_t PieceSize = int64_t{1} << 18);

// Refuses bytes that the text model would refuse: CyDecodeException code 17 at the first NUL
// byte, else code 21 at the first invalid sequence, with line and position. Parallel; reads
// [Data, Data + Size) inside ReadMapped (a shrinking mapping raises CyException 23).
void CheckUTF8(const uint8_t* Data, size_t Size);
// The same for the file at Path (mapped; a pipe is read as a stream).
void CheckUTF8File(const std::string& Path);

// The same over the file at Path, read piece by piece. Raises CyException when it cannot be read.
int64_t ReplaceAllUTF8File(const std::string& Path, CyReplacer& Replacer, const TyUTF8Sink& Write,
                           int64_t PieceSize = int64_t{1} << 18);

}  // namespace xylem
