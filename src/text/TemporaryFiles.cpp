#include "text/TemporaryFiles.hpp"

#include <signal.h>
#include <unistd.h>

#include <atomic>

namespace xylem {

namespace {

constexpr int kSlots = 64;
std::atomic<const char*> gSlots[kSlots];

void onSignal(int Signal) {
  CyTemporaryFiles::RemoveAll_SignalSafe();
  // The default action, so the parent sees the process end by this signal.
  signal(Signal, SIG_DFL);
  raise(Signal);
}

}  // namespace

int CyTemporaryFiles::Register(const char* Path) {
  for (int slot = 0; slot < kSlots; ++slot) {
    const char* empty = nullptr;
    if (gSlots[slot].compare_exchange_strong(empty, Path)) return slot;
  }
  return -1;
}

void CyTemporaryFiles::Unregister(int Slot) {
  if (Slot >= 0 && Slot < kSlots) gSlots[Slot].store(nullptr);
}

void CyTemporaryFiles::RemoveAll_SignalSafe() {
  for (auto& slot : gSlots)
    if (const char* path = slot.exchange(nullptr)) unlink(path);
}

void CyTemporaryFiles::RemoveOnSignals() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action {};
    struct sigaction previous {};
    sigaction(signal, nullptr, &previous);
    if (previous.sa_handler == SIG_IGN) continue;  // e.g. nohup: keep ignoring
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
  }
}

}  // namespace xylem
