#include "xslt/XSLTCheck.hpp"

#include <algorithm>
#include <vector>

#include "common/Exception.hpp"
#include "common/Utf.hpp"
#include "text/TextList.hpp"
#include "xml/syntax/Iterator.hpp"
#include "xslt/XSLTVocabulary.hpp"

namespace xylem {

namespace {

// The role of an open element for the attributes of its children.
enum class TyXSLTElementRole : uint8_t {
  xerStylesheet,  // xsl:stylesheet, xsl:transform, xsl:package
  xerXSLT,        // any other XSLT element
  xerLiteral,     // a literal result element
  xerOther,       // data (top-level user elements and what they contain)
};

std::u16string_view PrefixOf(std::u16string_view QName) {
  size_t Colon = QName.find(u':');
  return Colon == std::u16string_view::npos ? std::u16string_view() : QName.substr(0, Colon);
}

// Line and Linepos moved, where they lie beyond the text, to its end: a reader that failed at
// the end of the text may already count a line behind it. Linear; used on failure paths only.
void PlaceInside(const char16_t* Text, int64_t& Line, int64_t& Linepos) {
  Line = std::max<int64_t>(Line, 1);
  int64_t line = 1;
  const char16_t* start = Text;
  for (const char16_t* at = Text; *at && line < Line; ++at) {
    if (*at != u'\r' && *at != u'\n') continue;
    if (*at == u'\r' && at[1] == u'\n') ++at;
    ++line;
    start = at + 1;
  }
  int64_t length = 0;
  while (start[length] && start[length] != u'\r' && start[length] != u'\n') ++length;
  if (line < Line) Line = line, Linepos = length + 1;
  Linepos = std::clamp<int64_t>(Linepos, 1, length + 1);
}

std::u16string_view LocalOf(std::u16string_view QName) {
  size_t Colon = QName.find(u':');
  return Colon == std::u16string_view::npos ? QName : QName.substr(Colon + 1);
}

class CyXSLTChecker {
 public:
  CyXSLTChecker(const char16_t* Text, const std::u16string& URL, CyXPath31CheckerWithCache& Cache)
      : Text_(Text), Iterator_(Text), URL_(URL), Cache_(Cache) {}

  IyXMLErrsPtr Run() {
    try {
      for (bool More = Iterator_.Parse(); More; More = Iterator_.Next())
        if (Iterator_.getCurrentNode().Kind == TyXMLNodeKind::xnkStartTag) StartTag();
    } catch (const CyShouldNeverHappenException&) {
      throw;
    } catch (const CyException& E) {
      // The walk cannot go on; keep what was found and say where it stopped.
      int64_t Line = Iterator_.getCurrentLine(), Linepos = Iterator_.getCurrentLinepos();
      PlaceInside(Text_, Line, Linepos);
      Errors_.push_back(std::make_shared<CyXMLErr>(
          XPath31CheckerProcessorInfo(), URL_, int32_t(Line), int32_t(Linepos),
          ToUTF16(E.getMessage()), u"", u"", TyReasonParameters{}, TyXMLErrSeverity::errError));
    }
    return std::make_shared<CyXMLErrs>(u"XPath syntax", std::move(Errors_));
  }

