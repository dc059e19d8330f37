#include "lsp/WorkDoneProgress.hpp"

#include <algorithm>

namespace xylem::lsp {

CyWorkDoneProgress::CyWorkDoneProgress(json Token, std::string Title, bool Cancellable,
                                       int StageCount, std::function<void(json Params)> Send)
    : Token_(std::move(Token)),
      Title_(std::move(Title)),
      Cancellable_(Cancellable),
      StageCount_(std::max(1, StageCount)),
      Send_(std::move(Send)) {}

CyWorkDoneProgress::~CyWorkDoneProgress() { End(); }

void CyWorkDoneProgress::Begin(const char* Stage, uint64_t Total) {
  std::lock_guard Lock(Mutex_);
  if (Ended_) return;
  Stage_ = std::min(Stage_.load() + 1, StageCount_ - 1);
  Total_ = Total;
  Done_ = 0;
  const int Percentage = std::max(LastPercentage_.load(), Stage_.load() * 100 / StageCount_);
  LastPercentage_ = Percentage;
  if (!Begun_) {
    Begun_ = true;
    Send_({{"token", Token_},
           {"value",
            {{"kind", "begin"},
             {"title", Title_},
             {"cancellable", Cancellable_},
             {"message", Stage},
             {"percentage", Percentage}}}});
    return;
  }
  Send_({{"token", Token_},
         {"value", {{"kind", "report"}, {"message", Stage}, {"percentage", Percentage}}}});
}

void CyWorkDoneProgress::Advance(uint64_t Count) {
  const uint64_t Total = Total_.load(std::memory_order_relaxed);
  const uint64_t Done = Done_.fetch_add(Count, std::memory_order_relaxed) + Count;
  if (Total == 0) return;
  const int InStage = static_cast<int>(std::min<uint64_t>(100, Done * 100 / Total));
  const int Percentage = (Stage_.load(std::memory_order_relaxed) * 100 + InStage) / StageCount_;
  int Last = LastPercentage_.load(std::memory_order_relaxed);
  // Only the thread that raises the percentage reports it.
  while (Percentage > Last)
    if (LastPercentage_.compare_exchange_weak(Last, Percentage)) {
      Report(Percentage, nullptr);
      return;
    }
}

void CyWorkDoneProgress::Report(int Percentage, const char* Message) {
  std::lock_guard Lock(Mutex_);
  // A report overtaken by a higher one is dropped, so the client sees the percentage rise.
  if (!Begun_ || Ended_ || Percentage < LastPercentage_.load()) return;
  json Value = {{"kind", "report"}, {"percentage", Percentage}};
  if (Message) Value["message"] = Message;
  Send_({{"token", Token_}, {"value", std::move(Value)}});
}

void CyWorkDoneProgress::End() {
  std::lock_guard Lock(Mutex_);
  if (Ended_) return;
  Ended_ = true;
  if (!Begun_)
    Send_({{"token", Token_},
           {"value", {{"kind", "begin"}, {"title", Title_}, {"cancellable", Cancellable_}}}});
  Send_({{"token", Token_}, {"value", {{"kind", "end"}}}});
}

}  // namespace xylem::lsp
