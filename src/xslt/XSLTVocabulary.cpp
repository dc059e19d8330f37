#include "xslt/XSLTVocabulary.hpp"

#include <algorithm>
#include <array>

namespace xylem {

namespace {

using K = TyXSLTAttributeKind;
constexpr K E = K::xakExpression, P = K::xakPattern, S = K::xakSequenceType, I = K::xakItemType,
            A = K::xakAVT;

struct TyEntry {
  std::u16string_view Element;
  std::u16string_view Attribute;
  TyXSLTAttributeKind Kind;
};

// From the element syntax summaries of XSLT 3.0 (which include those of XSLT 2.0). Sorted by
// (element, attribute); a test checks the order.
constexpr TyEntry kEntries[] = {
    {u"accumulator", u"as", S},
    {u"accumulator", u"initial-value", E},
    {u"accumulator-rule", u"match", P},
    {u"accumulator-rule", u"select", E},
    {u"analyze-string", u"flags", A},
    {u"analyze-string", u"regex", A},
    {u"analyze-string", u"select", E},
    {u"apply-templates", u"select", E},
    {u"assert", u"error-code", A},
    {u"assert", u"select", E},
    {u"assert", u"test", E},
    {u"attribute", u"name", A},
    {u"attribute", u"namespace", A},
    {u"attribute", u"select", E},
    {u"attribute", u"separator", A},
    {u"break", u"select", E},
    {u"catch", u"select", E},
    {u"comment", u"select", E},
    {u"context-item", u"as", I},
    {u"copy", u"select", E},
    {u"copy-of", u"select", E},
    {u"element", u"name", A},
    {u"element", u"namespace", A},
    {u"evaluate", u"as", S},
    {u"evaluate", u"base-uri", A},
    {u"evaluate", u"context-item", E},
    {u"evaluate", u"namespace-context", E},
    {u"evaluate", u"schema-aware", A},
    {u"evaluate", u"with-params", E},
    {u"evaluate", u"xpath", E},
    {u"for-each", u"select", E},
    {u"for-each-group", u"collation", A},
    {u"for-each-group", u"group-adjacent", E},
    {u"for-each-group", u"group-by", E},
    {u"for-each-group", u"group-ending-with", P},
    {u"for-each-group", u"group-starting-with", P},
    {u"for-each-group", u"select", E},
    {u"function", u"as", S},
    {u"global-context-item", u"as", I},
    {u"if", u"test", E},
    {u"iterate", u"select", E},
    {u"key", u"match", P},
    {u"key", u"use", E},
    {u"map-entry", u"key", E},
    {u"map-entry", u"select", E},
    {u"merge-key", u"case-order", A},
    {u"merge-key", u"collation", A},
    {u"merge-key", u"data-type", A},
    {u"merge-key", u"lang", A},
    {u"merge-key", u"order", A},
    {u"merge-key", u"select", E},
    {u"merge-source", u"for-each-item", E},
    {u"merge-source", u"for-each-source", E},
    {u"merge-source", u"select", E},
    {u"message", u"error-code", A},
    {u"message", u"select", E},
    {u"message", u"terminate", A},
    {u"namespace", u"name", A},
    {u"namespace", u"select", E},
    {u"number", u"count", P},
    {u"number", u"format", A},
    {u"number", u"from", P},
    {u"number", u"grouping-separator", A},
    {u"number", u"grouping-size", A},
    {u"number", u"lang", A},
    {u"number", u"letter-value", A},
    {u"number", u"ordinal", A},
    {u"number", u"select", E},
    {u"number", u"start-at", A},
    {u"number", u"value", E},
    {u"on-completion", u"select", E},
    {u"on-empty", u"select", E},
    {u"on-non-empty", u"select", E},
    {u"param", u"as", S},
    {u"param", u"select", E},
    {u"perform-sort", u"select", E},
    {u"processing-instruction", u"name", A},
    {u"processing-instruction", u"select", E},
    {u"result-document", u"allow-duplicate-names", A},
    {u"result-document", u"build-tree", A},
    {u"result-document", u"byte-order-mark", A},
    {u"result-document", u"cdata-section-elements", A},
    {u"result-document", u"doctype-public", A},
    {u"result-document", u"doctype-system", A},
    {u"result-document", u"encoding", A},
    {u"result-document", u"escape-uri-attributes", A},
    {u"result-document", u"format", A},
    {u"result-document", u"href", A},
    {u"result-document", u"html-version", A},
    {u"result-document", u"include-content-type", A},
    {u"result-document", u"indent", A},
    {u"result-document", u"item-separator", A},
    {u"result-document", u"json-node-output-method", A},
    {u"result-document", u"media-type", A},
    {u"result-document", u"method", A},
    {u"result-document", u"normalization-form", A},
    {u"result-document", u"omit-xml-declaration", A},
    {u"result-document", u"output-version", A},
    {u"result-document", u"parameter-document", A},
    {u"result-document", u"standalone", A},
    {u"result-document", u"suppress-indentation", A},
    {u"result-document", u"undeclare-prefixes", A},
    {u"sequence", u"select", E},
    {u"sort", u"case-order", A},
    {u"sort", u"collation", A},
    {u"sort", u"data-type", A},
    {u"sort", u"lang", A},
    {u"sort", u"order", A},
    {u"sort", u"select", E},
    {u"sort", u"stable", A},
    {u"source-document", u"href", A},
    {u"template", u"as", S},
    {u"template", u"match", P},
    {u"try", u"select", E},
    {u"value-of", u"select", E},
    {u"value-of", u"separator", A},
    {u"variable", u"as", S},
    {u"variable", u"select", E},
    {u"when", u"test", E},
    {u"with-param", u"as", S},
    {u"with-param", u"select", E},
};

constexpr bool Less(const TyEntry& X, const TyEntry& Y) {
  return X.Element != Y.Element ? X.Element < Y.Element : X.Attribute < Y.Attribute;
}

constexpr bool IsSorted() {
  for (size_t N = 1; N < std::size(kEntries); ++N)
    if (!Less(kEntries[N - 1], kEntries[N])) return false;
  return true;
}
static_assert(IsSorted(), "kEntries must be sorted by element and attribute, without repeats");

}  // namespace

TyXSLTAttributeKind XSLTAttributeKind(std::u16string_view ElementLocalName,
                                      std::u16string_view AttributeName) {
  if (AttributeName.find(u':') != std::u16string_view::npos) return K::xakNone;
  if (AttributeName == u"use-when") return E;
  // A shadow attribute is a template evaluated at compile time into the real attribute.
  if (AttributeName.size() > 1 && AttributeName[0] == u'_') return A;
  TyEntry Key{ElementLocalName, AttributeName, K::xakNone};
  const TyEntry* It = std::lower_bound(std::begin(kEntries), std::end(kEntries), Key, Less);
  if (It != std::end(kEntries) && It->Element == ElementLocalName && It->Attribute == AttributeName)
    return It->Kind;
  return K::xakNone;
}

TyXSLTAttributeKind XSLTLiteralResultAttributeKind(std::u16string_view NamespaceURI,
                                                   std::u16string_view LocalName) {
  if (NamespaceURI == kXSLTNamespace) return LocalName == u"use-when" ? E : K::xakNone;
  if (NamespaceURI == u"http://www.w3.org/2000/xmlns/") return K::xakNone;
  return A;
}

TyXPath31ParserRule XSLTAttributeRule(TyXSLTAttributeKind Kind) {
  switch (Kind) {
    case K::xakExpression:
      return xprExpr;
    case K::xakPattern:
      return xprPattern30;
    case K::xakSequenceType:
      return xprSequenceType;
    case K::xakItemType:
      return xprItemType;
    case K::xakAVT:
      return xprAVT;
    case K::xakNone:
      break;
  }
  return xprERROR;
}

TyXPath31ParserRule XSLTAttributeRuleByQName(std::u16string_view ElementQName,
                                             std::u16string_view AttributeQName,
                                             std::u16string_view XSLTPrefix) {
  auto PrefixOf = [](std::u16string_view QName) {
    const size_t Colon = QName.find(u':');
    return Colon == std::u16string_view::npos ? std::u16string_view() : QName.substr(0, Colon);
  };
  const std::u16string_view Prefix = PrefixOf(ElementQName);
  if (Prefix == XSLTPrefix) {
    const size_t Skip = Prefix.empty() ? 0 : Prefix.size() + 1;
    return XSLTAttributeRule(XSLTAttributeKind(ElementQName.substr(Skip), AttributeQName));
  }
  // Without namespaces in scope only the literal result element's own XSLT attributes count.
  const std::u16string_view AttributePrefix = PrefixOf(AttributeQName);
  if (XSLTPrefix.empty() || AttributePrefix != XSLTPrefix) return xprERROR;
  return XSLTAttributeRule(XSLTLiteralResultAttributeKind(
      kXSLTNamespace, AttributeQName.substr(AttributePrefix.size() + 1)));
}

bool IsXSLTStylesheetElement(std::u16string_view LocalName) {
  return LocalName == u"stylesheet" || LocalName == u"transform" || LocalName == u"package";
}

}  // namespace xylem
