// Long stages stop part way when their job asks: the load, the well-formedness check and both
// formatter routes, on a generated document of some 30 MB. Stop is asked from the progress sink
// once a stage has passed a fraction of its work (never by a clock); the stage must then end
// with CyCancelledException long before its end, by its own progress counter, and leave nothing
// behind: the list keeps its content (or is emptied when the fill was under way), the target
// file keeps its bytes and no temporary part is left.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "common/TaskPool.hpp"
#include "common/Utf.hpp"
#include "support/StopAtFraction.hpp"
#include "text/TextFile.hpp"
#include "xml/check/WellFormed.hpp"
#include "xml/format/Formatter.hpp"
#include "xml/lines/LineState.hpp"

namespace xylem {
namespace {

using test::CyStopAtFraction;

const std::string& BigDocument() {
  static const std::string doc = [] {
    std::string text = "<?xml version=\"1.0\"?>\n<catalog>\n";
    for (int i = 0; text.size() < (size_t{30} << 20); ++i)
      text += "  <item id=\"" + std::to_string(i) + "\" kind=\"k" + std::to_string(i % 7) +
              "\"><name>Item &amp; part " + std::to_string(i) + "</name><empty/></item>\n";
    return text + "</catalog>\n";
  }();
  return doc;
}

struct TyJob {
  CyTaskPool Pool{2};
  CyStopAtFraction Sink;
  TyJobContext Context;
  TyJob(const char* Stage, double Fraction) : Sink(Stage, Fraction) {
    Context.PieceCount = 3;
    Context.Pool = &Pool;
    Context.Progress = &Sink;
    Context.StopToken = Sink.getToken();
  }
  // Stop was asked, and the stage ended long before the rest of its work was done.
  void ExpectStoppedEarly(double Fraction) const {
    const uint64_t total = Sink.getTotal(), atStop = Sink.getDoneAtStop();
    ASSERT_GT(atStop, 0u);
    EXPECT_LT(Sink.Snapshot().Done, static_cast<uint64_t>((Fraction + 0.2) * total))
        << "stopped at " << atStop << " of " << total;
  }
};

TEST(Cancellation, LoadStopsInEachStageAndLosesNothing) {
  const std::string& doc = BigDocument();
  const auto* data = reinterpret_cast<const uint8_t*>(doc.data());
  // The load reads the text three times: decode, count, fill.
  for (const double fraction : {0.1, 0.5, 0.8}) {
    SCOPED_TRACE(fraction);
    TxTextList list;
    list.LoadFromText__PARALLEL__(u"<kept/>\nas it was");
    const std::u16string before = list.getText();
    TyJob job("Loading", fraction);
    EXPECT_THROW(list.LoadFromDataEncoded__PARALLEL__(data, doc.size(), CyEncoding(), nullptr, 0,
                                                      job.Context),
                 CyCancelledException);
    job.ExpectStoppedEarly(fraction);
    if (fraction < 2.0 / 3)
      EXPECT_EQ(list.getText(), before);
    else  // stopped while the records were filled: emptied, never half a document
      EXPECT_LE(list.getCount(), 1);
  }
}

TEST(Cancellation, CheckStopsPartWay) {
  TxTextList list;
  list.LoadFromText__PARALLEL__(ToUTF16(BigDocument()));
  for (const bool storing : {false, true}) {
    TyJob job("Checking", 0.3);
    int64_t total = 0;
    if (storing) {
      EXPECT_THROW(CyXMLWellFormed::StoreLineStatesAndCheck_PARALLEL(list, total, 0, job.Context),
                   CyCancelledException);
    } else {
      CyXMLWellFormed::StoreLineStates_NOT_PARALLEL(list);
      EXPECT_THROW(CyXMLWellFormed::Check_PARALLEL(list, 0, job.Context), CyCancelledException);
    }
    job.ExpectStoppedEarly(0.3);
  }
  // The same list checks to its end without a stop.
  int64_t total = -1;
  EXPECT_EQ(CyXMLWellFormed::StoreLineStatesAndCheck_PARALLEL(list, total)->getCount(), 0);
  EXPECT_EQ(total, 0);
}

TEST(Cancellation, LineStateScanStopsPartWay) {
  TxTextList list;
  list.LoadFromText__PARALLEL__(ToUTF16(BigDocument()));
  TyJob job("Scanning", 0.3);
  int64_t total = -1;
  EXPECT_THROW(CyXMLParserParallel::UpdateAllLines(list.getTextItems(), total, 3, job.Context),
               CyCancelledException);
  job.ExpectStoppedEarly(0.3);
  EXPECT_EQ(total, -1);  // no total for states that were not all computed
}

TEST(Cancellation, FormatStopsPartWayAndWritesNothing) {
  TxTextList list;
  list.LoadFromText__PARALLEL__(ToUTF16(BigDocument()));
  const std::filesystem::path folder =
      std::filesystem::path(testing::TempDir()) / "xylem_cancel_format";
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  const std::string target = (folder / "out.xml").string();
  std::ofstream(target) << "old";
  const TyXMLFormatterChoices choices = TyXMLFormatterChoices::FromSettings(CySettings());
  // The tool's route reads the document twice: the first pass, then the writing one.
  for (const double fraction : {0.2, 0.7}) {
    SCOPED_TRACE(fraction);
    TyJob job("Formatting", fraction);
    {
      TyTextFileFormat format;
      CyTextFileWriter out(target, format);
      EXPECT_THROW(CyXMLFormatter::FormatToFile__PARALLEL__(list, out, format, choices, 0,
                                                            int64_t{1} << 20, job.Context),
                   CyCancelledException);
    }
    job.ExpectStoppedEarly(fraction);
    std::stringstream kept;
    kept << std::ifstream(target).rdbuf();
    EXPECT_EQ(kept.str(), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1);
  }
  // The editor's route: the list is not replaced.
  const std::u16string before = list.getText();
  TyJob job("Formatting", 0.4);
  EXPECT_THROW(CyXMLFormatter::FormatTextList(list, u"", choices, job.Context),
               CyCancelledException);
  job.ExpectStoppedEarly(0.4);
  EXPECT_TRUE(list.getText() == before);
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace xylem
