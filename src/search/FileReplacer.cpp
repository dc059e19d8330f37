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
#include "common/Utf.hpp"
#include "text/TextListLoader.hpp"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace xylem {

namespace {

// The census reads this many bytes at a time.
constexpr size_t kScanStep = size_t{1} << 20;

// Bytes of a text in memory, handed out as the file reader does.
class CyMemoryBytes {
 public:
  CyMemoryBytes(const uint8_t* Data, size_t Size) : Data_(Data), Size_(Size) {}
  // At most Want bytes from the current position; AtEnd when they are the text's last.
  const uint8_t* Fetch(size_t Want, size_t& Got, bool& AtEnd) {
    Got = std::min(Want, Size_ - Consumed_);
    AtEnd = Consumed_ + Got == Size_;
    return Data_ + Consumed_;
  }
  void Consume(size_t Count) { Consumed_ += Count; }

 private:
  const uint8_t* Data_;
  size_t Size_;
  size_t Consumed_ = 0;
};

// Bytes of a file, read piece by piece: the bytes of a character cut at a piece's end wait for
// the next Fetch.
class CyFileBytes {
 public:
  explicit CyFileBytes(const std::string& Path) : Path_(Path) {
    Handle_ = ::open(Path.c_str(), O_RDONLY | O_CLOEXEC);
    if (Handle_ < 0) Fail();
  }
  ~CyFileBytes() { ::close(Handle_); }
  CyFileBytes(const CyFileBytes&) = delete;
  CyFileBytes& operator=(const CyFileBytes&) = delete;

  // The file's size, 0 when it is not a regular file (a pipe).
  uint64_t getSize() const {
    struct stat info {};
    return ::fstat(Handle_, &info) == 0 && S_ISREG(info.st_mode)
               ? static_cast<uint64_t>(info.st_size)
               : 0;
  }
  const uint8_t* Fetch(size_t Want, size_t& Got, bool& AtEnd) {
    if (Bytes_.size() < Want) Bytes_.resize(Want);
    while (!AtEnd_ && Held_ < Want) {
      const ssize_t got = ::read(Handle_, Bytes_.data() + Held_, Want - Held_);
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) Fail();
      if (got == 0) AtEnd_ = true;
      Held_ += static_cast<size_t>(got);
    }
    Got = std::min(Held_, Want);
    AtEnd = AtEnd_ && Got == Held_;
    return Bytes_.data();
  }
  void Consume(size_t Count) {
    std::memmove(Bytes_.data(), Bytes_.data() + Count, Held_ - Count);
    Held_ -= Count;
  }

 private:
  [[noreturn]] void Fail() const {
    throw CyException("Cannot read " + Path_ + ": " + std::strerror(errno) + ".", 2);
  }

  std::string Path_;
  int Handle_ = -1;
  std::vector<uint8_t> Bytes_;
  size_t Held_ = 0;
  bool AtEnd_ = false;
};

// A piece held bytes that are not UTF-8 (or a NUL); the caller finds the first for the message.
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

// What the newline scan needs of a run of bytes, counted in one pass: LF, CR and CR LF (a pair
// cut between two runs counts through CRBefore), whether a NUL or a byte above 0x7F occurs.
struct TyByteCensus {
  int64_t LF = 0, CR = 0, Pairs = 0;
  bool CRBefore = false;  // the last byte counted so far was a CR
  bool Nul = false;
  bool NonASCII = false;  // of the bytes since the caller last cleared it

  void Count(const uint8_t* Data, size_t Size) {
    if (Size == 0) return;
    Pairs += CRBefore && Data[0] == '\n';
    size_t i = 0;  // pairs are counted by their CR, from here on inside the run
    bool nul = false, high = false;
#if defined(__SSE2__)
    // Byte lanes count up to 255 hits, then are summed; every 16 bytes also look at the 16
    // after their first, for the LF of each CR.
    const __m128i vLF = _mm_set1_epi8('\n'), vCR = _mm_set1_epi8('\r');
    const __m128i vZero = _mm_setzero_si128();
    const auto sum = [&](__m128i Lanes) {
      const __m128i halves = _mm_sad_epu8(Lanes, vZero);
      return static_cast<int64_t>(_mm_cvtsi128_si32(halves) +
                                  _mm_cvtsi128_si32(_mm_srli_si128(halves, 8)));
    };
    __m128i nuls = vZero, highs = vZero;
    while (Size - i >= 17) {
      __m128i lfs = vZero, crs = vZero, pairs = vZero;
      const size_t stop = i + std::min<size_t>((Size - i - 1) / 16, 255) * 16;
      for (; i < stop; i += 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(Data + i));
        const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i*>(Data + i + 1));
        const __m128i isCR = _mm_cmpeq_epi8(v, vCR);
        lfs = _mm_sub_epi8(lfs, _mm_cmpeq_epi8(v, vLF));
        crs = _mm_sub_epi8(crs, isCR);
        pairs = _mm_sub_epi8(pairs, _mm_and_si128(isCR, _mm_cmpeq_epi8(next, vLF)));
        nuls = _mm_or_si128(nuls, _mm_cmpeq_epi8(v, vZero));
        highs = _mm_or_si128(highs, v);
      }
      LF += sum(lfs);
      CR += sum(crs);
      Pairs += sum(pairs);
    }
    nul = _mm_movemask_epi8(nuls) != 0;
    high = _mm_movemask_epi8(highs) != 0;
