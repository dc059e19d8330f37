#pragma once
// CyXMLWriter: writes the formatter's node tree back out as text under the dialog's option
// sets, with CR LF line breaks, through an output stream.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "xml/DOM.hpp"

namespace xylem {

// Where the writer's text goes.
class IyXMLWriterOutputStream {
 public:
  virtual ~IyXMLWriterOutputStream() = default;
  // Appends a string of the writer's own (delimiters, names, line breaks, indentation).
  virtual void WriteString(std::u16string_view Text) = 0;
  // Appends Count code units of the source from P.
  virtual void WritePiece(const char16_t* P, size_t Count) = 0;
};

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

// Not thread-safe. Deep trees are written with an explicit stack, never by recursion.
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
  // Parts of WriteDocument, for writing one document with several writers at once: the
  // start up to Stop, and from Start up to Stop or, when Stop is null, to the end. Cuts are
  // elements inside the root element. Parts cut at the same elements, joined in order, equal
  // WriteDocument.
  void WriteDocumentUntil(const PyXMLDOMTree& Tree, const TyXMLDOMNode& Stop);
  void WriteDocumentFrom(const TyXMLDOMNode& Start, const TyXMLDOMNode* Stop);

 private:
  enum class TyMode : uint8_t { Indented, Inline, Source, Verbatim };
  struct TyFrame {
    const TyXMLDOMNode* Element;
    const TyXMLDOMNode* Next;  // the child to write next
    int Level;
    TyMode Mode;
    bool VerbatimTags;  // the element's own tags were copied as written
  };

  // How an element's children are written, from its own flags and children alone.
  TyMode ModeOf(const TyXMLDOMNode& Element) const;
  bool Begin(const TyXMLDOMNode& Node, int Level, bool InVerbatim);
  // Writes the open frames above Base to their ends (or up to Stop_).
  void WriteOpen(size_t Base);
  // Writes the top-level nodes from First on; Written: a node was written before First.
  void WriteTopLevel(const TyXMLDOMNode* First, bool Written);
  void WriteChild(const TyXMLDOMNode& Child);
  void After(const TyXMLDOMNode& Child);
  void WriteStartTagOpen(const TyXMLDOMNode& Element, int Level);
  void WriteAttribute(const TyXMLDOMAttribute& Attribute, int Level, bool OnOwnLine);
  void WriteEndTag(const TyXMLDOMNode& Element);
  void WriteDelimited(const TyXMLDOMNode& Node);
  void WritePieces(std::span<const TyXMLDOMPiece> Pieces);
  void WriteNormalised(std::span<const TyXMLDOMPiece> Pieces);
  void LineBreak(int Level);
  std::u16string_view Indent(int Level);

  IyXMLWriterOutputStream& Out_;
  TyXMLFormattingOptions Formatting_;
  TyXMLLayoutOptions Layout_;
  std::u16string ExtraIndent_;
  std::u16string Unit_;
  std::u16string Indents_;  // ExtraIndent followed by as many units as used so far
  std::vector<TyFrame> Stack_;
  std::u16string Scratch_;
  const TyXMLDOMNode* Stop_ = nullptr;  // WriteDocumentUntil's end
  bool Stopped_ = false;
};

}  // namespace xylem
