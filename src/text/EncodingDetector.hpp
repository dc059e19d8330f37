#pragma once
// Which encoding a file's bytes are in, following the XML rules: the declared encoding (XML
// declaration, or the text declaration of a DTD file) reconciled with any byte-order mark,
// then a mark alone, then the binary extensions, then the default.

#include <string>
#include <string_view>

#include "text/ByteOrderMark.hpp"
#include "text/DeclParser.hpp"
#include "text/Encoding.hpp"
#include "text/InputStream.hpp"

namespace xylem {

// Error code of a declared encoding that conflicts with the byte-order mark or lacks one.
inline constexpr int kErrorEncodingConflict = 19;

// File types by the extension of a URL or path (compared after lower-casing).
class CyFiletypeByFileExt {
 public:
  // The extension of a URL or path, lower-cased, with its dot (".xml"); empty when none.
  static std::string Extension(std::string_view URL);
  // ".dtd", ".ent", ".mod".
  static bool IsDTD(std::string_view URL);
  // One of the 38 extensions of files that are never text (".png", ".zip", ".exe", ...).
  static bool IsBinary(std::string_view URL);
  // ".json", ".jsonld", ".geojson".
  static bool IsJSON(std::string_view URL);
  // ".rnc" (RELAX NG compact syntax).
  static bool IsRelaxNCSchema(std::string_view URL);
};

class CyEncodingSolver {
 public:
  // Reconciles the mark's encoding ("" for none) with the declared name (compared without
  // regard to case). Returns false when nothing is declared and there is no mark. Throws
  // CyException (kErrorEncodingConflict) for a UTF-16 name without mark or a mark that
  // contradicts it, and kErrorUnsupportedEncoding for a name neither table nor iconv knows.
  static bool SolveEncoding(const std::string& BOMEncoding, const std::string& EncodingName,
                            CyEncoding& Encoding, bool& EncodingFixed);
};

// Declaration-based detection; both return true when a declaration was found and the encoding
// solved, and leave the stream behind any byte-order mark.
class CyXMLDeclEncodingDetector {
 public:
  static bool DetectEncodingAndSkipBOM(CyRewindableInputStream& Stream, bool& HasBOM,
                                       CyEncoding& Encoding, bool& EncodingFixed);
};

class CyTextDeclEncodingDetector {
 public:
  static bool DetectEncodingAndSkipBOM(CyRewindableInputStream& Stream, bool& HasBOM,
                                       CyEncoding& Encoding, bool& EncodingFixed);
};

class CyEncodingDetector {
 public:
  // The entry point of every load. BaseURL's extension selects the DTD rules and the binary
  // extensions. Reads at most the first 1024 bytes; leaves the stream behind any mark. A
  // malformed XML declaration is read for its encoding name only (the well-formedness check
  // reports it); a malformed text declaration throws CyDeclException. Throws CyException for
  // the solver's conflicts.
  static void DetectEncodingAndSkipBOM(std::string_view BaseURL, CyRewindableInputStream& Stream,
                                       bool& HasBOM, CyEncoding& Encoding, bool& EncodingFixed);
  // UTF-8, no mark, not fixed.
  static void DefaultXMLEncoding(bool& HasBOM, CyEncoding& Encoding, bool& EncodingFixed);
  // The keyboard layout's code page (here the locale's character set), no mark, fixed.
  static void DefaultTextEncoding(bool& HasBOM, CyEncoding& Encoding, bool& EncodingFixed);
};

}  // namespace xylem
