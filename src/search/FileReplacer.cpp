#include "search/FileReplacer.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "common/Exception.hpp"
#include "common/InputBytes.hpp"
#include "common/Progress.hpp"
#include "common/Settings.hpp"
#include "common/Tasks.hpp"
#include "common/Utf.hpp"
#include "text/TextListLoader.hpp"

namespace xylem {

namespace {

// A piece held bytes that are not UTF-8; the caller finds the first for the message.
struct TyNotUTF8 {};

// Decodes [Data, Data + Size) except a last UTF-8 sequence that is cut short (all of it when
// AtEnd), so that no piece splits a character and so no surrogate pair. Returns the bytes
// consumed; Written gets the units written to Target (room for Size units). Throws TyNotUTF8
// for an invalid sequence or a NUL.
size_t DecodePiece(const uint8_t* Data, size_t Size, bool AtEnd, char16_t* Target,
                   int64_t& Written) {
  size_t end = Size;
  if (!AtEnd && Size > 0) {
    size_t lead = Size - 1;
    while (lead > 0 && Size - lead < 4 && (Data[lead] & 0xC0) == 0x80) --lead;
    const uint8_t byte = Data[lead];
    const size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
    // An invalid lead or a stray continuation byte is left for the decoder to flag.
    if (lead > 0 && lead + length > Size) end = lead;
  }
  const TyUTF8DecodeResult decoded = DecodeUTF8(Data, Data + end, Target);
  if (decoded.NulFound || decoded.ErrorCount) throw TyNotUTF8{};
  Written = static_cast<int64_t>(decoded.Written);
  return end;
}

// Encodes each replaced piece and hands it to Write.
class TyUTF8Encoder {
 public:
  explicit TyUTF8Encoder(const TyUTF8Sink& Write) : Write_(Write) {}
  void operator()(std::u16string_view Piece) {
    if (Bytes_.size() < Piece.size() * 3) Bytes_.resize(Piece.size() * 3);
    Write_(std::string_view(Bytes_.data(), EncodeUTF8(Piece, Bytes_.data())));
  }

