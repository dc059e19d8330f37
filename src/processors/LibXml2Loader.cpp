#include "processors/LibXml2Loader.hpp"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <filesystem>
#include <mutex>

namespace xylem {

namespace {

thread_local TyLibXml2LoadPolicy* CurrentPolicy = nullptr;
xmlExternalEntityLoader PreviousLoader = nullptr;

std::string canonical(const std::string& Path) {
  std::error_code error;
  std::filesystem::path path =
      std::filesystem::weakly_canonical(std::filesystem::absolute(Path), error);
  return error ? std::filesystem::absolute(Path).lexically_normal().string() : path.string();
}

xmlParserInputPtr refuse(TyLibXml2LoadPolicy& Policy, const char* Reference, std::string Message) {
  Policy.Refusals.emplace_back(Reference ? Reference : "", std::move(Message));
  return nullptr;
}

xmlParserInputPtr policyLoader(const char* URL, const char* ID, xmlParserCtxtPtr Context) {
  TyLibXml2LoadPolicy* policy = CurrentPolicy;
  if (!policy) return PreviousLoader(URL, ID, Context);
  std::string target = URL ? URL : "";
  bool mapped = false;
  if (policy->Catalogs) {
    const std::string local = policy->Catalogs->Resolve(target, ID ? ID : "");
    mapped = !local.empty();
    if (mapped) target = local;
  }
  if (IsNetworkReference(target)) return refuse(*policy, URL, NetworkRefusalMessage(target));
  const std::string path = LocalPathOf(target);
  if (path.empty())
    return refuse(*policy, URL, "The reference " + target + " is not a local file; it is not read");
  // A catalog's targets are admitted: whoever wrote the catalog chose them.
  if (!mapped && !policy->IsAllowed(path))
    return refuse(*policy, URL,
                  "The file " + path +
                      " is outside the folders of the document and its schemas; it is not read");
  return xmlNewInputFromFile(Context, path.c_str());
}

}  // namespace

void TyLibXml2LoadPolicy::AllowFolderOf(std::string_view File) {
  const std::string path = LocalPathOf(File);
  if (path.empty()) return;
  std::string folder = std::filesystem::path(canonical(path)).parent_path().string();
  if (folder.empty() || folder.back() != '/') folder += '/';
  AllowedFolders.push_back(folder);
}

bool TyLibXml2LoadPolicy::IsAllowed(const std::string& Path) const {
  const std::string path = canonical(Path);
  for (const std::string& folder : AllowedFolders)
    if (path.compare(0, folder.size(), folder) == 0) return true;
  return false;
}

CyLibXml2LoadScope::CyLibXml2LoadScope(TyLibXml2LoadPolicy& Policy) {
  static std::once_flag installed;
  std::call_once(installed, [] {
    xmlInitParser();
    PreviousLoader = xmlGetExternalEntityLoader();
    xmlSetExternalEntityLoader(policyLoader);
  });
  CurrentPolicy = &Policy;
}

CyLibXml2LoadScope::~CyLibXml2LoadScope() { CurrentPolicy = nullptr; }

}  // namespace xylem
