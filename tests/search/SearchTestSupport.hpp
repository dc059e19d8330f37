#pragma once
// Small helpers shared by the search tests: running a whole replace pass over a string.

#include <cstdint>
#include <string>
#include <vector>

#include "search/Replacer.hpp"

namespace xylem::test {

struct TyPassResult {
  bool Replaced = false;
  std::u16string Text;
  std::vector<int64_t> Markers;
  int64_t Delta = 0;
  int64_t MaxDelta = 0;
  int64_t Count = 0;
};

// One FIFO pass of Replacer over [From, To) of Text, with Markers.
inline TyPassResult RunPass(CyReplacer& Replacer, const std::u16string& Text, int64_t From,
                            int64_t To, std::vector<int64_t> Markers = {}) {
  TyPassResult result;
  CyFIFOUTF16 fifo;
  result.Replaced = Replacer.Replace(Text.data(), static_cast<int64_t>(Text.size()), From, To,
                                     Markers, fifo, result.Delta, result.MaxDelta, result.Count);
  result.Text = fifo.ReadAll();
  result.Markers = Markers;
  return result;
}

inline TyPassResult RunAll(CyReplacer& Replacer, const std::u16string& Text,
                           std::vector<int64_t> Markers = {}) {
  return RunPass(Replacer, Text, 0, static_cast<int64_t>(Text.size()), std::move(Markers));
}

}  // namespace xylem::test
