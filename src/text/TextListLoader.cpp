#include "text/TextListLoader.hpp"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <memory>

#include "common/Exception.hpp"
#include "common/InputBytes.hpp"
#include "text/PageMemory.hpp"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace xylem {

namespace {

[[noreturn]] void throwFileChanged() {
  throw CyException(
      "The file changed while it was being read (it became shorter); nothing was "
      "loaded.",
      kErrorFileRead);
}

// Progress is reported in steps of this many units (bytes or code units), never per line.
constexpr size_t kProgressStep = size_t{1} << 16;

// Fills Bounds (sized Count + 1 by the caller, only ever shrunk here, so that a mapped input
// can be read inside ReadMapped).
template <typename Unit>
void splitBoundaries(const Unit* Data, size_t Size, int Count, std::vector<size_t>& bounds) {
  bounds[0] = 0;
  if (Size == 0) {  // Data may be null
    bounds.resize(2);
    bounds[1] = 0;
    return;
  }
  for (int i = 0; i < Count; ++i) {
    size_t at = bounds[static_cast<size_t>(i)];
    at += (Size - at) / static_cast<size_t>(Count - i);
    if constexpr (sizeof(Unit) == 1) {
      // A long line is passed at memchr's speed: to the first CR or LF, or a NUL before it.
      const void* lf = std::memchr(Data + at, 10, Size - at);
      const size_t stop = lf ? static_cast<size_t>(static_cast<const Unit*>(lf) - Data) : Size;
      const void* cr = std::memchr(Data + at, 13, stop - at);
      const void* nul = std::memchr(Data + at, 0, stop - at);
      const size_t end = cr ? static_cast<size_t>(static_cast<const Unit*>(cr) - Data) : stop;
      at = nul ? std::min(end, static_cast<size_t>(static_cast<const Unit*>(nul) - Data)) : end;
    }
    // Move behind the next line end; the end of the data (or a NUL) keeps the boundary.
    while (at < Size && Data[at] != 0) {
      const Unit unit = Data[at++];
      if (unit == 10) break;
      if (unit == 13) {
        if (at < Size && Data[at] == 10) ++at;
        break;
      }
    }
    bounds[static_cast<size_t>(i) + 1] = at;
  }
  // Keep boundaries up to the first one that reaches the end.
  for (int i = 0; i < Count; ++i) {
    if (bounds[static_cast<size_t>(i)] != Size && bounds[static_cast<size_t>(i) + 1] == Size) {
      bounds.resize(static_cast<size_t>(i) + 2);
      return;
    }
  }
  bounds.resize(2);
  bounds[1] = Size;
}

template <typename Unit>
std::vector<size_t> splitBoundaries(const Unit* Data, size_t Size, int Count) {
  std::vector<size_t> bounds(static_cast<size_t>(std::max(Count, 1)) + 1);
  if (!ReadMapped([&] { splitBoundaries(Data, Size, std::max(Count, 1), bounds); }))
    throwFileChanged();
  return bounds;
}

}  // namespace

std::vector<size_t> CyTextListLoader::SplitBoundaries(const uint8_t* Data, size_t Size, int Count) {
  return splitBoundaries(Data, Size, Count);
}

std::vector<size_t> CyTextListLoader::SplitBoundaries(const char16_t* Data, size_t Size,
                                                      int Count) {
  return splitBoundaries(Data, Size, Count);
}

