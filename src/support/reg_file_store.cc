#include "support/reg_file_store.h"

#include <memory>
#include <utility>
#include <vector>

#include "platform/win32_errors.h"

namespace vantrel {
namespace {

using platform::kErrorFileNotFound;
using platform::kErrorNoMoreItems;
using platform::kErrorSuccess;
using platform::RegistryRoot;
using platform::RegistryValue;
using platform::SettingsKey;
using platform::SettingsStore;

std::string ChildPath(std::string_view parent, std::string_view name) {
  std::string path(parent);
  if (!path.empty()) path += '\\';
  path += name;
  return path;
}

std::string_view ParentPath(std::string_view path) {
  const size_t slash = path.rfind('\\');
  return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

long ReadValues(SettingsKey& key, RegFileSection* section) {
  for (uint32_t index = 0;; ++index) {
    RegFileValue entry;
    RegistryValue value;
    const long error = key.EnumValue(index, &entry.name, &value);
    if (error == kErrorNoMoreItems) return kErrorSuccess;
    if (error != kErrorSuccess) return error;
    if (!CanWriteRegFileName(entry.name)) return platform::kErrorInvalidName;
    entry.value = std::move(value);
    section->values.push_back(std::move(entry));
  }
}

long ReadSubKeyNames(SettingsKey& key, std::vector<std::string>* names) {
  for (uint32_t index = 0;; ++index) {
    std::string name;
    const long error = key.EnumSubKey(index, &name);
    if (error == kErrorNoMoreItems) return kErrorSuccess;
    if (error != kErrorSuccess) return error;
    if (name.empty() || !CanWriteRegFileName(name)) return platform::kErrorInvalidName;
    names->push_back(std::move(name));
  }
}

// Every key of the subtree at `top`, parents before children. Walks with an
// explicit stack: the store sets no depth limit that recursion could rely on.
// With `file`, also reads each key's values into a section.
long WalkTree(SettingsStore& store, RegistryRoot root, std::string_view top,
              std::vector<std::string>* keys, RegFile* file, std::string* where) {
  std::vector<std::string> pending{std::string(top)};
  while (!pending.empty()) {
    const std::string path = std::move(pending.back());
    pending.pop_back();
    *where = RegFileKeyName(root, path);
    std::unique_ptr<SettingsKey> key;
    long error = store.OpenKey(root, path, platform::kKeyRead, &key);
    if (error == kErrorFileNotFound && !keys->empty()) continue;  // deleted meanwhile
    if (error != kErrorSuccess) return error;
    if (file) {
      RegFileSection section{root, path, false, {}};
      if ((error = ReadValues(*key, &section)) != kErrorSuccess) return error;
      file->sections.push_back(std::move(section));
    }
    std::vector<std::string> children;
    if ((error = ReadSubKeyNames(*key, &children)) != kErrorSuccess) return error;
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
      pending.push_back(ChildPath(path, *child));
    }
    keys->push_back(path);
  }
  return kErrorSuccess;
}

bool KeyExists(SettingsStore& store, RegistryRoot root, std::string_view path) {
  std::unique_ptr<SettingsKey> key;
  return store.OpenKey(root, path, platform::kKeyRead, &key) == kErrorSuccess;
}

// How many keys creating `path` adds: it and its missing parents.
uint32_t CountMissingKeys(SettingsStore& store, RegistryRoot root, std::string_view path) {
  uint32_t missing = 0;
  while (!path.empty() && !KeyExists(store, root, path)) {
    ++missing;
    path = ParentPath(path);
  }
  return missing;
}

long ApplyValue(SettingsKey& key, const RegFileValue& entry, RegFileChanges* changes) {
  RegistryValue current;
  const long read = key.QueryValue(entry.name, &current);
  if (read != kErrorSuccess && read != kErrorFileNotFound) return read;
  const bool exists = read == kErrorSuccess;
  long error = kErrorSuccess;
  if (entry.value) {
    if (exists && current == *entry.value) return kErrorSuccess;
    error = key.SetValue(entry.name, *entry.value);
  } else {
    if (!exists) return kErrorSuccess;
    error = key.DeleteValue(entry.name);
    if (error == kErrorFileNotFound) return kErrorSuccess;
  }
  if (error == kErrorSuccess) ++changes->values;
  return error;
}

long ApplySection(SettingsStore& store, const RegFileSection& section, RegFileChanges* changes,
                  std::string* where) {
  *where = RegFileKeyName(section.root, section.key);
  if (section.delete_key) {
    return DeleteRegistryTree(store, section.root, section.key, &changes->keys, where);
  }
  const uint32_t missing = CountMissingKeys(store, section.root, section.key);
  std::unique_ptr<SettingsKey> key;
  long error = store.CreateKey(section.root, section.key, platform::kKeyReadWrite, &key);
  if (error != kErrorSuccess) return error;
  changes->keys += missing;
  for (const RegFileValue& entry : section.values) {
    if ((error = ApplyValue(*key, entry, changes)) != kErrorSuccess) {
      *where += " value \"" + (entry.name.empty() ? std::string("@") : entry.name) + "\"";
      return error;
    }
  }
  return kErrorSuccess;
}

}  // namespace

std::string RegFileKeyName(RegistryRoot root, std::string_view key) {
  std::string name(RegFileRootName(root));
  if (!key.empty()) name.append("\\").append(key);
  return name;
}

long DeleteRegistryTree(SettingsStore& store, RegistryRoot root, std::string_view key,
                        uint32_t* deleted, std::string* where) {
  *where = RegFileKeyName(root, key);
  if (key.empty()) return platform::kErrorAccessDenied;
  std::vector<std::string> keys;
  long error = WalkTree(store, root, key, &keys, nullptr, where);
  if (error == kErrorFileNotFound && keys.empty()) return kErrorSuccess;
  if (error != kErrorSuccess) return error;
  std::unique_ptr<SettingsKey> top;
  *where = RegFileKeyName(root, "");
  if ((error = store.OpenKey(root, "", platform::kKeyReadWrite, &top)) != kErrorSuccess)
    return error;
  for (auto path = keys.rbegin(); path != keys.rend(); ++path) {
    *where = RegFileKeyName(root, *path);
    error = top->DeleteSubKey(*path);
    if (error == kErrorFileNotFound) continue;  // deleted meanwhile
    if (error != kErrorSuccess) return error;
    ++*deleted;
  }
  return kErrorSuccess;
}

long ExportRegistryTree(SettingsStore& store, RegistryRoot root, std::string_view key,
                        RegFile* file, std::string* where) {
  std::vector<std::string> keys;
  const long error = WalkTree(store, root, key, &keys, file, where);
  if (error == kErrorSuccess) where->clear();
  return error;
}

long ApplyRegFile(SettingsStore& store, const RegFile& file, RegFileChanges* changes,
                  std::string* where) {
  for (const RegFileSection& section : file.sections) {
    const long error = ApplySection(store, section, changes, where);
    if (error != kErrorSuccess) return error;
  }
  where->clear();
  return kErrorSuccess;
}

}  // namespace vantrel
