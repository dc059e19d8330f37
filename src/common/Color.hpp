#pragma once
// The colour entry every colouring scheme (XML, XPath, JSON) is made of.

#include <cstdint>

namespace xylem {

// The no-colour value: the view's default colour.
inline constexpr uint32_t kNoColor = 0x1FFFFFFF;

// Font styles, combined as bits.
enum TyFontStyle : uint8_t { fsNone = 0, fsBold = 1, fsItalic = 2, fsUnderline = 4 };

// One category's colours: 0x00RRGGBB or kNoColor, and TyFontStyle bits.
struct TyColorItem {
  uint32_t Foreground = kNoColor;
  uint32_t Background = kNoColor;
  uint8_t Styles = fsNone;
  bool operator==(const TyColorItem&) const = default;
};

}  // namespace xylem
