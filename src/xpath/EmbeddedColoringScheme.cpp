#include "xpath/EmbeddedColoringScheme.hpp"

namespace xylem {

namespace {

using C = TyXPathColoringCategory;

constexpr std::string_view kNames[] = {
#define XYLEM_X(Value, Name) Name,
    XYLEM_XPATH_COLORING_CATEGORIES(XYLEM_X)
#undef XYLEM_X
};
static_assert(std::size(kNames) == kXPathColoringCategoryCount);

// Foregrounds 0x00RRGGBB; backgrounds stay the view's default except for errors, which need to
// stand out even where the text colour alone is not noticed.
constexpr TyColorDefault<C> kDefaults[] = {
    {C::xpcText, {0x000000, kNoColor, fsNone}, {0xD4D4D4, kNoColor, fsNone}},
    {C::xpcAVTText, {0x0000FF, kNoColor, fsNone}, {0x9CDCFE, kNoColor, fsNone}},
    {C::xpcAxis, {0x7F0055, kNoColor, fsItalic}, {0xC586C0, kNoColor, fsItalic}},
    {C::xpcBracket, {0x404040, kNoColor, fsNone}, {0xFFD700, kNoColor, fsNone}},
    {C::xpcConstructor, {0x7F0055, kNoColor, fsBold}, {0xC586C0, kNoColor, fsBold}},
    {C::xpcContextItem, {0x800080, kNoColor, fsBold}, {0xDA70D6, kNoColor, fsBold}},
    {C::xpcError, {0xC00000, 0xFFE0E0, fsUnderline}, {0xFF6B6B, 0x4B1818, fsUnderline}},
    {C::xpcFunctionCall, {0x795E26, kNoColor, fsNone}, {0xDCDCAA, kNoColor, fsNone}},
    {C::xpcItemType, {0x267F99, kNoColor, fsNone}, {0x4EC9B0, kNoColor, fsNone}},
    {C::xpcKeySpecifier, {0x001080, kNoColor, fsNone}, {0x9CDCFE, kNoColor, fsNone}},
    {C::xpcKeyword, {0x0000C0, kNoColor, fsBold}, {0x569CD6, kNoColor, fsBold}},
    {C::xpcNameTest, {0x800000, kNoColor, fsNone}, {0xE0A070, kNoColor, fsNone}},
    {C::xpcNumber, {0x098658, kNoColor, fsNone}, {0xB5CEA8, kNoColor, fsNone}},
    {C::xpcOccurrence, {0x404040, kNoColor, fsBold}, {0xD4D4D4, kNoColor, fsBold}},
    {C::xpcOperator, {0x0000C0, kNoColor, fsNone}, {0x569CD6, kNoColor, fsNone}},
    {C::xpcSchemaType, {0x267F99, kNoColor, fsItalic}, {0x4EC9B0, kNoColor, fsItalic}},
    {C::xpcSlash, {0x404040, kNoColor, fsBold}, {0xD4D4D4, kNoColor, fsBold}},
    {C::xpcString, {0xA31515, kNoColor, fsNone}, {0xCE9178, kNoColor, fsNone}},
    {C::xpcSymbol, {0x404040, kNoColor, fsNone}, {0xD4D4D4, kNoColor, fsNone}},
    {C::xpcVariable, {0x008080, kNoColor, fsNone}, {0x4FC1FF, kNoColor, fsNone}},
};
static_assert(std::size(kDefaults) == kXPathColoringCategoryCount);

constexpr C kByType[] = {
    C::xpcAVTText,       // xtAVT
    C::xpcAxis,          // xtAxis
    C::xpcBracket,       // xtBracket
    C::xpcConstructor,   // xtConstructor
    C::xpcContextItem,   // xtContextItem
    C::xpcError,         // xtError
    C::xpcFunctionCall,  // xtFunctionCall
    C::xpcItemType,      // xtItemType
    C::xpcKeySpecifier,  // xtKeySpecifier
    C::xpcKeyword,       // xtKeyword
    C::xpcNameTest,      // xtNameTest
    C::xpcNameTest,      // xtNameTestNoScope
    C::xpcNumber,        // xtNumber
    C::xpcOccurrence,    // xtOccurrence
    C::xpcOperator,      // xtOperator
    C::xpcSchemaType,    // xtSchemaAtomicOrUnionType
    C::xpcSchemaType,    // xtSchemaSimpleTypeName
    C::xpcSchemaType,    // xtSchemaTypeName
    C::xpcSlash,         // xtSlash
    C::xpcString,        // xtString
    C::xpcSymbol,        // xtSymbol
    C::xpcVariable,      // xtVariable
    C::xpcVariable,      // xtVariableRef
};
static_assert(std::size(kByType) == kXPath31TokenTypeCount);

}  // namespace

TyXPathColoringCategory XPathColoringCategoryOf(TyXPath31TokenType Type) {
  return size_t(Type) < std::size(kByType) ? kByType[Type] : C::xpcError;
}

CyXPathColoring CyXPathColoring::DefaultLight() {
  CyXPathColoring scheme;
  scheme.SetDefaults(kDefaults, false);
  return scheme;
}

CyXPathColoring CyXPathColoring::DefaultDark() {
  CyXPathColoring scheme;
  scheme.SetDefaults(kDefaults, true);
  return scheme;
}

std::string_view CyXPathColoring::getCategoryName(TyXPathColoringCategory Category) {
  return NameOf(kNames, Category);
}

bool CyXPathColoring::FindCategory(std::string_view Name, TyXPathColoringCategory& Category) {
  return Find(kNames, Name, Category);
}

}  // namespace xylem
