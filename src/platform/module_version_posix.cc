#include <fstream>
#include <iterator>

#include "platform/elf_module.h"
#include "platform/module_version.h"
#include "platform/win32_errors.h"

namespace vantrel::platform {
namespace {

// Modules are read whole; anything larger is not a driver module.
constexpr std::streamoff kLargestModule = 512 << 20;

// A file that cannot be opened is reported as kErrorFileNotFound.
long ReadFacts(const std::string& path, bool* is_elf, ElfModuleFacts* facts) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  if (!file) return kErrorFileNotFound;
  const std::streamoff size = file.tellg();
  if (size < 0 || size > kLargestModule) return kErrorInvalidData;
  std::string bytes(static_cast<size_t>(size), '\0');
  file.seekg(0);
  if (!file.read(bytes.data(), size)) return kErrorCantRead;
  *is_elf = ParseElfModule(bytes, facts);
  return kErrorSuccess;
}

// This program's own class and machine, read the same way.
const ElfModuleFacts& OwnFacts() {
  static const ElfModuleFacts facts = [] {
    ElfModuleFacts own;
    bool is_elf = false;
    ReadFacts("/proc/self/exe", &is_elf, &own);
    return own;
  }();
  return facts;
}

}  // namespace

PlatformResult ReadModuleVersion(const std::string& path, ModuleVersionInfo* info) {
  *info = ModuleVersionInfo{};
  ElfModuleFacts facts;
  bool is_elf = false;
  const long error = ReadFacts(path, &is_elf, &facts);
  // A module that cannot be opened has no table; one that cannot be read
  // whole is an error.
  if (error == kErrorFileNotFound) return kErrorSuccess;
  if (error != kErrorSuccess) return error;
  if (!is_elf || !facts.has_version_table) return kErrorSuccess;
  const auto fields = ParseDottedVersion(VersionText(facts, "FileVersion"));
  if (!fields) return kErrorSuccess;
  info->has_table = true;
  for (int i = 0; i < 4; ++i) info->version[i] = (*fields)[i];
  info->product_version = VersionText(facts, "ProductVersion");
  // A product version that is no number reads as the file version.
  const auto product = ParseDottedVersion(info->product_version);
  for (int i = 0; i < 4; ++i) info->product[i] = product ? (*product)[i] : info->version[i];
  info->build_date = VersionText(facts, "Build Date");
  return kErrorSuccess;
}

bool ModuleNeedsHostProcess(const std::string& path) {
  ElfModuleFacts facts;
  bool is_elf = false;
  if (ReadFacts(path, &is_elf, &facts) != kErrorSuccess || !is_elf) return false;
  const ElfModuleFacts& own = OwnFacts();
  return own.elf_class != 0 && (facts.elf_class != own.elf_class || facts.machine != own.machine);
}

}  // namespace vantrel::platform
