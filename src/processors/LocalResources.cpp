#include "processors/LocalResources.hpp"

#include <libxml/catalog.h>
#include <libxml/xmlmemory.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace xylem {

namespace {

bool startsWithNoCase(std::string_view Text, std::string_view Prefix) {
  return Text.size() >= Prefix.size() &&
         std::equal(Prefix.begin(), Prefix.end(), Text.begin(), [](char A, char B) {
           return std::tolower(static_cast<unsigned char>(A)) == B;
         });
}

bool hasScheme(std::string_view URI) {
  const size_t colon = URI.find(':');
  if (colon == std::string_view::npos || colon < 2) return false;  // "C:" stays a path
  return std::all_of(URI.begin(), URI.begin() + colon, [](char C) {
    return std::isalnum(static_cast<unsigned char>(C)) || C == '+' || C == '-' || C == '.';
  });
}

int hexValue(char C) {
  if (C >= '0' && C <= '9') return C - '0';
  if (C >= 'a' && C <= 'f') return C - 'a' + 10;
  if (C >= 'A' && C <= 'F') return C - 'A' + 10;
  return -1;
}

std::string percentDecoded(std::string_view Text) {
  std::string out;
  for (size_t i = 0; i < Text.size(); ++i) {
    if (Text[i] == '%' && i + 2 < Text.size() + 0 && hexValue(Text[i + 1]) >= 0 &&
        hexValue(Text[i + 2]) >= 0) {
      out += static_cast<char>(hexValue(Text[i + 1]) * 16 + hexValue(Text[i + 2]));
      i += 2;
    } else {
      out += Text[i];
    }
  }
  return out;
}

}  // namespace

bool IsNetworkReference(std::string_view URI) {
  return startsWithNoCase(URI, "http:") || startsWithNoCase(URI, "https:") ||
         startsWithNoCase(URI, "ftp:");
}

std::string LocalPathOf(std::string_view URI) {
  if (startsWithNoCase(URI, "file:")) {
    std::string_view rest = URI.substr(5);
    // file:///path and file://localhost/path name the same file; file:/path as well.
    if (rest.substr(0, 2) == "//") {
      rest.remove_prefix(2);
      const size_t slash = rest.find('/');
      if (slash == std::string_view::npos) return {};
      rest.remove_prefix(slash);
    }
    return percentDecoded(rest);
  }
  return hasScheme(URI) ? std::string() : std::string(URI);
}

std::string ResolveReference(std::string_view Reference, std::string_view Base) {
  if (hasScheme(Reference)) return std::string(Reference);
  if (!Reference.empty() && Reference.front() == '/') return std::string(Reference);
  if (IsNetworkReference(Base)) {
    const std::string base(Base);
    return base.substr(0, base.rfind('/') + 1) + std::string(Reference);
  }
  const std::filesystem::path base(LocalPathOf(Base));
  return (base.parent_path() / std::string(Reference)).lexically_normal().string();
}

std::string NetworkRefusalMessage(std::string_view URI) {
  return "The reference " + std::string(URI) +
         " is not mapped to a local file by any XML catalog; the network is never used";
}

CyXMLCatalogs::CyXMLCatalogs(std::vector<std::string> Files, bool UseEnvironment) {
  if (UseEnvironment) {
    if (const char* env = std::getenv("XML_CATALOG_FILES")) {
      std::istringstream words(env);
      for (std::string word; words >> word;) Files.push_back(LocalPathOf(word));
    }
  }
  for (const std::string& file : Files) {
    std::error_code error;
    const std::string path = std::filesystem::absolute(file, error).string();
    xmlCatalogPtr catalog = error ? nullptr : xmlLoadACatalog(path.c_str());
    if (!catalog) {
      Unreadable_.push_back(file);
      continue;
    }
    Files_.push_back(path);
    Catalogs_.push_back(catalog);
  }
}

CyXMLCatalogs::~CyXMLCatalogs() {
  for (void* catalog : Catalogs_) xmlFreeCatalog(static_cast<xmlCatalogPtr>(catalog));
}

std::string CyXMLCatalogs::Resolve(std::string_view SystemOrURI, std::string_view PublicId) const {
  const std::string system(SystemOrURI), publicId(PublicId);
  std::lock_guard<std::mutex> guard(Lock_);
  for (void* item : Catalogs_) {
    auto* catalog = static_cast<xmlCatalogPtr>(item);
    xmlChar* found =
        xmlACatalogResolve(catalog, publicId.empty() ? nullptr : BAD_CAST publicId.c_str(),
                           system.empty() ? nullptr : BAD_CAST system.c_str());
    if (!found && !system.empty()) found = xmlACatalogResolveURI(catalog, BAD_CAST system.c_str());
    if (found) {
      std::string result(reinterpret_cast<const char*>(found));
      xmlFree(found);
      return result;
    }
  }
  return {};
}

}  // namespace xylem
