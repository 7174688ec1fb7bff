#include "jobs/print_job_schedule.h"

#include "frame/class_table.h"

namespace vantrel {

VANTREL_CLASS_CREATOR(PrintJobSchedule)

}  // namespace vantrel
