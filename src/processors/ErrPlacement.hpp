#pragma once
// Error improvement by position: errors that a processor places only by line (libxml2's schema
// errors) move onto the start tag or attribute they are about, and errors inside an XPath-bearing
// attribute of a stylesheet move onto their exact character. Both read the document with our own
// iterator.

#include <cstdint>
#include <string>
#include <vector>

#include "diag/ErrRecord.hpp"

namespace xylem {

// An error known by line and node names only. Filled in by PlaceOnStartTags.
struct TyStartTagHint {
  int32_t Line = -1;             // the processor's line (where the start tag ends, for libxml2)
  std::u16string ElementName;    // local or qualified name of the element
  std::u16string AttributeName;  // the attribute the error is about; empty for the element
  // Results: the element's name, or the attribute from its name to the end of its value. -1 when
  // no start tag of that name starts at or before Line.
  int32_t FoundLine = -1, FoundLinepos = -1, FoundLine2 = -1, FoundLinepos2 = -1;
};

// Places every hint on the last start tag named ElementName (qualified name, or local name when
// the hint has no prefix) that starts at or before the hint's line. Text: the whole document,
// NUL-terminated. One pass over the document for all hints; allocates per node.
void PlaceOnStartTags(const char16_t* Text, std::vector<TyStartTagHint>& Hints);

// An error of an XSLT processor in the expression of attribute Attribute of element Element
// whose start tag ends at (Line, Column) (Saxon's location of the element), at character Char of
// the attribute's value. Returns a copy of Err placed on that character of the written value
// (references and line breaks followed as CyXPath31TextPlacement does), first sharpened by our
// own parser when that finds a syntax error in the expression; Err itself when the element or
// attribute is not found. Text: the stylesheet, NUL-terminated.
IyXMLErrPtr PlaceInStylesheetAttribute(const char16_t* Text, const IyXMLErrPtr& Err,
                                       std::u16string_view Element, std::u16string_view Attribute,
                                       int32_t Line, int32_t Column, int32_t Char);

}  // namespace xylem
