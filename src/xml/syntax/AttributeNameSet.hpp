#pragma once
// The attribute names of one start tag, for finding one given twice: a linear scan over the
// few attributes of a usual tag, a hash table beyond, so that n attributes cost O(n) at any n
// (200,000 on one element included). Memory is kept from tag to tag: after the first tags, no
// allocation. Not thread-safe; one per checker.

#include <cstdint>
#include <string_view>
#include <vector>

namespace xylem {

class CyAttributeNameSet {
 public:
  // Forgets the names (of the previous tag). Constant time.
  void Clear() {
    Names_.clear();
    ++Generation_;
    Hashed_ = false;
  }
  bool IsEmpty() const { return Names_.empty(); }
  // Adds Name, which must stay valid until Clear; false when it was already there.
  bool Insert(std::u16string_view Name) {
    if (!Hashed_) {
      for (std::u16string_view other : Names_)
        if (other == Name) return false;
      Names_.push_back(Name);
      if (Names_.size() > kLinear) rehash();
      return true;
    }
    const size_t mask = Table_.size() - 1;
    for (size_t slot = hash(Name) & mask;; slot = (slot + 1) & mask) {
      TySlot& entry = Table_[slot];
      if (entry.Generation != Generation_) {
        Names_.push_back(Name);
        entry = {Generation_, static_cast<uint32_t>(Names_.size() - 1)};
        if (Names_.size() * 2 > Table_.size()) rehash();
        return true;
      }
      if (Names_[entry.Index] == Name) return false;
    }
  }

 private:
  static constexpr size_t kLinear = 16;
  struct TySlot {
    uint32_t Generation = 0;  // a slot of an older generation is empty
    uint32_t Index = 0;       // into Names_
  };

  static size_t hash(std::u16string_view Name) {
    uint64_t h = 1469598103934665603ull;  // FNV-1a over the units
    for (char16_t unit : Name) h = (h ^ unit) * 1099511628211ull;
    return static_cast<size_t>(h ^ (h >> 29));
  }
  // Builds the table (at most half full) from Names_.
  void rehash() {
    size_t size = Table_.size() < 64 ? 64 : Table_.size();
    while (size < Names_.size() * 4) size *= 2;
    if (size != Table_.size()) Table_.assign(size, {});
    if (++Generation_ == 0) {  // wrapped: old stamps could look current
      Table_.assign(size, {});
      Generation_ = 1;
    }
    const size_t mask = size - 1;
    for (size_t i = 0; i < Names_.size(); ++i) {
      size_t slot = hash(Names_[i]) & mask;
      while (Table_[slot].Generation == Generation_) slot = (slot + 1) & mask;
      Table_[slot] = {Generation_, static_cast<uint32_t>(i)};
    }
    Hashed_ = true;
  }

  std::vector<std::u16string_view> Names_;
  std::vector<TySlot> Table_;
  uint32_t Generation_ = 1;
  bool Hashed_ = false;
};

}  // namespace xylem
