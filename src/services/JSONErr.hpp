#pragma once
// The JSON parser's exception as an error record, so JSON errors travel through the same lists,
// views and reports as every other checker's.

#include "diag/ErrRecord.hpp"

namespace xylem {

class JSONException;

// An error record at the exception's line and position, with its reason as the message.
IyXMLErrPtr MakeJSONErr(const JSONException& Error, const std::u16string& URL = u"");

}  // namespace xylem
