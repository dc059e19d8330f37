#include "xml/format/EventWriter.hpp"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "common/Exception.hpp"
#include "common/Utf.hpp"
#include "xml/format/Reader.hpp"

namespace xylem {

namespace {

using NT = TyXMLDOMNodeType;
using FO = TyXMLFormattingOption;
using LO = TyXMLLayoutOption;

bool IsTabOrSpace(char16_t c) { return c == u' ' || c == u'\t'; }

bool IsReference(NT Type) { return Type == NT::ntRefChar || Type == NT::ntRefEntity; }

// The source text began / ended with white space (a line break counts).
bool BeginsBlank(std::span<const TyXMLDOMPiece> p) {
  return p[0].Count == 0 ? p.size() > 1 : IsTabOrSpace(p[0].P[0]);
}
bool EndsBlank(std::span<const TyXMLDOMPiece> p) {
  const TyXMLDOMPiece& last = p.back();
  return last.Count == 0 ? p.size() > 1 : IsTabOrSpace(last.P[last.Count - 1]);
}

// A tab, or two spaces side by side: the line needs its blanks collapsed.
bool HasBlankRun(std::u16string_view Line) {
  const char16_t* p = Line.data();
  const char16_t* const end = p + Line.size();
#if defined(__SSE2__)
  const __m128i space = _mm_set1_epi16(u' '), tab = _mm_set1_epi16(u'\t');
  for (; end - p >= 9; p += 8) {
    const __m128i here = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 1));
    const __m128i pairs = _mm_and_si128(_mm_cmpeq_epi16(here, space), _mm_cmpeq_epi16(next, space));
    if (_mm_movemask_epi8(_mm_or_si128(pairs, _mm_cmpeq_epi16(here, tab))) != 0) return true;
  }
#endif
  for (; p < end; ++p)
    if (*p == u'\t' || (*p == u' ' && p + 1 < end && p[1] == u' ')) return true;
  return false;
}

std::u16string_view Trimmed(const TyXMLDOMPiece& p) {
  size_t a = 0, b = p.Count;
  while (a < b && IsTabOrSpace(p.P[a])) ++a;
  while (b > a && IsTabOrSpace(p.P[b - 1])) --b;
  return {p.P + a, b - a};
}

}  // namespace

CyXMLEventWriter::CyXMLEventWriter(IyXMLWriterOutputStream& OutputStream,
                                   TyXMLFormattingOptions XMLFormattingOptions,
                                   TyXMLLayoutOptions XMLLayoutOptions,
                                   std::u16string_view ExtraIndent,
                                   std::u16string_view IndentationUnit, int BaseLevel)
    : Out_(OutputStream),
      Formatting_(XMLFormattingOptions),
      Layout_(XMLLayoutOptions),
      ExtraIndent_(ExtraIndent),
      Unit_(IndentationUnit),
      Indents_(ExtraIndent),
      BaseLevel_(BaseLevel) {}

CyXMLEventWriter::~CyXMLEventWriter() {
  try {
    Flush();
  } catch (...) {  // NOLINT(bugprone-empty-catch): the writer is abandoned after an error
  }
}

void CyXMLEventWriter::setMuted(bool Muted) { Muted_ = Muted; }

void CyXMLEventWriter::Flush() {
  if (Used_ == 0) return;
  Out_.WriteString({Buffer_, Used_});
  Used_ = 0;
}

void CyXMLEventWriter::PutLarge(std::u16string_view Text, bool Piece) {
  Flush();
  if (Text.size() < kBufferUnits) {
    std::char_traits<char16_t>::copy(Buffer_, Text.data(), Text.size());
    Used_ = Text.size();
  } else if (Piece) {
    Out_.WritePiece(Text.data(), Text.size());
  } else {
    Out_.WriteString(Text);
  }
}

std::u16string_view CyXMLEventWriter::Indent(int Level) {
  if (Level > kXMLFormatterMaxDepth) Level = 0;
  const size_t need = ExtraIndent_.size() + static_cast<size_t>(Level) * Unit_.size();
  while (Indents_.size() < need) Indents_ += Unit_;
  return {Indents_.data(), need};
}

