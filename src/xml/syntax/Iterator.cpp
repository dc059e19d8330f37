#include "xml/syntax/Iterator.hpp"

#include <algorithm>

namespace xylem {

namespace {

using G = TyXMLGroup;
using S = TyXMLSymbol;

constexpr std::u16string_view kXMLNamespace = u"http://www.w3.org/XML/1998/namespace";
constexpr std::u16string_view kXMLNSNamespace = u"http://www.w3.org/2000/xmlns/";

bool Is(unsigned value, G g) { return value == XMLValue(g); }
bool Is(unsigned value, S s) { return value == XMLValue(s); }

// A token of a construct that sits directly on the document level (not inside the DOCTYPE).
bool AtDocumentLevel(const TyXMLToken& t) { return (t.StackG0 >> kXMLCellBits) == 1; }

bool IsSpace(char16_t c) { return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r'; }

}  // namespace

CyXMLIterator::CyXMLIterator(const char16_t* Text, const TyXMLExternalEntities* External)
    : Text_(Text), External_(External) {
  LineStarts_.push_back(0);
  for (int64_t i = 0; Text_[i] != 0; ++i) {
    if (Text_[i] == u'\r' && Text_[i + 1] == u'\n') ++i;
    if (Text_[i] == u'\r' || Text_[i] == u'\n') LineStarts_.push_back(i + 1);
  }
  // A byte-order mark is not part of the document's text: scanning starts behind it.
  Start_ = Text_[0] == 0xFEFF ? 1 : 0;
  int64_t i = Start_;
  while (IsSpace(Text_[i])) ++i;
  DataStartsWithXMLBracket_ = Text_[i] == u'<';
  Restart();
}

void CyXMLIterator::Restart() {
  Parser_.First(Text_ + Start_, true, kXMLDocumentGroupWord, kXMLDocumentSymbolWord);
  Node_ = TyXMLNode{};
  Done_ = false;
  Depth_ = 0;
  Scopes_.clear();
  Entities_ = {{u"amp", u"&"}, {u"lt", u"<"}, {u"gt", u">"}, {u"quot", u"\""}, {u"apos", u"'"}};
}

bool CyXMLIterator::Parse() {
  Restart();
  DataStartsAtLine_ = 0;
  {
    CyXMLIterator probe(Text_);  // reads ahead to the first start tag
    while (probe.Next()) {
      if (probe.Node_.Kind == TyXMLNodeKind::xnkStartTag) {
        DataStartsAtLine_ = probe.getCurrentLine();
        break;
      }
    }
  }
  return Next();
}

bool CyXMLIterator::Next() {
  if (Done_) return false;
  // Leaving an empty element or an end tag closes its namespace scope.
  if ((Node_.Kind == TyXMLNodeKind::xnkStartTag && Node_.IsEmptyElement) ||
      Node_.Kind == TyXMLNodeKind::xnkEndTag) {
    if (!Scopes_.empty()) Scopes_.pop_back();
  }
  Node_ = TyXMLNode{};
  for (;;) {
    const TyXMLToken& t = Parser_.getToken();
    if (t.IsDone) {
      Done_ = true;
      return false;
    }
    const unsigned group = t.Group0();
    const unsigned symbol = t.Symbol0();
    if (AtDocumentLevel(t) &&
        (Is(group, G::TEXT) || Is(group, G::REF_ENTITY) || Is(group, G::CDATA))) {
      Node_.Kind = TyXMLNodeKind::xnkText;
      Node_.Offset = Start_ + t.Offset0;
      Node_.Depth = Depth_;
      int64_t end = Start_ + t.Offset1;
      for (;;) {
        Parser_.Next();
        const TyXMLToken& u = Parser_.getToken();
        const unsigned g = u.Group0();
        if (u.IsDone || !AtDocumentLevel(u) ||
            !(Is(g, G::TEXT) || Is(g, G::REF_ENTITY) || Is(g, G::CDATA)))
          break;
        end = Start_ + u.Offset1;
      }
      Node_.Text.assign(Text_ + Node_.Offset, static_cast<size_t>(end - Node_.Offset));
      return true;
    }
    if (Is(group, G::ELEMENT_OPEN) && Is(symbol, S::OPEN)) {
      ReadTag(TyXMLNodeKind::xnkStartTag);
      return true;
    }
    if (Is(group, G::ELEMENT_CLOSE) && Is(symbol, S::OPEN_SLASH)) {
      ReadTag(TyXMLNodeKind::xnkEndTag);
      return true;
    }
    if (Is(group, G::DT_DECL_ENTITY)) ReadDeclarationToken();
    Parser_.Next();
  }
}

void CyXMLIterator::ReadTag(TyXMLNodeKind Kind) {
  const bool start = Kind == TyXMLNodeKind::xnkStartTag;
  const unsigned tagGroup = XMLValue(start ? G::ELEMENT_OPEN : G::ELEMENT_CLOSE);
  Node_.Kind = Kind;
  Node_.Offset = Start_ + Parser_.getToken().Offset0;
  if (!start) Depth_ = std::max(0, Depth_ - 1);
  Node_.Depth = Depth_;
  for (;;) {
    Parser_.Next();
    const TyXMLToken& t = Parser_.getToken();
    if (t.IsDone || t.Group0() != tagGroup) break;
    const unsigned symbol = t.Symbol0();
    if (Is(symbol, S::TAG)) {
      Node_.Name += t.Text();
    } else if (!start) {
      // an end tag has no attributes
    } else if (Is(symbol, S::ATTRIBUTE_NAME)) {
      Node_.Attributes.push_back(
          {std::u16string(t.Text()), {}, Start_ + t.Offset0, Start_ + t.Offset0});
    } else if (Node_.Attributes.empty()) {
      // a value without a name: nothing to attach it to
    } else if (Is(symbol, S::STRING1_V_OPEN) || Is(symbol, S::STRING2_V_OPEN)) {
      Node_.Attributes.back().ValueOffset = Start_ + t.Offset1;
    } else if (symbol == XMLMissing(S::STRING1_V_OPEN) || symbol == XMLMissing(S::STRING2_V_OPEN)) {
      Node_.Attributes.back().ValueOffset = Start_ + t.Offset0;
    } else if (Is(symbol, S::STRING1_V) || Is(symbol, S::STRING2_V)) {
      Node_.Attributes.back().RawValue += t.Text();
    }
    if (Is(symbol, S::CLOSE_SLASH) && start) Node_.IsEmptyElement = true;
    if (Is(symbol, S::CLOSE) || Is(symbol, S::CLOSE_SLASH) || symbol == XMLMissing(S::CLOSE)) {
      Parser_.Next();
      break;
    }
  }
  if (!start) return;
  // Bindings are read with references expanded where they can be; a broken reference in a
  // namespace name leaves it as written rather than failing the read of the node.
  std::vector<std::pair<std::u16string, std::u16string>> frame;
  for (const TyXMLAttribute& a : Node_.Attributes) {
    const std::u16string_view name = a.Name;
    if (name != u"xmlns" && !name.starts_with(u"xmlns:")) continue;
    std::u16string uri;
    try {
      uri = ExpandReferences(a.RawValue, a.ValueOffset);
    } catch (const CyXMLReferenceException&) {
      uri = a.RawValue;
    }
    frame.emplace_back(name.size() > 5 ? std::u16string(name.substr(6)) : std::u16string(),
                       std::move(uri));
  }
  Scopes_.push_back(std::move(frame));
  if (!Node_.IsEmptyElement) ++Depth_;
}

// Collects <!ENTITY name "value"> declarations of general entities from the internal subset.
// Parameter entities (%) and external ones (SYSTEM/PUBLIC) are not collected.
void CyXMLIterator::ReadDeclarationToken() {
  const TyXMLToken& t = Parser_.getToken();
  const unsigned symbol = t.Symbol0();
  if (Is(symbol, S::OPEN)) {
    DeclName_.clear();
    DeclValue_.clear();
    DeclWords_ = 0;
    DeclParameter_ = false;
    DeclHasValue_ = false;
  } else if (Is(symbol, S::ATTRIBUTE_NAME)) {
    if (t.Text() == u"%" && DeclName_.empty())
      DeclParameter_ = true;
    else if (DeclName_.empty())
      DeclName_ = t.Text();
    else
      ++DeclWords_;
  } else if ((Is(symbol, S::STRING1_N_OPEN) || Is(symbol, S::STRING2_N_OPEN)) &&
             !DeclName_.empty() && DeclWords_ == 0 && !DeclHasValue_) {
    DeclHasValue_ = true;
    DeclWords_ = -1;  // capturing the literal
  } else if ((Is(symbol, S::STRING1_N) || Is(symbol, S::STRING2_N)) && DeclWords_ == -1) {
    DeclValue_ += t.Text();
  } else if (Is(symbol, S::STRING1_N_CLOSE) || Is(symbol, S::STRING2_N_CLOSE)) {
    if (DeclWords_ == -1) DeclWords_ = 0;
  } else if ((Is(symbol, S::CLOSE) || symbol == XMLMissing(S::CLOSE)) && DeclHasValue_ &&
             !DeclParameter_ && !DeclName_.empty() && !Entities_.contains(DeclName_)) {
    // The replacement text: character references are replaced when the entity is declared;
    // the first declaration of a name binds it.
    std::u16string replacement;
    for (size_t i = 0; i < DeclValue_.size(); ++i) {
      if (DeclValue_[i] == u'&' && i + 1 < DeclValue_.size() && DeclValue_[i + 1] == u'#') {
        const size_t end = DeclValue_.find(u';', i);
        if (end != std::u16string::npos) {
          replacement +=
              ExpandReferences(std::u16string_view(DeclValue_).substr(i, end + 1 - i), -1);
          i = end;
          continue;
        }
      }
      replacement += DeclValue_[i];
    }
    Entities_.emplace(DeclName_, std::move(replacement));
  }
}

bool CyXMLIterator::Skip() {
  if (Node_.Kind != TyXMLNodeKind::xnkStartTag || Node_.IsEmptyElement) return Next();
  const int32_t depth = Node_.Depth;
  while (Next()) {
    if (Node_.Kind == TyXMLNodeKind::xnkEndTag && Node_.Depth == depth) return Next();
  }
  return false;
}

bool CyXMLIterator::SkipWhitespaceAndCheckFirstNode(std::u16string_view ExpectedName) {
  if (Node_.Kind == TyXMLNodeKind::xnkNone && !Next()) return false;
  while (Node_.Kind == TyXMLNodeKind::xnkText &&
         std::all_of(Node_.Text.begin(), Node_.Text.end(), IsSpace)) {
    if (!Next()) return false;
  }
  return Node_.Kind == TyXMLNodeKind::xnkStartTag &&
         (ExpectedName.empty() || Node_.Name == ExpectedName);
}

const TyXMLAttribute* CyXMLIterator::Attribute(int Index) const {
  if (Index < 0 || static_cast<size_t>(Index) >= Node_.Attributes.size()) return nullptr;
  return &Node_.Attributes[static_cast<size_t>(Index)];
}

bool CyXMLIterator::FindAttribute(std::u16string_view QName) const {
  int index;
  return FindAttribute(QName, index);
}

bool CyXMLIterator::FindAttribute(std::u16string_view QName, int& Index) const {
  for (size_t i = 0; i < Node_.Attributes.size(); ++i) {
    if (Node_.Attributes[i].Name == QName) {
      Index = static_cast<int>(i);
      return true;
    }
  }
  Index = -1;
  return false;
}

bool CyXMLIterator::FindByNamespace(std::u16string_view NamespaceURI, std::u16string_view LocalName,
                                    std::u16string_view* Value, int& Index) const {
  for (size_t i = 0; i < Node_.Attributes.size(); ++i) {
    const std::u16string_view name = Node_.Attributes[i].Name;
    const size_t colon = name.find(u':');
    const std::u16string_view local = colon == name.npos ? name : name.substr(colon + 1);
    if (local != LocalName) continue;
    std::u16string uri;
    if (colon != name.npos) {
      const std::u16string_view prefix = name.substr(0, colon);
      uri = prefix == u"xmlns" ? std::u16string(kXMLNSNamespace) : LookupNamespace(prefix);
      if (uri.empty()) continue;  // an unbound prefix names no namespace
    }
    if (uri != NamespaceURI) continue;
    if (Value && GetAttributeValue(static_cast<int>(i)) != *Value) continue;
    Index = static_cast<int>(i);
    return true;
  }
  Index = -1;
  return false;
}

bool CyXMLIterator::FindAttribute(std::u16string_view NamespaceURI,
                                  std::u16string_view LocalName) const {
  int index;
  return FindByNamespace(NamespaceURI, LocalName, nullptr, index);
}

bool CyXMLIterator::FindAttribute(std::u16string_view NamespaceURI, std::u16string_view LocalName,
                                  int& Index) const {
  return FindByNamespace(NamespaceURI, LocalName, nullptr, Index);
}

bool CyXMLIterator::FindAttributeWithValue(std::u16string_view QName,
                                           std::u16string_view Value) const {
  int index;
  return FindAttributeWithValue(QName, Value, index);
}

bool CyXMLIterator::FindAttributeWithValue(std::u16string_view QName, std::u16string_view Value,
                                           int& Index) const {
  if (FindAttribute(QName, Index) && GetAttributeValue(Index) == Value) return true;
  Index = -1;
  return false;
}

bool CyXMLIterator::FindAttributeWithValue(std::u16string_view NamespaceURI,
                                           std::u16string_view LocalName,
                                           std::u16string_view Value) const {
  int index;
  return FindByNamespace(NamespaceURI, LocalName, &Value, index);
}

bool CyXMLIterator::FindAttributeWithValue(std::u16string_view NamespaceURI,
                                           std::u16string_view LocalName, std::u16string_view Value,
                                           int& Index) const {
  return FindByNamespace(NamespaceURI, LocalName, &Value, Index);
}

std::vector<int> CyXMLIterator::FindAttributes(std::span<const std::u16string_view> QNames) const {
  std::vector<int> indexes;
  indexes.reserve(QNames.size());
  for (const std::u16string_view name : QNames) {
    int index;
    FindAttribute(name, index);
    indexes.push_back(index);
  }
  return indexes;
}

std::u16string CyXMLIterator::GetAttributeValue(std::u16string_view QName) const {
  int index;
  return FindAttribute(QName, index) ? GetAttributeValue(index) : std::u16string();
}

std::u16string CyXMLIterator::GetAttributeValue(int Index) const {
  const TyXMLAttribute* a = Attribute(Index);
  return a ? ExpandReferences(a->RawValue, a->ValueOffset) : std::u16string();
}

bool CyXMLIterator::GetAttributeNameLocation(std::u16string_view QName, int64_t& Line,
                                             int64_t& Linepos) const {
  int index;
  return FindAttribute(QName, index) && GetAttributeNameLocation(index, Line, Linepos);
}

bool CyXMLIterator::GetAttributeNameLocation(int Index, int64_t& Line, int64_t& Linepos) const {
  const TyXMLAttribute* a = Attribute(Index);
  if (!a) return false;
  LocationOf(a->NameOffset, Line, Linepos);
  return true;
}

bool CyXMLIterator::GetAttributeValueLocation(std::u16string_view QName, int64_t& Line,
                                              int64_t& Linepos) const {
  int index;
  return FindAttribute(QName, index) && GetAttributeValueLocation(index, Line, Linepos);
}

bool CyXMLIterator::GetAttributeValueLocation(int Index, int64_t& Line, int64_t& Linepos) const {
  const TyXMLAttribute* a = Attribute(Index);
  if (!a) return false;
  LocationOf(a->ValueOffset, Line, Linepos);
  return true;
}

std::vector<std::pair<std::u16string, std::u16string>> CyXMLIterator::CreateXMLPrefixMappings()
    const {
  if (Node_.Kind != TyXMLNodeKind::xnkStartTag || Scopes_.empty()) return {};
  return Scopes_.back();
}

std::u16string CyXMLIterator::LookupNamespace(std::u16string_view Prefix) const {
  if (Prefix == u"xml") return std::u16string(kXMLNamespace);
  for (auto frame = Scopes_.rbegin(); frame != Scopes_.rend(); ++frame)
    for (const auto& [prefix, uri] : *frame)
      if (prefix == Prefix) return uri;
  return {};
}

int64_t CyXMLIterator::getCurrentLine() const {
  int64_t line, linepos;
  LocationOf(Node_.Offset, line, linepos);
  return line;
}

int64_t CyXMLIterator::getCurrentLinepos() const {
  int64_t line, linepos;
  LocationOf(Node_.Offset, line, linepos);
  return linepos;
}

void CyXMLIterator::LocationOf(int64_t Offset, int64_t& Line, int64_t& Linepos) const {
  if (Offset < 0) {  // unknown
    Line = Linepos = 1;
    return;
  }
  const auto after = std::upper_bound(LineStarts_.begin(), LineStarts_.end(), Offset);
  Line = after - LineStarts_.begin();
  Linepos = Offset - *(after - 1) + 1;
}

}  // namespace xylem
