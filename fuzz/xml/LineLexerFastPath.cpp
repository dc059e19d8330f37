// The raw line lexer's two readers give exactly what the tokenizer alone gives, on any input:
// the formatter's scanner the same nodes, pieces and refusal, the line colouring the same
// tokens and categories.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "support/ColoringLog.hpp"
#include "support/ScannerEventLog.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  if (text.find('\0') != std::string::npos) return 0;  // the text list refuses binary text
  if (xylem::test::ScannerEventLog(text, true) != xylem::test::ScannerEventLog(text, false))
    std::abort();
  if (xylem::test::ColoringLog(text, true) != xylem::test::ColoringLog(text, false)) std::abort();
  return 0;
}
