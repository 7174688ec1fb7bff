#include "support/othread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "fakes/thread_starters.h"
#include "platform/platform_error.h"
#include "platform/clock.h"
#include "support/exceptions.h"

namespace vantrel {
namespace {

// Runs `action`, then, unless it ignores Stop, waits to be asked to stop.
class Work : public IThreadable {
 public:
  Work(
      bool ignores_stop, std::function<void()> action = [] {},
      std::shared_ptr<void> owner = nullptr)
      : IThreadable(std::move(owner)), ignores_stop_(ignores_stop), action_(std::move(action)) {}

  void ThreadStart() override {
    thread_id = platform::CurrentThreadId();
    action_();
    while (!let_go && !(stop_requests > 0 && !ignores_stop_)) platform::SleepMilliseconds(1);
  }
  void Stop() override { ++stop_requests; }

  std::atomic<uint64_t> thread_id{0};
  std::atomic<int> stop_requests{0};
  std::atomic<bool> let_go{false};

 private:
  const bool ignores_stop_;
  const std::function<void()> action_;
};

// Waits until the condition holds or 10 s pass.
bool Eventually(const std::function<bool()>& condition) {
  const uint64_t start = platform::TickCount64();
  while (!condition()) {
    if (platform::TickCount64() - start > 10000) return false;
    platform::SleepMilliseconds(1);
  }
  return true;
}

TEST(OThreadTest, StopGivesUpOnABodyThatIgnoresItAfterAboutATenthOfASecond) {
  auto body = std::make_shared<Work>(/*ignores_stop=*/true);
  OThread thread(body);
  thread.Start();
  for (const uint32_t timeout_ms : {0u, 20u, 60000u}) {
    SCOPED_TRACE(timeout_ms);
    const int requests_before = body->stop_requests;
    const uint64_t start = platform::TickCount64();
    EXPECT_FALSE(thread.Stop(timeout_ms));
    const uint64_t elapsed = platform::TickCount64() - start;
    EXPECT_GE(elapsed, 90u);
    EXPECT_LT(elapsed, 1000u);
    EXPECT_GT(body->stop_requests - requests_before, 1) << "asked again while waiting";
  }
  body->let_go = true;
  EXPECT_TRUE(Eventually([&] { return thread.Stop(); }));
}

TEST(OThreadTest, StopIsTrueAtOnceForABodyThatReactsOrAThreadNeverStarted) {
  auto body = std::make_shared<Work>(/*ignores_stop=*/false);
  OThread thread(body);
  EXPECT_TRUE(thread.Stop(1000));
  EXPECT_EQ(body->stop_requests, 0) << "nothing to stop";
  EXPECT_EQ(thread.thread_id(), 0u);

  thread.Start();
  ASSERT_TRUE(Eventually([&] { return body->thread_id != 0; }));
  EXPECT_EQ(thread.thread_id(), body->thread_id);
  EXPECT_NE(thread.thread_id(), platform::CurrentThreadId());
  EXPECT_TRUE(thread.Stop());
}

TEST(OThreadTest, RefusedStartThrowsThePlatformErrorWithItsText) {
  OThread thread(std::make_shared<Work>(false), platform::kThreadPriorityNormal,
                 fakes::FailingThreadStarter(8));
  try {
    thread.Start();
    FAIL() << "no exception";
  } catch (const OException& e) {
    EXPECT_EQ(e.text(), "_beginthreadex error in OThread::Start");
    EXPECT_EQ(e.error(), 8);
    EXPECT_EQ(e.message(), platform::PlatformErrorMessage(8));
  }
  EXPECT_TRUE(thread.Stop());
}

TEST(OThreadTest, BodyEndingNormallyOrByExceptionReleasesItsOwnerAndEndsTheThread) {
  const std::vector<std::pair<const char*, std::function<void()>>> endings = {
      {"returns", [] {}},
      {"throws OStdException", [] { throw OStdException("body failed", VANTREL_ORIGIN); }},
      {"throws OException", [] { throw OException("body failed", 5); }},
      {"throws something else", [] { throw std::runtime_error("body failed"); }},
  };
  for (const auto& [what, ending] : endings) {
    SCOPED_TRACE(what);
    auto owner = std::make_shared<int>(7);
    const std::weak_ptr<int> watched = owner;
    auto body = std::make_shared<Work>(false, ending, std::move(owner));
    body->let_go = true;
    OThread thread(body);
    thread.Start();
    EXPECT_TRUE(Eventually([&] { return thread.Stop(); }));
    EXPECT_TRUE(watched.expired());
  }
}

TEST(OThreadTest, RunningBodyOutlivesItsOThread) {
  auto body = std::make_shared<Work>(/*ignores_stop=*/true);
  const std::weak_ptr<Work> watched = body;
  OThread(body).Start();
  Work* running = body.get();
  body.reset();
  EXPECT_FALSE(watched.expired()) << "the thread keeps its body";
  running->let_go = true;
  EXPECT_TRUE(Eventually([&] { return watched.expired(); }));
}

TEST(OThreadTest, StopFromTheThreadItselfDoesNotWaitForItself) {
  std::shared_ptr<OThread> thread;
  std::atomic<int64_t> elapsed{-1};
  auto body = std::make_shared<Work>(true, [&] {
    while (thread->thread_id() == 0) platform::SleepMilliseconds(1);  // stored after the start
    const uint64_t start = platform::TickCount64();
    EXPECT_FALSE(thread->Stop());
    elapsed = static_cast<int64_t>(platform::TickCount64() - start);
  });
  body->let_go = true;
  thread = std::make_shared<OThread>(body);
  thread->Start();
  EXPECT_TRUE(Eventually([&] { return thread->Stop(); }));
  EXPECT_GE(elapsed, 0);
  EXPECT_LT(elapsed, 90);
}

TEST(OThreadTest, StartStopAndIdMayBeCalledFromManyThreads) {
  OThread thread(std::make_shared<Work>(false));
  std::atomic<bool> done{false};
  std::vector<std::thread> callers;
  for (int i = 0; i < 3; ++i) {
    callers.emplace_back([&] {
      while (!done) thread.Stop(thread.thread_id() != 0 ? 1 : 0);
    });
  }
  thread.Start();
  EXPECT_TRUE(Eventually([&] { return thread.Stop(); }));
  done = true;
  for (auto& caller : callers) caller.join();
}

}  // namespace
}  // namespace vantrel
