#include "integration/module_store.h"

#include <filesystem>
#include <memory>

#include "platform/clock.h"
#include "platform/environment.h"
#include "platform/process.h"
#include "support/registry_path.h"

namespace vantrel::testing {
namespace {

struct SharedStore {
  SharedStore()
      : folder(std::filesystem::temp_directory_path() /
               ("vantrel-modules-" + std::to_string(platform::CurrentProcessId()))) {
    std::filesystem::create_directories(folder);
    platform::SetEnvironmentValue("VANTREL_HOME", folder.string());
    store = platform::OpenSettingsStoreAt(folder.string());
  }
  ~SharedStore() {
    store.reset();
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
  std::filesystem::path folder;
  std::unique_ptr<platform::SettingsStore> store;
};

SharedStore& Shared() {
  static SharedStore shared;
  return shared;
}

}  // namespace

platform::SettingsStore& ModuleStore() { return *Shared().store; }

std::string ModuleStoreFolder() { return Shared().folder.string(); }

bool SetDriverIsolation(bool on) {
  return ModuleSettings("").WriteDword("GLOBAL:Driver Isolation", on ? 1 : 0) == 0;
}

PrinterRegistry ModuleSettings(const std::string& printer) {
  return PrinterRegistry(printer, {}, {}, {}, 0, &ModuleStore());
}

std::optional<uint32_t> WaitForHeldHost(const std::string& printer) {
  std::optional<uint32_t> host;
  for (int i = 0; i < 500 && !host; ++i) {
    platform::SleepMilliseconds(20);
    host = ModuleSettings(printer).ReadDword("SETTINGS:Host Process");
  }
  return host;
}

namespace {

// Deletes the key at `path` with every key below it.
void DeleteTree(PrinterRegistry& registry, const std::string& path) {
  std::string child;
  while (registry.EnumerateKey(path, 0, &child) == 0) {
    DeleteTree(registry, path + "/" + EscapeRegistryName(child));
    std::string still;
    // A child that would not go would be found first for ever.
    if (registry.EnumerateKey(path, 0, &still) == 0 && still == child) return;
  }
  registry.DeleteKey(path);
}

}  // namespace

void ForgetModulePrinters(std::initializer_list<const char*> names) {
  for (const char* name : names) {
    PrinterRegistry printer = ModuleSettings(name);
    DeleteTree(printer, "2:SYSTEM/CurrentControlSet/Control/Print/Printers/[PRINTER]");
  }
}

void ForgetHeldHost(const std::string& printer) {
  ModuleSettings(printer).DeleteValue("SETTINGS:Host Process");
}

std::string SampleModule(const std::string& variant) {
  std::string folder = SAMPLE_DRIVER_DIR;
  if (folder.empty()) {
    folder = std::filesystem::path(platform::CurrentExecutablePath()).parent_path().string();
  }
  return (std::filesystem::path(folder) / (variant + SAMPLE_DRIVER_SUFFIX)).string();
}

}  // namespace vantrel::testing
