#include "jobs/print_job.h"

#include "frame/class_table.h"

namespace vantrel {

VANTREL_CLASS_CREATOR(PrintJob)

}  // namespace vantrel