void CyTextListLoaderPiece::CountNewlines(const TyJobContext& Job) {
  const char16_t* at = DataPartUTF16.Start;
  const char16_t* const end = DataPartUTF16.End;
  int64_t lf = 0, cr = 0, pairs = 0;
#if defined(__SSE2__)
  // Branch-free counting in 16-bit lanes (a compare yields -1 per hit), flushed to the 64-bit
  // totals before a lane can overflow. The pair test reads the unit behind each block, so
  // blocks stop one unit short of the end (behind a piece lies foreign data).
  const __m128i vLF = _mm_set1_epi16(10), vCR = _mm_set1_epi16(13), vZero = _mm_setzero_si128();
  auto sumLanes = [](__m128i Lanes) {
    const __m128i wide = _mm_madd_epi16(Lanes, _mm_set1_epi16(1));  // pairs of lanes as int32
    alignas(16) int32_t parts[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(parts), wide);
    return static_cast<int64_t>(parts[0]) + parts[1] + parts[2] + parts[3];
  };
  while (end - at >= 9) {
    __m128i lfLanes = vZero, crLanes = vZero, pairLanes = vZero, nulLanes = vZero;
    const char16_t* const stop = at + std::min<ptrdiff_t>((end - at - 1) / 8, 8192) * 8;
    Job.ThrowIfStopped();
    Job.Advance(static_cast<uint64_t>(stop - at));
    for (; at < stop; at += 8) {
      const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
      const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + 1));
      const __m128i isCR = _mm_cmpeq_epi16(units, vCR);
      lfLanes = _mm_sub_epi16(lfLanes, _mm_cmpeq_epi16(units, vLF));
      crLanes = _mm_sub_epi16(crLanes, isCR);
      pairLanes = _mm_sub_epi16(pairLanes, _mm_and_si128(isCR, _mm_cmpeq_epi16(next, vLF)));
      nulLanes = _mm_or_si128(nulLanes, _mm_cmpeq_epi16(units, vZero));
    }
    if (_mm_movemask_epi8(nulLanes)) {
      Binary = true;
      return;
    }
    // Lanes count at most 8192 hits each: as signed 16-bit they stay positive.
    lf += sumLanes(lfLanes);
    cr += sumLanes(crLanes);
    pairs += sumLanes(pairLanes);
  }
#endif
  Job.Advance(static_cast<uint64_t>(end - at));
  for (; at < end; ++at) {
    const char16_t unit = *at;
    if (unit == 0) {
      Binary = true;
      return;
    }
    if (unit == 10) ++lf;
    if (unit == 13) {
      ++cr;
      if (at + 1 < end && at[1] == 10) ++pairs;
    }
  }
  NewlineCount1310 = pairs;
  NewlineCount13 = cr - pairs;
  NewlineCount10 = lf - pairs;
  NewlineCount = lf + cr - pairs;
}

namespace {

// The first CR or LF in [At, End), or End.
inline const char16_t* findLineEnd(const char16_t* At, const char16_t* End) {
#if defined(__SSE2__)
  const __m128i vLF = _mm_set1_epi16(10), vCR = _mm_set1_epi16(13);
  while (End - At >= 8) {
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(At));
    const int mask =
        _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi16(units, vLF), _mm_cmpeq_epi16(units, vCR)));
    if (mask) return At + std::countr_zero(static_cast<unsigned>(mask)) / 2;
    At += 8;
  }
#endif
  while (At < End && *At != 10 && *At != 13) ++At;
  return At;
}

}  // namespace

namespace {

// Writes a whole record. With SSE2 the record goes around the cache: the block is far larger
// than any cache, and streaming stores skip reading each line of it before writing.
inline void writeRecord(TxItem* Target, const TxItem& Source) {
#if defined(__SSE2__)
  static_assert(sizeof(TxItem) % 16 == 0 && alignof(TxItem) <= 16);
  if ((reinterpret_cast<uintptr_t>(Target) & 15) == 0) {
    const auto* from = reinterpret_cast<const __m128i*>(&Source);
    auto* to = reinterpret_cast<__m128i*>(Target);
    for (size_t i = 0; i < sizeof(TxItem) / 16; ++i)
      _mm_stream_si128(to + i, _mm_loadu_si128(from + i));
    return;
  }
#endif
  std::memcpy(static_cast<void*>(Target), &Source, sizeof(TxItem));
}

}  // namespace

int64_t CyTextListLoaderPiece::FillTextList(CyTextOwner* Owner, const TyJobContext& Job) {
  char16_t* at = DataPartUTF16.Start;
  char16_t* const end = DataPartUTF16.End;
  // Allocate left the records contiguous (no gap), so the piece walks them by pointer.
  TxItem* item = TextList->getItems(TextListOffset + 1);
  TxItem* const first = item;
  // Take the page faults of this piece's records here, in parallel with the other pieces, a
  // block ahead of the writing (so that a stop is seen between blocks).
  TxItem* const records = item + NewlineCount + (Last ? 1 : 0);
  TxItem* populated = item;
  constexpr int64_t kPopulateRecords = 16384;
  TxItem record;
  std::memset(static_cast<void*>(&record), 0, sizeof(record));
  record.SetFresh(TextListUniqueID);
  record.TextUTF16.Owner = Owner;
  const int64_t idStep = TextListUniqueID ? 1 : 0;
  char16_t* lineStart = at;
  const char16_t* reported = at;
  while (true) {
    char16_t* lineEnd = const_cast<char16_t*>(findLineEnd(at, end));
    if (lineEnd == end) break;
    if (item == populated) {
      TxItem* const next = std::min(records, populated + kPopulateRecords);
      CyPageMemory::Populate(populated, static_cast<size_t>(next - populated) * sizeof(TxItem));
      populated = next;
    }
    if (static_cast<size_t>(lineEnd - reported) >= kProgressStep) {
      Job.ThrowIfStopped();
      Job.Advance(static_cast<uint64_t>(lineEnd - reported));
      reported = lineEnd;
    }
    at = lineEnd + 1;
    if (*lineEnd == 13 && at < end && *at == 10) ++at;
    *lineEnd = u'\0';  // for CR LF only the CR; the LF stays behind the terminator
    record.TextUTF16.Text = lineStart;
    record.TextUTF16.Length = static_cast<size_t>(lineEnd - lineStart);
    writeRecord(item++, record);
    record.UniqueID += idStep;
    lineStart = at;
  }
  if (Last) {
    record.TextUTF16.Text = lineStart;
    record.TextUTF16.Length = static_cast<size_t>(end - lineStart);
    writeRecord(item++, record);
  }
  Job.Advance(static_cast<uint64_t>(end - reported));
#if defined(__SSE2__)
  _mm_sfence();  // streamed records are visible before the caller joins this task
#endif
  return item - first;
}

