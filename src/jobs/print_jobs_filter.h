// Which jobs of a queue PrintQueue lists.
#pragma once

#include "frame/automation.h"
#include "frame/object.h"
#include "vantrel_stubs.h"

namespace vantrel {

class PrintJobsFilter : public frame::AutomationObject<IPrintJobsFilterStubs, IID_IPrintJobsFilter,
                                                       CLSID_PrintJobsFilter> {};

}  // namespace vantrel
