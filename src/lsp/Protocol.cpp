#include "lsp/Protocol.hpp"

#include <algorithm>

namespace xylem::lsp {

namespace {

int64_t RequireNumber(const json& Object, const char* Name) {
  if (!Object.is_object()) throw CyLspError(lecInvalidParams, "A position must be an object.");
  auto It = Object.find(Name);
  if (It == Object.end() || !It->is_number_integer())
    throw CyLspError(lecInvalidParams,
                     std::string("A position needs the integer \"") + Name + "\".");
  return It->get<int64_t>();
}

}  // namespace

TyTextPosition FromLspPosition(const json& Position, const TxMarkupDocument& Document) {
  const int64_t Line = RequireNumber(Position, "line");
  const int64_t Character = RequireNumber(Position, "character");
  if (Line < 0 || Character < 0)
    throw CyLspError(lecInvalidParams, "A position's line and character must not be negative.");
  if (Line >= Document.getLineCount()) return Document.getEndPosition();
  return Document.ClampPosition({Line + 1, std::min<int64_t>(Character, INT64_MAX - 1) + 1});
}

TyTextRange FromLspRange(const json& Range, const TxMarkupDocument& Document) {
  if (!Range.is_object()) throw CyLspError(lecInvalidParams, "A range must be an object.");
  TyTextPosition Start = FromLspPosition(Range.value("start", json()), Document);
  TyTextPosition End = FromLspPosition(Range.value("end", json()), Document);
  if (End < Start) std::swap(Start, End);
  return {Start, End};
}

json ToLspPosition(TyTextPosition Position) {
  return {{"line", Position.Line - 1}, {"character", Position.Linepos - 1}};
}

json ToLspRange(const TyTextRange& Range) {
  return {{"start", ToLspPosition(Range.Start)}, {"end", ToLspPosition(Range.End)}};
}

std::string DumpMessage(const json& Message) {
  return Message.dump(-1, ' ', false, json::error_handler_t::replace);
}

}  // namespace xylem::lsp
