#include "search/EuroReplacer.hpp"

#include <cstring>

#include "search/RegExprReplacer.hpp"
#include "search/TextReplacer.hpp"

namespace xylem {

std::unique_ptr<CyReplacer> CreateReplacer(std::u16string_view SearchWhat,
                                           std::u16string_view ReplaceWith, uint8_t Options,
                                           std::u16string_view Newline) {
  const bool caseSensitive = (Options & roCaseSensitive) != 0;
  if (Options & roRegExpr)
    return CyRegExprReplacer::Create(SearchWhat, ReplaceWith, caseSensitive, Newline);
  return CyTextReplacer::Create(SearchWhat, ReplaceWith, caseSensitive,
                                (Options & roWholeWordOnly) != 0);
}

TxEuroReplacer11::TxEuroReplacer11(IyReplaceEditor& Editor) : _Editor(Editor) {}

bool TxEuroReplacer11::ReplaceAll(std::u16string_view SearchWhat, std::u16string_view ReplaceWith,
                                  uint8_t Options, CyFIFOUTF16& FIFO, std::span<int64_t> Markers,
                                  int64_t& ReplaceCount) {
  return Run(SearchWhat, ReplaceWith, Options, false, 0, FIFO, Markers, ReplaceCount);
}

bool TxEuroReplacer11::ReplaceRest(std::u16string_view SearchWhat, std::u16string_view ReplaceWith,
                                   int64_t Line, int64_t Linepos, uint8_t Options,
                                   CyFIFOUTF16& FIFO, std::span<int64_t> Markers,
                                   int64_t& ReplaceCount) {
  int64_t offset = 0;
  _TextItems = &_Editor.getTextList().getTextItems();
  _TextItems->ConvertLineLineposToOffset(_Editor.getNewline(), Line, Linepos, offset);
  return Run(SearchWhat, ReplaceWith, Options, true, offset, FIFO, Markers, ReplaceCount);
}

bool TxEuroReplacer11::Run(std::u16string_view SearchWhat, std::u16string_view ReplaceWith,
                           uint8_t Options, bool Rest, int64_t Offset, CyFIFOUTF16& FIFO,
                           std::span<int64_t> Markers, int64_t& ReplaceCount) {
  ReplaceCount = 0;
  const std::u16string_view newline = _Editor.getNewline();
  // Built first: a bad pattern or template fails before any work on the text.
  const std::unique_ptr<CyReplacer> replacer =
      CreateReplacer(SearchWhat, ReplaceWith, Options, newline);

  _TextItems = &_Editor.getTextList().getTextItems();
  const int64_t count = _TextItems->getCount();
  const int64_t length = _TextItems->getTextCount(1, count) +
                         (count > 0 ? (count - 1) * static_cast<int64_t>(newline.size()) : 0);
  // Joined straight into a buffer with look-behind room, so the pass needs no second copy.
  CyReplaceBuffer joined(length);
  char16_t* out = joined.getText();
  for (int64_t line = 1; line <= count; ++line) {
    if (line > 1) {
      std::memcpy(out, newline.data(), newline.size() * 2);
      out += newline.size();
    }
    const std::u16string_view text = _TextItems->getItems(line)->TextUTF16.getView();
    std::memcpy(out, text.data(), text.size() * 2);
    out += text.size();
  }

  int64_t from = 0;
  int64_t to = length;
  if (Rest && (Options & roForward)) {
    from = Offset;
  } else if (Rest) {
    to = Offset;
  }
  FIFO.Reserve(length);
  int64_t delta = 0;
  int64_t maxDelta = 0;
  return replacer->ReplaceConsuming(joined, from, to, Markers, FIFO, delta, maxDelta, ReplaceCount);
}

}  // namespace xylem
