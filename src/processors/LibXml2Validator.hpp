#pragma once
// Validation in process by libxml2: DTD, XML Schema 1.0, RELAX NG and Schematron. Every
// finding comes from libxml2's structured error callback and becomes a CyXMLErr with line,
// column (placed on the start tag or attribute by our own iterator when libxml2 gives only the
// line), message, domain and code. Parsing runs with the network off, line numbers beyond 65535
// and external resources admitted only through the load policy (see LibXml2Loader.hpp).

#include <stop_token>
#include <string>

#include "processors/LocalResources.hpp"
#include "processors/ValidationTypes.hpp"

namespace xylem {

struct TyLibXml2Validation {
  // The document: a file path (or file: URI), also the base of its references and the URL of
  // its errors.
  std::string DocumentPath;
  // When set, the document's text (UTF-8) parsed from memory instead of the file.
  const std::string* DocumentText = nullptr;
  TySchemaLanguage Language = TySchemaLanguage::slXSD;
  // The schema file; for slDTD empty means the document's own DOCTYPE.
  std::string SchemaPath;
  const CyXMLCatalogs* Catalogs = nullptr;  // may be null
  // Findings beyond this count are dropped (one more record says so).
  int32_t MaxErrors = 1000;
};

// Validates as Request says. The verdict is vvSchemaError when the schema cannot be read or
// compiled (its findings are in Errs), vvInvalid for any error of the document. Linear in the
// document (the placement pass reads the text once more, only when some error lacks a column).
// Thread-safe: each call has its own libxml2 contexts; cancellation is polled between stages.
TyValidationResult ValidateWithLibXml2(const TyLibXml2Validation& Request,
                                       std::stop_token Stop = {});

}  // namespace xylem