void CyXMLEventWriter::LineBreak(int Level) {
  Put(u"\r\n");
  Put(Indent(Level));
}

void CyXMLEventWriter::WritePieces(std::span<const TyXMLDOMPiece> Pieces) {
  for (size_t i = 0; i < Pieces.size(); ++i) {
    if (i > 0) Put(u"\r\n");
    PutPiece(Pieces[i].View());
  }
}

// Each line trimmed of tabs and spaces, runs of them inside a line made one space, the
// non-empty lines joined with one space.
void CyXMLEventWriter::WriteNormalised(std::span<const TyXMLDOMPiece> Pieces) {
  static constexpr char16_t kBlanks[] = {u' ', u'\t'};
  bool first = true;
  for (const TyXMLDOMPiece& piece : Pieces) {
    const std::u16string_view line = Trimmed(piece);
    if (line.empty()) continue;
    if (!first) Put(u" ");
    first = false;
    if (!HasBlankRun(line)) {  // the usual text: single spaces between words
      PutPiece(line);
      continue;
    }
    // Runs of other characters copied whole; the line ends in a non-blank.
    const char16_t* p = line.data();
    const char16_t* const end = p + line.size();
    for (;;) {
      const char16_t* blank = FindAnyUnit(p, end, kBlanks);
      PutPiece({p, static_cast<size_t>(blank - p)});
      if (blank == end) break;
      Put(u" ");
      for (p = blank + 1; IsTabOrSpace(*p); ++p) {
      }
    }
  }
}

void CyXMLEventWriter::WriteDelimited(NT Type, std::span<const TyXMLDOMPiece> Inner) {
  std::u16string_view open, close;
  switch (Type) {
    case NT::ntCDATA:
      open = u"<![CDATA[";
      close = u"]]>";
      break;
    case NT::ntComment:
      open = u"<!--";
      close = u"-->";
      break;
    case NT::ntDoctype:
      open = u"<!DOCTYPE";
      close = u">";
      break;
    case NT::ntPI:
    case NT::ntXML:
    case NT::ntXMLModel:
    case NT::ntXMLStylesheet:
      open = u"<?";
      close = u"?>";
      break;
    case NT::ntRefChar:
      open = u"&#";
      close = u";";
      break;
    case NT::ntRefEntity:
      open = u"&";
      close = u";";
      break;
    case NT::ntText:
      break;
    default:
      throw CyShouldNeverHappenException("CyXMLWriter: unknown node type");
  }
  Put(open);
  WritePieces(Inner);
  Put(close);
}

void CyXMLEventWriter::WriteAttribute(const TyXMLAttributeSource& Attribute, int Level,
                                      bool OnOwnLine) {
  if (OnOwnLine)
    LineBreak(Level + 1);
  else
    Put(u" ");
  if (!Attribute.MultiLine) {
    PutPiece(Attribute.Text[0].View());
    return;
  }
  for (size_t i = 0; i < Attribute.Text.size(); ++i) {
    if (i > 0) LineBreak(Level + 2);
    PutPiece(Trimmed(Attribute.Text[i]));
  }
}

void CyXMLEventWriter::WriteStartTagOpen(const TyXMLStartTag& Tag, int Level) {
  Put(u"<");
  PutPiece(Tag.Name);
  const bool format = Formatting_.Has(FO::xfoFormatAttributes);
  const bool inlined = format && Layout_.Has(LO::xloAttributesInline);
  for (const TyXMLAttributeSource& a : Tag.Attributes) {
    if (inlined) {
      Put(u" ");
      WritePieces(a.Text);
    } else {
      WriteAttribute(a, Level, format || !a.SameLine);
    }
  }
}

void CyXMLEventWriter::WriteEndTag(std::u16string_view Name) {
  Put(u"</");
  PutPiece(Name);
  Put(u">");
}

