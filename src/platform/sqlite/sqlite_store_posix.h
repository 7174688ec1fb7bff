// Linux only: the settings store kept in SQLite files, and the choice of
// their folder. Internal to src/platform and its tests.
#pragma once

#include <memory>
#include <string>

#include "platform/settings_store.h"

namespace vantrel::platform {

// The store on `folder`: machine keys in machine.db, the current user's in
// user-<uid>.db. Never null; each file is opened on first use.
// Machine keys live in `folder`; HKEY_CURRENT_USER in `user_folder`, which
// is `folder` unless given.
std::unique_ptr<SettingsStore> MakeSqliteSettingsStore(const std::string& folder,
                                                       SettingsStoreOptions options,
                                                       const std::string& user_folder = {});

// Where the store may live, most preferred first. `configured` may be empty
// (no VANTREL_HOME).
struct StoreFolderCandidates {
  std::string configured;
  std::string system;
  std::string user;
};

// Picks the folder: `configured` when given; else `system` when this caller
// can write it, can make it, or it already holds machine.db (a caller who may
// only read it then reads it); else `user`. The chosen folder is made when
// missing, as far as this caller can. Blocks on the file system only.
std::string ChooseStoreFolder(const StoreFolderCandidates& candidates);

// The candidates of this process: VANTREL_HOME, /var/lib/vantrel and
// $XDG_DATA_HOME/vantrel (or ~/.local/share/vantrel).
StoreFolderCandidates ProcessStoreFolderCandidates();

}  // namespace vantrel::platform
