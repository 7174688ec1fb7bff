#include "jobs/print_jobs_filter.h"

#include "frame/class_table.h"

namespace vantrel {

VANTREL_CLASS_CREATOR(PrintJobsFilter)

}  // namespace vantrel
