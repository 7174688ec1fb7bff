// An ordered collection of PrintJob objects, counted from 1.
#pragma once

#include "frame/automation.h"
#include "frame/object.h"
#include "vantrel_stubs.h"

namespace vantrel {

class PrintJobs : public frame::AutomationObject<IPrintJobsStubs, IID_IPrintJobs, CLSID_PrintJobs> {
};

}  // namespace vantrel
