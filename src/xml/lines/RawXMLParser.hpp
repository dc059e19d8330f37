#pragma once
// CyRawXMLParser: a fast scan of one line that begins at document level, used by the line-state
// scan instead of the full tokenizer for the common lines of a document (tags, text, references,
// one-line comments and CDATA sections, the XML declaration).

#include <cstdint>

namespace xylem {

class CyRawXMLParser {
 public:
  // Scans the NUL-terminated Text from the document-level state. Returns true only when the
  // line ends at document level; then Delta, Lowest and Highest equal what
  // TxXMLParser::ScanUntilEOL gives for the line from that state (whatever its end-of-input
  // flag). Returns false, leaving the outputs unspecified, as soon as the line ends inside a
  // construct or meets anything it does not handle. Linear, no allocation, thread-safe.
  static bool ParseXML(const char16_t* Text, int32_t& Delta, int32_t& Lowest, int32_t& Highest);
};

}  // namespace xylem
