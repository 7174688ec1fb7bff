// The odometer the driver keeps under the printer data key "PrintLink".
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "platform/registry_value.h"
#include "platform/spooler.h"
#include "printers/basic_driver_interface.h"

namespace vantrel::printers {
namespace {

constexpr char kOdometerKey[] = "PrintLink";

// A number kept as a DWORD (typed, or 4 bytes of binary), a QWORD, a double
// (8 bytes of binary) or decimal text.
std::optional<double> ReadNumber(platform::SpoolerPrinter& printer, const char* name) {
  platform::RegistryValue value;
  if (printer.GetDataEx(kOdometerKey, name, &value.type, &value.data) != platform::kErrorSuccess)
    return std::nullopt;
  if (auto dword = platform::ReadDword(value)) return *dword;
  if (auto qword = platform::ReadQword(value)) return static_cast<double>(*qword);
  if (value.type == platform::kRegBinary && value.data.size() == sizeof(uint32_t)) {
    uint32_t number = 0;
    std::memcpy(&number, value.data.data(), sizeof number);  // little-endian, as the registry
    return number;
  }
  if (value.type == platform::kRegBinary && value.data.size() == sizeof(double)) {
    double number = 0;
    std::memcpy(&number, value.data.data(), sizeof number);
    return number;
  }
  if (auto text = platform::ReadString(value)) {
    char* end = nullptr;
    const double number = std::strtod(text->c_str(), &end);
    if (end != text->c_str()) return number;
  }
  return std::nullopt;
}

}  // namespace

void BasicDriverInterface::GetOdometer(OdometerRecord* record) {
  if (printer() == nullptr) return;
  platform::SpoolerPrinter& spooler = *printer();
  const auto pages = ReadNumber(spooler, "Odometer Pages");
  const auto distance = ReadNumber(spooler, "Odometer Distance");
  if (!pages || !distance) {
    *record = OdometerRecord{};
    return;
  }
  record->pages = static_cast<uint32_t>(*pages);
  record->distance = *distance;
  record->last_cleaning_pages =
      static_cast<uint32_t>(ReadNumber(spooler, "Odometer Last Cleaning Page Count").value_or(0));
  record->last_cleaning_distance =
      ReadNumber(spooler, "Odometer Last Cleaning Distance").value_or(0);
  record->cleaned = ReadNumber(spooler, "Odometer Has Been Cleaned").value_or(0) != 0;
}

}  // namespace vantrel::printers
