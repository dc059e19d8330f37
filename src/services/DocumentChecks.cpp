#include "services/DocumentChecks.hpp"

#include "json/Exception.hpp"
#include "json/Listener.hpp"
#include "json/Memory.hpp"
#include "json/Parser.hpp"
#include "json/Scanner.hpp"
#include "services/JSONErr.hpp"
#include "text/TextList.hpp"
#include "xml/check/WellFormed.hpp"
#include "xslt/XSLTCheck.hpp"

namespace xylem {

namespace {

IyXMLErrsPtr errorsOf(std::vector<IyXMLErrPtr> Errors) {
  return std::make_shared<CyXMLErrs>(u"", std::move(Errors));
}

}  // namespace

IyXMLErrsPtr CheckXMLDocument(TxTextList& List, int64_t& TotalDelta, const TyJobContext& Job) {
  // One pass over the text computes the line states and checks.
  return CyXMLWellFormed::StoreLineStatesAndCheck_PARALLEL(List, TotalDelta, 0, Job);
}

IyXMLErrsPtr CheckXSLTDocument(const TxTextList& List, CyXPathCheckerCachePool& Caches) {
  // Stylesheets repeat the same expressions, so the cache outlives one document.
  CyXPathCheckerCachePool::CyLease cache = Caches.Acquire();
  return CheckXSLTStylesheet(List, u"", *cache);
}

IyXMLErrsPtr CheckJSONDocument(const CyJSONMemory& Text) {
  try {
    CyJSONScanner scanner(Text);
    CyJSONParserListenerNIL listener;
    CyJSONParser(scanner, listener).Parse();
    return errorsOf({});
  } catch (const JSONException& error) {
    return errorsOf({MakeJSONErr(error)});
  }
}

bool HasErrors(const IyXMLErrsPtr& Errs) {
  for (int32_t i = 0; i < Errs->getCount(); ++i)
    if (XMLErrLevelOf(Errs->getXMLErr(i)->getSeverity()) == TyXMLErrLevel::elError) return true;
  return false;
}

}  // namespace xylem