void CyTextListLoaderPieces::CountNewlines_PARALLEL(const TyJobContext& Job) {
  Job.RunAll(static_cast<int>(Pieces.size()),
             [&](int Piece) { Pieces[static_cast<size_t>(Piece)].CountNewlines(Job); });
  for (const auto& piece : Pieces) {
    if (!piece.Binary) continue;
    // The failure path: find the NUL again for its position.
    const char16_t* const start = Pieces.front().DataPartUTF16.Start;
    const char16_t* nul = piece.DataPartUTF16.Start;
    while (*nul != 0) ++nul;
    ThrowBinaryFile(Job.ApplicationName,
                    PositionOfUTF16Unit(start, static_cast<size_t>(nul - start)));
  }
}

std::u16string CyTextListLoaderPieces::DetectOS_NOT_PARALLEL() const {
  int64_t lf = 0, cr = 0, pairs = 0;
  for (const auto& piece : Pieces) {
    lf += piece.NewlineCount10;
    cr += piece.NewlineCount13;
    pairs += piece.NewlineCount1310;
  }
  return ChooseNewline(lf, cr, pairs);
}

std::u16string CyTextListLoaderPieces::ChooseNewline(int64_t LoneLF, int64_t LoneCR,
                                                     int64_t Pairs) {
  // Lone CR is tested before lone LF on purpose: more lone CRs than pairs make a CR file even
  // when lone LFs outnumber both.
  if (LoneCR > Pairs) return u"\r";
  if (LoneLF > Pairs) return u"\n";
  return u"\r\n";
}

void CyTextListLoaderPieces::AllocateTextList_NOT_PARALLEL(TxTextList& List) {
  int64_t lines = 1;
  for (const auto& piece : Pieces) lines += piece.NewlineCount;
  List.InvalidateCache();
  List.getTextItems().Allocate(lines);
}

void CyTextListLoaderPieces::FillTextList_PARALLEL(TxTextList& List, CyTextOwner* Owner,
                                                   const TyJobContext& Job) {
  int64_t offset = 0;
  for (auto& piece : Pieces) {
    piece.TextList = &List;
    piece.TextListOffset = offset;
    piece.TextListUniqueID = List.CreateUniqueID(piece.NewlineCount + 1);
    offset += piece.NewlineCount;
  }
  Pieces.back().Last = true;
  // Every record holds a reference to the one buffer; taken in one step, not per line.
  Owner->AddRef(static_cast<size_t>(List.getCount()));
  std::vector<int64_t> written(Pieces.size());
  try {
    Job.RunAll(static_cast<int>(Pieces.size()), [&](int Piece) {
      written[static_cast<size_t>(Piece)] =
          Pieces[static_cast<size_t>(Piece)].FillTextList(Owner, Job);
    });
    for (size_t i = 0; i < Pieces.size(); ++i)
      if (written[i] != Pieces[i].NewlineCount + (Pieces[i].Last ? 1 : 0))
        throw CyShouldNeverHappenException("FillTextList: line count differs from the count stage");
  } catch (...) {
    Owner->Release(static_cast<size_t>(List.getCount()));
    List.getTextItems().Abandon();
    throw;
  }
}

