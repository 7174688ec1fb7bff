#include "support/registry.h"

#include "platform/win32_errors.h"

namespace vantrel {

using platform::kErrorAccessDenied;
using platform::kErrorBadPathname;
using platform::kErrorInvalidParameter;
using platform::kErrorSuccess;

// Brackets one store operation with the subclass's hooks, also on early
// returns. Declared before the key it guards, so the key closes first.
class ORegistry::OperationScope {
 public:
  explicit OperationScope(ORegistry& registry)
      : registry_(registry), ended_by_us_(registry.BeginOperation()) {}
  ~OperationScope() {
    if (ended_by_us_) registry_.EndOperation();
  }
  OperationScope(const OperationScope&) = delete;
  OperationScope& operator=(const OperationScope&) = delete;

 private:
  ORegistry& registry_;
  const bool ended_by_us_;
};

ORegistry::ORegistry(uint32_t view_flags, platform::SettingsStore* store)
    : view_flags_(view_flags), store_(store) {}

platform::SettingsStore& ORegistry::store() const {
  return store_ != nullptr ? *store_ : platform::DefaultSettingsStore();
}

bool ORegistry::Resolve(std::string_view path, bool is_value_path,
                        ResolvedRegistryPath* out) const {
  std::string escaped = RewritePath(registry_path::EscapePath(path));
  escaped = FillPlaceholders(registry_path::ExpandNamedKey(escaped));
  return registry_path::Split(escaped, is_value_path, out);
}

long ORegistry::OpenKey(const ResolvedRegistryPath& where,
                        std::unique_ptr<platform::SettingsKey>* key) {
  const long error =
      store().OpenKey(where.root, where.key, platform::kKeyReadWrite | view_flags_, key);
  if (error != kErrorAccessDenied) return error;
  return store().OpenKey(where.root, where.key, platform::kKeyRead | view_flags_, key);
}

long ORegistry::ReadValue(std::string_view path, platform::RegistryValue* value) {
  if (value == nullptr) return kErrorInvalidParameter;
  ResolvedRegistryPath where;
  if (!Resolve(path, true, &where)) return kErrorBadPathname;
  OperationScope scope(*this);
  std::unique_ptr<platform::SettingsKey> key;
  if (const long error = OpenKey(where, &key); error != kErrorSuccess) return error;
  return key->QueryValue(where.value_name, value);
}

long ORegistry::WriteValue(std::string_view path, const platform::RegistryValue& value) {
  ResolvedRegistryPath where;
  if (!Resolve(path, true, &where)) return kErrorBadPathname;
  OperationScope scope(*this);
  std::unique_ptr<platform::SettingsKey> key;
  const long error =
      store().CreateKey(where.root, where.key, platform::kKeyReadWrite | view_flags_, &key);
  if (error != kErrorSuccess) return error;
  return key->SetValue(where.value_name, value);
}

long ORegistry::DeleteValue(std::string_view path) {
  ResolvedRegistryPath where;
  if (!Resolve(path, true, &where)) return kErrorBadPathname;
  OperationScope scope(*this);
  std::unique_ptr<platform::SettingsKey> key;
  if (const long error = OpenKey(where, &key); error != kErrorSuccess) return error;
  return key->DeleteValue(where.value_name);
}

long ORegistry::DeleteKey(std::string_view path) {
  ResolvedRegistryPath where;
  if (!Resolve(path, false, &where)) return kErrorBadPathname;
  // The root itself cannot be deleted; the store would be asked for "".
  if (where.key.empty()) return kErrorAccessDenied;
  OperationScope scope(*this);
  std::unique_ptr<platform::SettingsKey> root;
  const ResolvedRegistryPath root_only{where.root, "", ""};
  if (const long error = OpenKey(root_only, &root); error != kErrorSuccess) return error;
  return root->DeleteSubKey(where.key);
}

long ORegistry::EnumerateKey(std::string_view path, uint32_t index, std::string* name) {
  if (name == nullptr) return kErrorInvalidParameter;
  ResolvedRegistryPath where;
  if (!Resolve(path, false, &where)) return kErrorBadPathname;
  OperationScope scope(*this);
  std::unique_ptr<platform::SettingsKey> key;
  if (const long error = OpenKey(where, &key); error != kErrorSuccess) return error;
  return key->EnumSubKey(index, name);
}

long ORegistry::QueryKeyInfo(std::string_view path, platform::KeyInfo* info) {
  if (info == nullptr) return kErrorInvalidParameter;
  ResolvedRegistryPath where;
  if (!Resolve(path, false, &where)) return kErrorBadPathname;
  OperationScope scope(*this);
  std::unique_ptr<platform::SettingsKey> key;
  if (const long error = OpenKey(where, &key); error != kErrorSuccess) return error;
  return key->QueryInfo(info);
}

bool ORegistry::KeyExists(std::string_view path) {
  ResolvedRegistryPath where;
  if (!Resolve(path, false, &where)) return false;
  OperationScope scope(*this);
  std::unique_ptr<platform::SettingsKey> key;
  return OpenKey(where, &key) == kErrorSuccess;
}

std::optional<uint32_t> ORegistry::ReadDword(std::string_view path) {
  platform::RegistryValue value;
  if (ReadValue(path, &value) != kErrorSuccess) return std::nullopt;
  return platform::ReadDword(value);
}

std::optional<std::string> ORegistry::ReadString(std::string_view path) {
  platform::RegistryValue value;
  if (ReadValue(path, &value) != kErrorSuccess) return std::nullopt;
  return platform::ReadString(value);
}

long ORegistry::WriteDword(std::string_view path, uint32_t value) {
  return WriteValue(path, platform::MakeDwordValue(value));
}

long ORegistry::WriteString(std::string_view path, std::string_view value) {
  return WriteValue(path, platform::MakeStringValue(value));
}

}  // namespace vantrel
