// A worker process that holds a named mutex, for tests of cross-process locks.
#pragma once

#include <memory>
#include <string>

#include "platform/process.h"
#include "unit/scratch.h"

namespace vantrel::testing {

// A worker process that holds the named mutex `name` until it is killed.
class MutexHolderProcess {
 public:
  // Starts the worker and waits until it holds the mutex; the test fails when
  // that takes more than 30 s.
  explicit MutexHolderProcess(const std::string& name);
  // Kills the worker if it still runs.
  ~MutexHolderProcess() { Kill(); }

  bool holding() const { return holding_; }
  // Kills the worker, as a crash would, and waits for it to end.
  void Kill();

 private:
  ScratchFolder scratch_;
  std::unique_ptr<platform::ChildProcess> child_;
  bool holding_ = false;
};

}  // namespace vantrel::testing
