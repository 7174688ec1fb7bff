#include "server/print_server.h"

#include "frame/class_table.h"

namespace vantrel {

VANTREL_CLASS_CREATOR(PrintServer)

}  // namespace vantrel
