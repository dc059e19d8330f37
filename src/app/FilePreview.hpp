#pragma once
// What the window shows of a big file while the full load runs: the file's first stretch, or
// its last one, read, decoded and coloured on its own in a few milliseconds. A stretch is cut
// at line ends, so its whole lines are the file's lines; their states come from the
// document-level state at the stretch's first line, which is exact for the first stretch and,
// for the last one, right whenever the guessed safe point (a line that starts with a tag) is
// not inside a comment, CDATA section or other multi-line construct.
//
// Only encodings in which the bytes 0x0A and 0x0D are always line ends qualify (UTF-8 and the
// single-byte code pages); UTF-16 files and files with a NUL get no preview.
//
// Any thread; nothing here is shared.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>

#include "editor/Document.hpp"

namespace xylem {

struct TyFilePreview {
  // The stretch's lines with their line states, ready for InstallLoaded.
  TyLoadedDocument Loaded;
  // The file's line number of the stretch's first line: 1 for the first stretch; 0 (not
  // counted) for the last, whose number is CountFileLineEnds(path, StretchOffset) + 1.
  int64_t FirstLine = 1;
  // Where the stretch starts in the file, in bytes.
  uint64_t StretchOffset = 0;
  // The stretch's first lines that are whole lines of the file; the first stretch has one more
  // line behind them, the empty rest after its last line end.
  int64_t WholeLines = 0;
  // The file's size in bytes, and the stretch's.
  uint64_t FileBytes = 0;
  uint64_t StretchBytes = 0;
};

// The first stretch: at most MaxBytes bytes up to the last line end among them. nullopt when
// the file cannot be read, has no line end in the stretch, holds a NUL there or is in an
// encoding that does not qualify. Cost: the stretch's bytes (reads, decodes, scans).
std::optional<TyFilePreview> ReadHeadPreview(const std::string& Path,
                                             size_t MaxBytes = size_t{1} << 20);

// The last stretch: from a safe line start among the last MaxBytes bytes to the end, decoded
// in Head's encoding and coloured as Head's kind; its lines are not numbered (FirstLine 0).
// nullopt as for the head. Cost: the stretch's bytes.
std::optional<TyFilePreview> ReadTailPreview(const std::string& Path, const TyFilePreview& Head,
                                             size_t MaxBytes = size_t{256} << 10);

// The line ends among the file's first Bytes bytes (Bytes a line start), read in 1 MiB chunks:
// about a tenth of a second per GiB when the file is cached. -1 when the file cannot be read
// that far or Stop was requested (polled per chunk).
int64_t CountFileLineEnds(const std::string& Path, uint64_t Bytes, std::stop_token Stop = {});

// Line ends in Bytes as a load counts them: LF, lone CR and CR LF each count once.
int64_t CountLineEnds(const char* Bytes, size_t Size);

}  // namespace xylem
