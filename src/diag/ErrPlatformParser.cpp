#include "diag/ErrPlatformParser.hpp"

#include <cstdio>
#include <string>

#include "common/Utf.hpp"

namespace xylem {

namespace {

constexpr char16_t kNewline[] = u"\r\n";

std::u16string Number(int32_t Value) { return ToUTF16(std::to_string(Value)); }

// The code as the platform shows HRESULTs: its 32 bits in eight hexadecimal digits.
std::u16string Code(int32_t Value) {
  char digits[16];
  std::snprintf(digits, sizeof digits, "0x%.8X",
                static_cast<unsigned>(static_cast<uint32_t>(Value)));
  return ToUTF16(digits);
}

void AppendItem(std::u16string& Text, int Depth, const char16_t* Label,
                const std::u16string& Value) {
  if (!Text.empty()) Text += kNewline;
  Text.append(static_cast<size_t>(Depth), u'\t');
  Text += Label;
  Text += u": ";
  Text += Value;
}

}  // namespace

CyXMLError::CyXMLError(std::u16string URL, int32_t Line, int32_t Linepos, std::u16string Reason,
                       int32_t ReasonCode, IyXMLAddressWithTextPtr XMLAddressWithText,
                       std::u16string XPath,
                       std::vector<std::shared_ptr<const CyXMLError>> MSXMLErrors)
    : URL_(std::move(URL)),
      Line_(Line),
      Linepos_(Linepos),
      Reason_(std::move(Reason)),
      ReasonCode_(ReasonCode),
      Address_(std::move(XMLAddressWithText)),
      XPath_(std::move(XPath)),
      Nested_(std::move(MSXMLErrors)) {}

std::u16string CyXMLError::ShortDisplayMessage() const {
  std::u16string text;
  if (Line_ > 0 && Linepos_ > 0)
    text += u"Line " + Number(Line_) + u" Column " + Number(Linepos_) + kNewline;
  if (ReasonCode_ != kNoReasonCode) text += Code(ReasonCode_) + u" - ";
  text += Reason_;
  return text;
}

std::u16string CyXMLError::LongDisplayMessage() const {
  std::u16string text;
  AppendLong(text, 0);
  return text;
}

void CyXMLError::AppendLong(std::u16string& Text, int Depth) const {
  AppendItem(Text, Depth, u"Reason", Reason_);
  if (ReasonCode_ != kNoReasonCode) AppendItem(Text, Depth, u"Code", Code(ReasonCode_));
  if (!URL_.empty()) AppendItem(Text, Depth, u"URL", URL_);
  if (Line_ > 0) AppendItem(Text, Depth, u"Line", Number(Line_));
  if (Linepos_ > 0) AppendItem(Text, Depth, u"Column", Number(Linepos_));
  if (!XPath_.empty()) AppendItem(Text, Depth, u"XPath", XPath_);
  if (Address_ && !Address_->getSteps().empty())
    AppendItem(Text, Depth, u"Address", Address_->ToString());
  int index = 0;
  for (const std::shared_ptr<const CyXMLError>& nested : Nested_) {
    if (!nested) continue;
    if (!Text.empty()) Text += kNewline;
    Text.append(static_cast<size_t>(Depth), u'\t');
    Text += u"Error " + Number(++index) + u":";
    nested->AppendLong(Text, Depth + 1);
  }
}

}  // namespace xylem
