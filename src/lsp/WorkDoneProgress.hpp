#pragma once
// Work-done progress (LSP `$/progress`): a job's progress sink that tells the client through
// one progress token: "begin" at the first stage, "report" with the stage's name and a rising
// percentage, "end" when the job is over.
//
//   CyWorkDoneProgress Progress(Token, "Tokenizing", true, 1, Send);
//   Job.Progress = &Progress;   // the job's stages report to it
//   ... Progress.End();
//
// Threading: Begin and End from the job's thread, Advance from any thread (lock-free unless a
// new whole percent is reached, at most 100 notifications a stage).

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

#include "common/JobContext.hpp"
#include "lsp/Protocol.hpp"

namespace xylem::lsp {

class CyWorkDoneProgress : public IyProgressSink {
 public:
  // Token: the progress token; Title: the begin's title; Cancellable: whether the client may
  // cancel (window/workDoneProgress/cancel); StageCount: the stages expected, which share the
  // percentage evenly; Send: writes one `$/progress` notification's params.
  CyWorkDoneProgress(json Token, std::string Title, bool Cancellable, int StageCount,
                     std::function<void(json Params)> Send);
  // Sends the end when it was not sent yet.
  ~CyWorkDoneProgress() override;

  void Begin(const char* Stage, uint64_t Total) override;
  void Advance(uint64_t Count) override;
  // Sends "end" (once; nothing was begun: a begin first, so the client sees a whole progress).
  void End();

 private:
  void Report(int Percentage, const char* Message);

  json Token_;
  std::string Title_;
  bool Cancellable_;
  int StageCount_;
  std::function<void(json)> Send_;
  std::mutex Mutex_;  // orders the notifications
  bool Begun_ = false;
  bool Ended_ = false;
  std::atomic<int> Stage_{-1};
  std::atomic<uint64_t> Total_{0};
  std::atomic<uint64_t> Done_{0};
  std::atomic<int> LastPercentage_{0};
};

}  // namespace xylem::lsp
