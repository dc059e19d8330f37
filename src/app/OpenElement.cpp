#include "app/OpenElement.hpp"

#include <vector>

#include "editor/Document.hpp"
#include "xml/lines/LineColoring.hpp"

namespace xylem {

namespace {

// What a line holds for the walks, in text order.
enum class TyTagEvent : uint8_t { teStart, teEnd, teEmptyClose };

struct TyEvent {
  TyTagEvent Kind;
  std::u16string_view Name;  // start and end tags
  int64_t Linepos;
};

// Reads the tag events of lines through the XML line colouring.
class CyTagEvents {
 public:
  explicit CyTagEvents(const TxMarkupDocument& Document)
      // The colouring only reads the records; it takes them mutable for its parser.
      : Coloring_(const_cast<TxTextItems&>(Document.getTextList().getTextItems()), Scheme_) {}

  // The events of Line with a position in [From, Before).
  const std::vector<TyEvent>& Read(int64_t Line, int64_t From = 1, int64_t Before = INT64_MAX) {
    Events_.clear();
    for (Coloring_.FirstLine(Line); !Coloring_.IsDone(); Coloring_.Next()) {
      const int64_t at = Coloring_.ItemLinepos();
      if (at >= Before) break;
      if (at < From) continue;
      const TyXMLColoringCategory category = Coloring_.ItemCategory();
      const std::u16string_view text(Coloring_.ItemText(),
                                     static_cast<size_t>(Coloring_.ItemTextCount()));
      if (category == TyXMLColoringCategory::xcStartTagNameWithPrefix ||
          category == TyXMLColoringCategory::xcStartTagNameWithoutPrefix)
        Events_.push_back({TyTagEvent::teStart, text, at});
      else if (category == TyXMLColoringCategory::xcEndTagNameWithPrefix ||
               category == TyXMLColoringCategory::xcEndTagNameWithoutPrefix)
        Events_.push_back({TyTagEvent::teEnd, text, at});
      else if (category == TyXMLColoringCategory::xcStartTagMarker && text == u"/>")
        Events_.push_back({TyTagEvent::teEmptyClose, {}, at});
    }
    return Events_;
  }

 private:
  const CyXMLColoring Scheme_;
  CyXMLLineColoring Coloring_;
  std::vector<TyEvent> Events_;
};

}  // namespace

bool FindOpenElement(const TxMarkupDocument& Document, TyTextPosition At, TyTagName& Element,
                     int64_t LineLimit) {
  if (!Document.getKeepsLineStates()) return false;
  At = Document.ClampPosition(At);
  CyTagEvents events(Document);
  // End tags met on the way back wait for their start tags; a "/>" closes the start tag
  // met next.
  int64_t pendingEnds = 0;
  bool emptyPending = false;
  const int64_t firstLine = std::max<int64_t>(1, At.Line - LineLimit);
  for (int64_t line = At.Line; line >= firstLine; --line) {
    const std::vector<TyEvent>& list =
        events.Read(line, 1, line == At.Line ? At.Linepos : INT64_MAX);
    for (auto it = list.rbegin(); it != list.rend(); ++it) {
      switch (it->Kind) {
        case TyTagEvent::teEnd:
          ++pendingEnds;
          break;
        case TyTagEvent::teEmptyClose:
          emptyPending = true;
          break;
        case TyTagEvent::teStart:
          if (emptyPending) {
            emptyPending = false;
          } else if (pendingEnds > 0) {
            --pendingEnds;
          } else {
            Element = {std::u16string(it->Name), {line, it->Linepos}, false};
            return true;
          }
          break;
      }
    }
  }
  return false;
}

std::u16string FindOpenElementName(const TxMarkupDocument& Document, TyTextPosition At,
                                   int64_t LineLimit) {
  TyTagName element;
  return FindOpenElement(Document, At, element, LineLimit) ? element.Name : std::u16string();
}

bool FindTagNameAt(const TxMarkupDocument& Document, TyTextPosition At, TyTagName& Tag) {
  if (!Document.getKeepsLineStates() || !Document.IsValidPosition(At)) return false;
  CyTagEvents events(Document);
  for (const TyEvent& event : events.Read(At.Line)) {
    if (event.Kind == TyTagEvent::teEmptyClose) continue;
    const int64_t end = event.Linepos + static_cast<int64_t>(event.Name.size());
    if (event.Linepos <= At.Linepos && At.Linepos <= end) {
      Tag = {std::u16string(event.Name), {At.Line, event.Linepos}, event.Kind == TyTagEvent::teEnd};
      return true;
    }
  }
  return false;
}

bool FindMatchingTag(const TxMarkupDocument& Document, const TyTagName& Tag, TyTagName& Match,
                     int64_t LineLimit) {
  if (Tag.End) {
    // The element open just before the end tag's "</".
    if (!FindOpenElement(Document, {Tag.Start.Line, std::max<int64_t>(1, Tag.Start.Linepos - 2)},
                         Match, LineLimit))
      return false;
    return true;
  }
  // Forward from the start tag's name: depth counts the elements opened since.
  CyTagEvents events(Document);
  int64_t depth = 0;
  const int64_t lastLine = std::min(Document.getLineCount(), Tag.Start.Line + LineLimit);
  for (int64_t line = Tag.Start.Line; line <= lastLine; ++line) {
    for (const TyEvent& event : events.Read(line, line == Tag.Start.Line ? Tag.Start.Linepos : 1)) {
      switch (event.Kind) {
        case TyTagEvent::teStart:
          ++depth;
          break;
        case TyTagEvent::teEmptyClose:
          if (--depth == 0) return false;  // the tag itself was empty
          break;
        case TyTagEvent::teEnd:
          if (--depth == 0) {
            Match = {std::u16string(event.Name), {line, event.Linepos}, true};
            return true;
          }
          break;
      }
    }
  }
  return false;
}

}  // namespace xylem
