#include "diag/ErrList.hpp"

#include <algorithm>
#include <string>

#include "common/Exception.hpp"

namespace xylem {

void CheckXMLErrIndex(int32_t Index, size_t Count) {
  if (Index < 0 || static_cast<size_t>(Index) >= Count)
    throw CyShouldNeverHappenException("error list index " + std::to_string(Index) +
                                       " outside a list of " + std::to_string(Count));
}

std::u16string CyXMLErrsDescription::get() const {
  const std::lock_guard<std::mutex> guard(Lock_);
  return Text_;
}

void CyXMLErrsDescription::set(std::u16string Text) {
  const std::lock_guard<std::mutex> guard(Lock_);
  Text_ = std::move(Text);
}

CyXMLErrs::CyXMLErrs(std::u16string Description, std::vector<IyXMLErrPtr> Errors)
    : Description_(std::move(Description)), Errors_(std::move(Errors)) {
  // Readers rely on every entry being a record; a null one is the producer's bug.
  for (const IyXMLErrPtr& error : Errors_)
    if (!error) throw CyShouldNeverHappenException("null record in an error list");
}

const IyXMLErrPtr& CyXMLErrs::getXMLErr(int32_t Index) const {
  CheckXMLErrIndex(Index, Errors_.size());
  return Errors_[static_cast<size_t>(Index)];
}

IyXMLErrsPtr SortXMLErrsByLocation(const IyXMLErrs& Errs) {
  std::vector<IyXMLErrPtr> errors;
  errors.reserve(static_cast<size_t>(Errs.getCount()));
  for (int32_t i = 0; i < Errs.getCount(); ++i) errors.push_back(Errs.getXMLErr(i));
  std::stable_sort(errors.begin(), errors.end(), [](const IyXMLErrPtr& a, const IyXMLErrPtr& b) {
    return a->CompareToObject(*b) < 0;
  });
  return std::make_shared<CyXMLErrs>(Errs.getDescription(), std::move(errors));
}

CyFatalXMLErrs::CyFatalXMLErrs(std::u16string Description,
                               std::shared_ptr<const CyFatalXMLErr> Error)
    : Description_(std::move(Description)), Error_(std::move(Error)) {
  if (!Error_) throw CyShouldNeverHappenException("fatal error list without its error");
}

CyFatalXMLErrs::CyFatalXMLErrs(IyProcessorInfoPtr ProcessorInfo, IyXMLLocationPtr Location,
                               std::u16string Reason, TyXMLErrSeverity Severity)
    : Description_({}),
      Error_(std::make_shared<CyFatalXMLErr>(std::move(ProcessorInfo), std::move(Location),
                                             std::move(Reason), Severity)) {}

CyFatalXMLErrs::CyFatalXMLErrs(IyProcessorInfoPtr ProcessorInfo, IyXMLLocationPtr Location,
                               std::u16string Reason, std::u16string ReasonDoc,
                               std::u16string ReasonID, TyXMLErrSeverity Severity)
    : Description_({}),
      Error_(std::make_shared<CyFatalXMLErr>(std::move(ProcessorInfo), std::move(Location),
                                             std::move(Reason), std::move(ReasonDoc),
                                             std::move(ReasonID), Severity)) {}

CyFatalXMLErrs::CyFatalXMLErrs(IyProcessorInfoPtr ProcessorInfo, IyXMLLocationPtr Location,
                               std::u16string_view Format,
                               const std::vector<TyXMLErrFormatArg>& Args,
                               TyXMLErrSeverity Severity)
    : Description_({}),
      Error_(std::make_shared<CyFatalXMLErr>(std::move(ProcessorInfo), std::move(Location), Format,
                                             Args, Severity)) {}

CyFatalXMLErrs::CyFatalXMLErrs(IyProcessorInfoPtr ProcessorInfo, IyXMLLocationPtr Location,
                               std::u16string_view Format,
                               const std::vector<TyXMLErrFormatArg>& Args, std::u16string ReasonDoc,
                               std::u16string ReasonID, TyXMLErrSeverity Severity)
    : Description_({}),
      Error_(std::make_shared<CyFatalXMLErr>(std::move(ProcessorInfo), std::move(Location), Format,
                                             Args, std::move(ReasonDoc), std::move(ReasonID),
                                             Severity)) {}

void CyXMLErrCluster::Add(std::u16string Description, std::vector<IyXMLErrPtr> Errors) {
  Lists_.push_back(std::make_shared<CyXMLErrs>(std::move(Description), std::move(Errors)));
}

void CyXMLErrCluster::Add(IyXMLErrsPtr Errs) {
  if (Errs) Lists_.push_back(std::move(Errs));
}

const IyXMLErrsPtr& CyXMLErrCluster::getXMLErrs(int32_t Index) const {
  CheckXMLErrIndex(Index, Lists_.size());
  return Lists_[static_cast<size_t>(Index)];
}

}  // namespace xylem
