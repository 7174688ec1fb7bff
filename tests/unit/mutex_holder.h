// Helpers for tests of cross-process locks: unique names, scratch folders and
// a worker process that holds a named mutex.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "platform/process.h"

namespace vantrel::testing {

// A name no other test run uses: the prefix and random hexadecimal digits.
std::string UniqueName(std::string_view prefix);

// A fresh, empty folder under the system's temporary folder, removed with the object.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

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
