#pragma once
// Unicode simple case folding (CaseFolding.txt statuses C and S) for case-insensitive plain
// search. Simple folding maps one code point to one code point and never changes how many
// UTF-16 code units a character takes, so a folded text lines up unit by unit with the original.
// Full foldings (status F, such as "ß" to "ss") and the Turkic mappings (status T, such as
// U+0130) are deliberately not applied.

#include <cstdint>
#include <string>
#include <string_view>

namespace xylem {

class CyCaseFolding {
 public:
  // The simple case fold of a code point; the code point itself when it has none.
  static char32_t FoldCodePoint(char32_t Code);

  // The folded form of the code unit Text[Index], looking at Text[Index - 1] for a low surrogate
  // (every supplementary fold keeps its high surrogate). O(1), no allocation, thread-safe.
  static char16_t FoldUnitAt(const char16_t* Text, int64_t Index);

  // The fold of every BMP code unit (surrogates map to themselves), 65536 entries; for hot loops
  // that fold unit by unit. Built on first use; thread-safe.
  static const char16_t* getBMPTable();

  // Text folded code point by code point; same length as Text.
  static std::u16string Fold(std::u16string_view Text);
};

}  // namespace xylem
