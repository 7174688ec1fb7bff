#include "jobs/print_queue.h"

#include "frame/class_table.h"

namespace vantrel {

VANTREL_CLASS_CREATOR(PrintQueue)

}  // namespace vantrel
