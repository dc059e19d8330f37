#include "processors/SchemaReference.hpp"

#include <algorithm>
#include <sstream>

#include "common/Utf.hpp"
#include "xml/syntax/Iterator.hpp"

namespace xylem {

namespace {

constexpr std::u16string_view kXSINamespace = u"http://www.w3.org/2001/XMLSchema-instance";

bool endsWith(std::string_view Text, std::string_view Suffix) {
  return Text.size() >= Suffix.size() && Text.substr(Text.size() - Suffix.size()) == Suffix;
}

// Line and position of Offset in Text.
void locate(std::u16string_view Text, size_t Offset, int32_t& Line, int32_t& Linepos) {
  Line = 1;
  size_t lineStart = 0;
  for (size_t i = 0; i < Offset && i < Text.size(); ++i) {
    if (Text[i] == u'\n' || (Text[i] == u'\r' && (i + 1 >= Text.size() || Text[i + 1] != u'\n'))) {
      ++Line;
      lineStart = i + 1;
    }
  }
  Linepos = static_cast<int32_t>(Offset - lineStart) + 1;
}

bool isSpace(char16_t C) { return C == u' ' || C == u'\t' || C == u'\r' || C == u'\n'; }

// The value of pseudo-attribute Name in the data of a processing instruction.
std::u16string pseudoAttribute(std::u16string_view Data, std::u16string_view Name) {
  for (size_t at = Data.find(Name); at != std::u16string_view::npos; at = Data.find(Name, at + 1)) {
    if (at > 0 && !isSpace(Data[at - 1])) continue;
    size_t i = at + Name.size();
    while (i < Data.size() && isSpace(Data[i])) ++i;
    if (i >= Data.size() || Data[i] != u'=') continue;
    ++i;
    while (i < Data.size() && isSpace(Data[i])) ++i;
    if (i >= Data.size() || (Data[i] != u'"' && Data[i] != u'\'')) continue;
    const size_t end = Data.find(Data[i], i + 1);
    if (end == std::u16string_view::npos) return {};
    return std::u16string(Data.substr(i + 1, end - i - 1));
  }
  return {};
}

TySchemaLanguage languageOfModel(const std::u16string& Namespace, const std::u16string& Type,
                                 const std::string& Href) {
  if (Namespace == u"http://relaxng.org/ns/structure/1.0") return TySchemaLanguage::slRelaxNG;
  if (Namespace == u"http://purl.oclc.org/dsdl/schematron" ||
      Namespace == u"http://www.ascc.net/xml/schematron")
    return TySchemaLanguage::slSchematron;
  if (Namespace == u"http://www.w3.org/2001/XMLSchema") return TySchemaLanguage::slXSD;
  if (Type == u"application/relax-ng-compact-syntax") return TySchemaLanguage::slRelaxNG;
  if (Type == u"application/xml-dtd") return TySchemaLanguage::slDTD;
  return SchemaLanguageOfFile(Href);
}

// A quoted literal starting at or after I (white space skipped); I moves behind it.
bool literal(std::u16string_view Text, size_t& I, std::u16string& Value) {
  while (I < Text.size() && isSpace(Text[I])) ++I;
  if (I >= Text.size() || (Text[I] != u'"' && Text[I] != u'\'')) return false;
  const size_t end = Text.find(Text[I], I + 1);
  if (end == std::u16string_view::npos) return false;
  Value = std::u16string(Text.substr(I + 1, end - I - 1));
  I = end + 1;
  return true;
}

void readProlog(std::u16string_view Text, std::vector<TySchemaReference>& Out) {
  size_t i = !Text.empty() && Text[0] == 0xFEFF ? 1 : 0;
  while (i < Text.size()) {
    if (isSpace(Text[i])) {
      ++i;
      continue;
    }
    if (Text.substr(i, 4) == u"<!--") {
      const size_t end = Text.find(u"-->", i + 4);
      if (end == std::u16string_view::npos) return;
      i = end + 3;
    } else if (Text.substr(i, 2) == u"<?") {
      const size_t end = Text.find(u"?>", i + 2);
      if (end == std::u16string_view::npos) return;
      if (Text.substr(i, 11) == u"<?xml-model" && i + 11 < Text.size() && isSpace(Text[i + 11])) {
        const std::u16string_view data = Text.substr(i + 11, end - i - 11);
        TySchemaReference reference;
        reference.Location = ToUTF8(pseudoAttribute(data, u"href"));
        reference.Language = languageOfModel(pseudoAttribute(data, u"schematypens"),
                                             pseudoAttribute(data, u"type"), reference.Location);
        reference.Source = "xml-model";
        locate(Text, i, reference.Line, reference.Linepos);
        if (!reference.Location.empty()) Out.push_back(std::move(reference));
      }
      i = end + 2;
    } else if (Text.substr(i, 9) == u"<!DOCTYPE") {
      size_t j = i + 9;
      while (j < Text.size() && isSpace(Text[j])) ++j;
      while (j < Text.size() && !isSpace(Text[j]) && Text[j] != u'[' && Text[j] != u'>') ++j;
      while (j < Text.size() && isSpace(Text[j])) ++j;
      std::u16string publicId, systemId;
      bool found = false;
      if (Text.substr(j, 6) == u"SYSTEM") {
        j += 6;
        found = literal(Text, j, systemId);
      } else if (Text.substr(j, 6) == u"PUBLIC") {
        j += 6;
        found = literal(Text, j, publicId) && literal(Text, j, systemId);
      }
      if (found) {
        TySchemaReference reference;
        reference.Language = TySchemaLanguage::slDTD;
        reference.Location = ToUTF8(systemId);
        reference.PublicId = ToUTF8(publicId);
        reference.Source = "DOCTYPE";
        locate(Text, i, reference.Line, reference.Linepos);
        Out.push_back(std::move(reference));
      }
      return;  // the root follows; its attributes are read by the iterator
    } else {
      return;
    }
  }
}

}  // namespace

TySchemaLanguage SchemaLanguageOfFile(std::string_view Path) {
  std::string lower(Path);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char C) { return std::tolower(C); });
  if (endsWith(lower, ".rng") || endsWith(lower, ".rnc")) return TySchemaLanguage::slRelaxNG;
  if (endsWith(lower, ".sch")) return TySchemaLanguage::slSchematron;
  if (endsWith(lower, ".dtd")) return TySchemaLanguage::slDTD;
  return TySchemaLanguage::slXSD;
}

