// The formatter scanner's fast path hands its sink exactly what the tokenizer alone gives, on
// any input: the same nodes, pieces and refusal.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "support/ScannerEventLog.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  if (text.find('\0') != std::string::npos) return 0;  // the text list refuses binary text
  if (xylem::test::ScannerEventLog(text, true) != xylem::test::ScannerEventLog(text, false))
    std::abort();
  return 0;
}
