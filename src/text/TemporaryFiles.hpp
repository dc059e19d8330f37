#pragma once
// Temporary files that must not outlive an interrupted process: a fixed table that a signal
// handler can walk without allocating or locking.

namespace xylem {

class CyTemporaryFiles {
 public:
  // Records Path (which must stay valid until Unregister) and returns its slot, or -1 when the
  // table is full (the file is then only removed by its owner). Thread-safe, lock-free.
  static int Register(const char* Path);
  static void Unregister(int Slot);
  // Removes every recorded file. Async-signal-safe.
  static void RemoveAll_SignalSafe();
  // Installs handlers for SIGINT, SIGTERM and SIGHUP that remove the recorded files and then
  // end the process by the same signal, as if there were no handler. For front ends; once.
  static void RemoveOnSignals();
};

}  // namespace xylem
