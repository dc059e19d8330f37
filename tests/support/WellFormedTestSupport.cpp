#include "support/WellFormedTestSupport.hpp"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include "common/Utf.hpp"
#include "xml/check/WellFormed.hpp"

namespace xylem::test {

std::unique_ptr<TxTextList> LinesWithStates(const std::string& Utf8) {
  auto list = std::make_unique<TxTextList>();
  list->LoadFromText__PARALLEL__(ToUTF16(Utf8), 1);
  CyXMLWellFormed::StoreLineStates_NOT_PARALLEL(*list);
  return list;
}

namespace {

void KeepFirstFatal(void* User, xmlErrorPtr Error) {
  auto* verdict = static_cast<TyLibXml2Verdict*>(User);
  if (Error && Error->level == XML_ERR_FATAL && verdict->FirstErrorLine == 0)
    verdict->FirstErrorLine = Error->line > 0 ? Error->line : 1;
}

}  // namespace

TyLibXml2Verdict LibXml2Verdict(const std::string& Utf8) {
  TyLibXml2Verdict verdict;
  xmlParserCtxtPtr context = xmlNewParserCtxt();
  xmlSetStructuredErrorFunc(&verdict, KeepFirstFatal);
  xmlDocPtr doc = xmlCtxtReadMemory(context, Utf8.data(), static_cast<int>(Utf8.size()), "doc.xml",
                                    "UTF-8", XML_PARSE_NONET);
  verdict.WellFormed = context->wellFormed != 0 && doc != nullptr;
  xmlSetStructuredErrorFunc(nullptr, nullptr);
  if (doc) xmlFreeDoc(doc);
  xmlFreeParserCtxt(context);
  if (verdict.WellFormed) verdict.FirstErrorLine = 0;
  return verdict;
}

}  // namespace xylem::test
