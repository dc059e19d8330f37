#include "xml/WriterUTF8Stream.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "common/Exception.hpp"

namespace xylem {

CyXMLWriterUTF8OutputStream::CyXMLWriterUTF8OutputStream(int FileDescriptor)
    : Fd_(FileDescriptor), Buffer_(kBufferBytes, '\0') {}

CyXMLWriterUTF8OutputStream::~CyXMLWriterUTF8OutputStream() {
  try {
    Flush();
  } catch (const CyException&) {
  }
}

void CyXMLWriterUTF8OutputStream::Flush() {
  size_t done = 0;
  while (done < Used_) {
    const ssize_t n = ::write(Fd_, Buffer_.data() + done, Used_ - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      Used_ = 0;
      throw CyException("Cannot write the formatted document.", 6009);
    }
    done += static_cast<size_t>(n);
  }
  Written_ += Used_;
  Used_ = 0;
}

void CyXMLWriterUTF8OutputStream::Encode(const char16_t* P, size_t Count) {
  for (size_t i = 0; i < Count; ++i) {
    if (Used_ + 4 > kBufferBytes) Flush();
    if (!High_) {  // a run of ASCII, as far as the buffer allows, without the checks below
      const size_t room = std::min(Count - i, kBufferBytes - Used_);
      char* out = Buffer_.data() + Used_;
      size_t k = 0;
      while (k < room && P[i + k] < 0x80) {
        out[k] = static_cast<char>(P[i + k]);
        ++k;
      }
      Used_ += k;
      i += k;
      if (i == Count) break;
      if (Used_ + 4 > kBufferBytes) Flush();
    }
    char* out = Buffer_.data() + Used_;
    const char32_t c = P[i];
    if (c < 0x80 && !High_) {
      *out = static_cast<char>(c);
      ++Used_;
      continue;
    }
    char32_t code = c;
    if (High_) {
      if (c >= 0xDC00 && c <= 0xDFFF) {
        code = 0x10000 + ((static_cast<char32_t>(High_) - 0xD800) << 10) + (c - 0xDC00);
        High_ = 0;
      } else {
        High_ = 0;  // an unpaired high surrogate becomes U+FFFD
        out[0] = '\xEF', out[1] = '\xBF', out[2] = '\xBD';
        Used_ += 3;
        --i;
        continue;
      }
    } else if (c >= 0xD800 && c <= 0xDBFF) {
      High_ = static_cast<char16_t>(c);
      continue;
    } else if (c >= 0xDC00 && c <= 0xDFFF) {
      code = 0xFFFD;
    }
    if (code < 0x800) {
      out[0] = static_cast<char>(0xC0 | (code >> 6));
      out[1] = static_cast<char>(0x80 | (code & 0x3F));
      Used_ += 2;
    } else if (code < 0x10000) {
      out[0] = static_cast<char>(0xE0 | (code >> 12));
      out[1] = static_cast<char>(0x80 | ((code >> 6) & 0x3F));
      out[2] = static_cast<char>(0x80 | (code & 0x3F));
      Used_ += 3;
    } else {
      out[0] = static_cast<char>(0xF0 | (code >> 18));
      out[1] = static_cast<char>(0x80 | ((code >> 12) & 0x3F));
      out[2] = static_cast<char>(0x80 | ((code >> 6) & 0x3F));
      out[3] = static_cast<char>(0x80 | (code & 0x3F));
      Used_ += 4;
    }
  }
}

}  // namespace xylem
