#include "json/Formatter.hpp"

#include <algorithm>

#include "json/Parser.hpp"
#include "json/Scanner.hpp"
#include "json/TreeBuilder.hpp"

namespace xylem {

namespace {

CyJSONTree parseTree(const CyJSONMemory& Input) {
  CyJSONScanner scanner(Input);
  CyJSONTreeBuilder builder(Input);
  CyJSONParser parser(scanner, builder);
  parser.Parse();
  return builder.TakeTree();
}

}  // namespace

std::u16string CyJSONFormatter::Format(std::u16string_view Text,
                                       const TyJSONWriterOptions& Options) {
  return Format(CyJSONMemory::FromString(Text), Options);
}

std::u16string CyJSONFormatter::Format(const CyJSONMemory& Input,
                                       const TyJSONWriterOptions& Options) {
  const CyJSONTree tree = parseTree(Input);
  std::u16string result;
  // Each node adds at most a line end, an indentation and ", " to its source text. Guessing
  // an average depth of six keeps regrowth rare; reserved pages that stay unused cost nothing.
  const size_t perNode =
      Options.Newline.size() + 2 +
      Options.IndentationUnit.size() * static_cast<size_t>(std::min(tree.MaxDepth(), 6));
  result.reserve(Input.DataCount() + tree.Count() * perNode);
  CyJSONWriter::Create(result, Options).Write(tree.Root());
  return result;
}

void CyJSONFormatter::Format(const CyJSONMemory& Input, IyTextSink& Destination,
                             const TyJSONWriterOptions& Options) {
  const CyJSONTree tree = parseTree(Input);
  CyJSONWriter::Create(Destination, Options).Write(tree.Root());
}

void CyJSONFormatter::Format(const CyJSONMemory& Input, std::ostream& Destination,
                             const TyJSONWriterOptions& Options) {
  const CyJSONTree tree = parseTree(Input);
  CyJSONWriter::Create(Destination, Options).Write(tree.Root());
}

}  // namespace xylem
