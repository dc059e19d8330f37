#pragma once
// The vocabulary shared by the validators: schema languages, processors and verdicts.

#include <cstdint>
#include <string>

#include "diag/ErrList.hpp"

namespace xylem {

enum class TySchemaLanguage : uint8_t {
  slDTD,
  slXSD,         // XML Schema 1.0
  slRelaxNG,     // RELAX NG, XML syntax (.rng) or compact syntax (.rnc, Jing only)
  slSchematron,  // ISO Schematron (libxml2's XPath 1.0 subset)
};

// Who validates: libxml2 in process, or Xerces-J (XML Schema) and Jing (RELAX NG) in the host.
enum class TyValidationProcessor : uint8_t { vpAuto, vpLibXml2, vpXerces, vpJing };

enum class TyValidationVerdict : uint8_t {
  vvValid,
  vvInvalid,        // the document breaks its schema (or is not well-formed)
  vvSchemaError,    // the schema is missing, unreadable, refused or broken
  vvProcessorError  // the processor could not run (no Java host, host died, cancelled)
};

struct TyValidationResult {
  TyValidationVerdict Verdict = TyValidationVerdict::vvValid;
  IyXMLErrsPtr Errs;  // never null
};

// "dtd", "xsd", "rng", "schematron".
const char* SchemaLanguageName(TySchemaLanguage Language);

}  // namespace xylem
