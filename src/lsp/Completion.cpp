#include "lsp/Completion.hpp"

#include <algorithm>
#include <set>

#include "common/Exception.hpp"
#include "common/Utf.hpp"
#include "lsp/ElementTree.hpp"
#include "xpath/Functions.hpp"
#include "xpath/Parser.hpp"
#include "xslt/XSLTLineColoring.hpp"
#include "xslt/XSLTVocabulary.hpp"

namespace xylem::lsp {

namespace {

enum TyCompletionKind : int {
  ckFunction = 3,
  ckField = 5,
  ckKeyword = 14,
  ckStruct = 22,
  ckOperator = 24,
};

bool IsNameChar(char16_t C) {
  return (C >= u'a' && C <= u'z') || (C >= u'A' && C <= u'Z') || (C >= u'0' && C <= u'9') ||
         C == u'_' || C == u'-' || C == u'.' || C == u':' || C > 0x7F;
}

json Item(std::u16string_view Label, int Kind, const TyTextRange& Range,
          std::u16string_view Insert = {}, std::string_view Detail = {}) {
  json I = {{"label", ToUTF8(Label)},
            {"kind", Kind},
            {"textEdit",
             {{"range", ToLspRange(Range)}, {"newText", ToUTF8(Insert.empty() ? Label : Insert)}}}};
  if (!Detail.empty()) I["detail"] = std::string(Detail);
  return I;
}

// The prefix bound to the XSLT namespace by an xmlns attribute near the top; "xsl" otherwise.
std::u16string XSLTPrefix(const TxMarkupDocument& Document) {
  const int64_t Last = std::min<int64_t>(Document.getLineCount(), 50);
  for (int64_t Line = 1; Line <= Last; ++Line) {
    const std::u16string_view Text = Document.getLine(Line);
    const size_t At = Text.find(kXSLTNamespace);
    if (At == std::u16string_view::npos) continue;
    const size_t Xmlns = Text.rfind(u"xmlns", At);
    if (Xmlns == std::u16string_view::npos) continue;
    if (Text[Xmlns + 5] != u':') return u"";
    const size_t End = Text.find(u'=', Xmlns);
    return std::u16string(Text.substr(Xmlns + 6, End - Xmlns - 6));
  }
  return u"xsl";
}

// Completion inside an XPath-bearing attribute value; false when Position is in none.
bool XPathCompletion(const TxMarkupDocument& Document, TyTextPosition Position, json& Items) {
  if (Document.getKind() != TyDocumentKind::dkXSLT) return false;
  auto& TextItems = const_cast<TxTextItems&>(Document.getTextList().getTextItems());
  TyXMLAttributeValueSpan Span;
  // A caret behind a value's last character stands on the closing quote: look one back.
  if (!FindXMLAttributeValueSpan(TextItems, Position.Line, Position.Linepos, Span) &&
      !(Position.Linepos > 1 &&
        FindXMLAttributeValueSpan(TextItems, Position.Line, Position.Linepos - 1, Span) &&
        Position <= TyTextPosition{Span.EndLine, Span.EndLinepos}))
    return false;
  const TyXPath31ParserRule Rule =
      XSLTAttributeRuleByQName(Span.ElementQName, Span.AttributeQName, XSLTPrefix(Document));
  if (Rule == xprERROR) return false;
  // The value's text up to the caret, lines joined by "\n".
  std::u16string Text;
  for (int64_t Line = Span.StartLine; Line <= Position.Line; ++Line) {
    std::u16string_view L = Document.getLine(Line);
    const size_t From = Line == Span.StartLine ? size_t(Span.StartLinepos - 1) : 0;
    const size_t To = Line == Position.Line ? size_t(Position.Linepos - 1) : L.size();
    if (From > To || To > L.size()) return false;
    if (Line > Span.StartLine) Text += u'\n';
    Text.append(L.substr(From, To - From));
  }
  // The word being typed is replaced by the chosen item; the parser sees what precedes it.
  size_t WordStart = Text.size();
  while (WordStart > 0 && IsNameChar(Text[WordStart - 1])) --WordStart;
  const TyTextRange Range{{Position.Line, Position.Linepos - int64_t(Text.size() - WordStart)},
                          Position};
  Text.resize(WordStart);
  CyXPath31Parser Parser(Text.c_str(), Rule);
  try {
    Parser.Parse();
  } catch (const CyException&) {
    // Expected: the text ends where more must come; the expected set says what.
  }
  const CyXPath31ParserExpectedTokens& Expected = Parser.XPath31ExpectedTokens();
  bool NameExpected = false;
  std::set<std::u16string_view> Seen;
  for (int i = 0; i < Expected.Count(); ++i) {
    const TyXPath31Token Kind = Expected.XPath31Tokens(i);
    if (Kind == X_EQName || Kind == X_NCName) NameExpected = true;
    const std::u16string_view Display = XPath31TokenDisplayText(Kind);
    if (Display.empty() || !Seen.insert(Display).second) continue;
    const bool Word = std::all_of(Display.begin(), Display.end(),
                                  [](char16_t C) { return (C >= u'a' && C <= u'z') || C == u'-'; });
    Items.push_back(Item(Display, Word ? ckKeyword : ckOperator, Range));
  }
  if (NameExpected)
    for (const TyXPathFunction& F : XPathFunctionLibrary()) {
      const std::u16string Name = ToUTF16(F.Name);
      json I = Item(Name, ckFunction, Range, Name + u"(", F.Signature);
      I["labelDetails"] = {
          {"detail", std::string(F.Signature.substr(0, F.Signature.find(')') + 1))}};
      Items.push_back(std::move(I));
    }
  return true;
}

void XMLCompletion(const TxMarkupDocument& Document, TyTextPosition Position, json& Items) {
  if (!Document.getKeepsLineStates()) return;
  std::vector<std::u16string> AttributeNames;
  const std::vector<TyElement> Elements = BuildElementTree(Document, &AttributeNames);
  const std::u16string_view Before =
      Document.getLine(Position.Line).substr(0, size_t(Position.Linepos - 1));
  size_t WordStart = Before.size();
  while (WordStart > 0 && IsNameChar(Before[WordStart - 1])) --WordStart;
  const size_t Open = Before.rfind(u'<');
  const size_t Close = Before.rfind(u'>');
  const bool InTag =
      Open != std::u16string_view::npos && (Close == std::u16string_view::npos || Close < Open);
  if (InTag && Open + 1 < Before.size() && (Before[Open + 1] == u'!' || Before[Open + 1] == u'?'))
    return;
  if (InTag && Before.find_first_of(u" \t", Open) != std::u16string_view::npos) {
    // Attribute names, unless the caret is inside a quoted value.
    if (std::count(Before.begin() + Open, Before.end(), u'"') % 2 ||
        std::count(Before.begin() + Open, Before.end(), u'\'') % 2)
      return;
    const TyTextRange Range{{Position.Line, int64_t(WordStart) + 1}, Position};
    std::sort(AttributeNames.begin(), AttributeNames.end());
    AttributeNames.erase(std::unique(AttributeNames.begin(), AttributeNames.end()),
                         AttributeNames.end());
    for (const std::u16string& Name : AttributeNames)
      Items.push_back(Item(Name, ckField, Range, Name + u"=\"\""));
    return;
  }
  // Content or a tag name being typed: the markup typed so far ("<", "</") is replaced too.
  const size_t MarkupStart = InTag ? Open : WordStart;
  const TyTextRange Range{{Position.Line, int64_t(MarkupStart) + 1}, Position};
  // The end tag of the innermost element open at the caret.
  for (int32_t i = ElementAt(Elements, Position); i >= 0; i = Elements[size_t(i)].Parent) {
    const TyElement& E = Elements[size_t(i)];
    if (E.StartTag.End <= Position && !E.HasEndTag()) {
      const std::u16string EndTag = u"</" + E.Name + u">";
      json I = Item(EndTag, ckKeyword, Range);
      I["sortText"] = "0";
      Items.push_back(std::move(I));
      break;
    }
  }
  std::set<std::u16string> Names;
  for (const TyElement& E : Elements) Names.insert(E.Name);
  for (const std::u16string& Name : Names)
    Items.push_back(Item(Name, ckStruct, Range, u"<" + Name));
}

}  // namespace

json Completion(const TxMarkupDocument& Document, TyTextPosition Position) {
  json Items = json::array();
  if (!XPathCompletion(Document, Position, Items)) XMLCompletion(Document, Position, Items);
  for (json& I : Items)
    if (!I.contains("filterText")) I["filterText"] = I["textEdit"]["newText"];
  return {{"isIncomplete", false}, {"items", std::move(Items)}};
}

}  // namespace xylem::lsp
