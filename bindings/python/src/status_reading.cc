// vantrel._vantrel.status_reading: one whole status reading of a
// PrinterStatus through its private interface, with where it came from.
#include "status_reading.h"

#include "com_error.h"
#include "printers/status_reading_interface.h"
#include "values.h"

namespace vantrel::python {
namespace {

py::dict ReadStatus(const DispatchRef& status) {
  IStatusReading* reading = nullptr;
  StatusReadingRecord record{};
  HRESULT result;
  {
    // The reading asks the spooler and perhaps the driver's service.
    py::gil_scoped_release unlocked;
    result = status.get()->QueryInterface(IID_IStatusReading, reinterpret_cast<void**>(&reading));
    if (SUCCEEDED(result)) {
      result = reading->ReadStatus(&record);
      reading->Release();
    }
  }
  if (result == E_NOINTERFACE) throw py::type_error("status_reading needs a PrinterStatus object");
  if (FAILED(result)) throw FailureOf(result);
  py::dict out;
  out["word1"] = record.word1;
  out["word2"] = record.word2;
  out["severity"] = record.severity;
  out["text"] = StringFromBstr(record.text);
  SysFreeString(record.text);
  out["source"] = record.source == kStatusFromDevice ? "device" : "spooler";
  return out;
}

}  // namespace

void BindStatusReading(py::module_& module) {
  module.def("status_reading", &ReadStatus, py::arg("status"),
             "One reading of a PrinterStatus: word1, word2, severity, text and source.");
}

}  // namespace vantrel::python
