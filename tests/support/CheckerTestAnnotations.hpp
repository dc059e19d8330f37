#pragma once
// Annotated test inputs: each '^' in a text marks the character after it (the mark itself is
// removed); lines are separated by '\n'.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace xylem::test {

struct TyAnnotated {
  std::u16string Text;                              // without the marks
  std::vector<std::pair<int32_t, int32_t>> Points;  // 1-based (line, position) of each mark
};

inline TyAnnotated Annotate(std::u16string_view Marked) {
  TyAnnotated Out;
  int32_t Line = 1, Linepos = 1;
  for (char16_t C : Marked) {
    if (C == u'^') {
      Out.Points.emplace_back(Line, Linepos);
      continue;
    }
    Out.Text += C;
    if (C == u'\n') {
      ++Line;
      Linepos = 1;
    } else {
      ++Linepos;
    }
  }
  return Out;
}

}  // namespace xylem::test
