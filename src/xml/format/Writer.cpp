#include "xml/format/Writer.hpp"

namespace xylem {

namespace {

using NT = TyXMLDOMNodeType;

bool HasTextChild(const TyXMLDOMNode& Element) {
  for (const TyXMLDOMNode* c = Element.FirstChild; c; c = c->NextSibling)
    if (c->Type_ == NT::ntRefChar || c->Type_ == NT::ntRefEntity ||
        (c->Type_ == NT::ntText && c->HasText))
      return true;
  return false;
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
      Unit_(IndentationUnit) {}

void CyXMLWriter::Start(CyXMLEventWriter& Writer, const TyXMLDOMNode& Element) {
  Attributes_.clear();
  for (const TyXMLDOMAttribute& a : Element.Attributes)
    Attributes_.push_back({a.Text, a.SameLine, a.MultiLine});
  TyXMLStartTag tag;
  tag.Name = Element.Name();
  tag.Attributes = Attributes_;
  tag.CloseSlash = Element.CloseSlash();
  tag.Empty = !Element.FirstChild && !tag.CloseSlash.empty();
  tag.Preserve = Element.PreserveText;
  tag.HasText = HasTextChild(Element);
  if (Element.TagsAsWritten) tag.AsWritten = Element.Text();
  Writer.StartElement(tag);
}

void CyXMLWriter::Walk(CyXMLEventWriter& Writer, const TyXMLDOMNode* First, bool Siblings) {
  Path_.clear();
  const TyXMLDOMNode* n = First;
  while (n) {
    switch (n->Type_) {
      case NT::ntElement:
        Start(Writer, *n);
        if (n->FirstChild) {
          Path_.push_back(n);
          n = n->FirstChild;
          continue;
        }
        if (n->CloseSlash().empty()) Writer.EndElement(n->EndTag());
        break;
      case NT::ntText:
        Writer.Text(n->Text(), n->LineCount(), n->HasText);
        break;
      default:
        Writer.Delimited(n->Type_, n->Text());
        break;
    }
    // The next node in document order, closing the elements left on the way.
    for (;;) {
      if (Path_.empty()) {
        n = Siblings ? n->NextSibling : nullptr;
        break;
      }
      if (n->NextSibling) {
        n = n->NextSibling;
        break;
      }
      n = Path_.back();
      Path_.pop_back();
      Writer.EndElement(n->EndTag());
    }
  }
}

void CyXMLWriter::WriteDocument(const PyXMLDOMTree& Tree) {
  Out_.WriteString(ExtraIndent_);
  CyXMLEventWriter writer(Out_, Formatting_, Layout_, ExtraIndent_, Unit_);
  Walk(writer, Tree.getFirst(), true);
  writer.Flush();
}

void CyXMLWriter::WriteNode(const TyXMLDOMNode& Node, int Indent) {
  CyXMLEventWriter writer(Out_, Formatting_, Layout_, ExtraIndent_, Unit_, Indent);
  Walk(writer, &Node, false);
  writer.Flush();
}

}  // namespace xylem