std::vector<CyDataPartUTF16> CyUTF8DecoderParallel::Decode(const std::vector<CyDataPartUTF8>& Parts,
                                                           const uint8_t* Data, char16_t* Buffer,
                                                           CyUTF8ToCharErrorHandler& ErrorHandler,
                                                           const TyJobContext& Job) {
  std::vector<CyUTFDecoderWorkerParam> params(Parts.size());
  for (size_t i = 0; i < Parts.size(); ++i) {
    params[i].Source = Parts[i];
    params[i].Target = Buffer + (Parts[i].Start - Data);
  }
  Job.RunAll(static_cast<int>(params.size()), [&](int Param) {
    CyUTFDecoderWorkerParam& param = params[static_cast<size_t>(Param)];
    // In stretches that end before a character's first byte, for the progress bar: a
    // sequence cut by a stretch would be cut by the next byte anyway, so errors count the same.
    constexpr size_t kStretch = size_t{1} << 20;
    const uint8_t* at = param.Source.Start;
    const uint8_t* const end = param.Source.End;
    while (at < end) {
      Job.ThrowIfStopped();
      const uint8_t* stop = static_cast<size_t>(end - at) > kStretch ? at + kStretch : end;
      TyUTF8DecodeResult part;
      if (!ReadMapped([&] {
            while (stop < end && (*stop & 0xC0) == 0x80) ++stop;
            // Faulted in stretch by stretch, so that a stop is seen between stretches.
            CyPageMemory::Populate(param.Target + param.Result.Written,
                                   static_cast<size_t>(stop - at) * sizeof(char16_t));
            part = DecodeUTF8(at, stop, param.Target + param.Result.Written);
          })) {
        param.Vanished = true;
        break;
      }
      if (part.ErrorCount && !param.Result.ErrorCount)
        param.Result.FirstError = static_cast<size_t>(at - param.Source.Start) + part.FirstError;
      param.Result.Written += part.Written;
      param.Result.ErrorCount += part.ErrorCount;
      Job.Advance(static_cast<uint64_t>(stop - at));
      if (part.NulFound) {
        param.Result.NulFound = true;
        break;
      }
      at = stop;
    }
  });
  std::vector<CyDataPartUTF16> decoded(params.size());
  size_t errors = 0;
  for (size_t i = 0; i < params.size(); ++i) {
    decoded[i] = {params[i].Target, params[i].Target + params[i].Result.Written};
    errors += params[i].Result.ErrorCount;
    if (params[i].Vanished) throwFileChanged();
  }
  // Failure paths: the first bad byte in file order, found again for its position.
  for (const CyUTFDecoderWorkerParam& param : params) {
    if (!param.Result.NulFound) continue;
    const uint8_t* nul = nullptr;
    TyTextPosition position;
    if (!ReadMapped([&] {
          nul = static_cast<const uint8_t*>(std::memchr(
              param.Source.Start, 0, static_cast<size_t>(param.Source.End - param.Source.Start)));
          position = PositionOfUTF8Byte(Data, static_cast<size_t>(nul - Data));
        }))
      throwFileChanged();
    ThrowBinaryFile(Job.ApplicationName, position, nul - Data);
  }
  if (errors > 0 && ErrorHandler.getMode() == 1) {
    for (const CyUTFDecoderWorkerParam& param : params) {
      if (!param.Result.ErrorCount) continue;
      const uint8_t* const bad = param.Source.Start + param.Result.FirstError;
      TyTextPosition position;
      uint8_t byte = 0;
      if (!ReadMapped([&] {
            position = PositionOfUTF8Byte(Data, static_cast<size_t>(bad - Data));
            byte = *bad;
          }))
        throwFileChanged();
      ThrowUndecodable(position, bad - Data, byte, "UTF-8");
    }
  }
  ErrorHandler.ReportErrors(errors);
  return decoded;
}

namespace {

// Drops the loader's own reference to the buffer on every exit.
struct TyOwnerReference {
  CyTextOwner* Owner;
  ~TyOwnerReference() {
    if (Owner) Owner->Release();
  }
};

std::u16string loadPieces(TxTextList& List, CyTextListLoaderPieces& Pieces, CyTextOwner* Owner,
                          const TyJobContext& Job) {
  Pieces.CountNewlines_PARALLEL(Job);
  std::u16string newline = Pieces.DetectOS_NOT_PARALLEL();
  Job.ThrowIfStopped();  // the last point at which the list keeps its content
  Pieces.AllocateTextList_NOT_PARALLEL(List);
  Pieces.FillTextList_PARALLEL(List, Owner, Job);
  return newline;
}

}  // namespace

