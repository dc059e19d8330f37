#pragma once
// The program's error exception, raised by loaders and parsers and reported by their callers.

#include <cstdint>
#include <stdexcept>
#include <string>

namespace xylem {

// A failure the user can act on: a message (UTF-8) and a numeric code. Front ends catch it at
// their boundary and report it; nothing inside the core swallows it.
class CyException : public std::runtime_error {
 public:
  explicit CyException(const std::string& message, int code = 0)
      : std::runtime_error(message), Code_(code) {}

  const char* getMessage() const noexcept { return what(); }
  int getCode() const noexcept { return Code_; }

 private:
  int Code_;
};

// An internal state that cannot arise unless the program itself is wrong.
class CyShouldNeverHappenException : public CyException {
 public:
  static constexpr int kCode = -1;
  explicit CyShouldNeverHappenException(const std::string& where)
      : CyException("Internal error: " + where, kCode) {}
};

// A job ended early because its caller asked it to stop (TyJobContext::StopToken). Nothing
// the job would have written was written; front ends report it and go on.
class CyCancelledException : public CyException {
 public:
  static constexpr int kCode = -2;
  CyCancelledException() : CyException("Cancelled.", kCode) {}
};

}  // namespace xylem
