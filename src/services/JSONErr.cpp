#include "services/JSONErr.hpp"

#include "json/Exception.hpp"

namespace xylem {

IyXMLErrPtr MakeJSONErr(const JSONException& Error, const std::u16string& URL) {
  return std::make_shared<CyXMLErr>(nullptr, URL, static_cast<int32_t>(Error.Line),
                                    static_cast<int32_t>(Error.Linepos), Error.Reason, u"", u"",
                                    TyReasonParameters{}, TyXMLErrSeverity::errError);
}

}  // namespace xylem
