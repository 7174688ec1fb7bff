#include "printers/printer_status.h"

#include "frame/class_table.h"
#include "frame/ole_string.h"
#include "printers/driver_interface.h"
#include "printers/printer_context.h"
#include "printers/status_rules.h"

namespace vantrel {
namespace {

VARIANT_BOOL ToVariantBool(bool value) { return value ? VARIANT_TRUE : VARIANT_FALSE; }

template <class T>
void RefuseNull(T* out) {
  if (out == nullptr) frame::Throw(frame::kInvalidArgument);
}

}  // namespace

printers::ContextRef PrinterStatus::Context() const {
  printers::ContextRef context = binding_.Get();
  if (!context) frame::Throw(frame::kPrinterStatusNotInitialized);
  return context;
}

void PrinterStatus::ReadFlag(int32_t code, VARIANT_BOOL* out) const {
  const printers::ContextRef context = Context();
  RefuseNull(out);
  *out = ToVariantBool(context->driver()->GetStatusFlag(code));
}

void PrinterStatus::ReadSeverityIs(uint32_t severity, VARIANT_BOOL* out) const {
  const printers::ContextRef context = Context();
  RefuseNull(out);
  *out = ToVariantBool(context->driver()->GetSeverity() == severity);
}

void* PrinterStatus::FindInterface(REFIID iid) {
  if (IsEqualIID(iid, IID_IStatusReading)) return static_cast<IStatusReading*>(this);
  return Base::FindInterface(iid);
}

STDMETHODIMP PrinterStatus::get_Text(BSTR* retText) {
  return Member("PrinterStatus::get_Text", [&] {
    const printers::ContextRef context = Context();
    RefuseNull(retText);
    *retText = frame::AllocBstr(context->driver()->GetStatusText());
  });
}

STDMETHODIMP PrinterStatus::get_Paused(VARIANT_BOOL* retPaused) {
  return Member("PrinterStatus::get_Paused", [&] { ReadFlag(100, retPaused); });
}

STDMETHODIMP PrinterStatus::get_PaperJam(VARIANT_BOOL* retPaperJam) {
  return Member("PrinterStatus::get_PaperJam", [&] { ReadFlag(101, retPaperJam); });
}

STDMETHODIMP PrinterStatus::get_PaperOut(VARIANT_BOOL* retPaperOut) {
  return Member("PrinterStatus::get_PaperOut", [&] { ReadFlag(102, retPaperOut); });
}

STDMETHODIMP PrinterStatus::get_ManualFeed(VARIANT_BOOL* retManualFeed) {
  return Member("PrinterStatus::get_ManualFeed", [&] { ReadFlag(103, retManualFeed); });
}

STDMETHODIMP PrinterStatus::get_PaperProblem(VARIANT_BOOL* retPaperProblem) {
  return Member("PrinterStatus::get_PaperProblem", [&] { ReadFlag(104, retPaperProblem); });
}

STDMETHODIMP PrinterStatus::get_Offline(VARIANT_BOOL* retOffline) {
  return Member("PrinterStatus::get_Offline", [&] { ReadFlag(105, retOffline); });
}

STDMETHODIMP PrinterStatus::get_IOActive(VARIANT_BOOL* retIOActive) {
  return Member("PrinterStatus::get_IOActive", [&] { ReadFlag(106, retIOActive); });
}

STDMETHODIMP PrinterStatus::get_Busy(VARIANT_BOOL* retBusy) {
  return Member("PrinterStatus::get_Busy", [&] { ReadFlag(107, retBusy); });
}

STDMETHODIMP PrinterStatus::get_Printing(VARIANT_BOOL* retPrinting) {
  return Member("PrinterStatus::get_Printing", [&] { ReadFlag(108, retPrinting); });
}

STDMETHODIMP PrinterStatus::get_OutputFull(VARIANT_BOOL* retOutputFull) {
  return Member("PrinterStatus::get_OutputFull", [&] { ReadFlag(109, retOutputFull); });
}

STDMETHODIMP PrinterStatus::get_NotAvailable(VARIANT_BOOL* retNotAvailable) {
  return Member("PrinterStatus::get_NotAvailable", [&] { ReadFlag(110, retNotAvailable); });
}

STDMETHODIMP PrinterStatus::get_Waiting(VARIANT_BOOL* retWaiting) {
  return Member("PrinterStatus::get_Waiting", [&] { ReadFlag(111, retWaiting); });
}

STDMETHODIMP PrinterStatus::get_Processing(VARIANT_BOOL* retProcessing) {
  return Member("PrinterStatus::get_Processing", [&] { ReadFlag(112, retProcessing); });
}

STDMETHODIMP PrinterStatus::get_Initializing(VARIANT_BOOL* retInitializing) {
  return Member("PrinterStatus::get_Initializing", [&] { ReadFlag(113, retInitializing); });
}

STDMETHODIMP PrinterStatus::get_WarmingUp(VARIANT_BOOL* retWarmingUp) {
  return Member("PrinterStatus::get_WarmingUp", [&] { ReadFlag(114, retWarmingUp); });
}

STDMETHODIMP PrinterStatus::get_TonerLow(VARIANT_BOOL* retTonerLow) {
  return Member("PrinterStatus::get_TonerLow", [&] { ReadFlag(115, retTonerLow); });
}

STDMETHODIMP PrinterStatus::get_NoToner(VARIANT_BOOL* retNoToner) {
  return Member("PrinterStatus::get_NoToner", [&] { ReadFlag(116, retNoToner); });
}

STDMETHODIMP PrinterStatus::get_UserInterventionRequired(
    VARIANT_BOOL* retUserInterventionRequired) {
  return Member("PrinterStatus::get_UserInterventionRequired",
                [&] { ReadFlag(118, retUserInterventionRequired); });
}

STDMETHODIMP PrinterStatus::get_OutOfMemory(VARIANT_BOOL* retOutOfMemory) {
  return Member("PrinterStatus::get_OutOfMemory", [&] { ReadFlag(119, retOutOfMemory); });
}

STDMETHODIMP PrinterStatus::get_DoorOpen(VARIANT_BOOL* retDoorOpen) {
  return Member("PrinterStatus::get_DoorOpen", [&] { ReadFlag(120, retDoorOpen); });
}

STDMETHODIMP PrinterStatus::get_PowerSave(VARIANT_BOOL* retPowerSave) {
  return Member("PrinterStatus::get_PowerSave", [&] { ReadFlag(121, retPowerSave); });
}

STDMETHODIMP PrinterStatus::get_LabelPresent(VARIANT_BOOL* retLabelPresent) {
  return Member("PrinterStatus::get_LabelPresent", [&] { ReadFlag(201, retLabelPresent); });
}

STDMETHODIMP PrinterStatus::get_PrinterPaused(VARIANT_BOOL* retPrinterPaused) {
  return Member("PrinterStatus::get_PrinterPaused", [&] { ReadFlag(202, retPrinterPaused); });
}

STDMETHODIMP PrinterStatus::get_BatteryLow(VARIANT_BOOL* retBatteryLow) {
  return Member("PrinterStatus::get_BatteryLow", [&] { ReadFlag(203, retBatteryLow); });
}

STDMETHODIMP PrinterStatus::get_BatteryCharging(VARIANT_BOOL* retBatteryCharging) {
  return Member("PrinterStatus::get_BatteryCharging", [&] { ReadFlag(204, retBatteryCharging); });
}

STDMETHODIMP PrinterStatus::get_RibbonLow(VARIANT_BOOL* retRibbonLow) {
  return Member("PrinterStatus::get_RibbonLow", [&] { ReadFlag(205, retRibbonLow); });
}

STDMETHODIMP PrinterStatus::get_RibbonOut(VARIANT_BOOL* retRibbonOut) {
  return Member("PrinterStatus::get_RibbonOut", [&] { ReadFlag(206, retRibbonOut); });
}

STDMETHODIMP PrinterStatus::get_RibbonError(VARIANT_BOOL* retRibbonError) {
  return Member("PrinterStatus::get_RibbonError", [&] { ReadFlag(207, retRibbonError); });
}

STDMETHODIMP PrinterStatus::get_PaperLow(VARIANT_BOOL* retPaperLow) {
  return Member("PrinterStatus::get_PaperLow", [&] { ReadFlag(208, retPaperLow); });
}

STDMETHODIMP PrinterStatus::get_HeadOpen(VARIANT_BOOL* retHeadOpen) {
  return Member("PrinterStatus::get_HeadOpen", [&] { ReadFlag(209, retHeadOpen); });
}

STDMETHODIMP PrinterStatus::get_HeadError(VARIANT_BOOL* retHeadError) {
  return Member("PrinterStatus::get_HeadError", [&] { ReadFlag(210, retHeadError); });
}

STDMETHODIMP PrinterStatus::get_CutterError(VARIANT_BOOL* retCutterError) {
  return Member("PrinterStatus::get_CutterError", [&] { ReadFlag(211, retCutterError); });
}

STDMETHODIMP PrinterStatus::get_HasWarning(VARIANT_BOOL* retHasWarning) {
  return Member("PrinterStatus::get_HasWarning",
                [&] { ReadSeverityIs(printers::kSeverityWarning, retHasWarning); });
}

STDMETHODIMP PrinterStatus::get_HasError(VARIANT_BOOL* retHasError) {
  return Member("PrinterStatus::get_HasError",
                [&] { ReadSeverityIs(printers::kSeverityError, retHasError); });
}

STDMETHODIMP PrinterStatus::ReadStatus(StatusReadingRecord* retReading) {
  return Member("PrinterStatus::ReadStatus", [&] {
    const printers::ContextRef context = Context();
    RefuseNull(retReading);
    const printers::StatusReading reading = context->driver()->ReadStatus();
    *retReading = {
        reading.word1, reading.word2, reading.severity, frame::AllocBstr(reading.text),
        reading.source == printers::StatusSource::kDevice ? kStatusFromDevice : kStatusFromSpooler};
  });
}

VANTREL_CLASS_CREATOR(PrinterStatus)

}  // namespace vantrel
