#pragma once
// CyXMLColoring: the colour scheme named "XML", one colour entry per token category of the
// XML line colouring. Categories are looked up by their display names, which front ends also
// turn into style-class names.

#include <array>
#include <cstdint>
#include <string_view>

#include "common/ColorScheme.hpp"

namespace xylem {

// (value, display name, getter suffix) of each category, in the scheme's order.
#define XYLEM_XML_COLORING_CATEGORIES(X)                                                     \
  X(xcCDATAMarker, "CDATA marker", CDATAMarker)                                              \
  X(xcCDATAText, "CDATA text", CDATAText)                                                    \
  X(xcCommentMarker, "Comment marker", CommentMarker)                                        \
  X(xcCommentText, "Comment text", CommentText)                                              \
  X(xcDOCTYPEMarker, "DOCTYPE marker", DOCTYPEMarker)                                        \
  X(xcDOCTYPEExternalID, "DOCTYPE external id", DOCTYPEExternalID)                           \
  X(xcDOCTYPEDeclarationMarker, "DOCTYPE declaration marker", DOCTYPEDeclarationMarker)      \
  X(xcEndTagMarker, "End-tag marker", EndTagMarker)                                          \
  X(xcEndTagNameWithPrefix, "End-tag name with prefix", EndTagNameWithPrefix)                \
  X(xcEndTagNameWithoutPrefix, "End-tag name without prefix", EndTagNameWithoutPrefix)       \
  X(xcEntity, "Entity", Entity)                                                              \
  X(xcPIMarker, "PI marker", PIMarker)                                                       \
  X(xcPITag, "PI tag", PITag)                                                                \
  X(xcPIDefinition, "PI definition", PIDefinition)                                           \
  X(xcStartTagMarker, "Start-tag marker", StartTagMarker)                                    \
  X(xcStartTagNameWithPrefix, "Start-tag name with prefix", StartTagNameWithPrefix)          \
  X(xcStartTagNameWithoutPrefix, "Start-tag name without prefix", StartTagNameWithoutPrefix) \
  X(xcStartTagAttributeName, "Start-tag attribute name", StartTagAttributeName)              \
  X(xcStartTagAttributeEquals, "Start-tag attribute equals", StartTagAttributeEquals)        \
  X(xcStartTagAttributeQuote, "Start-tag attribute quote", StartTagAttributeQuote)           \
  X(xcStartTagAttributeValue, "Start-tag attribute value", StartTagAttributeValue)           \
  X(xcText, "Text", Text)                                                                    \
  X(xcXMLMarker, "XML marker", XMLMarker)                                                    \
  X(xcXMLTag, "XML tag", XMLTag)                                                             \
  X(xcXMLAttributeName, "XML attribute name", XMLAttributeName)                              \
  X(xcXMLAttributeEquals, "XML attribute equals", XMLAttributeEquals)                        \
  X(xcXMLAttributeQuote, "XML attribute quote", XMLAttributeQuote)                           \
  X(xcXMLAttributeValue, "XML attribute value", XMLAttributeValue)

enum class TyXMLColoringCategory : uint8_t {
#define XYLEM_X(value, name, getter) value,
  XYLEM_XML_COLORING_CATEGORIES(XYLEM_X)
#undef XYLEM_X
};

inline constexpr unsigned kXMLColoringCategoryCount = 28;

class CyXMLColoring : public CyColorScheme<TyXMLColoringCategory, kXMLColoringCategoryCount> {
 public:
  // The readable default light scheme.
  CyXMLColoring();
  static CyXMLColoring DefaultLight() { return {}; }
  // A scheme for dark view backgrounds.
  static CyXMLColoring DefaultDark();

  // The scheme's name, "XML".
  static std::string_view getName() { return "XML"; }
  // The display name of a category, e.g. "End-tag marker".
  static std::string_view getCategoryName(TyXMLColoringCategory Category);
  // The category of a display name; false for an unknown name. Linear in the 28 names.
  static bool FindCategory(std::string_view Name, TyXMLColoringCategory& Category);

#define XYLEM_X(value, name, getter) \
  const TyColorItem& get##getter() const { return getItem(TyXMLColoringCategory::value); }
  XYLEM_XML_COLORING_CATEGORIES(XYLEM_X)
#undef XYLEM_X
};

}  // namespace xylem
