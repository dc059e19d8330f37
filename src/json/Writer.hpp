#pragma once
// The JSON writer: lays a JSON tree out in the one pretty layout, leaves as in the source.

#include <iosfwd>
#include <string>

#include "json/TextOutputStream.hpp"
#include "json/Tree.hpp"

namespace xylem {

struct TyJSONWriterOptions {
  // One level of indentation; front ends fill in the user's choice.
  std::u16string IndentationUnit = u"    ";
  // The line end written after "[", "{", "," and each last item or member.
  std::u16string Newline = u"\n";
  // Encoding for byte-stream destinations (1200 UTF-16LE, 1201 UTF-16BE, 65001 UTF-8).
  int CodePage = CyTextOutputStream::kCodePageUTF16LE;
};

// Writes values with only white space changed: "[" or "{" ends its line, each item or member
// stands on its own line one unit deeper, a comma ends the line of the item before it, a key
// is followed by ": ", the closing bracket stands on its own line at the opener's indentation,
// and empty arrays and objects stay "[]" and "{}". Leaves are copied from their source spans.
// Linear in the output; recursion depth is the tree's nesting depth. Not thread-safe.
class CyJSONWriter {
 public:
  // A writer over a UTF-16 string (code page 1200), appending to it.
  static CyJSONWriter Create(std::u16string& Destination, const TyJSONWriterOptions& Options = {});
  // A writer over a text sink (which encodes the text itself).
  static CyJSONWriter Create(IyTextSink& Destination, const TyJSONWriterOptions& Options = {});
  // A writer over a byte stream, encoding with Options.CodePage.
  static CyJSONWriter Create(std::ostream& Destination, const TyJSONWriterOptions& Options = {});

  // Writes a top-level value with an empty indentation and flushes the stream.
  void Write(TyJSONValue Value);
  // Writes Value where the output stands; Level counts the units of its indentation.
  void WriteValue(int Level, TyJSONValue Value);
  void WriteArray(int Level, TyJSONValue Array);
  void WriteObject(int Level, TyJSONValue Object);
  void WriteLiteralFalse(int Level, TyJSONValue Value);
  void WriteLiteralNull(int Level, TyJSONValue Value);
  void WriteLiteralTrue(int Level, TyJSONValue Value);
  void WriteNumber(int Level, TyJSONValue Value);
  void WriteString(int Level, TyJSONValue Value);

  CyTextOutputStream& Stream() { return Stream_; }

 private:
  CyJSONWriter(std::u16string& Destination, const TyJSONWriterOptions& Options);
  CyJSONWriter(std::ostream& Destination, const TyJSONWriterOptions& Options);
  CyJSONWriter(IyTextSink& Destination, const TyJSONWriterOptions& Options);
  void WriteIndentation(int Level);
  void WriteLeaf(TyJSONValue Value) {
    const TyJSONNode& node = Value.Tree->Node(Value.Index);
    Stream_.Write(std::u16string_view(Value.Tree->Text() + node.Head, node.Extent));
  }

  CyTextOutputStream Stream_;
  std::u16string Unit_;
  // The unit repeated for the deepest level written so far.
  std::u16string Indentation_;
};

}  // namespace xylem
