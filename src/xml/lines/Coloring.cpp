#include "xml/lines/Coloring.hpp"

namespace xylem {

namespace {

using C = TyXMLColoringCategory;

constexpr std::string_view kNames[] = {
#define XYLEM_X(value, name, getter) name,
    XYLEM_XML_COLORING_CATEGORIES(XYLEM_X)
#undef XYLEM_X
};
static_assert(std::size(kNames) == kXMLColoringCategoryCount);

// Markup in muted blue, names in strong colours, values in brown/orange, comments in green,
// so that text stays the darkest (light) or brightest (dark) thing on the line.
constexpr TyColorDefault<C> kDefaults[] = {
    {C::xcCDATAMarker, {0x808080, kNoColor, fsBold}, {0x9A9A9A, kNoColor, fsBold}},
    {C::xcCDATAText, {0x000000, 0xF2F2F2, fsNone}, {0xD4D4D4, 0x2A2A2A, fsNone}},
    {C::xcCommentMarker, {0x008000, kNoColor, fsNone}, {0x6A9955, kNoColor, fsNone}},
    {C::xcCommentText, {0x008000, kNoColor, fsItalic}, {0x6A9955, kNoColor, fsItalic}},
    {C::xcDOCTYPEMarker, {0x800080, kNoColor, fsBold}, {0xC586C0, kNoColor, fsBold}},
    {C::xcDOCTYPEExternalID, {0xA31515, kNoColor, fsNone}, {0xCE9178, kNoColor, fsNone}},
    {C::xcDOCTYPEDeclarationMarker, {0x800080, kNoColor, fsNone}, {0xC586C0, kNoColor, fsNone}},
    {C::xcEndTagMarker, {0x0000FF, kNoColor, fsNone}, {0x808080, kNoColor, fsNone}},
    {C::xcEndTagNameWithPrefix, {0x2B91AF, kNoColor, fsNone}, {0x4EC9B0, kNoColor, fsNone}},
    {C::xcEndTagNameWithoutPrefix, {0xA31515, kNoColor, fsNone}, {0x569CD6, kNoColor, fsNone}},
    {C::xcEntity, {0xB8860B, kNoColor, fsBold}, {0xD7BA7D, kNoColor, fsBold}},
    {C::xcPIMarker, {0x0000FF, kNoColor, fsNone}, {0x808080, kNoColor, fsNone}},
    {C::xcPITag, {0x800000, kNoColor, fsBold}, {0xC586C0, kNoColor, fsBold}},
    {C::xcPIDefinition, {0x800000, kNoColor, fsNone}, {0xCE9178, kNoColor, fsNone}},
    {C::xcStartTagMarker, {0x0000FF, kNoColor, fsNone}, {0x808080, kNoColor, fsNone}},
    {C::xcStartTagNameWithPrefix, {0x2B91AF, kNoColor, fsNone}, {0x4EC9B0, kNoColor, fsNone}},
    {C::xcStartTagNameWithoutPrefix, {0xA31515, kNoColor, fsNone}, {0x569CD6, kNoColor, fsNone}},
    {C::xcStartTagAttributeName, {0xFF0000, kNoColor, fsNone}, {0x9CDCFE, kNoColor, fsNone}},
    {C::xcStartTagAttributeEquals, {0x0000FF, kNoColor, fsNone}, {0xD4D4D4, kNoColor, fsNone}},
    {C::xcStartTagAttributeQuote, {0x0000FF, kNoColor, fsNone}, {0xCE9178, kNoColor, fsNone}},
    {C::xcStartTagAttributeValue, {0x0000FF, kNoColor, fsNone}, {0xCE9178, kNoColor, fsNone}},
    {C::xcText, {0x000000, kNoColor, fsNone}, {0xD4D4D4, kNoColor, fsNone}},
    {C::xcXMLMarker, {0x0000FF, kNoColor, fsNone}, {0x808080, kNoColor, fsNone}},
    {C::xcXMLTag, {0xA31515, kNoColor, fsBold}, {0x569CD6, kNoColor, fsBold}},
    {C::xcXMLAttributeName, {0xFF0000, kNoColor, fsNone}, {0x9CDCFE, kNoColor, fsNone}},
    {C::xcXMLAttributeEquals, {0x0000FF, kNoColor, fsNone}, {0xD4D4D4, kNoColor, fsNone}},
    {C::xcXMLAttributeQuote, {0x0000FF, kNoColor, fsNone}, {0xCE9178, kNoColor, fsNone}},
    {C::xcXMLAttributeValue, {0x0000FF, kNoColor, fsNone}, {0xCE9178, kNoColor, fsNone}},
};
static_assert(std::size(kDefaults) == kXMLColoringCategoryCount);

}  // namespace

CyXMLColoring::CyXMLColoring() { SetDefaults(kDefaults, false); }

CyXMLColoring CyXMLColoring::DefaultDark() {
  CyXMLColoring scheme;
  scheme.SetDefaults(kDefaults, true);
  return scheme;
}

std::string_view CyXMLColoring::getCategoryName(TyXMLColoringCategory Category) {
  return NameOf(kNames, Category);
}

bool CyXMLColoring::FindCategory(std::string_view Name, TyXMLColoringCategory& Category) {
  return Find(kNames, Name, Category);
}

}  // namespace xylem
