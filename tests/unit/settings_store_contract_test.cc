// One suite for every settings store: the in-memory fake and the store of
// this platform (SQLite files in a scratch folder on Linux, the registry under
// a scratch key on Windows). Each test works below its own random key.
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "fakes/fake_settings_store.h"
#include "platform/registry_value.h"
#include "unit/settings_store_test_support.h"

namespace vantrel::testing {
namespace {

using platform::KeyInfo;
using platform::kKeyRead;
using platform::kKeyReadWrite;
using platform::RegistryRoot;
using platform::RegistryValue;
using platform::SettingsKey;
using platform::SettingsStore;

constexpr RegistryRoot kRoot = RegistryRoot::kCurrentUser;
constexpr char kScratchParent[] = "Software\\VantrelContract";

struct FakeBackend {
  std::unique_ptr<SettingsStore> store = std::make_unique<FakeSettingsStore>();
};

struct PlatformBackend {
  // The registry ignores the folder; each test keeps to its own scratch key.
  StoreScratchFolder folder{StoreScratchFolder::Medium::kMemoryWhenAvailable};
  std::unique_ptr<SettingsStore> store = platform::OpenSettingsStoreAt(folder.path());
};

template <typename Backend>
class SettingsStoreContractTest : public ::testing::Test {
 protected:
  void TearDown() override {
    DeleteKeyTree(store(), kRoot, base_);
    DeleteKeyTree(store(), kRoot, kScratchParent);  // refused while other runs still use it
  }

  SettingsStore& store() { return *backend_.store; }
  std::string PathOf(std::string_view relative) const {
    return base_ + "\\" + std::string(relative);
  }

  std::unique_ptr<SettingsKey> Create(std::string_view relative, uint32_t access = kKeyReadWrite) {
    std::unique_ptr<SettingsKey> key;
    EXPECT_EQ(store().CreateKey(kRoot, PathOf(relative), access, &key), 0) << relative;
    return key;
  }

  long Open(std::string_view relative, uint32_t access, std::unique_ptr<SettingsKey>* key) {
    return store().OpenKey(kRoot, PathOf(relative), access, key);
  }

