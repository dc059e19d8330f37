#pragma once
// Plain-text search over a UTF-16 buffer: exact or case-insensitive (Unicode simple case
// folding, see CaseFolding.hpp), optionally whole words only (see WordCharacters.hpp).

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace xylem {

class CyTextSearcher {
 public:
  // Prepares the search for SearchWhat. An empty SearchWhat finds nothing. O(length).
  CyTextSearcher(std::u16string_view SearchWhat, bool CaseSensitive, bool WholeWordOnly);

  // Finds the first occurrence that starts at or after Start and lies inside [0, Length) of Text;
  // with WholeWordOnly the units just before and just behind it (within [0, Length)) must not be
  // word characters; a match never cuts a surrogate pair. Sets MatchStart and MatchEnd
  // (offsets into Text). No allocation; the searcher is not changed, so one searcher may serve
  // several threads.
  bool FindNext(const char16_t* Text, int64_t Length, int64_t Start, int64_t& MatchStart,
                int64_t& MatchEnd) const;

  // Length of the search text in code units (case folding keeps lengths).
  int64_t getLength() const { return static_cast<int64_t>(Pattern_.size()); }

 private:
  template <bool Fold>
  bool Find(const char16_t* Text, int64_t Length, int64_t Start, int64_t& MatchStart) const;
  bool IsWholeWord(const char16_t* Text, int64_t Length, int64_t Start, int64_t End) const;

  std::u16string Pattern_;  // folded when the search ignores case
  bool CaseSensitive_;
  bool WholeWordOnly_;
  // Horspool shifts keyed by the low byte of a (folded) code unit; several units share a slot,
  // which only makes a shift shorter, never wrong.
  std::array<int32_t, 256> Shift_{};
};

}  // namespace xylem
