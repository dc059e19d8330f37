#include "app/OpenElement.hpp"

#include <vector>

#include "editor/Document.hpp"
#include "xml/lines/LineColoring.hpp"

namespace xylem {

namespace {

// What a line holds for the walk back, in text order.
enum class TyTagEvent : uint8_t { teStart, teEnd, teEmptyClose };

struct TyEvent {
  TyTagEvent Kind;
  std::u16string_view Name;  // start and end tags
};

bool IsStartName(TyXMLColoringCategory Category) {
  return Category == TyXMLColoringCategory::xcStartTagNameWithPrefix ||
         Category == TyXMLColoringCategory::xcStartTagNameWithoutPrefix;
}

bool IsEndName(TyXMLColoringCategory Category) {
  return Category == TyXMLColoringCategory::xcEndTagNameWithPrefix ||
         Category == TyXMLColoringCategory::xcEndTagNameWithoutPrefix;
}

}  // namespace

std::u16string FindOpenElementName(const TxMarkupDocument& Document, TyTextPosition At,
                                   int64_t LineLimit) {
  if (!Document.getKeepsLineStates()) return {};
  At = Document.ClampPosition(At);
  // The colouring only reads the records; it takes them mutable for its parser.
  auto& items = const_cast<TxTextItems&>(Document.getTextList().getTextItems());
  const CyXMLColoring scheme;
  CyXMLLineColoring coloring(items, scheme);
  std::vector<TyEvent> events;
  // End tags met on the way back wait for their start tags; a "/>" closes the start tag
  // met next.
  int64_t pendingEnds = 0;
  bool emptyPending = false;
  const int64_t firstLine = std::max<int64_t>(1, At.Line - LineLimit);
  for (int64_t line = At.Line; line >= firstLine; --line) {
    events.clear();
    for (coloring.FirstLine(line); !coloring.IsDone(); coloring.Next()) {
      if (line == At.Line && coloring.ItemLinepos() >= At.Linepos) break;
      const TyXMLColoringCategory category = coloring.ItemCategory();
      const std::u16string_view text(coloring.ItemText(),
                                     static_cast<size_t>(coloring.ItemTextCount()));
      if (IsStartName(category))
        events.push_back({TyTagEvent::teStart, text});
      else if (IsEndName(category))
        events.push_back({TyTagEvent::teEnd, text});
      else if (category == TyXMLColoringCategory::xcStartTagMarker && text == u"/>")
        events.push_back({TyTagEvent::teEmptyClose, {}});
    }
    for (auto it = events.rbegin(); it != events.rend(); ++it) {
      switch (it->Kind) {
        case TyTagEvent::teEnd:
          ++pendingEnds;
          break;
        case TyTagEvent::teEmptyClose:
          emptyPending = true;
          break;
        case TyTagEvent::teStart:
          if (emptyPending)
            emptyPending = false;
          else if (pendingEnds > 0)
            --pendingEnds;
          else
            return std::u16string(it->Name);
          break;
      }
    }
  }
  return {};
}

}  // namespace xylem
