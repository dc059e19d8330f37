#include "xml/WriterFileStream.hpp"

namespace xylem {

void CyXMLWriterFileOutputStream::WriteString(std::u16string_view Text) {
  // Source pieces never hold line ends; the writer's own strings hold them only as CR LF.
  for (size_t at = Text.find(u'\r'); at != std::u16string_view::npos; at = Text.find(u'\r')) {
    Out_.Put(Text.substr(0, at));
    Out_.PutNewline();
    Text.remove_prefix(at + (at + 1 < Text.size() && Text[at + 1] == u'\n' ? 2 : 1));
  }
  Out_.Put(Text);
}

}  // namespace xylem
