#include "jobs/print_jobs.h"

#include "frame/class_table.h"

namespace vantrel {

VANTREL_CLASS_CREATOR(PrintJobs)

}  // namespace vantrel
