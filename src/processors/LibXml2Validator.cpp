#include "processors/LibXml2Validator.hpp"

#include <libxml/parser.h>
#include <libxml/relaxng.h>
#include <libxml/schematron.h>
#include <libxml/tree.h>
#include <libxml/valid.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlschemas.h>

#include <fstream>
#include <memory>
#include <sstream>

#include "common/Utf.hpp"
#include "processors/ErrPlacement.hpp"
#include "processors/LibXml2Loader.hpp"
#include "processors/ProcessorInfos.hpp"

namespace xylem {

namespace {

constexpr int kParseOptions = XML_PARSE_NONET | XML_PARSE_BIG_LINES | XML_PARSE_DTDLOAD |
                              XML_PARSE_DTDATTR | XML_PARSE_NOENT | XML_PARSE_NOWARNING;

const char* domainName(int Domain) {
  switch (Domain) {
    case XML_FROM_PARSER:
      return "parser";
    case XML_FROM_NAMESPACE:
      return "namespace";
    case XML_FROM_DTD:
      return "dtd";
    case XML_FROM_VALID:
      return "valid";
    case XML_FROM_IO:
      return "io";
    case XML_FROM_SCHEMASP:
      return "schemasp";
    case XML_FROM_SCHEMASV:
      return "schemasv";
    case XML_FROM_RELAXNGP:
      return "relaxngp";
    case XML_FROM_RELAXNGV:
      return "relaxngv";
    case XML_FROM_SCHEMATRONV:
      return "schematronv";
    case XML_FROM_CATALOG:
      return "catalog";
    default:
      return "libxml2";
  }
}

// Gathers libxml2's structured errors of one validation (one per thread at a time).
struct TyCollector {
  std::string DocumentURL;  // errors in this file get an empty URL (the document itself)
  TyLibXml2LoadPolicy* Policy = nullptr;
  int32_t MaxErrors = 1000;
  int32_t Dropped = 0;
  bool SawError = false;
  std::vector<IyXMLErrPtr> Errs;
  // Errors known by node but not by column, placed after the run.
  std::vector<TyStartTagHint> Hints;
  std::vector<size_t> HintedErrs;
};

std::string trimmed(const char* Message) {
  std::string text = Message ? Message : "";
  while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
  return text;
}

bool isSameFile(const std::string& A, const std::string& B) {
  return !A.empty() && LocalPathOf(A) == LocalPathOf(B);
}

void collect(void* Data, xmlErrorPtr Error) {
  auto& collector = *static_cast<TyCollector*>(Data);
  if (!Error || Error->level == XML_ERR_NONE) return;
  const TyXMLErrSeverity severity = Error->level == XML_ERR_WARNING ? TyXMLErrSeverity::errWarning
                                    : Error->level == XML_ERR_FATAL ? TyXMLErrSeverity::errFatal
                                                                    : TyXMLErrSeverity::errError;
  if (severity != TyXMLErrSeverity::errWarning) collector.SawError = true;
  if (static_cast<int32_t>(collector.Errs.size()) >= collector.MaxErrors) {
    ++collector.Dropped;
    return;
  }
  std::string message = trimmed(Error->message);
  // A load our policy refused: say why rather than libxml2's "failed to load".
  if (collector.Policy) {
    for (const auto& [reference, refusal] : collector.Policy->Refusals)
      if (!reference.empty() && message.find(reference) != std::string::npos) message = refusal;
  }
  auto* node = static_cast<xmlNodePtr>(Error->node);
  int32_t line = Error->line;
  if (node && (node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE)) {
    const xmlNodePtr element = node->type == XML_ATTRIBUTE_NODE ? node->parent : node;
    if (element) line = static_cast<int32_t>(xmlGetLineNo(element));
  }
  const int32_t column = Error->int2 > 0 ? Error->int2 : -1;
  const std::string file = Error->file ? Error->file : "";
  const bool inDocument = file.empty() || isSameFile(file, collector.DocumentURL);
  std::u16string url = inDocument ? u"" : ToUTF16(LocalPathOf(file));
  TyReasonParameters parameters{ToUTF16(domainName(Error->domain))};
  for (const char* extra : {Error->str1, Error->str2, Error->str3})
    if (extra) parameters.push_back(ToUTF16(extra));
  const std::u16string id =
      ToUTF16(std::string(domainName(Error->domain)) + "." + std::to_string(Error->code));
  collector.Errs.push_back(std::make_shared<CyXMLErr>(
      LibXml2ProcessorInfo(), std::move(url), line > 0 ? line : -1, column, ToUTF16(message), u"",
      id, std::move(parameters), severity));
  if (column < 0 && node && inDocument &&
      (node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE)) {
    TyStartTagHint hint;
    hint.Line = line;
    const xmlNodePtr element = node->type == XML_ATTRIBUTE_NODE ? node->parent : node;
    if (element && element->name) {
      const bool prefixed = element->ns && element->ns->prefix;
      hint.ElementName =
          ToUTF16(prefixed ? std::string(reinterpret_cast<const char*>(element->ns->prefix)) + ":" +
                                 reinterpret_cast<const char*>(element->name)
                           : std::string(reinterpret_cast<const char*>(element->name)));
      if (node->type == XML_ATTRIBUTE_NODE && node->name)
        hint.AttributeName = ToUTF16(reinterpret_cast<const char*>(node->name));
      collector.Hints.push_back(std::move(hint));
      collector.HintedErrs.push_back(collector.Errs.size() - 1);
    }
  }
}

void ignoreGeneric(void*, const char*, ...) {}

// libxml2 reports through thread-local handlers; this scope points them at one collector.
class CyErrorScope {
 public:
  explicit CyErrorScope(TyCollector& Collector) {
    xmlSetStructuredErrorFunc(&Collector, collect);
    xmlSetGenericErrorFunc(nullptr, ignoreGeneric);
  }
  ~CyErrorScope() {
    xmlSetStructuredErrorFunc(nullptr, nullptr);
    xmlSetGenericErrorFunc(nullptr, nullptr);
  }
};

struct TyDocFree {
  void operator()(xmlDocPtr Doc) const { xmlFreeDoc(Doc); }
};
using TyDoc = std::unique_ptr<xmlDoc, TyDocFree>;

TyDoc parseFile(const std::string& Path, const std::string* Text) {
  xmlParserCtxtPtr context = xmlNewParserCtxt();
  if (!context) return nullptr;
  xmlDocPtr doc = Text ? xmlCtxtReadMemory(context, Text->data(), static_cast<int>(Text->size()),
                                           Path.c_str(), "UTF-8", kParseOptions)
                       : xmlCtxtReadFile(context, Path.c_str(), nullptr, kParseOptions);
  const bool wellFormed = context->wellFormed;
  xmlFreeParserCtxt(context);
  if (doc && !wellFormed) {
    xmlFreeDoc(doc);
    doc = nullptr;
  }
  return TyDoc(doc);
}

// libxml2 skips Schematron patterns that have no id without a word; give each one an id.
void namePatterns(xmlNodePtr Node, int& Count) {
  for (xmlNodePtr child = Node ? Node->children : nullptr; child; child = child->next) {
    if (child->type != XML_ELEMENT_NODE) continue;
    if (xmlStrEqual(child->name, BAD_CAST "pattern") && !xmlHasProp(child, BAD_CAST "id")) {
      const std::string id = "xylem-pattern-" + std::to_string(++Count);
      xmlSetProp(child, BAD_CAST "id", BAD_CAST id.c_str());
    }
    namePatterns(child, Count);
  }
}

bool validateAgainstSchema(TySchemaLanguage Language, const std::string& SchemaPath, xmlDocPtr Doc,
                           TyCollector& Collector, bool& SchemaFailed) {
  SchemaFailed = false;
  switch (Language) {
    case TySchemaLanguage::slDTD: {
      xmlValidCtxtPtr valid = xmlNewValidCtxt();
      int ok = 0;
      if (SchemaPath.empty()) {
        if (!Doc->intSubset && !Doc->extSubset) {
          SchemaFailed = true;
          Collector.Errs.push_back(
              std::make_shared<CyXMLErr>(LibXml2ProcessorInfo(), u"", -1, -1,
                                         u"The document has no DOCTYPE to validate against", u"",
                                         u"", TyReasonParameters{}, TyXMLErrSeverity::errFatal));
        } else {
          ok = xmlValidateDocument(valid, Doc);
        }
      } else {
        xmlDtdPtr dtd = xmlParseDTD(nullptr, BAD_CAST SchemaPath.c_str());
        if (!dtd) {
          SchemaFailed = true;
        } else {
          ok = xmlValidateDtd(valid, Doc, dtd);
          xmlFreeDtd(dtd);
        }
      }
      xmlFreeValidCtxt(valid);
      return ok == 1;
    }
    case TySchemaLanguage::slXSD: {
      xmlSchemaParserCtxtPtr parser = xmlSchemaNewParserCtxt(SchemaPath.c_str());
      xmlSchemaSetParserStructuredErrors(parser, collect, &Collector);
      xmlSchemaPtr schema = xmlSchemaParse(parser);
      xmlSchemaFreeParserCtxt(parser);
      if (!schema) {
        SchemaFailed = true;
        return false;
      }
      xmlSchemaValidCtxtPtr valid = xmlSchemaNewValidCtxt(schema);
      xmlSchemaSetValidStructuredErrors(valid, collect, &Collector);
      const int rc = xmlSchemaValidateDoc(valid, Doc);
      xmlSchemaFreeValidCtxt(valid);
      xmlSchemaFree(schema);
      return rc == 0;
    }
    case TySchemaLanguage::slRelaxNG: {
      xmlRelaxNGParserCtxtPtr parser = xmlRelaxNGNewParserCtxt(SchemaPath.c_str());
      xmlRelaxNGSetParserStructuredErrors(parser, collect, &Collector);
      xmlRelaxNGPtr schema = xmlRelaxNGParse(parser);
      xmlRelaxNGFreeParserCtxt(parser);
      if (!schema) {
        SchemaFailed = true;
        return false;
      }
      xmlRelaxNGValidCtxtPtr valid = xmlRelaxNGNewValidCtxt(schema);
      xmlRelaxNGSetValidStructuredErrors(valid, collect, &Collector);
      const int rc = xmlRelaxNGValidateDoc(valid, Doc);
      xmlRelaxNGFreeValidCtxt(valid);
      xmlRelaxNGFree(schema);
      return rc == 0;
    }
    case TySchemaLanguage::slSchematron: {
      TyDoc schemaDoc = parseFile(SchemaPath, nullptr);
      if (!schemaDoc) {
        SchemaFailed = true;
        return false;
      }
      int count = 0;
      namePatterns(reinterpret_cast<xmlNodePtr>(schemaDoc.get()), count);
      xmlSchematronParserCtxtPtr parser = xmlSchematronNewDocParserCtxt(schemaDoc.get());
      xmlSchematronPtr schema = xmlSchematronParse(parser);
      xmlSchematronFreeParserCtxt(parser);
      if (!schema) {
        SchemaFailed = true;
        return false;
      }
      xmlSchematronValidCtxtPtr valid =
          xmlSchematronNewValidCtxt(schema, XML_SCHEMATRON_OUT_ERROR | XML_SCHEMATRON_OUT_QUIET);
      xmlSchematronSetValidStructuredErrors(valid, collect, &Collector);
      const int rc = xmlSchematronValidateDoc(valid, Doc);
      xmlSchematronFreeValidCtxt(valid);
      xmlSchematronFree(schema);
      return rc == 0;
    }
  }
  return false;
}

bool readFile(const std::string& Path, std::string& Bytes) {
  std::ifstream in(Path, std::ios::binary);
  if (!in) return false;
  std::ostringstream out;
  out << in.rdbuf();
  Bytes = out.str();
  return true;
}

void placeHints(TyCollector& Collector, const TyLibXml2Validation& Request) {
  if (Collector.Hints.empty()) return;
  std::string bytes;
  const std::string* text = Request.DocumentText;
  if (!text) {
    if (!readFile(LocalPathOf(Request.DocumentPath), bytes)) return;
    text = &bytes;
  }
  const std::u16string utf16 = ToUTF16(*text);
  PlaceOnStartTags(utf16.c_str(), Collector.Hints);
  for (size_t i = 0; i < Collector.Hints.size(); ++i) {
    const TyStartTagHint& hint = Collector.Hints[i];
    if (hint.FoundLine < 0) continue;
    IyXMLErrPtr& err = Collector.Errs[Collector.HintedErrs[i]];
    err = std::make_shared<CyXMLErr>(
        err->getProcessorInfo(),
        std::make_shared<CyXMLLocation>(u"", hint.FoundLine, hint.FoundLinepos, hint.FoundLine2,
                                        hint.FoundLinepos2),
        err->getReason(), err->getReasonDoc(), err->getReasonID(), err->getReasonParameters(),
        err->getSeverity());
  }
}

TyValidationResult finish(TyCollector& Collector, TyValidationVerdict Verdict,
                          TySchemaLanguage Language) {
  if (Collector.Dropped > 0)
    Collector.Errs.push_back(std::make_shared<CyXMLErr>(
        LibXml2ProcessorInfo(), u"", -1, -1,
        ToUTF16(std::to_string(Collector.Dropped) + " more findings were not reported"), u"", u"",
        TyReasonParameters{}, TyXMLErrSeverity::errInfo));
  return {Verdict, std::make_shared<CyXMLErrs>(ToUTF16(std::string("Validation (libxml2, ") +
                                                       SchemaLanguageName(Language) + ")"),
                                               std::move(Collector.Errs))};
}

}  // namespace

const char* SchemaLanguageName(TySchemaLanguage Language) {
  switch (Language) {
    case TySchemaLanguage::slDTD:
      return "dtd";
    case TySchemaLanguage::slXSD:
      return "xsd";
    case TySchemaLanguage::slRelaxNG:
      return "rng";
    case TySchemaLanguage::slSchematron:
      return "schematron";
  }
  return "?";
}

TyValidationResult ValidateWithLibXml2(const TyLibXml2Validation& Request, std::stop_token Stop) {
  TyLibXml2LoadPolicy policy;
  policy.Catalogs = Request.Catalogs;
  policy.AllowFolderOf(Request.DocumentPath);
  if (!Request.SchemaPath.empty()) policy.AllowFolderOf(Request.SchemaPath);
  TyCollector collector;
  collector.DocumentURL = Request.DocumentPath;
  collector.Policy = &policy;
  collector.MaxErrors = Request.MaxErrors;
  const CyLibXml2LoadScope loadScope(policy);
  const CyErrorScope errorScope(collector);

  TyDoc doc = parseFile(Request.DocumentPath, Request.DocumentText);
  if (!doc) {
    if (collector.Errs.empty())
      collector.Errs.push_back(std::make_shared<CyXMLErr>(
          LibXml2ProcessorInfo(), u"", -1, -1, u"The document could not be read", u"", u"",
          TyReasonParameters{}, TyXMLErrSeverity::errFatal));
    return finish(collector, TyValidationVerdict::vvInvalid, Request.Language);
  }
  if (Stop.stop_requested())
    return finish(collector, TyValidationVerdict::vvProcessorError, Request.Language);
  bool schemaFailed = false;
  const size_t before = collector.Errs.size();
  const bool valid = validateAgainstSchema(Request.Language, Request.SchemaPath, doc.get(),
                                           collector, schemaFailed);
  if (schemaFailed) {
    if (collector.Errs.size() == before)
      collector.Errs.push_back(
          std::make_shared<CyXMLErr>(LibXml2ProcessorInfo(), ToUTF16(Request.SchemaPath), -1, -1,
                                     u"The schema could not be read or compiled", u"", u"",
                                     TyReasonParameters{}, TyXMLErrSeverity::errFatal));
    return finish(collector, TyValidationVerdict::vvSchemaError, Request.Language);
  }
  doc.reset();
  // A refused load libxml2 passed over in silence (an entity it skips) is still reported.
  for (const auto& [reference, refusal] : policy.Refusals) {
    const std::u16string message = ToUTF16(refusal);
    bool reported = false;
    for (const IyXMLErrPtr& err : collector.Errs)
      reported = reported || err->getReason() == message;
    if (reported) continue;
    collector.SawError = true;
    collector.Errs.push_back(std::make_shared<CyXMLErr>(
        LibXml2ProcessorInfo(), u"", -1, -1, message, u"", u"io.refused",
        TyReasonParameters{ToUTF16(reference)}, TyXMLErrSeverity::errError));
  }
  placeHints(collector, Request);
  const bool invalid = !valid || collector.SawError;
  return finish(collector, invalid ? TyValidationVerdict::vvInvalid : TyValidationVerdict::vvValid,
                Request.Language);
}

}  // namespace xylem
