#include "fakes/thread_starters.h"

namespace vantrel::fakes {

ThreadStarter FailingThreadStarter(long error) {
  return [error](std::function<void()>, std::unique_ptr<platform::NativeThread>*) { return error; };
}

}  // namespace vantrel::fakes
