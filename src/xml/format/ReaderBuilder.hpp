#pragma once
// The reader's tree builder: the scanner's sink that links nodes into a tree as their
// constructs end. For a parallel read every piece after the first has its own builder, which
// keeps the end tags of elements it did not open, and its nodes outside its own elements, as
// top-level items for the caller to join to the open elements of the pieces before it.

#include <vector>

#include "xml/format/NodeScanner.hpp"

namespace xylem::detail {

// Appends Node to Parent's children, or to the tree's top-level nodes when Parent is null.
inline void LinkNode(PyXMLDOMTree& Tree, TyXMLDOMNode* Parent, TyXMLDOMNode* Node) {
  Node->Parent = Parent;
  if (Parent) {
    if (Parent->LastChild)
      Parent->LastChild->NextSibling = Node;
    else
      Parent->FirstChild = Node;
    Parent->LastChild = Node;
  } else {
    if (Tree.getLast())
      Tree.getLast()->NextSibling = Node;
    else
      Tree.setFirst(Node);
    Tree.setLast(Node);
  }
}

// A top-level item of a piece: a node, or (Node null) the end tag named CloseName at Where.
struct TyXMLReaderItem {
  TyXMLDOMNode* Node;
  std::u16string_view CloseName;
  TyWhere Where;
};

class CyXMLTreeBuilder {
 public:
  // Piece: the builder reads a piece (see the scanner). The pieces of a white-space-only text
  // are kept only where the writer may copy them: in content written as it stands (no
  // FormatText) or verbatim (preserved, PreserveVerbatim).
  CyXMLTreeBuilder(PyXMLDOMTree& Tree, bool FormatText, bool PreserveVerbatim, bool Piece)
      : Tree_(Tree), FormatText_(FormatText), PreserveVerbatim_(PreserveVerbatim), Piece_(Piece) {}

  void Text(std::span<const TyXMLDOMPiece> Pieces, bool HasText) {
    TyXMLDOMNode* node = Tree_.NewNode(NT::ntText);
    node->HasText = HasText;
    if (!HasText && FormatText_ && !(PreserveVerbatim_ && Open_ && Open_->PreserveText))
      node->Pieces = Tree_.LinesOnly(Pieces.size());
    else
      node->Pieces = Tree_.CopyPieces(Pieces);
    Link(node);
  }

  void Delimited(NT Type, std::span<const TyXMLDOMPiece> Inner) {
    TyXMLDOMNode* node = Tree_.NewNode(Type);
    node->Pieces = Tree_.CopyPieces(Inner);
    Link(node);
  }

  void StartTag(const TyXMLScannedTag& Tag) {
    TyXMLDOMNode* node = Tree_.NewNode(NT::ntElement);
    node->NameP = Tag.Name.data();
    node->NameCount = static_cast<uint32_t>(Tag.Name.size());
    Attributes_.clear();
    for (const TyXMLAttributeSource& a : Tag.Attributes)
      Attributes_.push_back({Tree_.CopyPieces(a.Text), a.SameLine, a.MultiLine});
    node->Attributes = Tree_.CopyAttributes(Attributes_);
    if (Tag.InPreserved) {
      node->TagsAsWritten = true;
      node->Pieces = Tree_.CopyPieces(Tag.AsWritten);
    } else if (Tag.Empty) {
      const TyXMLDOMPiece slash{Tag.CloseSlash.data(), Tag.CloseSlash.size()};
      node->Pieces = Tree_.CopyPieces({&slash, 1});
    }
    node->PreserveText = Tag.Preserve;
    Link(node);
    if (!Tag.Empty) Open_ = node;
  }

  void EndTag(std::span<const TyXMLDOMPiece> AsWritten) {
    if (!AsWritten.empty()) Open_->Pieces = Tree_.JoinPieces(Open_->Text(), AsWritten);
    Open_ = Open_->Parent;
  }

  void OuterEndTag(std::u16string_view Name, TyWhere Where) {
    Items_.push_back({nullptr, Name, Where});
  }

  bool Stopped() const { return false; }

  // A piece's top-level items in document order: nodes, and end tags of elements it did not
  // open (Node null).
  const std::vector<TyXMLReaderItem>& getItems() const { return Items_; }
  // The innermost element open at the end (its Parent chain ends at the piece's top level).
  TyXMLDOMNode* getOpen() const { return Open_; }

 private:
  void Link(TyXMLDOMNode* Node) {
    if (!Open_ && Piece_)
      Items_.push_back({Node, {}, {}});
    else
      LinkNode(Tree_, Open_, Node);
  }

  PyXMLDOMTree& Tree_;
  bool FormatText_;
  bool PreserveVerbatim_;
  bool Piece_;
  TyXMLDOMNode* Open_ = nullptr;  // innermost open element
  std::vector<TyXMLReaderItem> Items_;
  std::vector<TyXMLDOMAttribute> Attributes_;
};

}  // namespace xylem::detail
