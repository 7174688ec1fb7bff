#include "integration/module_store.h"

#include <filesystem>
#include <memory>

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

std::string SampleModule(const std::string& variant) {
  std::string folder = SAMPLE_DRIVER_DIR;
  if (folder.empty()) {
    folder = std::filesystem::path(platform::CurrentExecutablePath()).parent_path().string();
  }
  return (std::filesystem::path(folder) / (variant + SAMPLE_DRIVER_SUFFIX)).string();
}

}  // namespace vantrel::testing