 private:
  const TyUTF8Sink& Write_;
  std::string Bytes_;
};

}  // namespace

void CheckUTF8(const uint8_t* Data, size_t Size) {
  // One piece per task, each decoded in stretches into a scratch buffer of its own.
  constexpr size_t kStretch = size_t{1} << 20;
  const int pieces = Size < 4 * kStretch ? 1 : CyTasks::PieceCount();
  struct TyPiece {
    size_t Begin = 0, End = 0;
    size_t FirstNul = SIZE_MAX, FirstError = SIZE_MAX;
    bool Vanished = false;
  };
  std::vector<TyPiece> parts(static_cast<size_t>(pieces));
  for (int k = 0; k < pieces; ++k) {
    parts[static_cast<size_t>(k)].Begin =
        Size / static_cast<size_t>(pieces) * static_cast<size_t>(k);
    parts[static_cast<size_t>(k)].End =
        k + 1 == pieces ? Size : Size / static_cast<size_t>(pieces) * static_cast<size_t>(k + 1);
  }
  CyTasks::RunAll(pieces, [&](int k) {
    TyPiece& part = parts[static_cast<size_t>(k)];
    std::unique_ptr<char16_t[]> scratch = std::make_unique_for_overwrite<char16_t[]>(kStretch + 4);
    char16_t* const out = scratch.get();
    if (!ReadMapped([&] {
          size_t at = part.Begin;
          // A piece starts at a character's first byte (the one before it owns the rest).
          while (at < part.End && at > 0 && (Data[at] & 0xC0) == 0x80) ++at;
          while (at < part.End) {
            size_t stop = std::min(part.End, at + kStretch);
            // A character that starts in the stretch ends in it (it may run past the piece).
            while (stop < Size && (Data[stop] & 0xC0) == 0x80 && stop - at < kStretch + 3) ++stop;
            const TyUTF8DecodeResult result = DecodeUTF8(Data + at, Data + stop, out);
            if (result.ErrorCount && part.FirstError == SIZE_MAX)
              part.FirstError = at + result.FirstError;
            if (result.NulFound) {
              part.FirstNul = at + static_cast<size_t>(static_cast<const uint8_t*>(
                                                           std::memchr(Data + at, 0, stop - at)) -
                                                       (Data + at));
              return;
            }
            at = stop;
          }
        }))
      part.Vanished = true;
  });
  size_t nul = SIZE_MAX, error = SIZE_MAX;
  for (const TyPiece& part : parts) {
    if (part.Vanished)
      throw CyException("The file changed while it was being read; nothing was written.", 23);
    nul = std::min(nul, part.FirstNul);
    error = std::min(error, part.FirstError);
  }
  if (nul == SIZE_MAX && error == SIZE_MAX) return;
  // As the loader does: a NUL anywhere makes a binary file.
  const size_t bad = nul != SIZE_MAX ? nul : error;
  TyTextPosition position;
  uint8_t byte = 0;
  if (!ReadMapped([&] {
        position = PositionOfUTF8Byte(Data, bad);
        byte = Data[bad];
      }))
    throw CyException("The file changed while it was being read; nothing was written.", 23);
  if (nul != SIZE_MAX) ThrowBinaryFile(position, static_cast<int64_t>(bad));
  ThrowUndecodable(position, static_cast<int64_t>(bad), byte, "UTF-8");
}

void CheckUTF8File(const std::string& Path) {
  const CyInputBytes input = CyInputBytes::FromPath(Path);
  CheckUTF8(input.getData(), input.getSize());
}

int64_t ReplaceAllUTF8(const uint8_t* Data, size_t Size, CyReplacer& Replacer,
                       const TyUTF8Sink& Write, int64_t PieceSize) {
  size_t consumed = 0;
  CyProgress::Begin("Replacing", Size);
  auto source = [&](char16_t* Target, int64_t Capacity) -> int64_t {
    if (consumed >= Size) return 0;
    // UTF-16 never needs more units than UTF-8 has bytes.
    const size_t size = std::min(Size - consumed, static_cast<size_t>(Capacity));
    int64_t written = 0;
    const size_t used =
        DecodePiece(Data + consumed, size, consumed + size == Size, Target, written);
    consumed += used;
    CyProgress::Advance(used);
    return written;
  };
  TyUTF8Encoder encoder(Write);
  int64_t count = 0;
  try {
    // Four bytes at least, so that every piece holds a whole character.
    Replacer.ReplaceAllStreamed(source, std::ref(encoder), count, std::max<int64_t>(4, PieceSize));
  } catch (const TyNotUTF8&) {
    CheckUTF8(Data, Size);  // raises with the first bad byte's position
    throw CyShouldNeverHappenException("ReplaceAllUTF8: a piece was not UTF-8, the whole is");
  }
  return count;
}

int64_t ReplaceAllUTF8File(const std::string& Path, CyReplacer& Replacer, const TyUTF8Sink& Write,
                           int64_t PieceSize) {
  const int fd = ::open(Path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throw CyException("Cannot read " + Path + ": " + std::strerror(errno) + ".", 2);
  struct TyClose {
    int Handle;
    ~TyClose() { ::close(Handle); }
  } close{fd};
  struct stat info {};
  CyProgress::Begin("Replacing", ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode)
                                     ? static_cast<uint64_t>(info.st_size)
                                     : 0);
  // Read piece by piece: a few bytes of a character cut at a piece's end wait for the next.
  std::vector<uint8_t> bytes;
  size_t held = 0;
  bool atEnd = false;
  auto source = [&](char16_t* Target, int64_t Capacity) -> int64_t {
    const size_t want = static_cast<size_t>(Capacity);
    if (bytes.size() < want) bytes.resize(want);
    while (!atEnd && held < want) {
      const ssize_t got = ::read(fd, bytes.data() + held, want - held);
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) throw CyException("Cannot read " + Path + ": " + std::strerror(errno) + ".", 2);
      if (got == 0) atEnd = true;
      held += static_cast<size_t>(got);
      CyProgress::Advance(static_cast<uint64_t>(got));
    }
    if (held == 0) return 0;
    int64_t written = 0;
    const size_t used = DecodePiece(bytes.data(), held, atEnd, Target, written);
    std::memmove(bytes.data(), bytes.data() + used, held - used);
    held -= used;
    return written;
  };
  TyUTF8Encoder encoder(Write);
  int64_t count = 0;
  try {
    // Four bytes at least, so that every piece holds a whole character.
    Replacer.ReplaceAllStreamed(source, std::ref(encoder), count, std::max<int64_t>(4, PieceSize));
  } catch (const TyNotUTF8&) {
    CheckUTF8File(Path);  // raises with the first bad byte's position
    throw CyException("The file \"" + Path + "\" changed while it was being read.", 23);
  }
  return count;
}

}  // namespace xylem