void CyXMLEventWriter::WriteEmptyEnd(std::u16string_view Name, std::u16string_view CloseSlash) {
  if (Formatting_.Has(FO::xfoFormatEmptyElements)) {
    if (Layout_.Has(LO::xloEmptyElementExpand)) {
      Put(u">");
      WriteEndTag(Name);
    } else {
      Put(Layout_.Has(LO::xloEmptyElementAddSpaceBeforeSlash) ? u" />" : u"/>");
    }
  } else if (!CloseSlash.empty()) {
    PutPiece(CloseSlash);
  } else {
    Put(u">");
    WriteEndTag(Name);
  }
}

CyXMLEventWriter::TyMode CyXMLEventWriter::ModeOf(bool Preserve, bool HasText) const {
  if (Preserve && Layout_.Has(LO::xloPreserveVerbatim)) return TyMode::Verbatim;
  if (!Formatting_.Has(FO::xfoFormatText) && HasText) return TyMode::Source;
  if (HasText && Layout_.Has(LO::xloTextInline)) return TyMode::Inline;
  return TyMode::Indented;
}

void CyXMLEventWriter::Resolve(TyFrame& Frame, TyNext Next) {
  const TyPending pending = Frame.Pending;
  Frame.Pending = TyPending::None;
  switch (pending) {
    case TyPending::None:
      return;
    case TyPending::StartOpen:
      Put(u">");
      if (Frame.Mode == TyMode::Indented && Next != TyNext::Comment && Next != TyNext::Text &&
          Next != TyNext::Reference)
        LineBreak(Frame.Level + 1);
      return;
    case TyPending::StartOpenBlank:
      Put(u">");
      TextChild(Frame, Held_, HeldLines_, false);
      return Resolve(Frame, Next);
    case TyPending::AfterChild:
      if (Next == TyNext::End)
        LineBreak(Frame.Level);
      else if (Next == TyNext::Text || Next == TyNext::Reference)
        return;  // text and references place themselves
      else if (Next != TyNext::Comment || !Frame.AfterElement)
        LineBreak(Frame.Level + 1);  // a comment after an element stays on its line
      return;
    case TyPending::AfterText:
      LineBreak(Next == TyNext::End ? Frame.Level : Frame.Level + 1);
      return;
    case TyPending::AfterBlank:
      if (Next == TyNext::End)
        LineBreak(Frame.Level);
      else if (Next == TyNext::Comment && Frame.BlankLines < 2)
        Put(u" ");  // a comment on the line of what precedes it stays there
      else
        LineBreak(Frame.Level + 1);
      return;
  }
}

void CyXMLEventWriter::TextChild(TyFrame& Frame, std::span<const TyXMLDOMPiece> Pieces,
                                 size_t LineCount, bool HasText) {
  switch (Frame.Mode) {
    case TyMode::Verbatim:
    case TyMode::Source:
      WritePieces(Pieces);
      return;
    case TyMode::Inline:
      if (!HasText) {
        Put(u" ");
        return;
      }
      if (BeginsBlank(Pieces)) Put(u" ");
      WriteNormalised(Pieces);
      if (EndsBlank(Pieces)) Put(u" ");
      return;
    case TyMode::Indented:
      break;
  }
  if (HasText) {
    if (BeginsBlank(Pieces)) LineBreak(Frame.Level + 1);
    WriteNormalised(Pieces);
    if (EndsBlank(Pieces)) Frame.Pending = TyPending::AfterText;
    return;
  }
  // White space only: keeps the blank lines of the source unless they are removed.
  if (!Formatting_.Has(FO::xfoRemoveWhitespaceOnlyLines))
    for (size_t i = 2; i < LineCount; ++i) Put(u"\r\n");
  Frame.Pending = TyPending::AfterBlank;
  Frame.BlankLines = LineCount;
}

// A child element ended: what follows it waits for the next event.
void CyXMLEventWriter::ChildDone() {
  if (Stack_.empty()) return;
  TyFrame& parent = Stack_.back();
  if (parent.Mode != TyMode::Indented) return;
  parent.Pending = TyPending::AfterChild;
  parent.AfterElement = true;
}

// Before a top-level node other than white space.
void CyXMLEventWriter::TopLevelNode() {
  if (Written_) {
    for (; TopBlankLines_ > 0; --TopBlankLines_) Put(u"\r\n");
    LineBreak(BaseLevel_);
  }
  Written_ = true;
  TopBlankLines_ = 0;
}

