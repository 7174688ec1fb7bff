// Linux: named mutexes are lock files that every user can share.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "platform/named_mutex.h"
#include "unit/scratch.h"

namespace vantrel::platform {
namespace {

namespace fs = std::filesystem;

fs::path RuntimeFolder() {
  const char* configured = std::getenv("VANTREL_RUNTIME_DIR");
  return configured != nullptr && *configured != '\0' ? configured : "/tmp/vantrel-locks";
}

std::unique_ptr<NamedMutex> Open(const std::string& name) {
  std::unique_ptr<NamedMutex> mutex;
  EXPECT_EQ(CreateNamedMutex(name, &mutex), 0) << name;
  return mutex;
}

TEST(NamedMutexPosixTest, AnyNameBecomesOneFileEveryUserCanLockUntilTheLastUserCloses) {
  const std::string unique = testing::UniqueName("x");
  const std::string name = "Global\\Marlock:Printer Registry/../" + unique;
  auto mutex = Open(name);
  auto second = Open(name);
  const fs::path file =
      RuntimeFolder() / ("Global%5CMarlock%3APrinter%20Registry%2F..%2F" + unique + ".lock");
  ASSERT_TRUE(fs::is_regular_file(file)) << file;
  const fs::perms everyone = fs::perms::owner_read | fs::perms::owner_write |
                             fs::perms::group_read | fs::perms::group_write |
                             fs::perms::others_read | fs::perms::others_write;
  EXPECT_EQ(fs::status(file).permissions() & fs::perms::all, everyone);
  EXPECT_NE(fs::status(RuntimeFolder()).permissions() & fs::perms::others_write, fs::perms::none);
  mutex.reset();
  EXPECT_TRUE(fs::exists(file)) << "still open";
  second.reset();
  EXPECT_FALSE(fs::exists(file));
}

TEST(NamedMutexPosixTest, LongNamesStayDistinct) {
  const std::string stem(1000, 'n');
  auto first = Open(stem + "1");
  auto second = Open(stem + "2");
  ASSERT_EQ(first->Wait(0), WaitResult::kAcquired);
  WaitResult other = WaitResult::kFailed;
  std::thread([&] {
    other = second->Wait(0);
    if (other == WaitResult::kAcquired) second->Release();
  }).join();
  EXPECT_EQ(other, WaitResult::kAcquired);
  EXPECT_TRUE(first->Release());
}

TEST(NamedMutexPosixTest, LeftoverHolderFromEarlierRunIsForgottenByTheFirstUser) {
  const std::string name = testing::UniqueName("vantrel-test-stale-");
  const fs::path file = RuntimeFolder() / (name + ".lock");
  fs::create_directories(RuntimeFolder());
  std::ofstream(file) << "999999\n";
  auto mutex = Open(name);
  EXPECT_EQ(mutex->Wait(0), WaitResult::kAcquired);
  EXPECT_TRUE(mutex->Release());
}

}  // namespace
}  // namespace vantrel::platform
