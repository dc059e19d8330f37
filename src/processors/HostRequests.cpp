#include "processors/HostRequests.hpp"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "common/Utf.hpp"
#include "processors/ErrPlacement.hpp"
#include "processors/LocalResources.hpp"
#include "processors/ProcessorInfos.hpp"

namespace xylem {

namespace {

TyXMLErrSeverity severityOf(const std::string& Name) {
  if (Name == "warning") return TyXMLErrSeverity::errWarning;
  if (Name == "fatal") return TyXMLErrSeverity::errFatal;
  if (Name == "info") return TyXMLErrSeverity::errInfo;
  if (Name == "termination") return TyXMLErrSeverity::errTermination;
  return TyXMLErrSeverity::errError;
}

void putDocument(nlohmann::json& Request, const TyHostDocument& Document) {
  if (!Document.Path.empty()) {
    Request["doc"] = Document.Path;
  } else if (Document.HasText) {
    Request["text"] = Document.Text;
    Request["url"] = Document.URL;
  }
}

bool sameFile(const std::string& A, const std::string& B) {
  return std::filesystem::absolute(A).lexically_normal() ==
         std::filesystem::absolute(B).lexically_normal();
}

std::string readText(const std::string& Path) {
  std::ifstream in(Path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

// The host's findings as records. Errors in the file Own get an empty URL (the document itself).
// Errors Saxon places in a stylesheet attribute are moved onto their character; those it places
// only by a start tag (and attribute) move onto that tag or attribute.
std::vector<IyXMLErrPtr> recordsOf(const nlohmann::json& Errors, const IyProcessorInfoPtr& Info,
                                   const std::string& Own) {
  std::vector<IyXMLErrPtr> records;
  std::map<std::string, std::u16string> stylesheets;  // text of each stylesheet, read once
  if (!Errors.is_array()) return records;
  for (const nlohmann::json& error : Errors) {
    const std::string file = LocalPathOf(error.value("url", ""));
    const bool own = file.empty() || (!Own.empty() && sameFile(file, LocalPathOf(Own)));
    const int32_t line = error.value("line", -1), column = error.value("column", -1);
    IyXMLErrPtr record = std::make_shared<CyXMLErr>(
        Info, own ? u"" : ToUTF16(file), line > 0 ? line : -1, column > 0 ? column : -1,
        ToUTF16(error.value("message", "")), u"", ToUTF16(error.value("code", "")),
        TyReasonParameters{}, severityOf(error.value("severity", "error")));
    if (error.contains("char") && !file.empty()) {
      auto [at, added] = stylesheets.try_emplace(file);
      if (added) at->second = ToUTF16(readText(file));
      record = PlaceInStylesheetAttribute(
          at->second.c_str(), record, ToUTF16(error.value("element", "")),
          ToUTF16(error.value("attribute", "")), line, column, error.value("char", 0));
    } else if (error.contains("element") && !file.empty() && line > 0) {
      // Saxon names the start tag (and attribute) but gives the position where the tag ends.
      auto [at, added] = stylesheets.try_emplace(file);
      if (added) at->second = ToUTF16(readText(file));
      std::vector<TyStartTagHint> hints(1);
      hints[0].Line = line;
      hints[0].ElementName = ToUTF16(error.value("element", ""));
      hints[0].AttributeName = ToUTF16(error.value("attribute", ""));
      PlaceOnStartTags(at->second.c_str(), hints);
      const TyStartTagHint& hint = hints[0];
      if (hint.FoundLine > 0)
        record = std::make_shared<CyXMLErr>(
            record->getProcessorInfo(),
            std::make_shared<CyXMLLocation>(record->getLocation()->getURL(), hint.FoundLine,
                                            hint.FoundLinepos, hint.FoundLine2, hint.FoundLinepos2),
            record->getReason(), record->getReasonDoc(), record->getReasonID(),
            record->getReasonParameters(), record->getSeverity());
    }
    records.push_back(std::move(record));
  }
  return records;
}

IyXMLErrsPtr failureList(const TyHostReply& Reply, const char16_t* Description) {
  const TyXMLErrSeverity severity = Reply.Failure == TyHostFailure::hfCancelled
                                        ? TyXMLErrSeverity::errTermination
                                        : TyXMLErrSeverity::errFatal;
  return std::make_shared<CyXMLErrs>(
      Description, std::vector<IyXMLErrPtr>{std::make_shared<CyXMLErr>(
                       JavaHostProcessorInfo(), u"", -1, -1, ToUTF16(Reply.FailureMessage), u"",
                       Reply.Failure == TyHostFailure::hfCancelled ? u"cancelled" : u"",
                       TyReasonParameters{}, severity)});
}

TyProcessingResult processing(CyJavaHost& Host, nlohmann::json Request, const std::string& Own,
                              const char16_t* Description, std::stop_token Stop) {
  const TyHostReply reply = Host.Call(std::move(Request), Stop);
  TyProcessingResult result;
  if (reply.Failure != TyHostFailure::hfNone) {
    result.Errs = failureList(reply, Description);
    return result;
  }
  result.Ok = reply.getOk();
  if (reply.Body.contains("items"))
    for (const nlohmann::json& item : reply.Body["items"])
      result.Items.push_back(item.get<std::string>());
  result.Output = reply.Body.value("result", "");
  result.Errs = std::make_shared<CyXMLErrs>(
      Description,
      recordsOf(reply.Body.value("errors", nlohmann::json::array()), SaxonProcessorInfo(), Own));
  return result;
}

nlohmann::json mapOf(const std::map<std::string, std::string>& Values) {
  nlohmann::json out = nlohmann::json::object();
  for (const auto& [name, value] : Values) out[name] = value;
  return out;
}

}  // namespace

TyProcessingResult EvaluateXPath(CyJavaHost& Host, const TyXPathEvaluation& Request,
                                 std::stop_token Stop) {
  nlohmann::json request{{"op", "xpath"},
                         {"expr", Request.Expression},
                         {"ns", mapOf(Request.Namespaces)},
                         {"vars", mapOf(Request.Variables)},
                         {"rootNs", Request.RootNamespaces}};
  putDocument(request, Request.Document);
  return processing(Host, std::move(request), "", u"XPath evaluation", Stop);
}

TyProcessingResult Transform(CyJavaHost& Host, const TyTransformation& Request,
                             std::stop_token Stop) {
  nlohmann::json request{{"op", "xslt"},
                         {"stylesheet", Request.StylesheetPath},
                         {"params", mapOf(Request.Parameters)},
                         {"catalogs", Request.Catalogs}};
  putDocument(request, Request.Document);
  if (!Request.OutputPath.empty()) request["output"] = Request.OutputPath;
  if (!Request.InitialTemplate.empty()) request["template"] = Request.InitialTemplate;
  if (!Request.InitialMode.empty()) request["mode"] = Request.InitialMode;
  return processing(Host, std::move(request), "", u"XSLT transformation", Stop);
}

TyProcessingResult RunXQuery(CyJavaHost& Host, const TyXQueryRun& Request, std::stop_token Stop) {
  nlohmann::json request{{"op", "xquery"},
                         {"query", Request.Query},
                         {"queryUrl", Request.QueryURL},
                         {"vars", mapOf(Request.Variables)}};
  putDocument(request, Request.Document);
  return processing(Host, std::move(request), "", u"XQuery", Stop);
}

TyValidationResult ValidateWithHost(CyJavaHost& Host, TySchemaLanguage Language,
                                    const TyHostDocument& Document, const std::string& SchemaPath,
                                    const std::vector<std::string>& Catalogs,
                                    std::stop_token Stop) {
  const bool xsd = Language == TySchemaLanguage::slXSD;
  const char16_t* description = xsd ? u"Validation (Xerces-J, xsd)" : u"Validation (Jing, rng)";
  nlohmann::json request{
      {"op", xsd ? "xsd" : "rng"}, {"schema", SchemaPath}, {"catalogs", Catalogs}};
  putDocument(request, Document);
  const TyHostReply reply = Host.Call(std::move(request), Stop);
  if (reply.Failure != TyHostFailure::hfNone)
    return {TyValidationVerdict::vvProcessorError, failureList(reply, description)};
  const std::string own = Document.Path.empty() ? Document.URL : Document.Path;
  IyXMLErrsPtr errs = std::make_shared<CyXMLErrs>(
      description, recordsOf(reply.Body.value("errors", nlohmann::json::array()),
                             xsd ? XercesProcessorInfo() : JingProcessorInfo(), own));
  if (reply.Body.value("schemaFailed", false)) return {TyValidationVerdict::vvSchemaError, errs};
  if (!reply.getOk()) return {TyValidationVerdict::vvProcessorError, errs};
  return {reply.Body.value("valid", false) ? TyValidationVerdict::vvValid
                                           : TyValidationVerdict::vvInvalid,
          errs};
}

}  // namespace xylem
