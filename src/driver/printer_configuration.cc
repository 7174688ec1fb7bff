#include "driver/printer_configuration.h"

#include "frame/class_table.h"

namespace vantrel {

VANTREL_CLASS_CREATOR(PrinterConfiguration)

}  // namespace vantrel
