#include "text/TextFileWriter.hpp"

#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/Exception.hpp"
#include "common/Utf.hpp"
#include "text/TemporaryFiles.hpp"

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
    : Encoder_(Format.Encoding),
      Newline_(Format.Newline),
      EncodingName_(Format.Encoding.getName()),
      CanFail_(!Format.Encoding.IsUnicode()),  // only these meet unwritable characters
      Utf8_(Format.Encoding.getCodePage() == kCodePageUTF8),
      Name_(std::move(Name)),
      Bytes_(Encoder_.getMark(Format.HasBOM)) {}

CyTextFileWriter::CyTextFileWriter(const std::string& Path, const TyTextFileFormat& Format,
                                   TyInPlaceWrite Mode)
    : CyTextFileWriter(Format, Path) {
  Mode_ = Mode;
  Target_ = ResolveLink(Path);
  const size_t slash = Target_.rfind('/');
  const std::string folder = slash == std::string::npos ? "" : Target_.substr(0, slash + 1);
  const std::string file = slash == std::string::npos ? Target_ : Target_.substr(slash + 1);
  Temporary_ = folder + "." + file + ".XXXXXX";
  Fd_ = mkstemp(Temporary_.data());
  if (Fd_ < 0) {
    Temporary_.clear();
    failed(errno);
  }
  TemporarySlot_ = CyTemporaryFiles::Register(Temporary_.c_str());
}

CyTextFileWriter::CyTextFileWriter(int Descriptor, std::string Name, const TyTextFileFormat& Format,
                                   bool WithMark)
    : CyTextFileWriter(Format, std::move(Name)) {
  Fd_ = Descriptor;
  if (!WithMark) Bytes_.clear();
}

CyTextFileWriter::CyTextFileWriter(std::string& Bytes, const TyTextFileFormat& Format)
    : CyTextFileWriter(Format, "") {
  Memory_ = &Bytes;
  Bytes += Bytes_;
  Bytes_.clear();
}

CyTextFileWriter::~CyTextFileWriter() {
  if (Temporary_.empty()) return;
  if (Fd_ >= 0) close(Fd_);
  unlink(Temporary_.c_str());
  CyTemporaryFiles::Unregister(TemporarySlot_);
}

void CyTextFileWriter::dropTemporary() {
  CyTemporaryFiles::Unregister(TemporarySlot_);
  TemporarySlot_ = -1;
  Temporary_.clear();
}

void CyTextFileWriter::PutNewline() { Put(Newline_); }

void CyTextFileWriter::putLarge(std::u16string_view Text) {
  while (!Text.empty()) {
    if (Used_ == 0 && Text.size() >= kBufferUnits) {
      // Encoded where it stands, a buffer's worth at a time, no pair split at the end.
      size_t count = kBufferUnits;
      if (IsHighSurrogate(Text[count - 1])) --count;
      emit(Text.substr(0, count));
      Text.remove_prefix(count);
      continue;
    }
    const size_t count = std::min(kBufferUnits - Used_, Text.size());
    std::char_traits<char16_t>::copy(Buffer_ + Used_, Text.data(), count);
    Used_ += count;
    Text.remove_prefix(count);
    if (Used_ == kBufferUnits) drain(false);
  }
}

void CyTextFileWriter::drain(bool Final) {
  // A pair split by the buffer's end is encoded whole with the next buffer.
  size_t count = Used_;
  if (!Final && count > 0 && IsHighSurrogate(Buffer_[count - 1])) --count;
  emit(std::u16string_view(Buffer_, count));
  std::char_traits<char16_t>::move(Buffer_, Buffer_ + count, Used_ - count);
  Used_ -= count;
}

void CyTextFileWriter::emit(std::u16string_view Text) {
  if (Utf8_) {
    // The common case in one pass into a fixed buffer: no measuring, no zero-filled string.
    if (Encoded_.size() < Text.size() * 3) Encoded_.resize(Text.size() * 3);
    const size_t bytes = EncodeUTF8(Text, Encoded_.data());
    UnitsDrained_ += Text.size();
    if (Memory_) {
      Memory_->append(Encoded_.data(), bytes);
      return;
    }
    if (!Bytes_.empty()) writeBytes();  // the mark
    writeAll({Encoded_.data(), bytes});
    return;
  }
  std::string& out = Memory_ ? *Memory_ : Bytes_;
  const size_t bad = Encoder_.Encode(Text, out);
  if (bad != std::u16string_view::npos) {
    countLines(Text.substr(0, bad));
    char code[16];
    std::snprintf(code, sizeof(code), "U+%04X", static_cast<unsigned>(Text[bad]));
    throw CyException("Line " + std::to_string(Line_) + ", position " +
                          std::to_string(UnitsDrained_ + bad - LineStart_ + 1) +
                          ": the character " + code + " cannot be written in the encoding " +
                          EncodingName_ + ".",
                      kErrorUnrepresentable);
  }
  if (CanFail_) countLines(Text);
  UnitsDrained_ += Text.size();
  if (!Memory_) writeBytes();
}

void CyTextFileWriter::countLines(std::u16string_view Text) {
  const char16_t end = Newline_.back();
  for (size_t i = 0; i < Text.size(); ++i) {
    if (Text[i] != end) continue;
    ++Line_;
    LineStart_ = UnitsDrained_ + i + 1;
  }
}

