#include "support/reg_file_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "fakes/fake_settings_store.h"
#include "platform/win32_errors.h"

namespace vantrel {
namespace {

using platform::kErrorAccessDenied;
using platform::kErrorFileNotFound;
using platform::kErrorSuccess;
using platform::RegistryRoot;
using platform::RegistryValue;
using testing::FakeSettingsStore;

constexpr RegistryRoot kMachine = RegistryRoot::kLocalMachine;

void Set(platform::SettingsStore& store, std::string_view key, std::string_view name,
         const RegistryValue& value) {
  std::unique_ptr<platform::SettingsKey> opened;
  ASSERT_EQ(store.CreateKey(kMachine, key, platform::kKeyReadWrite, &opened), kErrorSuccess);
  ASSERT_EQ(opened->SetValue(name, value), kErrorSuccess);
}

bool Exists(platform::SettingsStore& store, std::string_view key) {
  std::unique_ptr<platform::SettingsKey> opened;
  return store.OpenKey(kMachine, key, platform::kKeyRead, &opened) == kErrorSuccess;
}

RegFile Export(platform::SettingsStore& store, std::string_view key) {
  RegFile file;
  std::string where;
  EXPECT_EQ(ExportRegistryTree(store, kMachine, key, &file, &where), kErrorSuccess) << where;
  return file;
}

RegFileChanges Apply(platform::SettingsStore& store, const RegFile& file) {
  RegFileChanges changes;
  std::string where;
  EXPECT_EQ(ApplyRegFile(store, file, &changes, &where), kErrorSuccess) << where;
  return changes;
}

RegFile ParseText(std::string_view body) {
  RegFile file;
  std::string error;
  const std::string text = "Windows Registry Editor Version 5.00\n\n" + std::string(body);
  EXPECT_TRUE(ParseRegFile(text, &file, &error)) << error;
  return file;
}

TEST(RegFileStore, ExportedTreeRebuildsTheSameTreeInAnotherStore) {
  FakeSettingsStore source;
  Set(source, "Vantrel\\Top", "", platform::MakeStringValue("default"));
  Set(source, "Vantrel\\Top", "Bytes", platform::MakeBinaryValue({0, 1, 2, 0xff}));
  Set(source, "Vantrel\\Top", "Odd", RegistryValue{platform::kRegSz, {'x', 0, 0}});
  Set(source, "Vantrel\\Top\\Child", "N", platform::MakeDwordValue(7));
  Set(source, "Vantrel\\Top\\Child\\Grandchild", "Q", platform::MakeQwordValue(1ull << 40));
  Set(source, "Vantrel\\Top\\Second", "M", platform::MakeMultiStringValue({"a", "b"}));
  std::unique_ptr<platform::SettingsKey> empty;
  ASSERT_EQ(source.CreateKey(kMachine, "Vantrel\\Top\\Empty", platform::kKeyReadWrite, &empty),
            kErrorSuccess);
  Set(source, "Vantrel\\TopSibling", "NotMine", platform::MakeDwordValue(1));

  const RegFile exported = Export(source, "Vantrel\\Top");
  std::vector<std::string> keys;
  for (const RegFileSection& section : exported.sections) keys.push_back(section.key);
  ASSERT_EQ(keys.size(), 5u) << "the sibling with a common prefix must stay out";
  EXPECT_EQ(keys[0], "Vantrel\\Top");
  for (size_t i = 1; i < keys.size(); ++i) {
    EXPECT_TRUE(keys[i].starts_with("Vantrel\\Top\\")) << keys[i];
    const std::string parent = keys[i].substr(0, keys[i].rfind('\\'));
    const auto found = std::find(keys.begin(), keys.end(), parent);
    EXPECT_LT(found - keys.begin(), static_cast<long>(i)) << "parent after child: " << keys[i];
  }
  EXPECT_EQ(exported.sections[0].values.size(), 3u);

  // Through the text, as the command line moves it between two homes.
  RegFile reread;
  std::string error;
  ASSERT_TRUE(ParseRegFile(EncodeRegFile(exported), &reread, &error)) << error;
  FakeSettingsStore target;
  const RegFileChanges first = Apply(target, reread);
  EXPECT_EQ(first.keys, 6u) << "Vantrel, Top and its four subkeys";
  EXPECT_EQ(first.values, 6u);
  EXPECT_EQ(Export(target, "Vantrel\\Top"), exported);

  const RegFileChanges again = Apply(target, reread);
  EXPECT_EQ(again.keys, 0u);
  EXPECT_EQ(again.values, 0u);
}

TEST(RegFileStore, ApplyCountsOnlyWhatItChanged) {
  FakeSettingsStore store;
  Set(store, "A", "Same", platform::MakeDwordValue(1));
  Set(store, "A", "Changed", platform::MakeDwordValue(1));
  Set(store, "A", "Deleted", platform::MakeDwordValue(1));
  Set(store, "Old\\Sub\\Leaf", "x", platform::MakeDwordValue(1));
  Set(store, "Old\\Other", "x", platform::MakeDwordValue(1));

  const RegFileChanges changes = Apply(store, ParseText("[HKLM\\A]\n"
                                                        "\"Same\"=dword:00000001\n"
                                                        "\"Changed\"=dword:00000002\n"
                                                        "\"Deleted\"=-\n"
                                                        "\"NeverWas\"=-\n"
                                                        "\"New\"=hex:\n"
                                                        "[HKLM\\A\\B\\C]\n"
                                                        "[-HKLM\\Old]\n"
                                                        "[-HKLM\\NeverWas]\n"));
  EXPECT_EQ(changes.values, 3u) << "Changed, Deleted and New";
  EXPECT_EQ(changes.keys, 6u) << "B and C created; Old, Sub, Leaf and Other deleted";
  EXPECT_FALSE(Exists(store, "Old"));
  EXPECT_TRUE(Exists(store, "A\\B\\C"));
  RegistryValue value;
  std::unique_ptr<platform::SettingsKey> key;
  ASSERT_EQ(store.OpenKey(kMachine, "A", platform::kKeyRead, &key), kErrorSuccess);
  EXPECT_EQ(key->QueryValue("Deleted", &value), kErrorFileNotFound);
  ASSERT_EQ(key->QueryValue("Changed", &value), kErrorSuccess);
  EXPECT_EQ(platform::ReadDword(value), 2u);
}

TEST(RegFileStore, FailuresNameWhereTheyHappened) {
  FakeSettingsStore store;
  Set(store, "A", "x", platform::MakeDwordValue(1));
  RegFileChanges changes;
  std::string where;

  store.InjectFailure(FakeSettingsStore::Operation::kSetValue, kErrorAccessDenied);
  EXPECT_EQ(ApplyRegFile(store, ParseText("[HKLM\\A]\n\"x\"=-\n\"y\"=dword:1\n"), &changes, &where),
            kErrorAccessDenied);
  EXPECT_EQ(where, "HKEY_LOCAL_MACHINE\\A value \"y\"");
  EXPECT_EQ(changes.values, 1u) << "the deletion before the refusal stays applied";

  store.InjectFailure(FakeSettingsStore::Operation::kSetValue, kErrorSuccess);
  store.SetReadOnly(true);
  EXPECT_EQ(ApplyRegFile(store, ParseText("[HKCU\\New]\n"), &changes, &where), kErrorAccessDenied);
  EXPECT_EQ(where, "HKEY_CURRENT_USER\\New");
  EXPECT_EQ(ApplyRegFile(store, ParseText("[-HKLM\\A]\n"), &changes, &where), kErrorAccessDenied);
  EXPECT_TRUE(Exists(store, "A"));
  store.SetReadOnly(false);

  RegFile file;
  EXPECT_EQ(ExportRegistryTree(store, kMachine, "Missing", &file, &where), kErrorFileNotFound);
  EXPECT_EQ(where, "HKEY_LOCAL_MACHINE\\Missing");

  Set(store, "A\\Bad", "two\nlines", platform::MakeDwordValue(1));
  EXPECT_EQ(ExportRegistryTree(store, kMachine, "A", &file, &where), platform::kErrorInvalidName);
  EXPECT_EQ(where, "HKEY_LOCAL_MACHINE\\A\\Bad");

  store.InjectFailure(FakeSettingsStore::Operation::kEnumSubKey, platform::kErrorBadDbFormat, 1);
  EXPECT_EQ(ExportRegistryTree(store, kMachine, "", &file, &where), platform::kErrorBadDbFormat);
}

}  // namespace
}  // namespace vantrel
