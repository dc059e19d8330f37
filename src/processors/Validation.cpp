#include "processors/Validation.hpp"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "common/Utf.hpp"
#include "processors/HostRequests.hpp"
#include "processors/LibXml2Validator.hpp"
#include "processors/ProcessorInfos.hpp"
#include "processors/SchemaReference.hpp"

namespace xylem {

namespace {

struct TySchemaChoice {
  TySchemaLanguage Language;
  std::string Path;  // local file; empty for a DTD taken from the DOCTYPE by libxml2
};

IyXMLErrPtr schemaError(std::string Message, int32_t Line = -1, int32_t Linepos = -1) {
  return std::make_shared<CyXMLErr>(LibXml2ProcessorInfo(), u"", Line, Linepos, ToUTF16(Message),
                                    u"", u"", TyReasonParameters{}, TyXMLErrSeverity::errFatal);
}

TyValidationResult schemaFailure(std::vector<IyXMLErrPtr> Errs) {
  return {TyValidationVerdict::vvSchemaError,
          std::make_shared<CyXMLErrs>(u"Validation", std::move(Errs))};
}

std::string documentText(const TyValidationRequest& Request) {
  if (Request.DocumentText) return *Request.DocumentText;
  std::ifstream in(LocalPathOf(Request.DocumentPath), std::ios::binary);
  std::ostringstream out;
  // The references sit in the prolog and the root start tag; 64 KB holds them in practice.
  std::string head(65536, '\0');
  in.read(head.data(), static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<size_t>(in.gcount()));
  return head;
}

// The local file a reference names, or an error record when there is none.
bool resolve(const TyValidationRequest& Request, const TySchemaReference& Reference,
             std::string& Path, std::vector<IyXMLErrPtr>& Errs) {
  std::string mapped;
  if (Request.Catalogs) {
    mapped = Request.Catalogs->Resolve(Reference.Location, Reference.PublicId);
    if (mapped.empty())
      mapped =
          Request.Catalogs->Resolve(ResolveReference(Reference.Location, Request.DocumentPath));
  }
  const std::string target =
      mapped.empty() ? ResolveReference(Reference.Location, Request.DocumentPath) : mapped;
  if (IsNetworkReference(target)) {
    Errs.push_back(schemaError(NetworkRefusalMessage(target), Reference.Line, Reference.Linepos));
    return false;
  }
  Path = LocalPathOf(target);
  std::error_code error;
  if (Path.empty() || !std::filesystem::is_regular_file(Path, error)) {
    Errs.push_back(schemaError("The schema " + (Path.empty() ? target : Path) + " named by " +
                                   Reference.Source + " does not exist",
                               Reference.Line, Reference.Linepos));
    return false;
  }
  return true;
}

}  // namespace

TyValidationResult ValidateDocument(const TyValidationRequest& Request, CyJavaHost* Host,
                                    std::stop_token Stop) {
  std::vector<TySchemaChoice> schemas;
  std::vector<IyXMLErrPtr> problems;
  if (!Request.SchemaPath.empty()) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(Request.SchemaPath, error))
      return schemaFailure({schemaError("The schema " + Request.SchemaPath + " does not exist")});
    schemas.push_back({SchemaLanguageOfFile(Request.SchemaPath), Request.SchemaPath});
  } else {
    const std::u16string text = ToUTF16(documentText(Request));
    for (const TySchemaReference& reference : FindSchemaReferences(text.c_str())) {
      std::string path;
      if (resolve(Request, reference, path, problems))
        schemas.push_back({reference.Language, path});
    }
    if (!problems.empty()) return schemaFailure(std::move(problems));
    if (schemas.empty())
      return schemaFailure({schemaError(
          "The document names no schema (xsi:schemaLocation, xsi:noNamespaceSchemaLocation, "
          "DOCTYPE or xml-model); give one with --schema")});
  }
  TyValidationResult total{TyValidationVerdict::vvValid, nullptr};
  std::vector<IyXMLErrPtr> all;
  std::u16string description;
  for (const TySchemaChoice& schema : schemas) {
    if (Stop.stop_requested()) break;
    TyValidationResult result;
    const TyValidationProcessor processor = Request.Processor;
    if (processor == TyValidationProcessor::vpXerces ||
        processor == TyValidationProcessor::vpJing) {
      const TySchemaLanguage wanted = processor == TyValidationProcessor::vpXerces
                                          ? TySchemaLanguage::slXSD
                                          : TySchemaLanguage::slRelaxNG;
      if (schema.Language != wanted) {
        result = schemaFailure({schemaError(
            std::string(processor == TyValidationProcessor::vpXerces ? "Xerces" : "Jing") +
            " does not validate " + SchemaLanguageName(schema.Language) + " schemas (" +
            schema.Path + ")")});
      } else if (!Host) {
        result = {TyValidationVerdict::vvProcessorError,
                  std::make_shared<CyXMLErrs>(
                      u"Validation", std::vector<IyXMLErrPtr>{
                                         schemaError("The Java processor host is not available")})};
      } else {
        TyHostDocument document;
        if (Request.DocumentText) {
          document.Text = *Request.DocumentText;
          document.URL = Request.DocumentPath;
          document.HasText = true;
        } else {
          document.Path = Request.DocumentPath;
        }
        result = ValidateWithHost(
            *Host, schema.Language, document, schema.Path,
            Request.Catalogs ? Request.Catalogs->getFiles() : std::vector<std::string>{}, Stop);
      }
    } else {
      TyLibXml2Validation validation;
      validation.DocumentPath = Request.DocumentPath;
      validation.DocumentText = Request.DocumentText;
      validation.Language = schema.Language;
      validation.SchemaPath = schema.Path;
      validation.Catalogs = Request.Catalogs;
      result = ValidateWithLibXml2(validation, Stop);
    }
    // The worst verdict wins: processor and schema failures over findings over valid.
    if (static_cast<int>(result.Verdict) > static_cast<int>(total.Verdict))
      total.Verdict = result.Verdict;
    if (description.empty()) description = result.Errs->getDescription();
    for (int32_t i = 0; i < result.Errs->getCount(); ++i) all.push_back(result.Errs->getXMLErr(i));
  }
  if (Stop.stop_requested() && total.Verdict == TyValidationVerdict::vvValid) {
    total.Verdict = TyValidationVerdict::vvProcessorError;
    all.push_back(std::make_shared<CyXMLErr>(
        JavaHostProcessorInfo(), u"", -1, -1, u"The request was cancelled", u"", u"cancelled",
        TyReasonParameters{}, TyXMLErrSeverity::errTermination));
  }
  total.Errs = std::make_shared<CyXMLErrs>(description.empty() ? u"Validation" : description,
                                           std::move(all));
  return total;
}

}  // namespace xylem
