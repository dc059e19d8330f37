// Arbitrary text through the well-formedness check and the folding: no crash, the same errors
// with 1 and 3 pieces, with and without the fast line path, and when the states are stored
// while checking (then also the same states); errors sorted and capped, fold ranges ordered
// and inside the document; and the verdict libxml2's, on the inputs where libxml2 2.9 is
// known to follow XML 1.0 (see Comparable).
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "common/Utf.hpp"
#include "support/WellFormedTestSupport.hpp"
#include "text/TextList.hpp"
#include "xml/check/WellFormed.hpp"
#include "xml/check/WellFormedPiece.hpp"
#include "xml/lines/Folding.hpp"

namespace {

const uint8_t* gData = nullptr;
size_t gSize = 0;

void Check(bool ok, int line = __builtin_LINE()) {
  if (!ok) {
    std::fprintf(stderr, "check failed at line %d on input:\n%.*s\n", line, static_cast<int>(gSize),
                 reinterpret_cast<const char*>(gData));
    std::abort();
  }
}

bool SameErrors(const xylem::IyXMLErrs& A, const xylem::IyXMLErrs& B) {
  if (A.getCount() != B.getCount()) return false;
  for (int32_t i = 0; i < A.getCount(); ++i) {
    const auto& a = *A.getXMLErr(i);
    const auto& b = *B.getXMLErr(i);
    if (a.getReason() != b.getReason() ||
        a.getLocation()->getLine() != b.getLocation()->getLine() ||
        a.getLocation()->getLinepos() != b.getLocation()->getLinepos())
      return false;
  }
  return true;
}

bool SamePieces(const xylem::wellformed::TyPieceResult& A,
                const xylem::wellformed::TyPieceResult& B) {
  if (A.Findings.size() != B.Findings.size() || A.Events.size() != B.Events.size() ||
      A.Open.size() != B.Open.size() || A.References.size() != B.References.size())
    return false;
  for (size_t i = 0; i < A.Findings.size(); ++i)
    if (A.Findings[i].Line != B.Findings[i].Line || A.Findings[i].Pos != B.Findings[i].Pos ||
        A.Findings[i].Reason != B.Findings[i].Reason)
      return false;
  for (size_t i = 0; i < A.Events.size(); ++i)
    if (A.Events[i].Kind != B.Events[i].Kind || A.Events[i].Name != B.Events[i].Name ||
        A.Events[i].Line != B.Events[i].Line || A.Events[i].Pos != B.Events[i].Pos)
      return false;
  for (size_t i = 0; i < A.Open.size(); ++i)
    if (A.Open[i].Name != B.Open[i].Name || A.Open[i].Pos != B.Open[i].Pos) return false;
  for (size_t i = 0; i < A.References.size(); ++i)
    if (A.References[i].Name != B.References[i].Name || A.References[i].Pos != B.References[i].Pos)
      return false;
  return true;
}

// Inputs whose verdict libxml2 2.9 gives as XML 1.0 does: valid UTF-8 without NUL or a
// byte-order mark (the test helper loads neither as a file would), no external identifier (libxml2
// would try to read it), no declaration of a predefined entity and no '<!DOCTYPE' without
// the white space after it, no version other than 1.0 (libxml2 2.9 accepts these), no
// entities beside ']]>'.
bool Comparable(std::string_view Bytes, const std::u16string& Text) {
  if (xylem::ToUTF8(Text) != Bytes || Bytes.find('\0') != std::string_view::npos) return false;
  for (std::string_view bad : {"SYSTEM", "PUBLIC", "\xEF\xBB\xBF"})
    if (Bytes.find(bad) != std::string_view::npos) return false;
  // libxml2 2.9 judges an entity's text as content only if its first reference is in content
  // (']]>' in it passes when it is first referenced in an attribute value).
  if (Bytes.find("<!ENTITY") != std::string_view::npos &&
      Bytes.find("]]>") != std::string_view::npos)
    return false;
  // libxml2 2.9 takes "1." and other malformed versions.
  if (Bytes.find("version") != std::string_view::npos &&
      Bytes.find("version=\"1.0\"") == std::string_view::npos &&
      Bytes.find("version='1.0'") == std::string_view::npos)
    return false;
  for (size_t at = Bytes.find("<!DOCTYPE"); at != std::string_view::npos;
       at = Bytes.find("<!DOCTYPE", at + 1)) {
    const char next = at + 9 < Bytes.size() ? Bytes[at + 9] : ' ';
    if (next != ' ' && next != '\t' && next != '\n') return false;
  }
  for (size_t at = Bytes.find("ENTITY"); at != std::string_view::npos;
       at = Bytes.find("ENTITY", at + 1)) {
    size_t name = at + 6;
    while (name < Bytes.size() &&
           (Bytes[name] == ' ' || Bytes[name] == '\t' || Bytes[name] == '\n'))
      ++name;
    for (std::string_view predefined : {"lt", "gt", "amp", "quot", "apos"})
      if (Bytes.substr(name, predefined.size()) == predefined) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace xylem;
  gData = data;
  gSize = size;
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
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  if (Comparable(bytes, text)) {
    const bool libxml2 = test::LibXml2Verdict(std::string(bytes)).WellFormed;
    if (libxml2 != (one->getCount() == 0))
      std::fprintf(stderr, "libxml2 says %s\n", libxml2 ? "well-formed" : "not well-formed");
    Check(libxml2 == (one->getCount() == 0));
  }

  if (list.getCount() > 0) {
    wellformed::TyPieceResult fast, tokens;
    wellformed::TyPieceOptions tokensOnly;
    tokensOnly.FastPath = false;
    const int64_t first = 1 + static_cast<int64_t>(size % static_cast<size_t>(list.getCount()));
    wellformed::CheckPiece(list, first, list.getCount() - first + 1, fast);
    wellformed::CheckPiece(list, first, list.getCount() - first + 1, tokens, tokensOnly);
    Check(SamePieces(fast, tokens));
  }

  TxTextList stored;
  stored.LoadFromText__PARALLEL__(text, 1);
  int64_t total = 0;
  Check(SameErrors(*one, *CyXMLWellFormed::StoreLineStatesAndCheck_PARALLEL(stored, total, 3)));
  int64_t sum = 0;
  for (int64_t line = 1; line <= list.getCount(); ++line) {
    const TxItem& a = *stored.getItems(line);
    const TxItem& b = *list.getItems(line);
    Check(a.StackG == b.StackG && a.StackS == b.StackS && a.Delta == b.Delta &&
          a.DeltaMin == b.DeltaMin && a.DeltaMax == b.DeltaMax);
    sum += a.Delta;
  }
  Check(total == sum);

  const auto ranges = CyXMLFolding::FoldRanges(list);
  for (size_t i = 0; i < ranges.size(); ++i) {
    Check(ranges[i].FirstLine >= 1 && ranges[i].FirstLine < ranges[i].LastLine &&
          ranges[i].LastLine <= list.getCount());
    if (i > 0) Check(ranges[i - 1].FirstLine <= ranges[i].FirstLine);
  }
  return 0;
}
