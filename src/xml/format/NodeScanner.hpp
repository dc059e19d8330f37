#pragma once
// The formatter's scanner: one pass over a range of the document that checks what the
// formatter refuses and hands each node to a sink as its construct ends, so the tree reader
// and the streaming writer see the same nodes and the same refusals. Between constructs at
// document level it reads with CyRawXMLLineLexer, elsewhere with the tokenizer; both give it
// the same tokens.
//
// A sink provides:
//   void Text(std::span<const TyXMLDOMPiece> Pieces, bool HasText);
//   void Delimited(TyXMLDOMNodeType Type, std::span<const TyXMLDOMPiece> Inner);
//   void StartTag(const TyXMLScannedTag& Tag);
//   void EndTag(std::span<const TyXMLDOMPiece> AsWritten);  // the innermost open element's
//   void OuterEndTag(std::u16string_view Name, TyWhere Where);  // piece: not opened in it
//   bool Stopped() const;  // checked after every token: true ends the read early
//
// The whole document is one range. A piece (Piece) starts where markup begins, from the
// document-level state with no element open: its end tags of elements it did not open go to
// OuterEndTag, and the checks that need that context (a second root, text or references
// outside the root) are the caller's. Resume instead starts a range inside the root with the
// open elements known.

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "common/JobContext.hpp"
#include "text/TextList.hpp"
#include "xml/format/DOM.hpp"
#include "xml/format/Reader.hpp"
#include "xml/syntax/RawXMLLineLexer.hpp"
#include "xml/syntax/TokenizerKinds.hpp"

