// The computer the library runs on: its printers and facts, and the source of
// _IPrintServerEvents.
#pragma once

#include "frame/automation.h"
#include "frame/event_source.h"
#include "vantrel_stubs.h"

namespace vantrel {

class PrintServer : public frame::EventSourceObject<IPrintServerStubs, IID_IPrintServer,
                                                    CLSID_PrintServer, DIID__IPrintServerEvents> {};

}  // namespace vantrel
