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

HRESULT PrinterConfigurationFilter::GetSwitch(const char* source, size_t group, VARIANT_BOOL* out) {
  return Member(source, [&] {
    if (out == nullptr) frame::Throw(frame::kInvalidArgument);
    OLock hold(critical_section());
    *out = switches_[group];
  });
}

HRESULT PrinterConfigurationFilter::PutSwitch(const char* source, size_t group,
                                              VARIANT_BOOL value) {
  return Member(source, [&] {
    OLock hold(critical_section());
    switches_[group] = value;
  });
}

STDMETHODIMP PrinterConfigurationFilter::get_Stocks(VARIANT_BOOL* retStocks) {
  return GetSwitch("PrinterConfigurationFilter::get_Stocks", kStocks, retStocks);
}
STDMETHODIMP PrinterConfigurationFilter::put_Stocks(VARIANT_BOOL argStocks) {
  return PutSwitch("PrinterConfigurationFilter::put_Stocks", kStocks, argStocks);
}

STDMETHODIMP PrinterConfigurationFilter::get_Presets(VARIANT_BOOL* retPresets) {
  return GetSwitch("PrinterConfigurationFilter::get_Presets", kPresets, retPresets);
}
STDMETHODIMP PrinterConfigurationFilter::put_Presets(VARIANT_BOOL argPresets) {
  return PutSwitch("PrinterConfigurationFilter::put_Presets", kPresets, argPresets);
}

STDMETHODIMP PrinterConfigurationFilter::get_UtilityFonts(VARIANT_BOOL* retUtilityFonts) {
  return GetSwitch("PrinterConfigurationFilter::get_UtilityFonts", kUtilityFonts, retUtilityFonts);
}
STDMETHODIMP PrinterConfigurationFilter::put_UtilityFonts(VARIANT_BOOL argUtilityFonts) {
  return PutSwitch("PrinterConfigurationFilter::put_UtilityFonts", kUtilityFonts, argUtilityFonts);
}

STDMETHODIMP PrinterConfigurationFilter::get_FontSubstitutions(VARIANT_BOOL* retFontSubstitutions) {
  return GetSwitch("PrinterConfigurationFilter::get_FontSubstitutions", kFontSubstitutions,
                   retFontSubstitutions);
}
STDMETHODIMP PrinterConfigurationFilter::put_FontSubstitutions(VARIANT_BOOL argFontSubstitutions) {
  return PutSwitch("PrinterConfigurationFilter::put_FontSubstitutions", kFontSubstitutions,
                   argFontSubstitutions);
}

STDMETHODIMP PrinterConfigurationFilter::get_DownloadedFonts(VARIANT_BOOL* retDownloadedFonts) {
  return GetSwitch("PrinterConfigurationFilter::get_DownloadedFonts", kDownloadedFonts,
                   retDownloadedFonts);
}
STDMETHODIMP PrinterConfigurationFilter::put_DownloadedFonts(VARIANT_BOOL argDownloadedFonts) {
  return PutSwitch("PrinterConfigurationFilter::put_DownloadedFonts", kDownloadedFonts,
                   argDownloadedFonts);
}

STDMETHODIMP PrinterConfigurationFilter::get_OptionalFonts(VARIANT_BOOL* retOptionalFonts) {
  return GetSwitch("PrinterConfigurationFilter::get_OptionalFonts", kOptionalFonts,
                   retOptionalFonts);
}
STDMETHODIMP PrinterConfigurationFilter::put_OptionalFonts(VARIANT_BOOL argOptionalFonts) {
  return PutSwitch("PrinterConfigurationFilter::put_OptionalFonts", kOptionalFonts,
                   argOptionalFonts);
}

STDMETHODIMP PrinterConfigurationFilter::get_PrinterProperties(VARIANT_BOOL* retPrinterProperties) {
  return GetSwitch("PrinterConfigurationFilter::get_PrinterProperties", kPrinterProperties,
                   retPrinterProperties);
}
STDMETHODIMP PrinterConfigurationFilter::put_PrinterProperties(VARIANT_BOOL argPrinterProperties) {
  return PutSwitch("PrinterConfigurationFilter::put_PrinterProperties", kPrinterProperties,
                   argPrinterProperties);
}

STDMETHODIMP PrinterConfigurationFilter::get_PrintingPreferences(
    VARIANT_BOOL* retPrintingPreferences) {
  return GetSwitch("PrinterConfigurationFilter::get_PrintingPreferences", kPrintingPreferences,
                   retPrintingPreferences);
}
STDMETHODIMP PrinterConfigurationFilter::put_PrintingPreferences(
    VARIANT_BOOL argPrintingPreferences) {
  return PutSwitch("PrinterConfigurationFilter::put_PrintingPreferences", kPrintingPreferences,
                   argPrintingPreferences);
}

STDMETHODIMP PrinterConfigurationFilter::get_NetworkSettings(VARIANT_BOOL* retNetworkSettings) {
  return GetSwitch("PrinterConfigurationFilter::get_NetworkSettings", kNetworkSettings,
                   retNetworkSettings);
}
STDMETHODIMP PrinterConfigurationFilter::put_NetworkSettings(VARIANT_BOOL argNetworkSettings) {
  return PutSwitch("PrinterConfigurationFilter::put_NetworkSettings", kNetworkSettings,
                   argNetworkSettings);
}

VANTREL_CLASS_CREATOR(PrinterConfigurationFilter)

}  // namespace vantrel
