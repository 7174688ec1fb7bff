#include "integration/mutex_holder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/clock.h"
#include "platform/named_mutex.h"
#include "integration/worker.h"

namespace vantrel::testing {
namespace {

constexpr uint64_t kStartLimitMs = 30000;

// Args: mutex name, file to create once held. Holds it until killed.
VANTREL_TEST_WORKER(mutex_holder) {
  if (args.size() != 2) return 90;
  std::unique_ptr<platform::NamedMutex> mutex;
  if (platform::CreateNamedMutex(args[0], &mutex) != 0) return 91;
  const platform::WaitResult result = mutex->Wait(platform::kInfiniteWait);
  if (result != platform::WaitResult::kAcquired) return 92;
  std::ofstream(args[1]) << "holding\n";
  for (;;) platform::SleepMilliseconds(1000);
}

}  // namespace

MutexHolderProcess::MutexHolderProcess(const std::string& name) {
  const std::filesystem::path ready = scratch_.path() / "holding";
  child_ = StartWorker("mutex_holder", {name, ready.string()});
  if (child_ == nullptr) return;
  const uint64_t start = platform::TickCount64();
  while (platform::TickCount64() - start < kStartLimitMs) {
    if (std::filesystem::exists(ready)) {
      holding_ = true;
      return;
    }
    int exit_code = 0;
    if (child_->Wait(5, &exit_code)) {
      ADD_FAILURE() << "mutex holder ended early with status " << exit_code;
      return;
    }
  }
  ADD_FAILURE() << "mutex holder did not get " << name;
}

void MutexHolderProcess::Kill() {
  if (child_ == nullptr) return;
  child_->Kill();
  child_->Wait(platform::kInfiniteWait, nullptr);
  child_.reset();
}

}  // namespace vantrel::testing
