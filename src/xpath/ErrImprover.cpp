#include "xpath/ErrImprover.hpp"

namespace xylem {

IyXMLErrPtr CyXPath31ErrImprover::Improve(const IyXMLErrPtr& Incoming, std::u16string_view XPath31,
                                          TyXPath31ParserRule Rule,
                                          const IyXPath31Placement& Placement) {
  const TyXPath31CheckError* Error = Cache_->Find(XPath31, Rule).Run();
  if (!Error) return Incoming;
  return MakeXPath31PlacedErr(*Error, Placement, Incoming.get());
}

}  // namespace xylem
