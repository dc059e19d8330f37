// Arbitrary text through the parallel line-state scan, then random edits each followed by the
// after-edit repair: no crash, and the stored states always equal a fresh sequential scan.
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>

#include "common/Utf.hpp"
#include "support/LineStateTestSupport.hpp"
#include "text/TextList.hpp"
#include "xml/lines/LineState.hpp"

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace xylem;
  if (size < 2) return 0;
  std::u16string text(size, u'\0');
  text.resize(DecodeUTF8(data + 2, data + size, text.data()).Written);
  for (char16_t& c : text)
    if (c == 0) c = u' ';  // the loader refuses a NUL

  TxTextList list;
  list.LoadFromText__PARALLEL__(text, 1);
  TxTextItems& items = list.getTextItems();
  int64_t expectedTotal = 0;
  const auto expected = test::ReferenceScan(items, expectedTotal);
  const int pieces = 1 + data[0] % 8;
  int64_t total = 0;
  xylem::CyXMLParserParallel::UpdateAllLines(items, total, pieces);
  Check(test::Stored(items) == expected && total == expectedTotal);

  std::mt19937 random(data[1]);
  for (int edit = 0; edit < 8; ++edit) {
    const test::TyEditOutcome outcome = test::RandomEdit(random, list, total);
    const auto fresh = test::ReferenceScan(items, expectedTotal);
    Check(test::Stored(items) == fresh && total == expectedTotal);
    Check(outcome.Rewritten == outcome.Expected);
  }
  return 0;
}
