#pragma once
// The operations of the Java host as typed calls: XPath 3.1 evaluation, XSLT 3.0, XQuery 3.1
// (Saxon-HE) and validation by Xerces-J (XML Schema) and Jing (RELAX NG). Findings become error
// records with the processor's code, message, URL, line and column; an error in an XPath-bearing
// attribute of a stylesheet is placed on its exact character.

#include <map>
#include <stop_token>
#include <string>
#include <vector>

#include "processors/JavaHost.hpp"
#include "processors/ValidationTypes.hpp"

namespace xylem {

// The document a request reads: a file, or a snapshot's text (UTF-8) with its URL.
struct TyHostDocument {
  std::string Path;  // file path; empty when Text is used or there is no document
  std::string Text;
  std::string URL;  // of Text (base of its references, URL of its errors)
  bool HasText = false;
  bool empty() const { return Path.empty() && !HasText; }
};

struct TyProcessingResult {
  bool Ok = false;
  std::vector<std::string> Items;  // XPath and XQuery: one serialized item each
  std::string Output;              // XSLT without an output file: the serialized result
  IyXMLErrsPtr Errs;               // never null
};

struct TyXPathEvaluation {
  std::string Expression;
  TyHostDocument Document;                        // the context item; none: no context
  std::map<std::string, std::string> Namespaces;  // prefix -> URI; wins over the root's
  bool RootNamespaces = false;  // also bind the prefixes declared on the document's root element
  std::map<std::string, std::string> Variables;  // name -> value (xs:untypedAtomic)
};

struct TyTransformation {
  std::string StylesheetPath;
  TyHostDocument Document;
  std::string OutputPath;  // empty: the result comes back in Output
  std::map<std::string, std::string> Parameters;
  std::string InitialTemplate;  // Clark name; empty: apply templates to the document
  std::string InitialMode;      // Clark name; empty: the default mode
  std::vector<std::string> Catalogs;
};

struct TyXQueryRun {
  std::string Query;
  std::string QueryURL;  // base URI and URL of the query's errors
  TyHostDocument Document;
  std::map<std::string, std::string> Variables;
};

// Each call blocks its thread until the host answers, Stop is requested (Errs: one termination
// record "The request was cancelled") or the host fails (one fatal record saying how). Thread-safe.
TyProcessingResult EvaluateXPath(CyJavaHost& Host, const TyXPathEvaluation& Request,
                                 std::stop_token Stop = {});
TyProcessingResult Transform(CyJavaHost& Host, const TyTransformation& Request,
                             std::stop_token Stop = {});
TyProcessingResult RunXQuery(CyJavaHost& Host, const TyXQueryRun& Request,
                             std::stop_token Stop = {});

// Validation by Xerces-J (slXSD) or Jing (slRelaxNG) against SchemaPath; Catalogs resolve the
// schema's own references (network references no catalog maps are refused).
TyValidationResult ValidateWithHost(CyJavaHost& Host, TySchemaLanguage Language,
                                    const TyHostDocument& Document, const std::string& SchemaPath,
                                    const std::vector<std::string>& Catalogs,
                                    std::stop_token Stop = {});

}  // namespace xylem
