#pragma once
// XPath checker caches shared by every check of a process: the tool's files, the editor's and
// the language server's background checks. A cache itself is not thread-safe, so a check leases
// one for its whole run and gives it back; no lock is held while checking.

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "xpath/CheckerWithCache.hpp"

namespace xylem {

class CyXPathCheckerCachePool {
 public:
  // A cache lent to one check; returned to the pool when the lease ends.
  class CyLease {
   public:
    CyLease(CyXPathCheckerCachePool& Pool, std::unique_ptr<CyXPath31CheckerWithCache> Cache)
        : Pool_(&Pool), Cache_(std::move(Cache)) {}
    CyLease(CyLease&&) noexcept = default;
    CyLease& operator=(CyLease&&) noexcept = default;
    ~CyLease() {
      if (Cache_) Pool_->Return(std::move(Cache_));
    }
    CyXPath31CheckerWithCache& operator*() const { return *Cache_; }

   private:
    CyXPathCheckerCachePool* Pool_;
    std::unique_ptr<CyXPath31CheckerWithCache> Cache_;
  };

  // MaxItems bounds each cache: a returned cache holding more expressions is emptied, so a
  // long-running server does not grow with every expression it has ever seen.
  explicit CyXPathCheckerCachePool(size_t MaxItems = 65536) : MaxItems_(MaxItems) {}

  // A cache for the caller alone (an idle one when there is one, else a new one). Thread-safe.
  CyLease Acquire();

  // The pool of the process, for front ends that check one document after another.
  static CyXPathCheckerCachePool& Shared();

 private:
  void Return(std::unique_ptr<CyXPath31CheckerWithCache> Cache);

  size_t MaxItems_;
  std::mutex Mutex_;
  std::vector<std::unique_ptr<CyXPath31CheckerWithCache>> Idle_;
};

}  // namespace xylem
