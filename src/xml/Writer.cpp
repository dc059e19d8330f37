#include "xml/Writer.hpp"

#include "common/Exception.hpp"

namespace xylem {

namespace {

using NT = TyXMLDOMNodeType;
using FO = TyXMLFormattingOption;
using LO = TyXMLLayoutOption;

bool IsTabOrSpace(char16_t c) { return c == u' ' || c == u'\t'; }

bool IsReference(const TyXMLDOMNode& n) {
  return n.Type_ == NT::ntRefChar || n.Type_ == NT::ntRefEntity;
}

// The source text began / ended with white space (a line break counts).
bool BeginsBlank(std::span<const TyXMLDOMPiece> p) {
  return p[0].Count == 0 ? p.size() > 1 : IsTabOrSpace(p[0].P[0]);
}
bool EndsBlank(std::span<const TyXMLDOMPiece> p) {
  const TyXMLDOMPiece& last = p.back();
  return last.Count == 0 ? p.size() > 1 : IsTabOrSpace(last.P[last.Count - 1]);
}

std::u16string_view Trimmed(const TyXMLDOMPiece& p) {
  size_t a = 0, b = p.Count;
  while (a < b && IsTabOrSpace(p.P[a])) ++a;
  while (b > a && IsTabOrSpace(p.P[b - 1])) --b;
  return {p.P + a, b - a};
}

}  // namespace

CyXMLWriter::CyXMLWriter(IyXMLWriterOutputStream& OutputStream,
                         TyXMLFormattingOptions XMLFormattingOptions,
                         TyXMLLayoutOptions XMLLayoutOptions, std::u16string_view ExtraIndent,
                         std::u16string_view IndentationUnit)
    : Out_(OutputStream),
      Formatting_(XMLFormattingOptions),
      Layout_(XMLLayoutOptions),
      ExtraIndent_(ExtraIndent),
      Unit_(IndentationUnit),
      Indents_(ExtraIndent) {}

std::u16string_view CyXMLWriter::Indent(int Level) {
  const size_t need = ExtraIndent_.size() + static_cast<size_t>(Level) * Unit_.size();
  while (Indents_.size() < need) Indents_ += Unit_;
  return {Indents_.data(), need};
}

void CyXMLWriter::LineBreak(int Level) {
  Out_.WriteString(u"\r\n");
  Out_.WriteString(Indent(Level));
}

void CyXMLWriter::WritePieces(std::span<const TyXMLDOMPiece> Pieces) {
  for (size_t i = 0; i < Pieces.size(); ++i) {
    if (i > 0) Out_.WriteString(u"\r\n");
    Out_.WritePiece(Pieces[i].P, Pieces[i].Count);
  }
}

// Each line trimmed of tabs and spaces, runs of them inside a line made one space, the
// non-empty lines joined with one space.
void CyXMLWriter::WriteNormalised(std::span<const TyXMLDOMPiece> Pieces) {
  Scratch_.clear();
  for (const TyXMLDOMPiece& piece : Pieces) {
    const std::u16string_view line = Trimmed(piece);
    if (line.empty()) continue;
    if (!Scratch_.empty()) Scratch_ += u' ';
    for (size_t i = 0; i < line.size(); ++i) {
      if (IsTabOrSpace(line[i])) {
        while (IsTabOrSpace(line[i + 1])) ++i;  // the line ends in a non-blank
        Scratch_ += u' ';
      } else {
        Scratch_ += line[i];
      }
    }
  }
  Out_.WriteString(Scratch_);
}

void CyXMLWriter::WriteDelimited(const TyXMLDOMNode& Node) {
  std::u16string_view open, close;
  switch (Node.Type_) {
    case NT::ntCDATA: open = u"<![CDATA["; close = u"]]>"; break;
    case NT::ntComment: open = u"<!--"; close = u"-->"; break;
    case NT::ntDoctype: open = u"<!DOCTYPE"; close = u">"; break;
    case NT::ntPI:
    case NT::ntXML:
    case NT::ntXMLModel:
    case NT::ntXMLStylesheet: open = u"<?"; close = u"?>"; break;
    case NT::ntRefChar: open = u"&#"; close = u";"; break;
    case NT::ntRefEntity: open = u"&"; close = u";"; break;
    case NT::ntText: break;
    default: throw CyShouldNeverHappenException("CyXMLWriter: unknown node type");
  }
  Out_.WriteString(open);
  WritePieces(Node.Text());
  Out_.WriteString(close);
}

void CyXMLWriter::WriteAttribute(const TyXMLDOMAttribute& Attribute, int Level, bool OnOwnLine) {
  if (OnOwnLine)
    LineBreak(Level + 1);
  else
    Out_.WriteString(u" ");
  if (!Attribute.MultiLine) {
    Out_.WritePiece(Attribute.Text[0].P, Attribute.Text[0].Count);
    return;
  }
  for (size_t i = 0; i < Attribute.Text.size(); ++i) {
    if (i > 0) LineBreak(Level + 2);
    Out_.WriteString(Trimmed(Attribute.Text[i]));
  }
}

void CyXMLWriter::WriteStartTagOpen(const TyXMLDOMNode& Element, int Level) {
  Out_.WriteString(u"<");
  Out_.WritePiece(Element.NameP, Element.NameCount);
  const bool format = Formatting_.Has(FO::xfoFormatAttributes);
  const bool inlined = format && Layout_.Has(LO::xloAttributesInline);
  for (const TyXMLDOMAttribute& a : Element.Attributes) {
    if (inlined) {
      Out_.WriteString(u" ");
      WritePieces(a.Text);
    } else {
      WriteAttribute(a, Level, format || !a.SameLine);
    }
  }
}

void CyXMLWriter::WriteEndTag(const TyXMLDOMNode& Element) {
  Out_.WriteString(u"</");
  Out_.WritePiece(Element.NameP, Element.NameCount);
  Out_.WriteString(u">");
}

CyXMLWriter::TyMode CyXMLWriter::ModeOf(const TyXMLDOMNode& Element) const {
  if (Element.PreserveText && Layout_.Has(LO::xloPreserveVerbatim)) return TyMode::Verbatim;
  bool hasText = false;
  for (const TyXMLDOMNode* c = Element.FirstChild; c && !hasText; c = c->NextSibling)
    hasText = IsReference(*c) || (c->Type_ == NT::ntText && c->HasText);
  if (!Formatting_.Has(FO::xfoFormatText) && hasText) return TyMode::Source;
  if (hasText && Layout_.Has(LO::xloTextInline)) return TyMode::Inline;
  return TyMode::Indented;
}

bool CyXMLWriter::Begin(const TyXMLDOMNode& Node, int Level, bool InVerbatim) {
  if (Node.Type_ != NT::ntElement) {
    WriteDelimited(Node);
    return false;
  }
  const TyXMLDOMNode* first = Node.FirstChild;
  if (InVerbatim && Node.PreserveText) {  // inside preserved content: tags as written
    WritePieces(Node.Text());
    if (!first) {
      WritePieces(Node.EndTag());
      return false;
    }
    Stack_.push_back({&Node, first, Level, TyMode::Verbatim, true});
    return true;
  }
  const bool verbatim = Node.PreserveText && Layout_.Has(LO::xloPreserveVerbatim);
  const bool cleared = first && !verbatim && Formatting_.Has(FO::xfoClearWhitespaceOnlyElements) &&
                       first == Node.LastChild && first->Type_ == NT::ntText && !first->HasText;
  WriteStartTagOpen(Node, Level);
  if (!first || cleared) {
    if (Formatting_.Has(FO::xfoFormatEmptyElements)) {
      if (Layout_.Has(LO::xloEmptyElementExpand)) {
        Out_.WriteString(u">");
        WriteEndTag(Node);
      } else {
        Out_.WriteString(Layout_.Has(LO::xloEmptyElementAddSpaceBeforeSlash) ? u" />" : u"/>");
      }
    } else if (!first && !Node.CloseSlash().empty()) {
      Out_.WriteString(Node.CloseSlash());
    } else {
      Out_.WriteString(u">");
      WriteEndTag(Node);
    }
    return false;
  }
  Out_.WriteString(u">");
  const TyMode mode = ModeOf(Node);
  if (mode == TyMode::Indented && first->Type_ != NT::ntComment && first->Type_ != NT::ntText &&
      !IsReference(*first))
    LineBreak(Level + 1);
  Stack_.push_back({&Node, first, Level, mode, false});
  return true;
}

void CyXMLWriter::WriteChild(const TyXMLDOMNode& Child) {
  const int level = Stack_.back().Level;
  const TyMode mode = Stack_.back().Mode;
  if (Child.Type_ == NT::ntElement) {
    if (!Begin(Child, level + 1, mode == TyMode::Verbatim)) After(Child);
    return;
  }
  if (mode == TyMode::Verbatim || mode == TyMode::Source || IsReference(Child)) {
    WriteDelimited(Child);
    return;
  }
  if (Child.Type_ != NT::ntText) {
    WriteDelimited(Child);
    After(Child);
    return;
  }
  const TyXMLDOMNode* next = Child.NextSibling;
  if (mode == TyMode::Inline) {
    if (!Child.HasText) {
      Out_.WriteString(u" ");
      return;
    }
    if (BeginsBlank(Child.Text())) Out_.WriteString(u" ");
    WriteNormalised(Child.Text());
    if (EndsBlank(Child.Text())) Out_.WriteString(u" ");
    return;
  }
  if (Child.HasText) {
    if (BeginsBlank(Child.Text())) LineBreak(level + 1);
    WriteNormalised(Child.Text());
    if (EndsBlank(Child.Text())) LineBreak(next ? level + 1 : level);
    return;
  }
  // White space only: keeps the blank lines of the source unless they are removed.
  const size_t lines = Child.LineCount();
  if (!Formatting_.Has(FO::xfoRemoveWhitespaceOnlyLines))
    for (size_t i = 2; i < lines; ++i) Out_.WriteString(u"\r\n");
  if (!next)
    LineBreak(level);
  else if (next->Type_ == NT::ntComment && lines < 2)
    Out_.WriteString(u" ");  // a comment on the line of what precedes it stays there
  else
    LineBreak(level + 1);
}

// What follows a child other than text and references in the indented writer.
void CyXMLWriter::After(const TyXMLDOMNode& Child) {
  const TyFrame& f = Stack_.back();
  if (f.Mode != TyMode::Indented) return;
  const TyXMLDOMNode* next = Child.NextSibling;
  if (!next) {
    LineBreak(f.Level);
  } else if (next->Type_ == NT::ntText || IsReference(*next)) {
    // text and references place themselves
  } else if (next->Type_ == NT::ntComment) {
    if (Child.Type_ != NT::ntElement) LineBreak(f.Level + 1);
  } else {
    LineBreak(f.Level + 1);
  }
}

void CyXMLWriter::WriteNode(const TyXMLDOMNode& Node, int Indent) {
  const size_t base = Stack_.size();
  if (!Begin(Node, Indent, false)) return;
  WriteOpen(base);
}

void CyXMLWriter::WriteOpen(size_t Base) {
  while (Stack_.size() > Base) {
    TyFrame& f = Stack_.back();
    if (f.Next == Stop_ && Stop_) {
      Stopped_ = true;
      return;
    }
    if (!f.Next) {
      const TyXMLDOMNode& element = *f.Element;
      if (f.VerbatimTags)
        WritePieces(element.EndTag());
      else
        WriteEndTag(element);
      Stack_.pop_back();
      if (Stack_.size() > Base) After(element);
      continue;
    }
    const TyXMLDOMNode& child = *f.Next;
    f.Next = child.NextSibling;
    WriteChild(child);
  }
}

void CyXMLWriter::WriteDocument(const PyXMLDOMTree& Tree) {
  Out_.WriteString(ExtraIndent_);
  WriteTopLevel(Tree.getFirst(), false);
}

void CyXMLWriter::WriteTopLevel(const TyXMLDOMNode* First, bool Written) {
  size_t blankLines = 0;
  for (const TyXMLDOMNode* n = First; n; n = n->NextSibling) {
    if (n->Type_ == NT::ntText) {  // white space: the reader refuses text outside the root
      if (Written && !Formatting_.Has(FO::xfoRemoveWhitespaceOnlyLines) && n->LineCount() > 2)
        blankLines = n->LineCount() - 2;
      continue;
    }
    if (Written) {
      for (; blankLines > 0; --blankLines) Out_.WriteString(u"\r\n");
      LineBreak(0);
    }
    WriteNode(*n, 0);
    if (Stopped_) return;
    Written = true;
    blankLines = 0;
  }
}

void CyXMLWriter::WriteDocumentUntil(const PyXMLDOMTree& Tree, const TyXMLDOMNode& Stop) {
  Stop_ = &Stop;
  WriteDocument(Tree);
  Stop_ = nullptr;
  Stopped_ = false;
}

void CyXMLWriter::WriteDocumentFrom(const TyXMLDOMNode& Start, const TyXMLDOMNode* Stop) {
  // The frames the writer holds when it is about to write Start: its ancestors, outermost
  // first, each waiting for the child after the one on the way down.
  std::vector<const TyXMLDOMNode*> path;
  for (const TyXMLDOMNode* e = Start.Parent; e; e = e->Parent) path.push_back(e);
  const TyXMLDOMNode* root = path.back();
  Stack_.clear();
  bool inVerbatim = false;
  for (size_t i = path.size(); i-- > 0;) {
    const TyXMLDOMNode& element = *path[i];
    const TyXMLDOMNode* next = i == 0 ? &Start : path[i - 1]->NextSibling;
    const bool verbatimTags = inVerbatim && element.PreserveText;
    const TyMode mode = verbatimTags ? TyMode::Verbatim : ModeOf(element);
    Stack_.push_back({&element, next, static_cast<int>(path.size() - 1 - i), mode, verbatimTags});
    inVerbatim = mode == TyMode::Verbatim;
  }
  Stop_ = Stop;
  WriteOpen(0);
  if (!Stopped_) WriteTopLevel(root->NextSibling, true);
  Stop_ = nullptr;
  Stopped_ = false;
}

}  // namespace xylem
