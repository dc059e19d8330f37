#include "diag/ErrLocation.hpp"

#include <string>

#include "common/Utf.hpp"

namespace xylem {

std::u16string IyXMLAddressWithText::ToString() const {
  std::u16string text;
  for (const TyXMLAddressStep& step : getSteps()) {
    text += u'/';
    if (step.IsText)
      text += u"text()";
    else if (step.Name.empty())
      text += u'*';
    else
      text += step.Name;
    text += u'[';
    text += ToUTF16(std::to_string(step.Index));
    text += u']';
  }
  return text;
}

int IyXMLLocation::CompareToObject(const IyXMLLocation& Other) const {
  if (const int byURL = getURL().compare(Other.getURL()); byURL != 0) return byURL < 0 ? -1 : 1;
  if (getLine() != Other.getLine()) return getLine() < Other.getLine() ? -1 : 1;
  if (getLinepos() != Other.getLinepos()) return getLinepos() < Other.getLinepos() ? -1 : 1;
  return 0;
}

CyXMLLocation::CyXMLLocation() = default;

CyXMLLocation::CyXMLLocation(std::u16string URL) : URL_(std::move(URL)) {}

CyXMLLocation::CyXMLLocation(std::u16string URL, int32_t Line, int32_t Linepos)
    : URL_(std::move(URL)), Line_(Line), Linepos_(Linepos) {}

CyXMLLocation::CyXMLLocation(std::u16string URL, int32_t Line, int32_t Linepos, int32_t Offset)
    : URL_(std::move(URL)), Line_(Line), Linepos_(Linepos), Offset_(Offset) {}

CyXMLLocation::CyXMLLocation(std::u16string URL, int32_t Line, int32_t Linepos, int32_t Line2,
                             int32_t Linepos2)
    : URL_(std::move(URL)), Line_(Line), Linepos_(Linepos), Line2_(Line2), Linepos2_(Linepos2) {}

CyXMLLocation::CyXMLLocation(std::u16string URL, int32_t Line, int32_t Linepos, int32_t Line2,
                             int32_t Linepos2, int32_t Offset)
    : URL_(std::move(URL)),
      Line_(Line),
      Linepos_(Linepos),
      Line2_(Line2),
      Linepos2_(Linepos2),
      Offset_(Offset) {}

CyXMLLocation::CyXMLLocation(std::u16string URL, IyXMLAddressWithTextPtr XMLAddressWithText)
    : URL_(std::move(URL)), Address_(std::move(XMLAddressWithText)) {}

CyXMLLocation::CyXMLLocation(std::u16string URL, std::u16string XPath)
    : URL_(std::move(URL)), XPath_(std::move(XPath)) {}

CyXMLLocation::CyXMLLocation(std::u16string URL, int32_t Line, int32_t Linepos,
                             IyXMLAddressWithTextPtr XMLAddressWithText)
    : URL_(std::move(URL)),
      Line_(Line),
      Linepos_(Linepos),
      Address_(std::move(XMLAddressWithText)) {}

CyXMLLocation::CyXMLLocation(std::u16string URL, int32_t Line, int32_t Linepos,
                             std::u16string XPath)
    : URL_(std::move(URL)), Line_(Line), Linepos_(Linepos), XPath_(std::move(XPath)) {}

CyXMLLocation::CyXMLLocation(std::u16string URL, int32_t Line, int32_t Linepos, int32_t Line2,
                             int32_t Linepos2, int32_t Offset,
                             IyXMLAddressWithTextPtr XMLAddressWithText, std::u16string XPath)
    : URL_(std::move(URL)),
      Line_(Line),
      Linepos_(Linepos),
      Line2_(Line2),
      Linepos2_(Linepos2),
      Offset_(Offset),
      Address_(std::move(XMLAddressWithText)),
      XPath_(std::move(XPath)) {}

}  // namespace xylem
