// The SQLite store's own behaviour on Linux: which file holds which keys,
// callers that may only read, damaged files, and the choice of its folder.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/registry_value.h"
#include "platform/settings_store.h"
#include "platform/sqlite/sqlite_store_posix.h"
#include "unit/settings_store_test_support.h"

namespace vantrel::testing {
namespace {

namespace fs = std::filesystem;
using platform::kKeyRead;
using platform::kKeyReadWrite;
using platform::RegistryRoot;
using platform::RegistryValue;
using platform::SettingsKey;
using platform::SettingsStore;

constexpr char kPrinterKey[] = "SOFTWARE\\Vantrel\\Printers\\Lab";

std::unique_ptr<SettingsKey> CreateOrFail(SettingsStore& store, RegistryRoot root,
                                          const std::string& path) {
  std::unique_ptr<SettingsKey> key;
  EXPECT_EQ(store.CreateKey(root, path, kKeyReadWrite, &key), 0) << path;
  return key;
}

// Writes the printer key with one value and one subkey, then lets go of the files.
void WriteSampleStore(const std::string& folder) {
  auto store = platform::OpenSettingsStoreAt(folder);
  auto key = CreateOrFail(*store, RegistryRoot::kLocalMachine, kPrinterKey);
  ASSERT_TRUE(key);
  ASSERT_EQ(key->SetValue("Darkness", platform::MakeDwordValue(5)), 0);
  ASSERT_TRUE(
      CreateOrFail(*store, RegistryRoot::kLocalMachine, std::string(kPrinterKey) + "\\Old"));
}

// True when this process may write a file whose mode forbids it (root): file
// modes then cannot make a store read-only for it.
bool ModesDoNotRestrictUs(const fs::path& read_only_file) {
  return std::ofstream(read_only_file, std::ios::app).is_open();
}

void WriteJunk(const fs::path& file, std::streamoff offset, size_t size) {
  std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
  stream.seekp(offset);
  for (size_t i = 0; i < size; ++i) stream.put(static_cast<char>(0xA5 ^ (i * 7)));
}

bool IsAnswerToDamage(long error) {
  return error == 0 || error == platform::kErrorBadDbFormat ||
         error == platform::kErrorFileNotFound || error == platform::kErrorNoMoreItems ||
         error == platform::kErrorKeyDeleted || error == platform::kErrorAccessDenied;
}

TEST(SqliteSettingsStoreTest, MachineAndUserKeysLiveInTheirOwnFilesAndPersist) {
  StoreScratchFolder folder;
  {
    auto store = platform::OpenSettingsStoreAt(folder.path());
    auto machine = CreateOrFail(*store, RegistryRoot::kLocalMachine, "Shared");
    auto user = CreateOrFail(*store, RegistryRoot::kCurrentUser, "Shared");
    ASSERT_TRUE(machine && user);
    ASSERT_EQ(machine->SetValue("Owner", platform::MakeStringValue("machine")), 0);
    ASSERT_EQ(user->SetValue("Owner", platform::MakeStringValue("user")), 0);
  }
  EXPECT_TRUE(fs::exists(folder.File("machine.db")));
  int user_files = 0;
  for (const auto& entry : fs::directory_iterator(folder.path())) {
    const std::string name = entry.path().filename().string();
    user_files += name.rfind("user-", 0) == 0 && entry.path().extension() == ".db";
  }
  EXPECT_EQ(user_files, 1);

  // A second store on the folder sees both; the other machine roots are apart.
  auto store = platform::OpenSettingsStoreAt(folder.path());
  for (const auto& [root, owner] : {std::pair{RegistryRoot::kLocalMachine, "machine"},
                                    std::pair{RegistryRoot::kCurrentUser, "user"}}) {
    std::unique_ptr<SettingsKey> key;
    ASSERT_EQ(store->OpenKey(root, "Shared", kKeyRead, &key), 0);
    RegistryValue value;
    ASSERT_EQ(key->QueryValue("Owner", &value), 0);
    EXPECT_EQ(platform::ReadString(value), owner);
  }
  std::unique_ptr<SettingsKey> other;
  EXPECT_EQ(store->OpenKey(RegistryRoot::kClassesRoot, "Shared", kKeyRead, &other),
            platform::kErrorFileNotFound);
  EXPECT_EQ(store->OpenKey(RegistryRoot::kUsers, "Shared", kKeyRead, &other),
            platform::kErrorFileNotFound);
}

// Reads are answered from memory while the file is unchanged; a write made
// through another connection to the file (as another process makes it) must
// be seen by the very next read, whatever it changed.
TEST(SqliteSettingsStoreTest, WarmReadsSeeEveryChangeMadeByAnotherConnectionAtOnce) {
  StoreScratchFolder folder;
  WriteSampleStore(folder.path());
  auto reader = platform::OpenSettingsStoreAt(folder.path());
  auto writer = platform::OpenSettingsStoreAt(folder.path());
  std::unique_ptr<SettingsKey> read_key;
  ASSERT_EQ(reader->OpenKey(RegistryRoot::kLocalMachine, kPrinterKey, kKeyRead, &read_key), 0);
  auto write_key = CreateOrFail(*writer, RegistryRoot::kLocalMachine, kPrinterKey);
  ASSERT_TRUE(write_key);
  RegistryValue value;
  for (uint32_t darkness = 6; darkness < 40; ++darkness) {
    ASSERT_EQ(write_key->SetValue("Darkness", platform::MakeDwordValue(darkness)), 0);
    for (int warm = 0; warm < 2; ++warm) {
      ASSERT_EQ(read_key->QueryValue("Darkness", &value), 0);
      ASSERT_EQ(platform::ReadDword(value), darkness);
    }
  }
  ASSERT_EQ(write_key->DeleteValue("Darkness"), 0);
  EXPECT_EQ(read_key->QueryValue("Darkness", &value), platform::kErrorFileNotFound);
  // A key made or deleted elsewhere is found, or found gone, at once.
  std::unique_ptr<SettingsKey> missing;
  const std::string fresh = std::string(kPrinterKey) + "\\Fresh";
  EXPECT_EQ(reader->OpenKey(RegistryRoot::kLocalMachine, fresh, kKeyRead, &missing),
            platform::kErrorFileNotFound);
  ASSERT_TRUE(CreateOrFail(*writer, RegistryRoot::kLocalMachine, fresh));
  EXPECT_EQ(reader->OpenKey(RegistryRoot::kLocalMachine, fresh, kKeyRead, &missing), 0);
  ASSERT_EQ(write_key->DeleteSubKey("Old"), 0);
  ASSERT_EQ(write_key->DeleteSubKey("Fresh"), 0);
  EXPECT_EQ(missing->QueryValue("Any", &value), platform::kErrorKeyDeleted);
}

// A caller who could write the database but not the count of its changes
// would change it unseen by every reader that remembers: it may only read.
TEST(SqliteSettingsStoreTest, CallerWhoCannotCountItsChangesMayOnlyRead) {
  StoreScratchFolder folder;
  WriteSampleStore(folder.path());
  const fs::path counter = folder.File("machine.db-changes");
  ASSERT_TRUE(fs::exists(counter));
  fs::remove(counter);
  fs::create_directory(counter);  // cannot be opened as a file by anyone
  auto store = platform::OpenSettingsStoreAt(folder.path());
  std::unique_ptr<SettingsKey> key;
  ASSERT_EQ(store->OpenKey(RegistryRoot::kLocalMachine, kPrinterKey, kKeyRead, &key), 0);
  RegistryValue value;
  EXPECT_EQ(key->QueryValue("Darkness", &value), 0);
  EXPECT_EQ(store->OpenKey(RegistryRoot::kLocalMachine, kPrinterKey, kKeyReadWrite, &key),
            platform::kErrorAccessDenied);
}

TEST(SqliteSettingsStoreTest, ReadOnlyStoreAnswersReadsAndRefusesEveryWrite) {
  StoreScratchFolder folder;
  WriteSampleStore(folder.path());
  auto reader = platform::OpenSettingsStoreAt(folder.path(), {.read_only = true});

  std::unique_ptr<SettingsKey> key;
  EXPECT_EQ(reader->OpenKey(RegistryRoot::kLocalMachine, kPrinterKey, kKeyReadWrite, &key),
            platform::kErrorAccessDenied);
  ASSERT_EQ(reader->OpenKey(RegistryRoot::kLocalMachine, kPrinterKey, kKeyRead, &key), 0);
  RegistryValue value;
  ASSERT_EQ(key->QueryValue("Darkness", &value), 0);
  EXPECT_EQ(platform::ReadDword(value), 5u);
  EXPECT_EQ(SubKeyNames(*key), std::vector<std::string>{"Old"});
  EXPECT_EQ(key->DeleteSubKey("Old"), platform::kErrorAccessDenied);

  std::unique_ptr<SettingsKey> created;
  EXPECT_EQ(reader->CreateKey(RegistryRoot::kLocalMachine, kPrinterKey, kKeyRead, &created), 0)
      << "creating a key that exists only opens it";
  EXPECT_EQ(reader->CreateKey(RegistryRoot::kLocalMachine, "SOFTWARE\\New", kKeyRead, &created),
            platform::kErrorAccessDenied);
  EXPECT_EQ(reader->CreateKey(RegistryRoot::kCurrentUser, "New", kKeyRead, &created),
            platform::kErrorAccessDenied);

  // The reader sees what a writer changes later.
  auto writer = platform::OpenSettingsStoreAt(folder.path());
  auto writable = CreateOrFail(*writer, RegistryRoot::kLocalMachine, kPrinterKey);
  ASSERT_TRUE(writable);
  ASSERT_EQ(writable->SetValue("Darkness", platform::MakeDwordValue(6)), 0);
  ASSERT_EQ(key->QueryValue("Darkness", &value), 0);
  EXPECT_EQ(platform::ReadDword(value), 6u);
}

TEST(SqliteSettingsStoreTest, ReadOnlyStoreWithoutFilesIsEmptyUntilTheyAppear) {
  StoreScratchFolder folder;
  auto reader = platform::OpenSettingsStoreAt(folder.path(), {.read_only = true});
  std::unique_ptr<SettingsKey> root;
  ASSERT_EQ(reader->OpenKey(RegistryRoot::kCurrentUser, "", kKeyRead, &root), 0);
  EXPECT_TRUE(SubKeyNames(*root).empty());
  std::unique_ptr<SettingsKey> key;
  EXPECT_EQ(reader->OpenKey(RegistryRoot::kCurrentUser, "Later", kKeyRead, &key),
            platform::kErrorFileNotFound);
  EXPECT_FALSE(fs::exists(folder.File("machine.db"))) << "a reader must not make files";

  auto writer = platform::OpenSettingsStoreAt(folder.path());
  ASSERT_TRUE(CreateOrFail(*writer, RegistryRoot::kCurrentUser, "Later"));
  EXPECT_EQ(reader->OpenKey(RegistryRoot::kCurrentUser, "Later", kKeyRead, &key), 0);
}

TEST(SqliteSettingsStoreTest, FileModesThatForbidWritingMakeTheStoreReadOnly) {
  StoreScratchFolder folder;
  WriteSampleStore(folder.path());
  fs::permissions(folder.File("machine.db"), fs::perms::owner_read | fs::perms::group_read);
  fs::permissions(folder.path(), fs::perms::owner_read | fs::perms::owner_exec);
  if (ModesDoNotRestrictUs(folder.File("machine.db"))) {
    GTEST_SKIP() << "this user writes read-only files anyway (root); the read-only seam is "
                    "tested in ReadOnlyStoreAnswersReadsAndRefusesEveryWrite";
  }
  auto store = platform::OpenSettingsStoreAt(folder.path());
  std::unique_ptr<SettingsKey> key;
  EXPECT_EQ(store->OpenKey(RegistryRoot::kLocalMachine, kPrinterKey, kKeyReadWrite, &key),
            platform::kErrorAccessDenied);
  ASSERT_EQ(store->OpenKey(RegistryRoot::kLocalMachine, kPrinterKey, kKeyRead, &key), 0);
  RegistryValue value;
  EXPECT_EQ(key->QueryValue("Darkness", &value), 0);
  EXPECT_EQ(store->CreateKey(RegistryRoot::kLocalMachine, "SOFTWARE\\New", kKeyRead, &key),
            platform::kErrorAccessDenied);
}

TEST(SqliteSettingsStoreTest, FileThatIsNoStoreFailsClearlyAndSparesTheOtherFile) {
  StoreScratchFolder folder;
  std::ofstream(folder.File("machine.db")) << "printer settings, but not a database";
  WriteJunk(folder.File("machine.db"), 100, 8192);

  for (const bool read_only : {false, true}) {
    auto store = platform::OpenSettingsStoreAt(folder.path(), {.read_only = read_only});
    std::unique_ptr<SettingsKey> key;
    EXPECT_EQ(store->OpenKey(RegistryRoot::kLocalMachine, "", kKeyRead, &key),
              platform::kErrorBadDbFormat);
    EXPECT_EQ(store->CreateKey(RegistryRoot::kClassesRoot, "X", kKeyReadWrite, &key),
              platform::kErrorBadDbFormat);
  }
  auto store = platform::OpenSettingsStoreAt(folder.path());
  EXPECT_TRUE(CreateOrFail(*store, RegistryRoot::kCurrentUser, "Fine"));
}

TEST(SqliteSettingsStoreTest, DamageInsideTheFileIsReportedNeverCrashes) {
  StoreScratchFolder folder(StoreScratchFolder::Medium::kMemoryWhenAvailable);
  {
    auto store = platform::OpenSettingsStoreAt(folder.path());
    auto printers = CreateOrFail(*store, RegistryRoot::kLocalMachine, "Printers");
    ASSERT_TRUE(printers);
    for (int i = 0; i < 100; ++i) {
      auto key =
          CreateOrFail(*store, RegistryRoot::kLocalMachine, "Printers\\P" + std::to_string(i));
      ASSERT_TRUE(key);
      ASSERT_EQ(key->SetValue("Data", platform::MakeBinaryValue(std::vector<uint8_t>(300, i))), 0);
    }
  }
  const auto size = fs::file_size(folder.File("machine.db"));
  for (std::streamoff page = 2; page * 4096 < static_cast<std::streamoff>(size); page += 3) {
    WriteJunk(folder.File("machine.db"), page * 4096 + 16, 2000);
  }

  auto store = platform::OpenSettingsStoreAt(folder.path());
  int reported = 0;
  const auto check = [&](long error) {
    EXPECT_TRUE(IsAnswerToDamage(error)) << error;
    reported += error == platform::kErrorBadDbFormat;
  };
  for (int i = 0; i < 100; ++i) {
    std::unique_ptr<SettingsKey> key;
    const std::string path = "Printers\\P" + std::to_string(i);
    check(store->OpenKey(RegistryRoot::kLocalMachine, path, kKeyReadWrite, &key));
    if (!key) continue;
    RegistryValue value;
    std::string name;
    platform::KeyInfo info;
    check(key->QueryValue("Data", &value));
    check(key->EnumValue(0, &name, &value));
    check(key->EnumSubKey(0, &name));
    check(key->QueryInfo(&info));
    check(key->SetValue("More", platform::MakeDwordValue(i)));
  }
  std::unique_ptr<SettingsKey> printers;
  check(store->OpenKey(RegistryRoot::kLocalMachine, "Printers", kKeyReadWrite, &printers));
  if (printers) {
    std::string name;
    for (uint32_t i = 0; i < 200; ++i) check(printers->EnumSubKey(i, &name));
    check(printers->DeleteSubKey("P50"));
  }
  EXPECT_GT(reported, 0) << "the damage went unnoticed";
}

class StoreFolderTest : public ::testing::Test {
 protected:
  std::string In(const std::string& name) const {
    return (fs::path(scratch_.path()) / name).string();
  }

