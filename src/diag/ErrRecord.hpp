#pragma once
// The one error record through which every checker and processor reports. Records are
// immutable after creation and shared by std::shared_ptr<const IyXMLErr>, so a record made on
// a worker thread can be handed to any other thread as it is.

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "diag/ErrLocation.hpp"

namespace xylem {

// Kind of a finding. The order is fixed by stored values and is not by weight: never rank
// severities by their ordinal.
enum class TyXMLErrSeverity : uint8_t {
  errError = 0,
  errFatal = 1,
  errInfo = 2,
  errOk = 3,
  errTermination = 4,  // a processor run was terminated
  errWarning = 5,
};

// How front ends weigh a severity: errors, fatal errors and terminations fail a check,
// warnings warn, info and ok are notes.
enum class TyXMLErrLevel : uint8_t { elNote, elWarning, elError };

// The level of a severity; the one place where severities are ranked.
TyXMLErrLevel XMLErrLevelOf(TyXMLErrSeverity Severity);

// Lower-case name of a severity ("error", "fatal", "info", "ok", "termination", "warning").
const char* XMLErrSeverityName(TyXMLErrSeverity Severity);

// Maps the four-valued severity of an external processor's error interface: 0 error, 1 info,
// 2 ok, 3 warning. Any other value raises CyShouldNeverHappenException ("Assertion failure").
TyXMLErrSeverity XMLErrSeverityFromExternal(int32_t External);

// Which processor or checker produced an error.
class IyProcessorInfo {
 public:
  virtual ~IyProcessorInfo() = default;
  virtual const std::u16string& getName() const = 0;
  virtual const std::u16string& getVersion() const = 0;
  // Base of the processor's documentation links; a record's ReasonDoc is relative to it.
  virtual const std::u16string& getDocumentationBase() const = 0;
};
using IyProcessorInfoPtr = std::shared_ptr<const IyProcessorInfo>;

// Processor info as plain values; getters as in IyProcessorInfo.
class CyProcessorInfo final : public IyProcessorInfo {
 public:
  CyProcessorInfo(std::u16string Name, std::u16string Version,
                  std::u16string DocumentationBase = {})
      : Name_(std::move(Name)), Version_(std::move(Version)), Doc_(std::move(DocumentationBase)) {}
  const std::u16string& getName() const override { return Name_; }
  const std::u16string& getVersion() const override { return Version_; }
  const std::u16string& getDocumentationBase() const override { return Doc_; }

 private:
  std::u16string Name_, Version_, Doc_;
};

using TyReasonParameters = std::vector<std::u16string>;

// An error record.
class IyXMLErr {
 public:
  virtual ~IyXMLErr() = default;
  // Producer of the error; may be null when the producer did not say.
  virtual const IyProcessorInfoPtr& getProcessorInfo() const = 0;
  // Where the error is; never null (a record made without one gets an all-unknown location).
  virtual const IyXMLLocationPtr& getLocation() const = 0;
  // The message text.
  virtual const std::u16string& getReason() const = 0;
  // Documentation reference for the reason (link or key of the clause); may be empty.
  virtual const std::u16string& getReasonDoc() const = 0;
  // Standard error code ("cvc-id.1", "XTDE0040", "FORG0001") or empty.
  virtual const std::u16string& getReasonID() const = 0;
  // Values substituted into the message, for tools that rebuild or improve it.
  virtual const TyReasonParameters& getReasonParameters() const = 0;
  virtual TyXMLErrSeverity getSeverity() const = 0;

