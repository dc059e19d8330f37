#include "text/TextFileWriter.hpp"

#include <sys/stat.h>
#include <sys/sendfile.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/Exception.hpp"
#include "common/Utf.hpp"

namespace xylem {

namespace {

bool IsHighSurrogate(char16_t Unit) { return Unit >= 0xD800 && Unit <= 0xDBFF; }

// Saving through a symbolic link replaces the file it points to, not the link.
std::string ResolveLink(const std::string& Path) {
  struct stat link {};
  if (lstat(Path.c_str(), &link) == 0 && S_ISLNK(link.st_mode)) {
    if (char* resolved = realpath(Path.c_str(), nullptr)) {
      std::string target = resolved;
      std::free(resolved);
      return target;
    }
  }
  return Path;
}

}  // namespace

CyTextFileWriter::CyTextFileWriter(const TyTextFileFormat& Format, std::string Name)
    : encoder_(Format.Encoding),
      newline_(Format.Newline),
      encodingName_(Format.Encoding.getName()),
      canFail_(!Format.Encoding.IsUnicode()),  // only these meet unwritable characters
      utf8_(Format.Encoding.getCodePage() == kCodePageUTF8),
      name_(std::move(Name)),
      bytes_(encoder_.getMark(Format.HasBOM)) {}

CyTextFileWriter::CyTextFileWriter(const std::string& Path, const TyTextFileFormat& Format)
    : CyTextFileWriter(Format, Path) {
  target_ = ResolveLink(Path);
  const size_t slash = target_.rfind('/');
  const std::string folder = slash == std::string::npos ? "" : target_.substr(0, slash + 1);
  const std::string file = slash == std::string::npos ? target_ : target_.substr(slash + 1);
  temporary_ = folder + "." + file + ".XXXXXX";
  fd_ = mkstemp(temporary_.data());
  if (fd_ < 0) {
    temporary_.clear();
    failed(errno);
  }
}

CyTextFileWriter::CyTextFileWriter(int Descriptor, std::string Name, const TyTextFileFormat& Format,
                                   bool WithMark)
    : CyTextFileWriter(Format, std::move(Name)) {
  fd_ = Descriptor;
  if (!WithMark) bytes_.clear();
}

CyTextFileWriter::CyTextFileWriter(std::string& Bytes, const TyTextFileFormat& Format)
    : CyTextFileWriter(Format, "") {
  memory_ = &Bytes;
  Bytes += bytes_;
  bytes_.clear();
}

CyTextFileWriter::~CyTextFileWriter() {
  if (temporary_.empty()) return;
  close(fd_);
  unlink(temporary_.c_str());
}

void CyTextFileWriter::PutNewline() { Put(newline_); }

void CyTextFileWriter::putLarge(std::u16string_view Text) {
  while (!Text.empty()) {
    if (used_ == 0 && Text.size() >= kBufferUnits) {
      // Encoded where it stands, a buffer's worth at a time, no pair split at the end.
      size_t count = kBufferUnits;
      if (IsHighSurrogate(Text[count - 1])) --count;
      emit(Text.substr(0, count));
      Text.remove_prefix(count);
      continue;
    }
    const size_t count = std::min(kBufferUnits - used_, Text.size());
    std::char_traits<char16_t>::copy(buffer_ + used_, Text.data(), count);
    used_ += count;
    Text.remove_prefix(count);
    if (used_ == kBufferUnits) drain(false);
  }
}

void CyTextFileWriter::drain(bool Final) {
  // A pair split by the buffer's end is encoded whole with the next buffer.
  size_t count = used_;
  if (!Final && count > 0 && IsHighSurrogate(buffer_[count - 1])) --count;
  emit(std::u16string_view(buffer_, count));
  std::char_traits<char16_t>::move(buffer_, buffer_ + count, used_ - count);
  used_ -= count;
}

void CyTextFileWriter::emit(std::u16string_view Text) {
  if (utf8_) {
    // The common case in one pass into a fixed buffer: no measuring, no zero-filled string.
    if (encoded_.size() < Text.size() * 3) encoded_.resize(Text.size() * 3);
    const size_t bytes = EncodeUTF8(Text, encoded_.data());
    unitsDrained_ += Text.size();
    if (memory_) {
      memory_->append(encoded_.data(), bytes);
      return;
    }
    if (!bytes_.empty()) writeBytes();  // the mark
    writeAll({encoded_.data(), bytes});
    return;
  }
  std::string& out = memory_ ? *memory_ : bytes_;
  const size_t bad = encoder_.Encode(Text, out);
  if (bad != std::u16string_view::npos) {
    countLines(Text.substr(0, bad));
    char code[16];
    std::snprintf(code, sizeof(code), "U+%04X", static_cast<unsigned>(Text[bad]));
    throw CyException("Line " + std::to_string(line_) + ", position " +
                          std::to_string(unitsDrained_ + bad - lineStart_ + 1) +
                          ": the character " + code + " cannot be written in the encoding " +
                          encodingName_ + ".",
                      kErrorUnrepresentable);
  }
  if (canFail_) countLines(Text);
  unitsDrained_ += Text.size();
  if (!memory_) writeBytes();
}

void CyTextFileWriter::countLines(std::u16string_view Text) {
  const char16_t end = newline_.back();
  for (size_t i = 0; i < Text.size(); ++i) {
    if (Text[i] != end) continue;
    ++line_;
    lineStart_ = unitsDrained_ + i + 1;
  }
}

void CyTextFileWriter::writeAll(std::string_view Bytes) {
  size_t done = 0;
  while (done < Bytes.size()) {
    const ssize_t n = write(fd_, Bytes.data() + done, Bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) failed(errno);
    done += static_cast<size_t>(n);
  }
}

void CyTextFileWriter::writeBytes() {
  writeAll(bytes_);
  bytes_.clear();
}

void CyTextFileWriter::PutEncoded(std::string_view Bytes) {
  drain(true);  // also writes out what was buffered
  if (memory_)
    memory_->append(Bytes);
  else
    writeAll(Bytes);
}

void CyTextFileWriter::AppendEncoded(int Descriptor) {
  drain(true);
  if (!bytes_.empty() && !memory_) writeBytes();  // the mark
  off_t offset = 0;
  if (!memory_) {
    // In the kernel, without a copy through this process, where both ends allow it.
    for (;;) {
      const ssize_t n = sendfile(fd_, Descriptor, &offset, size_t{1} << 30);
      if (n > 0) continue;
      if (n == 0) return;
      if (errno == EINTR) continue;
      if (errno != EINVAL && errno != ENOSYS) failed(errno);
      break;  // copied below from where sendfile stopped
    }
  }
  if (lseek(Descriptor, offset, SEEK_SET) < 0) failed(errno);
  std::string chunk(size_t{1} << 20, '\0');
  for (;;) {
    const ssize_t n = read(Descriptor, chunk.data(), chunk.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) failed(errno);
    if (n == 0) return;
    const std::string_view bytes(chunk.data(), static_cast<size_t>(n));
    if (memory_)
      memory_->append(bytes);
    else
      writeAll(bytes);
  }
}

void CyTextFileWriter::Commit() {
  drain(true);
  if (temporary_.empty()) return;
  // Keep the target's permissions; a new file gets the usual ones rather than mkstemp's 0600.
  struct stat info {};
  if (stat(target_.c_str(), &info) == 0) {
    fchmod(fd_, info.st_mode & 07777);
  } else {
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(fd_, 0666 & ~mask);
  }
  if (fsync(fd_) != 0) failed(errno);
  const int closed = close(fd_);
  fd_ = -1;
  if (closed != 0 || rename(temporary_.c_str(), target_.c_str()) != 0) {
    const int error = errno;
    unlink(temporary_.c_str());
    temporary_.clear();
    failed(error);
  }
  temporary_.clear();
}

void CyTextFileWriter::failed(int Error) const {
  throw CyException("The file \"" + name_ + "\" cannot be written: " + std::strerror(Error) + ".",
                    kErrorFileWrite);
}

void PutTextList(const TxTextList& List, CyTextFileWriter& Out) {
  const int64_t count = List.getCount();
  for (int64_t line = 1; line <= count; ++line) {
    if (line > 1) Out.PutNewline();
    Out.Put(List.getLine(line));
  }
}

}  // namespace xylem
