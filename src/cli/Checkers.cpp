#include "cli/Checkers.hpp"

#include "cli/JSONInput.hpp"

#include "json/Exception.hpp"
#include "json/Listener.hpp"
#include "json/Memory.hpp"
#include "json/Parser.hpp"
#include "json/Scanner.hpp"
#include "xml/ErrRecord.hpp"
#include "xml/WellFormed.hpp"
#include "xpath/CheckerWithCache.hpp"
#include "xpath/XSLTCheck.hpp"

namespace xylem::cli {

namespace {

IyXMLErrsPtr errorsOf(std::vector<IyXMLErrPtr> Errors) {
  return std::make_shared<CyXMLErrs>(u"", std::move(Errors));
}

}  // namespace

IyXMLErrsPtr CheckXML(TyInputFile& Input) {
  // One pass over the text computes the line states and checks.
  int64_t totalDelta = 0;
  return CyXMLWellFormed::StoreLineStatesAndCheck_PARALLEL(Input.List, totalDelta);
}

IyXMLErrsPtr CheckXSLT(const TyInputFile& Input) {
  // One cache for the whole run: stylesheets repeat the same expressions.
  static CyXPath31CheckerWithCache cache;
  return CheckXSLTStylesheet(Input.List, u"", cache);
}

IyXMLErrsPtr CheckJSON(const TyInputFile& Input) {
  // Joined with the document's newline, so the scanner's lines and columns are the list's.
  const std::shared_ptr<const CyJSONMemory> memory = JSONMemoryOf(Input);
  try {
    CyJSONScanner scanner(*memory);
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
