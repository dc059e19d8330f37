#include "cli/Job.hpp"

#include "common/Settings.hpp"
#include "common/TaskPool.hpp"

namespace xylem::cli {

TyJobContext JobFor(IyProgressSink* Progress) {
  const CySettings& settings = CySettings::Get();
  static CyTaskPool pool(CyTasks::ProcessorCount() - 1);
  TyJobContext job;
  job.PieceCount = settings.getPieceCount();
  job.Progress = Progress;
  job.Pool = &pool;
  job.ApplicationName = settings.ApplicationName;
  return job;
}

}  // namespace xylem::cli
