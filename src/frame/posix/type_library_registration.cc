// The type library's registration in the settings store: the keys a client
// looks for under HKEY_CLASSES_ROOT\TypeLib. The type information itself is
// compiled into the library, so the path only tells where it lives.
#include <memory>

#include "frame/module.h"
#include "frame/registration.h"
#include "platform/registry_value.h"
#include "platform/win32_errors.h"
#include "support/reg_file_store.h"

namespace vantrel::frame {
namespace {

long SetDefault(const std::string& key, const std::string& text) {
  std::unique_ptr<platform::SettingsKey> handle;
  const long error = platform::DefaultSettingsStore().CreateKey(
      platform::RegistryRoot::kClassesRoot, key, platform::kKeyReadWrite, &handle);
  if (error != platform::kErrorSuccess) return error;
  return handle->SetValue("", platform::MakeStringValue(text));
}

HRESULT FromError(long error) {
  return error == platform::kErrorSuccess ? S_OK : HRESULT_FROM_WIN32(static_cast<DWORD>(error));
}

}  // namespace

HRESULT RegisterTypeLibrary(const std::string& module_path) {
  const std::string version = std::string("TypeLib\\") + kTypeLibId + "\\1.0";
  const std::string folder = module_path.substr(0, module_path.rfind('/'));
  for (const auto& [key, text] :
       {std::pair<std::string, std::string>{version, "Vantrel 1.0 Type Library"},
        {version + "\\0\\linux64", module_path},
        {version + "\\FLAGS", "0"},
        {version + "\\HELPDIR", folder}}) {
    const long error = SetDefault(key, text);
    if (error != platform::kErrorSuccess) return FromError(error);
  }
  return S_OK;
}

HRESULT UnregisterTypeLibrary() {
  uint32_t deleted = 0;
  std::string where;
  return FromError(DeleteRegistryTree(platform::DefaultSettingsStore(),
                                      platform::RegistryRoot::kClassesRoot,
                                      std::string("TypeLib\\") + kTypeLibId, &deleted, &where));
}

}  // namespace vantrel::frame
