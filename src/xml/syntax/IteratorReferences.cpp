// Expansion of entity and character references in attribute values.
#include <algorithm>

#include "xml/syntax/Iterator.hpp"

namespace xylem {

namespace {

// External entities may refer to each other; deeper nesting is kept as written.
constexpr int kMaxExpansionDepth = 8;

int DigitValue(char16_t c, bool hex) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (!hex) return -1;
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

void AppendCodePoint(std::u16string& out, char32_t c) {
  if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = 0xFFFD;
  if (c >= 0x10000) {
    out += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
    out += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
  } else {
    out += static_cast<char16_t>(c);
  }
}

}  // namespace

std::u16string CyXMLIterator::ExpandReferences(std::u16string_view Raw, int64_t Offset) const {
  std::u16string out;
  out.reserve(Raw.size());
  AppendExpanded(out, Raw, Offset, 0);
  return out;
}

void CyXMLIterator::AppendExpanded(std::u16string& Out, std::u16string_view Raw, int64_t Offset,
                                   int Depth) const {
  auto fail = [&](const char* message, size_t at) {
    int64_t line, linepos;
    LocationOf(Offset < 0 ? -1 : Offset + static_cast<int64_t>(at), line, linepos);
    throw CyXMLReferenceException(message, line, linepos);
  };
  for (size_t i = 0; i < Raw.size(); ++i) {
    if (Raw[i] != u'&') {
      Out += Raw[i];
      continue;
    }
    if (i + 1 < Raw.size() && Raw[i + 1] == u'#') {
      const bool hex = i + 2 < Raw.size() && Raw[i + 2] == u'x';
      size_t j = i + (hex ? 3 : 2);
      char32_t code = 0;
      const size_t digits = j;
      for (int d; j < Raw.size() && (d = DigitValue(Raw[j], hex)) >= 0; ++j)
        code = std::min<char32_t>(code * (hex ? 16 : 10) + static_cast<char32_t>(d), 0x110000);
      if (j == digits || j >= Raw.size() || Raw[j] != u';')
        fail("The character reference must end with ';'.", i);
      AppendCodePoint(Out, code);
      i = j;
      continue;
    }
    const size_t end = Raw.find(u';', i + 1);
    if (end == std::u16string_view::npos) fail("The entity reference must end with ';'.", i);
    const std::u16string_view name = Raw.substr(i + 1, end - i - 1);
    if (const auto found = Entities_.find(name); found != Entities_.end()) {
      Out += found->second;
    } else if (const auto* external = External_;
               external && Depth < kMaxExpansionDepth && external->find(name) != external->end()) {
      AppendExpanded(Out, external->find(name)->second, -1, Depth + 1);
    } else {
      Out += Raw.substr(i, end + 1 - i);  // unknown: kept as written
    }
    i = end;
  }
}

}  // namespace xylem