  StoreScratchFolder scratch_;
};

TEST_F(StoreFolderTest, ConfiguredFolderWinsAndIsMade) {
  const std::string chosen =
      platform::ChooseStoreFolder({In("home/deep"), In("system"), In("user")});
  EXPECT_EQ(chosen, In("home/deep"));
  EXPECT_TRUE(fs::is_directory(chosen));
  EXPECT_FALSE(fs::exists(In("system")));
}

TEST_F(StoreFolderTest, SystemFolderIsUsedWhenItCanBeMadeElseTheUserFolder) {
  EXPECT_EQ(platform::ChooseStoreFolder({"", In("system"), In("user")}), In("system"));
  EXPECT_TRUE(fs::is_directory(In("system")));

  // Below a plain file no folder can be made, whoever asks.
  std::ofstream(In("file")) << "x";
  EXPECT_EQ(platform::ChooseStoreFolder({"", In("file/system"), In("user")}), In("user"));
  EXPECT_TRUE(fs::is_directory(In("user")));
}

TEST_F(StoreFolderTest, SystemFolderThatOnlyHoldsTheStoreForReadingIsStillChosen) {
  fs::create_directories(In("system"));
  fs::create_directories(In("empty"));
  std::ofstream(In("system/machine.db")) << "";
  for (const char* name : {"system", "empty"}) {
    fs::permissions(In(name), fs::perms::owner_read | fs::perms::owner_exec);
  }
  const bool unrestricted = ModesDoNotRestrictUs(In("empty/probe"));
  if (!unrestricted) {
    EXPECT_EQ(platform::ChooseStoreFolder({"", In("system"), In("user")}), In("system"));
    EXPECT_EQ(platform::ChooseStoreFolder({"", In("empty"), In("user")}), In("user"));
  }
  for (const char* name : {"system", "empty"}) fs::permissions(In(name), fs::perms::owner_all);
  if (unrestricted) GTEST_SKIP() << "this user writes into read-only folders anyway (root)";
}

}  // namespace
}  // namespace vantrel::testing
