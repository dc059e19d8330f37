#include "processors/ErrPlacement.hpp"

#include <algorithm>

#include "xml/syntax/Iterator.hpp"
#include "xpath/Checker.hpp"
#include "xpath/ErrImprover.hpp"
#include "xslt/XSLTCheck.hpp"
#include "xslt/XSLTVocabulary.hpp"

namespace xylem {

namespace {

std::u16string_view localName(std::u16string_view QName) {
  const size_t colon = QName.find(u':');
  return colon == std::u16string_view::npos ? QName : QName.substr(colon + 1);
}

std::u16string_view prefixOf(std::u16string_view QName) {
  const size_t colon = QName.find(u':');
  return colon == std::u16string_view::npos ? std::u16string_view() : QName.substr(0, colon);
}

bool nameMatches(std::u16string_view Written, std::u16string_view Wanted) {
  return Written == Wanted ||
         (Wanted.find(u':') == std::u16string_view::npos && localName(Written) == Wanted);
}

IyXMLErrPtr withLocation(const IyXMLErr& Err, IyXMLLocationPtr Location) {
  return std::make_shared<CyXMLErr>(Err.getProcessorInfo(), std::move(Location), Err.getReason(),
                                    Err.getReasonDoc(), Err.getReasonID(),
                                    Err.getReasonParameters(), Err.getSeverity());
}

}  // namespace

void PlaceOnStartTags(const char16_t* Text, std::vector<TyStartTagHint>& Hints) {
  if (Hints.empty()) return;
  // Hints in line order, so that one walk serves them all: a start tag is remembered for every
  // hint that could still refer to it, and a hint is settled once the walk passes its line.
  std::vector<size_t> order(Hints.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(),
                   [&](size_t A, size_t B) { return Hints[A].Line < Hints[B].Line; });
  CyXMLIterator iterator(Text);
  size_t next = 0;
  try {
    for (bool more = iterator.Parse(); more && next < order.size(); more = iterator.Next()) {
      const TyXMLNode& node = iterator.getCurrentNode();
      if (node.Kind != TyXMLNodeKind::xnkStartTag) continue;
      int64_t line = 0, linepos = 0;
      iterator.LocationOf(node.Offset, line, linepos);
      while (next < order.size() && Hints[order[next]].Line < line) ++next;
      for (size_t k = next; k < order.size(); ++k) {
        TyStartTagHint& hint = Hints[order[k]];
        if (!nameMatches(node.Name, hint.ElementName)) continue;
        int64_t l1 = line, p1 = linepos + 1, l2 = line,
                p2 = linepos + 1 + static_cast<int64_t>(node.Name.size());
        int index = -1;
        if (!hint.AttributeName.empty()) {
          for (size_t a = 0; a < node.Attributes.size(); ++a)
            if (nameMatches(node.Attributes[a].Name, hint.AttributeName))
              index = static_cast<int>(a);
        }
        if (index >= 0) {
          const TyXMLAttribute& attribute = node.Attributes[static_cast<size_t>(index)];
          iterator.GetAttributeNameLocation(index, l1, p1);
          // The range ends behind the closing quote.
          iterator.LocationOf(
              attribute.ValueOffset + static_cast<int64_t>(attribute.RawValue.size()), l2, p2);
          p2 += 1;
        }
        hint.FoundLine = static_cast<int32_t>(l1);
        hint.FoundLinepos = static_cast<int32_t>(p1);
        hint.FoundLine2 = static_cast<int32_t>(l2);
        hint.FoundLinepos2 = static_cast<int32_t>(p2);
      }
    }
  } catch (const CyException&) {
    // A reference the iterator cannot read: the hints found so far stand.
  }
}

IyXMLErrPtr PlaceInStylesheetAttribute(const char16_t* Text, const IyXMLErrPtr& Err,
                                       std::u16string_view Element, std::u16string_view Attribute,
                                       int32_t Line, int32_t Column, int32_t Char) {
  CyXMLIterator iterator(Text);
  int64_t bestOffset = -1;
  try {
    for (bool more = iterator.Parse(); more; more = iterator.Next()) {
      const TyXMLNode& node = iterator.getCurrentNode();
      if (node.Kind != TyXMLNodeKind::xnkStartTag || node.Name != Element ||
          !iterator.FindAttribute(Attribute))
        continue;
      int64_t line = 0, linepos = 0;
      iterator.LocationOf(node.Offset, line, linepos);
      if (line > Line || (line == Line && Column > 0 && linepos > Column)) break;
      bestOffset = node.Offset;
    }
    if (bestOffset < 0) return Err;
    // Walk again to the chosen element; the iterator keeps the namespaces in scope there.
    for (bool more = iterator.Parse(); more; more = iterator.Next())
      if (iterator.getCurrentNode().Kind == TyXMLNodeKind::xnkStartTag &&
          iterator.getCurrentNode().Offset == bestOffset)
        break;
    int index = -1;
    iterator.FindAttribute(Attribute, index);
    const TyXMLAttribute& attribute =
        iterator.getCurrentNode().Attributes[static_cast<size_t>(index)];
    std::u16string expanded;
    std::vector<int32_t> map;
    ExpandXSLTAttributeValue(attribute.RawValue, expanded, map,
                             [&](std::u16string_view Reference, size_t At) {
                               return iterator.ExpandReferences(
                                   Reference, attribute.ValueOffset + static_cast<int64_t>(At));
                             });
    int64_t valueLine = 0, valueLinepos = 0;
    iterator.GetAttributeValueLocation(index, valueLine, valueLinepos);
    const CyXPath31TextPlacement placement(
        Err->getLocation()->getURL(), static_cast<int32_t>(valueLine),
        static_cast<int32_t>(valueLinepos), attribute.RawValue, &map);
    int32_t line = 0, linepos = 0;
    placement.Place(std::clamp(Char, 0, static_cast<int32_t>(expanded.size())), line, linepos);
    const IyXMLErrPtr placed = withLocation(
        *Err, std::make_shared<CyXMLLocation>(Err->getLocation()->getURL(), line, linepos));
    // Which grammar the value follows decides whether our own parser can sharpen the error.
    const std::u16string elementNS = iterator.LookupNamespace(prefixOf(Element));
    const std::u16string attributeNS = prefixOf(Attribute).empty()
                                           ? std::u16string()
                                           : iterator.LookupNamespace(prefixOf(Attribute));
    const TyXSLTAttributeKind kind =
        elementNS == kXSLTNamespace
            ? XSLTAttributeKind(localName(Element), Attribute)
            : XSLTLiteralResultAttributeKind(attributeNS, localName(Attribute));
    if (kind == TyXSLTAttributeKind::xakNone) return placed;
    CyXPath31ErrImprover improver;
    return improver.Improve(placed, expanded, XSLTAttributeRule(kind), placement);
  } catch (const CyException&) {
    return Err;
  }
}

}  // namespace xylem
