#include "jobs/print_job_status.h"

#include "frame/class_table.h"

namespace vantrel {

VANTREL_CLASS_CREATOR(PrintJobStatus)

}  // namespace vantrel
