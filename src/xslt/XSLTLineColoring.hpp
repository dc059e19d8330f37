#pragma once
// CyXSLTLineColoring: the XML line colouring of an XSLT stylesheet, in which the attribute
// values that the built-in XSLT vocabulary marks as an expression, pattern, sequence or item
// type or attribute value template get an embedded XPath colouring by token class.
//
//   CyXSLTLineColoring coloring(items, xmlScheme, xpathScheme);
//   for (coloring.FirstLine(line); !coloring.IsDone(); coloring.Next())
//     if (IyEmbeddedLineColoring* xpath = coloring.getEmbedded())
//       for (xpath->First(line); !xpath->IsDone(); xpath->Next()) ...  // clip to the token
//
// Which element is XSLT: the prefix bound to the XSLT namespace by an xmlns attribute of the
// document's root element (xmlns:p="...XSL/Transform", or xmlns="..." for unprefixed XSLT
// elements); "xsl" when the root binds none. Bindings on inner elements are not seen. Literal
// result elements keep plain values, except their [prefix]:use-when (an expression).
// Not thread-safe: one object per view, like its base.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "xml/lines/LineColoring.hpp"
#include "xpath/EmbeddedColoringScheme.hpp"
#include "xpath/Token.hpp"

namespace xylem {

// Where an attribute value lies and what it is, as found by scanning the stored line states.
struct TyXMLAttributeValueSpan {
  std::u16string ElementQName;    // the start tag's name as written
  std::u16string AttributeQName;  // the attribute's name as written
  int64_t StartLine = 0;          // first line of the value (1-based)
  int64_t StartLinepos = 0;       // 1-based position of its first character (after the quote)
  int64_t EndLine = 0;            // last line of the value
  int64_t EndLinepos = 0;         // 1-based position just past its last character
};

// Finds the attribute value that holds position Linepos of line Line (a value token of the
// line colouring) in Items, from the stored line states: scans back to the line where the start
// tag begins (the nearest line whose start state is not inside a start tag), tokenizes forward
// to the token for the names and the opening quote, then on to the closing quote (or the end of
// the document). False when Linepos is not inside an attribute value of a start tag. Linear in
// the tag's text; reuses Span's strings, so no allocation once they have grown.
bool FindXMLAttributeValueSpan(TxTextItems& Items, int64_t Line, int64_t Linepos,
                               TyXMLAttributeValueSpan& Span);

class CyXSLTLineColoring : public CyXMLLineColoring {
 public:
  // Colours lines of TextItems with Scheme and the embedded XPath with XPathScheme (copied);
  // TextItems and Scheme must outlive the object. Embedded colouring is always on.
  CyXSLTLineColoring(TxTextItems& TextItems, const CyXMLColoring& Scheme,
                     const CyXPathColoring& XPathScheme = CyXPathColoring::DefaultLight());

 protected:
  // After FirstLine only (a bare First has no document around it): for a value that holds
  // XPath, a CyXPathEmbeddedLineColoring over the whole value (all of its lines, references
  // read), else nullptr. Linear in the start tag's text plus the parse of the value.
  std::unique_ptr<IyEmbeddedLineColoring> CreateEmbeddedLineColoring() override;

 private:
  // The prefix bound to the XSLT namespace on the root element, rescanned only when the lines
  // up to the root element's end have changed.
  std::u16string_view XSLTPrefix();

  TxTextItems& TextItems_;
  CyXPathColoring XpathScheme_;
  TyXMLAttributeValueSpan Span_;
  std::vector<std::u16string_view> ValueLines_;
  std::u16string XsltPrefix_;
  std::vector<std::u16string> PrefixLines_;  // the lines the prefix was read from, as they were
};

}  // namespace xylem