void CyXMLEventWriter::StartElement(const TyXMLStartTag& Tag) {
  int level = BaseLevel_;
  bool inVerbatim = false;
  if (Stack_.empty()) {
    TopLevelNode();
  } else {
    TyFrame& parent = Stack_.back();
    Resolve(parent, TyNext::Element);
    level = parent.Level + 1;
    inVerbatim = parent.Mode == TyMode::Verbatim;
  }
  if (inVerbatim && Tag.Preserve) {  // inside preserved content: tags as written
    WritePieces(Tag.AsWritten);
    if (!Tag.Empty) Stack_.push_back({Tag.Name, level, TyMode::Verbatim, true});
    return;
  }
  WriteStartTagOpen(Tag, level);
  if (Tag.Empty) {
    WriteEmptyEnd(Tag.Name, Tag.CloseSlash);
    ChildDone();
    return;
  }
  Stack_.push_back(
      {Tag.Name, level, ModeOf(Tag.Preserve, Tag.HasText), false, TyPending::StartOpen});
}

void CyXMLEventWriter::EndElement(std::span<const TyXMLDOMPiece> AsWritten) {
  TyFrame& frame = Stack_.back();
  if (frame.VerbatimTags) {
    WritePieces(AsWritten);
  } else if (frame.Pending == TyPending::StartOpen || frame.Pending == TyPending::StartOpenBlank) {
    // No content, or only white space that is cleared.
    WriteEmptyEnd(frame.Name, {});
  } else {
    Resolve(frame, TyNext::End);
    WriteEndTag(frame.Name);
  }
  Stack_.pop_back();
  ChildDone();
}

void CyXMLEventWriter::Text(std::span<const TyXMLDOMPiece> Pieces, size_t LineCount, bool HasText) {
  if (Stack_.empty()) {  // white space: the reader refuses text outside the root
    if (Written_ && !Formatting_.Has(FO::xfoRemoveWhitespaceOnlyLines) && LineCount > 2)
      TopBlankLines_ = LineCount - 2;
    return;
  }
  TyFrame& frame = Stack_.back();
  if (frame.Pending == TyPending::StartOpen && !HasText && frame.Mode != TyMode::Verbatim &&
      Formatting_.Has(FO::xfoClearWhitespaceOnlyElements)) {
    // Cleared if the end tag follows.
    Held_.assign(Pieces.begin(), Pieces.end());
    HeldLines_ = LineCount;
    frame.Pending = TyPending::StartOpenBlank;
    return;
  }
  Resolve(frame, TyNext::Text);
  TextChild(frame, Pieces, LineCount, HasText);
}

void CyXMLEventWriter::Delimited(NT Type, std::span<const TyXMLDOMPiece> Inner) {
  if (Stack_.empty()) {
    TopLevelNode();
    WriteDelimited(Type, Inner);
    return;
  }
  TyFrame& frame = Stack_.back();
  const bool reference = IsReference(Type);
  Resolve(frame, reference               ? TyNext::Reference
                 : Type == NT::ntComment ? TyNext::Comment
                                         : TyNext::Other);
  WriteDelimited(Type, Inner);
  if (frame.Mode == TyMode::Indented && !reference) {
    frame.Pending = TyPending::AfterChild;
    frame.AfterElement = false;
  }
}

void CyXMLEventWriter::StopBeforeElement() {
  if (!Stack_.empty()) Resolve(Stack_.back(), TyNext::Element);
}

void CyXMLEventWriter::Reopen(std::u16string_view Name, bool Preserve, bool HasText) {
  const bool inVerbatim = !Stack_.empty() && Stack_.back().Mode == TyMode::Verbatim;
  const int level = Stack_.empty() ? BaseLevel_ : Stack_.back().Level + 1;
  if (inVerbatim && Preserve)
    Stack_.push_back({Name, level, TyMode::Verbatim, true});
  else
    Stack_.push_back({Name, level, ModeOf(Preserve, HasText), false});
  Written_ = true;
}

}  // namespace xylem
