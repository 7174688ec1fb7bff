// The service every settings access goes through: symbolic paths (see
// registry_path.h) read and written in the settings store.
//
// Every operation returns a Windows error number: kErrorSuccess, the store's
// answer (kErrorFileNotFound for a missing key or value, kErrorAccessDenied
// for a refused write, ...), or kErrorBadPathname for a path that does not
// resolve, in which case the store is not touched. Keys are opened asking
// read and write access and, when that is refused, read access only; writes
// create a missing key. Every key is closed before the operation returns.
// Nothing here throws. Objects may be used from any thread; ORegistry
// operations block only as long as the store does, PrinterRegistry operations
// also while another thread or process holds its mutex.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/settings_store.h"
#include "support/registry_path.h"
#include "support/synchronizer.h"

namespace vantrel {

class ORegistry {
 public:
  // `view_flags` (kKeyWow64_*) are added to every access mask. A null store
  // means the process's store, looked up at each operation.
  explicit ORegistry(uint32_t view_flags = 0, platform::SettingsStore* store = nullptr);
  virtual ~ORegistry() = default;
  ORegistry(const ORegistry&) = delete;
  ORegistry& operator=(const ORegistry&) = delete;

  // The value named by the path's last component. kErrorFileNotFound when
  // the key or the value is missing.
  long ReadValue(std::string_view path, platform::RegistryValue* value);
  // Creates the key (and its parents) when missing.
  long WriteValue(std::string_view path, const platform::RegistryValue& value);
  long DeleteValue(std::string_view path);
  // Deletes the key the whole path names, with its values. The store refuses
  // (kErrorAccessDenied) while it has subkeys; a root ("2:") is refused the
  // same way.
  long DeleteKey(std::string_view path);
  // The name of the key's subkey at `index`; kErrorNoMoreItems past the last.
  long EnumerateKey(std::string_view path, uint32_t index, std::string* name);
  // The key's subkey and value counts and name lengths.
  long QueryKeyInfo(std::string_view path, platform::KeyInfo* info);
  // True when the key can be opened (for reading at least).
  bool KeyExists(std::string_view path);

  // Typed reads: nothing when the value is missing or of another type or
  // size (a DWORD is exactly 4 bytes of REG_DWORD; strings are REG_SZ or
  // REG_EXPAND_SZ).
  std::optional<uint32_t> ReadDword(std::string_view path);
  std::optional<std::string> ReadString(std::string_view path);
  long WriteDword(std::string_view path, uint32_t value);
  long WriteString(std::string_view path, std::string_view value);

  // Turns a symbolic path into root, key and (for value paths) value name.
  // False when the path is unusable.
  bool Resolve(std::string_view path, bool is_value_path, ResolvedRegistryPath* out) const;

  // The named-key table in order: name, expansion.
  static const std::vector<std::pair<std::string, std::string>>& NamedKeys() {
    return registry_path::NamedKeys();
  }

 protected:
  // Applied to the escaped path before its named key is expanded.
  virtual std::string RewritePath(std::string escaped) const { return escaped; }
  // Fills placeholders in the expanded, escaped path; ORegistry keeps them.
  virtual std::string FillPlaceholders(std::string escaped) const { return escaped; }
  // Bracket each store operation. BeginOperation returns whether EndOperation
  // must follow.
  virtual bool BeginOperation() { return false; }
  virtual void EndOperation() {}

 private:
  class OperationScope;

  platform::SettingsStore& store() const;
  // Opens an existing key, read-write if allowed, else read-only.
  long OpenKey(const ResolvedRegistryPath& where, std::unique_ptr<platform::SettingsKey>* key);

  const uint32_t view_flags_;
  platform::SettingsStore* const store_;
};

// ORegistry for one printer: fills "[PRINTER]", "[SERVER]", "[PORT]" and
// "[OEM]" ("[SERVER]" with this computer's name for a local printer), moves the "PRINT:", "LOCAL:"
// and "USER:" paths of a printer on another server to that server's branch
// (registry_path::RewriteForServer), and serialises every operation across threads and processes
// with the named mutex "Global\Marlock:PrinterRegistry", held from before the first store call to
// after the last.
class PrinterRegistry : public ORegistry {
 public:
  static constexpr const char* kMutexName = "Global\\Marlock:PrinterRegistry";

  // Holds the mutex from construction to destruction, so that several
  // operations see one state of the store and pay for the cross-process
  // mutex once; the operations inside take it again on the same thread. As
  // for a single operation, a mutex that cannot be had is waited for and
  // then gone without. Blocks like an operation; any thread.
  class Batch {
   public:
    explicit Batch(PrinterRegistry& registry);
    ~Batch();
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;

   private:
    PrinterRegistry& registry_;
    const bool held_;
  };

  // `server` may carry a leading "\\"; it is kept without. An empty server,
  // or one of the local computer's names (any letter case), means this
  // computer.
  PrinterRegistry(std::string printer, std::string server = {}, std::string port = {},
                  std::string oem = {}, uint32_t view_flags = 0,
                  platform::SettingsStore* store = nullptr);

  bool is_remote() const { return remote_; }
  const RegistryPlaceholders& placeholders() const { return placeholders_; }

 protected:
  std::string RewritePath(std::string escaped) const override;
  std::string FillPlaceholders(std::string escaped) const override;
  bool BeginOperation() override;
  void EndOperation() override;

 private:
  const RegistryPlaceholders placeholders_;
  const bool remote_;
  OMutex& mutex_;  // the process's one mutex of kMutexName
};

}  // namespace vantrel
