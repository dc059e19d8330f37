#pragma once
// The bytes of an input, however it arrives: a regular file is mapped (no copy); a named pipe,
// or standard input of any kind but a regular file, is read to its end as a stream, up to
// MaxStreamBytes; anything else (a directory, a device, a socket) is refused.
//
// A mapped file can shrink while it is read, and touching a page beyond its new end raises
// SIGBUS. Code that reads mapped bytes does so inside ReadMapped, which turns that signal into
// a false return, so a changed file becomes an error message instead of a killed process.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>

namespace xylem {

inline constexpr int kErrorFileRead = 23;     // cannot be opened or read, or changed meanwhile
inline constexpr int kErrorStreamLimit = 24;  // a stream longer than MaxStreamBytes
inline constexpr int kErrorNotAFile = 25;     // a directory, device or socket

// The default of the setting MaxStreamBytes: a stream has no size to check beforehand, and
// /dev/zero never ends.
inline constexpr uint64_t kDefaultMaxStreamBytes = uint64_t{4} << 30;

class CyInputBytes {
 public:
  // Opens Path (following links). Throws CyException kErrorFileRead when it cannot be opened,
  // kErrorNotAFile for anything but a regular file or a named pipe, kErrorStreamLimit when a
  // pipe delivers more than MaxStreamBytes. Opening a pipe waits for its writer.
  static CyInputBytes FromPath(const std::string& Path,
                               uint64_t MaxStreamBytes = kDefaultMaxStreamBytes);
  // Reads Descriptor (not closed here): mapped when it is a regular file, otherwise read as a
  // stream whatever it is. Name is used in messages.
  static CyInputBytes FromDescriptor(int Descriptor, const std::string& Name,
                                     uint64_t MaxStreamBytes = kDefaultMaxStreamBytes);

  CyInputBytes(CyInputBytes&&) noexcept;
  CyInputBytes& operator=(CyInputBytes&&) noexcept;
  ~CyInputBytes();

  // The bytes; valid until Release. Mapped bytes must be read inside ReadMapped.
  const uint8_t* getData() const;
  size_t getSize() const { return Size_; }
  bool IsMapped() const { return Mapped_; }
  // Gives the bytes back early (unmaps or frees); getData is empty afterwards.
  void Release();

 private:
  CyInputBytes() = default;
  void* Map_ = nullptr;                // the mapping, when Mapped_
  std::unique_ptr<uint8_t[]> Buffer_;  // the stream's bytes otherwise
  size_t Size_ = 0;
  bool Mapped_ = false;
};

// Runs Read() and returns true; returns false instead when Read touched a mapped page that no
// longer exists (SIGBUS: the file shrank). Nestable and usable on any thread. Read must not
// create objects with destructors or take locks, since the signal leaves it by a jump; plain
// loops over bytes and calls such as memcpy, memchr or DecodeUTF8 qualify. Costs a system call
// (the signal mask is saved), so guard stretches of a megabyte, not single bytes.
template <typename F>
bool ReadMapped(F&& Read);

namespace detail {
bool RunMappedRead(void (*Body)(void*), void* Context);
}  // namespace detail

template <typename F>
bool ReadMapped(F&& Read) {
  using TyRead = std::remove_reference_t<F>;
  return detail::RunMappedRead([](void* Context) { (*static_cast<TyRead*>(Context))(); },
                               const_cast<void*>(static_cast<const void*>(&Read)));
}

}  // namespace xylem
