#include "common/Settings.hpp"

namespace xylem {

CySettings& CySettings::Get() {
  static CySettings settings;
  return settings;
}

}  // namespace xylem
