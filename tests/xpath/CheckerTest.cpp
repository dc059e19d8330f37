// Checker, cache and error improver: the edge cases of a check, independent cache entries per
// start rule, and errors placed on the failing token in lines 1 to 3 of a multi-line value.

#include "xpath/Checker.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "common/Utf.hpp"
#include "support/CheckerTestAnnotations.hpp"
#include "text/TextList.hpp"
#include "xpath/CheckerWithCache.hpp"
#include "xpath/ErrImprover.hpp"

namespace xylem {
namespace {

struct TyCheckRow {
  TyXPath31ParserRule Rule;
  const char16_t* Text;
  const char* Message;  // empty: valid
  int32_t TokenStart;
  int32_t TokenEnd;
};

const TyCheckRow kRows[] = {
    {xprExpr, u"", "", 0, 0},
    {xprExpr, u" \t\r\n  ", "", 0, 0},
    {xprPattern30, u"\r\n", "", 0, 0},
    {xprExpr, u"a/b[1]", "", 0, 0},
    {xprExpr, u"1 +", "Unexpected end.", 3, 3},
    {xprExpr, u"f(1]", "Expected \")\", found \"]\".", 3, 3},
    {xprExpr, u"f(1", "Expected \")\".", 3, 3},
    {xprExpr, u"(1, 2) ) ", "Unexpected \")\".", 7, 7},
    {xprExpr, u"1 + return", "", 0, 0},  // keywords are not reserved: a name test
    {xprExpr, u"if (1) then 2", "Expected \"else\".", 13, 13},
    {xprExpr, u"1 + 2 return 3", "Unexpected \"return\".", 6, 11},
    {xprExpr, u"preceding::a", "", 0, 0},
    {xprPattern30, u"preceding::a", "Unexpected \"preceding\".", 0, 8},
    {xprSequenceType, u"xs:integer+", "", 0, 0},
    {xprSequenceType, u"xs:integer ++", "Unexpected \"+\".", 12, 12},
    {xprAVT, u"a{1}b", "", 0, 0},
    {xprAVT, u"a{1 + }b", "Unexpected \"}\".", 6, 6},
};

TEST(CheckerTest, EdgeCasesTable) {
  for (const TyCheckRow& Row : kRows) {
    SCOPED_TRACE(ToUTF8(Row.Text));
    CyXPath31Checker Checker(Row.Text, Row.Rule);
    bool Valid = Checker.Check();
    EXPECT_EQ(Valid, *Row.Message == 0);
    EXPECT_EQ(Checker.Check(), Valid);  // repeatable
    if (IsXPath31Blank(Row.Text)) {
      EXPECT_TRUE(Checker.XPath31Steps().empty());  // not parsed
    }
    if (Valid) {
      EXPECT_EQ(Checker.XPath31ErrorStep(), nullptr);
      continue;
    }
    EXPECT_EQ(ToUTF8(Checker.getError().Message), Row.Message);
    EXPECT_EQ(Checker.getError().TokenStart, Row.TokenStart);
    EXPECT_EQ(Checker.getError().TokenEnd, Row.TokenEnd);
    ASSERT_NE(Checker.XPath31ErrorStep(), nullptr);
    EXPECT_EQ(Checker.XPath31ErrorStep()->XPath31TokenIndex, Row.TokenStart);
    EXPECT_EQ(Checker.XPath31LastStepBeforeError() + 1, Checker.XPath31ErrorStep());
  }
}

TEST(CheckerTest, LexicalErrorIsPlacedOnTheOffendingText) {
  CyXPath31Checker Checker(u"1 + 'open", xprExpr);
  ASSERT_FALSE(Checker.Check());
  EXPECT_FALSE(Checker.getError().Message.empty());
  EXPECT_EQ(Checker.getError().TokenStart, 4);
}

TEST(CheckerTest, ExpectedTokensAfterOperator) {
  CyXPath31Checker Checker(u"1 +", xprExpr);
  ASSERT_FALSE(Checker.Check());
  const auto& Expected = Checker.getError().Expected;
  for (const char16_t* Token : {u"(", u"$", u"IntegerLiteral", u"StringLiteral", u"NCName"})
    EXPECT_NE(std::find(Expected.begin(), Expected.end(), Token), Expected.end()) << ToUTF8(Token);
  EXPECT_EQ(std::find(Expected.begin(), Expected.end(), u")"), Expected.end());
}

TEST(CheckerTest, CacheKeepsIndependentResultsPerStartRule) {
  CyXPath31CheckerWithCache Cache;
  IyXMLErrPtr Err;
  const std::u16string URL = u"file:///s.xsl";
  EXPECT_TRUE(Cache.Check(u"preceding::a", xprExpr, URL, 4, 10, Err));
  EXPECT_EQ(Err, nullptr);
  EXPECT_FALSE(Cache.Check(u"preceding::a", xprPattern30, URL, 4, 10, Err));
  ASSERT_NE(Err, nullptr);
  EXPECT_EQ(Err->getLocation()->getLine(), 4);
  EXPECT_EQ(Err->getLocation()->getLinepos(), 10);
  EXPECT_EQ(Err->getLocation()->getURL(), URL);
  EXPECT_EQ(Err->getReasonID(), u"XPST0003");
  EXPECT_EQ(Cache.getCount(xprExpr), 1u);
  EXPECT_EQ(Cache.getCount(xprPattern30), 1u);
  // The same text again, elsewhere: the kept error, a fresh record at the new place; the
  // expression's result is not disturbed by the pattern's.
  IyXMLErrPtr Again;
  EXPECT_FALSE(Cache.Check(u"preceding::a", xprPattern30, URL, 9, 3, Again));
  ASSERT_NE(Again, nullptr);
  EXPECT_NE(Again, Err);
  EXPECT_EQ(Again->getLocation()->getLine(), 9);
  EXPECT_EQ(Again->getLocation()->getLinepos(), 3);
  EXPECT_EQ(Again->getReason(), Err->getReason());
  EXPECT_TRUE(Cache.Check(u"preceding::a", xprExpr, URL, 4, 10, Err));
  EXPECT_EQ(Cache.getCount(xprPattern30), 1u);
  EXPECT_EQ(Cache.getCount(xprAVT), 0u);
}

TEST(CheckerTest, CacheListsStaySortedAndFindIsStable) {
  CyXPath31CheckerWithCache Cache;
  const char16_t* Texts[] = {u"b", u"a", u"B", u"a/b", u"", u"a", u"z[", u"b", u"A", u"a b"};
  std::vector<const CyXPath31CheckerWithCacheItem*> First;
  for (const char16_t* Text : Texts) First.push_back(&Cache.Find(Text, xprExpr));
  for (size_t I = 0; I < std::size(Texts); ++I)
    EXPECT_EQ(&Cache.Find(Texts[I], xprExpr), First[I]) << ToUTF8(Texts[I]);  // no copies
  ASSERT_EQ(Cache.getCount(xprExpr), 8u);  // case-sensitive: "A" and "a", "B" and "b" differ
  for (size_t I = 1; I < Cache.getCount(xprExpr); ++I)
    EXPECT_LT(Cache.getItem(xprExpr, I - 1).CompareToObject(Cache.getItem(xprExpr, I)), 0);
}

// One attribute value over three lines, with the error point marked in each of its lines.
struct TyPlacementRow {
  const char16_t* Document;
  int32_t ExpectedLine;
};

const TyPlacementRow kPlacementRows[] = {
    {u"<x:if test=\"1 ^] 2\n     + 3\n     + 4\"/>", 1},
    {u"<x:if test=\"1 + 2\n     ^] 3\n     + 4\"/>", 2},
    {u"<x:if test=\"1 + 2\n\t + 3 +\n     4 ^]\"/>", 3},
    {u"<x:if test=\"1 + 2\n\n^)\"/>", 3},
};

TEST(CheckerTest, ImprovePlacesTheErrorOnEachLineOfAMultiLineValue) {
  for (const TyPlacementRow& Row : kPlacementRows) {
    test::TyAnnotated Doc = test::Annotate(Row.Document);
    SCOPED_TRACE(ToUTF8(Doc.Text));
    TxTextList Lines;
    Lines.LoadFromText__PARALLEL__(Doc.Text, 1);
    // The value as the attribute text stores it: lines joined by carriage return + line feed.
    std::u16string Joined = Lines.getText();
    size_t Open = Joined.find(u'"') + 1;
    std::u16string Value = Joined.substr(Open, Joined.rfind(u'"') - Open);
    auto Incoming = std::make_shared<CyXMLErr>(nullptr, u"file:///t.xsl", 1, 1,
                                               u"Syntax error in expression", u"", u"XPST0003",
                                               TyReasonParameters{}, TyXMLErrSeverity::errFatal);
    CyXPath31Checker Checker(Value, xprExpr);
    IyXMLErrPtr Out = Checker.Improve(Lines, Incoming, 1, int32_t(Open + 1));
    ASSERT_NE(Out, Incoming);
    EXPECT_EQ(Out->getLocation()->getLine(), Row.ExpectedLine);
    EXPECT_EQ(Out->getLocation()->getLine(), Doc.Points[0].first);
    EXPECT_EQ(Out->getLocation()->getLinepos(), Doc.Points[0].second);
    EXPECT_EQ(Out->getLocation()->getLine2(), Doc.Points[0].first);
    EXPECT_EQ(Out->getLocation()->getLinepos2(), Doc.Points[0].second);
    EXPECT_EQ(Out->getLocation()->getURL(), u"file:///t.xsl");
    EXPECT_EQ(Out->getSeverity(), TyXMLErrSeverity::errFatal);
    EXPECT_EQ(Out->getReasonID(), u"XPST0003");
    EXPECT_EQ(Out->getReason().substr(0, 10), u"Unexpected");
    // The placement over the written value agrees with the two-character rule for every index.
    CyXPath31LineListPlacement ByLines(Lines, u"", 1, int32_t(Open + 1));
    CyXPath31TextPlacement ByText(u"", 1, int32_t(Open + 1), Value);
    for (int32_t I = 0; I <= int32_t(Value.size()); ++I) {
      if (I > 0 && Value[size_t(I) - 1] == u'\r') continue;  // inside a line break
      int32_t L1, P1, L2, P2;
      ByLines.Place(I, L1, P1);
      ByText.Place(I, L2, P2);
      EXPECT_EQ(L1, L2) << I;
      EXPECT_EQ(P1, P2) << I;
    }
  }
}

TEST(CheckerTest, ImproveLeavesTheErrorOfAValidExpressionAlone) {
  TxTextList Lines;
  Lines.LoadFromText__PARALLEL__(u"<a select=\"unknown-function(1)\"/>", 1);
  auto Incoming =
      std::make_shared<CyXMLErr>(nullptr, u"u", 1, 12, u"XPST0017: Unknown function", u"",
                                 u"XPST0017", TyReasonParameters{}, TyXMLErrSeverity::errError);
  CyXPath31Checker Checker(u"unknown-function(1)", xprExpr);
  EXPECT_EQ(Checker.Improve(Lines, Incoming, 1, 12), Incoming);

  CyXPath31CheckerWithCache Cache;
  CyXPath31ErrImprover Improver(&Cache);
  CyXPath31LineListPlacement Placement(Lines, u"u", 1, 12);
  EXPECT_EQ(Improver.Improve(Incoming, u"unknown-function(1)", xprExpr, Placement), Incoming);
  IyXMLErrPtr Better = Improver.Improve(Incoming, u"unknown-function(1,)", xprExpr, Placement);
  ASSERT_NE(Better, Incoming);
  EXPECT_EQ(Better->getLocation()->getLinepos(), 12 + 19);
  EXPECT_EQ(Better->getReason(), u"Unexpected \")\".");
  EXPECT_EQ(Better->getReasonID(), u"XPST0017");
  EXPECT_EQ(Cache.getCount(xprExpr), 2u);  // the improver filled the shared cache
}

}  // namespace
}  // namespace xylem
