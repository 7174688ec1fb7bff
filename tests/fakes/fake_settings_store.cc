#include "fakes/fake_settings_store.h"

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/unicode.h"
#include "platform/win32_errors.h"
#include "platform/thread_annotations.h"

namespace vantrel::testing {
namespace {

using platform::KeyInfo;
using platform::RegistryRoot;
using platform::RegistryValue;
using Operation = FakeSettingsStore::Operation;

struct NamedValue {
  std::string name;  // as first written
  RegistryValue value;
};

struct Node {
  explicit Node(std::string key_name) : name(std::move(key_name)) {}
  std::string name;                                       // as first written
  std::map<std::string, std::shared_ptr<Node>> children;  // by folded name
  std::map<std::string, NamedValue> values;               // by folded name
  bool deleted = false;  // set when the key goes, for handles still open on it
};

uint32_t Utf16Length(const std::string& text) {
  return static_cast<uint32_t>(platform::Utf8ToUtf16(text).size());
}

// Splits a "\"-separated path as the registry does: a leading separator
// makes it unusable, doubled and trailing separators are ignored.
long SplitPath(std::string_view path, std::vector<std::string>* parts) {
  parts->clear();
  if (!path.empty() && path.front() == '\\') return platform::kErrorBadPathname;
  size_t start = 0;
  while (start < path.size()) {
    const size_t end = std::min(path.find('\\', start), path.size());
    if (end > start) parts->emplace_back(path.substr(start, end - start));
    start = end + 1;
  }
  return platform::kErrorSuccess;
}

}  // namespace

struct FakeSettingsStore::State {
  struct Injection {
    long error = platform::kErrorSuccess;
    int remaining = 0;  // kAlways: until cleared
  };

  // Counts the call and answers the injected failure for it, if any.
  long EnterLocked(Operation operation) REQUIRES(mutex) {
    const auto index = static_cast<size_t>(operation);
    ++calls[index];
    Injection& injection = injections[index];
    if (injection.error == platform::kErrorSuccess) return platform::kErrorSuccess;
    const long error = injection.error;
    if (injection.remaining != kAlways && --injection.remaining == 0) injection = {};
    return error;
  }

  std::shared_ptr<Node>& Root(RegistryRoot root) REQUIRES(mutex) {
    return roots[static_cast<size_t>(root)];
  }

  // The node at `parts` below `root`, or null.
  std::shared_ptr<Node> FindLocked(RegistryRoot root, const std::vector<std::string>& parts)
      REQUIRES(mutex) {
    std::shared_ptr<Node> node = Root(root);
    for (const std::string& part : parts) {
      const auto child = node->children.find(platform::AsciiLower(part));
      if (child == node->children.end()) return nullptr;
      node = child->second;
    }
    return node;
  }

  Mutex mutex;
  std::array<std::shared_ptr<Node>, 4> roots GUARDED_BY(mutex){
      std::make_shared<Node>(""), std::make_shared<Node>(""), std::make_shared<Node>(""),
      std::make_shared<Node>("")};
  bool read_only GUARDED_BY(mutex) = false;
  std::array<Injection, kOperationCount> injections GUARDED_BY(mutex){};
  std::array<int, kOperationCount> calls GUARDED_BY(mutex){};
};

namespace {

class FakeKey : public platform::SettingsKey {
 public:
  FakeKey(std::shared_ptr<FakeSettingsStore::State> state, std::shared_ptr<Node> node,
          uint32_t access)
      : state_(std::move(state)), node_(std::move(node)), access_(access) {}

  long QueryValue(std::string_view name, RegistryValue* value) override {
    MutexLock lock(state_->mutex);
    if (const long error = EnterLocked(Operation::kQueryValue, platform::kKeyQueryValue)) {
      return error;
    }
    const auto found = node_->values.find(platform::AsciiLower(name));
    if (found == node_->values.end()) return platform::kErrorFileNotFound;
    *value = found->second.value;
    return platform::kErrorSuccess;
  }

  long SetValue(std::string_view name, const RegistryValue& value) override {
    MutexLock lock(state_->mutex);
    if (const long error = EnterWriteLocked(Operation::kSetValue)) return error;
    const auto [slot, added] =
        node_->values.try_emplace(platform::AsciiLower(name), NamedValue{std::string(name), {}});
    slot->second.value = value;
    return platform::kErrorSuccess;
  }

  long DeleteValue(std::string_view name) override {
    MutexLock lock(state_->mutex);
    if (const long error = EnterWriteLocked(Operation::kDeleteValue)) return error;
    return node_->values.erase(platform::AsciiLower(name)) ? platform::kErrorSuccess
                                                           : platform::kErrorFileNotFound;
  }

  long DeleteSubKey(std::string_view relative_path) override {
    std::vector<std::string> parts;
    MutexLock lock(state_->mutex);
    if (const long error = EnterLocked(Operation::kDeleteSubKey, 0)) return error;
    if (const long error = SplitPath(relative_path, &parts)) return error;
    if (parts.empty()) return platform::kErrorInvalidParameter;
    if (state_->read_only) return platform::kErrorAccessDenied;
    std::shared_ptr<Node> parent = node_;
    for (size_t i = 0; parent && i + 1 < parts.size(); ++i) {
      const auto child = parent->children.find(platform::AsciiLower(parts[i]));
      parent = child == parent->children.end() ? nullptr : child->second;
    }
    if (!parent) return platform::kErrorFileNotFound;
    const auto target = parent->children.find(platform::AsciiLower(parts.back()));
    if (target == parent->children.end()) return platform::kErrorFileNotFound;
    if (!target->second->children.empty()) return platform::kErrorAccessDenied;
    target->second->deleted = true;
    parent->children.erase(target);
    return platform::kErrorSuccess;
  }

