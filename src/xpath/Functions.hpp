#pragma once
// The XPath 3.1 function library (fn, math, map, array) as completion needs it: each function's
// name as written with its customary prefix and its signatures.

#include <span>
#include <string_view>

namespace xylem {

struct TyXPathFunction {
  std::string_view Name;       // "fn" functions unprefixed, the others with math:, map:, array:
  std::string_view Signature;  // "(\$arg as xs:string?) as xs:string", overloads joined by " | "
};

// Ordered by name.
std::span<const TyXPathFunction> XPathFunctionLibrary();

}  // namespace xylem
