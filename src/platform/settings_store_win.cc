// The settings store on Windows: the registry itself. Names cross the
// boundary as UTF-16; error numbers come back from the registry unchanged.
#include <windows.h>

#include <atomic>
#include <vector>

#include "platform/settings_store.h"
#include "platform/wide_text_win.h"
#include "platform/win32_errors.h"

namespace vantrel::platform {
namespace {

constexpr uint32_t kViewBits = kKeyWow64_64Key | kKeyWow64_32Key;
constexpr DWORD kMaxKeyNameLength = 255;  // the registry's limit, without the zero
constexpr int kGrowAttempts = 8;          // a value may grow between sizing and reading

std::atomic<SettingsStore*> g_store_for_testing{nullptr};

HKEY RootHandle(RegistryRoot root) {
  switch (root) {
    case RegistryRoot::kClassesRoot:
      return HKEY_CLASSES_ROOT;
    case RegistryRoot::kCurrentUser:
      return HKEY_CURRENT_USER;
    case RegistryRoot::kLocalMachine:
      return HKEY_LOCAL_MACHINE;
    case RegistryRoot::kUsers:
      return HKEY_USERS;
  }
  return HKEY_LOCAL_MACHINE;
}

// RegSetValueExW adds a terminator to a string whose last unit is not zero
// when the unit after the data is zero, reading past the data to see. A
// padding that is not zero keeps the bytes exact and the read inside memory.
std::vector<BYTE> PaddedForSetValue(const RegistryValue& value) {
  std::vector<BYTE> padded(value.data.begin(), value.data.end());
  padded.push_back(0xFF);
  padded.push_back(0xFF);
  return padded;
}

class RegistryKey : public SettingsKey {
 public:
  RegistryKey(HKEY key, uint32_t access, bool read_only)
      : key_(key), access_(access), read_only_(read_only) {}
  ~RegistryKey() override { RegCloseKey(key_); }

  long QueryValue(std::string_view name, RegistryValue* value) override {
    const std::wstring wide_name = Widen(name);
    DWORD type = 0;
    DWORD size = 0;
    LSTATUS status = RegQueryValueExW(key_, wide_name.c_str(), nullptr, &type, nullptr, &size);
    std::vector<uint8_t> data;
    for (int attempt = 0; status == ERROR_SUCCESS && size > 0 && attempt < kGrowAttempts;
         ++attempt) {
      data.resize(size);
      status = RegQueryValueExW(key_, wide_name.c_str(), nullptr, &type, data.data(), &size);
      if (status == ERROR_SUCCESS) break;
      if (status == ERROR_MORE_DATA) status = ERROR_SUCCESS;  // grew meanwhile: size again
    }
    if (status != ERROR_SUCCESS) return status;
    data.resize(size);
    *value = RegistryValue{type, std::move(data)};
    return kErrorSuccess;
  }

  long SetValue(std::string_view name, const RegistryValue& value) override {
    if (read_only_) return kErrorAccessDenied;
    const std::vector<BYTE> padded = PaddedForSetValue(value);
    return RegSetValueExW(key_, Widen(name).c_str(), 0, value.type, padded.data(),
                          static_cast<DWORD>(value.data.size()));
  }

  long DeleteValue(std::string_view name) override {
    if (read_only_) return kErrorAccessDenied;
    return RegDeleteValueW(key_, Widen(name).c_str());
  }

  long DeleteSubKey(std::string_view relative_path) override {
    // The registry would delete this key itself; the other stores refuse that.
    if (relative_path.empty()) return kErrorInvalidParameter;
    if (read_only_) return kErrorAccessDenied;
    return RegDeleteKeyExW(key_, Widen(relative_path).c_str(), access_ & kViewBits, 0);
  }

  long EnumSubKey(uint32_t index, std::string* name) override {
    wchar_t buffer[kMaxKeyNameLength + 1];
    DWORD length = kMaxKeyNameLength + 1;
    const LSTATUS status =
        RegEnumKeyExW(key_, index, buffer, &length, nullptr, nullptr, nullptr, nullptr);
    if (status != ERROR_SUCCESS) return status;
    *name = Narrow(std::wstring_view(buffer, length));
    return kErrorSuccess;
  }

