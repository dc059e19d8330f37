// Arbitrary UTF-16 text scanned whole and line by line: no crash, no endless loop (the
// tokenizer raises on a step without progress), and both scans agree on every token and on the
// final state.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "common/Utf.hpp"
// The whole/line scans and their comparison are shared with the unit tests.
#include "support/TokenizerTestSupport.hpp"

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace xylem;
  if (size == 0) return 0;
  // First byte even: the rest is UTF-8 (markup-rich inputs mutate well); odd: raw UTF-16LE.
  std::u16string text;
  if ((data[0] & 1) == 0) {
    text.resize(size);
    text.resize(DecodeUTF8(data + 1, data + size, text.data()).Written);
  } else {
    for (size_t i = 1; i + 1 < size; i += 2)
      text.push_back(static_cast<char16_t>(data[i] | (data[i + 1] << 8)));
  }
  for (char16_t& c : text)
    if (c == 0) c = u' ';  // NUL ends every text; the loader never lets one through

  const test::TyScanResult whole = test::ScanWhole(text);
  const test::TyScanResult lines = test::ScanByLines(text);
  Check(whole.Tokens.size() == lines.Tokens.size());
  for (size_t i = 0; i < whole.Tokens.size(); ++i) {
    const test::TyCollectedToken& a = whole.Tokens[i];
    const test::TyCollectedToken& b = lines.Tokens[i];
    Check(a.Offset0 == b.Offset0 && a.Offset1 == b.Offset1 && a.GroupExtra == b.GroupExtra &&
          a.Symbol == b.Symbol);
  }
  Check(whole.G == lines.G && whole.S == lines.S);
  Check(whole.DeltaSum == lines.DeltaSum);

  // The same through the per-line entry of the line-state scan.
  uint64_t g = kXMLDocumentGroupWord, s = kXMLDocumentSymbolWord;
  const std::vector<std::u16string> pieces = test::SplitKeepingLineEnds(text);
  TxXMLParser parser;
  for (size_t i = 0; i < pieces.size(); ++i) {
    int32_t last, lowest, highest;
    parser.ScanUntilEOL(pieces[i].c_str(), i + 1 == pieces.size(), last, lowest, highest, g, s);
    Check(lowest <= last && last <= highest);
  }
  Check(g == whole.G && s == whole.S);
  return 0;
}
