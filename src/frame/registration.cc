#include "frame/registration.h"

#include <memory>
#include <optional>
#include <vector>

#include "frame/class_table.h"
#include "frame/module.h"
#include "frame/ole_string.h"
#include "platform/registry_value.h"
#include "platform/win32_errors.h"
#include "support/reg_file_store.h"

namespace vantrel::frame {
namespace {

using platform::RegistryRoot;

// The keys a script writes under HKEY_CLASSES_ROOT, one value at a time.
class ClassesRootWriter {
 public:
  explicit ClassesRootWriter(platform::SettingsStore& store) : store_(store) {}

  // Sets `name` ("" = the key's default value) of `key` to `text`, creating
  // the key; an empty `name` with null `text` only creates the key.
  long Set(const std::string& key, const char* name, const char* text) {
    std::unique_ptr<platform::SettingsKey> handle;
    long error =
        store_.CreateKey(RegistryRoot::kClassesRoot, key, platform::kKeyReadWrite, &handle);
    if (error != platform::kErrorSuccess || text == nullptr) return error;
    return handle->SetValue(name, platform::MakeStringValue(text));
  }

  long DeleteTree(const std::string& key) {
    uint32_t deleted = 0;
    std::string where;
    return DeleteRegistryTree(store_, RegistryRoot::kClassesRoot, key, &deleted, &where);
  }

 private:
  platform::SettingsStore& store_;
};

// One value a script writes: `name` ("" = the default value) of `key`; a
// missing text only creates the key.
struct ScriptWrite {
  std::string key;
  const char* name;
  std::optional<std::string> text;
};

// Runs the writes in order and stops at the first that fails: what follows a
// failed write is not written.
long RunScript(ClassesRootWriter& root, const std::vector<ScriptWrite>& writes) {
  for (const ScriptWrite& write : writes) {
    const char* text = write.text ? write.text->c_str() : nullptr;
    if (const long error = root.Set(write.key, write.name, text)) return error;
  }
  return platform::kErrorSuccess;
}

// Remembers the first failure of steps that all run.
class FirstFailure {
 public:
  void operator()(long error) {
    if (error_ == platform::kErrorSuccess) error_ = error;
  }
  long error() const { return error_; }

 private:
  long error_ = platform::kErrorSuccess;
};

HRESULT FromError(long error) {
  return error == platform::kErrorSuccess ? S_OK : HRESULT_FROM_WIN32(static_cast<DWORD>(error));
}

std::string ClassIdText(const ClassEntry& entry) {
  return entry.registry_clsid != nullptr ? entry.registry_clsid : GuidText(*entry.clsid);
}

long RegisterAppId(ClassesRootWriter& root) {
  return RunScript(root, {{std::string("AppID\\") + kAppId, "", "Vantrel"},
                          {"AppID\\Vantrel.DLL", "AppID", kAppId}});
}

long RegisterClass(ClassesRootWriter& root, const ClassEntry& entry, const std::string& path) {
  const std::string clsid = ClassIdText(entry);
  const std::string progid = entry.progid;
  const std::string independent = entry.version_independent_progid;
  const std::string key = "CLSID\\" + clsid;
  return RunScript(root, {{progid, "", entry.display_name},
                          {progid + "\\CLSID", "", clsid},
                          {independent, "", entry.display_name},
                          {independent + "\\CLSID", "", clsid},
                          {independent + "\\CurVer", "", progid},
                          {key, "", entry.display_name},
                          {key, "AppID", kAppId},
                          {key + "\\ProgID", "", progid},
                          {key + "\\VersionIndependentProgID", "", independent},
                          {key + "\\Programmable", "", std::nullopt},
                          {key + "\\InprocServer32", "", path},
                          {key + "\\InprocServer32", "ThreadingModel", "Free"},
                          {key + "\\TypeLib", "", kTypeLibId}});
}

// Removal keeps going past a failure and reports the first one.
long UnregisterClass(ClassesRootWriter& root, const ClassEntry& entry) {
  FirstFailure step;
  step(root.DeleteTree(entry.progid));
  step(root.DeleteTree(entry.version_independent_progid));
  step(root.DeleteTree("CLSID\\" + ClassIdText(entry)));
  return step.error();
}

}  // namespace

std::string GuidText(REFGUID guid) {
  OLECHAR text[40] = {};
  StringFromGUID2(guid, text, 40);
  return OleToUtf8(text);
}

HRESULT RegisterServer() {
  ClassesRootWriter root(platform::DefaultSettingsStore());
  const std::string path = Module().ModulePath();
  long error = RegisterAppId(root);
  if (error != platform::kErrorSuccess) return FromError(error);
  for (const ClassEntry& entry : ClassTable()) {
    error = RegisterClass(root, entry, path);
    if (error != platform::kErrorSuccess) return FromError(error);
  }
  return RegisterTypeLibrary(path);
}

HRESULT UnregisterServer() {
  ClassesRootWriter root(platform::DefaultSettingsStore());
  FirstFailure step;
  for (const ClassEntry& entry : ClassTable()) step(UnregisterClass(root, entry));
  step(root.DeleteTree(std::string("AppID\\") + kAppId));
  step(root.DeleteTree("AppID\\Vantrel.DLL"));
  const HRESULT hr = UnregisterTypeLibrary();
  if (step.error() != platform::kErrorSuccess) return FromError(step.error());
  return hr;
}

}  // namespace vantrel::frame