 private:
  void StartTag() {
    const TyXMLNode& Node = Iterator_.getCurrentNode();
    size_t Depth = size_t(std::max<int32_t>(Node.Depth, 0));
    Roles_.resize(Depth);
    TyXSLTElementRole Parent = Depth ? Roles_.back() : TyXSLTElementRole::xerOther;
    bool IsXSLT = Iterator_.LookupNamespace(PrefixOf(Node.Name)) == kXSLTNamespace;
    std::u16string_view Local = LocalOf(Node.Name);
    TyXSLTElementRole Role;
    if (IsXSLT)
      Role = IsXSLTStylesheetElement(Local) ? TyXSLTElementRole::xerStylesheet
                                            : TyXSLTElementRole::xerXSLT;
    else if (Depth == 0)
      Role = Iterator_.FindAttribute(kXSLTNamespace, u"version") ? TyXSLTElementRole::xerLiteral
                                                                 : TyXSLTElementRole::xerOther;
    else if (Parent == TyXSLTElementRole::xerXSLT || Parent == TyXSLTElementRole::xerLiteral)
      Role = TyXSLTElementRole::xerLiteral;
    else
      Role = TyXSLTElementRole::xerOther;
    Roles_.push_back(Role);
    if (Role == TyXSLTElementRole::xerOther) return;

    for (size_t I = 0; I < Node.Attributes.size(); ++I) {
      const TyXMLAttribute& Attribute = Node.Attributes[I];
      TyXSLTAttributeKind Kind;
      if (Role == TyXSLTElementRole::xerLiteral) {
        std::u16string_view Prefix = PrefixOf(Attribute.Name);
        if (Attribute.Name == u"xmlns" || Prefix == u"xmlns") continue;
        std::u16string URI = Prefix.empty() ? std::u16string() : Iterator_.LookupNamespace(Prefix);
        Kind = XSLTLiteralResultAttributeKind(URI, LocalOf(Attribute.Name));
      } else {
        Kind = XSLTAttributeKind(Local, Attribute.Name);
      }
      if (Kind != TyXSLTAttributeKind::xakNone) CheckValue(int(I), XSLTAttributeRule(Kind));
    }
  }

  void CheckValue(int Index, TyXPath31ParserRule Rule) {
    const TyXMLAttribute& Attribute = Iterator_.getCurrentNode().Attributes[size_t(Index)];
    int64_t Line = 0, Linepos = 0;
    Iterator_.GetAttributeValueLocation(Index, Line, Linepos);
    try {
      ExpandXSLTAttributeValue(
          Attribute.RawValue, Expanded_, Map_, [&](std::u16string_view Reference, size_t At) {
            return Iterator_.ExpandReferences(Reference, Attribute.ValueOffset + int64_t(At));
          });
    } catch (const CyXMLReferenceException& E) {
      int64_t At = E.Line, AtPos = E.Linepos;
      PlaceInside(Text_, At, AtPos);
      Errors_.push_back(std::make_shared<CyXMLErr>(
          XPath31CheckerProcessorInfo(), URL_, int32_t(At), int32_t(AtPos), ToUTF16(E.getMessage()),
          u"", u"", TyReasonParameters{}, TyXMLErrSeverity::errError));
      return;
    }
    CyXPath31TextPlacement Placement(URL_, int32_t(Line), int32_t(Linepos), Attribute.RawValue,
                                     &Map_);
    IyXMLErrPtr Err;
    if (!Cache_.Check(Expanded_, Rule, Placement, Err)) Errors_.push_back(std::move(Err));
  }

  const char16_t* Text_;
  CyXMLIterator Iterator_;
  const std::u16string& URL_;
  CyXPath31CheckerWithCache& Cache_;
  std::vector<TyXSLTElementRole> Roles_;  // of the open elements, outermost first
  std::vector<IyXMLErrPtr> Errors_;
  std::u16string Expanded_;
  std::vector<int32_t> Map_;
};

}  // namespace

IyXMLErrsPtr CheckXSLTStylesheet(std::u16string_view Text, const std::u16string& URL,
                                 CyXPath31CheckerWithCache& Cache) {
  std::u16string Owned(Text);  // the iterator reads NUL-terminated text
  return CyXSLTChecker(Owned.c_str(), URL, Cache).Run();
}

IyXMLErrsPtr CheckXSLTStylesheet(const TxTextList& Lines, const std::u16string& URL,
                                 CyXPath31CheckerWithCache& Cache) {
  std::u16string Text = Lines.getText();
  return CyXSLTChecker(Text.c_str(), URL, Cache).Run();
}

}  // namespace xylem
