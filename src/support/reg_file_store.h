// Moving .reg file contents in and out of a settings store: a key tree read
// into sections, and a parsed file applied to the store.
//
// Both work on the store directly, below the symbolic paths, because a file
// names real keys and an export needs every value of a key, which the path
// service deliberately cannot list. Both block on the store; any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/settings_store.h"
#include "support/reg_file.h"

namespace vantrel {

// Appends a section for the key and for every key below it, parents before
// children in the store's enumeration order, each with all its values. A key
// that disappears while it is being read is left out; the key asked for must
// exist (kErrorFileNotFound otherwise). On failure returns the store's error
// number, or kErrorInvalidName for a name a file cannot hold, with `where`
// naming the key ("HKEY_LOCAL_MACHINE\SOFTWARE\X"); `file` may then hold the
// sections read so far.
long ExportRegistryTree(platform::SettingsStore& store, platform::RegistryRoot root,
                        std::string_view key, RegFile* file, std::string* where);

// What applying a file changed. Writing a value that already holds the same
// bytes, deleting a missing value or key, and creating an existing key count
// for nothing; deleting a key counts it and every key below it.
struct RegFileChanges {
  uint32_t values = 0;
  uint32_t keys = 0;
};

// Applies the sections in order: creates each key with its missing parents
// and sets or deletes its values, or deletes a key with its subtree. Stops at
// the first refusal and returns the store's error number with `where` naming
// the key (and value); what was applied before stays applied and is counted
// in `changes`.
long ApplyRegFile(platform::SettingsStore& store, const RegFile& file, RegFileChanges* changes,
                  std::string* where);

// Deletes the key with every key below it, children first, since the store
// refuses to delete a key that still has subkeys. A missing key is no error
// and deletes nothing; the root itself cannot be deleted (kErrorAccessDenied).
// On failure returns the store's error number with `where` naming the key;
// `deleted` counts the keys deleted either way.
long DeleteRegistryTree(platform::SettingsStore& store, platform::RegistryRoot root,
                        std::string_view key, uint32_t* deleted, std::string* where);

// "HKEY_CURRENT_USER\Software\X", or the root's name alone for an empty key.
std::string RegFileKeyName(platform::RegistryRoot root, std::string_view key);

}  // namespace vantrel
