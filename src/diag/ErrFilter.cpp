#include "diag/ErrFilter.hpp"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "common/Exception.hpp"

namespace xylem {

namespace {

bool IDIsOneOf(const IyXMLErr& Err, std::initializer_list<std::u16string_view> IDs) {
  return std::find(IDs.begin(), IDs.end(), Err.getReasonID()) != IDs.end();
}

bool IsWarning(const IyXMLErr& Err) { return Err.getSeverity() == TyXMLErrSeverity::errWarning; }

IyXMLErrsPtr NotNull(IyXMLErrsPtr Errs) {
  if (!Errs) throw CyShouldNeverHappenException("error filter over a null list");
  return Errs;
}

}  // namespace

CyXMLErrsFilter::CyXMLErrsFilter(IyXMLErrsPtr Errs, TyDrops Drops)
    : Wrapped_(NotNull(std::move(Errs))) {
  const int32_t count = Wrapped_->getCount();
  for (int32_t i = 0; i < count; ++i) {
    const IyXMLErrPtr& error = Wrapped_->getXMLErr(i);
    if (!Drops(*error)) Kept_.push_back(error);
  }
}

const IyXMLErrPtr& CyXMLErrsFilter::getXMLErr(int32_t Index) const {
  CheckXMLErrIndex(Index, Kept_.size());
  return Kept_[static_cast<size_t>(Index)];
}

bool CyXMLErrsIgnoreIDREF::Drops(const IyXMLErr& Err) {
  return IDIsOneOf(Err, {u"cvc-id.1", u"cvc-id.2", u"cvc-id.3"});
}

bool CyXMLErrsIgnoreInitialTemplateDoesNotExistAndWarning::Drops(const IyXMLErr& Err) {
  return IsWarning(Err) || IDIsOneOf(Err, {u"XTDE0040"});
}

bool CyXMLErrsIgnoreTermination::Drops(const IyXMLErr& Err) {
  return Err.getSeverity() == TyXMLErrSeverity::errTermination ||
         IDIsOneOf(Err, {u"FODC0002", u"FODC0005", u"FOUT1170"});
}

bool CyXMLErrsIgnoreWarnings::Drops(const IyXMLErr& Err) { return IsWarning(Err); }

bool CyXMLErrsIgnoreWarningsFORG0001XTDE0980XPTY0004::Drops(const IyXMLErr& Err) {
  return IsWarning(Err) || IDIsOneOf(Err, {u"FORG0001", u"XTDE0980", u"XPTY0004"});
}

CyXMLErrsMaxCount::CyXMLErrsMaxCount(IyXMLErrsPtr Errs) : Wrapped_(NotNull(std::move(Errs))) {}

int32_t CyXMLErrsMaxCount::getCount() const { return std::min(Wrapped_->getCount(), kMaxCount); }

const IyXMLErrPtr& CyXMLErrsMaxCount::getXMLErr(int32_t Index) const {
  // Errors beyond the cap are hidden, not merely uncounted.
  CheckXMLErrIndex(Index, static_cast<size_t>(getCount()));
  return Wrapped_->getXMLErr(Index);
}

}  // namespace xylem
