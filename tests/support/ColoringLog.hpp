#pragma once
// A log of the XML line colouring of every line, for comparing its fast path with the
// tokenizer (tests and the fuzz target).

#include <string>

#include "support/WellFormedTestSupport.hpp"
#include "xml/lines/LineColoring.hpp"

namespace xylem::test {

// "line:position+count category" for every token of every line of Utf8, coloured from the
// stored line states with the fast path on or off.
inline std::string ColoringLog(const std::string& Utf8, bool FastPath) {
  static const CyXMLColoring scheme;
  const std::unique_ptr<TxTextList> list = LinesWithStates(Utf8);
  CyXMLLineColoring coloring(list->getTextItems(), scheme);
  coloring.setFastPath(FastPath);
  std::string log;
  for (int64_t line = 1; line <= list->getCount(); ++line)
    for (coloring.FirstLine(line); !coloring.IsDone(); coloring.Next())
      log += std::to_string(line) + ":" + std::to_string(coloring.ItemLinepos()) + "+" +
             std::to_string(coloring.ItemTextCount()) + " " +
             std::to_string(static_cast<int>(coloring.ItemCategory())) + "\n";
  return log;
}

}  // namespace xylem::test
