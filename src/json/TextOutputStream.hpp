#pragma once
// A buffered text output stream: pieces of UTF-16 text and line ends, to a string or a byte stream.

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "common/TextSink.hpp"

namespace xylem {

// Collects text in a fixed buffer and hands it on in large pieces. Code page 1200 (UTF-16LE)
// is the in-memory form and a text sink's; byte streams may also take 1201 (UTF-16BE) or 65001
// (UTF-8). Call Flush before reading the destination. Not thread-safe.
class CyTextOutputStream {
 public:
  static constexpr int kCodePageUTF16LE = 1200;
  static constexpr int kCodePageUTF16BE = 1201;
  static constexpr int kCodePageUTF8 = 65001;

  // Appends to Target (UTF-16 in memory). Newline is the line end WriteLine writes.
  CyTextOutputStream(std::u16string& Target, std::u16string_view Newline);
  // Hands the text to Target (which encodes it itself), in pieces of up to a buffer.
  CyTextOutputStream(IyTextSink& Target, std::u16string_view Newline);
  // Writes bytes in CodePage to Target; raises CyException for an unsupported code page.
  CyTextOutputStream(std::ostream& Target, int CodePage, std::u16string_view Newline);
  ~CyTextOutputStream();
  CyTextOutputStream(const CyTextOutputStream&) = delete;
  CyTextOutputStream& operator=(const CyTextOutputStream&) = delete;

  void Write(std::u16string_view Text) {
    if (Text.size() > kBufferSize - Used_) {
      WriteLarge(Text);
      return;
    }
    // Most pieces are a few units (punctuation, short tokens): a loop beats a call to memcpy.
    if (Text.size() <= 8) {
      for (const char16_t c : Text) Buffer_[Used_++] = c;
    } else {
      std::char_traits<char16_t>::copy(Buffer_ + Used_, Text.data(), Text.size());
      Used_ += Text.size();
    }
  }
  void Write(char16_t Character) {
    if (Used_ == kBufferSize) Drain(true);
    Buffer_[Used_++] = Character;
  }
  void WriteLine() { Write(Newline_); }
  void WriteLine(std::u16string_view Text) {
    Write(Text);
    Write(Newline_);
  }
  // Hands the buffered text to the destination; raises CyException when a byte stream fails.
  void Flush();
  // UTF-16 units written so far (flushed or not).
  uint64_t getWrittenCount() const { return Flushed_ + Used_; }
  int getCodePage() const { return CodePage_; }

 private:
  static constexpr size_t kBufferSize = 32768;
  void WriteLarge(std::u16string_view Text);
  // Hands the buffer on; HoldBackHigh keeps a trailing high surrogate for the next piece.
  void Drain(bool HoldBackHigh);

  std::u16string* TargetString_ = nullptr;
  std::ostream* TargetStream_ = nullptr;
  IyTextSink* TargetSink_ = nullptr;
  int CodePage_ = kCodePageUTF16LE;
  std::u16string Newline_;
  uint64_t Flushed_ = 0;
  size_t Used_ = 0;
  // A high surrogate held back from the last flush, so that UTF-8 sees pairs whole.
  char16_t PendingHigh_ = 0;
  std::string Bytes_;
  char16_t Buffer_[kBufferSize];
};

}  // namespace xylem
