#pragma once
// CyXPathColoring: the colour scheme named "XPath" for XPath text embedded in XML attribute
// values (and the XPath tool window): one colour entry per token class worth telling apart.

#include <array>
#include <cstdint>
#include <string_view>

#include "common/ColorScheme.hpp"
#include "xpath/Token.hpp"

namespace xylem {

// (value, display name) of each category, in the scheme's order.
#define XYLEM_XPATH_COLORING_CATEGORIES(X) \
  X(xpcText, "Text")                       \
  X(xpcAVTText, "AVT text")                \
  X(xpcAxis, "Axis")                       \
  X(xpcBracket, "Bracket")                 \
  X(xpcConstructor, "Constructor")         \
  X(xpcContextItem, "Context item")        \
  X(xpcError, "Error")                     \
  X(xpcFunctionCall, "Function call")      \
  X(xpcItemType, "Item type")              \
  X(xpcKeySpecifier, "Key specifier")      \
  X(xpcKeyword, "Keyword")                 \
  X(xpcNameTest, "Name test")              \
  X(xpcNumber, "Number")                   \
  X(xpcOccurrence, "Occurrence indicator") \
  X(xpcOperator, "Operator")               \
  X(xpcSchemaType, "Schema type")          \
  X(xpcSlash, "Slash")                     \
  X(xpcString, "String")                   \
  X(xpcSymbol, "Symbol")                   \
  X(xpcVariable, "Variable")

enum class TyXPathColoringCategory : uint8_t {
#define XYLEM_X(Value, Name) Value,
  XYLEM_XPATH_COLORING_CATEGORIES(XYLEM_X)
#undef XYLEM_X
};
inline constexpr size_t kXPathColoringCategoryCount = 20;

// The category of a token class (xtError maps to xpcError; the three schema type classes share
// one category, as do variable declarations and references).
TyXPathColoringCategory XPathColoringCategoryOf(TyXPath31TokenType Type);

// A plain value; copying is cheap. Backgrounds default to kNoColor (the view's default).
class CyXPathColoring : public CyColorScheme<TyXPathColoringCategory, kXPathColoringCategoryCount> {
 public:
  // Readable defaults for a light and for a dark view background.
  static CyXPathColoring DefaultLight();
  static CyXPathColoring DefaultDark();
  static std::string_view getName() { return "XPath"; }
  // Display name of a category; empty for a value out of range.
  static std::string_view getCategoryName(TyXPathColoringCategory Category);
  // The category of a display name; false when there is none.
  static bool FindCategory(std::string_view Name, TyXPathColoringCategory& Category);
};

}  // namespace xylem