  // Orders two errors by their locations (see IyXMLLocation::CompareToObject).
  int CompareToObject(const IyXMLErr& Other) const {
    return getLocation()->CompareToObject(*Other.getLocation());
  }
};
using IyXMLErrPtr = std::shared_ptr<const IyXMLErr>;

// An external processor's own error interface, as read by the copying constructor of CyXMLErr.
class IyExternalXMLErr {
 public:
  virtual ~IyExternalXMLErr() = default;
  // Location parts, with the meaning and -1 convention of IyXMLLocation.
  virtual std::u16string getURL() const = 0;
  virtual int32_t getLine() const = 0;
  virtual int32_t getLinepos() const = 0;
  virtual int32_t getLine2() const = 0;
  virtual int32_t getLinepos2() const = 0;
  virtual int32_t getOffset() const = 0;
  virtual std::u16string getXPath() const = 0;
  // Reason parts, with the meaning of IyXMLErr's.
  virtual std::u16string getReason() const = 0;
  virtual std::u16string getReasonDoc() const = 0;
  virtual std::u16string getReasonID() const = 0;
  virtual TyReasonParameters getReasonParameters() const = 0;
  // 0 error, 1 info, 2 ok, 3 warning.
  virtual int32_t getSeverity() const = 0;
};

// The error record; getters as in IyXMLErr. Immutable after construction.
class CyXMLErr : public IyXMLErr {
 public:
  // A null Location stands for an unknown one.
  CyXMLErr(IyProcessorInfoPtr ProcessorInfo, IyXMLLocationPtr Location, std::u16string Reason,
           std::u16string ReasonDoc, std::u16string ReasonID, TyReasonParameters ReasonParameters,
           TyXMLErrSeverity Severity);
  // No location, documentation reference or ID.
  CyXMLErr(IyProcessorInfoPtr ProcessorInfo, std::u16string Reason,
           TyReasonParameters ReasonParameters, TyXMLErrSeverity Severity);
  // Location built from URL, Line and Linepos; its other numbers are -1.
  CyXMLErr(IyProcessorInfoPtr ProcessorInfo, std::u16string URL, int32_t Line, int32_t Linepos,
           std::u16string Reason, std::u16string ReasonDoc, std::u16string ReasonID,
           TyReasonParameters ReasonParameters, TyXMLErrSeverity Severity);
  // Copies an external processor's error; raises CyShouldNeverHappenException when its
  // severity is outside 0..3.
  CyXMLErr(IyProcessorInfoPtr ProcessorInfo, const IyExternalXMLErr& External);

  const IyProcessorInfoPtr& getProcessorInfo() const override { return ProcessorInfo_; }
  const IyXMLLocationPtr& getLocation() const override { return Location_; }
  const std::u16string& getReason() const override { return Reason_; }
  const std::u16string& getReasonDoc() const override { return ReasonDoc_; }
  const std::u16string& getReasonID() const override { return ReasonID_; }
  const TyReasonParameters& getReasonParameters() const override { return ReasonParameters_; }
  TyXMLErrSeverity getSeverity() const override { return Severity_; }

 private:
  IyProcessorInfoPtr ProcessorInfo_;
  IyXMLLocationPtr Location_;
  std::u16string Reason_;
  std::u16string ReasonDoc_;
  std::u16string ReasonID_;
  TyReasonParameters ReasonParameters_;
  TyXMLErrSeverity Severity_;
};

// One argument of a formatted reason, kept as text (it also becomes a reason parameter).
struct TyXMLErrFormatArg {
  TyXMLErrFormatArg(std::u16string_view Text) : Text(Text) {}
  TyXMLErrFormatArg(const char16_t* Text) : Text(Text) {}
  TyXMLErrFormatArg(int64_t Number);
  TyXMLErrFormatArg(int32_t Number) : TyXMLErrFormatArg(static_cast<int64_t>(Number)) {}
  std::u16string Text;
};

// Replaces each "%s" or "%d" in Format by the next argument's text and "%%" by "%". A
// placeholder without an argument and any other "%" sequence are kept as written.
std::u16string FormatXMLErrReason(std::u16string_view Format,
                                  const std::vector<TyXMLErrFormatArg>& Args);

// The one error of a run that could not continue (a document that could not be read or
// parsed). The formatting constructors format at creation and keep the arguments as the
// reason parameters.
class CyFatalXMLErr final : public CyXMLErr {
 public:
  CyFatalXMLErr(IyProcessorInfoPtr ProcessorInfo, IyXMLLocationPtr Location, std::u16string Reason,
                TyXMLErrSeverity Severity);
  CyFatalXMLErr(IyProcessorInfoPtr ProcessorInfo, IyXMLLocationPtr Location, std::u16string Reason,
                std::u16string ReasonDoc, std::u16string ReasonID, TyXMLErrSeverity Severity);
  CyFatalXMLErr(IyProcessorInfoPtr ProcessorInfo, IyXMLLocationPtr Location,
                std::u16string_view Format, const std::vector<TyXMLErrFormatArg>& Args,
                TyXMLErrSeverity Severity);
  CyFatalXMLErr(IyProcessorInfoPtr ProcessorInfo, IyXMLLocationPtr Location,
                std::u16string_view Format, const std::vector<TyXMLErrFormatArg>& Args,
                std::u16string ReasonDoc, std::u16string ReasonID, TyXMLErrSeverity Severity);
};

}  // namespace xylem
