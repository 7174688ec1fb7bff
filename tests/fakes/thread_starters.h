// Thread starters for tests of OThread and its users.
#pragma once

#include "support/othread.h"

namespace vantrel::fakes {

// Starts nothing and returns `error`, as a start the system refuses.
ThreadStarter FailingThreadStarter(long error);

}  // namespace vantrel::fakes
