#pragma once
// CyJSONColoring: the colour scheme named "JSON", one colour entry per token category, and
// CyJSONTokenColoring, which walks a text and tells the category of each stretch. Categories are
// looked up by their display names, which front ends also turn into style-class names.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "json/Exception.hpp"
#include "json/Scanner.hpp"
// The colour entry and font styles are the ones every scheme shares (header only).
#include "common/ColorScheme.hpp"

namespace xylem {

// (value, display name, getter suffix) of each category, in the scheme's order.
#define XYLEM_JSON_COLORING_CATEGORIES(X)      \
  X(jcKey, "Key", Key)                         \
  X(jcString, "String", String)                \
  X(jcNumber, "Number", Number)                \
  X(jcLiteral, "Literal", Literal)             \
  X(jcPunctuation, "Punctuation", Punctuation) \
  X(jcPlain, "Plain", Plain)                   \
  X(jcError, "Error", Error)

enum class TyJSONColoringCategory : uint8_t {
#define XYLEM_X(value, name, getter) value,
  XYLEM_JSON_COLORING_CATEGORIES(XYLEM_X)
#undef XYLEM_X
};

inline constexpr unsigned kJSONColoringCategoryCount = 7;

class CyJSONColoring : public CyColorScheme<TyJSONColoringCategory, kJSONColoringCategoryCount> {
 public:
  // The default light scheme, in the XML scheme's palette.
  CyJSONColoring();
  static CyJSONColoring DefaultLight() { return {}; }
  // A scheme for dark view backgrounds.
  static CyJSONColoring DefaultDark();

  // The scheme's name, "JSON".
  static std::string_view getName() { return "JSON"; }
  // The display name of a category, e.g. "Key"; empty for a value out of range.
  static std::string_view getCategoryName(TyJSONColoringCategory Category);
  // The category of a display name; false for an unknown name.
  static bool FindCategory(std::string_view Name, TyJSONColoringCategory& Category);

#define XYLEM_X(value, name, getter) \
  const TyColorItem& get##getter() const { return getItem(TyJSONColoringCategory::value); }
  XYLEM_JSON_COLORING_CATEGORIES(XYLEM_X)
#undef XYLEM_X
};

// Cuts a JSON text into stretches of one category each, in order and without gaps: every token
// (white space as jcPlain), a string told as jcKey when white space and ":" follow it. A
// scanning error does not end the walk: the failing token up to its line's end becomes jcError
// and the rest of the text one jcPlain stretch. Grammar errors (a missing comma) are not
// looked for. No allocation except on the error path. Not thread-safe; Data must outlive it.
class CyJSONTokenColoring {
 public:
  // Walks Data[0, Count); Data[Count] must be 0. Call Next for the first stretch.
  CyJSONTokenColoring(const char16_t* Data, size_t Count);

  // Moves to the next stretch; false once the text is done.
  bool Next();

  TyJSONColoringCategory Category() const { return Category_; }
  // The stretch [Head, Tail), never empty.
  const char16_t* Head() const { return Head_; }
  const char16_t* Tail() const { return Tail_; }
  // The scanning error met so far, if any.
  const std::optional<JSONException>& Error() const { return Error_; }

 private:
  enum TyState : uint8_t { stScanning, stAfterError, stDone };

  CyJSONScanner Scanner_;
  const char16_t* End_;
  TyState State_ = stScanning;
  TyJSONColoringCategory Category_ = TyJSONColoringCategory::jcPlain;
  const char16_t* Head_ = nullptr;
  const char16_t* Tail_ = nullptr;
  std::optional<JSONException> Error_;
};

}  // namespace xylem
