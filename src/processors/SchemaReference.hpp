#pragma once
// Where a document says its schema is: xsi:schemaLocation and xsi:noNamespaceSchemaLocation on
// the root element, the DOCTYPE's external identifier, and <?xml-model?> processing instructions.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "processors/ValidationTypes.hpp"

namespace xylem {

struct TySchemaReference {
  TySchemaLanguage Language = TySchemaLanguage::slXSD;
  std::string Location;   // the URI reference as written (UTF-8)
  std::string PublicId;   // DOCTYPE only
  std::string Namespace;  // xsi:schemaLocation only: the namespace the schema is for
  std::string
      Source;  // "xsi:schemaLocation", "xsi:noNamespaceSchemaLocation", "DOCTYPE", "xml-model"
  int32_t Line = -1, Linepos = -1;  // where the reference is written
};

// The references of Text (the whole document, NUL-terminated), in document order: the prolog's
// DOCTYPE and xml-model instructions, then the root's xsi attributes. Reads the prolog and the
// root start tag only. An xml-model's language comes from schematypens, else type, else the
// extension (.rng/.rnc RELAX NG, .sch Schematron, .dtd DTD, otherwise XML Schema).
std::vector<TySchemaReference> FindSchemaReferences(const char16_t* Text);

// The language a schema file's extension suggests (XML Schema for unknown extensions).
TySchemaLanguage SchemaLanguageOfFile(std::string_view Path);

}  // namespace xylem