void CyTextFileWriter::writeAll(std::string_view Bytes) {
  size_t done = 0;
  while (done < Bytes.size()) {
    const ssize_t n = write(Fd_, Bytes.data() + done, Bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) failed(errno);
    done += static_cast<size_t>(n);
  }
}

void CyTextFileWriter::writeBytes() {
  writeAll(Bytes_);
  Bytes_.clear();
}

void CyTextFileWriter::PutEncoded(std::string_view Bytes) {
  drain(true);  // also writes out what was buffered
  if (Memory_)
    Memory_->append(Bytes);
  else
    writeAll(Bytes);
}

void CyTextFileWriter::AppendEncoded(int Descriptor) {
  drain(true);
  if (!Bytes_.empty() && !Memory_) writeBytes();  // the mark
  off_t offset = 0;
  if (!Memory_) {
    // In the kernel, without a copy through this process, where both ends allow it.
    for (;;) {
      const ssize_t n = sendfile(Fd_, Descriptor, &offset, size_t{1} << 30);
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
    if (Memory_)
      Memory_->append(bytes);
    else
      writeAll(bytes);
  }
}

void CyTextFileWriter::Commit() {
  drain(true);
  if (Temporary_.empty()) return;
  struct stat target {};
  if (Mode_ == TyInPlaceWrite::ipwKeepLinks && stat(Target_.c_str(), &target) == 0) {
    commitThrough(target);
    return;
  }
  keepMetadata();
  if (fsync(Fd_) != 0) failed(errno);
  const int closed = close(Fd_);
  Fd_ = -1;
  if (closed != 0 || rename(Temporary_.c_str(), Target_.c_str()) != 0) {
    const int error = errno;
    unlink(Temporary_.c_str());
    dropTemporary();
    failed(error);
  }
  dropTemporary();
}

void CyTextFileWriter::keepMetadata() {
  struct stat info {};
  if (stat(Target_.c_str(), &info) != 0) {
    // A new file gets the usual permissions rather than mkstemp's 0600.
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(Fd_, 0666 & ~mask);
    return;
  }
  // Owner and group first (a change of owner clears set-user-ID bits, which fchmod restores).
  // Only a privileged process may give a file away; anyone may keep a group they belong to.
  if (fchown(Fd_, info.st_uid, info.st_gid) != 0)
    (void)!fchown(Fd_, static_cast<uid_t>(-1), info.st_gid);
  fchmod(Fd_, info.st_mode & 07777);
  // Extended attributes, access ACLs among them (system.posix_acl_access), where the file
  // system has them; those the process may not set stay behind, as with cp -a.
  const ssize_t listed = listxattr(Target_.c_str(), nullptr, 0);
  if (listed <= 0) return;
  std::string names(static_cast<size_t>(listed), '\0');
  const ssize_t length = listxattr(Target_.c_str(), names.data(), names.size());
  std::string value;
  for (size_t at = 0; length > 0 && at < static_cast<size_t>(length);) {
    const char* name = names.c_str() + at;
    at += std::strlen(name) + 1;
    const ssize_t size = getxattr(Target_.c_str(), name, nullptr, 0);
    if (size < 0) continue;
    value.resize(static_cast<size_t>(size));
    const ssize_t got = getxattr(Target_.c_str(), name, value.data(), value.size());
    if (got >= 0) fsetxattr(Fd_, name, value.data(), static_cast<size_t>(got), 0);
  }
}

void CyTextFileWriter::commitThrough(const struct stat& Target) {
  struct stat result {};
  if (fstat(Fd_, &result) != 0) failed(errno);
  const int target = open(Target_.c_str(), O_WRONLY | O_CLOEXEC);
  if (target < 0) failed(errno);
  // Blocks for the whole result are reserved before the first byte of the original changes, so
  // that a full disk is found while the original is still intact.
  if (result.st_size > Target.st_size &&
      fallocate(target, FALLOC_FL_KEEP_SIZE, 0, result.st_size) != 0 && errno != EOPNOTSUPP) {
    const int error = errno;
    close(target);
    failed(error);
  }
  // From here on a failure leaves the original changed: the temporary file, with the whole
  // result, is then kept and named.
  int error = 0;
  off_t offset = 0;
  while (error == 0 && offset < result.st_size) {
    const ssize_t n = sendfile(target, Fd_, &offset, static_cast<size_t>(result.st_size - offset));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) error = n < 0 ? errno : EIO;
  }
  if (error == 0 && (ftruncate(target, result.st_size) != 0 || fsync(target) != 0)) error = errno;
  if (close(target) != 0 && error == 0) error = errno;
  if (error != 0) {
    close(Fd_);
    Fd_ = -1;
    const std::string kept = Temporary_;
    dropTemporary();
    throw CyException("The file \"" + Name_ + "\" cannot be written: " + std::strerror(error) +
                          ". The whole result is kept in \"" + kept + "\".",
                      kErrorFileWrite);
  }
  close(Fd_);
  Fd_ = -1;
  unlink(Temporary_.c_str());
  dropTemporary();
}

void CyTextFileWriter::failed(int Error) const {
  throw CyException("The file \"" + Name_ + "\" cannot be written: " + std::strerror(Error) + ".",
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