std::u16string CyTextListLoader::LoadDecoded_PARALLEL(TxTextList& List, CyTextOwner* Owner,
                                                      size_t Units, int PieceCount,
                                                      const TyJobContext& Job) {
  // Counting the line ends and filling the records each walk the text once.
  Job.Begin("Loading", 2 * static_cast<uint64_t>(Units));
  TyOwnerReference reference{Owner};
  char16_t* data = Owner->getBuffer();
  data[Units] = u'\0';
  const std::vector<size_t> bounds =
      SplitBoundaries(data, Units, Job.ResolvePieceCount(PieceCount));
  CyTextListLoaderPieces pieces;
  pieces.Pieces.resize(bounds.size() - 1);
  for (size_t i = 0; i + 1 < bounds.size(); ++i)
    pieces.Pieces[i].DataPartUTF16 = {data + bounds[i], data + bounds[i + 1]};
  return loadPieces(List, pieces, Owner, Job);
}

std::u16string CyTextListLoader::LoadTextList_PARALLEL(TxTextList& List, const uint8_t* Data,
                                                       size_t Size, const CyEncoding& Encoding,
                                                       CyUTF8ToCharErrorHandler* ErrorHandler,
                                                       int PieceCount,
                                                       const std::function<void()>& AfterDecode,
                                                       const TyJobContext& Job) {
  if (Encoding.IsBinary()) ThrowBinaryFile(Job.ApplicationName);
  CyUTF8ToCharErrorHandler counting(2);
  CyUTF8ToCharErrorHandler& handler = ErrorHandler ? *ErrorHandler : counting;
  if (Encoding.getCodePage() != kCodePageUTF8) {
    Job.Begin("Decoding", 0);  // one sequential conversion: no steps to count
    // The converters read a private copy: they cannot run inside ReadMapped.
    std::unique_ptr<uint8_t[]> copy = std::make_unique_for_overwrite<uint8_t[]>(Size + 1);
    if (!ReadMapped([&] { std::memcpy(copy.get(), Data, Size); })) throwFileChanged();
    if (AfterDecode) AfterDecode();
    const TyDecodedText decoded = DecodeToUTF16(copy.get(), Size, Encoding);
    TyOwnerReference reference{decoded.Owner};
    if (decoded.ErrorCount > 0 && handler.getMode() == 1) {
      const TyTextPosition position =
          PositionOfUTF16Unit(decoded.Owner->getBuffer(), decoded.FirstErrorUnit);
      const uint8_t byte = copy[decoded.FirstErrorByte];
      std::string detail;  // empty: the usual message
      if (Encoding.IsUnicode() && (Size & 1) != 0) {
        char hex[8];
        std::snprintf(hex, sizeof hex, "0x%02X", byte);
        detail = std::string("the file ends with a lone byte ") + hex + ": " + Encoding.getName() +
                 " text has an even number of bytes, two per code unit.";
      }
      ThrowUndecodable(position, static_cast<int64_t>(decoded.FirstErrorByte), byte,
                       Encoding.getName(), detail);
    }
    handler.ReportErrors(decoded.ErrorCount);
    copy.reset();
    reference.Owner = nullptr;
    return LoadDecoded_PARALLEL(List, decoded.Owner, decoded.Units, PieceCount, Job);
  }
  // Decoding, counting the line ends and filling the records each walk the text once; a
  // character takes no more code units than bytes, so the total is reached or nearly.
  Job.Begin("Loading", 3 * static_cast<uint64_t>(Size));
  const std::vector<size_t> bounds = SplitBoundaries(Data, Size, Job.ResolvePieceCount(PieceCount));
  std::vector<CyDataPartUTF8> parts(bounds.size() - 1);
  for (size_t i = 0; i + 1 < bounds.size(); ++i)
    parts[i] = {Data + bounds[i], Data + bounds[i + 1]};
  // UTF-8 never needs more code units than bytes, so the one buffer is sized by the input.
  TyOwnerReference reference{CyTextOwner::CreateBuffer(Size)};
  const std::vector<CyDataPartUTF16> decoded =
      CyUTF8DecoderParallel::Decode(parts, Data, reference.Owner->getBuffer(), handler, Job);
  if (AfterDecode) AfterDecode();
  *decoded.back().End = u'\0';
  CyTextListLoaderPieces pieces;
  pieces.Pieces.resize(decoded.size());
  for (size_t i = 0; i < decoded.size(); ++i) pieces.Pieces[i].DataPartUTF16 = decoded[i];
  return loadPieces(List, pieces, reference.Owner, Job);
}

}  // namespace xylem
