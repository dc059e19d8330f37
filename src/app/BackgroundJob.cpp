#include "app/BackgroundJob.hpp"

#include <QMetaObject>
#include <exception>

namespace xylem {

namespace {

int64_t NowMilliseconds() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

}  // namespace

void CyJobProgress::Begin(const char* Stage, uint64_t Total) {
  Done_.store(0, std::memory_order_relaxed);
  Total_.store(Total, std::memory_order_relaxed);
  Stage_.store(Stage ? Stage : "", std::memory_order_relaxed);
}

void CyJobProgress::Advance(uint64_t Count) { Done_.fetch_add(Count, std::memory_order_relaxed); }

void CyJobProgress::Reset() {
  Begin("", 0);
  StartedAt_.store(NowMilliseconds(), std::memory_order_relaxed);
}

std::chrono::milliseconds CyJobProgress::getElapsed() const {
  return std::chrono::milliseconds(NowMilliseconds() - StartedAt_.load(std::memory_order_relaxed));
}

CyBackgroundJob::CyBackgroundJob(QObject* Parent) : QObject(Parent) {}

CyBackgroundJob::~CyBackgroundJob() {
  Stop_.request_stop();
  if (Worker_.joinable()) Worker_.join();
}

void CyBackgroundJob::Start(std::function<void(const TyJobContext&)> Work,
                            std::function<void(const TyJobOutcome&)> Finished, int PieceCount,
                            const char* Stage) {
  if (Running_) {
    Cancel();
    Wait();
  }
  Stop_ = std::stop_source();
  Progress_.Reset();
  Progress_.Begin(Stage, 0);
  Finished_ = std::move(Finished);
  Running_ = true;
  const uint64_t serial = ++Serial_;
  TyJobContext job;
  job.PieceCount = std::max(1, PieceCount);
  job.Progress = &Progress_;
  job.StopToken = Stop_.get_token();
  Worker_ = std::jthread([this, job, serial, work = std::move(Work)] {
    TyJobOutcome outcome;
    try {
      work(job);
    } catch (const CyCancelledException&) {
      outcome.End = TyJobEnd::jeCancelled;
    } catch (const std::exception& e) {
      outcome.End = TyJobEnd::jeFailed;
      outcome.Message = QString::fromUtf8(e.what());
    }
    WorkOutcome_ = outcome;
    // Qt drops the call when this object is gone; the destructor joins before that.
    QMetaObject::invokeMethod(
        this, [this, serial] { Deliver(serial); }, Qt::QueuedConnection);
  });
}

void CyBackgroundJob::Cancel() {
  if (Running_) Stop_.request_stop();
}

void CyBackgroundJob::Wait() {
  if (Running_) Deliver(Serial_);
}

void CyBackgroundJob::Deliver(uint64_t Serial) {
  // A post of a job that Wait delivered already (or that a later Start replaced) is late.
  if (!Running_ || Serial != Serial_) return;
  if (Worker_.joinable()) Worker_.join();
  Running_ = false;
  TyJobOutcome outcome = WorkOutcome_;
  if (Stop_.stop_requested()) outcome = {TyJobEnd::jeCancelled, {}};
  std::function<void(const TyJobOutcome&)> finished = std::move(Finished_);
  Finished_ = nullptr;
  if (finished) finished(outcome);
}

}  // namespace xylem
