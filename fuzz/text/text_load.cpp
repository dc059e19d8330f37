// Encoding detection and loading from arbitrary bytes: the first byte picks the file name (so
// the DTD rules and binary extensions are reached) and the piece count; the list must either
// load consistently or refuse with the program's error, never crash.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "common/Exception.hpp"
#include "text/TextFile.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  using namespace xylem;
  if (Size == 0) return 0;
  static const char* const kNames[] = {"a.xml", "a.dtd", "a.png", "a.txt"};
  const uint8_t control = Data[0];
  const std::string_view bytes(reinterpret_cast<const char*>(Data + 1), Size - 1);
  TxTextList list;
  list.setOnCreateUniqueID(CreateProcessUniqueIDs);
  list.LoadFromText__PARALLEL__(u"before");
  TyTextFileLoadOptions options;
  options.PieceCount = 1 + control % 4;
  try {
    const TyTextFileFormat format = LoadTextBytes(bytes, kNames[(control >> 2) % 4], list, options);
    if (list.getCount() < 1) std::abort();
    // Offsets over the whole text map back to themselves at both ends.
    const int64_t length = static_cast<int64_t>(
        list.getTextItems().getJoined(format.Newline, 1, list.getCount()).size());
    int64_t line = 0, linepos = 0;
    list.ConvertOffsetToLineLinepos(format.Newline, length, line, linepos);
    if (list.ConvertLineLineposToOffset(format.Newline, line, linepos) != length) std::abort();
    // What was loaded can be written back in its own encoding unless a character is missing
    // from a legacy code page.
    try {
      EncodeTextList(list, format);
    } catch (const CyException& error) {
      if (error.getCode() != kErrorUnrepresentable) std::abort();
    }
  } catch (const CyException& error) {
    if (error.getCode() == CyShouldNeverHappenException::kCode) std::abort();
    if (list.getText() != u"before") std::abort();  // a refused load keeps the list
  }
  return 0;
}
