// Arbitrary text as an XSLT stylesheet through the XPath checking of its attributes, and as an
// attribute value through the checker and the embedded coloring: no crash, errors placed inside
// the text, and coloring items that cover every line without gaps; and as a stylesheet in the
// XSLT line coloring.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "common/Utf.hpp"
#include "text/TextList.hpp"
#include "xpath/Checker.hpp"
#include "xpath/EmbeddedColoring.hpp"
#include "xslt/XSLTCheck.hpp"
#include "xslt/XSLTLineColoring.hpp"

namespace {

using namespace xylem;

void RequireAt(bool Condition, int Line) {
  if (!Condition) {
    std::fprintf(stderr, "xslt_check: requirement failed at line %d\n", Line);
    std::abort();
  }
}
#define Require(Condition) RequireAt(Condition, __LINE__)

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  std::vector<char16_t> Buffer(Size + 1, 0);
  TyUTF8DecodeResult Decoded = DecodeUTF8(Data, Data + Size, Buffer.data());
  std::u16string Text(Buffer.data(), Decoded.Written);

  CyXPath31CheckerWithCache Cache;
  IyXMLErrsPtr Errs = CheckXSLTStylesheet(Text, u"", Cache);
  int64_t LineCount = 1;
  for (size_t I = 0; I < Text.size(); ++I)  // the reader ends lines at "\r\n", "\r" and "\n"
    LineCount +=
        Text[I] == u'\n' || (Text[I] == u'\r' && (I + 1 == Text.size() || Text[I + 1] != u'\n'));
  for (int32_t I = 0; I < Errs->getCount(); ++I) {
    const IyXMLLocation& L = *Errs->getXMLErr(I)->getLocation();
    Require(L.getLine() >= 1 && L.getLine() <= LineCount && L.getLinepos() >= 1);
  }

  std::vector<std::u16string_view> Lines;
  for (size_t Start = 0;;) {
    size_t End = Text.find(u'\n', Start);
    Lines.push_back(std::u16string_view(Text).substr(Start, End - Start));
    if (End == std::u16string::npos) break;
    Start = End + 1;
  }
  for (TyXPath31ParserRule Rule : {xprExpr, xprPattern30, xprSequenceType, xprAVT}) {
    CyXPath31Checker Checker(Text, Rule);
    if (!Checker.Check()) {
      const TyXPath31CheckError& E = Checker.getError();
      Require(!E.Message.empty() && E.TokenStart >= 0 && E.TokenStart <= E.TokenEnd);
      Require(size_t(E.TokenStart) <= Text.size());
    }
    for (bool ExpandReferences : {false, true}) {
      CyXPathEmbeddedLineColoring Coloring(Lines, Rule, 3, 5, CyXPathColoring::DefaultLight(),
                                           ExpandReferences);
      if (!ExpandReferences) Require(Coloring.getIsValid() == Checker.Check());
      for (size_t L = 0; L < Lines.size(); ++L) {
        int64_t Expect = L == 0 ? 5 : 1;
        for (Coloring.First(3 + int64_t(L)); !Coloring.IsDone(); Coloring.Next()) {
          Require(Coloring.ItemLinepos() == Expect && Coloring.ItemTextCount() >= 1);
          Expect += Coloring.ItemTextCount();
        }
        Require(Expect - (L == 0 ? 5 : 1) == int64_t(Lines[L].size()));
      }
    }
  }

  // The text as a stylesheet in the editor: embedded items stay inside their line.
  TxTextList List;
  List.LoadFromText__PARALLEL__(Text, 1);
  const CyXMLColoring Scheme;
  CyXSLTLineColoring LineColoring(List.getTextItems(), Scheme);
  int64_t TotalDelta = 0;
  LineColoring.UpdateAllLines__PARALLEL__(TotalDelta);
  for (int64_t L = 1; L <= List.getCount(); ++L) {
    const int64_t Length = int64_t(List.getLine(L).size());
    for (LineColoring.FirstLine(L); !LineColoring.IsDone(); LineColoring.Next())
      if (IyEmbeddedLineColoring* XPath = LineColoring.getEmbedded())
        for (XPath->First(L); !XPath->IsDone(); XPath->Next())
          Require(XPath->ItemLinepos() >= 1 &&
                  XPath->ItemLinepos() + XPath->ItemTextCount() <= Length + 1);
  }
  return 0;
}
