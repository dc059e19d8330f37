#include "xslt/XSLTLineColoring.hpp"

#include "xml/syntax/Tokenizer.hpp"
#include "xpath/EmbeddedColoring.hpp"
#include "xslt/XSLTVocabulary.hpp"

namespace xylem {

namespace {

using G = TyXMLGroup;
using S = TyXMLSymbol;

bool InStartTag(uint64_t GroupWord) { return (GroupWord & 31) == XMLValue(G::ELEMENT_OPEN); }

bool IsValueSymbol(unsigned Symbol) {
  return Symbol == XMLValue(S::STRING1_V) || Symbol == XMLValue(S::STRING2_V);
}
bool IsOpenQuote(unsigned Symbol) {
  return Symbol == XMLValue(S::STRING1_V_OPEN) || Symbol == XMLValue(S::STRING2_V_OPEN);
}

// Starts Parser on line Index of Items from its stored state.
void StartLine(TxXMLParser& Parser, TxTextItems& Items, int64_t Index) {
  const TxItem& Item = *Items.getItems(Index);
  Parser.First(Item.TextUTF16.getText(), Index == Items.getCount(),
               static_cast<uint64_t>(Item.StackG), static_cast<uint64_t>(Item.StackS));
}

std::u16string_view LineText(TxTextItems& Items, int64_t Index) {
  return Items.getItems(Index)->TextUTF16.getView();
}

}  // namespace

bool FindXMLAttributeValueSpan(TxTextItems& Items, int64_t Line, int64_t Linepos,
                               TyXMLAttributeValueSpan& Span) {
  if (Line < 1 || Line > Items.getCount()) return false;
  // A start tag spans whole lines from the one where it begins: names and quote lie there.
  int64_t TagLine = Line;
  while (TagLine > 1 && InStartTag(static_cast<uint64_t>(Items.getItems(TagLine)->StackG)))
    --TagLine;
  Span.ElementQName.clear();
  Span.AttributeQName.clear();
  Span.StartLine = 0;
  TxXMLParser Parser;
  const int64_t Offset = Linepos - 1;
  bool Found = false;
  for (int64_t L = TagLine; L <= Line && !Found; ++L) {
    for (StartLine(Parser, Items, L);; Parser.Next()) {
      const TyXMLToken& Token = Parser.getToken();
      if (L == Line && Token.Offset1 > Offset && Token.Count() > 0) {
        Found = Token.Group0() == XMLValue(G::ELEMENT_OPEN) && IsValueSymbol(Token.Symbol0());
        break;
      }
      if (Token.Group0() == XMLValue(G::ELEMENT_OPEN)) {
        const unsigned Symbol = Token.Symbol0();
        if (Symbol == XMLValue(S::TAG)) {
          Span.ElementQName.assign(Token.Text());
          Span.AttributeQName.clear();
        } else if (Symbol == XMLValue(S::ATTRIBUTE_NAME)) {
          Span.AttributeQName.assign(Token.Text());
        } else if (IsOpenQuote(Symbol)) {
          Span.StartLine = L;
          Span.StartLinepos = Token.Offset1 + 1;
        }
      }
      if (Token.IsDone) break;
    }
  }
  if (!Found || Span.StartLine == 0 || Span.ElementQName.empty()) return false;
  // On from the token to the first one that is no longer value text: the closing quote, or the
  // missing one at the end of the document.
  for (int64_t L = Line; L <= Items.getCount(); ++L) {
    if (L > Line) StartLine(Parser, Items, L);
    for (;; Parser.Next()) {
      const TyXMLToken& Token = Parser.getToken();
      if (!IsValueSymbol(Token.Symbol0()) || Token.Group0() != XMLValue(G::ELEMENT_OPEN)) {
        Span.EndLine = L;
        Span.EndLinepos = Token.Offset0 + 1;
        return true;
      }
      if (Token.IsDone) break;
    }
  }
  Span.EndLine = Items.getCount();
  Span.EndLinepos = int64_t(LineText(Items, Span.EndLine).size()) + 1;
  return true;
}

CyXSLTLineColoring::CyXSLTLineColoring(TxTextItems& TextItems, const CyXMLColoring& Scheme,
                                       const CyXPathColoring& XPathScheme)
    : CyXMLLineColoring(TextItems, Scheme, true),
      TextItems_(TextItems),
      XpathScheme_(XPathScheme) {}

std::u16string_view CyXSLTLineColoring::XSLTPrefix() {
  bool Same = !PrefixLines_.empty() && int64_t(PrefixLines_.size()) <= TextItems_.getCount();
  for (size_t I = 0; Same && I < PrefixLines_.size(); ++I)
    Same = LineText(TextItems_, int64_t(I) + 1) == PrefixLines_[I];
  if (Same) return XsltPrefix_;
  PrefixLines_.clear();
  XsltPrefix_ = u"xsl";
  // The namespace declarations of the root element: scan up to the end of its start tag.
  TxXMLParser Parser;
  std::u16string Attribute;
  bool InRoot = false, Bound = false, Done = false;
  for (int64_t L = 1; L <= TextItems_.getCount() && !Done; ++L) {
    PrefixLines_.emplace_back(LineText(TextItems_, L));
    for (StartLine(Parser, TextItems_, L);; Parser.Next()) {
      const TyXMLToken& Token = Parser.getToken();
      if (Token.Group0() == XMLValue(G::ELEMENT_OPEN)) {
        const unsigned Symbol = Token.Symbol0() & 31;
        InRoot = true;
        if (Symbol == XMLValue(S::ATTRIBUTE_NAME)) {
          Attribute.assign(Token.Text());
        } else if (IsValueSymbol(Symbol) && !Bound && Token.Text() == kXSLTNamespace) {
          // A value split over lines is no namespace name worth finding.
          if (Attribute == u"xmlns") {
            XsltPrefix_.clear();
            Bound = true;
          } else if (Attribute.starts_with(u"xmlns:")) {
            XsltPrefix_.assign(std::u16string_view(Attribute).substr(6));
            Bound = true;
          }
        } else if (Symbol == XMLValue(S::CLOSE) || Symbol == XMLValue(S::CLOSE_SLASH)) {
          Done = true;
          break;
        }
      } else if (InRoot) {
        Done = true;
        break;
      }
      if (Token.IsDone) break;
    }
  }
  return XsltPrefix_;
}

std::unique_ptr<IyEmbeddedLineColoring> CyXSLTLineColoring::CreateEmbeddedLineColoring() {
  if (getLine() < 1) return nullptr;
  if (!FindXMLAttributeValueSpan(TextItems_, getLine(), ItemLinepos(), Span_)) return nullptr;
  const TyXPath31ParserRule Rule =
      XSLTAttributeRuleByQName(Span_.ElementQName, Span_.AttributeQName, XSLTPrefix());
  if (Rule == xprERROR) return nullptr;
  ValueLines_.clear();
  for (int64_t L = Span_.StartLine; L <= Span_.EndLine; ++L) {
    std::u16string_view Text = LineText(TextItems_, L);
    const size_t From = L == Span_.StartLine ? size_t(Span_.StartLinepos - 1) : 0;
    const size_t To = L == Span_.EndLine ? size_t(Span_.EndLinepos - 1) : Text.size();
    ValueLines_.push_back(Text.substr(From, To - From));
  }
  return std::make_unique<CyXPathEmbeddedLineColoring>(ValueLines_, Rule, Span_.StartLine,
                                                       Span_.StartLinepos, XpathScheme_, true);
}

}  // namespace xylem
