#include "json/Tree.hpp"

#include "json/Exception.hpp"
#include "json/Token.hpp"

namespace xylem {

const char16_t* TyJSONValue::Tail() const {
  const TyJSONNode& node = Tree->Node(Index);
  if (node.Kind != jnArray && node.Kind != jnObject) return Head() + node.Extent;
  // The closing bracket is the first character after the last item that is not white space
  // (no comma may follow the last item).
  const char16_t* at = Head() + 1;
  for (TyJSONValue child = FirstChild(); Contains(child); child = child.NextSibling())
    at = (child.Kind() == jnMember ? child.MemberValue() : child).Tail();
  return SkipJSONWhitespace(at) + 1;
}

size_t TyJSONValue::ChildCount() const {
  size_t count = 0;
  for (TyJSONValue child = FirstChild(); Contains(child); child = child.NextSibling()) ++count;
  return count;
}

uint32_t CyJSONTree::Append(TyJSONNodeKind Kind, uint32_t Head, uint32_t Extent) {
  if (Count_ + 1 >= TyJSONNode::kExtentLimit)
    throw JSONException(1, 1,
                        u"The document has too many values for a JSON tree (more than 536870911).");
  if ((Count_ & (kBlockSize - 1)) == 0)
    Blocks_.push_back(std::make_unique_for_overwrite<TyJSONNode[]>(kBlockSize));
  const uint32_t index = Count_++;
  TyJSONNode& node = Node(index);
  node.Head = Head;
  node.Extent = Extent;
  node.Kind = Kind;
  return index;
}

}  // namespace xylem