  Backend backend_;
  const std::string base_ = std::string(kScratchParent) + "\\" + RandomStoreSuffix();
};

class BackendNames {
 public:
  template <typename T>
  static std::string GetName(int) {
    return std::is_same_v<T, FakeBackend> ? "Fake" : "Platform";
  }
};

using Backends = ::testing::Types<FakeBackend, PlatformBackend>;
TYPED_TEST_SUITE(SettingsStoreContractTest, Backends, BackendNames);

TYPED_TEST(SettingsStoreContractTest, ValuesKeepTheirTypeAndExactBytes) {
  auto key = this->Create("Values");
  ASSERT_TRUE(key);
  const std::vector<std::pair<std::string, RegistryValue>> written = {
      {"String", platform::MakeStringValue("Etikettendrucker \xC3\xA4\xE2\x82\xAC")},
      {"Expandable", platform::MakeStringValue("%TEMP%\\labels", platform::kRegExpandSz)},
      {"EmptyString", platform::MakeStringValue("")},
      {"EmptyBinary", platform::MakeBinaryValue({})},
      {"FourBytes", platform::MakeBinaryValue({1, 2, 3, 4})},
      {"Dword", platform::MakeDwordValue(0x01020304)},
      {"Qword", platform::MakeQwordValue(0x0102030405060708ULL)},
      {"List", platform::MakeMultiStringValue({"first", "second"})},
      {"NoType", RegistryValue{platform::kRegNone, {0, 0xFF}}},
      {"Zeros", platform::MakeBinaryValue(std::vector<uint8_t>(300, 0))},
      {"", platform::MakeStringValue("the default value")},
      {"Back\\slash", platform::MakeDwordValue(7)},
  };
  for (const auto& [name, value] : written) ASSERT_EQ(key->SetValue(name, value), 0) << name;

  for (const auto& [name, value] : written) {
    RegistryValue read;
    ASSERT_EQ(key->QueryValue(name, &read), 0) << name;
    EXPECT_EQ(read.type, value.type) << name;
    EXPECT_EQ(read.data, value.data) << name;
  }
  RegistryValue four_bytes;
  ASSERT_EQ(key->QueryValue("FourBytes", &four_bytes), 0);
  EXPECT_FALSE(platform::ReadDword(four_bytes)) << "binary must not turn into a number";

  // A value written again takes the new type and size.
  ASSERT_EQ(key->SetValue("Dword", platform::MakeStringValue("now text")), 0);
  RegistryValue replaced;
  ASSERT_EQ(key->QueryValue("Dword", &replaced), 0);
  EXPECT_EQ(platform::ReadString(replaced), "now text");
}

TYPED_TEST(SettingsStoreContractTest, MissingKeysAndValuesAreReportedAsNotFound) {
  auto key = this->Create("Present");
  ASSERT_TRUE(key);
  RegistryValue value;
  EXPECT_EQ(key->QueryValue("absent", &value), platform::kErrorFileNotFound);
  EXPECT_EQ(key->DeleteValue("absent"), platform::kErrorFileNotFound);
  EXPECT_EQ(key->DeleteSubKey("absent"), platform::kErrorFileNotFound);

  std::unique_ptr<SettingsKey> missing;
  EXPECT_EQ(this->Open("Absent", kKeyRead, &missing), platform::kErrorFileNotFound);
  EXPECT_EQ(this->Open("Absent\\Child", kKeyRead, &missing), platform::kErrorFileNotFound);
  EXPECT_EQ(this->Open("Present\\Absent", kKeyRead, &missing), platform::kErrorFileNotFound);
  EXPECT_FALSE(missing);
}

TYPED_TEST(SettingsStoreContractTest, CreateKeyMakesMissingParentsAndKeepsExistingKeys) {
  auto deep = this->Create("A\\B\\C");
  ASSERT_TRUE(deep);
  ASSERT_EQ(deep->SetValue("Kept", platform::MakeDwordValue(1)), 0);

  std::unique_ptr<SettingsKey> opened;
  EXPECT_EQ(this->Open("A", kKeyRead, &opened), 0);
  EXPECT_EQ(this->Open("A\\B", kKeyRead, &opened), 0);
  ASSERT_EQ(this->Open("A\\B\\C", kKeyRead, &opened), 0);
  RegistryValue value;
  EXPECT_EQ(opened->QueryValue("Kept", &value), 0);

  auto again = this->Create("A\\B\\C");
  ASSERT_TRUE(again);
  EXPECT_EQ(again->QueryValue("Kept", &value), 0) << "creating an existing key must not empty it";
  EXPECT_EQ(platform::ReadDword(value), 1u);
}

TYPED_TEST(SettingsStoreContractTest, PathsMayDoubleOrEndWithSeparatorsButNotStartWithOne) {
  auto key = this->Create("Sep\\\\Inner\\");
  ASSERT_TRUE(key);
  std::unique_ptr<SettingsKey> parent;
  ASSERT_EQ(this->Open("Sep", kKeyRead, &parent), 0);
  EXPECT_EQ(SubKeyNames(*parent), std::vector<std::string>{"Inner"});
  std::unique_ptr<SettingsKey> opened;
  EXPECT_EQ(this->Open("Sep\\Inner", kKeyRead, &opened), 0);
  EXPECT_EQ(this->store().OpenKey(kRoot, "\\" + this->PathOf("Sep"), kKeyRead, &opened),
            platform::kErrorBadPathname);
  EXPECT_EQ(this->store().CreateKey(kRoot, "\\" + this->PathOf("New"), kKeyReadWrite, &opened),
            platform::kErrorBadPathname);
  EXPECT_EQ(parent->DeleteSubKey(""), platform::kErrorInvalidParameter);
}

TYPED_TEST(SettingsStoreContractTest, DeleteValueRemovesOnlyThatValue) {
  auto key = this->Create("Delete");
  ASSERT_TRUE(key);
  ASSERT_EQ(key->SetValue("Gone", platform::MakeDwordValue(1)), 0);
  ASSERT_EQ(key->SetValue("Stays", platform::MakeDwordValue(2)), 0);
  EXPECT_EQ(key->DeleteValue("GONE"), 0);
  RegistryValue value;
  EXPECT_EQ(key->QueryValue("Gone", &value), platform::kErrorFileNotFound);
  EXPECT_EQ(key->QueryValue("Stays", &value), 0);
  EXPECT_EQ(key->DeleteValue("Gone"), platform::kErrorFileNotFound);
}

TYPED_TEST(SettingsStoreContractTest, DeleteKeyIsRefusedWhileItHasSubkeysAndTakesItsValues) {
  auto parent = this->Create("Parent");
  auto child = this->Create("Parent\\Child\\Grandchild");
  ASSERT_TRUE(parent && child);
  ASSERT_EQ(child->SetValue("Value", platform::MakeDwordValue(5)), 0);

  EXPECT_EQ(parent->DeleteSubKey("Child"), platform::kErrorAccessDenied);
  EXPECT_EQ(parent->DeleteSubKey("Child\\Grandchild"), 0);
  EXPECT_EQ(parent->DeleteSubKey("child"), 0);
  std::unique_ptr<SettingsKey> opened;
  EXPECT_EQ(this->Open("Parent\\Child", kKeyRead, &opened), platform::kErrorFileNotFound);

  // A handle left open on a deleted key fails instead of writing into nowhere,
  // and a new key of the same name starts empty.
  RegistryValue value;
  EXPECT_EQ(child->QueryValue("Value", &value), platform::kErrorKeyDeleted);
  EXPECT_EQ(child->SetValue("Value", platform::MakeDwordValue(6)), platform::kErrorKeyDeleted);
  auto reborn = this->Create("Parent\\Child\\Grandchild");
  ASSERT_TRUE(reborn);
  EXPECT_EQ(reborn->QueryValue("Value", &value), platform::kErrorFileNotFound);
  EXPECT_EQ(child->QueryValue("Value", &value), platform::kErrorKeyDeleted);
}

TYPED_TEST(SettingsStoreContractTest, SubkeysAndValuesEnumerateByIndexInAStableOrder) {
  for (const char* name : {"Gamma", "alpha", "Beta", "Beta\\Nested"})
    this->Create(std::string("List\\") + name);
  auto key = this->Create("List");
  ASSERT_TRUE(key);
  for (const char* name : {"one", "Two", "three"}) {
    ASSERT_EQ(key->SetValue(name, platform::MakeStringValue(name)), 0);
  }

  const std::vector<std::string> subkeys = SubKeyNames(*key);
  std::vector<std::string> sorted = subkeys;
  std::sort(sorted.begin(), sorted.end());
  EXPECT_EQ(sorted, (std::vector<std::string>{"Beta", "Gamma", "alpha"}));
  EXPECT_EQ(SubKeyNames(*key), subkeys);

  const std::vector<std::string> values = ValueNames(*key);
  sorted = values;
  std::sort(sorted.begin(), sorted.end());
  EXPECT_EQ(sorted, (std::vector<std::string>{"Two", "one", "three"}));
  EXPECT_EQ(ValueNames(*key), values);

  // Each enumerated value comes with its own data.
  std::string name;
  RegistryValue value;
  for (uint32_t index = 0; key->EnumValue(index, &name, &value) == 0; ++index) {
    EXPECT_EQ(platform::ReadString(value), name);
  }
  EXPECT_EQ(key->EnumSubKey(1000, &name), platform::kErrorNoMoreItems);
}

TYPED_TEST(SettingsStoreContractTest, QueryInfoCountsAndMeasuresInUtf16Units) {
  auto key = this->Create("Info");
  ASSERT_TRUE(key);
  KeyInfo info;
  ASSERT_EQ(key->QueryInfo(&info), 0);
  EXPECT_EQ(info.subkey_count, 0u);
  EXPECT_EQ(info.value_count, 0u);

  // Three units but nine bytes of UTF-8: a length counted in bytes shows.
  this->Create("Info\\\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E");
  this->Create("Info\\ab");
  this->Create("Info\\ab\\NotCounted");
  ASSERT_EQ(key->SetValue("x", platform::MakeBinaryValue(std::vector<uint8_t>(100, 1))), 0);
  ASSERT_EQ(key->SetValue("\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC", platform::MakeDwordValue(1)), 0);
  ASSERT_EQ(key->SetValue("abc", platform::MakeBinaryValue({})), 0);

  ASSERT_EQ(key->QueryInfo(&info), 0);
  EXPECT_EQ(info.subkey_count, 2u);
  EXPECT_EQ(info.value_count, 3u);
  EXPECT_EQ(info.max_subkey_name_length, 3u);
  EXPECT_EQ(info.max_value_name_length, 4u);
  EXPECT_EQ(info.max_value_data_size, 100u);
}

TYPED_TEST(SettingsStoreContractTest, NamesIgnoreAsciiCaseAndKeepTheCaseFirstWritten) {
  auto key = this->Create("MixedCase\\Printer");
  ASSERT_TRUE(key);
  ASSERT_EQ(key->SetValue("DarkNess", platform::MakeDwordValue(1)), 0);
  ASSERT_EQ(key->SetValue("DARKNESS", platform::MakeDwordValue(2)), 0);

  std::unique_ptr<SettingsKey> opened;
  ASSERT_EQ(this->Open("MIXEDCASE\\printer", kKeyReadWrite, &opened), 0);
  RegistryValue value;
  ASSERT_EQ(opened->QueryValue("darkness", &value), 0);
  EXPECT_EQ(platform::ReadDword(value), 2u);
  EXPECT_EQ(ValueNames(*opened), std::vector<std::string>{"DarkNess"});

  this->Create("mixedcase\\PRINTER\\Sub");
  std::unique_ptr<SettingsKey> parent;
  ASSERT_EQ(this->Open("mixedcase", kKeyRead, &parent), 0);
  EXPECT_EQ(SubKeyNames(*parent), std::vector<std::string>{"Printer"});
}

TYPED_TEST(SettingsStoreContractTest, NonAsciiNamesRoundTrip) {
  // German, Japanese and a character outside the basic plane (a surrogate pair).
  const std::string key_name =
      "Etiketten-Gr\xC3\xB6\xC3\x9F"
      "e \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x96\xA8";
  const std::string value_name =
      "Stra\xC3\x9F"
      "e \xF0\x9F\x8F\xB7";
  auto key = this->Create("Unicode\\" + key_name);
  ASSERT_TRUE(key);
  ASSERT_EQ(key->SetValue(value_name, platform::MakeDwordValue(9)), 0);

  std::unique_ptr<SettingsKey> parent;
  ASSERT_EQ(this->Open("Unicode", kKeyRead, &parent), 0);
  EXPECT_EQ(SubKeyNames(*parent), std::vector<std::string>{key_name});
  std::unique_ptr<SettingsKey> opened;
  ASSERT_EQ(this->Open("Unicode\\" + key_name, kKeyRead, &opened), 0);
  EXPECT_EQ(ValueNames(*opened), std::vector<std::string>{value_name});
  RegistryValue value;
  EXPECT_EQ(opened->QueryValue(value_name, &value), 0);
}

TYPED_TEST(SettingsStoreContractTest, KeyOpenedForReadingRefusesWrites) {
  this->Create("ReadOnly");
  std::unique_ptr<SettingsKey> key;
  ASSERT_EQ(this->Open("ReadOnly", kKeyRead, &key), 0);
  EXPECT_EQ(key->SetValue("Value", platform::MakeDwordValue(1)), platform::kErrorAccessDenied);
  EXPECT_EQ(key->DeleteValue("Value"), platform::kErrorAccessDenied);
  KeyInfo info;
  EXPECT_EQ(key->QueryInfo(&info), 0);
}

TYPED_TEST(SettingsStoreContractTest, ThreadsWritingAtOnceLoseNothing) {
  constexpr int kThreads = 4;
  constexpr int kValuesPerThread = 50;
  auto key = this->Create("Threads");
  ASSERT_TRUE(key);
  std::vector<std::thread> threads;
  std::vector<int> failures(kThreads);
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      // Half the threads share the key handle, the others open their own.
      std::unique_ptr<SettingsKey> own;
      if (thread % 2 == 1)
        this->store().OpenKey(kRoot, this->PathOf("Threads"), kKeyReadWrite, &own);
      SettingsKey* target = own ? own.get() : key.get();
      for (int i = 0; i < kValuesPerThread; ++i) {
        const std::string name = "t" + std::to_string(thread) + "v" + std::to_string(i);
        if (target->SetValue(name, platform::MakeDwordValue(i)) != 0) ++failures[thread];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, std::vector<int>(kThreads, 0));
  KeyInfo info;
  ASSERT_EQ(key->QueryInfo(&info), 0);
  EXPECT_EQ(info.value_count, static_cast<uint32_t>(kThreads * kValuesPerThread));
}

}  // namespace
}  // namespace vantrel::testing
