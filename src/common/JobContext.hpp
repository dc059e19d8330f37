#pragma once
// What a long job takes from the front end that runs it: how many pieces a parallel stage is
// cut into, where its progress goes, how it is told to stop, and the threads it runs on.
// Core modules read these per call instead of any process-wide setting.
//
//   CyTaskPool pool(CyTasks::ProcessorCount() - 1);
//   std::stop_source stop;
//   TyJobContext job{.PieceCount = 4, .Progress = &bar, .StopToken = stop.get_token(),
//                    .Pool = &pool};
//   CyXMLWellFormed::Check_PARALLEL(list, 0, job);   // CyCancelledException once stop is asked

#include <cstdint>
#include <functional>
#include <stop_token>
#include <string_view>

#include "common/Exception.hpp"
#include "common/Tasks.hpp"

namespace xylem {

class CyTaskPool;

// Receives the progress of a job, for a progress bar. Implemented by the front end.
class IyProgressSink {
 public:
  virtual ~IyProgressSink() = default;
  // Starts a stage (Stage: a string literal such as "Checking") with Total units of work (0:
  // unknown). Called from the thread that runs the job, between parallel parts.
  virtual void Begin(const char* Stage, uint64_t Total) = 0;
  // Count more units of the current stage are done. Called from any task thread, every few
  // thousand lines (never per token), so it must be thread-safe and cheap.
  virtual void Advance(uint64_t Count) = 0;
};

struct TyJobContext {
  // Pieces a parallel stage is cut into (at least 1). The default is one per processor of the
  // process's affinity mask; a front end sets 1 when the user switches parallel work off.
  int PieceCount = CyTasks::ProcessorCount();
  // Where progress goes; null: nowhere.
  IyProgressSink* Progress = nullptr;
  // Stages poll it in their loops and end with CyCancelledException once stop is requested.
  std::stop_token StopToken;
  // The threads parallel tasks run on; null: each RunAll starts threads of its own.
  CyTaskPool* Pool = nullptr;
  // The application's name, as messages name it ("Xylem does not support binary files.").
  std::string_view ApplicationName = "Xylem";

  // PieceCount when Requested is 0 or less (callers' "no preference"), else Requested.
  int ResolvePieceCount(int Requested) const {
    return Requested > 0 ? Requested : (PieceCount > 0 ? PieceCount : 1);
  }
  void Begin(const char* Stage, uint64_t Total) const {
    if (Progress) Progress->Begin(Stage, Total);
  }
  void Advance(uint64_t Count) const {
    if (Progress) Progress->Advance(Count);
  }
  bool StopRequested() const noexcept { return StopToken.stop_requested(); }
  // Throws CyCancelledException when stop was requested. One atomic load otherwise.
  void ThrowIfStopped() const {
    if (StopToken.stop_requested()) throw CyCancelledException();
  }
  // Runs Task(0) .. Task(Count - 1) on Pool (or fresh threads) and waits for all; the first
  // exception in index order is rethrown after all have ended.
  void RunAll(int Count, const std::function<void(int)>& Task) const;
};

}  // namespace xylem
