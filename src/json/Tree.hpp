#pragma once
// The JSON tree: 8-byte nodes in document order in one arena, each holding a span of the
// source text instead of a copy of it.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace xylem {

enum TyJSONNodeKind : uint8_t {
  jnArray,
  jnObject,
  jnMember,  // an object's member: the key's span; its value is the next node
  jnFalse,
  jnNull,
  jnTrue,
  jnNumber,
  jnString,
};

// One node. Offsets count UTF-16 units from the text's start. Leaves and keys keep their
// length, arrays and objects the index just past their subtree (the rest follows from the
// document order). Limits: texts below 2^32 units, tokens and node counts below 2^29.
struct TyJSONNode {
  static constexpr uint32_t kExtentLimit = uint32_t{1} << 29;

  uint32_t Head;         // offset of the token, the key, or the opening bracket
  uint32_t Extent : 29;  // leaf or key: length in units; array or object: index past its subtree
  uint32_t Kind : 3;     // a TyJSONNodeKind
};
static_assert(sizeof(TyJSONNode) == 8);

class CyJSONTree;

// A node of a tree, by index: cheap to copy, valid while the tree lives.
struct TyJSONValue {
  const CyJSONTree* Tree = nullptr;
  uint32_t Index = 0;

  TyJSONNodeKind Kind() const;
  // The node's source span: the token (quotes and escapes included) or the member's key in
  // O(1); an array or object from its opening to just past its closing bracket, found by
  // walking its last items (linear in their number and depth).
  const char16_t* Head() const;
  const char16_t* Tail() const;
  std::u16string_view Text() const { return {Head(), static_cast<size_t>(Tail() - Head())}; }
  // An array's first item or an object's first member; past the end (see Contains) when none.
  TyJSONValue FirstChild() const { return {Tree, Index + 1}; }
  // The node after this one's subtree: its next sibling if the parent still Contains it.
  TyJSONValue NextSibling() const;
  // Whether Child (from FirstChild/NextSibling) still lies inside this node.
  bool Contains(TyJSONValue Child) const { return Child.Index < NextSibling().Index; }
  // A member's value.
  TyJSONValue MemberValue() const { return {Tree, Index + 1}; }
  // Items or members; linear in their number.
  size_t ChildCount() const;
};

// Owns the nodes; points into the text it was built from, which must outlive it. Move-only.
// Freed at once: nodes live in a few large blocks. Read-only after building; reading is
// thread-safe.
class CyJSONTree {
 public:
  static constexpr uint32_t kBlockBits = 17;
  static constexpr uint32_t kBlockSize = uint32_t{1} << kBlockBits;

  explicit CyJSONTree(const char16_t* Text = nullptr) : Text_(Text) {}
  CyJSONTree(CyJSONTree&&) noexcept = default;
  CyJSONTree& operator=(CyJSONTree&&) noexcept = default;

  const char16_t* Text() const { return Text_; }
  uint32_t Count() const { return Count_; }
  bool IsEmpty() const { return Count_ == 0; }
  const TyJSONNode& Node(uint32_t Index) const {
    return Blocks_[Index >> kBlockBits][Index & (kBlockSize - 1)];
  }
  TyJSONNode& Node(uint32_t Index) {
    return Blocks_[Index >> kBlockBits][Index & (kBlockSize - 1)];
  }
  // The top-level value; the tree must not be empty.
  TyJSONValue Root() const { return {this, 0}; }
  // Deepest nesting of arrays and objects (0 for a lone scalar).
  int MaxDepth() const { return MaxDepth_; }
  // Bytes held by the nodes.
  size_t MemoryUsed() const { return Blocks_.size() * kBlockSize * sizeof(TyJSONNode); }

  // Appends a node and returns its index; raises JSONException at the node limit. Amortised
  // O(1); allocates one 1 MiB block per 131,072 nodes.
  uint32_t Append(TyJSONNodeKind Kind, uint32_t Head, uint32_t Extent);
  void NoteDepth(int Depth) {
    if (Depth > MaxDepth_) MaxDepth_ = Depth;
  }

 private:
  const char16_t* Text_;
  std::vector<std::unique_ptr<TyJSONNode[]>> Blocks_;
  uint32_t Count_ = 0;
  int MaxDepth_ = 0;
};

inline TyJSONNodeKind TyJSONValue::Kind() const {
  return static_cast<TyJSONNodeKind>(Tree->Node(Index).Kind);
}
inline const char16_t* TyJSONValue::Head() const { return Tree->Text() + Tree->Node(Index).Head; }
inline TyJSONValue TyJSONValue::NextSibling() const {
  const TyJSONNode& node = Tree->Node(Index);
  switch (node.Kind) {
    case jnArray:
    case jnObject:
      return {Tree, node.Extent};
    case jnMember:
      return MemberValue().NextSibling();
    default:
      return {Tree, Index + 1};
  }
}

}  // namespace xylem
