#include "xml/format/WriterFileStream.hpp"

#include "common/Utf.hpp"

namespace xylem {

void CyXMLWriterFileOutputStream::WriteString(std::u16string_view Text) {
  const char16_t* p = Text.data();
  const char16_t* const end = p + Text.size();
  for (;;) {
    const char16_t* cr = FindUnit(p, end, u'\r');
    Out_.Put({p, static_cast<size_t>(cr - p)});
    if (cr == end) return;
    Out_.PutNewline();
    p = cr + (cr + 1 < end && cr[1] == u'\n' ? 2 : 1);
  }
}

}  // namespace xylem
