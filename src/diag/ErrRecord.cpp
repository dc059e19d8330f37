#include "diag/ErrRecord.hpp"

#include <string>

#include "common/Exception.hpp"
#include "common/Utf.hpp"

namespace xylem {

const char* XMLErrSeverityName(TyXMLErrSeverity Severity) {
  switch (Severity) {
    case TyXMLErrSeverity::errError:
      return "error";
    case TyXMLErrSeverity::errFatal:
      return "fatal";
    case TyXMLErrSeverity::errInfo:
      return "info";
    case TyXMLErrSeverity::errOk:
      return "ok";
    case TyXMLErrSeverity::errTermination:
      return "termination";
    case TyXMLErrSeverity::errWarning:
      return "warning";
  }
  throw CyShouldNeverHappenException("severity " + std::to_string(static_cast<int>(Severity)));
}

TyXMLErrLevel XMLErrLevelOf(TyXMLErrSeverity Severity) {
  switch (Severity) {
    case TyXMLErrSeverity::errError:
    case TyXMLErrSeverity::errFatal:
    case TyXMLErrSeverity::errTermination:
      return TyXMLErrLevel::elError;
    case TyXMLErrSeverity::errWarning:
      return TyXMLErrLevel::elWarning;
    case TyXMLErrSeverity::errInfo:
    case TyXMLErrSeverity::errOk:
      break;
  }
  return TyXMLErrLevel::elNote;
}

TyXMLErrSeverity XMLErrSeverityFromExternal(int32_t External) {
  switch (External) {
    case 0:
      return TyXMLErrSeverity::errError;
    case 1:
      return TyXMLErrSeverity::errInfo;
    case 2:
      return TyXMLErrSeverity::errOk;
    case 3:
      return TyXMLErrSeverity::errWarning;
  }
  // A processor interface with a fifth severity means our mapping is out of date: fail loudly
  // rather than show the error under a guessed severity.
  throw CyShouldNeverHappenException("Assertion failure (" __FILE_NAME__ ", line " +
                                     std::to_string(__LINE__) + "): external severity " +
                                     std::to_string(External));
}

CyXMLErr::CyXMLErr(IyProcessorInfoPtr ProcessorInfo, IyXMLLocationPtr Location,
                   std::u16string Reason, std::u16string ReasonDoc, std::u16string ReasonID,
                   TyReasonParameters ReasonParameters, TyXMLErrSeverity Severity)
    : ProcessorInfo_(std::move(ProcessorInfo)),
      Location_(Location ? std::move(Location) : std::make_shared<const CyXMLLocation>()),
      Reason_(std::move(Reason)),
      ReasonDoc_(std::move(ReasonDoc)),
      ReasonID_(std::move(ReasonID)),
      ReasonParameters_(std::move(ReasonParameters)),
      Severity_(Severity) {}

CyXMLErr::CyXMLErr(IyProcessorInfoPtr ProcessorInfo, std::u16string Reason,
                   TyReasonParameters ReasonParameters, TyXMLErrSeverity Severity)
    : CyXMLErr(std::move(ProcessorInfo), nullptr, std::move(Reason), {}, {},
               std::move(ReasonParameters), Severity) {}

CyXMLErr::CyXMLErr(IyProcessorInfoPtr ProcessorInfo, std::u16string URL, int32_t Line,
                   int32_t Linepos, std::u16string Reason, std::u16string ReasonDoc,
                   std::u16string ReasonID, TyReasonParameters ReasonParameters,
                   TyXMLErrSeverity Severity)
    : CyXMLErr(std::move(ProcessorInfo),
               std::make_shared<const CyXMLLocation>(std::move(URL), Line, Linepos),
               std::move(Reason), std::move(ReasonDoc), std::move(ReasonID),
               std::move(ReasonParameters), Severity) {}

CyXMLErr::CyXMLErr(IyProcessorInfoPtr ProcessorInfo, const IyExternalXMLErr& External)
    : CyXMLErr(
          std::move(ProcessorInfo),
          std::make_shared<const CyXMLLocation>(
              External.getURL(), External.getLine(), External.getLinepos(), External.getLine2(),
              External.getLinepos2(), External.getOffset(), nullptr, External.getXPath()),
          External.getReason(), External.getReasonDoc(), External.getReasonID(),
          External.getReasonParameters(), XMLErrSeverityFromExternal(External.getSeverity())) {}

TyXMLErrFormatArg::TyXMLErrFormatArg(int64_t Number) : Text(ToUTF16(std::to_string(Number))) {}

std::u16string FormatXMLErrReason(std::u16string_view Format,
                                  const std::vector<TyXMLErrFormatArg>& Args) {
  std::u16string text;
  text.reserve(Format.size());
  size_t next = 0;
  for (size_t i = 0; i < Format.size(); ++i) {
    const char16_t c = Format[i];
    const char16_t after = i + 1 < Format.size() ? Format[i + 1] : u'\0';
    if (c == u'%' && after == u'%') {
      text += u'%';
      ++i;
    } else if (c == u'%' && (after == u's' || after == u'd') && next < Args.size()) {
      text += Args[next++].Text;
      ++i;
    } else {
      text += c;
    }
  }
  return text;
}

namespace {

TyReasonParameters ArgTexts(const std::vector<TyXMLErrFormatArg>& Args) {
  TyReasonParameters texts;
  texts.reserve(Args.size());
  for (const TyXMLErrFormatArg& arg : Args) texts.push_back(arg.Text);
  return texts;
}

}  // namespace

CyFatalXMLErr::CyFatalXMLErr(IyProcessorInfoPtr ProcessorInfo, IyXMLLocationPtr Location,
                             std::u16string Reason, TyXMLErrSeverity Severity)
    : CyXMLErr(std::move(ProcessorInfo), std::move(Location), std::move(Reason), {}, {}, {},
               Severity) {}

CyFatalXMLErr::CyFatalXMLErr(IyProcessorInfoPtr ProcessorInfo, IyXMLLocationPtr Location,
                             std::u16string Reason, std::u16string ReasonDoc,
                             std::u16string ReasonID, TyXMLErrSeverity Severity)
    : CyXMLErr(std::move(ProcessorInfo), std::move(Location), std::move(Reason),
               std::move(ReasonDoc), std::move(ReasonID), {}, Severity) {}

CyFatalXMLErr::CyFatalXMLErr(IyProcessorInfoPtr ProcessorInfo, IyXMLLocationPtr Location,
                             std::u16string_view Format, const std::vector<TyXMLErrFormatArg>& Args,
                             TyXMLErrSeverity Severity)
    : CyFatalXMLErr(std::move(ProcessorInfo), std::move(Location), Format, Args, {}, {}, Severity) {
}

// Both the reason and the parameters read Args: neither may move from it, since the base's
// arguments are evaluated in an unspecified order.
CyFatalXMLErr::CyFatalXMLErr(IyProcessorInfoPtr ProcessorInfo, IyXMLLocationPtr Location,
                             std::u16string_view Format, const std::vector<TyXMLErrFormatArg>& Args,
                             std::u16string ReasonDoc, std::u16string ReasonID,
                             TyXMLErrSeverity Severity)
    : CyXMLErr(std::move(ProcessorInfo), std::move(Location), FormatXMLErrReason(Format, Args),
               std::move(ReasonDoc), std::move(ReasonID), ArgTexts(Args), Severity) {}

}  // namespace xylem
