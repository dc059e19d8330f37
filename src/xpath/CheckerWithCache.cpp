#include "xpath/CheckerWithCache.hpp"

#include <algorithm>

namespace xylem {

const TyXPath31CheckError* CyXPath31CheckerWithCacheItem::Run() {
  if (!Checker_) {
    Checker_ = std::make_unique<CyXPath31Checker>(XPath31_, Rule_);
    HasError_ = !Checker_->Check();
  }
  return HasError_ ? &Checker_->getError() : nullptr;
}

bool CyXPath31CheckerWithCacheItem::Check(const IyXPath31Placement& Placement, IyXMLErrPtr& Err,
                                          const TyXPath31Steps** Steps) {
  const TyXPath31CheckError* Error = Run();
  if (Steps) *Steps = &Checker_->XPath31Steps();
  // Every caller owns the records it lists, so each call gets a fresh one.
  if (Error) {
    Err = MakeXPath31PlacedErr(*Error, Placement);
    return false;
  }
  Err.reset();
  return true;
}

CyXPath31CheckerWithCacheItem& CyXPath31CheckerWithCache::Find(std::u16string_view XPath31,
                                                               TyXPath31ParserRule Rule) {
  auto& List = Lists_[Rule];
  auto It = std::lower_bound(List.begin(), List.end(), XPath31,
                             [](const std::unique_ptr<CyXPath31CheckerWithCacheItem>& Item,
                                std::u16string_view Text) { return Item->getXPath31() < Text; });
  if (It == List.end() || (*It)->getXPath31() != XPath31)
    It = List.insert(It, std::make_unique<CyXPath31CheckerWithCacheItem>(XPath31, Rule));
  return **It;
}

bool CyXPath31CheckerWithCache::Check(std::u16string_view XPath31, TyXPath31ParserRule Rule,
                                      const std::u16string& URL, int32_t Line, int32_t Linepos,
                                      IyXMLErrPtr& Err) {
  CyXPath31TextPlacement Placement(URL, Line, Linepos, XPath31);
  return Check(XPath31, Rule, Placement, Err);
}

}  // namespace xylem
