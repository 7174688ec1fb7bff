// PrinterRegistry and ORegistry over the store the process opens for itself
// (under VANTREL_HOME on Linux, the registry on Windows), in a fresh process
// so that no test's store override is in the way.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>

#include "integration/worker.h"
#include "platform/environment.h"
#include "platform/win32_errors.h"
#include "support/registry.h"

namespace vantrel {
namespace {

using platform::kErrorSuccess;

// Runs every operation against the process's own store; exits with the
// number of the first step that failed.
VANTREL_TEST_WORKER(registry_default_store) {
  const std::string base = "SOFTWARE/Vantrel Tests/" + EscapeRegistryName(args.at(0));
  PrinterRegistry printer("Lab/1");
  ORegistry registry;
  std::string name;
  platform::KeyInfo info;
  if (printer.WriteDword("2:" + base + "/[PRINTER]/Count", 7) != kErrorSuccess) return 1;
  if (registry.ReadDword("LOCAL_MACHINE:" + base + "/Lab//1/Count") != 7u) return 2;
  if (registry.WriteString("1:" + base + "/Name", "user") != kErrorSuccess) return 3;
  if (registry.ReadString("CURRENT_USER:" + base + "/Name") != "user") return 4;
  if (registry.EnumerateKey("2:" + base, 0, &name) != kErrorSuccess || name != "Lab/1") return 5;
  if (registry.QueryKeyInfo("2:" + base + "/Lab//1", &info) != kErrorSuccess) return 6;
  if (info.value_count != 1) return 7;
  if (registry.DeleteValue("2:" + base + "/Lab//1/Count") != kErrorSuccess) return 8;
  if (registry.DeleteKey("2:" + base + "/Lab//1") != kErrorSuccess) return 9;
  if (registry.DeleteKey("2:" + base) != kErrorSuccess) return 10;
  if (registry.KeyExists("2:" + base)) return 11;
  if (registry.DeleteValue("1:" + base + "/Name") != kErrorSuccess) return 12;
  if (registry.DeleteKey("1:" + base) != kErrorSuccess) return 13;
  // The shared parents go too once no other run uses them (refused otherwise).
  registry.DeleteKey("2:SOFTWARE/Vantrel Tests");
  registry.DeleteKey("1:SOFTWARE/Vantrel Tests");
  return 0;
}

TEST(PrinterRegistryTest, WorksOnTheDefaultStore) {
  const auto folder = std::filesystem::temp_directory_path() /
                      ("vantrel-registry-" + std::to_string(std::random_device()()));
  const auto previous = platform::EnvironmentValue("VANTREL_HOME");
  ASSERT_TRUE(platform::SetEnvironmentValue("VANTREL_HOME", folder.string()));
  auto worker =
      vantrel::testing::StartWorker("registry_default_store", {folder.filename().string()});
  if (previous)
    platform::SetEnvironmentValue("VANTREL_HOME", *previous);
  else
    platform::RemoveEnvironmentValue("VANTREL_HOME");
  ASSERT_TRUE(worker);
  EXPECT_EQ(vantrel::testing::WaitForWorker(*worker), 0) << "the worker's failed step";
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
}

}  // namespace
}  // namespace vantrel