#endif
    for (; i < Size; ++i) {
      const uint8_t byte = Data[i];
      high = high || byte >= 0x80;
      nul = nul || byte == 0;
      LF += byte == '\n';
      CR += byte == '\r';
      Pairs += byte == '\r' && i + 1 < Size && Data[i + 1] == '\n';
    }
    CRBefore = Data[Size - 1] == '\r';
    Nul = Nul || nul;
    NonASCII = NonASCII || high;
  }
};

// Counts line ends as a load does, and refuses what a load refuses (TyNotUTF8 for a NUL or an
// invalid sequence). CR, LF and NUL bytes never occur inside a multi-byte UTF-8 sequence, so
// the bytes are counted as they are; only pieces that are not ASCII are decoded, to check them.
template <typename TyBytes>
std::u16string ScanNewline(TyBytes& Bytes, const TyJobContext& Job) {
  TyByteCensus census;
  std::unique_ptr<char16_t[]> decoded;  // for the first piece that is not ASCII
  for (;;) {
    Job.ThrowIfStopped();
    size_t got = 0;
    bool atEnd = false;
    const uint8_t* data = Bytes.Fetch(kScanStep, got, atEnd);
    if (got == 0) break;
    // A character cut at the piece's end is checked with the next piece. Its bytes hold no
    // line end and no CR before them, so counting them again counts nothing.
    size_t used = got;
    census.NonASCII = false;
    census.Count(data, got);
    if (census.Nul) throw TyNotUTF8{};
    if (census.NonASCII) {
      if (!decoded) decoded = std::make_unique_for_overwrite<char16_t[]>(kScanStep);
      int64_t written = 0;
      used = DecodePiece(data, got, atEnd, decoded.get(), written);
    }
    Bytes.Consume(used);
    Job.Advance(used);
    if (atEnd && used == got) break;
  }
  return CyTextListLoaderPieces::ChooseNewline(census.LF - census.Pairs, census.CR - census.Pairs,
                                               census.Pairs);
}

// The replacer's source: decoded pieces with every line end (CR LF, lone CR, lone LF) made the
// document's newline, as loading into lines and joining them with it would give.
template <typename TyBytes>
class CyDocumentSource {
 public:
  CyDocumentSource(TyBytes& Bytes, std::u16string_view Newline, const TyJobContext& Job)
      : Bytes_(Bytes), Newline_(Newline), Job_(Job) {}

  int64_t operator()(char16_t* Target, int64_t Capacity) {
    // Bytes never decode to more units. A one-unit newline never lengthens the text, so a piece
    // is decoded straight into Target and its line ends rewritten in place; with CR LF a lone
    // CR or LF becomes two units: half the room, decoded aside first.
    const bool inPlace = Newline_.size() == 1;
    const auto budget = static_cast<size_t>(inPlace ? Capacity : Capacity / 2);
    if (!inPlace && Decoded_.size() < budget) Decoded_.resize(budget);
    int64_t produced = 0;
    while (produced == 0) {  // a piece holding only the LF of a split CR LF gives nothing
      Job_.ThrowIfStopped();
      size_t got = 0;
      bool atEnd = false;
      const uint8_t* data = Bytes_.Fetch(budget, got, atEnd);
      if (got == 0) return 0;
      int64_t written = 0;
      char16_t* const decoded = inPlace ? Target : Decoded_.data();
      const size_t used = DecodePiece(data, got, atEnd, decoded, written);
      Bytes_.Consume(used);
      Job_.Advance(used);
      produced = Normalise(decoded, written, Target);
    }
    return produced;
  }

 private:
  // Copies the stretches between line ends whole; with LF as the newline only CRs change.
  // Target may be From when the newline is one unit (the writing never passes the reading).
  int64_t Normalise(const char16_t* From, int64_t Count, char16_t* Target) {
    static constexpr char16_t kLineEnds[2] = {u'\r', u'\n'};
    const bool keepLF = Newline_ == u"\n";
    char16_t* out = Target;
    const char16_t* const end = From + Count;
    if (SkipLF_ && From < end) {
      SkipLF_ = false;
      if (*From == u'\n') ++From;  // the second half of CR LF
    }
    while (From < end) {
      const char16_t* const stop =
          keepLF ? FindUnit(From, end, u'\r') : FindAnyUnit(From, end, kLineEnds);
      const auto stretch = static_cast<size_t>(stop - From);
      if (out != From) std::memmove(out, From, stretch * sizeof(char16_t));
      out += stretch;
      if (stop == end) break;
      const char16_t lineEnd = *stop;  // read before the newline may overwrite it in place
      out = std::copy(Newline_.begin(), Newline_.end(), out);
      From = stop + 1;
      if (lineEnd == u'\r') {
        if (From == end)
          SkipLF_ = true;
        else if (*From == u'\n')
          ++From;
      }
    }
    return out - Target;
  }

