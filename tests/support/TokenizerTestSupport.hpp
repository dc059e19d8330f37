#pragma once
// Helpers shared by the tokenizer tests: collecting the delivered tokens of a text, scanning a
// text line by line while carrying the state words, and printing tokens compactly.

#include <cstdint>
#include <string>
#include <vector>

#include "xml/syntax/Tokenizer.hpp"

namespace xylem::test {

struct TyCollectedToken {
  int64_t Offset0 = 0;
  int64_t Offset1 = 0;
  unsigned GroupExtra = 0;
  unsigned Symbol = 0;
  std::u16string Text;
  int64_t Count() const { return Offset1 - Offset0; }
};

struct TyScanResult {
  std::vector<TyCollectedToken> Tokens;  // zero-length tokens dropped unless missing
  uint64_t G = 0;                        // state words after the text
  uint64_t S = 0;
  int32_t DeltaSum = 0;  // sum of the final DeltaNeg of each scanned piece
};

// Scans Text whole (First/Next with AtEnd) from the document-level state.
TyScanResult ScanWhole(const std::u16string& Text);

// Cuts Text after each line end (LF, CR LF, lone CR), keeping the line end in its line, and
// scans line by line through First/Next, carrying the two words; AtEnd on the last line only.
// Offsets are made global; tokens cut at a line boundary are joined again when group and
// symbol agree (the extra bits are OR-ed, as a whole scan raises them for the whole token).
TyScanResult ScanByLines(const std::u16string& Text);

// The lines of Text, each with its line end.
std::vector<std::u16string> SplitKeepingLineEnds(const std::u16string& Text);

// "GROUP SYMBOL `text`" per delivered token, one string per token (missing ones without text).
std::vector<std::string> Describe(const std::u16string& Text, bool AtEnd = true);

}  // namespace xylem::test
