#include "diag/ErrRecord.hpp"

#include <gtest/gtest.h>

#include <climits>

#include "common/Exception.hpp"
#include "common/Utf.hpp"

namespace xylem {
namespace {

int Sign(int Value) { return (Value > 0) - (Value < 0); }

TEST(ErrRecord, LocationsCompareByURLThenLineThenPositionAsSignedNumbers) {
  struct Row {
    CyXMLLocation a, b;
    int expected;
  };
  const Row rows[] = {
      {{u"a.xml", 10, 1}, {u"b.xml", 1, 1}, -1},   // the URL decides before the line
      {{u"", 50, 1}, {u"a.xml", 1, 1}, -1},        // the edited document sorts first
      {{u"a.xml", 9, 80}, {u"a.xml", 10, 1}, -1},  // line decides before position
      {{u"a.xml", 10, 2}, {u"a.xml", 10, 3}, -1},
      {CyXMLLocation(u"a.xml"), {u"a.xml", 1, 1}, -1},  // unknown line sorts first
      {{u"a.xml", -1, 5}, {u"a.xml", 0, 0}, -1},
      {{u"a.xml", INT_MAX, 1}, {u"a.xml", -1, 1}, 1},  // no overflow in the comparison
      {{u"a.xml", 1, INT_MIN}, {u"a.xml", 1, INT_MAX}, -1},
      {{u"a.xml", 4, 4, 9, 9, 120}, {u"a.xml", 4, 4}, 0},  // range and offset do not count
      {{u"a.xml", 4, 4, u"/a"}, {u"a.xml", 4, 4, u"/b"}, 0},
      {{u"A.xml", 1, 1}, {u"a.xml", 1, 1}, -1},  // code-unit order, case-sensitive
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.a.getLine() << ":" << row.a.getLinepos() << " vs "
                                    << row.b.getLine() << ":" << row.b.getLinepos());
    EXPECT_EQ(Sign(row.a.CompareToObject(row.b)), row.expected);
    EXPECT_EQ(Sign(row.b.CompareToObject(row.a)), -row.expected);
    EXPECT_EQ(row.a.CompareToObject(row.a), 0);
    // Errors order exactly as their locations do.
    const CyXMLErr ea(nullptr, std::make_shared<CyXMLLocation>(row.a), u"x", {}, {}, {},
                      TyXMLErrSeverity::errError);
    const CyXMLErr eb(nullptr, std::make_shared<CyXMLLocation>(row.b), u"y", {}, {}, {},
                      TyXMLErrSeverity::errWarning);
    EXPECT_EQ(Sign(ea.CompareToObject(eb)), row.expected);
  }
}

TEST(ErrRecord, EachLocationConstructorFillsItsFieldsAndLeavesTheRestUnknown) {
  const auto address = std::make_shared<CyXMLAddressWithText>(
      std::vector<TyXMLAddressStep>{{u"doc", 1, false}, {u"", 3, false}, {u"", 2, true}});
  EXPECT_EQ(address->ToString(), u"/doc[1]/*[3]/text()[2]");
  struct Row {
    CyXMLLocation location;
    std::u16string url;
    int32_t line, linepos, line2, linepos2, offset;
    bool hasAddress;
    std::u16string xpath;
  };
  const Row rows[] = {
      {{}, u"", -1, -1, -1, -1, -1, false, u""},
      {CyXMLLocation(u"u"), u"u", -1, -1, -1, -1, -1, false, u""},
      {{u"u", 2, 3}, u"u", 2, 3, -1, -1, -1, false, u""},
      {{u"u", 2, 3, 40}, u"u", 2, 3, -1, -1, 40, false, u""},
      {{u"u", 2, 3, 5, 6}, u"u", 2, 3, 5, 6, -1, false, u""},
      {{u"u", 2, 3, 5, 6, 40}, u"u", 2, 3, 5, 6, 40, false, u""},
      {{u"u", address}, u"u", -1, -1, -1, -1, -1, true, u""},
      {{u"u", std::u16string(u"/doc")}, u"u", -1, -1, -1, -1, -1, false, u"/doc"},
      {{u"u", 2, 3, address}, u"u", 2, 3, -1, -1, -1, true, u""},
      {{u"u", 2, 3, std::u16string(u"/doc")}, u"u", 2, 3, -1, -1, -1, false, u"/doc"},
      {{u"u", 2, 3, 5, 6, 40, address, u"/doc"}, u"u", 2, 3, 5, 6, 40, true, u"/doc"},
  };
  for (size_t i = 0; i < std::size(rows); ++i) {
    const Row& row = rows[i];
    SCOPED_TRACE(i);
    EXPECT_EQ(row.location.getURL(), row.url);
    EXPECT_EQ(row.location.getLine(), row.line);
    EXPECT_EQ(row.location.getLinepos(), row.linepos);
    EXPECT_EQ(row.location.getLine2(), row.line2);
    EXPECT_EQ(row.location.getLinepos2(), row.linepos2);
    EXPECT_EQ(row.location.getOffset(), row.offset);
    EXPECT_EQ(row.location.getXMLAddressWithText() != nullptr, row.hasAddress);
    EXPECT_EQ(row.location.getXPath(), row.xpath);
  }
}

// An external processor's error as its own interface reports it.
class TyFakeExternalErr final : public IyExternalXMLErr {
 public:
  explicit TyFakeExternalErr(int32_t Severity) : Severity_(Severity) {}
  std::u16string getURL() const override { return u"in.xsl"; }
  int32_t getLine() const override { return 7; }
  int32_t getLinepos() const override { return 12; }
  int32_t getLine2() const override { return 8; }
  int32_t getLinepos2() const override { return 2; }
  int32_t getOffset() const override { return 301; }
  std::u16string getXPath() const override { return u"/xsl:stylesheet[1]"; }
  std::u16string getReason() const override { return u"Invalid date 'x'"; }
  std::u16string getReasonDoc() const override { return u"#FORG0001"; }
  std::u16string getReasonID() const override { return u"FORG0001"; }
  TyReasonParameters getReasonParameters() const override { return {u"x"}; }
  int32_t getSeverity() const override { return Severity_; }

