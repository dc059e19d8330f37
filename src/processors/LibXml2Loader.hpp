#pragma once
// libxml2's external entity loader, replaced for the whole process: while a validation runs on
// a thread with a load policy, every file libxml2 opens (the document, schemas, includes,
// imports, external entities, the DTD) passes the policy: catalogs first, network refused, and
// local files only inside the allowed folders. XML_PARSE_NONET alone does not stop file:
// entities, hence this loader. Threads without a policy keep libxml2's own loader.

#include <string>
#include <string_view>
#include <vector>

#include "processors/LocalResources.hpp"

namespace xylem {

struct TyLibXml2LoadPolicy {
  // Folders whose files (and subfolders' files) may be read; absolute, normalized.
  std::vector<std::string> AllowedFolders;
  const CyXMLCatalogs* Catalogs = nullptr;  // may be null
  // Filled by the loader: (reference, message) of every refused load, in order.
  std::vector<std::pair<std::string, std::string>> Refusals;

  // Adds the folder of File (a path or file: URI) to AllowedFolders.
  void AllowFolderOf(std::string_view File);
  // True when Path lies inside an allowed folder (symbolic links followed).
  bool IsAllowed(const std::string& Path) const;
};

// Makes Policy current on this thread for the scope's life (the loader is installed on first
// use). Scopes do not nest.
class CyLibXml2LoadScope {
 public:
  explicit CyLibXml2LoadScope(TyLibXml2LoadPolicy& Policy);
  ~CyLibXml2LoadScope();
  CyLibXml2LoadScope(const CyLibXml2LoadScope&) = delete;
  CyLibXml2LoadScope& operator=(const CyLibXml2LoadScope&) = delete;
};

}  // namespace xylem
