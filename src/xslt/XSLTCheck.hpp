#pragma once
// Syntax check of the XPath in an XSLT stylesheet: every attribute that the built-in XSLT
// vocabulary marks as an expression, pattern, type or attribute value template is checked with
// the cached checker, and each failure becomes an error record on the failing token.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "diag/ErrList.hpp"
#include "xpath/CheckerWithCache.hpp"

namespace xylem {

class TxTextList;

// Checks the stylesheet Text (the whole document). Which attributes are checked: those of
// elements in the XSLT namespace as XSLTAttributeKind says, and those of literal result
// elements (non-XSLT elements inside XSLT instructions or other literal result elements, or a
// root element with xsl:version) as XSLTLiteralResultAttributeKind says.
// The value is checked with its entity and character references expanded; a position inside
// the expanded text is mapped back to the reference's '&' in the written value, so errors are
// exact in the document (also after references and over line breaks, each of "\r\n", "\r" and
// "\n" ending a line) and a token produced by a reference is reported at its '&'. A reference
// that cannot be read is reported at its '&' with the reader's message. Records carry URL, the
// parser's message, ID "XPST0003" and, as reason parameters, the tokens expected there (a
// reference or markup failure: the reader's message at its position, no ID). The
// list is in document order under the description "XPath syntax". Allocates per element; the
// parse of each distinct (kind, text) runs once per Cache. Not thread-safe (the cache).
IyXMLErrsPtr CheckXSLTStylesheet(std::u16string_view Text, const std::u16string& URL,
                                 CyXPath31CheckerWithCache& Cache);
// The same over a text list (its lines joined with "\r\n"; lines and positions are the list's).
IyXMLErrsPtr CheckXSLTStylesheet(const TxTextList& Lines, const std::u16string& URL,
                                 CyXPath31CheckerWithCache& Cache);

// The expansion of a written attribute value Raw whose first character is at document offset
// Offset, with Map[i] = index in Raw of the character that produced Expanded[i] (a reference's
// '&' for all of its replacement), and Map[Expanded.size()] = Raw.size(). Expand turns one
// reference (from '&' through ';') into its replacement and may throw CyException.
template <typename FExpand>
void ExpandXSLTAttributeValue(std::u16string_view Raw, std::u16string& Expanded,
                              std::vector<int32_t>& Map, FExpand Expand) {
  Expanded.clear();
  Map.clear();
  for (size_t I = 0; I < Raw.size();) {
    size_t End = Raw[I] == u'&' ? Raw.find(u';', I) : std::u16string_view::npos;
    if (Raw[I] != u'&') {
      Expanded += Raw[I];
      Map.push_back(int32_t(I++));
      continue;
    }
    // A reference without ';' goes to Expand whole so that it reports it.
    size_t Stop = End == std::u16string_view::npos ? Raw.size() : End + 1;
    std::u16string Replacement = Expand(Raw.substr(I, Stop - I), I);
    Expanded += Replacement;
    Map.insert(Map.end(), Replacement.size(), int32_t(I));
    I = Stop;
  }
  Map.push_back(int32_t(Raw.size()));
}

}  // namespace xylem
