// Random edits, undo and redo compared after every step with a plain string model and with a
// fresh load and full scan (text, line states, deltas, fold ranges, wrap rows), identities of
// untouched lines, and markers moved by the replace rules in offsets.

#include <gtest/gtest.h>

#include <random>

#include "EditorOracle.hpp"
#include "common/Utf.hpp"
#include "editor/Document.hpp"
#include "editor/Folding.hpp"
#include "editor/Snapshot.hpp"
#include "editor/WordWrap.hpp"

namespace xylem::test {
namespace {

std::u16string Normalized(std::u16string_view Text, std::u16string_view Newline) {
  std::u16string out;
  for (size_t i = 0; i < Text.size(); ++i) {
    if (Text[i] == u'\r' || Text[i] == u'\n') {
      if (Text[i] == u'\r' && i + 1 < Text.size() && Text[i + 1] == u'\n') ++i;
      out += Newline;
    } else {
      out += Text[i];
    }
  }
  return out;
}

TyTextPosition RandomPosition(std::mt19937& Random, const TxMarkupDocument& Document) {
  const int64_t line = static_cast<int64_t>(Random() % Document.getLineCount()) + 1;
  const int64_t length = static_cast<int64_t>(Document.getLine(line).size());
  return {line, static_cast<int64_t>(Random() % (length + 1)) + 1};
}

// Every line's stored start state and delta.
std::vector<int64_t> LineStates(const TxTextList& List) {
  std::vector<int64_t> states;
  for (int64_t line = 1; line <= List.getCount(); ++line) {
    const TxItem& item = *List.getItems(line);
    states.insert(states.end(), {item.StackG, item.StackS, item.Delta, item.UniqueID});
  }
  return states;
}

struct TyScenario {
  const char* Name;
  bool JSON;
  const char16_t* Newline;
  int64_t UndoLimit;
};

class DocumentEditTest : public ::testing::TestWithParam<TyScenario> {};

TEST_P(DocumentEditTest, RandomEditsMatchModelAndFreshScan) {
  const TyScenario scenario = GetParam();
  for (unsigned seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    TyEditorOptions options;
    options.TypingPause = std::chrono::milliseconds{0};
    options.UndoLimit = scenario.UndoLimit;
    options.PieceCount = 1 + static_cast<int>(seed % 3);
    TxMarkupDocument doc(options);
    std::u16string initial = RandomText(random, scenario.JSON, 12, false) + u"\n";
    for (size_t at = initial.find(u'\n'); at != std::u16string::npos;
         at = initial.find(u'\n', at + std::u16string_view(scenario.Newline).size()))
      initial.replace(at, 1, scenario.Newline);
    doc.LoadFromText(scenario.JSON ? u"[" + initial : u"<r>" + initial,
                     scenario.JSON ? "t.json" : "t.xml");
    ASSERT_EQ(doc.getNewline(), std::u16string_view(scenario.Newline));
    CyIdentityWatch watch(doc);
    CyEditorFolding folding(doc);
    CyWordWrap wrap(doc, {7 + static_cast<int32_t>(seed % 5), 4});

    // Text after each undo step; states[current] is the text now.
    std::vector<std::u16string> states{doc.getText()};
    size_t current = 0;
    std::vector<std::pair<TyMarkerID, int64_t>> markers;
    for (int m = 0; m < 4; ++m) {
      const TyTextPosition p = RandomPosition(random, doc);
      markers.push_back(
          {doc.getMarkers().Add(p, TyMarkerKind::mkUser), doc.ConvertPositionToOffset(p)});
    }

    TxDocumentSnapshotPtr shared;
    std::u16string sharedText;
    std::vector<int64_t> sharedStates;
    for (int step = 0; step < 120; ++step) {
      SCOPED_TRACE("step " + std::to_string(step));
      const unsigned op = random() % 12;
      const uint64_t stepsBefore = doc.getUndoHistory().getStepsBegun();
      bool edited = false;
      if (op <= 7) {
        TyTextPosition a = RandomPosition(random, doc);
        TyTextPosition b = op <= 3 ? a : RandomPosition(random, doc);
        if (b < a) std::swap(a, b);
        std::u16string text;
        TyEditKind kind = TyEditKind::ekOther;
        if (op <= 2) {
          text = RandomFragment(random, scenario.JSON).substr(0, 1);
          kind = TyEditKind::ekTyping;
        } else if (op <= 5) {
          text = RandomText(random, scenario.JSON, 3, true);
        }
        const int64_t s = doc.ConvertPositionToOffset(a);
        const int64_t e = doc.ConvertPositionToOffset(b);
        const std::u16string inserted = Normalized(text, doc.getNewline());
        const TyTextPosition end = doc.ReplaceRange({a, b}, text, kind);
        std::u16string& model = states[current];
        std::u16string next = model.substr(0, static_cast<size_t>(s)) + inserted +
                              model.substr(static_cast<size_t>(e));
        ASSERT_EQ(doc.ConvertPositionToOffset(end), s + static_cast<int64_t>(inserted.size()));
        for (auto& [id, offset] : markers) {
          offset = MoveOffset(offset, s, e, static_cast<int64_t>(inserted.size()));
          ASSERT_EQ(doc.ConvertPositionToOffset(doc.getMarkers().getPosition(id)), offset);
        }
        edited = !(s == e && inserted.empty());
        if (edited) {
          if (doc.getUndoHistory().getStepsBegun() == stepsBefore) {
            states[current] = next;  // merged into the open step
          } else {
            states.resize(current + 1);
            states.push_back(next);
            ++current;
            if (states.size() > static_cast<size_t>(scenario.UndoLimit) + 1) {
              states.erase(states.begin());
              --current;
            }
          }
        }
      } else if (op <= 9) {
        const bool done = doc.Undo();
        ASSERT_EQ(done, scenario.UndoLimit > 0 && current > 0);
        if (done) --current;
      } else {
        const bool done = doc.Redo();
        ASSERT_EQ(done, scenario.UndoLimit > 0 && current + 1 < states.size());
        if (done) ++current;
      }
      if (op > 7) {
        // Undo and redo move markers by the narrowed change; follow them from here.
        for (auto& [id, offset] : markers)
          offset = doc.ConvertPositionToOffset(doc.getMarkers().getPosition(id));
      }
      ASSERT_EQ(CompareWithFreshScan(doc, states[current]), "");
      ASSERT_EQ(watch.getFailure(), "");
      if (scenario.UndoLimit > 0) {
        ASSERT_EQ(doc.getUndoHistory().getUndoCount(), static_cast<int64_t>(current));
      }
      const auto fresh = FreshFoldRanges(states[current], doc.getKind());
      if (!folding.getStale()) {
        const TyDocumentChange& c = watch.getLast();
        ASSERT_EQ(folding.getFoldRanges(), fresh)
            << "shifted ranges after a change of line " << c.FirstLine << " (" << c.LinesRemoved
            << " removed, " << c.LinesInserted << " inserted) in\n"
            << ToUTF8(states[current]);
      }
      folding.Update();
      ASSERT_EQ(folding.getFoldRanges(), fresh);
      if (!fresh.empty() && random() % 3 == 0)
        folding.Toggle(fresh[random() % fresh.size()].FirstLine);
      ASSERT_EQ(CompareVisibleLines(folding, doc.getLineCount()), "");
      if (step % 7 == 0) {
        ASSERT_EQ(CompareRows(wrap, doc), "");
      }
      // A shared snapshot copies nothing, yet keeps its text and states through later edits,
      // undo and redo (the document goes on with a copy of its own).
      if (shared) {
        ASSERT_EQ(shared->getText(), sharedText);
        ASSERT_EQ(LineStates(shared->getTextList()), sharedStates);
      }
      if (step % 5 == 0) {
        shared = doc.CreateSharedSnapshot();
        sharedText = shared->getText();
        sharedStates = LineStates(shared->getTextList());
      }
    }
    // Undo to the oldest kept state and redo to the newest give the texts back exactly.
    while (doc.Undo()) ASSERT_EQ(doc.getText(), states[--current]);
    ASSERT_EQ(current, 0u);
    if (scenario.UndoLimit >= 1000) {
      ASSERT_FALSE(doc.getModified());
    }
    while (doc.Redo()) ASSERT_EQ(doc.getText(), states[++current]);
    ASSERT_EQ(current + 1, states.size());
    ASSERT_EQ(CompareWithFreshScan(doc, states[current]), "");
    ASSERT_EQ(CompareRows(wrap, doc), "");
  }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, DocumentEditTest,
                         ::testing::Values(TyScenario{"XML_LF", false, u"\n", 1000},
                                           TyScenario{"XML_CRLF", false, u"\r\n", 1000},
                                           TyScenario{"XML_CR_short_history", false, u"\r", 5},
                                           TyScenario{"JSON_LF", true, u"\n", 1000}),
                         [](const auto& Info) { return std::string(Info.param.Name); });

}  // namespace
}  // namespace xylem::test
