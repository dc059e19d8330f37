// Search and replace over arbitrary UTF-16 text with a small fixed set of patterns: the pass
// ends (no endless loop on empty matches), the three forms agree, the counters add up, markers
// stay ordered and inside the text, and plain replace agrees with a naive scan.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "search/EuroReplacer.hpp"
#include "search/RegExprReplacer.hpp"
#include "search/TextReplacer.hpp"

using namespace xylem;

namespace {

struct TyCase {
  const char16_t* SearchWhat;
  const char16_t* ReplaceWith;
  uint8_t Options;
};

const TyCase kCases[] = {
    {u"ab", u"X", roCaseSensitive},
    {u"σς", u"", 0},
    {u"a-b", u"[\U0001F600]", roWholeWordOnly},
    {u"a*", u"-", roRegExpr},
    {u"(?<=b)a|^a", u"b", roRegExpr | roCaseSensitive},
    {u"(\\w)(\\d)?", u"$2$1\\n", roRegExpr},
    {u"$|\\R", u"<\\0>", roRegExpr},
    {u"(?i)[\\x{10400}-\\x{1044F}]+", u"\\0", roRegExpr},
    {u"\\b|x", u"|", roRegExpr | roCaseSensitive},
    {u"(a|b)+?(?=c)", u"$1$1", roRegExpr},
};

// Reports which invariant broke, with the input in hex, before stopping.
[[noreturn]] void Fail(const char* Why, const uint8_t* Data, size_t Size) {
  std::fprintf(stderr, "search_replace: %s; input:", Why);
  for (size_t i = 0; i < Size; ++i) std::fprintf(stderr, " %02x", Data[i]);
  std::fprintf(stderr, "\n");
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  if (Size < 3) return 0;
  const TyCase& use = kCases[Data[0] % std::size(kCases)];
  const std::u16string_view newline = Data[1] % 3 == 0 ? u"\r\n" : Data[1] % 3 == 1 ? u"\n" : u"\r";
  std::u16string text((Size - 2) / 2, u'\0');
  std::memcpy(text.data(), Data + 2, text.size() * 2);
  const int64_t length = static_cast<int64_t>(text.size());
  const int64_t a = length > 0 ? Data[2] % (length + 1) : 0;
  const int64_t b = length > 0 ? Data[Size - 1] % (length + 1) : 0;
  const int64_t from = std::min(a, b);
  const int64_t to = std::max(a, b);

  auto replacer = CreateReplacer(use.SearchWhat, use.ReplaceWith, use.Options, newline);
  std::vector<int64_t> markers = {0, from, (from + to) / 2, to, length};
  std::vector<int64_t> counted = markers;
  CyFIFOUTF16 fifo;
  int64_t delta = 0, maxDelta = 0, count = 0;
  const bool replaced =
      replacer->Replace(text.data(), length, from, to, markers, fifo, delta, maxDelta, count);
  const std::u16string result = fifo.ReadAll();
  if (replaced != (count > 0) || static_cast<int64_t>(result.size()) != length + delta ||
      maxDelta < 0 || maxDelta < delta)
    Fail("counters or length", Data, Size);
  if (!std::is_sorted(markers.begin(), markers.end()) || markers.front() != 0 ||
      markers.back() != static_cast<int64_t>(result.size()))
    Fail("markers", Data, Size);
  // Text in front of the range is never touched.
  if (result.compare(0, static_cast<size_t>(from), text, 0, static_cast<size_t>(from)) != 0)
    Fail("text before the range", Data, Size);

  int64_t delta2 = 0, maxDelta2 = 0, count2 = 0;
  replacer->Replace(text.data(), length, from, to, counted, delta2, maxDelta2, count2);
  if (counted != markers || delta2 != delta || maxDelta2 != maxDelta || count2 != count)
    Fail("counting form", Data, Size);

  CyReplaceBuffer buffer(length);
  std::memcpy(buffer.getText(), text.data(), text.size() * 2);
  CyFIFOUTF16 consumed;
  replacer->ReplaceConsuming(buffer, from, to, {}, consumed, delta2, maxDelta2, count2);
  if (consumed.getView() != result || count2 != count) Fail("consuming form", Data, Size);

  // Streamed in small pieces over the whole text, it equals the one-buffer pass over [0, length)
  // (for well-formed text: the stream comes from decoded UTF-8, which has no lone surrogates).
  bool wellFormed = true;
  for (size_t i = 0; i < text.size(); ++i) {
    if ((text[i] & 0xFC00) == 0xD800 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00) {
      ++i;
    } else if ((text[i] & 0xF800) == 0xD800) {
      wellFormed = false;
    }
  }
  if (wellFormed) {
    CyFIFOUTF16 whole;
    std::vector<int64_t> none;
    replacer->Replace(text.data(), length, 0, length, none, whole, delta2, maxDelta2, count2);
    const int64_t pieceSize = 1 + Data[1] % 7;
    size_t at = 0;
    std::u16string streamed;
    int64_t streamedCount = 0;
    replacer->ReplaceAllStreamed(
        [&](char16_t* Target, int64_t Capacity) -> int64_t {
          size_t n =
              std::min<size_t>({static_cast<size_t>(Capacity), text.size() - at, 1 + at % 5});
          // Never cut a surrogate pair.
          if (at + n < text.size() && (text[at + n] & 0xFC00) == 0xDC00 &&
              (text[at + n - 1] & 0xFC00) == 0xD800)
            n = n >= 2 ? n - 1 : 2;  // the pass asks for at least two units
          std::copy_n(text.data() + at, n, Target);
          at += n;
          return static_cast<int64_t>(n);
        },
        [&](std::u16string_view Piece) { streamed += Piece; }, streamedCount, pieceSize);
    if (streamed != whole.getView() || streamedCount != count2) Fail("streamed form", Data, Size);
  }

  if (!(use.Options & roRegExpr) && (use.Options & roCaseSensitive) &&
      !(use.Options & roWholeWordOnly)) {
    const std::u16string needle = use.SearchWhat;
    std::u16string expected = text.substr(0, static_cast<size_t>(from));
    size_t p = static_cast<size_t>(from);
    while (p < text.size()) {
      if (p < static_cast<size_t>(to) && text.compare(p, needle.size(), needle) == 0) {
        expected += use.ReplaceWith;
        p += needle.size();
      } else {
        expected += text[p++];
      }
    }
    if (expected != result) Fail("naive plain replace", Data, Size);
  }
  return 0;
}
