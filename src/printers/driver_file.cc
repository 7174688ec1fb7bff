#include "printers/driver_file.h"

#include <cstdio>
#include <vector>

#include "platform/elf_module.h"
#include "platform/file_date.h"
#include "platform/library_folder.h"
#include "platform/library_version.h"
#include "platform/module_version.h"
#include "platform/registry_value.h"
#include "platform/spooler.h"

namespace vantrel::printers {
namespace {

// The build date without its time: "2026-11-20, 09:30:00" gives "2026-11-20".
std::string DayOfBuildDate(const std::string& text) { return text.substr(0, text.find(", ")); }

std::string DateOfFile(const std::string& path) {
  int64_t seconds = 0;
  if (platform::ReadFileDate(path, &seconds) != platform::kErrorSuccess) return {};
  return platform::FormatFileDate(seconds);
}

// A raw queue passes bytes through this library alone, so its driver file is
// the library's own.
DriverFileFacts OwnFile() {
  DriverFileFacts facts;
  facts.found = true;
  facts.version = NormalizeDriverVersion(platform::LibraryVersionText("ProductVersion"));
  facts.date = DateOfFile(platform::LibraryPath());
  return facts;
}

}  // namespace

std::string FormatDriverVersion(const uint16_t (&numbers)[4]) {
  char text[32];
  std::snprintf(text, sizeof text, "%hu.%hu.%hu.%hu", numbers[0], numbers[1], numbers[2],
                numbers[3]);
  return text;
}

std::string NormalizeDriverVersion(const std::string& text) {
  const auto fields = platform::ParseDottedVersion(text);
  if (!fields) return text;
  const uint16_t numbers[4] = {(*fields)[0], (*fields)[1], (*fields)[2], (*fields)[3]};
  return FormatDriverVersion(numbers);
}

DriverFileFacts ReadModuleFile(const std::string& path) {
  DriverFileFacts facts;
  int64_t seconds = 0;
  if (path.empty() || platform::ReadFileDate(path, &seconds) != platform::kErrorSuccess)
    return facts;
  facts.found = true;
  facts.date = platform::FormatFileDate(seconds);
  platform::ModuleVersionInfo info;
  if (platform::ReadModuleVersion(path, &info) != platform::kErrorSuccess || !info.has_table)
    return facts;
  facts.version = FormatDriverVersion(info.product);
  facts.build_date = DayOfBuildDate(info.build_date);
  return facts;
}

DriverFileFacts ReadSpoolerDriverFile(platform::SpoolerPrinter& printer) {
  platform::DriverFile file;
  const long error = printer.GetDriverFile(&file);
  if (error == platform::kErrorFileNotFound) return OwnFile();
  if (error != platform::kErrorSuccess) return {};
  if (!file.module_path.empty()) return ReadModuleFile(file.module_path);
  DriverFileFacts facts;
  facts.found = true;
  facts.version = NormalizeDriverVersion(file.version);
  facts.date = platform::FormatFileDate(file.time);
  return facts;
}

std::string ReadInterfaceModulePath(platform::SpoolerPrinter& printer) {
  for (const char* value : {"Kesto Interface V3", "Kesto Interface"}) {
    platform::RegistryValue text;
    if (printer.GetData(value, &text.type, &text.data) != platform::kErrorSuccess) continue;
    return platform::ReadString(text).value_or("");
  }
  return {};
}

}  // namespace vantrel::printers
