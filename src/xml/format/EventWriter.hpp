#pragma once
// CyXMLEventWriter: every layout rule of the formatter, applied to nodes as they come in
// document order (start tag, children, end tag), with CR LF line breaks. What follows a node
// often depends on the next one, so each open element keeps one pending decision, taken when
// the next event arrives. Output is gathered in a small buffer handed to the stream when full,
// so the stream sees few calls: strings with CR LF line breaks, and long source pieces. The
// tree writer feeds it from the tree, the streaming formatter straight from the scanner.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "xml/format/DOM.hpp"

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

class CyXMLEventWriter {
 public:
  // ExtraIndent starts every line the writer starts with its own indentation; IndentationUnit
  // is one level; top-level nodes are written at BaseLevel.
  CyXMLEventWriter(IyXMLWriterOutputStream& OutputStream,
                   TyXMLFormattingOptions XMLFormattingOptions, TyXMLLayoutOptions XMLLayoutOptions,
                   std::u16string_view ExtraIndent, std::u16string_view IndentationUnit,
                   int BaseLevel = 0);

  // Flushes what is buffered; errors of the stream are lost here (call Flush to see them).
  ~CyXMLEventWriter();
  CyXMLEventWriter(const CyXMLEventWriter&) = delete;
  CyXMLEventWriter& operator=(const CyXMLEventWriter&) = delete;

  // The events, in document order. Text: Pieces may be empty for white space that no layout
  // copies (LineCount still says how many source lines it spans). Raises
  // CyShouldNeverHappenException on an unknown node type.
  void StartElement(const TyXMLStartTag& Tag);
  void EndElement(std::span<const TyXMLDOMPiece> AsWritten);
  void Text(std::span<const TyXMLDOMPiece> Pieces, size_t LineCount, bool HasText);
  void Delimited(TyXMLDOMNodeType Type, std::span<const TyXMLDOMPiece> Inner);

  // For writing a document in parts: an element whose start tag an earlier part wrote, open
  // here with no decision pending (outermost first).
  void Reopen(std::u16string_view Name, bool Preserve, bool HasText);
  // Ends a part just before a start tag: takes the decisions its arrival takes.
  void StopBeforeElement();
  // While muted, events change the writer's state but write nothing.
  void setMuted(bool Muted);
  // Hands what is buffered to the stream.
  void Flush();

 private:
  enum class TyMode : uint8_t { Indented, Inline, Source, Verbatim };
  // What the next event decides for the innermost open element.
  enum class TyPending : uint8_t {
    None,
    StartOpen,       // start tag without its ">": empty or not
    StartOpenBlank,  // ... and a white-space text held: cleared or not
    AfterChild,      // line break after a child that is no text
    AfterText,       // line break after a text that ended with white space
    AfterBlank,      // what a white-space text ends with
  };
  // The next event, as the pending decisions see it.
  enum class TyNext : uint8_t { End, Text, Reference, Comment, Element, Other };
  struct TyFrame {
    std::u16string_view Name;
    int Level;
    TyMode Mode;
    bool VerbatimTags;  // the tags are copied as written
    TyPending Pending = TyPending::None;
    bool AfterElement = false;  // AfterChild: the child was an element
    size_t BlankLines = 0;      // AfterBlank: the text's line count
  };

  TyMode ModeOf(bool Preserve, bool HasText) const;
  void Resolve(TyFrame& Frame, TyNext Next);
  void TextChild(TyFrame& Frame, std::span<const TyXMLDOMPiece> Pieces, size_t LineCount,
                 bool HasText);
  void ChildDone();
  void TopLevelNode();
  // The end of an element without content; CloseSlash: the source's "/>", if it had one.
  void WriteEmptyEnd(std::u16string_view Name, std::u16string_view CloseSlash);
  void WriteStartTagOpen(const TyXMLStartTag& Tag, int Level);
  void WriteAttribute(const TyXMLAttributeSource& Attribute, int Level, bool OnOwnLine);
  void WriteEndTag(std::u16string_view Name);
  void WriteDelimited(TyXMLDOMNodeType Type, std::span<const TyXMLDOMPiece> Inner);
  void WritePieces(std::span<const TyXMLDOMPiece> Pieces);
  void WriteNormalised(std::span<const TyXMLDOMPiece> Pieces);
  void LineBreak(int Level);
  std::u16string_view Indent(int Level);
  // Put: the writer's own strings; PutPiece: the source's.
  void Put(std::u16string_view Text) {
    if (Muted_) return;
    if (Text.size() > kBufferUnits - Used_) return PutLarge(Text, false);
    std::char_traits<char16_t>::copy(Buffer_ + Used_, Text.data(), Text.size());
    Used_ += Text.size();
  }
  void PutPiece(std::u16string_view Piece) {
    if (Muted_) return;
    if (Piece.size() > kBufferUnits - Used_) return PutLarge(Piece, true);
    std::char_traits<char16_t>::copy(Buffer_ + Used_, Piece.data(), Piece.size());
    Used_ += Piece.size();
  }
  void PutLarge(std::u16string_view Text, bool Piece);

  static constexpr size_t kBufferUnits = 8192;
  IyXMLWriterOutputStream& Out_;
  char16_t Buffer_[kBufferUnits];
  size_t Used_ = 0;
  bool Muted_ = false;
  TyXMLFormattingOptions Formatting_;
  TyXMLLayoutOptions Layout_;
  std::u16string ExtraIndent_;
  std::u16string Unit_;
  std::u16string Indents_;  // ExtraIndent followed by as many units as used so far
  int BaseLevel_;
  std::vector<TyFrame> Stack_;
  bool Written_ = false;             // a top-level node was written
  size_t TopBlankLines_ = 0;         // blank lines kept before the next top-level node
  std::vector<TyXMLDOMPiece> Held_;  // StartOpenBlank's text
  size_t HeldLines_ = 0;
};

}  // namespace xylem
