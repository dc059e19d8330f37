// Any input our reader accepts formats without a crash, the result is accepted again, and
// formatting it a second time changes nothing, under the option sets picked by the first two
// bytes; formatting without a tree, in one pass and in parts, gives the same text, and the
// same refusal for inputs the reader refuses.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "common/Utf.hpp"
#include "text/TextFileWriter.hpp"
#include "xml/format/Formatter.hpp"

namespace {

// The streamed result as UTF-8 with CR LF, or "refused L:P".
std::string Streamed(const std::u16string& Text, const xylem::TyXMLFormatterChoices& Choices,
                     int Pieces) {
  using namespace xylem;
  TxTextList list;
  list.LoadFromText__PARALLEL__(Text, 1);
  const TyTextFileFormat format;
  std::string bytes;
  CyTextFileWriter file(bytes, format);
  try {
    CyXMLFormatter::FormatToFile__PARALLEL__(list, file, format, Choices, Pieces, 1);
  } catch (const CyXMLFormatException& error) {
    file.Commit();
    if (!bytes.empty()) std::abort();  // written before the refusal
    return "refused " + std::to_string(error.Line) + ":" + std::to_string(error.Linepos);
  }
  file.Commit();
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace xylem;
  if (size < 2) return 0;
  TyXMLFormatterChoices choices;
  choices.XMLFormattingOptions = TyXMLFormattingOptions::FromBits(data[0] & 31u);
  choices.XMLLayoutOptions = TyXMLLayoutOptions::FromBits(data[1] & 31u);
  choices.WordsP = u"pre|xsl:text";
  choices.WordsD = u"fmt";
  std::u16string text(size, u'\0');
  text.resize(DecodeUTF8(data + 2, data + size, text.data()).Written);
  if (text.find(u'\0') != std::u16string::npos) return 0;  // the text list refuses binary text
  std::u16string once;
  try {
    once = CyXMLFormatter::FormatText(text, u"", choices);
  } catch (const CyXMLFormatException& error) {
    const std::string refused =
        "refused " + std::to_string(error.Line) + ":" + std::to_string(error.Linepos);
    if (Streamed(text, choices, 1) != refused || Streamed(text, choices, 3) != refused)
      std::abort();
    return 0;
  }
  const std::string expected = ToUTF8(once);
  if (Streamed(text, choices, 1) != expected || Streamed(text, choices, 3) != expected)
    std::abort();
  try {
    if (CyXMLFormatter::FormatText(once, u"", choices) != once) std::abort();
  } catch (const CyXMLFormatException&) {
    std::abort();  // the formatter's own output must be accepted
  }
  return 0;
}
