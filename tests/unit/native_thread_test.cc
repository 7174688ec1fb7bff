#include "platform/platform_error.h"
#include "platform/native_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

#include "platform/clock.h"
#include "platform/win32_errors.h"

namespace vantrel::platform {
namespace {

bool Eventually(const std::function<bool()>& condition) {
  const uint64_t start = TickCount64();
  while (!condition()) {
    if (TickCount64() - start > 10000) return false;
    SleepMilliseconds(1);
  }
  return true;
}

TEST(NativeThreadTest, RunsTheBodyOnItsOwnThreadAndTellsWhenItEnds) {
  std::promise<void> let_go;
  std::shared_future<void> gate = let_go.get_future().share();
  std::atomic<uint64_t> seen_id{0};
  std::unique_ptr<NativeThread> thread;
  ASSERT_EQ(StartNativeThread(
                [&, gate] {
                  seen_id = CurrentThreadId();
                  gate.wait();
                },
                &thread),
            kErrorSuccess);
  ASSERT_NE(thread, nullptr);
  EXPECT_NE(thread->Id(), CurrentThreadId());
  EXPECT_TRUE(thread->IsRunning());
  let_go.set_value();
  EXPECT_TRUE(Eventually([&] { return !thread->IsRunning(); }));
  EXPECT_EQ(thread->Id(), seen_id) << "the id is known before the body runs";
}

TEST(NativeThreadTest, DroppingTheHandleLeavesTheThreadRunning) {
  auto let_go = std::make_shared<std::promise<void>>();
  std::shared_future<void> gate = let_go->get_future().share();
  auto finished = std::make_shared<std::atomic<bool>>(false);
  {
    std::unique_ptr<NativeThread> thread;
    ASSERT_EQ(StartNativeThread(
                  [gate, finished] {
                    gate.wait();
                    *finished = true;
                  },
                  &thread),
              kErrorSuccess);
  }  // does not wait for the body
  EXPECT_FALSE(*finished);
  let_go->set_value();
  EXPECT_TRUE(Eventually([&] { return finished->load(); }));
}

TEST(NativeThreadTest, LowerPrioritiesAreAcceptedAndUnknownOnesRefused) {
  std::promise<void> let_go;
  std::shared_future<void> gate = let_go.get_future().share();
  std::unique_ptr<NativeThread> thread;
  ASSERT_EQ(StartNativeThread([gate] { gate.wait(); }, &thread), kErrorSuccess);
  EXPECT_TRUE(thread->SetPriority(kThreadPriorityBelowNormal));
  EXPECT_TRUE(thread->SetPriority(kThreadPriorityIdle));
  EXPECT_FALSE(thread->SetPriority(7));
  let_go.set_value();
  EXPECT_TRUE(Eventually([&] { return !thread->IsRunning(); }));
}

TEST(PlatformErrorTest, KnownErrorsHaveTheirOwnText) {
  const std::string denied = PlatformErrorMessage(kErrorAccessDenied);
  const std::string missing = PlatformErrorMessage(kErrorFileNotFound);
  EXPECT_FALSE(denied.empty());
  EXPECT_FALSE(missing.empty());
  EXPECT_NE(denied, missing);
  EXPECT_EQ(denied.find("Error 5"), std::string::npos) << denied;
}

}  // namespace
}  // namespace vantrel::platform
