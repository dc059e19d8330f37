#include "xml/format/Reader.hpp"

#include <memory>
#include <vector>

#include "xml/format/ReaderBuilder.hpp"

namespace xylem {

namespace {

using detail::CyXMLTreeBuilder;
using detail::NT;
using TyTreeScanner = detail::CyXMLNodeScanner<CyXMLTreeBuilder>;

// How far past an even cut a piece start is looked for.
constexpr int64_t kPieceStartSearchLines = 4096;

}  // namespace

bool detail::IsXMLPieceStart(const TxTextList& List, int64_t Line) {
  const std::u16string_view before = List.getLine(Line - 1);
  if (before.empty() || before.back() != u'>') return false;
  const std::u16string_view line = List.getLine(Line);
  const size_t first = line.find_first_not_of(u" \t");
  return first != std::u16string_view::npos && line[first] == u'<';
}

std::vector<int64_t> detail::XMLPieceStarts(const TxTextList& List, int PieceCount,
                                            int64_t MinPieceLines) {
  const int64_t count = List.getCount();
  PieceCount = std::max(PieceCount, 1);
  PieceCount =
      static_cast<int>(std::min<int64_t>(PieceCount, count / std::max<int64_t>(MinPieceLines, 1)));
  std::vector<int64_t> starts{1};
  for (int i = 1; i < PieceCount; ++i) {
    const int64_t cut = count * i / PieceCount;
    const int64_t stop = std::min(count, cut + kPieceStartSearchLines);
    for (int64_t line = std::max(cut, starts.back() + 1); line <= stop; ++line) {
      if (detail::IsXMLPieceStart(List, line)) {
        starts.push_back(line);
        break;
      }
    }
  }
  return starts;
}

namespace {

// The elements open at a piece's end, outermost first (read before the piece is joined, while
// the chain still ends at the piece's top level).
std::vector<TyXMLDOMNode*> OpenChain(TyXMLDOMNode* Innermost) {
  std::vector<TyXMLDOMNode*> chain;
  for (TyXMLDOMNode* e = Innermost; e; e = e->Parent) chain.push_back(e);
  return {chain.rbegin(), chain.rend()};
}

// Reads the pieces in parallel and joins them into Tree. False when the document must be read
// in one pass instead: an error anywhere (the one pass finds the first), a piece start that
// was not between two constructs, or a join that needs context a piece did not have.
bool ReadInPieces(const TxTextList& List, const CyXMLWordList& WordsD, const CyXMLWordList& WordsP,
                  bool FormatText, bool PreserveVerbatim, PyXMLDOMTree& Tree,
                  const std::vector<int64_t>& Starts, const TyJobContext& Job) {
  const size_t n = Starts.size();
  std::vector<std::unique_ptr<PyXMLDOMTree>> trees(n);
  std::vector<std::unique_ptr<CyXMLTreeBuilder>> builders(n);
  std::vector<std::unique_ptr<TyTreeScanner>> scanners(n);
  for (size_t i = 0; i < n; ++i) {
    if (i > 0) trees[i] = std::make_unique<PyXMLDOMTree>();
    builders[i] = std::make_unique<CyXMLTreeBuilder>(i == 0 ? Tree : *trees[i], FormatText,
                                                     PreserveVerbatim, i > 0);
    scanners[i] = std::make_unique<TyTreeScanner>(List, *builders[i], WordsD, WordsP, i > 0);
    scanners[i]->setJob(&Job);
  }
  std::vector<char> failed(n, 0);
  Job.RunAll(static_cast<int>(n), [&](int i) {
    const size_t k = static_cast<size_t>(i);
    TxXMLParser parser;
    try {
      scanners[k]->Read(parser, Starts[k], k + 1 < n ? Starts[k + 1] - 1 : List.getCount());
      if (k + 1 == n) scanners[k]->Finish();
    } catch (const CyXMLFormatException&) {
      failed[k] = 1;
    }
  });
  for (const char f : failed)
    if (f) return false;

  std::vector<TyXMLDOMNode*> open = OpenChain(builders[0]->getOpen());
  bool rootSeen = scanners[0]->getRootSeen();
  for (size_t i = 1; i < n; ++i) {
    const CyXMLTreeBuilder& piece = *builders[i];
    if (!scanners[i - 1]->EndsClean()) return false;
    // Preserved content is read differently inside; the piece did not know it was inside.
    for (const TyXMLDOMNode* e : open)
      if (e->PreserveText) return false;
    if (static_cast<int64_t>(open.size()) + scanners[i]->getMaxDepth() > kXMLFormatterMaxDepth)
      return false;
    const std::vector<TyXMLDOMNode*> chain = OpenChain(piece.getOpen());
    for (const detail::TyXMLReaderItem& item : piece.getItems()) {
      if (!item.Node) {
        if (open.empty() || open.back()->Name() != item.CloseName) return false;
        open.pop_back();
        continue;
      }
      const TyXMLDOMNode& node = *item.Node;
      if (open.empty()) {  // at document level
        if (node.Type_ == NT::ntText ? node.HasText
                                     : node.Type_ == NT::ntCDATA || node.Type_ == NT::ntRefEntity ||
                                           node.Type_ == NT::ntRefChar)
          return false;
        if (node.Type_ == NT::ntElement) {
          if (rootSeen) return false;
          rootSeen = true;
        }
      }
      detail::LinkNode(Tree, open.empty() ? nullptr : open.back(), item.Node);
    }
    open.insert(open.end(), chain.begin(), chain.end());
    Tree.Absorb(*trees[i]);
  }
  return open.empty() && rootSeen;
}

}  // namespace

void CyXMLReader::Read(const TxTextList& TextList, TxXMLParser& XMLParser,
                       TyXMLFormattingOptions XMLFormattingOptions,
                       TyXMLLayoutOptions XMLLayoutOptions, const CyXMLWordList& WordsD,
                       const CyXMLWordList& WordsP, PyXMLDOMTree& XMLDOMTree) {
  (void)Read__PARALLEL__(TextList, XMLParser, XMLFormattingOptions, XMLLayoutOptions, WordsD,
                         WordsP, XMLDOMTree, 0);
}

int CyXMLReader::Read__PARALLEL__(const TxTextList& TextList, TxXMLParser& XMLParser,
                                  TyXMLFormattingOptions XMLFormattingOptions,
                                  TyXMLLayoutOptions XMLLayoutOptions, const CyXMLWordList& WordsD,
                                  const CyXMLWordList& WordsP, PyXMLDOMTree& XMLDOMTree,
                                  int PieceCount, int64_t MinPieceLines, const TyJobContext& Job) {
  const bool formatText = XMLFormattingOptions.Has(TyXMLFormattingOption::xfoFormatText);
  const bool preserveVerbatim = XMLLayoutOptions.Has(TyXMLLayoutOption::xloPreserveVerbatim);
  XMLDOMTree.Clear();
  const std::vector<int64_t> starts =
      detail::XMLPieceStarts(TextList, Job.ResolvePieceCount(PieceCount), MinPieceLines);
  if (starts.size() > 1 &&
      ReadInPieces(TextList, WordsD, WordsP, formatText, preserveVerbatim, XMLDOMTree, starts, Job))
    return static_cast<int>(starts.size());
  XMLDOMTree.Clear();
  CyXMLTreeBuilder builder(XMLDOMTree, formatText, preserveVerbatim, false);
  TyTreeScanner scanner(TextList, builder, WordsD, WordsP);
  scanner.setJob(&Job);
  scanner.Read(XMLParser, 1, TextList.getCount());
  scanner.Finish();
  return 1;
}

}  // namespace xylem
