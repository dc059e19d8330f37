#pragma once
// What processors may read: local files only, network references refused unless an XML catalog
// maps them to a local file. Shared by the in-process and the Java processors.

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace xylem {

// True for references that would need the network: http:, https: and ftp: (any case).
bool IsNetworkReference(std::string_view URI);

// The local path of a file: URI (percent escapes decoded) or of a plain path (returned as is);
// empty for any other scheme.
std::string LocalPathOf(std::string_view URI);

// Reference resolved against Base (a file path or a URI), as an absolute URI or path: a URI
// with a scheme is returned as it is, a relative path is taken from Base's folder.
std::string ResolveReference(std::string_view Reference, std::string_view Base);

// The message of a network reference that no catalog maps.
std::string NetworkRefusalMessage(std::string_view URI);

// OASIS XML catalogs, read by libxml2. Thread-safe: look-ups are serialized by a lock.
class CyXMLCatalogs {
 public:
  // Files: catalog files in the order they are consulted; with UseEnvironment the files of
  // XML_CATALOG_FILES (space-separated) follow them. Files that cannot be read are listed in
  // getUnreadable and skipped.
  explicit CyXMLCatalogs(std::vector<std::string> Files, bool UseEnvironment = true);
  ~CyXMLCatalogs();
  CyXMLCatalogs(const CyXMLCatalogs&) = delete;
  CyXMLCatalogs& operator=(const CyXMLCatalogs&) = delete;

  // The local target of a system identifier or URI (and public identifier, when given) as the
  // first catalog that maps it says; empty when none does. Linear in the catalogs' entries.
  std::string Resolve(std::string_view SystemOrURI, std::string_view PublicId = {}) const;
  // The catalog files that were read, as absolute paths.
  const std::vector<std::string>& getFiles() const { return Files_; }
  const std::vector<std::string>& getUnreadable() const { return Unreadable_; }

 private:
  std::vector<std::string> Files_;
  std::vector<std::string> Unreadable_;
  std::vector<void*> Catalogs_;  // xmlCatalogPtr, kept opaque so libxml2 stays private
  mutable std::mutex Lock_;
};

}  // namespace xylem
