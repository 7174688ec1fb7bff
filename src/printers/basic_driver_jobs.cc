// Job control through the spooler, shared by both kinds of driver interface.
#include "platform/spooler.h"
#include "printers/basic_driver_interface.h"

namespace vantrel::printers {

using platform::JobControl;
using platform::JobInfo2;
using platform::kErrorSuccess;

namespace {

bool Control(platform::SpoolerPrinter* printer, uint32_t job_id, JobControl command) {
  return printer != nullptr && printer->ControlJob(job_id, command) == kErrorSuccess;
}

// Reads the job's level-2 record, changes one field and writes it back.
template <typename Change>
bool ChangeJob(platform::SpoolerPrinter* printer, uint32_t job_id, Change change) {
  JobInfo2 job;
  if (printer == nullptr || printer->GetJob(job_id, &job) != kErrorSuccess) return false;
  change(job);
  return printer->SetJob2(job_id, job) == kErrorSuccess;
}

}  // namespace

bool BasicDriverInterface::PauseJob(uint32_t job_id) {
  return Control(printer(), job_id, JobControl::kPause);
}
bool BasicDriverInterface::ResumeJob(uint32_t job_id) {
  return Control(printer(), job_id, JobControl::kResume);
}
bool BasicDriverInterface::DeleteJob(uint32_t job_id) {
  return Control(printer(), job_id, JobControl::kDelete);
}
bool BasicDriverInterface::RestartJob(uint32_t job_id) {
  return Control(printer(), job_id, JobControl::kRestart);
}

bool BasicDriverInterface::SetJobPriority(uint32_t job_id, uint32_t priority) {
  return ChangeJob(printer(), job_id, [&](JobInfo2& job) { job.priority = priority; });
}
bool BasicDriverInterface::SetJobStartTime(uint32_t job_id, uint32_t minutes) {
  return ChangeJob(printer(), job_id, [&](JobInfo2& job) { job.start_time = minutes; });
}
bool BasicDriverInterface::SetJobUntilTime(uint32_t job_id, uint32_t minutes) {
  return ChangeJob(printer(), job_id, [&](JobInfo2& job) { job.until_time = minutes; });
}

}  // namespace vantrel::printers
