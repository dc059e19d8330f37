#pragma once
// The front ends' entry to the text model: load a file (or bytes) into a TxTextList with
// encoding detection, and save it back atomically in the same form.
//
//   TxTextList list;
//   list.setOnCreateUniqueID(CreateProcessUniqueIDs);   // optional: line identities
//   TyTextFileFormat format = LoadTextFile("doc.xml", list);
//   ... edit list, passing format.Newline where a newline is needed ...
//   SaveTextFile("doc.xml", list, format);               // same encoding, mark and newline
//
// Errors are CyException with a code: 17 binary content and 21 invalid sequences (only with an
// error handler in mode 1), both CyDecodeException with the first bad byte's position; 18
// malformed declaration (CyDeclException, with a position), 19 mark/declaration conflict, 20
// unsupported encoding, 22 a character the target encoding cannot represent, 23 the file cannot
// be read (or shrank while it was read), 24 a stream longer than MaxStreamBytes, 25
// not a regular file or named pipe, 6009 the file cannot be written.
// A failed load leaves the list as it was; a failed save leaves the target file as it was.

#include <optional>
#include <string>
#include <string_view>

#include "common/InputBytes.hpp"
#include "text/Converter.hpp"
#include "text/Encoding.hpp"
#include "text/TextList.hpp"

namespace xylem {

inline constexpr int kErrorUnrepresentable = 22;
inline constexpr int kErrorFileWrite = 6009;

// How a document's text is stored in its file; a load fills it, a save follows it.
struct TyTextFileFormat {
  CyEncoding Encoding;               // code page and name (UTF-8 by default)
  bool HasBOM = false;               // a byte-order mark was found (and is written back)
  bool EncodingFixed = false;        // declared or chosen explicitly, as opposed to a default
  std::u16string Newline = u"\r\n";  // the document's one line end, chosen at load
};

struct TyTextFileLoadOptions {
  // Use this encoding instead of detecting one (a byte-order mark of the same encoding is
  // still skipped); the result then has EncodingFixed true.
  std::optional<CyEncoding> Encoding;
  // Receives the count of invalid sequences; counting only when null.
  CyUTF8ToCharErrorHandler* ErrorHandler = nullptr;
  // Pieces of the parallel load; 0 means the job's piece count.
  int PieceCount = 0;
  // Pieces, progress, cancellation and threads of the load; null: a default context.
  const TyJobContext* Job = nullptr;
  // The most bytes read from a named pipe (a stream has no size to check beforehand).
  uint64_t MaxStreamBytes = kDefaultMaxStreamBytes;
};

// Loads the file at Path into List (replacing its content) and returns its format. A regular
// file is mapped, decoded in parallel and unmapped before the line records are allocated; peak
// memory is about the file size plus 2 bytes per character plus 80 bytes per line. A named pipe
// is read as a stream (CyInputBytes); other special files are refused.
TyTextFileFormat LoadTextFile(const std::string& Path, TxTextList& List,
                              const TyTextFileLoadOptions& Options = {});
// The same for bytes already in memory; BaseURL only supplies the extension (DTD rules,
// binary extensions).
TyTextFileFormat LoadTextBytes(std::string_view Bytes, std::string_view BaseURL, TxTextList& List,
                               const TyTextFileLoadOptions& Options = {});
// Writes List to Path in Format (encoding, mark rule, newline) atomically: a temporary file
// in the same folder renamed over Path. A UTF-16 file always gets its mark, UTF-8 only with
// HasBOM, other encodings never.
void SaveTextFile(const std::string& Path, const TxTextList& List, const TyTextFileFormat& Format);
// The bytes SaveTextFile writes.
std::string EncodeTextList(const TxTextList& List, const TyTextFileFormat& Format);

}  // namespace xylem
