#include "text/EncodingDetector.hpp"

#include <algorithm>
#include <array>
#include <cctype>

#include "common/Exception.hpp"

namespace xylem {

namespace {

constexpr std::array<std::string_view, 38> kBinaryExtensions = {
    ".7z",  ".arsc", ".avi", ".bmp",      ".bpl", ".bup", ".class", ".crdownload", ".db",   ".dcp",
    ".dcu", ".dll",  ".doc", ".ds_store", ".exe", ".gif", ".ifo",   ".itc2",       ".itdb", ".itl",
    ".jpg", ".lib",  ".mp4", ".mrc",      ".mts", ".obj", ".pak",   ".pdf",        ".pfx",  ".png",
    ".rar", ".res",  ".rtf", ".tlb",      ".ttf", ".svm", ".xls",   ".zip"};

std::string upper(std::string_view Text) {
  std::string result(Text);
  for (char& c : result)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return result;
}

CyEncoding markEncoding(const std::string& BOMEncoding) {
  if (BOMEncoding == "UTF-8") return CyEncoding::UTF8();
  if (BOMEncoding == "UTF-16LE") return CyEncoding::UTF16LE();
  if (BOMEncoding == "UTF-16BE") return CyEncoding::UTF16BE();
  throw CyShouldNeverHappenException("byte-order mark of an unexpected encoding: " + BOMEncoding);
}

[[noreturn]] void missingMark() {
  throw CyException("Mandatory BOM (Byte Order Mark) is missing.", kErrorEncodingConflict);
}

[[noreturn]] void conflict(const std::string& BOMEncoding, const std::string& Declared) {
  throw CyException("Character encoding conflict between BOM (" + BOMEncoding + ") and encoding (" +
                        Declared + ").",
                    kErrorEncodingConflict);
}

}  // namespace

std::string CyFiletypeByFileExt::Extension(std::string_view URL) {
  const size_t slash = URL.find_last_of("/\\");
  const std::string_view name = slash == std::string_view::npos ? URL : URL.substr(slash + 1);
  const size_t dot = name.rfind('.');
  if (dot == std::string_view::npos) return {};
  std::string extension(name.substr(dot));
  for (char& c : extension)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return extension;
}

bool CyFiletypeByFileExt::IsDTD(std::string_view URL) {
  const std::string extension = Extension(URL);
  return extension == ".dtd" || extension == ".ent" || extension == ".mod";
}

bool CyFiletypeByFileExt::IsBinary(std::string_view URL) {
  const std::string extension = Extension(URL);
  return std::find(kBinaryExtensions.begin(), kBinaryExtensions.end(), extension) !=
         kBinaryExtensions.end();
}

bool CyFiletypeByFileExt::IsJSON(std::string_view URL) {
  const std::string extension = Extension(URL);
  return extension == ".json" || extension == ".jsonld" || extension == ".geojson";
}

bool CyFiletypeByFileExt::IsRelaxNCSchema(std::string_view URL) { return Extension(URL) == ".rnc"; }

bool CyEncodingSolver::SolveEncoding(const std::string& BOMEncoding,
                                     const std::string& EncodingName, CyEncoding& Encoding,
                                     bool& EncodingFixed) {
  const std::string declared = upper(EncodingName);
  const bool mark = !BOMEncoding.empty();
  if (declared.empty()) {
    if (!mark) return false;
    Encoding = markEncoding(BOMEncoding);
    EncodingFixed = false;
    return true;
  }
  if (declared == "UTF-8") {
    Encoding = mark ? markEncoding(BOMEncoding) : CyEncoding::UTF8();
    EncodingFixed = true;
    return true;
  }
  if (declared == "UTF-16") {
    if (!mark) missingMark();
    // A UTF-8 mark cannot stand for a document that declares UTF-16.
    if (BOMEncoding == "UTF-8") conflict(BOMEncoding, EncodingName);
    Encoding = markEncoding(BOMEncoding);
    EncodingFixed = false;
    return true;
  }
  if (declared == "UTF-16BE" || declared == "UTF-16LE") {
    if (!mark) missingMark();
    if (BOMEncoding != declared) conflict(BOMEncoding, EncodingName);
    Encoding = markEncoding(BOMEncoding);
    EncodingFixed = true;
    return true;
  }
  Encoding = mark ? markEncoding(BOMEncoding) : CyEncoding::FromName(EncodingName);
  EncodingFixed = true;
  return true;
}

namespace {

// The value of the first "encoding = 'name'" in a declaration that its grammar refused, when
// it is a valid encoding name; empty otherwise.
std::string LenientEncodingName(std::string_view Text) {
  size_t at = Text.find("encoding");
  if (at == std::string_view::npos) return {};
  at += 8;
  auto space = [&] {
    while (at < Text.size() &&
           (Text[at] == ' ' || Text[at] == '\t' || Text[at] == '\r' || Text[at] == '\n'))
      ++at;
  };
  space();
  if (at >= Text.size() || Text[at] != '=') return {};
  ++at;
  space();
  if (at >= Text.size() || (Text[at] != '"' && Text[at] != '\'')) return {};
  const size_t end = Text.find(Text[at], at + 1);
  if (end == std::string_view::npos) return {};
  const std::string name(Text.substr(at + 1, end - at - 1));
  bool valid = !name.empty() && std::isalpha(static_cast<unsigned char>(name[0]));
  for (char c : name)
    valid =
        valid && (std::isalnum(static_cast<unsigned char>(c)) || c == '.' || c == '_' || c == '-');
  return valid ? name : std::string();
}

}  // namespace

bool CyXMLDeclEncodingDetector::DetectEncodingAndSkipBOM(CyRewindableInputStream& Stream,
                                                         bool& HasBOM, CyEncoding& Encoding,
                                                         bool& EncodingFixed) {
  TyDeclaration declaration;
  std::string mark;
  try {
    if (!CyXMLDeclParser::ParseRewindableInputStream(Stream, declaration, mark, HasBOM))
      return false;
  } catch (const CyDeclException&) {
    // A malformed declaration is a well-formedness error, which the check reports with its
    // position; the load goes on with the encoding the declaration names, if it names one.
    const std::string encoding = LenientEncodingName(ReadDeclarationText(Stream, mark, HasBOM));
    if (encoding.empty()) return false;
    return CyEncodingSolver::SolveEncoding(mark, encoding, Encoding, EncodingFixed);
  }
  return CyEncodingSolver::SolveEncoding(mark, declaration.Encoding, Encoding, EncodingFixed);
}

bool CyTextDeclEncodingDetector::DetectEncodingAndSkipBOM(CyRewindableInputStream& Stream,
                                                          bool& HasBOM, CyEncoding& Encoding,
                                                          bool& EncodingFixed) {
  TyDeclaration declaration;
  std::string mark;
  if (!CyTextDeclParser::ParseRewindableInputStream(Stream, declaration, mark, HasBOM))
    return false;
  return CyEncodingSolver::SolveEncoding(mark, declaration.Encoding, Encoding, EncodingFixed);
}

void CyEncodingDetector::DetectEncodingAndSkipBOM(std::string_view BaseURL,
                                                  CyRewindableInputStream& Stream, bool& HasBOM,
                                                  CyEncoding& Encoding, bool& EncodingFixed) {
  const bool declared = CyFiletypeByFileExt::IsDTD(BaseURL)
                            ? CyTextDeclEncodingDetector::DetectEncodingAndSkipBOM(
                                  Stream, HasBOM, Encoding, EncodingFixed)
                            : CyXMLDeclEncodingDetector::DetectEncodingAndSkipBOM(
                                  Stream, HasBOM, Encoding, EncodingFixed);
  if (declared) return;
  std::string mark;
  CyBOMDetector::RewindAndSkipBOM(Stream, mark);
  if (!mark.empty()) {
    Encoding = markEncoding(mark);
    HasBOM = true;
    EncodingFixed = false;
  } else if (CyFiletypeByFileExt::IsBinary(BaseURL)) {
    Encoding = CyBinaryEncoding();
    HasBOM = false;
    EncodingFixed = false;
  } else {
    DefaultXMLEncoding(HasBOM, Encoding, EncodingFixed);
  }
}

void CyEncodingDetector::DefaultXMLEncoding(bool& HasBOM, CyEncoding& Encoding,
                                            bool& EncodingFixed) {
  Encoding = CyEncoding::UTF8();
  HasBOM = false;
  EncodingFixed = false;
}

void CyEncodingDetector::DefaultTextEncoding(bool& HasBOM, CyEncoding& Encoding,
                                             bool& EncodingFixed) {
  Encoding = CyCodePage::GetKeyboardEncoding();
  HasBOM = false;
  EncodingFixed = true;
}

}  // namespace xylem
