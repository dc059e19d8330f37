#include "LspTestSupport.hpp"

#include <algorithm>

#include "common/Utf.hpp"

namespace xylem::lsp::test {

size_t OffsetOf(const std::u16string& Text, const json& Position) {
  int64_t Line = Position.at("line").get<int64_t>();
  size_t At = 0;
  while (Line > 0) {
    const size_t End = Text.find(u'\n', At);
    if (End == std::u16string::npos) return Text.size();
    At = End + 1;
    --Line;
  }
  size_t LineEnd = Text.find(u'\n', At);
  if (LineEnd == std::u16string::npos) LineEnd = Text.size();
  if (LineEnd > At && Text[LineEnd - 1] == u'\r') --LineEnd;
  return std::min(At + Position.at("character").get<size_t>(), LineEnd);
}

std::u16string ApplyTextEdits(std::u16string Text, const json& Edits) {
  std::vector<std::pair<size_t, size_t>> Spans;
  std::vector<std::u16string> Texts;
  for (const json& Edit : Edits) {
    Spans.emplace_back(OffsetOf(Text, Edit.at("range").at("start")),
                       OffsetOf(Text, Edit.at("range").at("end")));
    Texts.push_back(ToUTF16(Edit.at("newText").get<std::string>()));
  }
  std::vector<size_t> Order(Spans.size());
  for (size_t i = 0; i < Order.size(); ++i) Order[i] = i;
  // Back to front, so earlier offsets stay valid.
  std::sort(Order.begin(), Order.end(), [&](size_t A, size_t B) { return Spans[A] > Spans[B]; });
  for (size_t i : Order) Text.replace(Spans[i].first, Spans[i].second - Spans[i].first, Texts[i]);
  return Text;
}

void ApplyTokenEdits(std::vector<uint32_t>& Data, const json& Edits) {
  // LSP applies the edits of one delta to the old array, back to front.
  std::vector<json> Sorted(Edits.begin(), Edits.end());
  std::sort(Sorted.begin(), Sorted.end(), [](const json& A, const json& B) {
    return A.at("start").get<size_t>() > B.at("start").get<size_t>();
  });
  for (const json& Edit : Sorted) {
    const size_t Start = Edit.at("start").get<size_t>();
    const size_t Count = Edit.at("deleteCount").get<size_t>();
    const std::vector<uint32_t> Insert = Edit.value("data", std::vector<uint32_t>{});
    Data.erase(Data.begin() + Start, Data.begin() + Start + Count);
    Data.insert(Data.begin() + Start, Insert.begin(), Insert.end());
  }
}

}  // namespace xylem::lsp::test
