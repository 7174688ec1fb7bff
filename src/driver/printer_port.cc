#include "driver/printer_port.h"

#include "frame/class_table.h"

namespace vantrel {

VANTREL_CLASS_CREATOR(PrinterPort)

}  // namespace vantrel
