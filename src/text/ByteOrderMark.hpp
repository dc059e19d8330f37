#pragma once
// Recognition of the byte-order marks of UTF-8 (EF BB BF), UTF-16LE (FF FE) and UTF-16BE
// (FE FF).

#include <string>

#include "text/InputStream.hpp"

namespace xylem {

class CyBOMDetector {
 public:
  // Rewinds Stream, recognises a mark and leaves the stream behind it (at the start when
  // there is none). BOMEncoding is "UTF-8", "UTF-16LE", "UTF-16BE" or empty.
  static void RewindAndSkipBOM(CyRewindableInputStream& Stream, std::string& BOMEncoding) {
    Stream.Rewind();
    const uint8_t* data = Stream.getData();
    const size_t size = Stream.getSize();
    BOMEncoding.clear();
    if (size >= 3 && data[0] == 0xEF && data[1] == 0xBB && data[2] == 0xBF) {
      BOMEncoding = "UTF-8";
      Stream.setPosition(3);
    } else if (size >= 2 && data[0] == 0xFF && data[1] == 0xFE) {
      BOMEncoding = "UTF-16LE";
      Stream.setPosition(2);
    } else if (size >= 2 && data[0] == 0xFE && data[1] == 0xFF) {
      BOMEncoding = "UTF-16BE";
      Stream.setPosition(2);
    }
  }
};

}  // namespace xylem
