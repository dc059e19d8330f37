#include "services/XPathCheckerCachePool.hpp"

namespace xylem {

CyXPathCheckerCachePool::CyLease CyXPathCheckerCachePool::Acquire() {
  std::unique_ptr<CyXPath31CheckerWithCache> cache;
  {
    std::lock_guard lock(Mutex_);
    if (!Idle_.empty()) {
      cache = std::move(Idle_.back());
      Idle_.pop_back();
    }
  }
  if (!cache) cache = std::make_unique<CyXPath31CheckerWithCache>();
  return CyLease(*this, std::move(cache));
}

void CyXPathCheckerCachePool::Return(std::unique_ptr<CyXPath31CheckerWithCache> Cache) {
  if (Cache->getTotalCount() > MaxItems_) Cache = std::make_unique<CyXPath31CheckerWithCache>();
  std::lock_guard lock(Mutex_);
  Idle_.push_back(std::move(Cache));
}

CyXPathCheckerCachePool& CyXPathCheckerCachePool::Shared() {
  static CyXPathCheckerCachePool pool;
  return pool;
}

}  // namespace xylem
