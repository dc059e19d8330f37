#include "xpath/XSLTLineColoring.hpp"

#include "xml/Tokenizer.hpp"
#include "xpath/EmbeddedColoring.hpp"
#include "xpath/XSLTVocabulary.hpp"

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
      textItems_(TextItems),
      xpathScheme_(XPathScheme) {}

std::u16string_view CyXSLTLineColoring::XSLTPrefix() {
  bool Same = !prefixLines_.empty() && int64_t(prefixLines_.size()) <= textItems_.getCount();
  for (size_t I = 0; Same && I < prefixLines_.size(); ++I)
    Same = LineText(textItems_, int64_t(I) + 1) == prefixLines_[I];
  if (Same) return xsltPrefix_;
  prefixLines_.clear();
  xsltPrefix_ = u"xsl";
  // The namespace declarations of the root element: scan up to the end of its start tag.
  TxXMLParser Parser;
  std::u16string Attribute;
  bool InRoot = false, Bound = false, Done = false;
  for (int64_t L = 1; L <= textItems_.getCount() && !Done; ++L) {
    prefixLines_.emplace_back(LineText(textItems_, L));
    for (StartLine(Parser, textItems_, L);; Parser.Next()) {
      const TyXMLToken& Token = Parser.getToken();
      if (Token.Group0() == XMLValue(G::ELEMENT_OPEN)) {
        const unsigned Symbol = Token.Symbol0() & 31;
        InRoot = true;
        if (Symbol == XMLValue(S::ATTRIBUTE_NAME)) {
          Attribute.assign(Token.Text());
        } else if (IsValueSymbol(Symbol) && !Bound && Token.Text() == kXSLTNamespace) {
          // A value split over lines is no namespace name worth finding.
          if (Attribute == u"xmlns") {
            xsltPrefix_.clear();
            Bound = true;
          } else if (Attribute.starts_with(u"xmlns:")) {
            xsltPrefix_.assign(std::u16string_view(Attribute).substr(6));
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
  return xsltPrefix_;
}

std::unique_ptr<IyEmbeddedLineColoring> CyXSLTLineColoring::CreateEmbeddedLineColoring() {
  if (getLine() < 1) return nullptr;
  if (!FindXMLAttributeValueSpan(textItems_, getLine(), ItemLinepos(), span_)) return nullptr;
  const TyXPath31ParserRule Rule =
      XSLTAttributeRuleByQName(span_.ElementQName, span_.AttributeQName, XSLTPrefix());
  if (Rule == xprERROR) return nullptr;
  valueLines_.clear();
  for (int64_t L = span_.StartLine; L <= span_.EndLine; ++L) {
    std::u16string_view Text = LineText(textItems_, L);
    const size_t From = L == span_.StartLine ? size_t(span_.StartLinepos - 1) : 0;
    const size_t To = L == span_.EndLine ? size_t(span_.EndLinepos - 1) : Text.size();
    valueLines_.push_back(Text.substr(From, To - From));
  }
  return std::make_unique<CyXPathEmbeddedLineColoring>(valueLines_, Rule, span_.StartLine,
                                                       span_.StartLinepos, xpathScheme_, true);
}

}  // namespace xylem
