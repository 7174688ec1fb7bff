// The Printer's spooler fields, each read or written through the printer's
// shared context, and the driver's version and date.
#include <string>

#include "frame/ole_string.h"
#include "printers/driver_interface.h"
#include "printers/printer.h"
#include "printers/printer_context.h"

namespace vantrel {
namespace {

using printers::ContextRef;
using printers::PrinterContext;

// The checks run in this order: the binding, then the out-pointer.
template <class Read>
void ReturnText(const ContextRef& context, BSTR* out, Read read) {
  if (out == nullptr) frame::Throw(frame::kInvalidArgument);
  *out = frame::AllocBstr(read(*context.get()));
}

void ReturnFlag(const ContextRef& context, VARIANT_BOOL* out, int16_t (PrinterContext::*read)()) {
  if (out == nullptr) frame::Throw(frame::kInvalidArgument);
  *out = (context.get()->*read)() ? VARIANT_TRUE : VARIANT_FALSE;
}

}  // namespace

STDMETHODIMP Printer::get_Name(BSTR* retName) {
  return Member("Printer::get_Name", [&] {
    ReturnText(Context(), retName, [](PrinterContext& c) { return c.GetName(); });
  });
}

STDMETHODIMP Printer::get_ServerName(BSTR* retServerName) {
  return Member("Printer::get_ServerName", [&] {
    ReturnText(Context(), retServerName, [](PrinterContext& c) { return c.GetServerName(); });
  });
}

STDMETHODIMP Printer::get_ShareName(BSTR* retShareName) {
  return Member("Printer::get_ShareName", [&] {
    ReturnText(Context(), retShareName, [](PrinterContext& c) { return c.GetShareName(); });
  });
}

STDMETHODIMP Printer::put_ShareName(BSTR argShareName) {
  return Member("Printer::put_ShareName",
                [&] { Context()->SetShareName(frame::BstrToUtf8(argShareName)); });
}

STDMETHODIMP Printer::get_PortName(BSTR* retPortName) {
  return Member("Printer::get_PortName", [&] {
    ReturnText(Context(), retPortName, [](PrinterContext& c) { return c.GetPortName(); });
  });
}

STDMETHODIMP Printer::put_PortName(BSTR argPortName) {
  return Member("Printer::put_PortName",
                [&] { Context()->SetPortName(frame::BstrToUtf8(argPortName)); });
}

STDMETHODIMP Printer::get_ModelName(BSTR* retModelName) {
  return Member("Printer::get_ModelName", [&] {
    ReturnText(Context(), retModelName, [](PrinterContext& c) { return c.GetDriverName(); });
  });
}

STDMETHODIMP Printer::get_Comment(BSTR* retComment) {
  return Member("Printer::get_Comment", [&] {
    ReturnText(Context(), retComment, [](PrinterContext& c) { return c.GetComment(); });
  });
}

STDMETHODIMP Printer::put_Comment(BSTR argComment) {
  return Member("Printer::put_Comment",
                [&] { Context()->SetComment(frame::BstrToUtf8(argComment)); });
}

STDMETHODIMP Printer::get_Location(BSTR* retLocation) {
  return Member("Printer::get_Location", [&] {
    ReturnText(Context(), retLocation, [](PrinterContext& c) { return c.GetLocation(); });
  });
}

STDMETHODIMP Printer::put_Location(BSTR argLocation) {
  return Member("Printer::put_Location",
                [&] { Context()->SetLocation(frame::BstrToUtf8(argLocation)); });
}

STDMETHODIMP Printer::get_Local(VARIANT_BOOL* retLocal) {
  return Member("Printer::get_Local",
                [&] { ReturnFlag(Context(), retLocal, &PrinterContext::IsLocal); });
}

STDMETHODIMP Printer::get_Network(VARIANT_BOOL* retNetwork) {
  return Member("Printer::get_Network",
                [&] { ReturnFlag(Context(), retNetwork, &PrinterContext::IsNetwork); });
}

STDMETHODIMP Printer::get_Shared(VARIANT_BOOL* retShared) {
  return Member("Printer::get_Shared",
                [&] { ReturnFlag(Context(), retShared, &PrinterContext::IsShared); });
}

STDMETHODIMP Printer::put_Shared(VARIANT_BOOL argShared) {
  return Member("Printer::put_Shared", [&] { Context()->SetShared(argShared != VARIANT_FALSE); });
}

STDMETHODIMP Printer::get_DriverVersion(BSTR* retDriverVersion) {
  return Member("Printer::get_DriverVersion", [&] {
    ReturnText(Context(), retDriverVersion,
               [](PrinterContext& c) { return c.driver()->GetDriverVersion(); });
  });
}

STDMETHODIMP Printer::get_DriverDate(BSTR* retDriverDate) {
  return Member("Printer::get_DriverDate", [&] {
    ReturnText(Context(), retDriverDate,
               [](PrinterContext& c) { return c.driver()->GetDriverDate(); });
  });
}

}  // namespace vantrel
