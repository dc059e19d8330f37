#include "common/Settings.hpp"

#include "common/Tasks.hpp"

namespace xylem {

CySettings& CySettings::Get() {
  static CySettings settings;
  return settings;
}

int CySettings::getPieceCount() const { return ParallelProcessing ? CyTasks::ProcessorCount() : 1; }

}  // namespace xylem
