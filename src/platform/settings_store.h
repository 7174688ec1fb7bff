// The settings store: the Windows registry on Windows, SQLite files on Linux.
//
// The interface follows the registry's own model so that callers keep its
// rules: four roots, keys holding subkeys and typed values, keys opened with an
// access mask and closed when the handle goes. Names are UTF-8 here; key names
// and value names compare without regard to ASCII letter case, as the registry
// does. Every call returns a Windows error number (kErrorSuccess on success,
// see win32_errors.h) and never throws.
//
// All members may be called from any thread; a store and the keys it hands out
// are safe to use concurrently, and several processes may use one store at
// once without losing updates. Every call blocks: on Linux while another
// thread or process holds the store file (it waits and retries, for up to a
// minute, before answering kErrorBusy), on Windows inside the registry.
// Outputs are written only on success. A key handle whose key was deleted
// meanwhile answers kErrorKeyDeleted. The registry folds the case of all
// letters; the Linux store folds ASCII letters only.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/registry_value.h"

namespace vantrel::platform {

enum class RegistryRoot { kClassesRoot, kCurrentUser, kLocalMachine, kUsers };

// Access masks, with the registry's values.
constexpr uint32_t kKeyQueryValue = 0x0001;
constexpr uint32_t kKeySetValue = 0x0002;
constexpr uint32_t kKeyCreateSubKey = 0x0004;
constexpr uint32_t kKeyEnumerateSubKeys = 0x0008;
constexpr uint32_t kKeyRead = 0x20019;
constexpr uint32_t kKeyReadWrite = 0x2001F;  // KEY_READ | KEY_WRITE
constexpr uint32_t kKeyWow64_64Key = 0x0100;
constexpr uint32_t kKeyWow64_32Key = 0x0200;
// The bits of an access mask that ask to change a key or its values
// (KEY_SET_VALUE, KEY_CREATE_SUB_KEY, DELETE, WRITE_DAC, WRITE_OWNER); a store
// the caller may only read refuses a key opened with any of them.
constexpr uint32_t kKeyWriteAccessBits = 0x0002 | 0x0004 | 0x10000 | 0x40000 | 0x80000;

struct KeyInfo {
  uint32_t subkey_count = 0;
  uint32_t value_count = 0;
  uint32_t max_subkey_name_length = 0;  // in UTF-16 units, as the registry counts
  uint32_t max_value_name_length = 0;
  uint32_t max_value_data_size = 0;  // in bytes
};

// An open key. Destroying it closes the key.
class SettingsKey {
 public:
  virtual ~SettingsKey() = default;

  // The value's type and exact bytes; "" names the key's default value.
  // kErrorFileNotFound when the value does not exist.
  virtual long QueryValue(std::string_view name, RegistryValue* value) = 0;
  // Adds or replaces the value (a replaced value keeps its name's case).
  // kErrorAccessDenied when the key was opened without write access or the
  // store refuses writes to this caller.
  virtual long SetValue(std::string_view name, const RegistryValue& value) = 0;
  // kErrorFileNotFound when the value does not exist; kErrorAccessDenied as
  // SetValue.
  virtual long DeleteValue(std::string_view name) = 0;
  // Deletes the key at `relative_path` ("\"-separated) below this key and its
  // values. kErrorAccessDenied while it has subkeys, as the registry answers;
  // kErrorInvalidParameter for an empty path (this key itself).
  virtual long DeleteSubKey(std::string_view relative_path) = 0;
  // The direct subkey at `index` (0-based, in a stable order);
  // kErrorNoMoreItems past the last one.
  virtual long EnumSubKey(uint32_t index, std::string* name) = 0;
  // The value at `index` (0-based, in a stable order) with its name;
  // kErrorNoMoreItems past the last one. Used by export tools.
  virtual long EnumValue(uint32_t index, std::string* name, RegistryValue* value) = 0;
  // Counts and longest names of the direct subkeys and values.
  virtual long QueryInfo(KeyInfo* info) = 0;
};

class SettingsStore {
 public:
  virtual ~SettingsStore() = default;

  // Opens an existing key. `path` is "\"-separated below the root; "" opens
  // the root; doubled and trailing separators are ignored, a leading one
  // gives kErrorBadPathname. kErrorFileNotFound when the key does not exist,
  // kErrorAccessDenied when the access asked for is refused.
  virtual long OpenKey(RegistryRoot root, std::string_view path, uint32_t access,
                       std::unique_ptr<SettingsKey>* key) = 0;
  // Opens a key, creating it and any missing parent first; an existing key
  // is opened as it is. kErrorAccessDenied when the store refuses writes to
  // this caller and the key does not exist.
  virtual long CreateKey(RegistryRoot root, std::string_view path, uint32_t access,
                         std::unique_ptr<SettingsKey>* key) = 0;

  // A number that changes whenever a value of the store may have changed,
  // in this process or another; reading it makes no system call once the
  // store's files are open. Nothing when the store cannot tell: a caller that
  // remembers what it read must then read again each time. Any thread.
  virtual std::optional<uint64_t> ChangeStamp() { return std::nullopt; }
};

// The process's store. On Linux its folder is VANTREL_HOME, else
// /var/lib/vantrel, else the user's data folder (see docs/ARCHITECTURE.md);
// it is chosen on first use. Never returns null.
SettingsStore& DefaultSettingsStore();

// Replaces the process's store until called again with null (tests only).
// The caller keeps ownership and must outlive its use.
void SetSettingsStoreForTesting(SettingsStore* store);

struct SettingsStoreOptions {
  // Open the store files read-only even when this caller could write them:
  // reads answer, writes and key creation give kErrorAccessDenied.
  bool read_only = false;
};

// A store of its own on `folder` (Linux: machine.db and user-<uid>.db there,
// the folder made on first use when missing). On Windows the folder is
// ignored and the registry is returned. Never null; files are opened on
// first use, so failures show in the first call. Any thread.
std::unique_ptr<SettingsStore> OpenSettingsStoreAt(const std::string& folder,
                                                   SettingsStoreOptions options = {});

// The folder DefaultSettingsStore() uses (chosen once per process), or ""
// on Windows.
std::string DefaultSettingsStoreFolder();

}  // namespace vantrel::platform
