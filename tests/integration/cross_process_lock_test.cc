// Named mutexes and the lock built on them between processes: the other
// process is this test program started again as a worker.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "integration/mutex_holder.h"
#include "integration/worker.h"
#include "platform/clock.h"
#include "platform/named_mutex.h"
#include "support/synchronizer.h"

namespace vantrel::platform {
namespace {

using testing::MutexHolderProcess;
using testing::ScratchFolder;
using testing::UniqueName;

std::unique_ptr<NamedMutex> Open(const std::string& name) {
  std::unique_ptr<NamedMutex> mutex;
  EXPECT_EQ(CreateNamedMutex(name, &mutex), 0) << name;
  return mutex;
}

// Increments the number in a file `iterations` times under the mutex. Args:
// mutex name, counter file, iterations. Fails unless every wait is clean.
VANTREL_TEST_WORKER(mutex_counter) {
  if (args.size() != 3) return 90;
  std::unique_ptr<NamedMutex> mutex;
  if (CreateNamedMutex(args[0], &mutex) != 0) return 91;
  for (int i = std::stoi(args[2]); i > 0; --i) {
    if (mutex->Wait(kInfiniteWait) != WaitResult::kAcquired) return 92;
    int count = 0;
    std::ifstream(args[1]) >> count;
    std::ofstream(args[1], std::ios::trunc) << count + 1;
    if (!mutex->Release()) return 93;
  }
  return 0;
}

TEST(NamedMutexTest, TimedWaitGivesUpWhileAnotherProcessHoldsIt) {
  const std::string name = UniqueName("vantrel-test-timeout-");
  auto mutex = Open(name);
  MutexHolderProcess holder(name);
  ASSERT_TRUE(holder.holding());
  const uint64_t start = TickCount64();
  EXPECT_EQ(mutex->Wait(250), WaitResult::kTimeout);
  const uint64_t elapsed = TickCount64() - start;
  EXPECT_GE(elapsed, 240u);
  EXPECT_LT(elapsed, 5000u);
}

TEST(NamedMutexTest, WaiterLearnsThatTheHolderDiedHoldingIt) {
  const std::string name = UniqueName("vantrel-test-abandoned-");
  auto mutex = Open(name);
  MutexHolderProcess holder(name);
  ASSERT_TRUE(holder.holding());
  holder.Kill();
  EXPECT_EQ(mutex->Wait(10000), WaitResult::kAbandoned);
  EXPECT_TRUE(mutex->Release());
  // Abandonment is reported once; the mutex is then whole again.
  EXPECT_EQ(mutex->Wait(0), WaitResult::kAcquired);
  EXPECT_TRUE(mutex->Release());
}

TEST(NamedMutexTest, DeadHolderLeavesNothingBehindWhenNobodyElseHadItOpen) {
  const std::string name = UniqueName("vantrel-test-fresh-");
  {
    MutexHolderProcess holder(name);
    ASSERT_TRUE(holder.holding());
    holder.Kill();
  }
  auto mutex = Open(name);
  EXPECT_EQ(mutex->Wait(10000), WaitResult::kAcquired);
  EXPECT_TRUE(mutex->Release());
}

TEST(NamedMutexTest, ProcessesTakeTurns) {
  const std::string name = UniqueName("vantrel-test-turns-");
  ScratchFolder scratch;
  const std::string counter = (scratch.path() / "counter").string();
  constexpr int kRounds = 100;
  auto first = testing::StartWorker("mutex_counter", {name, counter, std::to_string(kRounds)});
  auto second = testing::StartWorker("mutex_counter", {name, counter, std::to_string(kRounds)});
  ASSERT_TRUE(first && second);
  EXPECT_EQ(testing::WaitForWorker(*first), 0);
  EXPECT_EQ(testing::WaitForWorker(*second), 0);
  int count = 0;
  std::ifstream(counter) >> count;
  EXPECT_EQ(count, 2 * kRounds);
}

TEST(SynchronizerTest, MutexLockGoesOnAfterItsTimeOutWhenAnotherProcessHoldsIt) {
  const std::string name = UniqueName("vantrel-test-omutex-process-");
  vantrel::OMutex mutex(name, 200);
  MutexHolderProcess holder(name);
  ASSERT_TRUE(holder.holding());
  const uint64_t start = TickCount64();
  mutex.Lock();
  const uint64_t elapsed = TickCount64() - start;
  mutex.Unlock();
  EXPECT_GE(elapsed, 190u);
  EXPECT_LT(elapsed, 5000u);
}

}  // namespace
}  // namespace vantrel::platform
