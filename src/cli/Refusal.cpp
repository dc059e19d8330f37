#include "cli/Refusal.hpp"

#include <memory>
#include <vector>

#include "cli/InputFile.hpp"
#include "common/Utf.hpp"
#include "diag/ErrRecord.hpp"

namespace xylem::cli {

IyXMLErrsPtr OneError(int64_t Line, int64_t Linepos, std::u16string Message) {
  return std::make_shared<CyXMLErrs>(
      u"", std::vector<IyXMLErrPtr>{std::make_shared<CyXMLErr>(
               nullptr, u"", static_cast<int32_t>(Line), static_cast<int32_t>(Linepos),
               std::move(Message), u"", u"", TyReasonParameters{}, TyXMLErrSeverity::errError)});
}

IyXMLErrsPtr RefusalErrors(const CyDecodeException& Refusal) {
  const TyTextPosition at = Refusal.getPosition();
  return OneError(at.Line, at.Linepos, ToUTF16(OneLine(Refusal.getReason())));
}

}  // namespace xylem::cli
