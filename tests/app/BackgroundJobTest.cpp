// The window's background jobs: how a job ends (done, failed, cancelled by a stop that came
// before its outcome was handled, replaced by a newer job) and the progress counters under
// concurrent advances, against a plain sum.

#include "app/BackgroundJob.hpp"

#include <QtTest>
#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace xylem;

Q_DECLARE_METATYPE(xylem::TyJobEnd)

class BackgroundJobTest : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  // One row per way a job can end; the outcome is handled on this (GUI) thread.
  void Outcomes_data() {
    QTest::addColumn<int>("work");              // 0 returns, 1 throws, 2 waits for its stop
    QTest::addColumn<bool>("cancelAfterWork");  // cancel once the work has returned
    QTest::addColumn<xylem::TyJobEnd>("expected");
    QTest::newRow("returns") << 0 << false << TyJobEnd::jeDone;
    QTest::newRow("throws") << 1 << false << TyJobEnd::jeFailed;
    QTest::newRow("stopped while running") << 2 << false << TyJobEnd::jeCancelled;
    // The work had finished, but the user's cancel came before its outcome was handled.
    QTest::newRow("cancelled after it finished") << 0 << true << TyJobEnd::jeCancelled;
  }
  void Outcomes() {
    QFETCH(int, work);
    QFETCH(bool, cancelAfterWork);
    QFETCH(xylem::TyJobEnd, expected);
    CyBackgroundJob job;
    std::atomic<bool> returned{false};
    int handled = 0;
    TyJobOutcome outcome;
    job.Start(
        [&](const TyJobContext& Job) {
          if (work == 1) throw std::runtime_error("broken input at line 3");
          if (work == 2) {
            while (!Job.StopRequested()) std::this_thread::yield();
            Job.ThrowIfStopped();
          }
          returned = true;
        },
        [&](const TyJobOutcome& Outcome) {
          ++handled;
          outcome = Outcome;
        },
        1);
    QVERIFY(job.getRunning());
    if (work == 2) job.Cancel();
    if (cancelAfterWork) {
      while (!returned) std::this_thread::yield();  // no events handled meanwhile
      job.Cancel();
    }
    QTRY_VERIFY(!job.getRunning());
    QTest::qWait(10);  // a second delivery would come now
    QCOMPARE(handled, 1);
    QCOMPARE(outcome.End, expected);
    if (expected == TyJobEnd::jeFailed)
      QCOMPARE(outcome.Message, QStringLiteral("broken input at line 3"));
  }

  // A job started while one runs cancels it: the older one ends cancelled before the newer
  // starts, and the older worker's late message does not end the newer one early.
  void NewerJobReplacesOlder() {
    CyBackgroundJob job;
    std::vector<TyJobEnd> ends;
    std::atomic<bool> release{false};
    job.Start(
        [](const TyJobContext& Job) {
          while (!Job.StopRequested()) std::this_thread::yield();
        },
        [&](const TyJobOutcome& Outcome) { ends.push_back(Outcome.End); }, 1);
    job.Start(
        [&](const TyJobContext&) {
          while (!release) std::this_thread::yield();
        },
        [&](const TyJobOutcome& Outcome) { ends.push_back(Outcome.End); }, 1);
    QCOMPARE(ends, std::vector<TyJobEnd>{TyJobEnd::jeCancelled});
    QTest::qWait(20);  // the first worker's post arrives and must be ignored
    QVERIFY(job.getRunning());
    release = true;
    QTRY_VERIFY(!job.getRunning());
    QCOMPARE(ends, (std::vector<TyJobEnd>{TyJobEnd::jeCancelled, TyJobEnd::jeDone}));
  }

  // Advances from the job's pieces add up to what they reported, each stage from zero.
  void ProgressCountsConcurrentAdvances() {
    CyBackgroundJob job;
    uint64_t seenTotal = 0, seenDone = 0;
    job.Start(
        [&](const TyJobContext& Job) {
          Job.Begin("Counting", 4 * 10000);
          Job.RunAll(4, [&](int) {
            for (int i = 0; i < 10000; ++i) Job.Advance(1);
          });
          seenTotal = job.getProgress().getTotal();
          seenDone = job.getProgress().getDone();
          Job.Begin("Second", 0);
        },
        {}, 4);
    job.Wait();
    QCOMPARE(seenTotal, uint64_t{40000});
    QCOMPARE(seenDone, uint64_t{40000});
    QCOMPARE(QString::fromLatin1(job.getProgress().getStage()), QStringLiteral("Second"));
    QCOMPARE(job.getProgress().getDone(), uint64_t{0});
  }
};

QTEST_MAIN(BackgroundJobTest)
#include "BackgroundJobTest.moc"
