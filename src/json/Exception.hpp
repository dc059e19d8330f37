#pragma once
// The error that ends a JSON parse: where it happened and why.

#include <cstdint>
#include <string>

#include "common/Exception.hpp"
#include "common/Utf.hpp"

namespace xylem {

// Raised by the JSON scanner, parser, input decoding and formatter. what() is Reason in UTF-8.
class JSONException : public CyException {
 public:
  static constexpr int kCode = 4001;

  JSONException(int64_t Line_, int64_t Linepos_, std::u16string Reason_)
      : CyException(ToUTF8(Reason_), kCode),
        Line(Line_),
        Linepos(Linepos_),
        Reason(std::move(Reason_)) {}

  int64_t Line;           // 1-based line of the error
  int64_t Linepos;        // 1-based column: UTF-16 code units from the line's start plus one
  std::u16string Reason;  // the message, as shown in the error list
};

}  // namespace xylem
