#pragma once
// A progress sink that asks its job to stop once a stage has passed a fraction of its total, so
// that cancellation is tested by progress, never by a clock.

#include <atomic>
#include <cstdint>
#include <stop_token>
#include <string>

#include "common/Progress.hpp"

namespace xylem::test {

class CyStopAtFraction : public CyProgressCounter {
 public:
  CyStopAtFraction(std::string Stage, double Fraction)
      : Stage_(std::move(Stage)), Fraction_(Fraction) {}

  std::stop_token getToken() const { return Stop_.get_token(); }
  // The stage's total, and its Done when stop was asked (0: never asked).
  uint64_t getTotal() const { return Total_; }
  uint64_t getDoneAtStop() const { return DoneAtStop_.load(); }

  void Begin(const char* Stage, uint64_t Total) override {
    CyProgressCounter::Begin(Stage, Total);
    Armed_ = Stage_ == Stage && !Stop_.stop_requested();
    if (Armed_) Total_ = Total;
  }
  void Advance(uint64_t Count) override {
    CyProgressCounter::Advance(Count);
    const uint64_t done = Snapshot().Done;
    if (Armed_ && done >= static_cast<uint64_t>(Fraction_ * static_cast<double>(Total_))) {
      uint64_t expected = 0;
      if (DoneAtStop_.compare_exchange_strong(expected, done)) Stop_.request_stop();
    }
  }

 private:
  std::string Stage_;
  double Fraction_;
  std::stop_source Stop_;
  bool Armed_ = false;  // written between parallel parts only
  uint64_t Total_ = 0;
  std::atomic<uint64_t> DoneAtStop_{0};
};

}  // namespace xylem::test
