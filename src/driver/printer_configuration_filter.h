// Which groups of driver settings PrinterConfiguration's Import, Export and
// ResetToDefaults work on: nine switches, each one bit of the settings mask
// handed to the driver.
#pragma once

#include <array>
#include <cstdint>

#include "frame/automation.h"
#include "frame/object.h"
#include "vantrel_stubs.h"

namespace vantrel {

// Every group of settings: what the driver is given when nothing narrower is
// chosen.
inline constexpr uint32_t kAllSettings = 0xFFFFFFFF;

class PrinterConfigurationFilter
    : public frame::AutomationObject<IPrinterConfigurationFilterStubs,
                                     IID_IPrinterConfigurationFilter,
                                     CLSID_PrinterConfigurationFilter> {
 public:
  // Each getter returns what its setter stored, unchecked; all start false.
  STDMETHODIMP get_Stocks(VARIANT_BOOL* retStocks) override;
  STDMETHODIMP put_Stocks(VARIANT_BOOL argStocks) override;
  STDMETHODIMP get_Presets(VARIANT_BOOL* retPresets) override;
  STDMETHODIMP put_Presets(VARIANT_BOOL argPresets) override;
  STDMETHODIMP get_UtilityFonts(VARIANT_BOOL* retUtilityFonts) override;
  STDMETHODIMP put_UtilityFonts(VARIANT_BOOL argUtilityFonts) override;
  STDMETHODIMP get_FontSubstitutions(VARIANT_BOOL* retFontSubstitutions) override;
  STDMETHODIMP put_FontSubstitutions(VARIANT_BOOL argFontSubstitutions) override;
  STDMETHODIMP get_DownloadedFonts(VARIANT_BOOL* retDownloadedFonts) override;
  STDMETHODIMP put_DownloadedFonts(VARIANT_BOOL argDownloadedFonts) override;
  STDMETHODIMP get_OptionalFonts(VARIANT_BOOL* retOptionalFonts) override;
  STDMETHODIMP put_OptionalFonts(VARIANT_BOOL argOptionalFonts) override;
  STDMETHODIMP get_PrinterProperties(VARIANT_BOOL* retPrinterProperties) override;
  STDMETHODIMP put_PrinterProperties(VARIANT_BOOL argPrinterProperties) override;
  STDMETHODIMP get_PrintingPreferences(VARIANT_BOOL* retPrintingPreferences) override;
  STDMETHODIMP put_PrintingPreferences(VARIANT_BOOL argPrintingPreferences) override;
  STDMETHODIMP get_NetworkSettings(VARIANT_BOOL* retNetworkSettings) override;
  STDMETHODIMP put_NetworkSettings(VARIANT_BOOL argNetworkSettings) override;

  // The settings mask of any filter, read through its interface: the bit of
  // each switch that is exactly VARIANT_TRUE (other values count as false);
  // kAllSettings when no switch is on, so an all-false filter selects
  // everything. Throws OStdException when the object refuses a read. Calls
  // into `filter`, so no lock of the caller's may be held. Any thread.
  static uint32_t SettingsMask(IPrinterConfigurationFilter& filter);

 private:
  // One switch per row of the settings-group table, in its order.
  static constexpr size_t kGroupCount = 9;

  // One switch, read or written under the object's lock; the members run these in their frame.
  void ReadSwitch(size_t group, VARIANT_BOOL* out);
  void WriteSwitch(size_t group, VARIANT_BOOL value);

  std::array<VARIANT_BOOL, kGroupCount> switches_ GUARDED_BY(critical_section()){};
};

}  // namespace vantrel
