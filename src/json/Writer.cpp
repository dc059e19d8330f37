#include "json/Writer.hpp"

#include "common/Exception.hpp"

namespace xylem {

CyJSONWriter::CyJSONWriter(std::u16string& Destination, const TyJSONWriterOptions& Options)
    : Stream_(Destination, Options.Newline), Unit_(Options.IndentationUnit) {}

CyJSONWriter::CyJSONWriter(std::ostream& Destination, const TyJSONWriterOptions& Options)
    : Stream_(Destination, Options.CodePage, Options.Newline), Unit_(Options.IndentationUnit) {}

CyJSONWriter::CyJSONWriter(IyTextSink& Destination, const TyJSONWriterOptions& Options)
    : Stream_(Destination, Options.Newline), Unit_(Options.IndentationUnit) {}

CyJSONWriter CyJSONWriter::Create(IyTextSink& Destination, const TyJSONWriterOptions& Options) {
  return CyJSONWriter(Destination, Options);
}

CyJSONWriter CyJSONWriter::Create(std::u16string& Destination, const TyJSONWriterOptions& Options) {
  return CyJSONWriter(Destination, Options);
}

CyJSONWriter CyJSONWriter::Create(std::ostream& Destination, const TyJSONWriterOptions& Options) {
  return CyJSONWriter(Destination, Options);
}

void CyJSONWriter::Write(TyJSONValue Value) {
  WriteValue(0, Value);
  Stream_.Flush();
}

void CyJSONWriter::WriteValue(int Level, TyJSONValue Value) {
  switch (Value.Kind()) {
    case jnArray:
      WriteArray(Level, Value);
      return;
    case jnObject:
      WriteObject(Level, Value);
      return;
    case jnFalse:
      WriteLiteralFalse(Level, Value);
      return;
    case jnNull:
      WriteLiteralNull(Level, Value);
      return;
    case jnTrue:
      WriteLiteralTrue(Level, Value);
      return;
    case jnNumber:
      WriteNumber(Level, Value);
      return;
    case jnString:
      WriteString(Level, Value);
      return;
    case jnMember:
      break;
  }
  throw CyShouldNeverHappenException("a JSON member written as a value");
}

namespace {

// Index just past the subtree at Index: the hot loop's form of TyJSONValue::NextSibling.
inline uint32_t subtreeEnd(const CyJSONTree& Tree, uint32_t Index) {
  const TyJSONNode* node = &Tree.Node(Index);
  if (node->Kind == jnMember) node = &Tree.Node(++Index);
  return node->Kind == jnArray || node->Kind == jnObject ? node->Extent : Index + 1;
}

}  // namespace

void CyJSONWriter::WriteArray(int Level, TyJSONValue Array) {
  const CyJSONTree& tree = *Array.Tree;
  const uint32_t end = tree.Node(Array.Index).Extent;
  uint32_t item = Array.Index + 1;
  if (item == end) {
    Stream_.Write(u"[]");
    return;
  }
  Stream_.Write(u'[');
  while (true) {
    Stream_.WriteLine();
    WriteIndentation(Level + 1);
    WriteValue(Level + 1, {&tree, item});
    item = subtreeEnd(tree, item);
    if (item == end) break;
    Stream_.Write(u',');
  }
  Stream_.WriteLine();
  WriteIndentation(Level);
  Stream_.Write(u']');
}

void CyJSONWriter::WriteObject(int Level, TyJSONValue Object) {
  const CyJSONTree& tree = *Object.Tree;
  const uint32_t end = tree.Node(Object.Index).Extent;
  uint32_t member = Object.Index + 1;
  if (member == end) {
    Stream_.Write(u"{}");
    return;
  }
  Stream_.Write(u'{');
  while (true) {
    Stream_.WriteLine();
    WriteIndentation(Level + 1);
    const TyJSONNode& key = tree.Node(member);
    Stream_.Write(std::u16string_view(tree.Text() + key.Head, key.Extent));
    Stream_.Write(u": ");
    WriteValue(Level + 1, {&tree, member + 1});
    member = subtreeEnd(tree, member);
    if (member == end) break;
    Stream_.Write(u',');
  }
  Stream_.WriteLine();
  WriteIndentation(Level);
  Stream_.Write(u'}');
}

void CyJSONWriter::WriteLiteralFalse(int, TyJSONValue Value) { WriteLeaf(Value); }
void CyJSONWriter::WriteLiteralNull(int, TyJSONValue Value) { WriteLeaf(Value); }
void CyJSONWriter::WriteLiteralTrue(int, TyJSONValue Value) { WriteLeaf(Value); }
void CyJSONWriter::WriteNumber(int, TyJSONValue Value) { WriteLeaf(Value); }
void CyJSONWriter::WriteString(int, TyJSONValue Value) { WriteLeaf(Value); }

void CyJSONWriter::WriteIndentation(int Level) {
  const size_t length = static_cast<size_t>(Level) * Unit_.size();
  while (Indentation_.size() < length) Indentation_ += Unit_;
  Stream_.Write(std::u16string_view(Indentation_.data(), length));
}

}  // namespace xylem
