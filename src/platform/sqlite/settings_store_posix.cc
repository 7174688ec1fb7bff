// The process's settings store on Linux and the choice of its folder.
//
// The folder is VANTREL_HOME when set (made when missing); else
// /var/lib/vantrel when this caller can write it or make it, or when it
// already holds the store (a service installed it; a caller who may only read
// it then reads it and is refused writes); else the user's data folder
// ($XDG_DATA_HOME/vantrel or ~/.local/share/vantrel). Machine keys
// (HKEY_LOCAL_MACHINE, HKEY_CLASSES_ROOT, HKEY_USERS) share machine.db so that
// every user of the computer sees the same ones; HKEY_CURRENT_USER is
// user-<uid>.db beside it, or in the user's data folder when this caller may
// not write the store folder (a user reading the service's machine keys still
// keeps settings of their own).
#include <fcntl.h>
#include <unistd.h>

#include <atomic>

#include "platform/folders.h"
#include "platform/settings_store.h"
#include "platform/sqlite/sqlite_store_posix.h"
#include "platform/user_folders_posix.h"

namespace vantrel::platform {
namespace {

constexpr char kSystemStoreFolder[] = "/var/lib/vantrel";

std::atomic<SettingsStore*> g_store_for_testing{nullptr};

std::string Environment(const char* name) { return EnvironmentText(name); }

std::string WithoutTrailingSlash(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

std::string UserDataFolder() { return XdgFolder("XDG_DATA_HOME", ".local/share"); }

bool IsWritableFolder(const std::string& folder) {
  return faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

}  // namespace

StoreFolderCandidates ProcessStoreFolderCandidates() {
  const std::string configured = Environment("VANTREL_HOME");
  return {configured.empty() ? "" : WithoutTrailingSlash(configured), kSystemStoreFolder,
          JoinPath(UserDataFolder(), "vantrel")};
}

std::string ChooseStoreFolder(const StoreFolderCandidates& candidates) {
  if (!candidates.configured.empty()) {
    CreateFolders(candidates.configured);
    return candidates.configured;
  }
  if (CreateFolders(candidates.system) && IsWritableFolder(candidates.system)) {
    return candidates.system;
  }
  if (faccessat(AT_FDCWD, JoinPath(candidates.system, "machine.db").c_str(), F_OK, 0) == 0) {
    return candidates.system;
  }
  CreateFolders(candidates.user);
  return candidates.user;
}

namespace {

std::unique_ptr<SettingsStore> MakeProcessStore() {
  const std::string folder = DefaultSettingsStoreFolder();
  if (IsWritableFolder(folder)) return MakeSqliteSettingsStore(folder, {});
  const std::string user_folder = JoinPath(UserDataFolder(), "vantrel");
  CreateFolders(user_folder);
  return MakeSqliteSettingsStore(folder, {}, user_folder);
}

}  // namespace

std::string DefaultSettingsStoreFolder() {
  static const std::string folder = ChooseStoreFolder(ProcessStoreFolderCandidates());
  return folder;
}

SettingsStore& DefaultSettingsStore() {
  if (SettingsStore* store = g_store_for_testing.load(std::memory_order_acquire)) return *store;
  // Never destroyed: threads may still use it while the process exits.
  static SettingsStore* const store = MakeProcessStore().release();
  return *store;
}

void SetSettingsStoreForTesting(SettingsStore* store) {
  g_store_for_testing.store(store, std::memory_order_release);
}

std::unique_ptr<SettingsStore> OpenSettingsStoreAt(const std::string& folder,
                                                   SettingsStoreOptions options) {
  return MakeSqliteSettingsStore(folder, options);
}

}  // namespace vantrel::platform
