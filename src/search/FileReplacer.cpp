#include "search/FileReplacer.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "common/Exception.hpp"
#include "common/Progress.hpp"
#include "common/Settings.hpp"
#include "common/Utf.hpp"
#include "text/TextListLoader.hpp"

namespace xylem {

namespace {

// Decodes [Data, Data + Size) except a last UTF-8 sequence that is cut short (all of it when
// AtEnd), so that no piece splits a character and so no surrogate pair. Returns the bytes
// consumed; Written gets the units written to Target (room for Size units).
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
  if (decoded.NulFound) ThrowBinaryFile();
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
  // Four bytes at least, so that every piece holds a whole character.
  Replacer.ReplaceAllStreamed(source, std::ref(encoder), count, std::max<int64_t>(4, PieceSize));
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
  // Four bytes at least, so that every piece holds a whole character.
  Replacer.ReplaceAllStreamed(source, std::ref(encoder), count, std::max<int64_t>(4, PieceSize));
  return count;
}

}  // namespace xylem
