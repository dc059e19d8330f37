#include "app/FilePreview.hpp"

#include <algorithm>
#include <cstring>
#include <fstream>

#include "text/Encoding.hpp"

namespace xylem {

namespace {

bool Qualifies(const CyEncoding& Encoding) {
  return Encoding.getCodePage() != kCodePageUTF16LE && Encoding.getCodePage() != kCodePageUTF16BE &&
         !Encoding.IsBinary();
}

bool IsNameStart(char C) {
  return (C >= 'a' && C <= 'z') || (C >= 'A' && C <= 'Z') || C == '_' || C == ':' ||
         static_cast<unsigned char>(C) >= 0x80;
}

// Behind the line end that starts at At (LF, CR or CR LF).
size_t SkipLineEnd(const char* Bytes, size_t At, size_t Size) {
  if (Bytes[At] == '\r' && At + 1 < Size && Bytes[At + 1] == '\n') return At + 2;
  return At + 1;
}

// The first line start at or after From (From itself when it follows a line end or is 0).
size_t NextLineStart(const char* Bytes, size_t From, size_t Size) {
  for (size_t i = From; i < Size; ++i)
    if (Bytes[i] == '\n' || Bytes[i] == '\r') return SkipLineEnd(Bytes, i, Size);
  return Size;
}

std::optional<TyFilePreview> Decode(std::string_view Bytes, const std::string& Path,
                                    const TyDocumentLoadOptions& Options,
                                    std::optional<TyDocumentKind> Kind) {
  if (std::memchr(Bytes.data(), 0, Bytes.size())) return std::nullopt;
  try {
    TyFilePreview preview;
    preview.Loaded = TxMarkupDocument::ReadBytes(Bytes, Path, Options, Kind);
    if (!Qualifies(preview.Loaded.Format.Encoding)) return std::nullopt;
    return preview;
  } catch (const std::exception&) {
    return std::nullopt;  // the full load reports what is wrong with the file
  }
}

// The first line start in Bytes[From, Size) that begins, after blanks, with a start or end
// tag; From when none does. From is a line start.
size_t FindTagLineStart(const char* Bytes, size_t From, size_t Size) {
  for (size_t line = From; line < Size; line = NextLineStart(Bytes, line, Size)) {
    size_t i = line;
    while (i < Size && (Bytes[i] == ' ' || Bytes[i] == '\t')) ++i;
    if (i + 1 < Size && Bytes[i] == '<' && (IsNameStart(Bytes[i + 1]) || Bytes[i + 1] == '/'))
      return line;
  }
  return From;
}

}  // namespace

int64_t CountLineEnds(const char* Bytes, size_t Size) {
  // memchr per line end beats a counting loop: the library's search is vectorised, the loop's
  // widened sums are not (0.08 s against 0.28 s for 256 MiB).
  int64_t count = 0;
  const char* const end = Bytes + Size;
  for (const char* p = Bytes; (p = static_cast<const char*>(std::memchr(p, '\n', end - p))); ++p)
    ++count;
  // A CR counts unless an LF (already counted) follows it.
  for (const char* p = Bytes; (p = static_cast<const char*>(std::memchr(p, '\r', end - p))); ++p)
    if (p + 1 == end || p[1] != '\n') ++count;
  return count;
}

std::optional<TyFilePreview> ReadHeadPreview(const std::string& Path, size_t MaxBytes) {
  std::ifstream in(Path, std::ios::binary | std::ios::ate);
  if (!in) return std::nullopt;
  const auto fileBytes = static_cast<uint64_t>(in.tellg());
  std::string bytes(static_cast<size_t>(std::min<uint64_t>(fileBytes, MaxBytes)), '\0');
  in.seekg(0);
  if (!in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()))) return std::nullopt;
  const bool whole = bytes.size() == fileBytes;
  if (!whole) {
    // Cut behind the last line end that cannot be the CR of a pair split by the cut.
    size_t cut = bytes.find_last_of('\n');
    if (cut == std::string::npos) {
      cut = bytes.find_last_of('\r', bytes.size() - 2);
      if (cut == std::string::npos) return std::nullopt;
    }
    bytes.resize(cut + 1);
  }
  std::optional<TyFilePreview> preview = Decode(bytes, Path, {}, std::nullopt);
  if (!preview) return std::nullopt;
  preview->FileBytes = fileBytes;
  preview->StretchBytes = bytes.size();
  preview->WholeLines = preview->Loaded.List->getCount() - (whole ? 0 : 1);
  return preview;
}

std::optional<TyFilePreview> ReadTailPreview(const std::string& Path, const TyFilePreview& Head,
                                             size_t MaxBytes) {
  std::ifstream in(Path, std::ios::binary | std::ios::ate);
  if (!in) return std::nullopt;
  const auto size = static_cast<uint64_t>(in.tellg());
  const uint64_t window = size > MaxBytes ? size - MaxBytes : 0;
  std::string bytes(static_cast<size_t>(size - window), '\0');
  in.seekg(static_cast<std::streamoff>(window));
  if (!in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()))) return std::nullopt;
  size_t start = 0;
  if (window > 0) {
    // The window's first line is cut; a line start is behind its first line end (an LF at the
    // window's start ends the line, or the pair whose CR lies before it).
    start =
        FindTagLineStart(bytes.data(), NextLineStart(bytes.data(), 0, bytes.size()), bytes.size());
  }
  TyDocumentLoadOptions options;
  options.Encoding = Head.Loaded.Format.Encoding;
  std::optional<TyFilePreview> preview =
      Decode(std::string_view(bytes).substr(start), Path, options, Head.Loaded.Kind);
  if (!preview) return std::nullopt;
  preview->FileBytes = size;
  preview->StretchBytes = bytes.size() - start;
  preview->FirstLine = 0;
  preview->StretchOffset = window + start;
  preview->WholeLines = preview->Loaded.List->getCount();
  return preview;
}

int64_t CountFileLineEnds(const std::string& Path, uint64_t Bytes, std::stop_token Stop) {
  // Read, not mapped: the pages of a mapping would count in the process's memory beside the
  // load's own mapping of the same file.
  std::ifstream in(Path, std::ios::binary);
  if (!in) return -1;
  int64_t lineEnds = 0;
  std::string chunk(size_t{1} << 20, '\0');
  bool afterCR = false;  // a pair split between chunks counts once
  for (uint64_t left = Bytes; left > 0;) {
    if (Stop.stop_requested()) return -1;
    const size_t count = static_cast<size_t>(std::min<uint64_t>(left, chunk.size()));
    if (!in.read(chunk.data(), static_cast<std::streamsize>(count))) return -1;
    lineEnds += CountLineEnds(chunk.data(), count) - (afterCR && chunk[0] == '\n' ? 1 : 0);
    afterCR = chunk[count - 1] == '\r';
    left -= count;
  }
  return lineEnds;
}

}  // namespace xylem
