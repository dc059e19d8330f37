#pragma once
// The reader's tree builder: one pass of the tokenizer over a range of lines, linking nodes as
// their constructs end. The whole document is one range; for a parallel read, the first piece
// is read like a whole document that stops early, and every later piece (Piece) starts at a
// line where markup begins, from the document-level state with no element open: its end tags
// of elements it did not open, and its nodes outside its own elements, are kept as top-level
// items for the caller to join to the open elements of the pieces before it. Checks that need
// that context (a second root, text or references outside the root) are the caller's then.

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "xml/Reader.hpp"
#include "xml/TokenizerKinds.hpp"

namespace xylem::detail {

using G = TyXMLGroup;
using S = TyXMLSymbol;
using NT = TyXMLDOMNodeType;

inline bool IsBlank(char16_t c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n'; }

// A position in the source: a line and a pointer into that line's characters.
struct TyWhere {
  int64_t Line = 0;
  const char16_t* P = nullptr;
};

enum class TyConstruct : uint8_t { None, StartTag, EndTag, Delimited };

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
  // Piece: the lines read start inside the document (see the file comment).
  // The pieces of a white-space-only text are kept only where the writer may copy them: in
  // content written as it stands (no FormatText) or verbatim (preserved, PreserveVerbatim).
  CyXMLTreeBuilder(const TxTextList& List, PyXMLDOMTree& Tree, const CyXMLWordList& WordsD,
                   const CyXMLWordList& WordsP, bool FormatText, bool PreserveVerbatim,
                   bool Piece = false)
      : List_(List),
        Tree_(Tree),
        WordsD_(WordsD),
        WordsP_(WordsP),
        FormatText_(FormatText),
        PreserveVerbatim_(PreserveVerbatim),
        Piece_(Piece) {}

  // Reads lines First .. Last, continuing from the state the previous call left.
  void Read(TxXMLParser& Parser, int64_t First, int64_t Last) {
    const int64_t count = List_.getCount();
    if (First > 1 && LastEnd_.P == nullptr) LastEnd_ = LineEnd(First - 1);
    for (Line_ = First; Line_ <= Last; ++Line_) {
      // The line end before this line is character data when no markup construct is open.
      if (Line_ > 1 && Construct_ == TyConstruct::None && !TextOpen_) {
        TextOpen_ = true;
        TextStart_ = LastEnd_;
        TextHas_ = false;
      }
      Text_ = List_.getItems(Line_)->TextUTF16.getText();
      Parser.First(Text_, Line_ == count, G_, S_);
      for (;;) {
        const TyXMLToken& t = Parser.getToken();
        if (t.IsDone) break;
        Handle(t);
        Parser.Next();
      }
      G_ = Parser.getStackG();
      S_ = Parser.getStackS();
      LastEnd_ = LineEnd(Line_);
    }
  }

  // The checks at the document's end; a piece only closes its construct and text.
  void Finish() {
    const int64_t count = List_.getCount();
    if (count == 0) throw CyXMLFormatException(kXMLNotWellFormedMessage, 1, 1);  // no root
    Line_ = count;
    Text_ = List_.getItems(count)->TextUTF16.getText();
    if (Construct_ != TyConstruct::None) Fail(ConstructStart_);
    FlushText(LastEnd_);
    if (Piece_) return;
    if (Open_) Fail(OpenStarts_.back());  // the innermost unclosed element
    if (!RootSeen_) Fail(LastEnd_);
  }

  // At a line start where a piece may begin: nothing open but elements, tokenizer at the
  // document-level state.
  bool EndsClean() const {
    return Construct_ == TyConstruct::None && !TextOpen_ && G_ == kXMLDocumentGroupWord &&
           S_ == kXMLDocumentSymbolWord;
  }
  // A piece's top-level items in document order: nodes, and end tags of elements it did not
  // open (Node null).
  const std::vector<TyXMLReaderItem>& getItems() const { return Items_; }
  // The innermost element open at the end (its Parent chain ends at the piece's top level).
  TyXMLDOMNode* getOpen() const { return Open_; }
  bool getRootSeen() const { return RootSeen_; }
  // Deepest nesting reached, counted from the piece's start.
  int32_t getMaxDepth() const { return MaxDepth_; }

 private:
  TyWhere LineEnd(int64_t Line) const {
    const TyTextUTF16& slice = List_.getItems(Line)->TextUTF16;
    return {Line, slice.getText() + slice.Length};
  }

  [[noreturn]] void Fail(TyWhere Where) {
    const int64_t Linepos = Where.P - List_.getItems(Where.Line)->TextUTF16.getText() + 1;
    throw CyXMLFormatException(kXMLNotWellFormedMessage, Where.Line, Linepos);
  }

  // The source from A to B as one piece per line, in a reused buffer.
  std::span<const TyXMLDOMPiece> Source(TyWhere A, TyWhere B) {
    Scratch_.clear();
    for (int64_t line = A.Line; line <= B.Line; ++line) {
      const TyTextUTF16& slice = List_.getItems(line)->TextUTF16;
      const char16_t* first = line == A.Line ? A.P : slice.getText();
      const char16_t* last = line == B.Line ? B.P : slice.getText() + slice.Length;
      Scratch_.push_back({first, static_cast<size_t>(last - first)});
    }
    return Scratch_;
  }
  // The same copied into the arena.
  TyXMLDOMArray<TyXMLDOMPiece> Pieces(TyWhere A, TyWhere B) {
    return Tree_.CopyPieces(Source(A, B));
  }

  void Link(TyXMLDOMNode* Node) {
    if (!Open_ && Piece_)
      Items_.push_back({Node, {}, {}});
    else
      LinkNode(Tree_, Open_, Node);
  }

  TyXMLDOMNode* NewNode(NT Type) { return Tree_.NewNode(Type); }

  void FlushText(TyWhere End) {
    if (!TextOpen_) return;
    TextOpen_ = false;
    if (!Open_ && TextHas_ && !Piece_) Fail(TextStart_);  // character data outside the root
    TyXMLDOMNode* node = NewNode(NT::ntText);
    node->HasText = TextHas_;
    if (!TextHas_ && FormatText_ && !(PreserveVerbatim_ && Open_ && Open_->PreserveText))
      node->Pieces = Tree_.LinesOnly(static_cast<size_t>(End.Line - TextStart_.Line + 1));
    else
      node->Pieces = Pieces(TextStart_, End);
    Link(node);
  }

  void Handle(const TyXMLToken& t) {
    const TyWhere at{Line_, Text_ + t.Offset0};
    const TyWhere after{Line_, Text_ + t.Offset1};
    const unsigned group = t.Group0();
    const unsigned symbol = t.Symbol0();
    if (t.TextIsMissing) {
      // The zero-width end of character data is how text ends before markup, not an error.
      if (group == XMLValue(G::TEXT) && symbol == XMLMissing(S::CLOSE)) return;
      Fail(at);
    }
    switch (Construct_) {
      case TyConstruct::None:
        return Begin(t, group, symbol, at, after);
      case TyConstruct::StartTag:
        return InStartTag(t, symbol, at, after);
      case TyConstruct::EndTag:
        if (symbol == XMLValue(S::TAG)) {
          EndName_ = t.Text();
        } else if (symbol == XMLValue(S::CLOSE) && group == XMLValue(G::ELEMENT_CLOSE)) {
          if (!Open_ && Piece_) {  // closes an element of an earlier piece
            Items_.push_back({nullptr, EndName_, ConstructStart_});
            Construct_ = TyConstruct::None;
            return;
          }
          if (!Open_ || Open_->Name() != EndName_) Fail(ConstructStart_);
          if (Open_->Parent && Open_->Parent->PreserveText)  // copied verbatim
            Open_->Pieces = Tree_.JoinPieces(Open_->Text(), Source(ConstructStart_, after));
          Open_ = Open_->Parent;
          OpenStarts_.pop_back();
          --Depth_;
          Construct_ = TyConstruct::None;
        }
        return;
      case TyConstruct::Delimited:
        if (group == ConstructGroup_ && symbol == XMLValue(S::CLOSE)) EndDelimited(at);
        return;
    }
  }

  void Begin(const TyXMLToken& t, unsigned group, unsigned symbol, TyWhere at, TyWhere after) {
    if (group == XMLValue(G::TEXT)) {
      if (!TextOpen_) {
        TextOpen_ = true;
        TextStart_ = at;
        TextHas_ = false;
      }
      if (!TextHas_)
        for (char16_t c : t.Text())
          if (!IsBlank(c)) {
            TextHas_ = true;
            break;
          }
      return;
    }
    if (t.Count() == 0) return;
    const bool open = symbol == XMLValue(S::OPEN);
    if (!open && symbol != XMLValue(S::OPEN_SLASH)) Fail(at);
    FlushText(at);
    ConstructStart_ = at;
    ConstructGroup_ = group;
    InnerStart_ = after;
    switch (static_cast<G>(group)) {
      case G::ELEMENT_OPEN:
        if (!open) Fail(at);
        Construct_ = TyConstruct::StartTag;
        Attributes_.clear();
        NameP_ = nullptr;
        NameCount_ = 0;
        LastEndLine_ = Line_;
        BlankOpen_ = false;
        InAttribute_ = false;
        SpaceMode_ = 0;
        return;
      case G::ELEMENT_CLOSE:
        Construct_ = TyConstruct::EndTag;
        EndName_ = {};
        return;
      case G::CDATA: DelimitedType_ = NT::ntCDATA; break;
      case G::COMMENT: DelimitedType_ = NT::ntComment; break;
      case G::DOCTYPE: DelimitedType_ = NT::ntDoctype; break;
      case G::PI: DelimitedType_ = NT::ntPI; break;
      case G::REF_ENTITY: DelimitedType_ = NT::ntRefEntity; break;
      case G::XML: DelimitedType_ = NT::ntXML; break;
      case G::XMLModel: DelimitedType_ = NT::ntXMLModel; break;
      case G::XMLStylesheet: DelimitedType_ = NT::ntXMLStylesheet; break;
      default: Fail(at);
    }
    if (!open) Fail(at);
    // References and CDATA are content: outside the root they are errors.
    if (!Open_ && !Piece_ && (DelimitedType_ == NT::ntCDATA || DelimitedType_ == NT::ntRefEntity))
      Fail(at);
    Construct_ = TyConstruct::Delimited;
  }

  void EndDelimited(TyWhere at) {
    NT type = DelimitedType_;
    TyWhere inner = InnerStart_;
    if (type == NT::ntRefEntity && inner.Line == at.Line && inner.P < at.P && *inner.P == u'#') {
      type = NT::ntRefChar;
      ++inner.P;
    }
    TyXMLDOMNode* node = NewNode(type);
    node->Pieces = Pieces(inner, at);
    Link(node);
    Construct_ = TyConstruct::None;
  }

  void InStartTag(const TyXMLToken& t, unsigned symbol, TyWhere at, TyWhere after) {
    switch (static_cast<S>(symbol)) {
      case S::WHITESPACE:
        if (!BlankOpen_) {
          BlankOpen_ = true;
          BlankStart_ = at;
        }
        return;
      case S::TAG:
        NameP_ = at.P;
        NameCount_ = static_cast<uint32_t>(t.Count());
        LastEndLine_ = Line_;
        break;
      case S::ATTRIBUTE_NAME:
        if (InAttribute_) Fail(AttributeStart_);  // a name without its value
        InAttribute_ = true;
        AttributeStart_ = at;
        InSpaceAttribute_ = t.Text() == u"xml:space";
        SpaceValue_ = {};
        break;
      case S::STRING1_V:
      case S::STRING2_V:
        if (InSpaceAttribute_) SpaceValue_ = t.Text();
        break;
      case S::STRING1_V_CLOSE:
      case S::STRING2_V_CLOSE: {
        if (!InAttribute_) Fail(at);  // a value without a name
        InAttribute_ = false;
        TyXMLDOMAttribute a;
        a.SameLine = AttributeStart_.Line == LastEndLine_;
        a.MultiLine = AttributeStart_.Line != Line_;
        a.Text = Pieces(AttributeStart_, after);
        Attributes_.push_back(a);
        LastEndLine_ = Line_;
        if (InSpaceAttribute_)
          SpaceMode_ = SpaceValue_ == u"preserve" ? 1 : SpaceValue_ == u"default" ? 2 : SpaceMode_;
        InSpaceAttribute_ = false;
        break;
      }
      case S::CLOSE_SLASH:
      case S::CLOSE: {
        const bool empty = symbol == XMLValue(S::CLOSE_SLASH);
        if (NameCount_ == 0) Fail(ConstructStart_);
        if (InAttribute_) Fail(AttributeStart_);
        TyXMLDOMNode* node = NewNode(NT::ntElement);
        node->NameP = NameP_;
        node->NameCount = NameCount_;
        node->Attributes = Tree_.CopyAttributes(Attributes_);
        // Only an element inside a preserved one is copied as written.
        if (Open_ && Open_->PreserveText) {
          node->TagsAsWritten = true;
          node->Pieces = Pieces(ConstructStart_, after);
        } else if (empty) {
          const bool blanks = BlankOpen_ && BlankStart_.Line == Line_;
          const char16_t* slash = blanks ? BlankStart_.P : at.P;
          const TyXMLDOMPiece piece{slash, static_cast<size_t>(after.P - slash)};
          node->Pieces = Tree_.CopyPieces({&piece, 1});
        }
        const std::u16string_view name = node->Name();
        node->PreserveText = WordsD_.Contains(name)   ? false
                             : WordsP_.Contains(name) ? true
                             : SpaceMode_ == 1        ? true
                             : SpaceMode_ == 2        ? false
                             : Open_ ? Open_->PreserveText
                                     : false;
        if (!Open_ && !Piece_) {
          if (RootSeen_) Fail(ConstructStart_);  // a second root
          RootSeen_ = true;
        }
        Link(node);
        if (!empty) {
          if (++Depth_ > kXMLFormatterMaxDepth) Fail(ConstructStart_);
          MaxDepth_ = std::max(MaxDepth_, Depth_);
          Open_ = node;
          OpenStarts_.push_back(ConstructStart_);
        }
        Construct_ = TyConstruct::None;
        break;
      }
      default:
        break;
    }
    BlankOpen_ = false;
  }

  const TxTextList& List_;
  PyXMLDOMTree& Tree_;
  const CyXMLWordList& WordsD_;
  const CyXMLWordList& WordsP_;

  bool FormatText_;
  bool PreserveVerbatim_;
  bool Piece_;
  std::vector<TyXMLReaderItem> Items_;
  int32_t MaxDepth_ = 0;
  uint64_t G_ = kXMLDocumentGroupWord;
  uint64_t S_ = kXMLDocumentSymbolWord;

  int64_t Line_ = 0;
  const char16_t* Text_ = nullptr;
  TyWhere LastEnd_;
  TyXMLDOMNode* Open_ = nullptr;  // innermost open element
  std::vector<TyWhere> OpenStarts_;  // start tags of the open elements, outermost first
  int32_t Depth_ = 0;
  bool RootSeen_ = false;

  TyConstruct Construct_ = TyConstruct::None;
  TyWhere ConstructStart_;
  TyWhere InnerStart_;
  unsigned ConstructGroup_ = 0;
  NT DelimitedType_ = NT::ntText;

  bool TextOpen_ = false;
  bool TextHas_ = false;
  TyWhere TextStart_;

  const char16_t* NameP_ = nullptr;
  uint32_t NameCount_ = 0;
  std::u16string_view EndName_;
  std::vector<TyXMLDOMAttribute> Attributes_;
  TyWhere AttributeStart_;
  int64_t LastEndLine_ = 0;
  bool BlankOpen_ = false;
  TyWhere BlankStart_;
  bool InAttribute_ = false;  // between an attribute's name and its value's closing quote
  bool InSpaceAttribute_ = false;
  std::u16string_view SpaceValue_;
  int SpaceMode_ = 0;  // xml:space of the tag being read: 0 none, 1 preserve, 2 default

  std::vector<TyXMLDOMPiece> Scratch_;
};


}  // namespace xylem::detail
