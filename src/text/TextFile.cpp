#include "text/TextFile.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/Exception.hpp"
#include "text/ByteOrderMark.hpp"
#include "text/EncodingDetector.hpp"
#include "text/TextFileWriter.hpp"
#include "text/TextListLoader.hpp"

namespace xylem {

namespace {

// Positions the stream for a caller-given encoding: behind a mark of that encoding only.
void skipMatchingMark(CyRewindableInputStream& Stream, const CyEncoding& Encoding, bool& HasBOM) {
  std::string mark;
  CyBOMDetector::RewindAndSkipBOM(Stream, mark);
  HasBOM = !mark.empty() && ((mark == "UTF-8" && Encoding.getCodePage() == kCodePageUTF8) ||
                             (mark == "UTF-16LE" && Encoding.getCodePage() == kCodePageUTF16LE) ||
                             (mark == "UTF-16BE" && Encoding.getCodePage() == kCodePageUTF16BE));
  if (!HasBOM) Stream.Rewind();
}

std::u16string loadStream(TxTextList& List, const std::string& BaseURL,
                          CyRewindableInputStream& Stream, CyUTF8ToCharErrorHandler* ErrorHandler,
                          CyEncoding& Encoding, bool& EncodingFixed, bool& HasBOM, int PieceCount,
                          const std::function<void()>& AfterDecode, const TyJobContext& Job) {
  // Detection reads at most a mark and a declaration's 1024 bytes: it works on a copy of the
  // head, so that only the loader reads the (possibly mapped) bytes, inside ReadMapped.
  uint8_t head[4096];
  const size_t headSize = std::min(sizeof head, Stream.getSize());
  if (headSize && !ReadMapped([&] { std::memcpy(head, Stream.getData(), headSize); }))
    throw CyException("The file changed while it was being read; nothing was loaded.",
                      kErrorFileRead);
  CyRewindableInputStream headStream(head, headSize);
  if (EncodingFixed)
    skipMatchingMark(headStream, Encoding, HasBOM);
  else
    CyEncodingDetector::DetectEncodingAndSkipBOM(BaseURL, headStream, HasBOM, Encoding,
                                                 EncodingFixed);
  const size_t mark = headStream.getPosition();
  Stream.setPosition(mark);
  try {
    return CyTextListLoader::LoadTextList_PARALLEL(List, Stream.getCurrent(), Stream.getRemaining(),
                                                   Encoding, ErrorHandler, PieceCount, AfterDecode,
                                                   Job);
  } catch (const CyDecodeException& error) {
    throw error.ShiftedBy(static_cast<int64_t>(mark));  // offsets count from the file's start
  }
}

}  // namespace

std::u16string TxTextList::LoadFromDataEncoded__PARALLEL__(const uint8_t* Data, size_t Size,
                                                           const CyEncoding& Encoding,
                                                           CyUTF8ToCharErrorHandler* ErrorHandler,
                                                           int PieceCount,
                                                           const TyJobContext& Job) {
  return CyTextListLoader::LoadTextList_PARALLEL(*this, Data, Size, Encoding, ErrorHandler,
                                                 PieceCount, {}, Job);
}

std::u16string TxTextList::LoadFromBufferedInputStreamEncoded__PARALLEL__(
    const std::string& BaseURL, CyBufferedInputStream& BufferedInputStream,
    CyUTF8ToCharErrorHandler* ErrorHandler, CyEncoding& Encoding, bool& EncodingFixed, bool& HasBOM,
    int PieceCount, const TyJobContext& Job) {
  return loadStream(*this, BaseURL, BufferedInputStream, ErrorHandler, Encoding, EncodingFixed,
                    HasBOM, PieceCount, {}, Job);
}

std::u16string TxTextList::LoadFromURL__PARALLEL__(const std::string& Path,
                                                   CyUTF8ToCharErrorHandler* ErrorHandler,
                                                   CyEncoding& Encoding, bool& EncodingFixed,
                                                   bool& HasBOM, int PieceCount,
                                                   const TyJobContext& Job,
                                                   uint64_t MaxStreamBytes) {
  CyInputBytes file = CyInputBytes::FromPath(Path, MaxStreamBytes);
  CyRewindableInputStream stream(file.getData(), file.getSize());
  return loadStream(
      *this, Path, stream, ErrorHandler, Encoding, EncodingFixed, HasBOM, PieceCount,
      [&file] { file.Release(); }, Job);
}

std::u16string TxTextList::LoadFromDataDecoded__PARALLEL__(std::u16string_view DataDecoded,
                                                           int PieceCount,
                                                           const TyJobContext& Job) {
  CyTextOwner* owner = CyTextOwner::CreateBuffer(DataDecoded.size());
  if (!DataDecoded.empty())
    std::memcpy(owner->getBuffer(), DataDecoded.data(), DataDecoded.size() * sizeof(char16_t));
  return CyTextListLoader::LoadDecoded_PARALLEL(*this, owner, DataDecoded.size(), PieceCount, Job);
}

std::string TxTextList::getEncoded(const CyEncoding& Encoding, bool WithBOM,
                                   std::u16string_view Newline) const {
  std::string bytes;
  CyTextFileWriter out(bytes, {Encoding, WithBOM, false, std::u16string(Newline)});
  PutTextList(*this, out);
  out.Commit();
  return bytes;
}

void TxTextList::SaveToURL(const std::string& Path, const CyEncoding& Encoding, bool WithBOM,
                           std::u16string_view Newline) const {
  CyTextFileWriter out(Path, {Encoding, WithBOM, false, std::u16string(Newline)});
  PutTextList(*this, out);
  out.Commit();
}

TyTextFileFormat LoadTextFile(const std::string& Path, TxTextList& List,
                              const TyTextFileLoadOptions& Options) {
  TyTextFileFormat format;
  format.EncodingFixed = Options.Encoding.has_value();
  if (Options.Encoding) format.Encoding = *Options.Encoding;
  format.Newline = List.LoadFromURL__PARALLEL__(
      Path, Options.ErrorHandler, format.Encoding, format.EncodingFixed, format.HasBOM,
      Options.PieceCount, Options.Job ? *Options.Job : TyJobContext{}, Options.MaxStreamBytes);
  return format;
}

TyTextFileFormat LoadTextBytes(std::string_view Bytes, std::string_view BaseURL, TxTextList& List,
                               const TyTextFileLoadOptions& Options) {
  TyTextFileFormat format;
  format.EncodingFixed = Options.Encoding.has_value();
  if (Options.Encoding) format.Encoding = *Options.Encoding;
  CyRewindableInputStream stream(reinterpret_cast<const uint8_t*>(Bytes.data()), Bytes.size());
  format.Newline = List.LoadFromBufferedInputStreamEncoded__PARALLEL__(
      std::string(BaseURL), stream, Options.ErrorHandler, format.Encoding, format.EncodingFixed,
      format.HasBOM, Options.PieceCount, Options.Job ? *Options.Job : TyJobContext{});
  return format;
}

void SaveTextFile(const std::string& Path, const TxTextList& List, const TyTextFileFormat& Format) {
  List.SaveToURL(Path, Format.Encoding, Format.HasBOM, Format.Newline);
}

std::string EncodeTextList(const TxTextList& List, const TyTextFileFormat& Format) {
  return List.getEncoded(Format.Encoding, Format.HasBOM, Format.Newline);
}

}  // namespace xylem
