// The named mutex contract, the same on both targets, between threads of one
// process: exclusion, time-outs, recursion and ownership. Between processes:
// tests/integration/cross_process_lock_test.cc.
#include "platform/named_mutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "platform/clock.h"
#include "unit/scratch.h"

namespace vantrel::platform {
namespace {

using testing::UniqueName;

std::unique_ptr<NamedMutex> Open(const std::string& name) {
  std::unique_ptr<NamedMutex> mutex;
  EXPECT_EQ(CreateNamedMutex(name, &mutex), 0) << name;
  return mutex;
}

// The result of a Wait made on another thread, which never owns the mutex
// afterwards (a successful wait is released again).
WaitResult WaitOnOtherThread(NamedMutex& mutex, uint32_t timeout_ms) {
  WaitResult result = WaitResult::kFailed;
  std::thread([&] {
    result = mutex.Wait(timeout_ms);
    if (result == WaitResult::kAcquired || result == WaitResult::kAbandoned) mutex.Release();
  }).join();
  return result;
}

TEST(NamedMutexTest, ThreadsExcludeEachOtherThroughSeparateObjectsOfOneName) {
  const std::string name = UniqueName("vantrel-test-threads-");
  constexpr int kThreads = 4;
  constexpr int kRounds = 300;
  std::atomic<int> inside{0};
  std::atomic<bool> overlapped{false};
  int counter = 0;  // guarded by the mutex under test
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      auto mutex = Open(name);
      for (int i = 0; i < kRounds; ++i) {
        ASSERT_EQ(mutex->Wait(kInfiniteWait), WaitResult::kAcquired);
        if (inside.fetch_add(1) != 0) overlapped = true;
        ++counter;
        inside.fetch_sub(1);
        ASSERT_TRUE(mutex->Release());
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_FALSE(overlapped);
  EXPECT_EQ(counter, kThreads * kRounds);
}

TEST(NamedMutexTest, OwnerTakesItAgainAndMustReleaseItAsOften) {
  for (const std::string& name : {UniqueName("vantrel-test-recursion-"), std::string()}) {
    SCOPED_TRACE(name.empty() ? "private" : "named");
    auto mutex = Open(name);
    EXPECT_EQ(mutex->Wait(0), WaitResult::kAcquired);
    EXPECT_EQ(mutex->Wait(0), WaitResult::kAcquired);
    EXPECT_TRUE(mutex->Release());
    EXPECT_EQ(WaitOnOtherThread(*mutex, 20), WaitResult::kTimeout) << "still held once";
    EXPECT_TRUE(mutex->Release());
    EXPECT_FALSE(mutex->Release()) << "released more often than taken";
    EXPECT_EQ(WaitOnOtherThread(*mutex, 0), WaitResult::kAcquired);
  }
}

TEST(NamedMutexTest, OnlyTheOwningThreadCanRelease) {
  const std::string name = UniqueName("vantrel-test-owner-");
  auto mutex = Open(name);
  auto other_object = Open(name);
  EXPECT_FALSE(mutex->Release()) << "never taken";
  ASSERT_EQ(mutex->Wait(kInfiniteWait), WaitResult::kAcquired);
  bool released_elsewhere = true;
  std::thread([&] { released_elsewhere = other_object->Release(); }).join();
  EXPECT_FALSE(released_elsewhere);
  EXPECT_EQ(WaitOnOtherThread(*other_object, 0), WaitResult::kTimeout);
  // Ownership belongs to the thread, not to the object it used.
  EXPECT_TRUE(other_object->Release());
}

TEST(NamedMutexTest, UnnamedMutexesAreIndependentOfEachOther) {
  auto first = Open("");
  auto second = Open("");
  ASSERT_EQ(first->Wait(0), WaitResult::kAcquired);
  EXPECT_EQ(WaitOnOtherThread(*second, 0), WaitResult::kAcquired);
  EXPECT_EQ(WaitOnOtherThread(*first, 0), WaitResult::kTimeout);
  EXPECT_TRUE(first->Release());
}

}  // namespace
}  // namespace vantrel::platform
