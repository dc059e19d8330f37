#include "json/Memory.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <istream>
#include <iterator>
#include <vector>

#include "common/Exception.hpp"
#include "common/Utf.hpp"
#include "json/Exception.hpp"

namespace xylem {

namespace {

// Below this size one task decodes faster than several can be started.
constexpr size_t kParallelDecodeMinimum = size_t{1} << 20;

std::unique_ptr<char16_t[]> allocateText(size_t Count) {
  return std::make_unique_for_overwrite<char16_t[]>(Count + 1);
}

bool isContinuation(uint8_t Byte) { return (Byte & 0xC0) == 0x80; }

// Decodes [Begin, End) into Out including any NUL bytes (DecodeUTF8 stops at each one).
TyUTF8DecodeResult decodeThroughNuls(const uint8_t* Begin, const uint8_t* End, char16_t* Out) {
  TyUTF8DecodeResult total;
  const uint8_t* at = Begin;
  while (true) {
    const TyUTF8DecodeResult part = DecodeUTF8(at, End, Out + total.Written);
    total.Written += part.Written;
    total.ErrorCount += part.ErrorCount;
    if (!part.NulFound) return total;
    const auto* nul =
        static_cast<const uint8_t*>(std::memchr(at, 0, static_cast<size_t>(End - at)));
    Out[total.Written++] = u'\0';
    total.NulFound = true;
    at = nul + 1;
  }
}

// First byte at or after At that does not continue a character (End if none).
const uint8_t* characterStart(const uint8_t* At, const uint8_t* End) {
  while (At < End && isContinuation(*At)) ++At;
  return At;
}

// Decodes [Begin, End) in stretches. With ReleaseInput (a file mapping), the pages of each
// decoded stretch are handed back at once, so that input and text are not resident together.
TyUTF8DecodeResult decodePiece(const TyJobContext& Job, const uint8_t* Begin, const uint8_t* End,
                               char16_t* Out, bool ReleaseInput) {
  constexpr size_t kStretch = size_t{4} << 20;
  const uintptr_t page = static_cast<uintptr_t>(::sysconf(_SC_PAGESIZE));
  TyUTF8DecodeResult total;
  const uint8_t* at = Begin;
  while (at < End) {
    Job.ThrowIfStopped();
    const uint8_t* stop =
        static_cast<size_t>(End - at) > kStretch ? characterStart(at + kStretch, End) : End;
    const TyUTF8DecodeResult part = decodeThroughNuls(at, stop, Out + total.Written);
    total.Written += part.Written;
    total.ErrorCount += part.ErrorCount;
    total.NulFound |= part.NulFound;
    if (ReleaseInput) {
      // Only whole pages inside this stretch: a neighbouring piece may still read the edges.
      const uintptr_t first = (reinterpret_cast<uintptr_t>(at) + page - 1) / page * page;
      const uintptr_t last = reinterpret_cast<uintptr_t>(stop) / page * page;
      if (last > first) ::madvise(reinterpret_cast<void*>(first), last - first, MADV_DONTNEED);
    }
    Job.Advance(static_cast<uint64_t>(stop - at));
    at = stop;
  }
  return total;
}

// Byte offset of the first ill-formed UTF-8 sequence (same rules as DecodeUTF8), or Count.
size_t firstInvalidUTF8(const uint8_t* Bytes, size_t Count) {
  size_t i = 0;
  while (i < Count) {
    const uint8_t lead = Bytes[i];
    if (lead < 0x80) {
      ++i;
      continue;
    }
    int length = 0;
    uint32_t code = 0, minimum = 0;
    if (lead >= 0xC2 && lead <= 0xDF)
      code = lead & 0x1F, length = 2, minimum = 0x80;
    else if (lead >= 0xE0 && lead <= 0xEF)
      code = lead & 0x0F, length = 3, minimum = 0x800;
    else if (lead >= 0xF0 && lead <= 0xF4)
      code = lead & 0x07, length = 4, minimum = 0x10000;
    else
      return i;
    for (int k = 1; k < length; ++k) {
      if (i + k >= Count || !isContinuation(Bytes[i + k])) return i;
      code = (code << 6) | (Bytes[i + k] & 0x3F);
    }
    if (code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return i;
    i += static_cast<size_t>(length);
  }
  return Count;
}

// Line and column (in UTF-16 units) of byte Offset in well-formed UTF-8 text before it.
[[noreturn]] void raiseInvalidUTF8(const uint8_t* Bytes, size_t Offset) {
  int64_t line = 1;
  size_t lineStart = 0;
  for (size_t i = 0; i < Offset; ++i) {
    if (Bytes[i] == '\n' || (Bytes[i] == '\r' && (i + 1 >= Offset || Bytes[i + 1] != '\n'))) {
      ++line;
      lineStart = i + 1;
    }
  }
  const std::u16string prefix = ToUTF16(
      std::string_view(reinterpret_cast<const char*>(Bytes + lineStart), Offset - lineStart));
  static constexpr char hex[] = "0123456789ABCDEF";
  std::u16string reason = u"Invalid UTF-8 byte 0x";
  reason += static_cast<char16_t>(hex[Bytes[Offset] >> 4]);
  reason += static_cast<char16_t>(hex[Bytes[Offset] & 0xF]);
  reason += u". JSON text must be encoded in UTF-8.";
  throw JSONException(line, static_cast<int64_t>(prefix.size()) + 1, std::move(reason));
}

CyJSONMemory decodeUTF16(const uint8_t* Bytes, size_t Count, bool BigEndian) {
  if (Count % 2 != 0) {
    // The position of a broken unit is not worth a scan of the whole text: report it at the end.
    throw JSONException(
        1, 1, u"The UTF-16 text ends in the middle of a character (odd number of bytes).");
  }
  const size_t units = Count / 2;
  auto text = allocateText(units);
  const int hi = BigEndian ? 0 : 1;
  for (size_t i = 0; i < units; ++i)
    text[i] = static_cast<char16_t>((Bytes[2 * i + hi] << 8) | Bytes[2 * i + 1 - hi]);
  text[units] = u'\0';
  return CyJSONMemory::Adopt(std::move(text), units);
}

}  // namespace

CyJSONMemory CyJSONMemory::FromString(std::u16string_view Text) {
  auto text = allocateText(Text.size());
  std::memcpy(text.get(), Text.data(), Text.size() * sizeof(char16_t));
  text[Text.size()] = u'\0';
  return Adopt(std::move(text), Text.size());
}

CyJSONMemory CyJSONMemory::FromBytes(const void* Data, size_t Count, const TyJobContext& Job) {
  return Decode(Data, Count, false, Job);
}

CyJSONMemory CyJSONMemory::Decode(const void* Data, size_t Count, bool ReleaseInput,
                                  const TyJobContext& Job) {
  const auto* bytes = static_cast<const uint8_t*>(Data);
  if (Count >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE)
    return decodeUTF16(bytes + 2, Count - 2, false);
  if (Count >= 2 && bytes[0] == 0xFE && bytes[1] == 0xFF)
    return decodeUTF16(bytes + 2, Count - 2, true);
  if (Count >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF)
    bytes += 3, Count -= 3;

  // UTF-8 never takes more UTF-16 units than bytes, so piece k can decode in place at its own
  // byte offset without touching piece k + 1; the pieces are then closed up in order.
  Job.Begin("Decoding", Count);
  auto text = allocateText(Count);
  const int pieces = Count < kParallelDecodeMinimum ? 1 : Job.ResolvePieceCount(0);
  std::vector<size_t> starts(static_cast<size_t>(pieces) + 1);
  for (int k = 1; k < pieces; ++k) {
    const uint8_t* at = bytes + Count / static_cast<size_t>(pieces) * static_cast<size_t>(k);
    starts[static_cast<size_t>(k)] = static_cast<size_t>(characterStart(at, bytes + Count) - bytes);
  }
  starts[static_cast<size_t>(pieces)] = Count;
  std::vector<TyUTF8DecodeResult> results(static_cast<size_t>(pieces));
  Job.RunAll(pieces, [&](int k) {
    const size_t begin = starts[static_cast<size_t>(k)], end = starts[static_cast<size_t>(k) + 1];
    results[static_cast<size_t>(k)] =
        decodePiece(Job, bytes + begin, bytes + end, text.get() + begin, ReleaseInput);
  });
  size_t written = 0;
  bool invalid = false;
  for (int k = 0; k < pieces; ++k) {
    const TyUTF8DecodeResult& result = results[static_cast<size_t>(k)];
    invalid |= result.ErrorCount > 0;
    const size_t begin = starts[static_cast<size_t>(k)];
    if (begin != written)
      std::memmove(text.get() + written, text.get() + begin, result.Written * sizeof(char16_t));
    written += result.Written;
  }
  if (invalid) raiseInvalidUTF8(bytes, firstInvalidUTF8(bytes, Count));
  text[written] = u'\0';
  return Adopt(std::move(text), written);
}

CyJSONMemory CyJSONMemory::FromFile(const std::string& Path, const TyJobContext& Job) {
  const int fd = ::open(Path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throw CyException("Cannot open the file '" + Path + "': " + std::strerror(errno));
  struct FileCloser {
    int fd;
    ~FileCloser() { ::close(fd); }
  } closer{fd};
  struct stat info {};
  if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_size > 0) {
    // Mapping saves a copy of the bytes and lets the decoder read them straight from the cache.
    const auto size = static_cast<size_t>(info.st_size);
    void* map = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    if (map != MAP_FAILED) {
      ::madvise(map, size, MADV_SEQUENTIAL);
      struct Unmapper {
        void* map;
        size_t size;
        ~Unmapper() { ::munmap(map, size); }
      } unmapper{map, size};
      return Decode(map, size, true, Job);
    }
  }
  std::vector<char> bytes;
  char chunk[65536];
  while (true) {
    const ssize_t got = ::read(fd, chunk, sizeof(chunk));
    if (got < 0) throw CyException("Cannot read the file '" + Path + "': " + std::strerror(errno));
    if (got == 0) break;
    bytes.insert(bytes.end(), chunk, chunk + got);
  }
  return FromBytes(bytes.data(), bytes.size(), Job);
}

CyJSONMemory CyJSONMemory::FromStream(std::istream& Stream, const TyJobContext& Job) {
  const std::vector<char> bytes{std::istreambuf_iterator<char>(Stream),
                                std::istreambuf_iterator<char>()};
  return FromBytes(bytes.data(), bytes.size(), Job);
}

}  // namespace xylem
