#include "text/TextFile.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

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

// A read-only mapping of a whole file, released early by Release or at the latest on scope
// exit.
class CyMappedFile {
 public:
  explicit CyMappedFile(const std::string& Path) {
    const int fd = open(Path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) fail(Path);
    struct stat info {};
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
      const int error = S_ISDIR(info.st_mode) ? EISDIR : errno;
      close(fd);
      errno = error;
      fail(Path);
    }
    Size_ = static_cast<size_t>(info.st_size);
    if (Size_ > 0) {
      void* data = mmap(nullptr, Size_, PROT_READ, MAP_PRIVATE, fd, 0);
      if (data == MAP_FAILED) {
        const int error = errno;
        close(fd);
        errno = error;
        fail(Path);
      }
      // The decoder reads each piece once from front to back.
      madvise(data, Size_, MADV_SEQUENTIAL);
      Data_ = static_cast<const uint8_t*>(data);
    }
    close(fd);
  }
  ~CyMappedFile() { Release(); }
  CyMappedFile(const CyMappedFile&) = delete;
  CyMappedFile& operator=(const CyMappedFile&) = delete;

  const uint8_t* getData() const { return Data_ ? Data_ : reinterpret_cast<const uint8_t*>(""); }
  size_t getSize() const { return Size_; }
  void Release() {
    if (Data_) munmap(const_cast<uint8_t*>(Data_), Size_);
    Data_ = nullptr;
  }

 private:
  [[noreturn]] static void fail(const std::string& Path) {
    throw CyException("The file \"" + Path + "\" cannot be read: " + std::strerror(errno) + ".",
                      kErrorFileRead);
  }
  const uint8_t* Data_ = nullptr;
  size_t Size_ = 0;
};

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
  if (EncodingFixed)
    skipMatchingMark(Stream, Encoding, HasBOM);
  else
    CyEncodingDetector::DetectEncodingAndSkipBOM(BaseURL, Stream, HasBOM, Encoding, EncodingFixed);
  return CyTextListLoader::LoadTextList_PARALLEL(List, Stream.getCurrent(), Stream.getRemaining(),
                                                 Encoding, ErrorHandler, PieceCount, AfterDecode,
                                                 Job);
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
                                                   const TyJobContext& Job) {
  CyMappedFile file(Path);
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
      Options.PieceCount, Options.Job ? *Options.Job : TyJobContext{});
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
