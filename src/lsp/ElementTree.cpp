#include "lsp/ElementTree.hpp"

#include "xml/lines/Coloring.hpp"
#include "xml/lines/LineColoring.hpp"

namespace xylem::lsp {

namespace {

bool Holds(const TyTextRange& Range, TyTextPosition Position) {
  return Range.Start <= Position && Position <= Range.End;
}

}  // namespace

std::vector<TyElement> BuildElementTree(const CyDocumentView& Document,
                                        std::vector<std::u16string>* AttributeNames) {
  std::vector<TyElement> Elements;
  if (!Document.getKeepsLineStates()) return Elements;
  using enum TyXMLColoringCategory;
  CyXMLColoring Scheme;
  // The colouring takes the items non-const for its own helpers; colouring only reads them.
  CyXMLLineColoring Coloring(const_cast<TxTextItems&>(Document.getTextList().getTextItems()),
                             Scheme);
  std::vector<int32_t> Open;
  int32_t InStartTag = -1;  // the element whose start tag is being read
  int32_t InEndTag = -1;    // the element an end tag being read closes
  TyTextPosition TagStart;
  for (int64_t Line = 1; Line <= Document.getLineCount(); ++Line) {
    for (Coloring.FirstLine(Line); !Coloring.IsDone(); Coloring.Next()) {
      const TyXMLColoringCategory Category = Coloring.ItemCategory();
      const int64_t Linepos = Coloring.ItemLinepos();
      const int64_t Count = Coloring.ItemTextCount();
      const std::u16string_view Text(Coloring.ItemText(), size_t(Count));
      const TyTextPosition Start{Line, Linepos}, End{Line, Linepos + Count};
      switch (Category) {
        case xcStartTagMarker:
          if (Text == u"<") {
            TagStart = Start;
          } else if (InStartTag >= 0 && Count > 0) {
            TyElement& E = Elements[size_t(InStartTag)];
            E.StartTag = {E.StartTag.Start, End};
            E.Range = E.StartTag;
            if (Text == u"/>") Open.pop_back();
            InStartTag = -1;
          }
          break;
        case xcStartTagNameWithPrefix:
        case xcStartTagNameWithoutPrefix: {
          if (Count == 0) break;
          TyElement E;
          E.Name.assign(Text);
          E.NameRange = {Start, End};
          E.StartTag = {TagStart, End};
          E.Range = E.StartTag;
          E.Parent = Open.empty() ? -1 : Open.back();
          E.Depth = static_cast<int32_t>(Open.size());
          InStartTag = static_cast<int32_t>(Elements.size());
          Open.push_back(InStartTag);
          Elements.push_back(std::move(E));
          break;
        }
        case xcEndTagMarker:
          if (Text == u"</") {
            TagStart = Start;
          } else if (InEndTag >= 0 && Count > 0) {
            Elements[size_t(InEndTag)].Range.End = End;
            InEndTag = -1;
          }
          break;
        case xcEndTagNameWithPrefix:
        case xcEndTagNameWithoutPrefix: {
          if (Count == 0) break;
          // The nearest open element of this name; elements opened inside it stay unclosed.
          for (size_t i = Open.size(); i-- > 0;) {
            TyElement& E = Elements[size_t(Open[i])];
            if (E.Name != Text) continue;
            E.EndNameRange = {Start, End};
            E.Range.End = End;
            InEndTag = Open[i];
            Open.resize(i);
            break;
          }
          break;
        }
        case xcStartTagAttributeName:
          if (AttributeNames && Count > 0) AttributeNames->emplace_back(Text);
          break;
        default:
          break;
      }
    }
  }
  // Elements never closed run to the end of the document.
  for (int32_t Index : Open) Elements[size_t(Index)].Range.End = Document.getEndPosition();
  return Elements;
}

int32_t ElementAtTagName(const std::vector<TyElement>& Elements, TyTextPosition Position) {
  for (size_t i = Elements.size(); i-- > 0;) {
    const TyElement& E = Elements[i];
    if (Holds(E.NameRange, Position) || (E.HasEndTag() && Holds(E.EndNameRange, Position)))
      return static_cast<int32_t>(i);
  }
  return -1;
}

int32_t ElementAt(const std::vector<TyElement>& Elements, TyTextPosition Position) {
  // The last element in document order whose extent holds Position is the innermost.
  for (size_t i = Elements.size(); i-- > 0;)
    if (Holds(Elements[i].Range, Position)) return static_cast<int32_t>(i);
  return -1;
}

}  // namespace xylem::lsp
