// An in-memory settings store with the registry's rules, for unit tests of
// code that reads and writes settings. It can refuse writes as a read-only
// store does, fail chosen operations with a chosen error, and counts calls.
//
// Free-threaded like the real stores: one lock guards the whole tree and is
// never held while calling out. Keys handed out stay usable after the store
// is destroyed (they keep the tree alive).
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/settings_store.h"

namespace vantrel::testing {

class FakeSettingsStore : public platform::SettingsStore {
 public:
  // Every operation of the store and its keys, for failure injection and counts.
  enum class Operation {
    kOpenKey,
    kCreateKey,
    kQueryValue,
    kSetValue,
    kDeleteValue,
    kDeleteSubKey,
    kEnumSubKey,
    kEnumValue,
    kQueryInfo,
  };
  static constexpr int kOperationCount = 9;
  static constexpr int kAlways = -1;

  FakeSettingsStore();
  ~FakeSettingsStore() override;

  long OpenKey(platform::RegistryRoot root, std::string_view path, uint32_t access,
               std::unique_ptr<platform::SettingsKey>* key) override;
  long CreateKey(platform::RegistryRoot root, std::string_view path, uint32_t access,
                 std::unique_ptr<platform::SettingsKey>* key) override;

  // Behaves like a store file the caller may only read: reads answer, every
  // write, key creation and OpenKey asking for write access give
  // kErrorAccessDenied. False restores normal behaviour.
  void SetReadOnly(bool read_only);

  // The next `times` calls of `operation` (kAlways: every call until cleared)
  // fail with `error` before touching the tree. kErrorSuccess clears it.
  void InjectFailure(Operation operation, long error, int times = kAlways);

  // How often `operation` was called since construction or ResetCounts(),
  // including calls that failed.
  int Calls(Operation operation) const;
  void ResetCounts();

  // Internal; named here only so that the key class can share it.
  struct State;

 private:
  std::shared_ptr<State> state_;
};

}  // namespace vantrel::testing
