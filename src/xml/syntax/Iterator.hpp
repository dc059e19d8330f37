#pragma once
// CyXMLIterator: a forward reader over a whole XML text that delivers nodes (start tags with
// their attributes, end tags, text) from the tokenizer's token stream, and answers attribute
// questions: look-ups by qualified name or by namespace, values with entity and character
// references expanded, and the line and position of names and values. It builds no tree.

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/Exception.hpp"
#include "xml/syntax/Tokenizer.hpp"

namespace xylem {

// A reference in an attribute value that cannot be read. The message is one of the two
// fixed texts; Line and Linepos locate the '&' (line 1 when the position is unknown).
class CyXMLReferenceException : public CyException {
 public:
  CyXMLReferenceException(const std::string& message, int64_t line, int64_t linepos)
      : CyException(message), Line(line), Linepos(linepos) {}
  int64_t Line;
  int64_t Linepos;
};

enum class TyXMLNodeKind : uint8_t {
  xnkNone,      // before the first node and after the last
  xnkStartTag,  // a start tag or an empty-element tag (IsEmptyElement)
  xnkEndTag,
  xnkText,  // character data, references and CDATA sections, as written
};

struct TyXMLAttribute {
  std::u16string Name;      // qualified name
  std::u16string RawValue;  // as written between the quotes (references not expanded)
  int64_t NameOffset = 0;   // offset of the name's first character in the text
  int64_t ValueOffset = 0;  // offset of the value's first character (behind the quote)
};

struct TyXMLNode {
  TyXMLNodeKind Kind = TyXMLNodeKind::xnkNone;
  std::u16string Name;  // qualified element name (tags)
  std::u16string Text;  // the characters of a text node, as written
  bool IsEmptyElement = false;
  int64_t Offset = 0;  // offset of the node's first character
  int32_t Depth = 0;   // open elements around the node (a start tag counts itself out)
  std::vector<TyXMLAttribute> Attributes;
};

// Replacement texts of external entities by name, supplied by the caller. The iterator never
// opens a file or a URL.
using TyXMLExternalEntities = std::map<std::u16string, std::u16string, std::less<>>;

// Not thread-safe. The text must stay unchanged and alive while the iterator is used.
// Allocates per node (names, attribute values); not meant for per-keystroke hot paths.
class CyXMLIterator {
 public:
  // Text: the whole document, NUL-terminated. External: optional table of external entities.
  explicit CyXMLIterator(const char16_t* Text, const TyXMLExternalEntities* External = nullptr);

  // Starts over and moves to the first node (reading the XML declaration and the DOCTYPE with
  // its entity declarations on the way). False when the text holds no node.
  bool Parse();
  // Moves to the next node; false when the text is done.
  bool Next();
  // On a start tag: moves behind the element with its content, to the node after its end tag;
  // on any other node the same as Next. False when the text is done.
  bool Skip();
  // Skips text nodes of white space only; true when the node reached is a start tag (with the
  // qualified name ExpectedName, when that is given).
  bool SkipWhitespaceAndCheckFirstNode(std::u16string_view ExpectedName = {});

