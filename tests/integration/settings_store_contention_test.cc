// Several processes with several threads each writing into one store at once:
// every value must arrive and no caller may see the store busy. On Linux the
// processes share the SQLite files of a scratch folder, on Windows the
// registry under a scratch key.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <set>
#include <thread>

#include "platform/registry_value.h"
#include "platform/settings_store.h"
#include "unit/settings_store_test_support.h"
#include "integration/worker.h"

namespace vantrel::testing {
namespace {

using platform::RegistryRoot;

constexpr RegistryRoot kRoot = RegistryRoot::kCurrentUser;
constexpr int kProcesses = 2;
constexpr int kThreadsPerProcess = 4;
constexpr int kValuesPerThread = 500;

std::string ValueName(const std::string& process, int thread, int index) {
  return process + "-t" + std::to_string(thread) + "-v" + std::to_string(index);
}

// args: store folder, key path, process tag. Exits 0 when every write
// succeeded; otherwise prints the first failure and exits 1.
VANTREL_TEST_WORKER(store_contention_writer) {
  const std::string& key_path = args.at(1);
  const std::string& tag = args.at(2);
  auto store = platform::OpenSettingsStoreAt(args.at(0));
  std::atomic<long> first_error{0};
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreadsPerProcess; ++thread) {
    threads.emplace_back([&, thread] {
      for (int index = 0; index < kValuesPerThread; ++index) {
        // Each write opens the key anew, as callers of the store do.
        std::unique_ptr<platform::SettingsKey> key;
        long error = store->CreateKey(kRoot, key_path, platform::kKeyReadWrite, &key);
        if (error == 0) {
          error = key->SetValue(ValueName(tag, thread, index), platform::MakeDwordValue(index));
        }
        long none = 0;
        if (error != 0 && first_error.compare_exchange_strong(none, error)) {
          std::fprintf(stderr, "worker %s thread %d value %d: error %ld\n", tag.c_str(), thread,
                       index, error);
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  return first_error == 0 ? 0 : 1;
}

TEST(SettingsStoreContentionTest, ProcessesAndThreadsWritingAtOnceLoseNothing) {
  StoreScratchFolder folder(StoreScratchFolder::Medium::kMemoryWhenAvailable);
  const std::string key_path = "Software\\VantrelContract\\" + RandomStoreSuffix();
  std::vector<std::unique_ptr<platform::ChildProcess>> workers;
  for (int process = 0; process < kProcesses; ++process) {
    workers.push_back(StartWorker("store_contention_writer",
                                  {folder.path(), key_path, "p" + std::to_string(process)}));
    ASSERT_TRUE(workers.back());
  }
  for (auto& worker : workers) EXPECT_EQ(WaitForWorker(*worker, 600000), 0);

  auto store = platform::OpenSettingsStoreAt(folder.path());
  std::unique_ptr<platform::SettingsKey> key;
  ASSERT_EQ(store->OpenKey(kRoot, key_path, platform::kKeyRead, &key), 0);
  const std::vector<std::string> names = ValueNames(*key);
  const std::set<std::string> found(names.begin(), names.end());
  std::set<std::string> expected;
  for (int process = 0; process < kProcesses; ++process) {
    for (int thread = 0; thread < kThreadsPerProcess; ++thread) {
      for (int index = 0; index < kValuesPerThread; ++index) {
        expected.insert(ValueName("p" + std::to_string(process), thread, index));
      }
    }
  }
  EXPECT_EQ(found.size(), names.size()) << "a value was enumerated twice";
  EXPECT_EQ(found, expected);
  DeleteKeyTree(*store, kRoot, key_path);
}

}  // namespace
}  // namespace vantrel::testing
