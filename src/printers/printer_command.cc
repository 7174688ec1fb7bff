// Printer.Command: one maintenance command carried out, or only asked about,
// through the printer's driver interface, with a CommandParameters object
// carrying the options in and the answers out.
#include "frame/com_ptr.h"
#include "frame/error_texts.h"
#include "printers/command_parameters.h"
#include "printers/driver_interface.h"
#include "printers/printer.h"
#include "printers/printer_context.h"

namespace vantrel {
namespace {

// The parameters object the argument holds, or null when it holds none: an
// absent argument (empty, or the missing-argument error), null, or a null
// object reference. Any other value, and an object that is not a
// CommandParameters, is refused with "Invalid argument": a caller who
// passed something meant it, and would not want it ignored.
frame::ComPtr<ICommandParameters> ParametersIn(const VARIANT& argument) {
  VARIANT value;
  VariantInit(&value);
  // Windows declares the source non-const; it is only read.
  if (FAILED(VariantCopyInd(&value, const_cast<VARIANT*>(&argument)))) {
    frame::Throw(frame::kInvalidArgument);
  }
  IUnknown* object = nullptr;
  bool absent = false;
  switch (V_VT(&value)) {
    case VT_EMPTY:
    case VT_NULL:
      absent = true;
      break;
    case VT_ERROR:
      absent = V_ERROR(&value) == DISP_E_PARAMNOTFOUND;
      break;
    case VT_DISPATCH:
      object = V_DISPATCH(&value);
      absent = object == nullptr;
      break;
    case VT_UNKNOWN:
      object = V_UNKNOWN(&value);
      absent = object == nullptr;
      break;
    default:
      break;
  }
  frame::ComPtr<ICommandParameters> parameters;
  const bool taken = object != nullptr &&
                     SUCCEEDED(object->QueryInterface(
                         IID_ICommandParameters, reinterpret_cast<void**>(parameters.Receive())));
  VariantClear(&value);
  if (!absent && !taken) frame::Throw(frame::kInvalidArgument);
  return parameters;
}

}  // namespace

STDMETHODIMP Printer::Command(PrinterCommand argPrinterCommand, VARIANT argCommandParameters) {
  return Member("Printer::Command", [&] {
    const printers::ContextRef context = Context();
    const frame::ComPtr<ICommandParameters> parameters = ParametersIn(argCommandParameters);
    printers::CommandRequest request;
    if (parameters) {
      const CommandInputs inputs = CommandParameters::ReadInputs(*parameters.Get());
      request.owner_window = inputs.owner_window;
      request.execute = inputs.execute;
    }
    // No lock of ours is held here: the driver and the parameters object may
    // take their time.
    context->driver()->RunCommand(static_cast<int32_t>(argPrinterCommand), &request);
    if (!parameters) return;
    CommandParameters::WriteAnswers(
        *parameters.Get(),
        {request.is_supported, request.has_user_interface, request.requires_bidirectional_port,
         request.requires_management_rights});
  });
}

}  // namespace vantrel
