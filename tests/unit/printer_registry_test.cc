#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "fakes/fake_settings_store.h"
#include "platform/clock.h"
#include "platform/environment.h"
#include "platform/win32_errors.h"
#include "support/registry.h"

namespace vantrel {
namespace {

using platform::kErrorAccessDenied;
using platform::kErrorBadPathname;
using platform::kErrorFileNotFound;
using platform::kErrorInvalidParameter;
using platform::kErrorNoMoreItems;
using platform::kErrorSuccess;
using testing::FakeSettingsStore;
using Operation = FakeSettingsStore::Operation;

// Passes everything to another store, noting the access asked for and how
// many keys are open at once.
class RecordingStore : public platform::SettingsStore {
 public:
  explicit RecordingStore(platform::SettingsStore& inner) : inner_(inner) {}

  long OpenKey(platform::RegistryRoot root, std::string_view path, uint32_t access,
               std::unique_ptr<platform::SettingsKey>* key) override {
    return Wrap(inner_.OpenKey(root, path, access, key), access, key);
  }
  long CreateKey(platform::RegistryRoot root, std::string_view path, uint32_t access,
                 std::unique_ptr<platform::SettingsKey>* key) override {
    return Wrap(inner_.CreateKey(root, path, access, key), access, key);
  }

  std::vector<uint32_t> TakeAccesses() {
    std::lock_guard lock(mutex_);
    return std::exchange(accesses_, {});
  }
  int open_keys() const { return open_keys_.load(); }
  int most_open_keys() const { return most_open_keys_.load(); }

 private:
  class Key : public platform::SettingsKey {
   public:
    Key(std::unique_ptr<platform::SettingsKey> inner, RecordingStore& store)
        : inner_(std::move(inner)), store_(store) {}
    ~Key() override { --store_.open_keys_; }
    long QueryValue(std::string_view n, platform::RegistryValue* v) override {
      return inner_->QueryValue(n, v);
    }
    long SetValue(std::string_view n, const platform::RegistryValue& v) override {
      return inner_->SetValue(n, v);
    }
    long DeleteValue(std::string_view n) override { return inner_->DeleteValue(n); }
    long DeleteSubKey(std::string_view p) override { return inner_->DeleteSubKey(p); }
    long EnumSubKey(uint32_t i, std::string* n) override { return inner_->EnumSubKey(i, n); }
    long EnumValue(uint32_t i, std::string* n, platform::RegistryValue* v) override {
      return inner_->EnumValue(i, n, v);
    }
    long QueryInfo(platform::KeyInfo* info) override { return inner_->QueryInfo(info); }

   private:
    std::unique_ptr<platform::SettingsKey> inner_;
    RecordingStore& store_;
  };

  long Wrap(long error, uint32_t access, std::unique_ptr<platform::SettingsKey>* key) {
    {
      std::lock_guard lock(mutex_);
      accesses_.push_back(access);
    }
    if (error != kErrorSuccess) return error;
    const int now_open = ++open_keys_;
    for (int most = most_open_keys_.load(); now_open > most;)
      most_open_keys_.compare_exchange_weak(most, now_open);
    *key = std::make_unique<Key>(std::move(*key), *this);
    return error;
  }

