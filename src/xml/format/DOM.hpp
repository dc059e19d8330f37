#pragma once
// The formatter's light node tree: records linked by pointers, allocated from one arena owned
// by PyXMLDOMTree and freed at once. Names and texts are pieces of the source lines (pointer
// and length), never copies, so the source text list must outlive the tree. Also the two
// option sets of the formatting dialog and the element-name word lists.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace xylem {

enum class TyXMLDOMNodeType : uint8_t {
  ntCDATA,
  ntComment,
  ntDoctype,
  ntElement,
  ntPI,
  ntRefChar,
  ntRefEntity,
  ntText,
  ntXML,
  ntXMLModel,
  ntXMLStylesheet,
};

// A piece of one source line: Count code units from P (not NUL-terminated).
struct TyXMLDOMPiece {
  const char16_t* P = nullptr;
  size_t Count = 0;
  std::u16string_view View() const { return {P, Count}; }
};

// What precedes an array in the tree's arena, so that a node holds one pointer per array.
struct TyXMLDOMArrayHeader {
  uint32_t Count;
  uint32_t Split;  // items of the first part (all but for an element's start and end tags)
};

// An array in the tree's arena (null when empty). Cheap to copy; valid as long as the tree.
template <typename T>
class TyXMLDOMArray {
 public:
  TyXMLDOMArray() = default;
  explicit TyXMLDOMArray(const T* Items) : Items_(Items) {}
  size_t size() const { return Items_ ? header().Count : 0; }
  bool empty() const { return Items_ == nullptr; }
  const T* begin() const { return Items_; }
  const T* end() const { return Items_ + size(); }
  const T& operator[](size_t Index) const { return Items_[Index]; }
  const T& back() const { return Items_[size() - 1]; }
  operator std::span<const T>() const { return {Items_, size()}; }
  // The items before and from the split.
  std::span<const T> Head() const { return {Items_, Items_ ? header().Split : 0}; }
  std::span<const T> Tail() const {
    return Items_ ? std::span<const T>(Items_ + header().Split, header().Count - header().Split)
                  : std::span<const T>();
  }

 private:
  const TyXMLDOMArrayHeader& header() const {
    return *reinterpret_cast<const TyXMLDOMArrayHeader*>(
        reinterpret_cast<const std::byte*>(Items_) - sizeof(TyXMLDOMArrayHeader));
  }
  const T* Items_ = nullptr;
};

// An attribute as written ("name = 'value'"), one piece per source line it touches.
struct TyXMLDOMAttribute {
  TyXMLDOMArray<TyXMLDOMPiece> Text;
  bool SameLine = false;   // began on the line where the previous attribute (or the name) ended
  bool MultiLine = false;  // its text spans several source lines
};

// An attribute as the writer reads it: from the tree or straight from the scanner.
struct TyXMLAttributeSource {
  std::span<const TyXMLDOMPiece> Text;
  bool SameLine = false;
  bool MultiLine = false;
};

// A start tag as the writer needs it.
struct TyXMLStartTag {
  std::u16string_view Name;
  std::span<const TyXMLAttributeSource> Attributes;
  bool Empty = false;              // written "<a/>": no children and no end tag follow
  std::u16string_view CloseSlash;  // Empty: "/>" with the blanks before it on its line
  bool Preserve = false;           // PreserveText
  bool HasText = false;            // a child is a reference or a text with more than white space
  std::span<const TyXMLDOMPiece> AsWritten;  // inside a preserved element: the tag as written
};

// 64 bytes: big documents have tens of millions of nodes.
struct TyXMLDOMNode {
  TyXMLDOMNode* Parent = nullptr;
  TyXMLDOMNode* FirstChild = nullptr;
  TyXMLDOMNode* LastChild = nullptr;
  TyXMLDOMNode* NextSibling = nullptr;
  const char16_t* NameP = nullptr;              // element name in the source (no copy)
  TyXMLDOMArray<TyXMLDOMAttribute> Attributes;  // ntElement
  // The node's source pieces, one per line: see Text, EndTag and CloseSlash.
  TyXMLDOMArray<TyXMLDOMPiece> Pieces;
  uint32_t NameCount = 0;
  TyXMLDOMNodeType Type_ = TyXMLDOMNodeType::ntText;
  bool HasText = false;        // ntText: holds more than tab, space, CR and LF
  bool PreserveText = false;   // ntElement: content kept verbatim under xloPreserveVerbatim
  bool TagsAsWritten = false;  // ntElement inside a preserved one: Pieces holds its tags

  std::u16string_view Name() const { return {NameP, NameCount}; }
  // Per source line: the inner text between the delimiters (comments, PIs, CDATA, DOCTYPE,
  // references without "&"/"&#" and ";"), a text's characters, or, for an element inside a
  // preserved one, its start tag as written (empty for other elements).
  std::span<const TyXMLDOMPiece> Text() const {
    return Type_ != TyXMLDOMNodeType::ntElement || TagsAsWritten ? Pieces.Head()
                                                                 : std::span<const TyXMLDOMPiece>();
  }
  // The number of source lines the node's text spans; for a white-space-only text the pieces
  // may not be kept (Text empty) where no layout would write them, but this count always is.
  size_t LineCount() const { return Pieces.size(); }
  // An element inside a preserved one: its end tag as written (empty for "/>").
  std::span<const TyXMLDOMPiece> EndTag() const {
    return TagsAsWritten ? Pieces.Tail() : std::span<const TyXMLDOMPiece>();
  }
  // ntElement: "/>" with the blanks before it on its line, as written (those of a white-space
  // run that began on an earlier line excepted); empty when written as start and end tag.
  std::u16string_view CloseSlash() const;
};
static_assert(sizeof(TyXMLDOMNode) == 64);