namespace xylem::detail {

using G = TyXMLGroup;
using S = TyXMLSymbol;
using NT = TyXMLDOMNodeType;

inline bool IsBlank(char16_t c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n'; }

// A position in the source: a line and a pointer into that line's characters.
struct TyWhere {
  int64_t Line = 0;
  const char16_t* P = nullptr;
  bool operator==(const TyWhere&) const = default;
};

// An element whose start tag has been read and whose end tag has not.
struct TyXMLOpenElement {
  std::u16string_view Name;
  TyWhere Start;
  bool Preserve = false;  // PreserveText
};

// A start tag as the scanner hands it to its sink (HasText unknown); the spans live until the
// next token.
struct TyXMLScannedTag : TyXMLStartTag {
  TyWhere Start;
  bool InPreserved = false;  // the parent's PreserveText: AsWritten holds the tag as written
};

// The source from A to B as one piece per line, into Out (cleared first).
inline std::span<const TyXMLDOMPiece> SourcePieces(const TxTextList& List, TyWhere A, TyWhere B,
                                                   std::vector<TyXMLDOMPiece>& Out) {
  Out.clear();
  for (int64_t line = A.Line; line <= B.Line; ++line) {
    const TyTextUTF16& slice = List.getItems(line)->TextUTF16;
    const char16_t* first = line == A.Line ? A.P : slice.getText();
    const char16_t* last = line == B.Line ? B.P : slice.getText() + slice.Length;
    Out.push_back({first, static_cast<size_t>(last - first)});
  }
  return Out;
}

// A line where a piece may start: the previous line ends with ">" and this one begins with
// "<" after blanks, so the boundary most likely lies between two constructs.
bool IsXMLPieceStart(const TxTextList& List, int64_t Line);

// First lines of the pieces a big document is read in at once (the first is line 1): lines
// that follow a line ending a tag and begin with one, near even cuts. One piece when the
// document is small (PieceCount 0: one per processor as the settings allow; fewer when a piece
// would have under MinPieceLines lines).
std::vector<int64_t> XMLPieceStarts(const TxTextList& List, int PieceCount, int64_t MinPieceLines);

enum class TyConstruct : uint8_t { None, StartTag, EndTag, Delimited };

// Lines between two polls of a scan's stop token (and progress reports): a few milliseconds.
inline constexpr int64_t kXMLScanPollLines = 4096;

template <typename TySink>
class CyXMLNodeScanner {
 public:
  CyXMLNodeScanner(const TxTextList& List, TySink& Sink, const CyXMLWordList& WordsD,
                   const CyXMLWordList& WordsP, bool Piece = false)
      : List_(List), Sink_(Sink), WordsD_(WordsD), WordsP_(WordsP), Piece_(Piece) {}

  // Starts inside the root element with Open (outermost first) open, between constructs at
  // document level.
  void Resume(std::span<const TyXMLOpenElement> Open) {
    Open_.assign(Open.begin(), Open.end());
    RootSeen_ = true;
  }

  // With the fast path off every line goes through the tokenizer (for comparing the two).
  void setFastPath(bool On) { FastPath_ = On; }
  // Read advances Job's progress by lines and polls its stop token (CyCancelledException)
  // every kXMLScanPollLines lines; null: neither.
  void setJob(const TyJobContext* Job) { Job_ = Job; }

  // The start of line Line; past the last line, the document's end.
  TyWhere LineStart(int64_t Line) const {
    if (Line > List_.getCount()) return {Line, nullptr};
    return {Line, List_.getItems(Line)->TextUTF16.getText()};
  }

  // Reads lines First .. Last (see the next Read).
  void Read(TxXMLParser& Parser, int64_t First, int64_t Last) {
    Read(Parser, LineStart(First), LineStart(Last + 1));
  }

  // Reads from From up to To (not included), continuing from the state the previous call
  // left: From is a line start or where the previous call stopped. Returns early when the sink
  // says it has stopped. When To lies inside a line, a construct that runs on past it makes
  // EndsClean false.
  void Read(TxXMLParser& Parser, TyWhere From, TyWhere To) {
    const int64_t count = List_.getCount();
    if (From.Line > 1 && LastEnd_.P == nullptr) LastEnd_ = LineEnd(From.Line - 1);
    for (Line_ = From.Line; Line_ <= count && Line_ <= To.Line; ++Line_) {
      if (Job_ && ++Polled_ == kXMLScanPollLines) {
        Polled_ = 0;
        Job_->ThrowIfStopped();
        Job_->Advance(kXMLScanPollLines);
      }
      const TyTextUTF16& slice = List_.getItems(Line_)->TextUTF16;
      Text_ = slice.getText();
      TextEnd_ = Text_ + slice.Length;
      const char16_t* limit = Line_ == To.Line ? To.P : nullptr;
      if (limit == Text_) return;
      const char16_t* p = Line_ == From.Line ? From.P : Text_;
      // The line end before this line is character data when no markup construct is open.
      if (p == Text_ && Line_ > 1 && Construct_ == TyConstruct::None && !TextOpen_) {
        TextOpen_ = true;
        TextStart_ = LastEnd_;
        TextHas_ = false;
      }
      if (!ReadLine(Parser, Line_ == count, p, limit) || limit) return;
      LastEnd_ = LineEnd(Line_);
    }
  }

  // Reads the current line from P up to Limit (null: its end): the fast path wherever it
  // stands between constructs at document level, the tokenizer for everything else. False
  // when the sink stopped.
  bool ReadLine(TxXMLParser& Parser, bool AtEnd, const char16_t* P, const char16_t* Limit) {
    for (;;) {
      while (FastPath_ && Construct_ == TyConstruct::None && G_ == kXMLDocumentGroupWord &&
             S_ == kXMLDocumentSymbolWord && *P != u'\0' && !(Limit && P >= Limit)) {
        const char16_t* next = CyRawXMLLineLexer::Lex(Text_, TextEnd_, P, Limit, Tokens_);
        for (const TyXMLScanToken& t : Tokens_) {
          Handle(t);
          if (Sink_.Stopped()) return false;
        }
        if (next == P) break;  // a construct for the tokenizer
        P = next;
      }
      if (Limit && P >= Limit) {
        Crossed_ |= P > Limit;
        return true;
      }
      if (*P == u'\0') return true;
      // The tokenizer, until the line ends or it stands between constructs again.
      const int64_t base = P - Text_;
      Parser.First(P, AtEnd, G_, S_);
      for (;;) {
        const TyXMLToken& t = Parser.getToken();
        if (t.IsDone) {
          G_ = Parser.getStackG();
          S_ = Parser.getStackS();
          Crossed_ |= Limit != nullptr;
          return true;
        }
        Handle(ScanTokenOf(t, base));
        if (Sink_.Stopped()) return false;
        const bool between = t.EndsAtDocumentLevel();
        // The tokenizer ended a construct this scanner has not: it must not be read past.
        if (between && Construct_ != TyConstruct::None) Fail(ConstructStart_);
        if (between && t.Offset1 > 0) {
          G_ = t.StackG1;
          S_ = t.StackS1;
          P += t.Offset1;
          break;
        }
        Parser.Next();
      }
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
    if (!Open_.empty()) Fail(Open_.back().Start);  // the innermost unclosed element
    if (!RootSeen_) Fail(LastEnd_);
  }

  // At a line start where a piece may begin: nothing open but elements, tokenizer at the
  // document-level state.
  bool EndsClean() const {
    return Construct_ == TyConstruct::None && !TextOpen_ && !Crossed_ &&
           G_ == kXMLDocumentGroupWord && S_ == kXMLDocumentSymbolWord;
  }
  // The elements open now, outermost first.
  const std::vector<TyXMLOpenElement>& getOpen() const { return Open_; }
  bool getRootSeen() const { return RootSeen_; }
  // Deepest nesting reached, counted from the range's start.
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

  std::span<const TyXMLDOMPiece> Source(TyWhere A, TyWhere B) {
    return SourcePieces(List_, A, B, Scratch_);
  }

  bool InPreserved() const { return !Open_.empty() && Open_.back().Preserve; }

  void FlushText(TyWhere End) {
    if (!TextOpen_) return;
    TextOpen_ = false;
    if (Open_.empty() && TextHas_ && !Piece_) Fail(TextStart_);  // character data outside the root
    Sink_.Text(Source(TextStart_, End), TextHas_);
  }

  std::u16string_view TextOf(const TyXMLScanToken& t) const {
    return {Text_ + t.Offset0, static_cast<size_t>(t.Offset1 - t.Offset0)};
  }

  void Handle(const TyXMLScanToken& t) {
    const TyWhere at{Line_, Text_ + t.Offset0};
    const TyWhere after{Line_, Text_ + t.Offset1};
    const unsigned group = t.Group;
    const unsigned symbol = t.Symbol;
    if (t.Missing) {
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
          EndName_ = TextOf(t);
        } else if (symbol == XMLValue(S::CLOSE)) {
          EndTag(after);
        } else if (symbol != XMLValue(S::WHITESPACE)) {
          Fail(ConstructStart_);  // attributes or "/>" in an end tag
        }
        return;
      case TyConstruct::Delimited:
        if (group == ConstructGroup_ && symbol == XMLValue(S::CLOSE)) EndDelimited(at);
        return;
    }
  }

  void EndTag(TyWhere After) {
    Construct_ = TyConstruct::None;
    if (Open_.empty() && Piece_) {  // closes an element of an earlier piece
      Sink_.OuterEndTag(EndName_, ConstructStart_);
      return;
    }
    if (Open_.empty() || Open_.back().Name != EndName_) Fail(ConstructStart_);
    // An element inside a preserved one is copied as written.
    const bool asWritten = Open_.size() > 1 && Open_[Open_.size() - 2].Preserve;
    Sink_.EndTag(asWritten ? Source(ConstructStart_, After) : std::span<const TyXMLDOMPiece>());
    Open_.pop_back();
  }

  void Begin(const TyXMLScanToken& t, unsigned group, unsigned symbol, TyWhere at, TyWhere after) {
    if (group == XMLValue(G::TEXT)) {
      if (!TextOpen_) {
        TextOpen_ = true;
        TextStart_ = at;
        TextHas_ = false;
      }
      if (!TextHas_)
        for (char16_t c : TextOf(t))
          if (!IsBlank(c)) {
            TextHas_ = true;
            break;
          }
      return;
    }
    if (t.Offset1 == t.Offset0) return;
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
        AttributePieces_.clear();
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
      case G::CDATA:
        DelimitedType_ = NT::ntCDATA;
        break;
      case G::COMMENT:
        DelimitedType_ = NT::ntComment;
        break;
      case G::DOCTYPE:
        DelimitedType_ = NT::ntDoctype;
        break;
      case G::PI:
        DelimitedType_ = NT::ntPI;
        break;
      case G::REF_ENTITY:
        DelimitedType_ = NT::ntRefEntity;
        break;
      case G::XML:
        DelimitedType_ = NT::ntXML;
        break;
      case G::XMLModel:
        DelimitedType_ = NT::ntXMLModel;
        break;
      case G::XMLStylesheet:
        DelimitedType_ = NT::ntXMLStylesheet;
        break;
      default:
        Fail(at);
    }
    if (!open) Fail(at);
    // References and CDATA are content: outside the root they are errors.
    if (Open_.empty() && !Piece_ &&
        (DelimitedType_ == NT::ntCDATA || DelimitedType_ == NT::ntRefEntity))
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
    Construct_ = TyConstruct::None;
    Sink_.Delimited(type, Source(inner, at));
  }

  // An attribute's pieces are collected in one buffer; spans into it are made once the tag
  // is complete, when the buffer no longer grows.
  struct TyAttributeRange {
    size_t First, Count;
    bool SameLine, MultiLine;
  };

  void InStartTag(const TyXMLScanToken& t, unsigned symbol, TyWhere at, TyWhere after) {
    switch (static_cast<S>(symbol)) {
      case S::WHITESPACE:
        if (!BlankOpen_) {
          BlankOpen_ = true;
          BlankStart_ = at;
        }
        return;
      case S::TAG:
        // The tokenizer ends a name only at "/>", so "<L//>" names "L/", which written back
        // would read as another element.
        if (TextOf(t).find(u'/') != std::u16string_view::npos) Fail(ConstructStart_);
        NameP_ = at.P;
        NameCount_ = static_cast<uint32_t>(t.Offset1 - t.Offset0);
        LastEndLine_ = Line_;
        break;
      case S::ATTRIBUTE_NAME:
        if (InAttribute_) Fail(AttributeStart_);  // a name without its value
        InAttribute_ = true;
        AttributeStart_ = at;
        InSpaceAttribute_ = TextOf(t) == u"xml:space";
        SpaceValue_ = {};
        break;
      case S::STRING1_V:
      case S::STRING2_V:
        if (InSpaceAttribute_) SpaceValue_ = TextOf(t);
        break;
      case S::STRING1_V_CLOSE:
      case S::STRING2_V_CLOSE: {
        if (!InAttribute_) Fail(at);  // a value without a name
        InAttribute_ = false;
        const std::span<const TyXMLDOMPiece> text = Source(AttributeStart_, after);
        Attributes_.push_back({AttributePieces_.size(), text.size(),
                               AttributeStart_.Line == LastEndLine_,
                               AttributeStart_.Line != Line_});
        AttributePieces_.insert(AttributePieces_.end(), text.begin(), text.end());
        LastEndLine_ = Line_;
        if (InSpaceAttribute_)
          SpaceMode_ = SpaceValue_ == u"preserve" ? 1 : SpaceValue_ == u"default" ? 2 : SpaceMode_;
        InSpaceAttribute_ = false;
        break;
      }
      case S::CLOSE_SLASH:
      case S::CLOSE:
        EndStartTag(symbol == XMLValue(S::CLOSE_SLASH), at, after);
        break;
      default:
        break;
    }
    BlankOpen_ = false;
  }

  void EndStartTag(bool Empty, TyWhere at, TyWhere after) {
    if (NameCount_ == 0) Fail(ConstructStart_);
    if (InAttribute_) Fail(AttributeStart_);
    TyXMLScannedTag tag;
    tag.Name = {NameP_, NameCount_};
    tag.Start = ConstructStart_;
    tag.Empty = Empty;
    if (Empty) {
      const bool blanks = BlankOpen_ && BlankStart_.Line == Line_;
      const char16_t* slash = blanks ? BlankStart_.P : at.P;
      tag.CloseSlash = {slash, static_cast<size_t>(after.P - slash)};
    }
    tag.InPreserved = InPreserved();
    tag.Preserve = WordsD_.Contains(tag.Name)   ? false
                   : WordsP_.Contains(tag.Name) ? true
                   : SpaceMode_ == 1            ? true
                   : SpaceMode_ == 2            ? false
                                                : tag.InPreserved;
    if (Open_.empty() && !Piece_) {
      if (RootSeen_) Fail(ConstructStart_);  // a second root
      RootSeen_ = true;
    }
    Spans_.clear();
    for (const TyAttributeRange& a : Attributes_)
      Spans_.push_back({{AttributePieces_.data() + a.First, a.Count}, a.SameLine, a.MultiLine});
    tag.Attributes = Spans_;
    if (tag.InPreserved) tag.AsWritten = Source(ConstructStart_, after);
    Construct_ = TyConstruct::None;
    Sink_.StartTag(tag);
    if (!Empty) {
      Open_.push_back({tag.Name, ConstructStart_, tag.Preserve});
      MaxDepth_ = std::max(MaxDepth_, static_cast<int32_t>(Open_.size()));
    }
  }

  const TxTextList& List_;
  TySink& Sink_;
  const CyXMLWordList& WordsD_;
  const CyXMLWordList& WordsP_;
  bool Piece_;
  bool FastPath_ = true;
  const TyJobContext* Job_ = nullptr;
  int64_t Polled_ = 0;    // lines read since the last poll
  bool Crossed_ = false;  // a construct ran on past the end of a read inside a line

  int32_t MaxDepth_ = 0;
  uint64_t G_ = kXMLDocumentGroupWord;
  uint64_t S_ = kXMLDocumentSymbolWord;

  int64_t Line_ = 0;
  const char16_t* Text_ = nullptr;
  const char16_t* TextEnd_ = nullptr;  // the line's NUL
  TyWhere LastEnd_;
  std::vector<TyXMLOpenElement> Open_;
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
  std::vector<TyAttributeRange> Attributes_;
  std::vector<TyXMLDOMPiece> AttributePieces_;
  std::vector<TyXMLAttributeSource> Spans_;
  TyWhere AttributeStart_;
  int64_t LastEndLine_ = 0;
  bool BlankOpen_ = false;
  TyWhere BlankStart_;
  bool InAttribute_ = false;  // between an attribute's name and its value's closing quote
  bool InSpaceAttribute_ = false;
  std::u16string_view SpaceValue_;
  int SpaceMode_ = 0;  // xml:space of the tag being read: 0 none, 1 preserve, 2 default

  std::vector<TyXMLDOMPiece> Scratch_;
  std::vector<TyXMLScanToken> Tokens_;  // the fast path's tokens of one line
};

}  // namespace xylem::detail
