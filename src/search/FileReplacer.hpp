#pragma once
// Replace over UTF-8 text outside the editor (a file): decoded piece by piece, replaced in one
// streamed pass, encoded back to UTF-8 piece by piece. Memory stays small whatever the size.
// The result is what the editor's replace all gives for the document the text loads as: every
// line end (CR LF, lone CR, lone LF) comes out as the document's one newline.
//
//   const std::u16string newline = ScanUTF8FileNewline(path, job);   // refuses bad bytes first
//   auto replacer = CreateReplacer(search, replacement, options, newline);
//   ReplaceAllUTF8File(path, *replacer, newline, write, job);

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "common/InputBytes.hpp"
#include "common/JobContext.hpp"
#include "search/Replacer.hpp"

namespace xylem {

// Receives the replaced text as UTF-8, in order, in pieces.
using TyUTF8Sink = std::function<void(std::string_view Bytes)>;

// The newline a load of the UTF-8 text [Data, Data + Size) chooses (counted over the whole
// text, CyTextListLoaderPieces::ChooseNewline). Refuses what CheckUTF8 refuses, as it does,
// so that a caller can refuse before writing anything: the one pass both counts and checks.
// Linear, one thread, constant memory; polls Job's stop token every 1 MiB.
std::u16string ScanUTF8Newline(const uint8_t* Data, size_t Size, const TyJobContext& Job = {});
// The same over the file at Path, read in 1 MiB pieces. Raises CyException when it cannot be
// read.
std::u16string ScanUTF8FileNewline(const std::string& Path, const TyJobContext& Job = {});

// Replaces all matches in the UTF-8 text [Data, Data + Size) (no byte-order mark), every line
// end turned into Newline (the scan's), and hands the result to Write. Sequential. Returns the
// number of replacements. PieceSize as in CyReplacer::ReplaceAllStreamed (at least 10). Reports
// "Replacing" progress in bytes to Job and polls its stop token at every piece
// (CyCancelledException). Bytes that are not UTF-8 are never replaced by U+FFFD: the first
// invalid sequence or NUL byte raises what CheckUTF8 raises; what was written before stays
// written (write to a temporary file, or call CheckUTF8 first, to write nothing).
int64_t ReplaceAllUTF8(const uint8_t* Data, size_t Size, CyReplacer& Replacer,
                       std::u16string_view Newline, const TyUTF8Sink& Write,
                       int64_t PieceSize = int64_t{1} << 18, const TyJobContext& Job = {});

// Refuses bytes that the text model would refuse: CyDecodeException code 17 at the first NUL
// byte, else code 21 at the first invalid sequence, with line and position. Parallel; reads
// [Data, Data + Size) inside ReadMapped (a shrinking mapping raises CyException 23).
// Pieces, threads and stop token come from Job.
void CheckUTF8(const uint8_t* Data, size_t Size, const TyJobContext& Job = {});
// The same for the file at Path (mapped; a pipe is read as a stream of at most MaxStreamBytes).
void CheckUTF8File(const std::string& Path, const TyJobContext& Job = {},
                   uint64_t MaxStreamBytes = kDefaultMaxStreamBytes);

// The same over the file at Path, read piece by piece. Raises CyException when it cannot be read.
int64_t ReplaceAllUTF8File(const std::string& Path, CyReplacer& Replacer,
                           std::u16string_view Newline, const TyUTF8Sink& Write,
                           int64_t PieceSize = int64_t{1} << 18, const TyJobContext& Job = {});

}  // namespace xylem
