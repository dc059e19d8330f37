// Arbitrary text through the JSON token coloring. Invariants: it never throws; the stretches
// are non-empty and cover the text in order without gaps; a text that scans cleanly has no
// error stretch, and one that fails has exactly one, followed at most by one plain stretch; a
// key is always followed by white space and ':'.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "json/Coloring.hpp"

namespace {

void check(bool Condition) {
  if (!Condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  using namespace xylem;
  // Bytes pairwise as UTF-16 units, so that surrogates and controls are reached.
  std::u16string text(Size / 2, u'\0');
  for (size_t i = 0; i < text.size(); ++i)
    text[i] = static_cast<char16_t>(Data[2 * i] | (Data[2 * i + 1] << 8));
  CyJSONTokenColoring coloring(text.data(), text.size());
  const char16_t* expected = text.data();
  int errors = 0, afterError = 0;
  while (coloring.Next()) {
    check(coloring.Head() == expected && coloring.Head() < coloring.Tail());
    expected = coloring.Tail();
    if (errors > 0) {
      ++afterError;
      check(coloring.Category() == TyJSONColoringCategory::jcPlain);
    }
    if (coloring.Category() == TyJSONColoringCategory::jcError) ++errors;
    if (coloring.Category() == TyJSONColoringCategory::jcKey) {
      const char16_t* at = coloring.Tail();
      while (*at == u' ' || *at == u'\t' || *at == u'\n' || *at == u'\r') ++at;
      check(*at == u':' && *coloring.Head() == u'"');
    }
  }
  check(errors <= 1 && afterError <= 1);
  check(errors == (coloring.Error().has_value() ? 1 : 0));
  // Without an error the walk reached the end; after one, the plain rest did.
  check(expected == text.data() + text.size());
  return 0;
}
