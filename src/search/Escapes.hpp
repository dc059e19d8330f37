#pragma once
// The backslash escapes shared by replacement templates and the escaped plain-text forms, and
// the exception that reports a bad template.

#include <cstdint>
#include <string>
#include <string_view>

#include "common/Exception.hpp"

namespace xylem {

// A replacement template (or escaped text) that cannot be read: the message and the 0-based
// position, in code units, of the "$" or "\" that starts the faulty token.
class ReplaceWithException : public CyException {
 public:
  static constexpr int kCode = 6202;
  ReplaceWithException(const std::string& Message, int64_t Position)
      : CyException(Message, kCode), Position_(Position) {}
  // 0-based position of the faulty token in the template, in code units.
  int64_t getPosition() const { return Position_; }

 private:
  int64_t Position_;
};

// Reads the escape whose backslash is Text[Index] and that is not a group reference: "\\" is a
// backslash, "\n", "\r" and "\R" the document's Newline ("\r\n" written out is one newline),
// "\t" a tab, and a backslash before any other character that character (a whole surrogate
// pair). Appends the meaning to Out and returns the index behind the escape. Raises
// ReplaceWithException "Incomplete token." for a backslash at the end.
size_t ReadSimpleEscape(std::u16string_view Text, size_t Index, std::u16string_view Newline,
                        std::u16string& Out);

// Text with every backslash escape read as ReadSimpleEscape does; the escaped forms of the plain
// replacer use it for both the search text and the replacement.
std::u16string Unescape(std::u16string_view Text, std::u16string_view Newline);

}  // namespace xylem
