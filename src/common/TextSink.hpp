#pragma once
// Where streamed UTF-16 output goes, so that writers in modules without file access (JSON) can
// write straight into a file in its encoding without holding the whole text in memory.

#include <string_view>

namespace xylem {

class IyTextSink {
 public:
  virtual ~IyTextSink() = default;
  // Appends Text. May raise CyException when the destination fails.
  virtual void Put(std::u16string_view Text) = 0;
};

}  // namespace xylem
