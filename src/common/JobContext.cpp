#include "common/JobContext.hpp"

#include "common/TaskPool.hpp"

namespace xylem {

void TyJobContext::RunAll(int Count, const std::function<void(int)>& Task) const {
  if (Pool)
    Pool->RunAll(Count, Task);
  else
    CyTasks::RunAll(Count, Task);
}

}  // namespace xylem
