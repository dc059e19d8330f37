#pragma once
// An IyXMLWriterOutputStream over a text file writer: the formatted document goes straight into
// its file (or stdout) in the document's encoding, with the writer's CR LF line breaks turned
// into the document's own newline, and is never held in memory whole.

#include <string_view>

#include "text/TextFileWriter.hpp"
#include "xml/format/Writer.hpp"

namespace xylem {

class CyXMLWriterFileOutputStream : public IyXMLWriterOutputStream {
 public:
  // Writes into Out (which must outlive this object; the caller commits it).
  explicit CyXMLWriterFileOutputStream(CyTextFileWriter& Out) : Out_(Out) {}
  // The writer's strings hold line breaks only as CR LF; source pieces hold none.
  void WriteString(std::u16string_view Text) override;
  void WritePiece(const char16_t* P, size_t Count) override { Out_.Put({P, Count}); }

 private:
  CyTextFileWriter& Out_;
};

}  // namespace xylem
