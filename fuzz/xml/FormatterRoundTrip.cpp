// Any input our reader accepts formats without a crash, the result is accepted again, and
// formatting it a second time changes nothing, under the option sets picked by the first two
// bytes. Inputs the reader refuses as not well-formed are skipped.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "common/Utf.hpp"
#include "xml/Formatter.hpp"

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
  } catch (const CyXMLFormatException&) {
    return 0;
  }
  try {
    if (CyXMLFormatter::FormatText(once, u"", choices) != once) std::abort();
  } catch (const CyXMLFormatException&) {
    std::abort();  // the formatter's own output must be accepted
  }
  return 0;
}
