#pragma once
// The JSON formatter: parse into a tree, write the tree back in the pretty layout.

#include <iosfwd>
#include <string>
#include <string_view>

#include "json/Memory.hpp"
#include "json/Writer.hpp"

namespace xylem {

// Formats whole documents. A document that does not parse raises JSONException (line, column,
// reason) before anything is written, so the caller's text stays as it was. Linear in the text;
// the tree takes 8 bytes per value, member, array and object. Thread-safe (no shared state).
class CyJSONFormatter {
 public:
  // The formatted text of Text.
  static std::u16string Format(std::u16string_view Text, const TyJSONWriterOptions& Options = {});
  // The formatted text of Input.
  static std::u16string Format(const CyJSONMemory& Input, const TyJSONWriterOptions& Options = {});
  // Hands the formatted text of Input to Destination.
  static void Format(const CyJSONMemory& Input, IyTextSink& Destination,
                     const TyJSONWriterOptions& Options = {});
  // Writes the formatted text of Input to Destination, encoded with Options.CodePage.
  static void Format(const CyJSONMemory& Input, std::ostream& Destination,
                     const TyJSONWriterOptions& Options = {});
};

}  // namespace xylem
