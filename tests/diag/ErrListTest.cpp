#include "diag/ErrList.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <set>

#include "common/Exception.hpp"
#include "diag/ErrFilter.hpp"

namespace xylem {
namespace {

using Sev = TyXMLErrSeverity;

const Sev kAllSeverities[] = {Sev::errError, Sev::errFatal,       Sev::errInfo,
                              Sev::errOk,    Sev::errTermination, Sev::errWarning};

IyXMLErrPtr Err(std::u16string URL, int32_t Line, int32_t Linepos, std::u16string Reason,
                std::u16string ID = {}, Sev Severity = Sev::errError) {
  return std::make_shared<CyXMLErr>(nullptr, std::move(URL), Line, Linepos, std::move(Reason), u"",
                                    std::move(ID), TyReasonParameters{}, Severity);
}

std::vector<IyXMLErrPtr> Items(const IyXMLErrs& Errs) {
  std::vector<IyXMLErrPtr> items;
  for (int32_t i = 0; i < Errs.getCount(); ++i) items.push_back(Errs.getXMLErr(i));
  return items;
}

// Every ID the filters know, near misses, and no ID, each under every severity.
IyXMLErrsPtr EveryIDUnderEverySeverity() {
  const std::u16string ids[] = {u"",         u"cvc-id.1",  u"cvc-id.2", u"cvc-id.3", u"cvc-id.4",
                                u"XTDE0040", u"xtde0040",  u"FODC0002", u"FODC0005", u"FOUT1170",
                                u"FORG0001", u"FORG0001 ", u"XTDE0980", u"XPTY0004", u"XPTY0019"};
  std::vector<IyXMLErrPtr> errors;
  int32_t line = 0;
  for (const std::u16string& id : ids)
    for (const Sev severity : kAllSeverities)
      errors.push_back(Err(u"", ++line, 1, u"r", id, severity));
  return std::make_shared<CyXMLErrs>(u"all", std::move(errors));
}

struct TyFilterCase {
  const char* name;
  std::function<IyXMLErrsPtr(IyXMLErrsPtr)> make;
  std::set<std::u16string> droppedIDs;
  std::set<Sev> droppedSeverities;
};

std::vector<TyFilterCase> FilterCases() {
  return {
      {"IDREF",
       [](IyXMLErrsPtr e) { return std::make_shared<CyXMLErrsIgnoreIDREF>(e); },
       {u"cvc-id.1", u"cvc-id.2", u"cvc-id.3"},
       {}},
      {"InitialTemplate",
       [](IyXMLErrsPtr e) {
         return std::make_shared<CyXMLErrsIgnoreInitialTemplateDoesNotExistAndWarning>(e);
       },
       {u"XTDE0040"},
       {Sev::errWarning}},
      {"Termination",
       [](IyXMLErrsPtr e) { return std::make_shared<CyXMLErrsIgnoreTermination>(e); },
       {u"FODC0002", u"FODC0005", u"FOUT1170"},
       {Sev::errTermination}},
      {"Warnings",
       [](IyXMLErrsPtr e) { return std::make_shared<CyXMLErrsIgnoreWarnings>(e); },
       {},
       {Sev::errWarning}},
      {"FORG0001",
       [](IyXMLErrsPtr e) {
         return std::make_shared<CyXMLErrsIgnoreWarningsFORG0001XTDE0980XPTY0004>(e);
       },
       {u"FORG0001", u"XTDE0980", u"XPTY0004"},
       {Sev::errWarning}},
  };
}

bool Dropped(const TyFilterCase& Case, const IyXMLErr& E) {
  return Case.droppedIDs.count(E.getReasonID()) || Case.droppedSeverities.count(E.getSeverity());
}

TEST(ErrList, EachFilterDropsExactlyItsIDsAndSeveritiesAndKeepsOrder) {
  const IyXMLErrsPtr all = EveryIDUnderEverySeverity();
  for (const TyFilterCase& c : FilterCases()) {
    SCOPED_TRACE(c.name);
    std::vector<IyXMLErrPtr> expected;
    for (const IyXMLErrPtr& e : Items(*all))
      if (!Dropped(c, *e)) expected.push_back(e);
    const IyXMLErrsPtr filtered = c.make(all);
    EXPECT_EQ(Items(*filtered), expected);  // same records, same order
    EXPECT_THROW(filtered->getXMLErr(filtered->getCount()), CyShouldNeverHappenException);
    EXPECT_THROW(c.make(nullptr), CyShouldNeverHappenException);
  }
  // The cases the filters exist for.
  const auto one = [](std::u16string id, Sev severity) {
    return std::make_shared<CyXMLErrs>(
        u"", std::vector<IyXMLErrPtr>{Err(u"", 1, 1, u"r", id, severity)});
  };
  EXPECT_EQ(CyXMLErrsIgnoreInitialTemplateDoesNotExistAndWarning(one(u"XTDE0040", Sev::errError))
                .getCount(),
            0);
  EXPECT_EQ(
      CyXMLErrsIgnoreWarningsFORG0001XTDE0980XPTY0004(one(u"FORG0001", Sev::errError)).getCount(),
      0);
  EXPECT_EQ(CyXMLErrsIgnoreWarnings(one(u"FORG0001", Sev::errError)).getCount(), 1);
}

TEST(ErrList, StackedFiltersKeepWhatEveryLayerKeepsInAnyOrderAndShareTheDescription) {
  const IyXMLErrsPtr all = EveryIDUnderEverySeverity();
  const std::vector<TyFilterCase> cases = FilterCases();
  for (const TyFilterCase& outer : cases) {
    for (const TyFilterCase& inner : cases) {
      SCOPED_TRACE(std::string(outer.name) + " over " + inner.name);
      std::vector<IyXMLErrPtr> expected;
      for (const IyXMLErrPtr& e : Items(*all))
        if (!Dropped(outer, *e) && !Dropped(inner, *e)) expected.push_back(e);
      const IyXMLErrsPtr stacked = outer.make(inner.make(all));
      EXPECT_EQ(Items(*stacked), expected);
      EXPECT_EQ(Items(*inner.make(outer.make(all))), expected);
      // Capping on top of a filter caps the filtered list.
      const CyXMLErrsMaxCount capped(stacked);
      EXPECT_EQ(capped.getCount(), std::min<int32_t>(stacked->getCount(), 100));
    }
  }
  const IyXMLErrsPtr stack = std::make_shared<CyXMLErrsMaxCount>(
      std::make_shared<CyXMLErrsIgnoreWarnings>(std::make_shared<CyXMLErrsIgnoreIDREF>(all)));
  EXPECT_EQ(stack->getDescription(), u"all");
  stack->setDescription(u"Schema check");
  EXPECT_EQ(all->getDescription(), u"Schema check");
}

TEST(ErrList, MaxCountCapsAtOneHundredAndHidesTheRest) {
  for (const int32_t size : {0, 3, 99, 100, 101, 250}) {
    std::vector<IyXMLErrPtr> errors;
    for (int32_t i = 0; i < size; ++i) errors.push_back(Err(u"", i + 1, 1, u"r"));
    const auto list = std::make_shared<CyXMLErrs>(u"", errors);
    const CyXMLErrsMaxCount capped(list);
    const int32_t shown = std::min(size, 100);
    ASSERT_EQ(capped.getCount(), shown) << size;
    if (shown > 0) {
      EXPECT_EQ(capped.getXMLErr(shown - 1), errors[static_cast<size_t>(shown - 1)]);
    }
    EXPECT_THROW(capped.getXMLErr(shown), CyShouldNeverHappenException) << size;
    EXPECT_THROW(capped.getXMLErr(-1), CyShouldNeverHappenException) << size;
  }
}

TEST(ErrList, FatalListHoldsItsOneErrorAtEveryIndex) {
  const auto fatal = std::make_shared<CyFatalXMLErr>(
      nullptr, std::make_shared<CyXMLLocation>(u"gone.xml"), u"File not found", Sev::errFatal);
  const auto list = std::make_shared<CyFatalXMLErrs>(u"Load", fatal);
  EXPECT_EQ(list->getCount(), 1);
  for (const int32_t index : {0, 5, -3}) EXPECT_EQ(list->getXMLErr(index).get(), fatal.get());
  EXPECT_EQ(CyXMLErrsIgnoreWarnings(list).getCount(), 1);
  EXPECT_EQ(CyXMLErrsMaxCount(list).getCount(), 1);
  EXPECT_THROW(CyFatalXMLErrs(u"", nullptr), CyShouldNeverHappenException);
  // Made in one step, the list formats its error's reason.
  const CyFatalXMLErrs direct(nullptr, nullptr, u"Cannot parse %s", {u"b.xml"}, Sev::errFatal);
  EXPECT_EQ(direct.getXMLErr(7)->getReason(), u"Cannot parse b.xml");
  EXPECT_EQ(direct.getXMLErr(0)->getLocation()->getLine(), -1);
}

TEST(ErrList, SortingOrdersByURLLineAndPositionAndIsStable) {
  {
    const auto list = std::make_shared<CyXMLErrs>(
        u"d", std::vector<IyXMLErrPtr>{Err(u"", 10, 1, u"ten"), Err(u"", 9, 1, u"nine"),
                                       Err(u"", -1, -1, u"none")});
    const IyXMLErrsPtr sorted = SortXMLErrsByLocation(*list);
    ASSERT_EQ(sorted->getCount(), 3);
    EXPECT_EQ(sorted->getXMLErr(0)->getReason(), u"none");
    EXPECT_EQ(sorted->getXMLErr(1)->getReason(), u"nine");
    EXPECT_EQ(sorted->getXMLErr(2)->getReason(), u"ten");
    EXPECT_EQ(sorted->getDescription(), u"d");
    EXPECT_EQ(list->getXMLErr(0)->getReason(), u"ten");  // the source list is unchanged
  }
  // Invariant over a shuffled list with many ties: sorted, a permutation, ties in input order.
  std::mt19937 random(42);
  std::vector<IyXMLErrPtr> errors;
  for (int i = 0; i < 300; ++i) {
    const std::u16string url = (random() % 3 == 0) ? u"" : (random() % 2 ? u"a.xml" : u"b.xml");
    errors.push_back(Err(url, static_cast<int32_t>(random() % 6) - 1,
                         static_cast<int32_t>(random() % 4) - 1,
                         std::u16string(1, char16_t(u'0' + i % 10))));
  }
  const IyXMLErrsPtr sorted = SortXMLErrsByLocation(CyXMLErrs(u"", errors));
  const std::vector<IyXMLErrPtr> items = Items(*sorted);
  ASSERT_EQ(items.size(), errors.size());
  EXPECT_TRUE(std::is_permutation(items.begin(), items.end(), errors.begin()));
  const auto indexOf = [&](const IyXMLErrPtr& e) {
    return std::find(errors.begin(), errors.end(), e) - errors.begin();
  };
  for (size_t i = 1; i < items.size(); ++i) {
    const int order = items[i - 1]->CompareToObject(*items[i]);
    EXPECT_LE(order, 0) << i;
    if (order == 0) {
      EXPECT_LT(indexOf(items[i - 1]), indexOf(items[i])) << i;
    }
  }
}

TEST(ErrList, ClusterKeepsListsInOrderAdded) {
  CyXMLErrCluster cluster;
  const IyXMLErrsPtr built =
      std::make_shared<CyXMLErrs>(u"built", std::vector<IyXMLErrPtr>{Err(u"", 1, 2, u"w")});
  cluster.Add(u"first", {Err(u"", 3, 4, u"f")});
  cluster.Add(built);
  cluster.Add(nullptr);
  ASSERT_EQ(cluster.getCount(), 2);
  EXPECT_EQ(cluster.getXMLErrs(0)->getDescription(), u"first");
  EXPECT_EQ(cluster.getXMLErrs(0)->getXMLErr(0)->getReason(), u"f");
  EXPECT_EQ(cluster.getXMLErrs(1), built);
  EXPECT_THROW(cluster.getXMLErrs(2), CyShouldNeverHappenException);
  EXPECT_THROW(CyXMLErrs(u"", {nullptr}), CyShouldNeverHappenException);
}

}  // namespace
}  // namespace xylem
