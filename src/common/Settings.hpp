#pragma once
// The program-wide settings that the core modules read. Front ends fill them from the command
// line or a settings file before any work starts; the core only reads them.

#include <string>

namespace xylem {

struct CySettings {
  // Parallel stages run one task per processor when true, one task when false.
  bool ParallelProcessing = true;
  // One level of indentation written by the formatters.
  std::u16string IndentationUnit = u"    ";
  // The application's name, as used in messages.
  std::string ApplicationName = "Xylem";

  // The process's settings. Not thread-safe to change while a parallel stage runs.
  static CySettings& Get();
};

}  // namespace xylem
