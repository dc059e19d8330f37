#pragma once
// An IyXMLWriterOutputStream that encodes the writer's UTF-16 output as UTF-8 into a file
// descriptor through a fixed buffer (for writing a formatted document to stdout or a file
// without holding it in memory).

#include <cstddef>
#include <string>
#include <string_view>

#include "xml/Writer.hpp"

namespace xylem {

class CyXMLWriterUTF8OutputStream : public IyXMLWriterOutputStream {
 public:
  // Writes to FileDescriptor (not closed here). Not thread-safe.
  explicit CyXMLWriterUTF8OutputStream(int FileDescriptor);
  // Flushes; errors are lost here, so call Flush first to see them.
  ~CyXMLWriterUTF8OutputStream() override;
  void WriteString(std::u16string_view Text) override { Encode(Text.data(), Text.size()); }
  void WritePiece(const char16_t* P, size_t Count) override { Encode(P, Count); }
  // Writes out the buffer. Raises CyException (code 6009) when the descriptor refuses it.
  void Flush();
  // Bytes written so far (flushed or buffered).
  size_t getBytes() const { return Written_ + Used_; }

 private:
  void Encode(const char16_t* P, size_t Count);

  static constexpr size_t kBufferBytes = size_t{1} << 16;
  int Fd_;
  size_t Used_ = 0;
  size_t Written_ = 0;
  char16_t High_ = 0;  // a high surrogate waiting for its partner
  std::string Buffer_;
};

}  // namespace xylem
