// Replacement templates: any text either parses or fails with ReplaceWithException pointing
// inside the template; a parsed template translates to exactly the concatenation of its parts,
// and a template without "$" or "\" is its own translation.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "common/Utf.hpp"
#include "search/RegExprSearcher.hpp"
#include "search/ReplaceWithParts.hpp"

using namespace xylem;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
  static CyRegExprSearcher searcher(u"(a)(b)?(?<name>c)(d)(e)(f)(g)(h)(i)(j)(?<_x9>k)(l)", true,
                                    u"\n");
  static const std::u16string subject = u"abcdefghijkl";
  const std::u16string templ = ToUTF16(std::string_view(reinterpret_cast<const char*>(Data), Size));
  try {
    const CyRegExprReplaceWithParts parts(templ, searcher,
                                          Size > 0 && Data[0] % 2 ? u"\r\n" : u"\n");
    int64_t start = 0, end = 0;
    if (!searcher.FindNext(subject.data(), static_cast<int64_t>(subject.size()), 0, false, false,
                           start, end))
      std::abort();
    const TyRegExprMatch match = searcher.getMatch();
    std::u16string expected;
    for (const auto& part : parts.getParts()) {
      if (auto* literal = dynamic_cast<const CyLiteral*>(part.get())) {
        expected += literal->getText();
      } else if (auto* reference = dynamic_cast<const CyBackreference*>(part.get())) {
        if (reference->getNumber() < 0 || reference->getNumber() > searcher.getGroupCount())
          std::abort();
        expected += match.getGroup(reference->getNumber());
      } else if (auto* named = dynamic_cast<const CyNamedBackreference*>(part.get())) {
        if (named->getNumbers().empty()) std::abort();
        expected += match.getGroup(named->getNumbers().front());
      } else {
        std::abort();
      }
    }
    if (parts.Translate(match) != expected) std::abort();
    if (templ.find_first_of(u"$\\") == std::u16string::npos && expected != templ) std::abort();
  } catch (const ReplaceWithException& error) {
    if (error.getPosition() < 0 || error.getPosition() >= static_cast<int64_t>(templ.size()))
      std::abort();
    if (templ[static_cast<size_t>(error.getPosition())] != u'$' &&
        templ[static_cast<size_t>(error.getPosition())] != u'\\')
      std::abort();
  }
  return 0;
}
