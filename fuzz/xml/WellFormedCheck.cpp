// Arbitrary text through the well-formedness check and the folding: no crash, the same errors
// with 1 and 3 pieces, errors sorted and capped, fold ranges ordered and inside the document.
#include <cstdint>
#include <cstdlib>
#include <cstdio>
#include <string>

#include "common/Utf.hpp"
#include "text/TextList.hpp"
#include "xml/Folding.hpp"
#include "xml/WellFormed.hpp"

namespace {

void Check(bool ok, int line = __builtin_LINE()) {
  if (!ok) {
    std::fprintf(stderr, "check failed at line %d\n", line);
    std::abort();
  }
}

bool SameErrors(const xylem::IyXMLErrs& A, const xylem::IyXMLErrs& B) {
  if (A.getCount() != B.getCount()) return false;
  for (int32_t i = 0; i < A.getCount(); ++i) {
    const auto& a = *A.getXMLErr(i);
    const auto& b = *B.getXMLErr(i);
    if (a.getReason() != b.getReason() || a.getLocation()->getLine() != b.getLocation()->getLine() ||
        a.getLocation()->getLinepos() != b.getLocation()->getLinepos())
      return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace xylem;
  std::u16string text(size + 1, u'\0');
  text.resize(DecodeUTF8(data, data + size, text.data()).Written);
  TxTextList list;
  list.LoadFromText__PARALLEL__(text, 1);
  CyXMLWellFormed::StoreLineStates_NOT_PARALLEL(list);

  const IyXMLErrsPtr one = CyXMLWellFormed::Check_PARALLEL(list, 1);
  const IyXMLErrsPtr three = CyXMLWellFormed::Check_PARALLEL(list, 3);
  Check(SameErrors(*one, *three));
  Check(one->getCount() <= CyXMLWellFormed::kMaxErrors);
  for (int32_t i = 1; i < one->getCount(); ++i)
    Check(one->getXMLErr(i - 1)->CompareToObject(*one->getXMLErr(i)) <= 0);

  const auto ranges = CyXMLFolding::FoldRanges(list);
  for (size_t i = 0; i < ranges.size(); ++i) {
    Check(ranges[i].FirstLine >= 1 && ranges[i].FirstLine < ranges[i].LastLine &&
          ranges[i].LastLine <= list.getCount());
    if (i > 0) Check(ranges[i - 1].FirstLine <= ranges[i].FirstLine);
  }
  return 0;
}
