// The sample driver's settings: values under the printer's "SETTINGS:" key
// of the settings store. Each function returns true on success.
#pragma once

#include <cstdint>
#include <string>

namespace vantrel::sample {

// Counts the saves in "SETTINGS:Save Count" (the values are kept as written).
bool SaveSettings(const std::string& printer);
// Writes the printer's settings key to `path` as a .reg file.
bool ExportSettings(const std::string& printer, const std::string& path);
// Applies a .reg file written by ExportSettings (for any printer) to this
// printer's settings key.
bool ImportSettings(const std::string& printer, const std::string& path);
// Replaces the settings with the defaults.
bool ResetSettings(const std::string& printer);

// A 4- or 8-byte number under "SETTINGS:<path>", or `fallback`.
uint64_t ReadNumber(const std::string& printer, const std::string& path, uint64_t fallback);

}  // namespace vantrel::sample
