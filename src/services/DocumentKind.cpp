#include "services/DocumentKind.hpp"

#include "text/EncodingDetector.hpp"

namespace xylem {

namespace {

constexpr std::u16string_view kXSLTNamespace = u"http://www.w3.org/1999/XSL/Transform";

// The first characters of the document, enough to see its root element's namespace
// declarations without walking a huge file.
std::u16string head(const TxTextList& List) {
  constexpr size_t kHead = 4096;
  std::u16string text;
  for (int64_t line = 1; line <= List.getCount() && text.size() < kHead; ++line) {
    text += List.getLine(line).substr(0, kHead - text.size());
    text += u'\n';
  }
  return text;
}

bool isXSLT(std::u16string_view Head) {
  const size_t ns = Head.find(kXSLTNamespace);
  if (ns == std::u16string_view::npos) return false;
  for (std::u16string_view root : {u":stylesheet", u":transform"})
    if (Head.find(root) < ns) return true;
  return false;
}

}  // namespace

TyDocumentKind DetectDocumentKind(std::string_view Path, const TxTextList& List) {
  const std::string extension = CyFiletypeByFileExt::Extension(Path);
  if (CyFiletypeByFileExt::IsJSON(Path)) return TyDocumentKind::dkJSON;
  if (CyFiletypeByFileExt::IsDTD(Path)) return TyDocumentKind::dkDTD;
  if (extension == ".xsl" || extension == ".xslt") return TyDocumentKind::dkXSLT;
  const std::u16string text = head(List);
  const size_t first = text.find_first_not_of(u" \t\r\n\uFEFF");
  // Nothing but white space: as XML it has no root element, which `check` must say.
  if (first == std::u16string::npos)
    return extension.empty() || extension == ".xml" ? TyDocumentKind::dkXML
                                                    : TyDocumentKind::dkText;
  const char16_t c = text[first];
  if (c == u'<') return isXSLT(text) ? TyDocumentKind::dkXSLT : TyDocumentKind::dkXML;
  if (c == u'{' || c == u'[') return TyDocumentKind::dkJSON;
  if (extension == ".txt") return TyDocumentKind::dkText;
  // Anything else that claims to be markup by its name is checked as XML, so that stray text
  // before the root is reported rather than silently skipped.
  return extension.empty() || extension == ".xml" ? TyDocumentKind::dkXML : TyDocumentKind::dkText;
}

const char* DocumentKindName(TyDocumentKind Kind) {
  switch (Kind) {
    case TyDocumentKind::dkXML:
      return "XML";
    case TyDocumentKind::dkXSLT:
      return "XSLT";
    case TyDocumentKind::dkDTD:
      return "DTD";
    case TyDocumentKind::dkJSON:
      return "JSON";
    case TyDocumentKind::dkText:
      return "text";
  }
  return "text";
}

}  // namespace xylem
