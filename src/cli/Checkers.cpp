#include "cli/Checkers.hpp"

#include "json/Exception.hpp"
#include "json/Listener.hpp"
#include "json/Memory.hpp"
#include "json/Parser.hpp"
#include "json/Scanner.hpp"
#include "xml/ErrRecord.hpp"

namespace xylem::cli {

namespace {

IyXMLErrsPtr errorsOf(std::vector<IyXMLErrPtr> Errors) {
  return std::make_shared<CyXMLErrs>(u"", std::move(Errors));
}

}  // namespace

IyXMLErrsPtr CheckJSON(const TyInputFile& Input) {
  // Joined with the document's newline, so the scanner's lines and columns are the list's.
  const CyJSONMemory memory = CyJSONMemory::FromString(
      Input.List.getTextItems().getJoined(Input.Format.Newline, 1, Input.List.getCount()));
  try {
    CyJSONScanner scanner(memory);
    CyJSONParserListenerNIL listener;
    CyJSONParser(scanner, listener).Parse();
    return errorsOf({});
  } catch (const JSONException& error) {
    return errorsOf({std::make_shared<CyXMLErr>(
        nullptr, u"", static_cast<int32_t>(error.Line), static_cast<int32_t>(error.Linepos),
        error.Reason, u"", u"", TyReasonParameters{}, TyXMLErrSeverity::errError)});
  }
}

}  // namespace xylem::cli
