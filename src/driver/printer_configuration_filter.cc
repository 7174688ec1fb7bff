#include "driver/printer_configuration_filter.h"

#include "driver/automation_values.h"
#include "frame/class_table.h"
#include "support/synchronizer.h"

namespace vantrel {
namespace {

using SwitchGetter = decltype(&IPrinterConfigurationFilter::get_Stocks);

struct SettingsGroup {
  SwitchGetter get;
  const char* property;
  uint32_t bit;
};

// The driver's settings groups in the order the mask is read. The driver
// leaves the bits 0x008 and 0x010 unused; they stay so.
constexpr SettingsGroup kSettingsGroups[] = {
    {&IPrinterConfigurationFilter::get_Stocks, "PrinterConfigurationFilter.Stocks", 0x001},
    {&IPrinterConfigurationFilter::get_Presets, "PrinterConfigurationFilter.Presets", 0x002},
    {&IPrinterConfigurationFilter::get_UtilityFonts, "PrinterConfigurationFilter.UtilityFonts",
     0x004},
    {&IPrinterConfigurationFilter::get_FontSubstitutions,
     "PrinterConfigurationFilter.FontSubstitutions", 0x020},
    {&IPrinterConfigurationFilter::get_DownloadedFonts,
     "PrinterConfigurationFilter.DownloadedFonts", 0x040},
    {&IPrinterConfigurationFilter::get_OptionalFonts, "PrinterConfigurationFilter.OptionalFonts",
     0x080},
    {&IPrinterConfigurationFilter::get_PrinterProperties,
     "PrinterConfigurationFilter.PrinterProperties", 0x100},
    {&IPrinterConfigurationFilter::get_PrintingPreferences,
     "PrinterConfigurationFilter.PrintingPreferences", 0x200},
    {&IPrinterConfigurationFilter::get_NetworkSettings,
     "PrinterConfigurationFilter.NetworkSettings", 0x400},
};

// Indices into kSettingsGroups.
enum Group : size_t {
  kStocks,
  kPresets,
  kUtilityFonts,
  kFontSubstitutions,
  kDownloadedFonts,
  kOptionalFonts,
  kPrinterProperties,
  kPrintingPreferences,
  kNetworkSettings,
};

}  // namespace

uint32_t PrinterConfigurationFilter::SettingsMask(IPrinterConfigurationFilter& filter) {
  static_assert(std::size(kSettingsGroups) == kGroupCount);
  uint32_t mask = 0;
  for (const SettingsGroup& group : kSettingsGroups) {
    VARIANT_BOOL on = VARIANT_FALSE;
    CheckPropertyAccess((filter.*group.get)(&on), group.property);
    if (on == VARIANT_TRUE) mask |= group.bit;
  }
  return mask == 0 ? kAllSettings : mask;
}

void PrinterConfigurationFilter::ReadSwitch(size_t group, VARIANT_BOOL* out) {
  if (out == nullptr) frame::Throw(frame::kInvalidArgument);
  OLock hold(critical_section());
  *out = switches_[group];
}

void PrinterConfigurationFilter::WriteSwitch(size_t group, VARIANT_BOOL value) {
  OLock hold(critical_section());
  switches_[group] = value;
}

STDMETHODIMP PrinterConfigurationFilter::get_Stocks(VARIANT_BOOL* retStocks) {
  return Member("PrinterConfigurationFilter::get_Stocks", [&] { ReadSwitch(kStocks, retStocks); });
}
STDMETHODIMP PrinterConfigurationFilter::put_Stocks(VARIANT_BOOL argStocks) {
  return Member("PrinterConfigurationFilter::put_Stocks", [&] { WriteSwitch(kStocks, argStocks); });
}

STDMETHODIMP PrinterConfigurationFilter::get_Presets(VARIANT_BOOL* retPresets) {
  return Member("PrinterConfigurationFilter::get_Presets",
                [&] { ReadSwitch(kPresets, retPresets); });
}
STDMETHODIMP PrinterConfigurationFilter::put_Presets(VARIANT_BOOL argPresets) {
  return Member("PrinterConfigurationFilter::put_Presets",
                [&] { WriteSwitch(kPresets, argPresets); });
}

STDMETHODIMP PrinterConfigurationFilter::get_UtilityFonts(VARIANT_BOOL* retUtilityFonts) {
  return Member("PrinterConfigurationFilter::get_UtilityFonts",
                [&] { ReadSwitch(kUtilityFonts, retUtilityFonts); });
}
STDMETHODIMP PrinterConfigurationFilter::put_UtilityFonts(VARIANT_BOOL argUtilityFonts) {
  return Member("PrinterConfigurationFilter::put_UtilityFonts",
                [&] { WriteSwitch(kUtilityFonts, argUtilityFonts); });
}

STDMETHODIMP PrinterConfigurationFilter::get_FontSubstitutions(VARIANT_BOOL* retFontSubstitutions) {
  return Member("PrinterConfigurationFilter::get_FontSubstitutions",
                [&] { ReadSwitch(kFontSubstitutions, retFontSubstitutions); });
}
STDMETHODIMP PrinterConfigurationFilter::put_FontSubstitutions(VARIANT_BOOL argFontSubstitutions) {
  return Member("PrinterConfigurationFilter::put_FontSubstitutions",
                [&] { WriteSwitch(kFontSubstitutions, argFontSubstitutions); });
}

STDMETHODIMP PrinterConfigurationFilter::get_DownloadedFonts(VARIANT_BOOL* retDownloadedFonts) {
  return Member("PrinterConfigurationFilter::get_DownloadedFonts",
                [&] { ReadSwitch(kDownloadedFonts, retDownloadedFonts); });
}
STDMETHODIMP PrinterConfigurationFilter::put_DownloadedFonts(VARIANT_BOOL argDownloadedFonts) {
  return Member("PrinterConfigurationFilter::put_DownloadedFonts",
                [&] { WriteSwitch(kDownloadedFonts, argDownloadedFonts); });
}

STDMETHODIMP PrinterConfigurationFilter::get_OptionalFonts(VARIANT_BOOL* retOptionalFonts) {
  return Member("PrinterConfigurationFilter::get_OptionalFonts",
                [&] { ReadSwitch(kOptionalFonts, retOptionalFonts); });
}
STDMETHODIMP PrinterConfigurationFilter::put_OptionalFonts(VARIANT_BOOL argOptionalFonts) {
  return Member("PrinterConfigurationFilter::put_OptionalFonts",
                [&] { WriteSwitch(kOptionalFonts, argOptionalFonts); });
}

STDMETHODIMP PrinterConfigurationFilter::get_PrinterProperties(VARIANT_BOOL* retPrinterProperties) {
  return Member("PrinterConfigurationFilter::get_PrinterProperties",
                [&] { ReadSwitch(kPrinterProperties, retPrinterProperties); });
}
STDMETHODIMP PrinterConfigurationFilter::put_PrinterProperties(VARIANT_BOOL argPrinterProperties) {
  return Member("PrinterConfigurationFilter::put_PrinterProperties",
                [&] { WriteSwitch(kPrinterProperties, argPrinterProperties); });
}

STDMETHODIMP PrinterConfigurationFilter::get_PrintingPreferences(
    VARIANT_BOOL* retPrintingPreferences) {
  return Member("PrinterConfigurationFilter::get_PrintingPreferences",
                [&] { ReadSwitch(kPrintingPreferences, retPrintingPreferences); });
}
STDMETHODIMP PrinterConfigurationFilter::put_PrintingPreferences(
    VARIANT_BOOL argPrintingPreferences) {
  return Member("PrinterConfigurationFilter::put_PrintingPreferences",
                [&] { WriteSwitch(kPrintingPreferences, argPrintingPreferences); });
}

STDMETHODIMP PrinterConfigurationFilter::get_NetworkSettings(VARIANT_BOOL* retNetworkSettings) {
  return Member("PrinterConfigurationFilter::get_NetworkSettings",
                [&] { ReadSwitch(kNetworkSettings, retNetworkSettings); });
}
STDMETHODIMP PrinterConfigurationFilter::put_NetworkSettings(VARIANT_BOOL argNetworkSettings) {
  return Member("PrinterConfigurationFilter::put_NetworkSettings",
                [&] { WriteSwitch(kNetworkSettings, argNetworkSettings); });
}

VANTREL_CLASS_CREATOR(PrinterConfigurationFilter)

}  // namespace vantrel