  TyBytes& Bytes_;
  std::u16string_view Newline_;
  const TyJobContext& Job_;
  std::u16string Decoded_;
  bool SkipLF_ = false;  // the last unit handed on was a CR
};

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

template <typename TyBytes>
int64_t ReplaceStream(TyBytes& Bytes, CyReplacer& Replacer, std::u16string_view Newline,
                      const TyUTF8Sink& Write, int64_t PieceSize, const TyJobContext& Job) {
  CyDocumentSource<TyBytes> source(Bytes, Newline, Job);
  TyUTF8Encoder encoder(Write);
  int64_t count = 0;
  // Ten units at least, so that every piece holds a whole character with its line ends doubled.
  Replacer.ReplaceAllStreamed(std::ref(source), std::ref(encoder), count,
                              std::max<int64_t>(10, PieceSize));
  return count;
}

[[noreturn]] void throwChanged(const char* What) {
  throw CyException(std::string("The file changed while it was being read; ") + What, 23);
}

}  // namespace

void CheckUTF8(const uint8_t* Data, size_t Size, const TyJobContext& Job) {
  // One piece per task, each decoded in stretches into a scratch buffer of its own.
  constexpr size_t kStretch = size_t{1} << 20;
  const int pieces = Size < 4 * kStretch ? 1 : Job.ResolvePieceCount(0);
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
  Job.RunAll(pieces, [&](int k) {
    TyPiece& part = parts[static_cast<size_t>(k)];
    std::unique_ptr<char16_t[]> scratch = std::make_unique_for_overwrite<char16_t[]>(kStretch + 4);
    char16_t* const out = scratch.get();
    size_t at = part.Begin;
    while (at < part.End) {
      Job.ThrowIfStopped();
      if (!ReadMapped([&] {
            // A piece starts at a character's first byte (the one before it owns the rest).
            while (at < part.End && at > 0 && at == part.Begin && (Data[at] & 0xC0) == 0x80) ++at;
            if (at >= part.End) return;
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
              at = part.End;
              return;
            }
            at = stop;
          })) {
        part.Vanished = true;
        return;
      }
    }
  });
  size_t nul = SIZE_MAX, error = SIZE_MAX;
  for (const TyPiece& part : parts) {
    if (part.Vanished) throwChanged("nothing was written.");
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
    throwChanged("nothing was written.");
  if (nul != SIZE_MAX) ThrowBinaryFile(Job.ApplicationName, position, static_cast<int64_t>(bad));
  ThrowUndecodable(position, static_cast<int64_t>(bad), byte, "UTF-8");
}

void CheckUTF8File(const std::string& Path, const TyJobContext& Job, uint64_t MaxStreamBytes) {
  const CyInputBytes input = CyInputBytes::FromPath(Path, MaxStreamBytes);
  CheckUTF8(input.getData(), input.getSize(), Job);
}

std::u16string ScanUTF8Newline(const uint8_t* Data, size_t Size, const TyJobContext& Job) {
  CyMemoryBytes bytes(Data, Size);
  Job.Begin("Scanning", Size);
  try {
    return ScanNewline(bytes, Job);
  } catch (const TyNotUTF8&) {
    CheckUTF8(Data, Size, Job);  // raises with the first bad byte's position
    throw CyShouldNeverHappenException("ScanUTF8Newline: a piece was not UTF-8, the whole is");
  }
}

std::u16string ScanUTF8FileNewline(const std::string& Path, const TyJobContext& Job) {
  CyFileBytes bytes(Path);
  Job.Begin("Scanning", bytes.getSize());
  try {
    return ScanNewline(bytes, Job);
  } catch (const TyNotUTF8&) {
    CheckUTF8File(Path, Job);  // raises with the first bad byte's position
    throwChanged("nothing was written.");
  }
}

int64_t ReplaceAllUTF8(const uint8_t* Data, size_t Size, CyReplacer& Replacer,
                       std::u16string_view Newline, const TyUTF8Sink& Write, int64_t PieceSize,
                       const TyJobContext& Job) {
  CyMemoryBytes bytes(Data, Size);
  Job.Begin("Replacing", Size);
  try {
    return ReplaceStream(bytes, Replacer, Newline, Write, PieceSize, Job);
  } catch (const TyNotUTF8&) {
    CheckUTF8(Data, Size, Job);  // raises with the first bad byte's position
    throw CyShouldNeverHappenException("ReplaceAllUTF8: a piece was not UTF-8, the whole is");
  }
}

int64_t ReplaceAllUTF8File(const std::string& Path, CyReplacer& Replacer,
                           std::u16string_view Newline, const TyUTF8Sink& Write, int64_t PieceSize,
                           const TyJobContext& Job) {
  CyFileBytes bytes(Path);
  Job.Begin("Replacing", bytes.getSize());
  try {
    return ReplaceStream(bytes, Replacer, Newline, Write, PieceSize, Job);
  } catch (const TyNotUTF8&) {
    CheckUTF8File(Path, Job);  // raises with the first bad byte's position
    throwChanged("nothing was written.");
  }
}

}  // namespace xylem