 private:
  int32_t Severity_;
};

TEST(ErrRecord, ExternalSeverityMapsFourValuesAndRejectsAnyOther) {
  const std::pair<int32_t, TyXMLErrSeverity> known[] = {
      {0, TyXMLErrSeverity::errError},
      {1, TyXMLErrSeverity::errInfo},
      {2, TyXMLErrSeverity::errOk},
      {3, TyXMLErrSeverity::errWarning},
  };
  const auto info = std::make_shared<CyProcessorInfo>(u"Saxon", u"12.4");
  for (const auto& [external, expected] : known) {
    EXPECT_EQ(XMLErrSeverityFromExternal(external), expected) << external;
    const CyXMLErr copy(info, TyFakeExternalErr(external));
    EXPECT_EQ(copy.getSeverity(), expected) << external;
  }
  for (const int32_t unknown : {-1, 4, 5, 255, INT_MIN, INT_MAX}) {
    try {
      XMLErrSeverityFromExternal(unknown);
      ADD_FAILURE() << "no assertion for " << unknown;
    } catch (const CyShouldNeverHappenException& e) {
      EXPECT_NE(std::string(e.what()).find("Assertion failure"), std::string::npos) << e.what();
    }
    EXPECT_THROW(CyXMLErr(info, TyFakeExternalErr(unknown)), CyShouldNeverHappenException);
  }

  // Everything else the external error says is kept.
  const CyXMLErr copy(info, TyFakeExternalErr(3));
  EXPECT_EQ(copy.getProcessorInfo()->getName(), u"Saxon");
  EXPECT_EQ(copy.getReason(), u"Invalid date 'x'");
  EXPECT_EQ(copy.getReasonDoc(), u"#FORG0001");
  EXPECT_EQ(copy.getReasonID(), u"FORG0001");
  EXPECT_EQ(copy.getReasonParameters(), TyReasonParameters{u"x"});
  const IyXMLLocation& at = *copy.getLocation();
  EXPECT_EQ(at.getURL(), u"in.xsl");
  EXPECT_EQ(std::vector<int32_t>(
                {at.getLine(), at.getLinepos(), at.getLine2(), at.getLinepos2(), at.getOffset()}),
            std::vector<int32_t>({7, 12, 8, 2, 301}));
  EXPECT_EQ(at.getXPath(), u"/xsl:stylesheet[1]");
}

TEST(ErrRecord, ShortConstructorsBuildUnknownOrLineOnlyLocations) {
  const CyXMLErr bare(nullptr, u"no location", {}, TyXMLErrSeverity::errInfo);
  EXPECT_EQ(bare.getLocation()->getLine(), -1);
  EXPECT_EQ(bare.getLocation()->getURL(), u"");
  EXPECT_EQ(bare.getReasonID(), u"");
  const CyXMLErr lined(nullptr, u"b.xml", 4, 9, u"r", u"doc", u"cvc-id.1", {u"p"},
                       TyXMLErrSeverity::errError);
  EXPECT_EQ(lined.getLocation()->getURL(), u"b.xml");
  EXPECT_EQ(lined.getLocation()->getLine(), 4);
  EXPECT_EQ(lined.getLocation()->getLinepos(), 9);
  EXPECT_EQ(lined.getLocation()->getLine2(), -1);
  EXPECT_EQ(lined.getLocation()->getOffset(), -1);
  EXPECT_EQ(bare.CompareToObject(lined), -1);  // "" before "b.xml"
}

TEST(ErrRecord, FatalReasonsAreFormattedAtCreationAndKeepTheirArguments) {
  struct Row {
    std::u16string format;
    std::vector<TyXMLErrFormatArg> args;
    std::u16string expected;
  };
  const Row rows[] = {
      {u"Cannot read %s (code %d)", {u"a.xml", int64_t{-5}}, u"Cannot read a.xml (code -5)"},
      {u"100%% done", {}, u"100% done"},
      {u"%s and %s", {u"one"}, u"one and %s"},  // a missing argument leaves the placeholder
      {u"%x %", {u"unused"}, u"%x %"},          // unknown and trailing % stay as written
      {u"%s", {u"50%s"}, u"50%s"},              // argument text is not formatted again
      {u"%d%d", {1, 2}, u"12"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(FormatXMLErrReason(row.format, row.args), row.expected) << ToUTF8(row.format);
  }
  const CyFatalXMLErr fatal(nullptr, std::make_shared<CyXMLLocation>(u"a.xml"),
                            u"Cannot read %s: %d", {u"a.xml", 2}, u"#io", u"XYIO0001",
                            TyXMLErrSeverity::errFatal);
  EXPECT_EQ(fatal.getReason(), u"Cannot read a.xml: 2");
  EXPECT_EQ(fatal.getReasonParameters(), (TyReasonParameters{u"a.xml", u"2"}));
  EXPECT_EQ(fatal.getReasonID(), u"XYIO0001");
  EXPECT_EQ(fatal.getSeverity(), TyXMLErrSeverity::errFatal);
}

}  // namespace
}  // namespace xylem