  // Attribute look-ups on the current start tag. By qualified name, or by namespace URI and
  // local name (an unprefixed attribute has no namespace). Index: the attribute's position.
  bool FindAttribute(std::u16string_view QName) const;
  bool FindAttribute(std::u16string_view QName, int& Index) const;
  bool FindAttribute(std::u16string_view NamespaceURI, std::u16string_view LocalName) const;
  bool FindAttribute(std::u16string_view NamespaceURI, std::u16string_view LocalName,
                     int& Index) const;
  // The same, and the expanded value equals Value.
  bool FindAttributeWithValue(std::u16string_view QName, std::u16string_view Value) const;
  bool FindAttributeWithValue(std::u16string_view QName, std::u16string_view Value,
                              int& Index) const;
  bool FindAttributeWithValue(std::u16string_view NamespaceURI, std::u16string_view LocalName,
                              std::u16string_view Value) const;
  bool FindAttributeWithValue(std::u16string_view NamespaceURI, std::u16string_view LocalName,
                              std::u16string_view Value, int& Index) const;
  // Index of each qualified name among the attributes, -1 where absent.
  std::vector<int> FindAttributes(std::span<const std::u16string_view> QNames) const;
  // The expanded value (entity and character references replaced); empty when absent. Raises
  // CyXMLReferenceException on a reference without ';'.
  std::u16string GetAttributeValue(std::u16string_view QName) const;
  std::u16string GetAttributeValue(int Index) const;
  // 1-based line and line position of an attribute's name / of its value's first character.
  bool GetAttributeNameLocation(std::u16string_view QName, int64_t& Line, int64_t& Linepos) const;
  bool GetAttributeNameLocation(int Index, int64_t& Line, int64_t& Linepos) const;
  bool GetAttributeValueLocation(std::u16string_view QName, int64_t& Line, int64_t& Linepos) const;
  bool GetAttributeValueLocation(int Index, int64_t& Line, int64_t& Linepos) const;
  // The xmlns and xmlns:p attributes of the current start tag as (prefix, URI) pairs; the
  // default namespace has the empty prefix.
  std::vector<std::pair<std::u16string, std::u16string>> CreateXMLPrefixMappings() const;
  // The namespace URI bound to Prefix where the current node stands ("xml" is always bound).
  // Empty when unbound.
  std::u16string LookupNamespace(std::u16string_view Prefix) const;

  // Expands the references of a raw attribute value; Offset locates it for errors.
  std::u16string ExpandReferences(std::u16string_view Raw, int64_t Offset) const;

  const TyXMLNode& getCurrentNode() const { return Node_; }
  int64_t getCurrentLine() const;
  int64_t getCurrentLinepos() const;
  bool getIsDone() const { return Done_; }
  // Line of the first start tag, found by Parse (0 when there is none).
  int64_t getDataStartsAtLine() const { return DataStartsAtLine_; }
  // The text's first character other than white space (and a byte-order mark) is '<'.
  bool getDataStartsWithXMLBracket() const { return DataStartsWithXMLBracket_; }
  // The general entities declared in the internal subset (replacement texts).
  const std::map<std::u16string, std::u16string, std::less<>>& getEntities() const {
    return Entities_;
  }

  // 1-based line and position of an offset in the text. Logarithmic in the line count.
  void LocationOf(int64_t Offset, int64_t& Line, int64_t& Linepos) const;

 private:
  void Restart();
  void ReadDeclarationToken();
  void ReadTag(TyXMLNodeKind Kind);
  void AppendExpanded(std::u16string& Out, std::u16string_view Raw, int64_t Offset,
                      int Depth) const;
  const TyXMLAttribute* Attribute(int Index) const;
  bool FindByNamespace(std::u16string_view NamespaceURI, std::u16string_view LocalName,
                       std::u16string_view* Value, int& Index) const;

  const char16_t* Text_;
  const TyXMLExternalEntities* External_;
  int64_t Start_ = 0;  // 1 behind a byte-order mark
  std::vector<int64_t> LineStarts_;
  TxXMLParser Parser_;
  TyXMLNode Node_;
  bool Done_ = false;
  bool Started_ = false;
  int32_t Depth_ = 0;
  int64_t DataStartsAtLine_ = 0;
  bool DataStartsWithXMLBracket_ = false;
  std::map<std::u16string, std::u16string, std::less<>> Entities_;
  // In-scope namespace bindings: one frame per open element, innermost last.
  std::vector<std::vector<std::pair<std::u16string, std::u16string>>> Scopes_;
  // Entity declaration being read in the internal subset.
  std::u16string DeclName_;
  int DeclWords_ = 0;
  bool DeclParameter_ = false;
  std::u16string DeclValue_;
  bool DeclHasValue_ = false;
};

}  // namespace xylem
