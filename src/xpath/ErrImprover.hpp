#pragma once
// Sharpens the errors of an external XPath or XSLT processor: the expression the processor
// complained about is checked by the own parser, and a syntax error found there replaces the
// report with one that points at the failing token.

#include <string_view>

#include "xpath/CheckerWithCache.hpp"

namespace xylem {

// Not thread-safe (shares the cache's contract).
class CyXPath31ErrImprover {
 public:
  // Cache: the cache to use (not owned; must outlive the improver); null: an own cache.
  explicit CyXPath31ErrImprover(CyXPath31CheckerWithCache* Cache = nullptr)
      : Cache_(Cache ? Cache : &Own_) {}

  // Incoming unchanged when XPath31 is a valid instance of Rule (semantic errors keep the
  // processor's wording); otherwise a new record on the failing token placed by Placement, with
  // the parser's message and Incoming's processor info, documentation reference, ID and
  // severity. The parse is cached per (Rule, text).
  IyXMLErrPtr Improve(const IyXMLErrPtr& Incoming, std::u16string_view XPath31,
                      TyXPath31ParserRule Rule, const IyXPath31Placement& Placement);

 private:
  CyXPath31CheckerWithCache Own_;
  CyXPath31CheckerWithCache* Cache_;
};

}  // namespace xylem
