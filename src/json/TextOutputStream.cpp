#include "json/TextOutputStream.hpp"

#include <ostream>

#include "common/Exception.hpp"
#include "common/Utf.hpp"

namespace xylem {

CyTextOutputStream::CyTextOutputStream(std::u16string& Target, std::u16string_view Newline)
    : TargetString_(&Target), Newline_(Newline) {}

CyTextOutputStream::CyTextOutputStream(IyTextSink& Target, std::u16string_view Newline)
    : TargetSink_(&Target), Newline_(Newline) {}

CyTextOutputStream::CyTextOutputStream(std::ostream& Target, int CodePage,
                                       std::u16string_view Newline)
    : TargetStream_(&Target), CodePage_(CodePage), Newline_(Newline) {
  if (CodePage != kCodePageUTF16LE && CodePage != kCodePageUTF16BE && CodePage != kCodePageUTF8)
    throw CyException("Unsupported code page for text output: " + std::to_string(CodePage));
  // Room for a full buffer plus a held-back surrogate in the widest encoding (3 bytes a unit).
  Bytes_.resize((kBufferSize + 1) * 3);
}

CyTextOutputStream::~CyTextOutputStream() {
  try {
    Flush();
  } catch (...) {
    // A destructor must not throw; callers that care about failures call Flush themselves.
  }
}

void CyTextOutputStream::WriteLarge(std::u16string_view Text) {
  while (!Text.empty()) {
    if (Used_ == kBufferSize) Drain(true);
    const size_t take = std::min(Text.size(), kBufferSize - Used_);
    std::char_traits<char16_t>::copy(Buffer_ + Used_, Text.data(), take);
    Used_ += take;
    Text.remove_prefix(take);
  }
}

void CyTextOutputStream::Flush() { Drain(false); }

void CyTextOutputStream::Drain(bool HoldBackHigh) {
  if (Used_ == 0 && PendingHigh_ == 0) return;
  std::u16string_view text(Buffer_, Used_);
  Flushed_ += Used_;
  Used_ = 0;
  if (TargetString_ != nullptr) {
    TargetString_->append(text);
    return;
  }
  if (TargetSink_ != nullptr) {
    TargetSink_->Put(text);
    return;
  }
  size_t byteCount = 0;
  if (CodePage_ == kCodePageUTF8) {
    std::u16string joined;
    if (PendingHigh_ != 0) {
      joined.assign(1, PendingHigh_);
      joined += text;
      text = joined;
      PendingHigh_ = 0;
    }
    if (HoldBackHigh && !text.empty() && (text.back() & 0xFC00) == 0xD800) {
      PendingHigh_ = text.back();
      text.remove_suffix(1);
    }
    // Output is mostly ASCII: copy it byte by byte and hand only the other runs to the encoder.
    char* out = Bytes_.data();
    size_t i = 0;
    while (i < text.size()) {
      // Four ASCII units at a time while the high bits of all four are clear.
      while (i + 4 <= text.size() &&
             ((text[i] | text[i + 1] | text[i + 2] | text[i + 3]) & 0xFF80) == 0) {
        out[0] = static_cast<char>(text[i]);
        out[1] = static_cast<char>(text[i + 1]);
        out[2] = static_cast<char>(text[i + 2]);
        out[3] = static_cast<char>(text[i + 3]);
        out += 4;
        i += 4;
      }
      if (i == text.size()) break;
      if (text[i] < 0x80) {
        *out++ = static_cast<char>(text[i++]);
        continue;
      }
      size_t end = i + 1;
      while (end < text.size() && text[end] >= 0x80) ++end;
      out += EncodeUTF8(text.substr(i, end - i), out);
      i = end;
    }
    byteCount = static_cast<size_t>(out - Bytes_.data());
  } else {
    byteCount = text.size() * 2;
    const int hi = CodePage_ == kCodePageUTF16BE ? 0 : 1;
    for (size_t i = 0; i < text.size(); ++i) {
      Bytes_[2 * i + static_cast<size_t>(hi)] = static_cast<char>(text[i] >> 8);
      Bytes_[2 * i + 1 - static_cast<size_t>(hi)] = static_cast<char>(text[i] & 0xFF);
    }
  }
  TargetStream_->write(Bytes_.data(), static_cast<std::streamsize>(byteCount));
  if (!*TargetStream_) throw CyException("Writing the text output failed.");
}

}  // namespace xylem
