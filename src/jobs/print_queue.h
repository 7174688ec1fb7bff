// A printer's queue: its jobs, pause, resume and purge, and the source of
// _IPrintQueueEvents.
#pragma once

#include "frame/automation.h"
#include "frame/event_source.h"
#include "vantrel_stubs.h"

namespace vantrel {

class PrintQueue : public frame::EventSourceObject<IPrintQueueStubs, IID_IPrintQueue,
                                                   CLSID_PrintQueue, DIID__IPrintQueueEvents> {};

}  // namespace vantrel
