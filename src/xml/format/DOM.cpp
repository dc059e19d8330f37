#include "xml/format/DOM.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

#include "text/PageMemory.hpp"

namespace xylem {

namespace {
// Blocks grow from 16 KiB to 64 MiB, so small documents stay small and big ones take few blocks
// of huge pages (the first touch of fresh memory costs a fault per page).
constexpr size_t kFirstBlockBytes = size_t{1} << 14;
constexpr size_t kMaxBlockBytes = size_t{1} << 26;
}  // namespace

PyXMLDOMTree::~PyXMLDOMTree() { Clear(); }

void* PyXMLDOMTree::Allocate(size_t Bytes, size_t Align) {
  size_t pad = (Align - reinterpret_cast<uintptr_t>(Next_) % Align) % Align;
  if (Next_ == nullptr || pad + Bytes > Left_) {
    NextBlock_ = std::min(kMaxBlockBytes, NextBlock_ ? NextBlock_ * 2 : kFirstBlockBytes);
    const size_t size = std::max(NextBlock_, Bytes + Align);
    // Not zeroed: every object is constructed.
    Blocks_.push_back({static_cast<std::byte*>(CyPageMemory::Allocate(size, false)), size});
    Next_ = Blocks_.back().Data;
    Left_ = size;
    pad = (Align - reinterpret_cast<uintptr_t>(Next_) % Align) % Align;
  }
  std::byte* p = Next_ + pad;
  Next_ = p + Bytes;
  Left_ -= pad + Bytes;
  return p;
}

TyXMLDOMNode* PyXMLDOMTree::NewNode(TyXMLDOMNodeType Type) {
  auto* node = new (Allocate(sizeof(TyXMLDOMNode), alignof(TyXMLDOMNode))) TyXMLDOMNode();
  node->Type_ = Type;
  return node;
}

template <typename T>
TyXMLDOMArray<T> PyXMLDOMTree::CopyArray(std::span<const T> Head, std::span<const T> Tail) {
  const size_t count = Head.size() + Tail.size();
  if (count == 0) return {};
  static_assert(alignof(T) <= sizeof(TyXMLDOMArrayHeader));
  auto* header =
      new (Allocate(sizeof(TyXMLDOMArrayHeader) + count * sizeof(T), alignof(TyXMLDOMArrayHeader)))
          TyXMLDOMArrayHeader{static_cast<uint32_t>(count), static_cast<uint32_t>(Head.size())};
  auto* items = reinterpret_cast<T*>(header + 1);
  std::uninitialized_copy(Tail.begin(), Tail.end(),
                          std::uninitialized_copy(Head.begin(), Head.end(), items));
  return TyXMLDOMArray<T>(items);
}

TyXMLDOMArray<TyXMLDOMPiece> PyXMLDOMTree::CopyPieces(std::span<const TyXMLDOMPiece> Items) {
  return CopyArray(Items, std::span<const TyXMLDOMPiece>());
}

TyXMLDOMArray<TyXMLDOMPiece> PyXMLDOMTree::JoinPieces(std::span<const TyXMLDOMPiece> Head,
                                                      std::span<const TyXMLDOMPiece> Tail) {
  return CopyArray(Head, Tail);
}

TyXMLDOMArray<TyXMLDOMAttribute> PyXMLDOMTree::CopyAttributes(
    std::span<const TyXMLDOMAttribute> Items) {
  return CopyArray(Items, std::span<const TyXMLDOMAttribute>());
}

TyXMLDOMArray<TyXMLDOMPiece> PyXMLDOMTree::LinesOnly(size_t Count) {
  if (Count == 0) return {};
  // A header followed by room for one piece, so that the array's items pointer is valid.
  struct TyShared {
    TyXMLDOMArrayHeader Header;
    TyXMLDOMPiece Item;
  };
  static_assert(offsetof(TyShared, Item) == sizeof(TyXMLDOMArrayHeader));
  static const auto shared = [] {
    std::array<TyShared, 16> table{};
    for (uint32_t i = 0; i < table.size(); ++i) table[i].Header = {i, 0};
    return table;
  }();
  if (Count < shared.size()) return TyXMLDOMArray<TyXMLDOMPiece>(&shared[Count].Item);
  auto* header = new (
      Allocate(sizeof(TyXMLDOMArrayHeader) + sizeof(TyXMLDOMPiece), alignof(TyXMLDOMArrayHeader)))
      TyXMLDOMArrayHeader{static_cast<uint32_t>(Count), 0};
  return TyXMLDOMArray<TyXMLDOMPiece>(new (header + 1) TyXMLDOMPiece());
}

std::u16string_view TyXMLDOMNode::CloseSlash() const {
  if (Type_ != TyXMLDOMNodeType::ntElement || Pieces.empty()) return {};
  if (!TagsAsWritten) return Pieces[0].View();
  // From the start tag as written: it ends with the "/>" of an empty element.
  const std::span<const TyXMLDOMPiece> tag = Text();
  if (!EndTag().empty()) return {};
  const TyXMLDOMPiece& last = tag.back();
  if (last.Count < 2 || last.P[last.Count - 1] != u'>' || last.P[last.Count - 2] != u'/') return {};
  size_t start = last.Count - 2;
  while (start > 0 && (last.P[start - 1] == u' ' || last.P[start - 1] == u'\t')) --start;
  // Blanks that begin the line continue a white-space run from the line before.
  if (start == 0 && tag.size() > 1) start = last.Count - 2;
  return {last.P + start, last.Count - start};
}

void PyXMLDOMTree::Absorb(PyXMLDOMTree& Other) {
  Blocks_.insert(Blocks_.end(), Other.Blocks_.begin(), Other.Blocks_.end());
  Other.Blocks_.clear();
  Other.Clear();
}

void PyXMLDOMTree::Clear() {
  for (const TyBlock& block : Blocks_) CyPageMemory::Free(block.Data, block.Bytes);
  Blocks_.clear();
  Next_ = nullptr;
  Left_ = 0;
  NextBlock_ = 0;
  First_ = Last_ = nullptr;
}

CyXMLWordList::CyXMLWordList(std::u16string_view Joined) {
  auto blank = [](char16_t c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n'; };
  size_t start = 0;
  while (start <= Joined.size()) {
    size_t end = Joined.find(u'|', start);
    if (end == Joined.npos) end = Joined.size();
    size_t a = start, b = end;
    while (a < b && blank(Joined[a])) ++a;
    while (b > a && blank(Joined[b - 1])) --b;
    if (b > a) {
      const std::u16string_view name = Joined.substr(a, b - a);
      Names_.emplace(name);
      Lengths_ |= uint64_t{1} << std::min<size_t>(name.size(), 63);
      Ends_ |= uint64_t{1} << (name.back() & 63);
    }
    start = end + 1;
  }
}

}  // namespace xylem
