#pragma once
// Elements around a position of an XML document, found from the tokens of the stored line
// states (CyXMLLineColoring), so comments, CDATA sections, processing instructions and
// attribute values never count as tags: the element still open (for closing a tag as "</" is
// typed) and the tag matching a tag name (for highlighting the pair at the caret). End tags
// are assumed to match the start tags they close.

#include <cstdint>
#include <string>

#include "editor/TextPosition.hpp"

namespace xylem {

class TxMarkupDocument;

// A tag's name as written and where it starts.
struct TyTagName {
  std::u16string Name;
  TyTextPosition Start;
  bool End = false;  // the name of an end tag
};

// The innermost element whose start tag lies before At and whose end tag does not; false when
// none is found within LineLimit lines before At or the document keeps no XML line states.
// Linear in the text of the lines walked; allocates the name.
bool FindOpenElement(const TxMarkupDocument& Document, TyTextPosition At, TyTagName& Element,
                     int64_t LineLimit = 10000);
// The open element's name, or empty (FindOpenElement's name).
std::u16string FindOpenElementName(const TxMarkupDocument& Document, TyTextPosition At,
                                   int64_t LineLimit = 10000);
// The start- or end-tag name that holds At (or ends right at it); false elsewhere.
bool FindTagNameAt(const TxMarkupDocument& Document, TyTextPosition At, TyTagName& Tag);
// The other tag of Tag's element (found by FindTagNameAt): the end tag of a start tag (false
// for an empty-element tag), the start tag of an end tag; false when it is not found within
// LineLimit lines.
bool FindMatchingTag(const TxMarkupDocument& Document, const TyTagName& Tag, TyTagName& Match,
                     int64_t LineLimit = 10000);

}  // namespace xylem
