#pragma once
// A small built-in XSLT 2.0/3.0 vocabulary: which attributes of which XSLT elements hold an
// XPath expression, a pattern, a sequence or item type, or an attribute value template. It
// stands in for the schema model when deciding how to check or color an attribute value.

#include <string_view>

#include "xpath/Token.hpp"

namespace xylem {

inline constexpr std::u16string_view kXSLTNamespace = u"http://www.w3.org/1999/XSL/Transform";

// What an attribute value holds.
enum class TyXSLTAttributeKind : uint8_t {
  xakNone,          // no XPath (a name, a token list, a URI that is no template, ...)
  xakExpression,    // an XPath expression
  xakPattern,       // an XSLT 3.0 pattern
  xakSequenceType,  // a sequence type (as)
  xakItemType,      // an item type (xsl:context-item/@as, xsl:global-context-item/@as)
  xakAVT,           // an attribute value template
};

// Kind of the attribute AttributeName (a qualified name as written) on the XSLT element with
// local name ElementLocalName. Unprefixed attributes come from the element syntax summaries of
// the XSLT 3.0 recommendation; use-when is an expression everywhere; shadow attributes (_name)
// are templates; prefixed attributes hold no XPath. O(log n), no allocation.
TyXSLTAttributeKind XSLTAttributeKind(std::u16string_view ElementLocalName,
                                      std::u16string_view AttributeName);

// Kind of an attribute of a literal result element, given its namespace URI (empty for none)
// and local name: xsl:use-when is an expression, other XSLT attributes and namespace
// declarations hold no XPath, every other attribute is a template.
TyXSLTAttributeKind XSLTLiteralResultAttributeKind(std::u16string_view NamespaceURI,
                                                   std::u16string_view LocalName);

// The parser's start rule for a kind: xprExpr, xprPattern30, xprSequenceType, xprItemType,
// xprAVT; xprERROR for xakNone.
TyXPath31ParserRule XSLTAttributeRule(TyXSLTAttributeKind Kind);

// For callers that see qualified names but resolve no namespaces (the XSLT line colouring):
// the start rule of attribute AttributeQName on element ElementQName, given the prefix bound
// to the XSLT namespace (empty: the default namespace; "xsl" is its customary binding).
// Elements with another prefix count as literal result elements, of whose attributes only
// XSLTPrefix:use-when holds XPath; xprERROR when the value holds none. O(log n), no allocation.
TyXPath31ParserRule XSLTAttributeRuleByQName(std::u16string_view ElementQName,
                                             std::u16string_view AttributeQName,
                                             std::u16string_view XSLTPrefix = u"xsl");

// Whether LocalName (in the XSLT namespace) is a stylesheet's outermost element (stylesheet,
// transform, package), whose non-XSLT children are data rather than literal result elements.
bool IsXSLTStylesheetElement(std::u16string_view LocalName);

}  // namespace xylem