  long EnumSubKey(uint32_t index, std::string* name) override {
    MutexLock lock(state_->mutex);
    if (const long error = EnterLocked(Operation::kEnumSubKey, platform::kKeyEnumerateSubKeys)) {
      return error;
    }
    if (index >= node_->children.size()) return platform::kErrorNoMoreItems;
    *name = std::next(node_->children.begin(), index)->second->name;
    return platform::kErrorSuccess;
  }

  long EnumValue(uint32_t index, std::string* name, RegistryValue* value) override {
    MutexLock lock(state_->mutex);
    if (const long error = EnterLocked(Operation::kEnumValue, platform::kKeyQueryValue)) {
      return error;
    }
    if (index >= node_->values.size()) return platform::kErrorNoMoreItems;
    const NamedValue& found = std::next(node_->values.begin(), index)->second;
    *name = found.name;
    *value = found.value;
    return platform::kErrorSuccess;
  }

  long QueryInfo(KeyInfo* info) override {
    MutexLock lock(state_->mutex);
    if (const long error = EnterLocked(Operation::kQueryInfo, platform::kKeyQueryValue)) {
      return error;
    }
    *info = {};
    info->subkey_count = static_cast<uint32_t>(node_->children.size());
    info->value_count = static_cast<uint32_t>(node_->values.size());
    for (const auto& [folded, child] : node_->children) {
      info->max_subkey_name_length =
          std::max(info->max_subkey_name_length, Utf16Length(child->name));
    }
    for (const auto& [folded, named] : node_->values) {
      info->max_value_name_length = std::max(info->max_value_name_length, Utf16Length(named.name));
      info->max_value_data_size =
          std::max(info->max_value_data_size, static_cast<uint32_t>(named.value.data.size()));
    }
    return platform::kErrorSuccess;
  }

 private:
  // Counts the call, then answers an injected failure, a handle lacking
  // `needed` access, or a key deleted since it was opened, in that order.
  long EnterLocked(Operation operation, uint32_t needed) REQUIRES(state_->mutex) {
    if (const long error = state_->EnterLocked(operation)) return error;
    if ((access_ & needed) != needed) return platform::kErrorAccessDenied;
    if (node_->deleted) return platform::kErrorKeyDeleted;
    return platform::kErrorSuccess;
  }

  long EnterWriteLocked(Operation operation) REQUIRES(state_->mutex) {
    if (const long error = EnterLocked(operation, platform::kKeySetValue)) return error;
    return state_->read_only ? platform::kErrorAccessDenied : platform::kErrorSuccess;
  }

  const std::shared_ptr<FakeSettingsStore::State> state_;
  const std::shared_ptr<Node> node_;
  const uint32_t access_;
};

}  // namespace

FakeSettingsStore::FakeSettingsStore() : state_(std::make_shared<State>()) {}

FakeSettingsStore::~FakeSettingsStore() = default;

long FakeSettingsStore::OpenKey(RegistryRoot root, std::string_view path, uint32_t access,
                                std::unique_ptr<platform::SettingsKey>* key) {
  std::vector<std::string> parts;
  MutexLock lock(state_->mutex);
  if (const long error = state_->EnterLocked(Operation::kOpenKey)) return error;
  if (const long error = SplitPath(path, &parts)) return error;
  std::shared_ptr<Node> node = state_->FindLocked(root, parts);
  if (!node) return platform::kErrorFileNotFound;
  if (state_->read_only && (access & platform::kKeyWriteAccessBits)) {
    return platform::kErrorAccessDenied;
  }
  *key = std::make_unique<FakeKey>(state_, std::move(node), access);
  return platform::kErrorSuccess;
}

long FakeSettingsStore::CreateKey(RegistryRoot root, std::string_view path, uint32_t access,
                                  std::unique_ptr<platform::SettingsKey>* key) {
  std::vector<std::string> parts;
  MutexLock lock(state_->mutex);
  if (const long error = state_->EnterLocked(Operation::kCreateKey)) return error;
  if (const long error = SplitPath(path, &parts)) return error;
  std::shared_ptr<Node> node = state_->FindLocked(root, parts);
  if (!node && state_->read_only) return platform::kErrorAccessDenied;
  if (state_->read_only && (access & platform::kKeyWriteAccessBits)) {
    return platform::kErrorAccessDenied;
  }
  node = state_->Root(root);
  for (const std::string& part : parts) {
    auto& child = node->children[platform::AsciiLower(part)];
    if (!child) child = std::make_shared<Node>(part);
    node = child;
  }
  *key = std::make_unique<FakeKey>(state_, std::move(node), access);
  return platform::kErrorSuccess;
}

void FakeSettingsStore::SetReadOnly(bool read_only) {
  MutexLock lock(state_->mutex);
  state_->read_only = read_only;
}

void FakeSettingsStore::InjectFailure(Operation operation, long error, int times) {
  MutexLock lock(state_->mutex);
  State::Injection& injection = state_->injections[static_cast<size_t>(operation)];
  injection = error == platform::kErrorSuccess || times == 0 ? State::Injection{}
                                                             : State::Injection{error, times};
}

int FakeSettingsStore::Calls(Operation operation) const {
  MutexLock lock(state_->mutex);
  return state_->calls[static_cast<size_t>(operation)];
}

void FakeSettingsStore::ResetCounts() {
  MutexLock lock(state_->mutex);
  state_->calls = {};
}

}  // namespace vantrel::testing