// Owns every node, piece and attribute of one tree; freeing the tree frees them all at once.
// Allocation is a pointer bump in blocks growing to 64 MiB. Not thread-safe.
class PyXMLDOMTree {
 public:
  PyXMLDOMTree() = default;
  ~PyXMLDOMTree();
  PyXMLDOMTree(const PyXMLDOMTree&) = delete;
  PyXMLDOMTree& operator=(const PyXMLDOMTree&) = delete;

  // A new zeroed node of Type, not linked anywhere.
  TyXMLDOMNode* NewNode(TyXMLDOMNodeType Type);
  // Copies of Items in the arena (valid until Clear or destruction); JoinPieces puts Head and
  // Tail in one array split between them.
  TyXMLDOMArray<TyXMLDOMPiece> CopyPieces(std::span<const TyXMLDOMPiece> Items);
  TyXMLDOMArray<TyXMLDOMPiece> JoinPieces(std::span<const TyXMLDOMPiece> Head,
                                          std::span<const TyXMLDOMPiece> Tail);
  TyXMLDOMArray<TyXMLDOMAttribute> CopyAttributes(std::span<const TyXMLDOMAttribute> Items);
  // An array of Count lines whose pieces are not kept (its Head is empty): the common small
  // counts are shared and take no memory.
  TyXMLDOMArray<TyXMLDOMPiece> LinesOnly(size_t Count);
  // Frees everything and empties the tree.
  void Clear();
  // Takes over Other's memory (nodes keep their addresses); Other is left empty. For joining
  // trees read in parallel.
  void Absorb(PyXMLDOMTree& Other);

  // The top-level nodes in document order (linked by NextSibling).
  TyXMLDOMNode* getFirst() const { return First_; }
  TyXMLDOMNode* getLast() const { return Last_; }
  void setFirst(TyXMLDOMNode* Node) { First_ = Node; }
  void setLast(TyXMLDOMNode* Node) { Last_ = Node; }

 private:
  void* Allocate(size_t Bytes, size_t Align);
  template <typename T>
  TyXMLDOMArray<T> CopyArray(std::span<const T> Head, std::span<const T> Tail);

  struct TyBlock {
    std::byte* Data;
    size_t Bytes;
  };
  std::vector<TyBlock> Blocks_;
  std::byte* Next_ = nullptr;
  size_t Left_ = 0;
  size_t NextBlock_ = 0;  // size of the block allocated last
  TyXMLDOMNode* First_ = nullptr;
  TyXMLDOMNode* Last_ = nullptr;
};

enum class TyXMLFormattingOption : uint8_t {
  xfoClearWhitespaceOnlyElements,
  xfoFormatAttributes,
  xfoFormatEmptyElements,
  xfoFormatText,
  xfoRemoveWhitespaceOnlyLines,
};

enum class TyXMLLayoutOption : uint8_t {
  xloAttributesInline,
  xloEmptyElementAddSpaceBeforeSlash,
  xloEmptyElementExpand,
  xloPreserveVerbatim,
  xloTextInline,
};

// A set of enumeration values; bit i holds value i (the form kept in CySettings).
template <typename E>
struct TyXMLOptionSet {
  uint32_t Bits = 0;
  constexpr TyXMLOptionSet() = default;
  constexpr TyXMLOptionSet(std::initializer_list<E> Items) {
    for (E e : Items) Bits |= 1u << static_cast<unsigned>(e);
  }
  static constexpr TyXMLOptionSet FromBits(uint32_t Value) {
    TyXMLOptionSet s;
    s.Bits = Value;
    return s;
  }
  constexpr bool Has(E e) const { return (Bits >> static_cast<unsigned>(e)) & 1u; }
  constexpr bool operator==(const TyXMLOptionSet&) const = default;
};

using TyXMLFormattingOptions = TyXMLOptionSet<TyXMLFormattingOption>;
using TyXMLLayoutOptions = TyXMLOptionSet<TyXMLLayoutOption>;

// Element names (qualified, as written), built from a list joined by "|". Blank entries and
// the blanks around names are ignored. Contains is a hash look-up.
class CyXMLWordList {
 public:
  CyXMLWordList() = default;
  explicit CyXMLWordList(std::u16string_view Joined);
  // Most names are looked up for every element: a name whose length no entry has (lengths
  // up to 63 kept as bits) and whose last character ends no entry costs no hash.
  bool Contains(std::u16string_view Name) const {
    if (Name.empty() || !(Lengths_ >> std::min<size_t>(Name.size(), 63) & 1) ||
        !(Ends_ >> (Name.back() & 63) & 1))
      return false;
    return Names_.contains(Name);
  }
  bool IsEmpty() const { return Names_.empty(); }

 private:
  struct TyHash {
    using is_transparent = void;
    size_t operator()(std::u16string_view s) const { return std::hash<std::u16string_view>{}(s); }
  };
  std::unordered_set<std::u16string, TyHash, std::equal_to<>> Names_;
  uint64_t Lengths_ = 0;  // bit min(length, 63) of every entry
  uint64_t Ends_ = 0;     // bit (last character & 63) of every entry
};

}  // namespace xylem
