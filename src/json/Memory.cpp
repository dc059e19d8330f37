#include "json/Memory.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <istream>
#include <iterator>
#include <vector>

#include "common/Exception.hpp"
#include "common/InputBytes.hpp"
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
    if (part.ErrorCount && !total.ErrorCount)
      total.FirstError = static_cast<size_t>(at - Begin) + part.FirstError;
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
// Vanished is set when the input shrank under the decoder (a mapped file that changed).
TyUTF8DecodeResult decodePiece(const TyJobContext& Job, const uint8_t* Begin, const uint8_t* End,
                               char16_t* Out, bool ReleaseInput, bool& Vanished) {
  constexpr size_t kStretch = size_t{4} << 20;
  const uintptr_t page = static_cast<uintptr_t>(::sysconf(_SC_PAGESIZE));
  TyUTF8DecodeResult total;
  const uint8_t* at = Begin;
  while (at < End) {
    Job.ThrowIfStopped();
    const uint8_t* stop = End;
    TyUTF8DecodeResult part;
    if (!ReadMapped([&] {
          if (static_cast<size_t>(End - at) > kStretch) stop = characterStart(at + kStretch, End);
          part = decodeThroughNuls(at, stop, Out + total.Written);
        })) {
      Vanished = true;
      return total;
    }
    if (part.ErrorCount && !total.ErrorCount)
      total.FirstError = static_cast<size_t>(at - Begin) + part.FirstError;
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

// The JSON error for the bad byte at Offset (the bytes before it are well-formed).
[[noreturn]] void raiseInvalidUTF8(TyTextPosition Position, uint8_t Byte) {
  static constexpr char hex[] = "0123456789ABCDEF";
  std::u16string reason = u"Invalid UTF-8 byte 0x";
  reason += static_cast<char16_t>(hex[Byte >> 4]);
  reason += static_cast<char16_t>(hex[Byte & 0xF]);
  reason += u". JSON text must be encoded in UTF-8.";
  throw JSONException(Position.Line, Position.Linepos, std::move(reason));
}

[[noreturn]] void raiseFileChanged() {
  throw CyException("The file changed while it was being read; nothing was loaded.");
}

CyJSONMemory decodeUTF16(const uint8_t* Bytes, size_t Count, bool BigEndian) {
  const size_t units = Count / 2;
  auto text = allocateText(units);
  const int hi = BigEndian ? 0 : 1;
  char16_t* const out = text.get();
  if (!ReadMapped([&] {
        for (size_t i = 0; i < units; ++i)
          out[i] = static_cast<char16_t>((Bytes[2 * i + hi] << 8) | Bytes[2 * i + 1 - hi]);
      }))
    raiseFileChanged();
  text[units] = u'\0';
  if (Count % 2 != 0) {
    // The failure path: the lone last byte stands behind every decoded unit.
    const TyTextPosition at = PositionOfUTF16Unit(text.get(), units);
    throw JSONException(at.Line, at.Linepos,
                        u"The UTF-16 text ends with a lone byte: it has an odd number of bytes, "
                        u"not two per code unit.");
  }
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
  uint8_t head[3] = {0, 0, 0};
  if (!ReadMapped([&] { std::memcpy(head, bytes, std::min<size_t>(Count, 3)); }))
    raiseFileChanged();
  if (Count >= 2 && head[0] == 0xFF && head[1] == 0xFE)
    return decodeUTF16(bytes + 2, Count - 2, false);
  if (Count >= 2 && head[0] == 0xFE && head[1] == 0xFF)
    return decodeUTF16(bytes + 2, Count - 2, true);
  if (Count >= 3 && head[0] == 0xEF && head[1] == 0xBB && head[2] == 0xBF) bytes += 3, Count -= 3;

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
  std::unique_ptr<bool[]> vanished(new bool[static_cast<size_t>(pieces)]());
  Job.RunAll(pieces, [&](int k) {
    const size_t begin = starts[static_cast<size_t>(k)], end = starts[static_cast<size_t>(k) + 1];
    results[static_cast<size_t>(k)] =
        decodePiece(Job, bytes + begin, bytes + end, text.get() + begin, ReleaseInput,
                    vanished[static_cast<size_t>(k)]);
  });
  for (int k = 0; k < pieces; ++k)
    if (vanished[static_cast<size_t>(k)]) raiseFileChanged();
  for (int k = 0; k < pieces; ++k) {
    const TyUTF8DecodeResult& result = results[static_cast<size_t>(k)];
    if (!result.ErrorCount) continue;
    // The failure path: the first bad byte in order; the decoded pages may be gone, so the
    // position is counted on the bytes again.
    const size_t bad = starts[static_cast<size_t>(k)] + result.FirstError;
    TyTextPosition position;
    uint8_t byte = 0;
    if (!ReadMapped([&] {
          position = PositionOfUTF8Byte(bytes, bad);
          byte = bytes[bad];
        }))
      raiseFileChanged();
    raiseInvalidUTF8(position, byte);
  }
  size_t written = 0;
  for (int k = 0; k < pieces; ++k) {
    const TyUTF8DecodeResult& result = results[static_cast<size_t>(k)];
    const size_t begin = starts[static_cast<size_t>(k)];
    if (begin != written)
      std::memmove(text.get() + written, text.get() + begin, result.Written * sizeof(char16_t));
    written += result.Written;
  }
  text[written] = u'\0';
  return Adopt(std::move(text), written);
}

CyJSONMemory CyJSONMemory::FromFile(const std::string& Path, const TyJobContext& Job,
                                    uint64_t MaxStreamBytes) {
  // Mapping saves a copy of the bytes and lets the decoder read them straight from the cache.
  const CyInputBytes input = CyInputBytes::FromPath(Path, MaxStreamBytes);
  return Decode(input.getData(), input.getSize(), input.IsMapped(), Job);
}

CyJSONMemory CyJSONMemory::FromStream(std::istream& Stream, const TyJobContext& Job) {
  const std::vector<char> bytes{std::istreambuf_iterator<char>(Stream),
                                std::istreambuf_iterator<char>()};
  return FromBytes(bytes.data(), bytes.size(), Job);
}

}  // namespace xylem
