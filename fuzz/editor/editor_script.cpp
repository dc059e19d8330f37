// Replays an edit script (inserts, deletes, replaces, typing, undo, redo) on an XML or JSON
// document and checks every step against a string model and a fresh load and scan: text, line
// states and deltas, fold ranges (shifted ones too when not stale), the visible-line map, rows,
// and that undo all and redo all give the first and last texts back.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "EditorOracle.hpp"

using namespace xylem;

namespace {

void Check(bool Condition, int Line) {
  if (Condition) return;
  std::fprintf(stderr, "editor_script: check on line %d failed\n", Line);
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  if (Size < 2) return 0;
  const bool json = Data[0] & 1;
  std::mt19937 random(Data[1]);
  TyEditorOptions options;
  options.TypingPause = std::chrono::milliseconds{0};
  options.PieceCount = 1 + (Data[0] >> 1) % 3;
  TxMarkupDocument doc(options);
  doc.LoadFromText(test::RandomText(random, json, 8, true), json ? "f.json" : "f.xml");
  test::CyIdentityWatch watch(doc);
  CyEditorFolding folding(doc);
  CyWordWrap wrap(doc, {6, 4});
  std::vector<std::u16string> states{doc.getText()};
  size_t current = 0;
  const auto position = [&](uint8_t A, uint8_t B) {
    const int64_t line = A % doc.getLineCount() + 1;
    return TyTextPosition{line, B % static_cast<int64_t>(doc.getLine(line).size() + 1) + 1};
  };
  for (size_t i = 2; i + 3 < Size && i < 400; i += 4) {
    const uint8_t op = Data[i] % 8;
    if (op == 6) {
      if (doc.Undo()) --current;
    } else if (op == 7) {
      if (doc.Redo()) ++current;
    } else {
      TyTextPosition a = position(Data[i + 1], Data[i + 2]);
      TyTextPosition b = op < 2 ? a : position(Data[i + 2], Data[i + 3]);
      if (b < a) std::swap(a, b);
      std::u16string text;
      if (op != 2) {
        std::mt19937 pick(Data[i + 3]);
        text = op == 0 ? test::RandomFragment(pick, json) : test::RandomText(pick, json, 3, true);
      }
      const uint64_t steps = doc.getUndoHistory().getStepsBegun();
      const std::u16string before = doc.getText();
      doc.ReplaceRange({a, b}, text, op == 0 ? TyEditKind::ekTyping : TyEditKind::ekOther);
      if (doc.getUndoHistory().getStepsBegun() != steps) {
        states.resize(current + 1);
        states.push_back(doc.getText());
        ++current;
      } else {
        Check(current > 0 || doc.getText() == before, __LINE__);
        states[current] = doc.getText();
      }
      // The text itself is checked against the fresh load below; the model here follows the
      // document so that undo is checked against the texts it passed through.
    }
    Check(test::CompareWithFreshScan(doc, states[current]).empty(), __LINE__);
    Check(watch.getFailure().empty(), __LINE__);
    const auto fresh = test::FreshFoldRanges(states[current], doc.getKind());
    Check(folding.getStale() || folding.getFoldRanges() == fresh, __LINE__);
    folding.Update();
    Check(folding.getFoldRanges() == fresh, __LINE__);
    if (!fresh.empty()) folding.Toggle(fresh[Data[i + 1] % fresh.size()].FirstLine);
    Check(test::CompareVisibleLines(folding, doc.getLineCount()).empty(), __LINE__);
    Check(test::CompareRows(wrap, doc).empty(), __LINE__);
  }
  while (doc.Undo()) Check(doc.getText() == states[--current], __LINE__);
  Check(current == 0, __LINE__);
  while (doc.Redo()) Check(doc.getText() == states[++current], __LINE__);
  Check(current + 1 == states.size(), __LINE__);
  return 0;
}
