// A printer's status as named conditions and a text; bound by its Printer.
// Keeps no status of its own: each member asks the printer's driver
// interface for what it needs (one condition: one word; the text; the
// severity), with no lock of ours held while it asks.
#pragma once

#include <string>

#include "frame/automation.h"
#include "frame/object.h"
#include "printers/context_binding.h"
#include "printers/status_reading_interface.h"
#include "vantrel_stubs.h"

namespace vantrel {

namespace printers {
class DriverInterface;
}

class PrinterStatus
    : public frame::AutomationObject<IPrinterStatusStubs, IID_IPrinterStatus, CLSID_PrinterStatus>,
      public IStatusReading {
 public:
  using Base =
      frame::AutomationObject<IPrinterStatusStubs, IID_IPrinterStatus, CLSID_PrinterStatus>;

  // Binds the object to the named printer, as its Printer does at Initialize.
  // Throws "Could not open printer" when it cannot be opened.
  void Bind(const std::string& printer_name) { binding_.Bind(printer_name); }

  // One IUnknown for both bases.
  STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
    return Base::QueryInterface(iid, out);
  }
  STDMETHODIMP_(ULONG) AddRef() override { return Base::AddRef(); }
  STDMETHODIMP_(ULONG) Release() override { return Base::Release(); }

  // Each member fails with "PrinterStatus object not initialized" before the
  // object is bound and with "Invalid argument" for a null out-pointer. A
  // spooler that does not answer reads as status word 0 ("Ready", no
  // condition, severity 1); a silent driver service as the spooler's rules.
  STDMETHODIMP get_Text(BSTR* retText) override;
  STDMETHODIMP get_Paused(VARIANT_BOOL* retPaused) override;
  STDMETHODIMP get_PaperJam(VARIANT_BOOL* retPaperJam) override;
  STDMETHODIMP get_PaperOut(VARIANT_BOOL* retPaperOut) override;
  STDMETHODIMP get_ManualFeed(VARIANT_BOOL* retManualFeed) override;
  STDMETHODIMP get_PaperProblem(VARIANT_BOOL* retPaperProblem) override;
  STDMETHODIMP get_Offline(VARIANT_BOOL* retOffline) override;
  STDMETHODIMP get_IOActive(VARIANT_BOOL* retIOActive) override;
  STDMETHODIMP get_Busy(VARIANT_BOOL* retBusy) override;
  STDMETHODIMP get_Printing(VARIANT_BOOL* retPrinting) override;
  STDMETHODIMP get_OutputFull(VARIANT_BOOL* retOutputFull) override;
  STDMETHODIMP get_NotAvailable(VARIANT_BOOL* retNotAvailable) override;
  STDMETHODIMP get_Waiting(VARIANT_BOOL* retWaiting) override;
  STDMETHODIMP get_Processing(VARIANT_BOOL* retProcessing) override;
  STDMETHODIMP get_Initializing(VARIANT_BOOL* retInitializing) override;
  STDMETHODIMP get_WarmingUp(VARIANT_BOOL* retWarmingUp) override;
  STDMETHODIMP get_TonerLow(VARIANT_BOOL* retTonerLow) override;
  STDMETHODIMP get_NoToner(VARIANT_BOOL* retNoToner) override;
  STDMETHODIMP get_UserInterventionRequired(VARIANT_BOOL* retUserInterventionRequired) override;
  STDMETHODIMP get_OutOfMemory(VARIANT_BOOL* retOutOfMemory) override;
  STDMETHODIMP get_DoorOpen(VARIANT_BOOL* retDoorOpen) override;
  STDMETHODIMP get_PowerSave(VARIANT_BOOL* retPowerSave) override;
  STDMETHODIMP get_LabelPresent(VARIANT_BOOL* retLabelPresent) override;
  STDMETHODIMP get_PrinterPaused(VARIANT_BOOL* retPrinterPaused) override;
  STDMETHODIMP get_BatteryLow(VARIANT_BOOL* retBatteryLow) override;
  STDMETHODIMP get_BatteryCharging(VARIANT_BOOL* retBatteryCharging) override;
  STDMETHODIMP get_RibbonLow(VARIANT_BOOL* retRibbonLow) override;
  STDMETHODIMP get_RibbonOut(VARIANT_BOOL* retRibbonOut) override;
  STDMETHODIMP get_RibbonError(VARIANT_BOOL* retRibbonError) override;
  STDMETHODIMP get_PaperLow(VARIANT_BOOL* retPaperLow) override;
  STDMETHODIMP get_HeadOpen(VARIANT_BOOL* retHeadOpen) override;
  STDMETHODIMP get_HeadError(VARIANT_BOOL* retHeadError) override;
  STDMETHODIMP get_CutterError(VARIANT_BOOL* retCutterError) override;
  // Severity 3 and 2.
  STDMETHODIMP get_HasWarning(VARIANT_BOOL* retHasWarning) override;
  STDMETHODIMP get_HasError(VARIANT_BOOL* retHasError) override;

  // IStatusReading (status_reading_interface.h).
  STDMETHODIMP ReadStatus(StatusReadingRecord* retReading) override;

 protected:
  // Every member refuses to work until the object is bound.
  void CheckInitialized() override {
    if (!binding_.bound()) frame::Throw(frame::kPrinterStatusNotInitialized);
  }
  void* FindInterface(REFIID iid) override;

 private:
  // The bound context, held for the caller's call; throws the
  // not-initialized error when unbound.
  printers::ContextRef Context() const;
  // Writes condition `code` of the bound printer to `out`.
  void ReadFlag(int32_t code, VARIANT_BOOL* out) const;
  // Writes whether the bound printer's severity is `severity`.
  void ReadSeverityIs(uint32_t severity, VARIANT_BOOL* out) const;

  printers::ContextBinding binding_;
};

}  // namespace vantrel
