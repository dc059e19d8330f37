#include "lsp/Diagnostics.hpp"

#include <algorithm>

#include "common/Utf.hpp"

namespace xylem::lsp {

json DiagnosticsOf(const IyXMLErrs* Errs, const CyDocumentView& Document) {
  json Result = json::array();
  if (!Errs) return Result;
  for (int32_t i = 0; i < Errs->getCount(); ++i) {
    const IyXMLErr& Err = *Errs->getXMLErr(i);
    const IyXMLLocation& Location = *Err.getLocation();
    const TyTextPosition Start = Document.ClampPosition(
        {std::max(1, Location.getLine()), std::max(1, Location.getLinepos())});
    TyTextPosition End = Start;
    if (Location.getLine2() >= 1 && Location.getLinepos2() >= 1)
      End = Document.ClampPosition({Location.getLine2(), Location.getLinepos2()});
    if (End <= Start) {
      End = Start;
      if (Start.Linepos <= static_cast<int64_t>(Document.getLine(Start.Line).size())) ++End.Linepos;
    }
    int Severity = 3;
    switch (XMLErrLevelOf(Err.getSeverity())) {
      case TyXMLErrLevel::elError:
        Severity = 1;
        break;
      case TyXMLErrLevel::elWarning:
        Severity = 2;
        break;
      case TyXMLErrLevel::elNote:
        Severity = 3;
        break;
    }
    json Diagnostic = {{"range", ToLspRange({Start, End})},
                       {"severity", Severity},
                       {"source", "xylem"},
                       {"message", ToUTF8(Err.getReason())}};
    if (!Err.getReasonID().empty()) Diagnostic["code"] = ToUTF8(Err.getReasonID());
    Result.push_back(std::move(Diagnostic));
  }
  return Result;
}

}  // namespace xylem::lsp
