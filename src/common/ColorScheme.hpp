#pragma once
// What every colouring scheme (XML, XPath, JSON) shares: one colour entry per category of an
// enumeration whose values run from 0 to Count - 1, defaults for light and dark views, and the
// look-ups between categories and their display names (which front ends turn into style-class
// names). A scheme derives from CyColorScheme and supplies its tables.

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "common/Color.hpp"

namespace xylem {

// A category's colours on a light and on a dark view background.
template <typename Category>
struct TyColorDefault {
  Category Which;
  TyColorItem Light;
  TyColorItem Dark;
};

template <typename Category, size_t Count>
class CyColorScheme {
 public:
  using TyCategory = Category;
  static constexpr size_t kCategoryCount = Count;

  const TyColorItem& getItem(Category Which) const { return Items_[static_cast<size_t>(Which)]; }
  void setItem(Category Which, const TyColorItem& Item) {
    Items_[static_cast<size_t>(Which)] = Item;
  }

 protected:
  // Every category of Defaults set to its light or dark colours.
  void SetDefaults(std::span<const TyColorDefault<Category>> Defaults, bool Dark) {
    for (const TyColorDefault<Category>& d : Defaults) setItem(d.Which, Dark ? d.Dark : d.Light);
  }
  // The display name of Which in Names (in the enumeration's order); empty when out of range.
  static std::string_view NameOf(std::span<const std::string_view, Count> Names, Category Which) {
    const auto index = static_cast<size_t>(Which);
    return index < Count ? Names[index] : std::string_view();
  }
  // The category named Name; false for an unknown name. Linear in Count.
  static bool Find(std::span<const std::string_view, Count> Names, std::string_view Name,
                   Category& Which) {
    for (size_t i = 0; i < Count; ++i) {
      if (Names[i] != Name) continue;
      Which = static_cast<Category>(i);
      return true;
    }
    return false;
  }

 private:
  std::array<TyColorItem, Count> Items_{};
};

}  // namespace xylem
