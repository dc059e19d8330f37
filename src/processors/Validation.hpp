#pragma once
// Validation of one document: the schema given or the document's own references, resolved
// through XML catalogs (never the network), then the chosen processor.

#include <stop_token>
#include <string>
#include <vector>

#include "processors/JavaHost.hpp"
#include "processors/LocalResources.hpp"
#include "processors/ValidationTypes.hpp"

namespace xylem {

struct TyValidationRequest {
  std::string DocumentPath;                   // path of the document (URL of a snapshot)
  const std::string* DocumentText = nullptr;  // a snapshot's text (UTF-8) instead of the file
  // Explicit schema; empty: the references the document makes. Its language comes from its
  // extension (.dtd, .xsd, .rng/.rnc, .sch).
  std::string SchemaPath;
  TyValidationProcessor Processor = TyValidationProcessor::vpAuto;
  const CyXMLCatalogs* Catalogs = nullptr;  // may be null
};

// Validates against each schema found. A reference that no catalog maps to a local file while
// it names the network, a schema that is missing, a processor that does not read the schema's
// language, and a document that names no schema give vvSchemaError with a record that says so
// (placed on the reference when the document makes it). Host: needed for vpXerces and vpJing
// (null: those fail with vvProcessorError). Thread-safe; Stop is polled between schemas and
// passed to the host.
TyValidationResult ValidateDocument(const TyValidationRequest& Request, CyJavaHost* Host,
                                    std::stop_token Stop = {});

}  // namespace xylem
