// Arbitrary bytes through the JSON loader, the parser with the NIL listener and the formatter.
// Invariants: nothing crashes; the parser and the formatter agree on what parses; a document
// that parses formats to the same tokens, and formatting the result changes nothing.
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "json/Exception.hpp"
#include "json/Formatter.hpp"
#include "json/Memory.hpp"
#include "json/Parser.hpp"
#include "json/Scanner.hpp"

namespace {

void check(bool Condition) {
  if (!Condition) std::abort();
}

std::vector<std::pair<xylem::TyJSONToken, std::u16string>> significantTokens(
    const xylem::CyJSONMemory& Input) {
  std::vector<std::pair<xylem::TyJSONToken, std::u16string>> tokens;
  xylem::CyJSONScanner scanner(Input);
  for (scanner.Next(); !scanner.IsDone(); scanner.Next())
    if (scanner.Token() != xylem::jsonWhitespace)
      tokens.emplace_back(scanner.Token(), std::u16string(scanner.Head(), scanner.Tail()));
  return tokens;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  using namespace xylem;
  std::optional<CyJSONMemory> input;
  try {
    input.emplace(CyJSONMemory::FromBytes(Data, Size));
  } catch (const JSONException& error) {
    check(error.Line >= 1 && error.Linepos >= 1 && !error.Reason.empty());
    return 0;
  }
  bool parses = true;
  try {
    CyJSONScanner scanner(*input);
    CyJSONParserListenerNIL listener;
    CyJSONParser parser(scanner, listener);
    parser.Parse();
  } catch (const JSONException& error) {
    check(error.Line >= 1 && error.Linepos >= 1 && !error.Reason.empty());
    parses = false;
  }
  std::u16string once;
  try {
    once = CyJSONFormatter::Format(*input);
  } catch (const JSONException&) {
    check(!parses);
    return 0;
  }
  check(parses);
  const CyJSONMemory formatted = CyJSONMemory::FromString(once);
  check(significantTokens(formatted) == significantTokens(*input));
  check(CyJSONFormatter::Format(formatted) == once);
  return 0;
}
