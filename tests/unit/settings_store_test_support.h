// Helpers for the settings store tests: scratch folders and keys, and
// enumeration collected into lists.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "platform/settings_store.h"
#include "platform/win32_errors.h"

namespace vantrel::testing {

// Sixteen random hex digits, to keep scratch names of concurrent runs apart.
inline std::string RandomStoreSuffix() {
  std::random_device device;
  const uint64_t bits = (uint64_t{device()} << 32) | device();
  char text[17];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(bits));
  return text;
}

// A new empty folder, removed with its contents: under the temporary folder,
// or in memory (/dev/shm) when asked and there is one. Tests about locking
// use memory: a busy disk's flush time would only stretch them, not test more.
class StoreScratchFolder {
 public:
  enum class Medium { kDisk, kMemoryWhenAvailable };

  explicit StoreScratchFolder(Medium medium = Medium::kDisk)
      : path_(Parent(medium) / ("vantrel-store-" + RandomStoreSuffix())) {
    std::filesystem::create_directories(path_);
  }
  ~StoreScratchFolder() {
    std::error_code ignored;
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, ignored);
    std::filesystem::remove_all(path_, ignored);
  }
  StoreScratchFolder(const StoreScratchFolder&) = delete;
  StoreScratchFolder& operator=(const StoreScratchFolder&) = delete;

  std::string path() const { return path_.string(); }
  std::filesystem::path File(const std::string& name) const { return path_ / name; }

 private:
  static std::filesystem::path Parent(Medium medium) {
    std::error_code error;
    const std::filesystem::path memory = "/dev/shm";
    if (medium == Medium::kMemoryWhenAvailable && std::filesystem::is_directory(memory, error)) {
      return memory;
    }
    return std::filesystem::temp_directory_path();
  }

  std::filesystem::path path_;
};

// Names of the direct subkeys in enumeration order; fails the test when the
// enumeration ends with anything but kErrorNoMoreItems.
inline std::vector<std::string> SubKeyNames(platform::SettingsKey& key) {
  std::vector<std::string> names;
  std::string name;
  long error;
  while ((error = key.EnumSubKey(static_cast<uint32_t>(names.size()), &name)) == 0) {
    names.push_back(name);
  }
  EXPECT_EQ(error, platform::kErrorNoMoreItems);
  return names;
}

// Value names in enumeration order, likewise.
inline std::vector<std::string> ValueNames(platform::SettingsKey& key) {
  std::vector<std::string> names;
  std::string name;
  platform::RegistryValue value;
  long error;
  while ((error = key.EnumValue(static_cast<uint32_t>(names.size()), &name, &value)) == 0) {
    names.push_back(name);
  }
  EXPECT_EQ(error, platform::kErrorNoMoreItems);
  return names;
}

// Deletes the key at `path` with everything below it; an absent key is fine.
inline void DeleteKeyTree(platform::SettingsStore& store, platform::RegistryRoot root,
                          const std::string& path) {
  std::unique_ptr<platform::SettingsKey> key;
  if (store.OpenKey(root, path, platform::kKeyReadWrite, &key) != 0) return;
  for (const std::string& child : SubKeyNames(*key))
    DeleteKeyTree(store, root, path + "\\" + child);
  const size_t split = path.rfind('\\');
  std::unique_ptr<platform::SettingsKey> parent;
  const std::string parent_path = split == std::string::npos ? "" : path.substr(0, split);
  if (store.OpenKey(root, parent_path, platform::kKeyReadWrite, &parent) == 0) {
    parent->DeleteSubKey(path.substr(split == std::string::npos ? 0 : split + 1));
  }
}

}  // namespace vantrel::testing
