#pragma once
// Long work of the window (loading, formatting) run off the GUI thread with a progress sink and
// a stop token, its outcome handed back on the GUI thread.
//
//   CyBackgroundJob job(this);
//   job.Start([=](const TyJobContext& Job) { ... heavy work polling Job ... },
//             [=](const TyJobOutcome& Outcome) { if (Outcome.Kind == TyJobEnd::jeDone) ... });
//
// A job counts as cancelled when its stop was requested before its outcome is handled, even if
// the work itself had finished: so a cancel that the user saw take effect always leaves the
// document as it was. Threading: every member runs on the GUI thread; the work runs on a worker
// and reads only what it was given.

#include <QObject>
#include <QString>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <stop_token>
#include <thread>

#include "common/JobContext.hpp"

namespace xylem {

// A job's progress as a bar shows it: its current stage and how far that stage is. The job's
// threads write it, the GUI thread reads it; all lock-free.
class CyJobProgress : public IyProgressSink {
 public:
  void Begin(const char* Stage, uint64_t Total) override;
  void Advance(uint64_t Count) override;
  // Forgets the stages; the clock of getElapsed starts again.
  void Reset();
  // The current stage's name ("" before the first) and its units done and in all (0: unknown).
  const char* getStage() const { return Stage_.load(std::memory_order_relaxed); }
  uint64_t getDone() const { return Done_.load(std::memory_order_relaxed); }
  uint64_t getTotal() const { return Total_.load(std::memory_order_relaxed); }
  // Time since the last Reset.
  std::chrono::milliseconds getElapsed() const;

 private:
  std::atomic<const char*> Stage_{""};
  std::atomic<uint64_t> Done_{0};
  std::atomic<uint64_t> Total_{0};
  std::atomic<int64_t> StartedAt_{0};
};

enum class TyJobEnd : uint8_t {
  jeDone,       // the work returned and was not cancelled
  jeCancelled,  // stop was requested before the outcome was handled
  jeFailed,     // the work raised an exception (Message holds its text)
};

struct TyJobOutcome {
  TyJobEnd End = TyJobEnd::jeDone;
  QString Message;
};

class CyBackgroundJob : public QObject {
  Q_OBJECT

 public:
  explicit CyBackgroundJob(QObject* Parent = nullptr);
  // Cancels the running work and waits for its thread; its outcome is not delivered.
  ~CyBackgroundJob() override;

  // Runs Work on a worker thread with a job of PieceCount pieces (at least 1), this job's
  // progress and stop token; then Finished on the GUI thread. One job at a time: a running one
  // is cancelled and joined first (its Finished runs, cancelled, before this returns).
  // Stage names the job until its work begins a stage of its own (a string literal).
  void Start(std::function<void(const TyJobContext&)> Work,
             std::function<void(const TyJobOutcome&)> Finished, int PieceCount,
             const char* Stage = "");
  // Asks the work to stop; Finished then runs with jeCancelled. No effect when idle.
  void Cancel();
  // True from Start until Finished has run.
  bool getRunning() const { return Running_; }
  const CyJobProgress& getProgress() const { return Progress_; }
  // Waits for the worker and handles its outcome now. For tests and the screenshot mode.
  void Wait();

 private:
  void Deliver(uint64_t Serial);

  CyJobProgress Progress_;
  std::stop_source Stop_;
  std::jthread Worker_;
  std::function<void(const TyJobOutcome&)> Finished_;
  // Written by the worker before it posts, read on the GUI thread after joining it.
  TyJobOutcome WorkOutcome_;
  bool Running_ = false;
  uint64_t Serial_ = 0;  // of the latest Start; a worker's post names its own
};

}  // namespace xylem
