#include "editor/Format.hpp"

#include "editor/Document.hpp"

namespace xylem {

TyFormatResult CyEditorFormat::FormatDocument(TxMarkupDocument&, const TyFormatChoices&) {
  return {};
}

}  // namespace xylem
