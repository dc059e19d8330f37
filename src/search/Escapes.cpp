#include "search/Escapes.hpp"

namespace xylem {

size_t ReadSimpleEscape(std::u16string_view Text, size_t Index, std::u16string_view Newline,
                        std::u16string& Out) {
  if (Index + 1 >= Text.size())
    throw ReplaceWithException("Incomplete token.", static_cast<int64_t>(Index));
  const char16_t escaped = Text[Index + 1];
  switch (escaped) {
    case u'n':
    case u'R':
      Out.append(Newline);
      return Index + 2;
    case u'r':
      Out.append(Newline);
      // "\r\n" is how people write one Windows line end; it must not become two newlines.
      if (Text.substr(Index + 2, 2) == u"\\n") return Index + 4;
      return Index + 2;
    case u't':
      Out.push_back(u'\t');
      return Index + 2;
    default:
      break;
  }
  Out.push_back(escaped);
  if ((escaped & 0xFC00) == 0xD800 && Index + 2 < Text.size() &&
      (Text[Index + 2] & 0xFC00) == 0xDC00) {
    Out.push_back(Text[Index + 2]);
    return Index + 3;
  }
  return Index + 2;
}

std::u16string Unescape(std::u16string_view Text, std::u16string_view Newline) {
  std::u16string out;
  out.reserve(Text.size());
  for (size_t i = 0; i < Text.size();) {
    if (Text[i] == u'\\') {
      i = ReadSimpleEscape(Text, i, Newline, out);
    } else {
      out.push_back(Text[i++]);
    }
  }
  return out;
}

}  // namespace xylem
