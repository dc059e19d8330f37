#pragma once
// CyXMLWriter: writes the formatter's node tree back out as text under the dialog's option
// sets, with CR LF line breaks, through an output stream. The layout itself is
// CyXMLEventWriter's; this walks the tree in document order and feeds it.

#include <string>
#include <string_view>
#include <vector>

#include "xml/format/DOM.hpp"
#include "xml/format/EventWriter.hpp"

namespace xylem {

// Collects the output in one string.
class CyXMLWriterStringOutputStream : public IyXMLWriterOutputStream {
 public:
  void WriteString(std::u16string_view Text) override { Text_.append(Text); }
  void WritePiece(const char16_t* P, size_t Count) override { Text_.append(P, Count); }
  const std::u16string& getText() const { return Text_; }
  std::u16string& getText() { return Text_; }

 private:
  std::u16string Text_;
};

// Not thread-safe. Deep trees are walked with an explicit stack, never by recursion.
class CyXMLWriter {
 public:
  // ExtraIndent is written at the start of every line the writer starts with its own
  // indentation (not inside text copied from the source); IndentationUnit is one level.
  CyXMLWriter(IyXMLWriterOutputStream& OutputStream, TyXMLFormattingOptions XMLFormattingOptions,
              TyXMLLayoutOptions XMLLayoutOptions, std::u16string_view ExtraIndent,
              std::u16string_view IndentationUnit);

  // Writes the top-level nodes of Tree, starting with ExtraIndent; no line break at the end.
  // Linear in the output's length.
  void WriteDocument(const PyXMLDOMTree& Tree);
  // Writes Node and everything inside it as if it stood at nesting level Indent (0: the
  // document level). Raises CyShouldNeverHappenException on an unknown node type.
  void WriteNode(const TyXMLDOMNode& Node, int Indent);

 private:
  // Feeds First and, when Siblings, the nodes after it, with everything inside them.
  void Walk(CyXMLEventWriter& Writer, const TyXMLDOMNode* First, bool Siblings);
  void Start(CyXMLEventWriter& Writer, const TyXMLDOMNode& Element);

  IyXMLWriterOutputStream& Out_;
  TyXMLFormattingOptions Formatting_;
  TyXMLLayoutOptions Layout_;
  std::u16string ExtraIndent_;
  std::u16string Unit_;
  std::vector<const TyXMLDOMNode*> Path_;
  std::vector<TyXMLAttributeSource> Attributes_;
};

}  // namespace xylem
