#include "xml/lines/Folding.hpp"

#include <algorithm>

#include "xml/syntax/Tokenizer.hpp"

namespace xylem {

namespace {

using G = TyXMLGroup;
using S = TyXMLSymbol;

constexpr unsigned V(G g) { return XMLValue(g); }
constexpr unsigned V(S s) { return XMLValue(s); }

// The kind of a construct that folds as a whole, or false for the others.
bool ConstructKind(unsigned Group, TyXMLFoldKind& Kind) {
  switch (static_cast<G>(Group)) {
    case G::COMMENT:
    case G::DT_DECL_COMMENT:
      Kind = TyXMLFoldKind::fkComment;
      return true;
    case G::CDATA:
      Kind = TyXMLFoldKind::fkCDATA;
      return true;
    case G::PI:
    case G::XML:
    case G::XMLModel:
    case G::XMLStylesheet:
      Kind = TyXMLFoldKind::fkPI;
      return true;
    case G::DOCTYPE:
      Kind = TyXMLFoldKind::fkDoctype;
      return true;
    case G::ELEMENT_OPEN:
    case G::ELEMENT_CLOSE:
      Kind = TyXMLFoldKind::fkTag;
      return true;
    default:
      return false;
  }
}

bool IsClose(unsigned Symbol) {
  return Symbol == V(S::CLOSE) || Symbol == V(S::CLOSE_SLASH) || Symbol == XMLMissing(S::CLOSE);
}

class CyFolder {
 public:
  explicit CyFolder(std::vector<TyXMLFoldRange>& Out) : Out_(Out) {}

  void Line(int64_t Line, const char16_t* Text, bool AtEnd, uint64_t G0, uint64_t S0) {
    Line_ = Line;
    Parser_.First(Text, AtEnd, G0, S0);
    for (;;) {
      const TyXMLToken& t = Parser_.getToken();
      if (t.TextIsMissing || t.Count() > 0) Token(t);
      if (t.IsDone) break;
      Parser_.Next();
    }
  }

  void Add(int64_t First, int64_t Last, TyXMLFoldKind Kind) {
    if (Last > First) Out_.push_back({First, Last, Kind});
  }

 private:
  void Token(const TyXMLToken& T) {
    const unsigned group = T.Group0();
    const unsigned symbol = T.Symbol0();
    TyXMLFoldKind kind;
    // Only the outermost construct at document level or in content folds as a whole; the
    // declarations inside a DOCTYPE fold with it.
    if (ConstructKind(group, kind)) {
      if (symbol == V(S::OPEN) || symbol == V(S::OPEN_SLASH)) {
        if (!InConstruct_) {
          InConstruct_ = true;
          ConstructGroup_ = group;
          ConstructLine_ = Line_;
        }
      } else if (InConstruct_ && group == ConstructGroup_ && IsClose(symbol)) {
        InConstruct_ = false;
        Add(ConstructLine_, Line_, kind);
      }
    }
    if (group == V(G::ELEMENT_OPEN)) {
      if (symbol == V(S::OPEN)) {
        TagLine_ = Line_;
      } else if (symbol == V(S::STRING1_V_OPEN) || symbol == V(S::STRING2_V_OPEN) ||
                 symbol == XMLMissing(S::STRING1_V_OPEN) ||
                 symbol == XMLMissing(S::STRING2_V_OPEN)) {
        ValueLine_ = Line_;
      } else if (symbol == V(S::STRING1_V_CLOSE) || symbol == V(S::STRING2_V_CLOSE) ||
                 symbol == XMLMissing(S::STRING1_V_CLOSE) ||
                 symbol == XMLMissing(S::STRING2_V_CLOSE)) {
        Add(ValueLine_, Line_, TyXMLFoldKind::fkAttributeValue);
      } else if (symbol == V(S::CLOSE) || symbol == XMLMissing(S::CLOSE)) {
        Elements_.push_back(TagLine_);
      }
    } else if (group == V(G::ELEMENT_CLOSE) && symbol == V(S::OPEN_SLASH)) {
      if (!Elements_.empty()) {
        Add(Elements_.back(), Line_, TyXMLFoldKind::fkElement);
        Elements_.pop_back();
      }
    }
  }

  std::vector<TyXMLFoldRange>& Out_;
  TxXMLParser Parser_;
  int64_t Line_ = 0;
  bool InConstruct_ = false;
  unsigned ConstructGroup_ = 0;
  int64_t ConstructLine_ = 0;
  int64_t TagLine_ = 0;
  int64_t ValueLine_ = 0;
  std::vector<int64_t> Elements_;  // start lines of the open elements
};

bool HasLess(std::u16string_view Text) { return Text.find(u'<') != std::u16string_view::npos; }

}  // namespace

std::vector<TyXMLFoldRange> CyXMLFolding::FoldRanges(const TxTextList& List) {
  std::vector<TyXMLFoldRange> ranges;
  CyFolder folder(ranges);
  const int64_t count = List.getCount();
  for (int64_t line = 1; line <= count; ++line) {
    const TxItem* item = List.getItems(line);
    const uint64_t g = static_cast<uint64_t>(item->StackG);
    const uint64_t s = static_cast<uint64_t>(item->StackS);
    // A line that starts at document level, opens and closes nothing over its length and has
    // no '<' has no tag and no construct boundary: nothing to fold starts or ends on it.
    if (g == kXMLDocumentGroupWord && s == kXMLDocumentSymbolWord && item->Delta == 0 &&
        item->DeltaMin == 0 && item->DeltaMax == 0 && !HasLess(item->TextUTF16.getView()))
      continue;
    folder.Line(line, item->TextUTF16.getText(), line == count, g, s);
  }
  std::stable_sort(ranges.begin(), ranges.end(),
                   [](const TyXMLFoldRange& a, const TyXMLFoldRange& b) {
                     if (a.FirstLine != b.FirstLine) return a.FirstLine < b.FirstLine;
                     return a.LastLine > b.LastLine;
                   });
  return ranges;
}

}  // namespace xylem
