#include "search/TextSearcher.hpp"

#include "search/CaseFolding.hpp"
#include "search/WordCharacters.hpp"

namespace xylem {

CyTextSearcher::CyTextSearcher(std::u16string_view SearchWhat, bool CaseSensitive,
                               bool WholeWordOnly)
    : Pattern_(CaseSensitive ? std::u16string(SearchWhat) : CyCaseFolding::Fold(SearchWhat)),
      CaseSensitive_(CaseSensitive),
      WholeWordOnly_(WholeWordOnly) {
  const int32_t length = static_cast<int32_t>(Pattern_.size());
  Shift_.fill(length);
  for (int32_t i = 0; i + 1 < length; ++i) Shift_[Pattern_[i] & 0xFF] = length - 1 - i;
}

template <bool Fold>
bool CyTextSearcher::Find(const char16_t* Text, int64_t Length, int64_t Start,
                          int64_t& MatchStart) const {
  const int64_t length = static_cast<int64_t>(Pattern_.size());
  const char16_t* pattern = Pattern_.data();
  const char16_t last = pattern[length - 1];
  const char16_t* folds = Fold ? CyCaseFolding::getBMPTable() : nullptr;
  // A low surrogate folds by its pair, so folding needs the unit before it; FoldUnitAt handles
  // that rare case and the table the rest.
  auto unitAt = [&](int64_t index) -> char16_t {
    if constexpr (!Fold) {
      return Text[index];
    } else {
      const char16_t unit = Text[index];
      return (unit & 0xFC00) == 0xDC00 ? CyCaseFolding::FoldUnitAt(Text, index) : folds[unit];
    }
  };
  for (int64_t end = Start + length - 1; end < Length;) {
    const char16_t unit = unitAt(end);
    if (unit == last) {
      int64_t i = length - 2;
      while (i >= 0 && unitAt(end - (length - 1) + i) == pattern[i]) --i;
      if (i < 0) {
        MatchStart = end - (length - 1);
        return true;
      }
    }
    end += Shift_[unit & 0xFF];
  }
  return false;
}

namespace {

// True when a match boundary at Index would cut a surrogate pair in two.
bool SplitsPair(const char16_t* Text, int64_t Length, int64_t Index) {
  return Index > 0 && Index < Length && (Text[Index - 1] & 0xFC00) == 0xD800 &&
         (Text[Index] & 0xFC00) == 0xDC00;
}

}  // namespace

bool CyTextSearcher::IsWholeWord(const char16_t* Text, int64_t Length, int64_t Start,
                                 int64_t End) const {
  return (Start == 0 || !IsWordCharacter(Text[Start - 1])) &&
         (End == Length || !IsWordCharacter(Text[End]));
}

bool CyTextSearcher::FindNext(const char16_t* Text, int64_t Length, int64_t Start,
                              int64_t& MatchStart, int64_t& MatchEnd) const {
  if (Pattern_.empty() || Start < 0) return false;
  const int64_t length = static_cast<int64_t>(Pattern_.size());
  for (int64_t from = Start;;) {
    int64_t start = 0;
    if (!(CaseSensitive_ ? Find<false>(Text, Length, from, start)
                         : Find<true>(Text, Length, from, start)))
      return false;
    if (!SplitsPair(Text, Length, start) && !SplitsPair(Text, Length, start + length) &&
        (!WholeWordOnly_ || IsWholeWord(Text, Length, start, start + length))) {
      MatchStart = start;
      MatchEnd = start + length;
      return true;
    }
    from = start + 1;
  }
}

}  // namespace xylem
