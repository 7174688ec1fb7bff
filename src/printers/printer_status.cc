#include "printers/printer_status.h"

#include "frame/class_table.h"

namespace vantrel {

VANTREL_CLASS_CREATOR(PrinterStatus)

}  // namespace vantrel
