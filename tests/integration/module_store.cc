#include "integration/module_store.h"

#include <filesystem>
#include <memory>

#include "platform/clock.h"
#include "platform/environment.h"
#include "platform/process.h"

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

std::string SampleModule(const std::string& variant) {
  std::string folder = SAMPLE_DRIVER_DIR;
  if (folder.empty()) {
    folder = std::filesystem::path(platform::CurrentExecutablePath()).parent_path().string();
  }
  return (std::filesystem::path(folder) / (variant + SAMPLE_DRIVER_SUFFIX)).string();
}

}  // namespace vantrel::testing