  platform::SettingsStore& inner_;
  std::mutex mutex_;
  std::vector<uint32_t> accesses_;  // guarded by mutex_
  std::atomic<int> open_keys_{0};
  std::atomic<int> most_open_keys_{0};
};

int AllCalls(const FakeSettingsStore& store) {
  int calls = 0;
  for (int i = 0; i < FakeSettingsStore::kOperationCount; ++i)
    calls += store.Calls(static_cast<Operation>(i));
  return calls;
}

TEST(PrinterRegistryTest, OperationsOnSymbolicPaths) {
  FakeSettingsStore store;
  PrinterRegistry registry("P1", "", "", "", 0, &store);

  EXPECT_EQ(registry.WriteDword("SETTINGS:Darkness", 12), kErrorSuccess);
  EXPECT_EQ(registry.WriteString("settings:Label", "Shelf 4"), kErrorSuccess);
  EXPECT_EQ(registry.ReadDword("SETTINGS:darkness"), 12u);
  EXPECT_EQ(registry.ReadString("SETTINGS:Label"), "Shelf 4");
  // Typed reads refuse a value of another type.
  EXPECT_EQ(registry.ReadString("SETTINGS:Darkness"), std::nullopt);
  EXPECT_EQ(registry.ReadDword("SETTINGS:Label"), std::nullopt);

  platform::RegistryValue value;
  EXPECT_EQ(registry.ReadValue("SETTINGS:Missing", &value), kErrorFileNotFound);
  EXPECT_EQ(registry.ReadValue("PRESETS:Missing", &value), kErrorFileNotFound);
  EXPECT_EQ(registry.ReadValue("SETTINGS:Label", nullptr), kErrorInvalidParameter);

  EXPECT_TRUE(registry.KeyExists("SETTINGS:"));
  EXPECT_FALSE(registry.KeyExists("PRESETS:"));

  platform::KeyInfo info;
  ASSERT_EQ(registry.QueryKeyInfo("SETTINGS:", &info), kErrorSuccess);
  EXPECT_EQ(info.value_count, 2u);
  EXPECT_EQ(info.subkey_count, 0u);

  EXPECT_EQ(registry.DeleteValue("SETTINGS:Label"), kErrorSuccess);
  EXPECT_EQ(registry.DeleteValue("SETTINGS:Label"), kErrorFileNotFound);
  EXPECT_EQ(registry.ReadString("SETTINGS:Label"), std::nullopt);
}

TEST(PrinterRegistryTest, EnumeratesAndDeletesKeys) {
  FakeSettingsStore store;
  PrinterRegistry registry("P1", "", "", "", 0, &store);
  ASSERT_EQ(registry.WriteDword("SETTINGS:A", 1), kErrorSuccess);
  ASSERT_EQ(registry.WriteDword("CACHE:B", 2), kErrorSuccess);

  std::vector<std::string> names;
  std::string name;
  for (uint32_t i = 0; registry.EnumerateKey("DATA:", i, &name) == kErrorSuccess; ++i)
    names.push_back(name);
  EXPECT_EQ(names, (std::vector<std::string>{"Cache", "Settings"}));
  EXPECT_EQ(registry.EnumerateKey("DATA:", 2, &name), kErrorNoMoreItems);

  EXPECT_EQ(registry.DeleteKey("DATA:"), kErrorAccessDenied) << "a key with subkeys stays";
  EXPECT_EQ(registry.DeleteKey("CACHE:"), kErrorSuccess);
  EXPECT_FALSE(registry.KeyExists("CACHE:"));
  EXPECT_TRUE(registry.KeyExists("SETTINGS:"));
}

TEST(PrinterRegistryTest, UnusablePathLeavesStoreAlone) {
  FakeSettingsStore store;
  PrinterRegistry registry("P1", "", "", "", 0, &store);
  platform::RegistryValue value;
  platform::KeyInfo info;
  std::string name;
  const char* bad = "9:SOFTWARE/Value";
  EXPECT_EQ(registry.ReadValue(bad, &value), kErrorBadPathname);
  EXPECT_EQ(registry.WriteValue(bad, platform::MakeDwordValue(1)), kErrorBadPathname);
  EXPECT_EQ(registry.DeleteValue(bad), kErrorBadPathname);
  EXPECT_EQ(registry.DeleteKey(bad), kErrorBadPathname);
  EXPECT_EQ(registry.EnumerateKey(bad, 0, &name), kErrorBadPathname);
  EXPECT_EQ(registry.QueryKeyInfo(bad, &info), kErrorBadPathname);
  EXPECT_FALSE(registry.KeyExists(bad));
  EXPECT_EQ(registry.WriteDword("NOSUCH:Value", 1), kErrorBadPathname);
  EXPECT_EQ(AllCalls(store), 0);
}

TEST(PrinterRegistryTest, ReadOnlyStoreAnswersReadsAndRefusesWrites) {
  FakeSettingsStore fake;
  RecordingStore store(fake);
  constexpr uint32_t kView = platform::kKeyWow64_64Key;
  ORegistry registry(kView, &store);
  ASSERT_EQ(registry.WriteDword("LOCAL:Count", 3), kErrorSuccess);
  EXPECT_EQ(store.TakeAccesses(), std::vector<uint32_t>{platform::kKeyReadWrite | kView});

  fake.SetReadOnly(true);
  EXPECT_EQ(registry.ReadDword("LOCAL:Count"), 3u);
  EXPECT_EQ(store.TakeAccesses(),
            (std::vector<uint32_t>{platform::kKeyReadWrite | kView, platform::kKeyRead | kView}));
  EXPECT_TRUE(registry.KeyExists("LOCAL:"));
  EXPECT_EQ(registry.WriteDword("LOCAL:Count", 4), kErrorAccessDenied);
  EXPECT_EQ(registry.WriteDword("LOCAL:New/Count", 4), kErrorAccessDenied);
  EXPECT_EQ(registry.DeleteValue("LOCAL:Count"), kErrorAccessDenied);
  EXPECT_EQ(registry.ReadDword("LOCAL:Count"), 3u);
  EXPECT_EQ(store.open_keys(), 0) << "every key is closed before an operation returns";
}

TEST(PrinterRegistryTest, KeysAreClosedOnEveryPath) {
  FakeSettingsStore fake;
  RecordingStore store(fake);
  PrinterRegistry registry("P1", "", "", "", 0, &store);
  platform::RegistryValue value;
  std::string name;
  registry.WriteDword("SETTINGS:A", 1);
  registry.ReadValue("SETTINGS:A", &value);
  registry.ReadValue("SETTINGS:Missing", &value);
  registry.EnumerateKey("SETTINGS:", 5, &name);
  fake.InjectFailure(Operation::kSetValue, platform::kErrorCantWrite, 1);
  EXPECT_EQ(registry.WriteDword("SETTINGS:A", 2), platform::kErrorCantWrite);
  registry.DeleteKey("DATA:");
  EXPECT_EQ(store.open_keys(), 0);
  EXPECT_EQ(store.most_open_keys(), 1);
}

TEST(PrinterRegistryTest, OperationsOfAllPrinterRegistriesAreSerialised) {
  FakeSettingsStore fake;
  RecordingStore store(fake);
  constexpr int kRounds = 1000;
  // Separate objects on each thread: the mutex's name is what they share.
  auto increment = [&store](bool hold_mutex_around_update) {
    PrinterRegistry registry("P1", "", "", "", 0, &store);
    OMutex update_lock(PrinterRegistry::kMutexName);
    auto update = [&registry] {
      const uint32_t count = registry.ReadDword("SETTINGS:Count").value_or(0);
      registry.WriteDword("SETTINGS:Count", count + 1);
    };
    for (int i = 0; i < kRounds; ++i) {
      // A caller making one update of two operations holds the same mutex;
      // the operations then take it again on the same thread.
      if (hold_mutex_around_update) {
        OLock hold(update_lock);
        update();
      } else {
        update();
      }
    }
  };
  for (bool hold : {false, true}) {
    PrinterRegistry("P1", "", "", "", 0, &fake).DeleteValue("SETTINGS:Count");
    std::thread first(increment, hold), second(increment, hold);
    first.join();
    second.join();
    EXPECT_EQ(store.most_open_keys(), 1) << "two operations overlapped";
    if (hold) {
      EXPECT_EQ(PrinterRegistry("P1", "", "", "", 0, &fake).ReadDword("SETTINGS:Count"),
                static_cast<uint32_t>(2 * kRounds));
    }
  }
}

TEST(PrinterRegistryTest, WaitsForTheNamedMutex) {
  FakeSettingsStore store;
  OMutex held(PrinterRegistry::kMutexName);
  held.Lock();
  std::atomic<bool> done{false};
  std::thread writer([&] {
    PrinterRegistry("P1", "", "", "", 0, &store).WriteDword("SETTINGS:Count", 1);
    done = true;
  });
  platform::SleepMilliseconds(150);
  EXPECT_FALSE(done.load());
  EXPECT_EQ(store.Calls(Operation::kCreateKey), 0);
  held.Unlock();
  writer.join();
  EXPECT_EQ(PrinterRegistry("P1", "", "", "", 0, &store).ReadDword("SETTINGS:Count"), 1u);
}

}  // namespace
}  // namespace vantrel
