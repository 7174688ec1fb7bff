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

STDMETHODIMP PrinterConfigurationFilter::get_Stocks(VARIANT_BOOL* retStocks) {
  return GetField("PrinterConfigurationFilter::get_Stocks", switches_[kStocks], retStocks);
}
STDMETHODIMP PrinterConfigurationFilter::put_Stocks(VARIANT_BOOL argStocks) {
  return PutField("PrinterConfigurationFilter::put_Stocks", switches_[kStocks], argStocks);
}

STDMETHODIMP PrinterConfigurationFilter::get_Presets(VARIANT_BOOL* retPresets) {
  return GetField("PrinterConfigurationFilter::get_Presets", switches_[kPresets], retPresets);
}
STDMETHODIMP PrinterConfigurationFilter::put_Presets(VARIANT_BOOL argPresets) {
  return PutField("PrinterConfigurationFilter::put_Presets", switches_[kPresets], argPresets);
}

STDMETHODIMP PrinterConfigurationFilter::get_UtilityFonts(VARIANT_BOOL* retUtilityFonts) {
  return GetField("PrinterConfigurationFilter::get_UtilityFonts", switches_[kUtilityFonts],
                  retUtilityFonts);
}
STDMETHODIMP PrinterConfigurationFilter::put_UtilityFonts(VARIANT_BOOL argUtilityFonts) {
  return PutField("PrinterConfigurationFilter::put_UtilityFonts", switches_[kUtilityFonts],
                  argUtilityFonts);
}

STDMETHODIMP PrinterConfigurationFilter::get_FontSubstitutions(VARIANT_BOOL* retFontSubstitutions) {
  return GetField("PrinterConfigurationFilter::get_FontSubstitutions",
                  switches_[kFontSubstitutions], retFontSubstitutions);
}
STDMETHODIMP PrinterConfigurationFilter::put_FontSubstitutions(VARIANT_BOOL argFontSubstitutions) {
  return PutField("PrinterConfigurationFilter::put_FontSubstitutions",
                  switches_[kFontSubstitutions], argFontSubstitutions);
}

STDMETHODIMP PrinterConfigurationFilter::get_DownloadedFonts(VARIANT_BOOL* retDownloadedFonts) {
  return GetField("PrinterConfigurationFilter::get_DownloadedFonts", switches_[kDownloadedFonts],
                  retDownloadedFonts);
}
STDMETHODIMP PrinterConfigurationFilter::put_DownloadedFonts(VARIANT_BOOL argDownloadedFonts) {
  return PutField("PrinterConfigurationFilter::put_DownloadedFonts", switches_[kDownloadedFonts],
                  argDownloadedFonts);
}

STDMETHODIMP PrinterConfigurationFilter::get_OptionalFonts(VARIANT_BOOL* retOptionalFonts) {
  return GetField("PrinterConfigurationFilter::get_OptionalFonts", switches_[kOptionalFonts],
                  retOptionalFonts);
}
STDMETHODIMP PrinterConfigurationFilter::put_OptionalFonts(VARIANT_BOOL argOptionalFonts) {
  return PutField("PrinterConfigurationFilter::put_OptionalFonts", switches_[kOptionalFonts],
                  argOptionalFonts);
}

STDMETHODIMP PrinterConfigurationFilter::get_PrinterProperties(VARIANT_BOOL* retPrinterProperties) {
  return GetField("PrinterConfigurationFilter::get_PrinterProperties",
                  switches_[kPrinterProperties], retPrinterProperties);
}
STDMETHODIMP PrinterConfigurationFilter::put_PrinterProperties(VARIANT_BOOL argPrinterProperties) {
  return PutField("PrinterConfigurationFilter::put_PrinterProperties",
                  switches_[kPrinterProperties], argPrinterProperties);
}

STDMETHODIMP PrinterConfigurationFilter::get_PrintingPreferences(
    VARIANT_BOOL* retPrintingPreferences) {
  return GetField("PrinterConfigurationFilter::get_PrintingPreferences",
                  switches_[kPrintingPreferences], retPrintingPreferences);
}
STDMETHODIMP PrinterConfigurationFilter::put_PrintingPreferences(
    VARIANT_BOOL argPrintingPreferences) {
  return PutField("PrinterConfigurationFilter::put_PrintingPreferences",
                  switches_[kPrintingPreferences], argPrintingPreferences);
}

STDMETHODIMP PrinterConfigurationFilter::get_NetworkSettings(VARIANT_BOOL* retNetworkSettings) {
  return GetField("PrinterConfigurationFilter::get_NetworkSettings", switches_[kNetworkSettings],
                  retNetworkSettings);
}
STDMETHODIMP PrinterConfigurationFilter::put_NetworkSettings(VARIANT_BOOL argNetworkSettings) {
  return PutField("PrinterConfigurationFilter::put_NetworkSettings", switches_[kNetworkSettings],
                  argNetworkSettings);
}

VANTREL_CLASS_CREATOR(PrinterConfigurationFilter)

}  // namespace vantrel
