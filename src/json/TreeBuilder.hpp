#pragma once
// The parser listener that builds a JSON tree.

#include <cstdint>
#include <vector>

#include "json/Listener.hpp"
#include "json/Memory.hpp"
#include "json/Tree.hpp"

namespace xylem {

// Builds a CyJSONTree from the parser's events: one 8-byte node per value, member, array and
// object, spans into the parsed text and no copies of it. After a failed parse the tree holds
// what was recognised before the error. Not thread-safe.
class CyJSONTreeBuilder final : public IyJSONParserListener {
 public:
  // Input is the text the parser reads; it must outlive the tree. Raises JSONException when the
  // text is too long for 32-bit offsets.
  explicit CyJSONTreeBuilder(const CyJSONMemory& Input);

  // The tree built so far; complete after a successful parse.
  const CyJSONTree& Tree() const { return Tree_; }
  // Hands the tree over; the builder is empty afterwards.
  CyJSONTree TakeTree() { return std::move(Tree_); }

  void BOF(std::u16string_view DocumentName) override;
  void EOF_() override {}
  void StartArray(const char16_t* Position) override { Open(jnArray, Position); }
  void EndArray(const char16_t* Position) override { Close(Position); }
  void StartObject(const char16_t* Position) override { Open(jnObject, Position); }
  void EndObject(const char16_t* Position) override { Close(Position); }
  void StartObjectMember(const char16_t* Head, const char16_t* Tail) override;
  void EndObjectMember() override {}
  void WriteLiteralFalse(const char16_t* Head, const char16_t* Tail) override {
    Leaf(jnFalse, Head, Tail);
  }
  void WriteLiteralNull(const char16_t* Head, const char16_t* Tail) override {
    Leaf(jnNull, Head, Tail);
  }
  void WriteLiteralTrue(const char16_t* Head, const char16_t* Tail) override {
    Leaf(jnTrue, Head, Tail);
  }
  void WriteNumber(const char16_t* Head, const char16_t* Tail) override {
    Leaf(jnNumber, Head, Tail);
  }
  void WriteString(const char16_t* Head, const char16_t* Tail) override {
    Leaf(jnString, Head, Tail);
  }

 private:
  uint32_t OffsetOf(const char16_t* At) const { return static_cast<uint32_t>(At - Text_); }
  void Open(TyJSONNodeKind Kind, const char16_t* Position);
  void Close(const char16_t* Position);
  void Leaf(TyJSONNodeKind Kind, const char16_t* Head, const char16_t* Tail);
  // Tail - Head, raising JSONException at the token when it exceeds the node's limit.
  uint32_t TokenLength(const char16_t* Head, const char16_t* Tail) const;

  const char16_t* Text_;
  CyJSONTree Tree_;
  // Open arrays and objects, innermost last.
  std::vector<uint32_t> Open_;
};

}  // namespace xylem
