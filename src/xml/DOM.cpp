#include "xml/DOM.hpp"

#include <algorithm>
#include <cstring>

#include "text/PageMemory.hpp"

namespace xylem {

namespace {
// Blocks grow from 16 KiB to 64 MiB, so small documents stay small and big ones take few blocks
// of huge pages (the first touch of fresh memory costs a fault per page).
constexpr size_t kFirstBlockBytes = size_t{1} << 14;
constexpr size_t kMaxBlockBytes = size_t{1} << 26;
}

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

std::span<const TyXMLDOMPiece> PyXMLDOMTree::CopyPieces(std::span<const TyXMLDOMPiece> Items) {
  if (Items.empty()) return {};
  auto* p = static_cast<TyXMLDOMPiece*>(
      Allocate(Items.size() * sizeof(TyXMLDOMPiece), alignof(TyXMLDOMPiece)));
  std::uninitialized_copy(Items.begin(), Items.end(), p);
  return {p, Items.size()};
}

std::span<const TyXMLDOMAttribute> PyXMLDOMTree::CopyAttributes(
    std::span<const TyXMLDOMAttribute> Items) {
  if (Items.empty()) return {};
  auto* p = static_cast<TyXMLDOMAttribute*>(
      Allocate(Items.size() * sizeof(TyXMLDOMAttribute), alignof(TyXMLDOMAttribute)));
  std::uninitialized_copy(Items.begin(), Items.end(), p);
  return {p, Items.size()};
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
  PieceStarts_.clear();
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
    if (b > a) Names_.emplace(Joined.substr(a, b - a));
    start = end + 1;
  }
}

}  // namespace xylem
