#pragma once
// A JSON document held in memory as UTF-16 followed by a character of value 0.

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>

#include "common/InputBytes.hpp"
#include "common/JobContext.hpp"

namespace xylem {

// Owns the text that scanners, parsers and trees point into; it must outlive them. Move-only.
// A 0 character inside the text (not at DataCount) is kept, so that the scanner can refuse it.
class CyJSONMemory {
 public:
  // Copies Text. Allocates DataCount + 1 units.
  static CyJSONMemory FromString(std::u16string_view Text);
  // Decodes Bytes: UTF-16LE or UTF-16BE when a byte-order mark says so, otherwise UTF-8 (a
  // UTF-8 mark is dropped). Ill-formed UTF-8 or a truncated UTF-16 unit raise JSONException with
  // the position of the first bad byte. Linear; no allocation beyond the text. Big inputs are
  // decoded in Job.PieceCount pieces on Job's pool, reporting "Decoding" progress in bytes and
  // polling Job's stop token every 4 MiB of a piece (CyCancelledException).
  static CyJSONMemory FromBytes(const void* Bytes, size_t Count, const TyJobContext& Job = {});
  // Reads and decodes a whole file as FromBytes does (a regular file mapped, a named pipe read
  // up to MaxStreamBytes); raises CyException when it cannot be read, is another kind of
  // special file, or shrinks while it is read.
  static CyJSONMemory FromFile(const std::string& Path, const TyJobContext& Job = {},
                               uint64_t MaxStreamBytes = kDefaultMaxStreamBytes);
  // Reads the stream to its end and decodes it as FromBytes does.
  static CyJSONMemory FromStream(std::istream& Stream, const TyJobContext& Job = {});
  // Takes over Buffer, which holds Count characters followed by a 0.
  static CyJSONMemory Adopt(std::unique_ptr<char16_t[]> Buffer, size_t Count) {
    return CyJSONMemory(std::move(Buffer), Count);
  }

  CyJSONMemory(CyJSONMemory&&) noexcept = default;
  CyJSONMemory& operator=(CyJSONMemory&&) noexcept = default;

  // The first character; Data()[DataCount()] is 0.
  const char16_t* Data() const { return Buffer_.get(); }
  // Number of characters before the final 0.
  size_t DataCount() const { return Count_; }
  std::u16string_view View() const { return {Buffer_.get(), Count_}; }

 private:
  // FromBytes; ReleaseInput drops decoded pages of a read-only file mapping as it goes.
  static CyJSONMemory Decode(const void* Bytes, size_t Count, bool ReleaseInput,
                             const TyJobContext& Job);
  CyJSONMemory(std::unique_ptr<char16_t[]> Buffer, size_t Count)
      : Buffer_(std::move(Buffer)), Count_(Count) {}

  std::unique_ptr<char16_t[]> Buffer_;
  size_t Count_ = 0;
};

}  // namespace xylem
