#pragma once
// The element still open at a position of an XML document, for closing a tag as "</" is
// typed. Reads the tokens of the stored line states (CyXMLLineColoring), so comments, CDATA
// sections, processing instructions and attribute values never count as tags.

#include <cstdint>
#include <string>

#include "editor/TextPosition.hpp"

namespace xylem {

class TxMarkupDocument;

// The qualified name of the innermost element whose start tag lies before At and whose end
// tag does not (end tags are assumed to match the start tags they close); empty when none is
// found within LineLimit lines before At or the document keeps no XML line states. Linear in
// the text of the lines walked; allocates the names it keeps.
std::u16string FindOpenElementName(const TxMarkupDocument& Document, TyTextPosition At,
                                   int64_t LineLimit = 10000);

}  // namespace xylem
