// How the tool reports a failed call of the library's objects: one line with
// the text the object's error frame left, the result code, and, when a
// printer could not be opened, the spooler's own reason (no scheduler, no
// such queue).
#pragma once

#include <string>

#include "automation_runtime.h"

namespace vantrel::tool {

// Why the spooler will not open `name`, in its own words; empty when it now
// would.
std::string WhyNotOpened(const std::string& name);

// Prints "vantrel: TEXT[: REASON] (0xCODE)" for the calling thread's error
// information and returns exit status 1. `printer` names the printer the call
// was about, or is empty.
int ReportObjectFailure(HRESULT result, const std::string& printer);

}  // namespace vantrel::tool
