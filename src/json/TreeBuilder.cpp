#include "json/TreeBuilder.hpp"

#include "json/Exception.hpp"

namespace xylem {

CyJSONTreeBuilder::CyJSONTreeBuilder(const CyJSONMemory& Input)
    : Text_(Input.Data()), Tree_(Input.Data()) {
  if (Input.DataCount() > UINT32_MAX)
    throw JSONException(
        1, 1, u"The document is too large for a JSON tree (more than 4294967295 characters).");
}

void CyJSONTreeBuilder::BOF(std::u16string_view) {
  Tree_ = CyJSONTree(Text_);
  Open_.clear();
}

void CyJSONTreeBuilder::StartObjectMember(const char16_t* Head, const char16_t* Tail) {
  Tree_.Append(jnMember, OffsetOf(Head), TokenLength(Head, Tail));
}

void CyJSONTreeBuilder::Open(TyJSONNodeKind Kind, const char16_t* Position) {
  Open_.push_back(Tree_.Append(Kind, OffsetOf(Position), 0));
  Tree_.NoteDepth(static_cast<int>(Open_.size()));
}

void CyJSONTreeBuilder::Close(const char16_t*) {
  Tree_.Node(Open_.back()).Extent = Tree_.Count();
  Open_.pop_back();
}

void CyJSONTreeBuilder::Leaf(TyJSONNodeKind Kind, const char16_t* Head, const char16_t* Tail) {
  Tree_.Append(Kind, OffsetOf(Head), TokenLength(Head, Tail));
}

uint32_t CyJSONTreeBuilder::TokenLength(const char16_t* Head, const char16_t* Tail) const {
  const auto length = static_cast<size_t>(Tail - Head);
  if (length >= TyJSONNode::kExtentLimit) {
    const char16_t* lineStart = Head;
    int64_t line = 1;
    for (const char16_t* at = Text_; at < Head; ++at) {
      if (*at == u'\n' || (*at == u'\r' && at[1] != u'\n')) ++line, lineStart = at + 1;
    }
    throw JSONException(line, Head - lineStart + 1,
                        u"The token is too long for a JSON tree (536870912 characters or more).");
  }
  return static_cast<uint32_t>(length);
}

}  // namespace xylem