std::vector<TySchemaReference> FindSchemaReferences(const char16_t* Text) {
  std::vector<TySchemaReference> out;
  const std::u16string_view text(Text);
  readProlog(text, out);
  CyXMLIterator iterator(Text);
  try {
    if (!iterator.Parse() || !iterator.SkipWhitespaceAndCheckFirstNode()) return out;
    int index = -1;
    int64_t line = 0, linepos = 0;
    if (iterator.FindAttribute(kXSINamespace, u"schemaLocation", index)) {
      // Pairs of namespace and location, separated by white space.
      std::istringstream words(ToUTF8(iterator.GetAttributeValue(index)));
      iterator.GetAttributeNameLocation(index, line, linepos);
      for (std::string ns, location; words >> ns >> location;) {
        TySchemaReference reference;
        reference.Location = location;
        reference.Namespace = ns;
        reference.Source = "xsi:schemaLocation";
        reference.Line = static_cast<int32_t>(line);
        reference.Linepos = static_cast<int32_t>(linepos);
        out.push_back(std::move(reference));
      }
    }
    if (iterator.FindAttribute(kXSINamespace, u"noNamespaceSchemaLocation", index)) {
      iterator.GetAttributeNameLocation(index, line, linepos);
      TySchemaReference reference;
      reference.Location = ToUTF8(iterator.GetAttributeValue(index));
      reference.Source = "xsi:noNamespaceSchemaLocation";
      reference.Line = static_cast<int32_t>(line);
      reference.Linepos = static_cast<int32_t>(linepos);
      out.push_back(std::move(reference));
    }
  } catch (const CyException&) {
    // An unreadable reference in the root's attributes: the references found so far stand.
  }
  return out;
}

}  // namespace xylem