  long EnumValue(uint32_t index, std::string* name, RegistryValue* value) override {
    DWORD name_capacity = 0;
    DWORD data_capacity = 0;
    LSTATUS status = RegQueryInfoKeyW(key_, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                      nullptr, &name_capacity, &data_capacity, nullptr, nullptr);
    for (int attempt = 0; status == ERROR_SUCCESS && attempt < kGrowAttempts; ++attempt) {
      std::vector<wchar_t> name_buffer(name_capacity + 1);
      std::vector<BYTE> data(data_capacity + 1);
      DWORD name_length = static_cast<DWORD>(name_buffer.size());
      DWORD size = static_cast<DWORD>(data.size());
      DWORD type = 0;
      status = RegEnumValueW(key_, index, name_buffer.data(), &name_length, nullptr, &type,
                             data.data(), &size);
      if (status == ERROR_SUCCESS) {
        *name = Narrow(std::wstring_view(name_buffer.data(), name_length));
        data.resize(size);
        *value = RegistryValue{type, std::vector<uint8_t>(data.begin(), data.end())};
        return kErrorSuccess;
      }
      if (status != ERROR_MORE_DATA) return status;
      status = ERROR_SUCCESS;  // a value grew since the key was measured
      name_capacity = name_capacity * 2 + 16;
      data_capacity = data_capacity * 2 + 16;
    }
    return status == ERROR_SUCCESS ? kErrorMoreData : status;
  }

  long QueryInfo(KeyInfo* info) override {
    DWORD subkeys = 0, max_subkey = 0, values = 0, max_value_name = 0, max_data = 0;
    const LSTATUS status =
        RegQueryInfoKeyW(key_, nullptr, nullptr, nullptr, &subkeys, &max_subkey, nullptr, &values,
                         &max_value_name, &max_data, nullptr, nullptr);
    if (status != ERROR_SUCCESS) return status;
    *info = KeyInfo{subkeys, values, max_subkey, max_value_name, max_data};
    return kErrorSuccess;
  }

 private:
  const HKEY key_;
  const uint32_t access_;
  const bool read_only_;
};

class RegistryStore : public SettingsStore {
 public:
  explicit RegistryStore(SettingsStoreOptions options) : read_only_(options.read_only) {}

  long OpenKey(RegistryRoot root, std::string_view path, uint32_t access,
               std::unique_ptr<SettingsKey>* key) override {
    HKEY handle = nullptr;
    const LSTATUS status = RegOpenKeyExW(RootHandle(root), Widen(path).c_str(), 0, access, &handle);
    if (status != ERROR_SUCCESS) return status;
    return Wrap(handle, access, key);
  }

  long CreateKey(RegistryRoot root, std::string_view path, uint32_t access,
                 std::unique_ptr<SettingsKey>* key) override {
    if (read_only_) {
      const long error = OpenKey(root, path, access, key);
      return error == kErrorFileNotFound ? kErrorAccessDenied : error;
    }
    HKEY handle = nullptr;
    const LSTATUS status =
        RegCreateKeyExW(RootHandle(root), Widen(path).c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                        access, nullptr, &handle, nullptr);
    if (status != ERROR_SUCCESS) return status;
    return Wrap(handle, access, key);
  }

 private:
  // A store opened read-only hands out no write access, as on Linux.
  long Wrap(HKEY handle, uint32_t access, std::unique_ptr<SettingsKey>* key) {
    if (read_only_ && (access & kKeyWriteAccessBits)) {
      RegCloseKey(handle);
      return kErrorAccessDenied;
    }
    *key = std::make_unique<RegistryKey>(handle, access, read_only_);
    return kErrorSuccess;
  }

  const bool read_only_;
};

}  // namespace

SettingsStore& DefaultSettingsStore() {
  if (SettingsStore* store = g_store_for_testing.load(std::memory_order_acquire)) return *store;
  // Never destroyed: threads may still use it while the process exits.
  static SettingsStore* const store = new RegistryStore({});
  return *store;
}

void SetSettingsStoreForTesting(SettingsStore* store) {
  g_store_for_testing.store(store, std::memory_order_release);
}

std::unique_ptr<SettingsStore> OpenSettingsStoreAt(const std::string& folder,
                                                   SettingsStoreOptions options) {
  return std::make_unique<RegistryStore>(options);
}

std::string DefaultSettingsStoreFolder() { return ""; }

}  // namespace vantrel::platform
