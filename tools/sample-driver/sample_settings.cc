#include "sample_settings.h"

#include <fstream>
#include <iterator>

#include "platform/registry_value.h"
#include "platform/settings_store.h"
#include "support/reg_file.h"
#include "support/reg_file_store.h"
#include "support/registry.h"

namespace vantrel::sample {

namespace {

PrinterRegistry RegistryOf(const std::string& printer) { return PrinterRegistry(printer); }

// Where the printer's settings key lives in the store.
bool SettingsKey(const std::string& printer, ResolvedRegistryPath* key) {
  return RegistryOf(printer).Resolve("SETTINGS:", false, key);
}

}  // namespace

uint64_t ReadNumber(const std::string& printer, const std::string& path, uint64_t fallback) {
  platform::RegistryValue value;
  if (RegistryOf(printer).ReadValue("SETTINGS:" + path, &value) != 0) return fallback;
  if (value.data.size() != 4 && value.data.size() != 8) return fallback;
  uint64_t number = 0;
  for (size_t i = 0; i < value.data.size(); ++i) number |= uint64_t{value.data[i]} << (8 * i);
  return number;
}

bool SaveSettings(const std::string& printer) {
  const uint64_t saves = ReadNumber(printer, "Save Count", 0);
  return RegistryOf(printer).WriteDword("SETTINGS:Save Count", static_cast<uint32_t>(saves + 1)) ==
         0;
}

bool ExportSettings(const std::string& printer, const std::string& path) {
  ResolvedRegistryPath key;
  if (!SettingsKey(printer, &key)) return false;
  RegFile file;
  std::string where;
  if (ExportRegistryTree(platform::DefaultSettingsStore(), key.root, key.key, &file, &where) != 0) {
    return false;
  }
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << EncodeRegFile(file);
  return static_cast<bool>(out.flush());
}

bool ImportSettings(const std::string& printer, const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  RegFile file;
  std::string error;
  if (!ParseRegFile(bytes, &file, &error) || file.sections.empty()) return false;
  ResolvedRegistryPath key;
  if (!SettingsKey(printer, &key)) return false;
  // The file may come from another printer: its first section names that
  // printer's settings key, which becomes ours.
  const std::string from = file.sections.front().key;
  for (RegFileSection& section : file.sections) {
    if (section.key.rfind(from, 0) != 0) return false;
    section.root = key.root;
    section.key = key.key + section.key.substr(from.size());
  }
  RegFileChanges changes;
  std::string where;
  return ApplyRegFile(platform::DefaultSettingsStore(), file, &changes, &where) == 0;
}

bool ResetSettings(const std::string& printer) {
  ResolvedRegistryPath key;
  if (!SettingsKey(printer, &key)) return false;
  uint32_t deleted = 0;
  std::string where;
  if (DeleteRegistryTree(platform::DefaultSettingsStore(), key.root, key.key, &deleted, &where) !=
      0) {
    return false;
  }
  PrinterRegistry registry = RegistryOf(printer);
  return registry.WriteDword("SETTINGS:Darkness", 15) == 0 &&
         registry.WriteDword("SETTINGS:Print Speed", 4) == 0 &&
         registry.WriteString("SETTINGS:Media Type", "Gap") == 0;
}

}  // namespace vantrel::sample
