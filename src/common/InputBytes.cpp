#include "common/InputBytes.hpp"

#include <fcntl.h>
#include <setjmp.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>

#include "common/Exception.hpp"

namespace xylem {

namespace {

// The jump target of the innermost ReadMapped on this thread (null outside any).
thread_local sigjmp_buf* tMappedRead = nullptr;
struct sigaction gPreviousSIGBUS {};

void onSIGBUS(int Signal, siginfo_t* Info, void* Context) {
  if (sigjmp_buf* jump = tMappedRead) siglongjmp(*jump, 1);
  // Not ours: hand it on as if this handler were not there.
  if (gPreviousSIGBUS.sa_flags & SA_SIGINFO) {
    gPreviousSIGBUS.sa_sigaction(Signal, Info, Context);
  } else if (gPreviousSIGBUS.sa_handler != SIG_IGN && gPreviousSIGBUS.sa_handler != SIG_DFL) {
    gPreviousSIGBUS.sa_handler(Signal);
  } else {
    signal(SIGBUS, SIG_DFL);
    raise(SIGBUS);
  }
}

void installHandler() {
  static std::once_flag once;
  std::call_once(once, [] {
    struct sigaction action {};
    action.sa_sigaction = onSIGBUS;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    sigaction(SIGBUS, &action, &gPreviousSIGBUS);
  });
}

[[noreturn]] void fail(const std::string& Name, int Error) {
  throw CyException("The file \"" + Name + "\" cannot be read: " + std::strerror(Error) + ".",
                    kErrorFileRead);
}

}  // namespace

namespace detail {

bool RunMappedRead(void (*Body)(void*), void* Context) {
  installHandler();
  sigjmp_buf jump;
  sigjmp_buf* const outer = tMappedRead;
  // The saved mask matters: the handler runs with SIGBUS blocked, and the jump must unblock it.
  if (sigsetjmp(jump, 1) != 0) {
    tMappedRead = outer;
    return false;
  }
  tMappedRead = &jump;
  Body(Context);
  tMappedRead = outer;
  return true;
}

}  // namespace detail

CyInputBytes::CyInputBytes(CyInputBytes&& Other) noexcept
    : Map_(Other.Map_),
      Buffer_(std::move(Other.Buffer_)),
      Size_(Other.Size_),
      Mapped_(Other.Mapped_) {
  Other.Map_ = nullptr;
  Other.Size_ = 0;
  Other.Mapped_ = false;
}

CyInputBytes& CyInputBytes::operator=(CyInputBytes&& Other) noexcept {
  if (this != &Other) {
    Release();
    Map_ = Other.Map_;
    Buffer_ = std::move(Other.Buffer_);
    Size_ = Other.Size_;
    Mapped_ = Other.Mapped_;
    Other.Map_ = nullptr;
    Other.Size_ = 0;
    Other.Mapped_ = false;
  }
  return *this;
}

CyInputBytes::~CyInputBytes() { Release(); }

const uint8_t* CyInputBytes::getData() const {
  if (Mapped_) return static_cast<const uint8_t*>(Map_);
  return Buffer_ ? Buffer_.get() : reinterpret_cast<const uint8_t*>("");
}

void CyInputBytes::Release() {
  if (Mapped_ && Map_) munmap(Map_, Size_);
  Map_ = nullptr;
  Buffer_.reset();
  Size_ = 0;
  Mapped_ = false;
}

CyInputBytes CyInputBytes::FromPath(const std::string& Path, uint64_t MaxStreamBytes) {
  const int fd = open(Path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) fail(Path, errno);
  struct TyClose {
    int Fd;
    ~TyClose() { close(Fd); }
  } closer{fd};
  struct stat info {};
  if (fstat(fd, &info) != 0) fail(Path, errno);
  if (S_ISDIR(info.st_mode)) fail(Path, EISDIR);
  if (!S_ISREG(info.st_mode) && !S_ISFIFO(info.st_mode)) {
    const char* kind = S_ISCHR(info.st_mode)    ? "a character device"
                       : S_ISBLK(info.st_mode)  ? "a block device"
                       : S_ISSOCK(info.st_mode) ? "a socket"
                                                : "not a regular file";
    throw CyException("The file \"" + Path + "\" is " + kind +
                          "; only regular files, named pipes and standard input can be read.",
                      kErrorNotAFile);
  }
  return FromDescriptor(fd, Path, MaxStreamBytes);
}

CyInputBytes CyInputBytes::FromDescriptor(int Descriptor, const std::string& Name,
                                          uint64_t MaxStreamBytes) {
  CyInputBytes input;
  struct stat info {};
  if (fstat(Descriptor, &info) != 0) fail(Name, errno);
  if (S_ISREG(info.st_mode)) {
    input.Size_ = static_cast<size_t>(info.st_size);
    input.Mapped_ = true;
    if (input.Size_ == 0) return input;
    void* data = mmap(nullptr, input.Size_, PROT_READ, MAP_PRIVATE, Descriptor, 0);
    if (data == MAP_FAILED) {
      input.Mapped_ = false;
      input.Size_ = 0;
      fail(Name, errno);
    }
    // The decoder reads each piece once from front to back.
    madvise(data, input.Size_, MADV_SEQUENTIAL);
    input.Map_ = data;
    return input;
  }
  // A stream: read until its end, doubling the buffer, never past the limit.
  const uint64_t limit = MaxStreamBytes;
  size_t capacity = 0, size = 0;
  std::unique_ptr<uint8_t[]> buffer;
  for (;;) {
    if (size == capacity) {
      if (size > limit) {
        throw CyException("\"" + Name + "\" is longer than " + std::to_string(limit) +
                              " bytes, the limit of the setting MaxStreamBytes for input read "
                              "as a stream.",
                          kErrorStreamLimit);
      }
      // One byte beyond the limit tells a stream of exactly the limit from a longer one.
      const size_t grown =
          static_cast<size_t>(std::min<uint64_t>(std::max<size_t>(capacity * 2, 65536), limit + 1));
      auto larger = std::make_unique_for_overwrite<uint8_t[]>(grown);
      if (size) std::memcpy(larger.get(), buffer.get(), size);
      buffer = std::move(larger);
      capacity = grown;
    }
    const ssize_t got = read(Descriptor, buffer.get() + size, capacity - size);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) fail(Name, errno);
    if (got == 0) break;
    size += static_cast<size_t>(got);
  }
  input.Buffer_ = std::move(buffer);
  input.Size_ = size;
  return input;
}

}  // namespace xylem
