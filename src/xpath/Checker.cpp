#include "xpath/Checker.hpp"

#include <algorithm>

#include "common/Exception.hpp"
#include "common/Utf.hpp"
#include "diag/ErrLocation.hpp"
#include "text/TextList.hpp"

namespace xylem {

void CyXPath31LineListPlacement::Place(int32_t Index, int32_t& Line, int32_t& Linepos) const {
  int64_t L = Line_;
  int64_t Column = int64_t(Linepos_) + Index;
  // A line break inside the value counts as two characters: the value is measured as stored,
  // with carriage return and line feed between its lines. Kept on purpose.
  while (L >= 1 && L < Lines_.getCount()) {
    int64_t Length = int64_t(Lines_.getLine(L).size());
    if (Column <= Length + 1) break;
    Column -= Length + 2;
    ++L;
  }
  Line = int32_t(L);
  Linepos = int32_t(Column);
}

void CyXPath31TextPlacement::Place(int32_t Index, int32_t& Line, int32_t& Linepos) const {
  size_t RawIndex = size_t(std::max<int32_t>(Index, 0));
  if (Map_ && !Map_->empty()) RawIndex = size_t((*Map_)[std::min(RawIndex, Map_->size() - 1)]);
  RawIndex = std::min(RawIndex, Raw_.size());
  int32_t L = Line_, P = Linepos_;
  for (size_t I = 0; I < RawIndex; ++I) {
    char16_t C = Raw_[I];
    if (C == u'\r' || C == u'\n') {
      if (C == u'\r' && I + 1 < RawIndex && Raw_[I + 1] == u'\n') ++I;
      ++L;
      P = 1;
    } else {
      ++P;
    }
  }
  Line = L;
  Linepos = P;
}

const IyProcessorInfoPtr& XPath31CheckerProcessorInfo() {
  static const IyProcessorInfoPtr Info =
      std::make_shared<CyProcessorInfo>(u"Xylem XPath 3.1 checker", u"1.0");
  return Info;
}

IyXMLErrPtr MakeXPath31PlacedErr(const TyXPath31CheckError& Error,
                                 const IyXPath31Placement& Placement, const IyXMLErr* Incoming) {
  int32_t Line = 0, Linepos = 0, Line2 = 0, Linepos2 = 0;
  Placement.Place(Error.TokenStart, Line, Linepos);
  Placement.Place(Error.TokenEnd, Line2, Linepos2);
  auto Location =
      std::make_shared<CyXMLLocation>(Placement.getURL(), Line, Linepos, Line2, Linepos2);
  if (Incoming)
    return std::make_shared<CyXMLErr>(Incoming->getProcessorInfo(), Location, Error.Message,
                                      Incoming->getReasonDoc(), Incoming->getReasonID(),
                                      Error.Expected, Incoming->getSeverity());
  return std::make_shared<CyXMLErr>(XPath31CheckerProcessorInfo(), Location, Error.Message,
                                    std::u16string(), u"XPST0003", Error.Expected,
                                    TyXMLErrSeverity::errError);
}

bool IsXPath31Blank(std::u16string_view Text) {
  for (char16_t C : Text)
    if (C != u' ' && C != u'\t' && C != u'\r' && C != u'\n') return false;
  return true;
}

CyXPath31Checker::CyXPath31Checker(std::u16string_view XPath31, TyXPath31ParserRule Rule)
    : XPath31_(XPath31), Rule_(Rule) {}

namespace {

// Display text of an expected kind, or its value name without "X_" for names and literals.
std::u16string ExpectedText(TyXPath31Token Kind) {
  std::u16string_view Display = XPath31TokenDisplayText(Kind);
  if (!Display.empty()) return std::u16string(Display);
  if (Kind == X_EOF) return u"end";
  std::string_view Name = XPath31TokenName(Kind);
  if (Name.substr(0, 2) == "X_") Name.remove_prefix(2);
  return ToUTF16(Name);
}

}  // namespace

bool CyXPath31Checker::Check() {
  if (Checked_) return Valid_;
  Checked_ = true;
  if (IsXPath31Blank(XPath31_)) return Valid_ = true;
  Parser_ = std::make_unique<CyXPath31Parser>(XPath31_.c_str(), Rule_);
  try {
    Parser_->Parse();
    return Valid_ = true;
  } catch (const CyShouldNeverHappenException&) {
    throw;
  } catch (const CyException& E) {
    Error_.Message = ToUTF16(E.getMessage());
  }
  PyXPath31Step Failing = Parser_->XPath31ErrorStep();
  Error_.TokenStart = Failing->XPath31TokenIndex;
  // The range covers the failing token; an empty one (the end of the text) is one point.
  Error_.TokenEnd =
      Error_.TokenStart + std::max<int32_t>(int32_t(Failing->XPath31TokenText.size()) - 1, 0);
  const CyXPath31ParserExpectedTokens& Expected = Parser_->XPath31ExpectedTokens();
  for (int I = 0; I < Expected.Count(); ++I)
    Error_.Expected.push_back(ExpectedText(Expected.XPath31Tokens(I)));
  return Valid_ = false;
}

const TyXPath31Steps& CyXPath31Checker::XPath31Steps() const {
  static const TyXPath31Steps kNone;
  return Parser_ ? Parser_->XPath31Steps() : kNone;
}

PyXPath31Step CyXPath31Checker::XPath31ErrorStep() {
  return Parser_ && !Valid_ ? Parser_->XPath31ErrorStep() : nullptr;
}

PyXPath31Step CyXPath31Checker::XPath31LastStepBeforeError() {
  return Parser_ && !Valid_ ? Parser_->XPath31LastStepBeforeError() : nullptr;
}

IyXMLErrPtr CyXPath31Checker::Improve(const TxTextList& Lines, const IyXMLErrPtr& Incoming,
                                      int32_t Line, int32_t Linepos) {
  if (Check()) return Incoming;
  std::u16string URL = Incoming ? Incoming->getLocation()->getURL() : std::u16string();
  CyXPath31LineListPlacement Placement(Lines, std::move(URL), Line, Linepos);
  return MakeXPath31PlacedErr(Error_, Placement, Incoming.get());
}

}  // namespace xylem
