// A driver interface module for tests and the demo. It keeps each printer's
// settings in the settings store under the printer's "SETTINGS:" key, moves
// them to and from .reg files, carries actions to the printer's XPML service
// (the simulated printer records them) and answers action flags from a table
// under "SETTINGS:Action Flags". Kesto_Proxy serves the same entry points
// over the proxy pipe when the module runs in the module host.
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "platform/proxy_pipe.h"
#include "platform/unicode.h"
#include "sample_actions.h"
#include "sample_settings.h"
#include "support/driver_module_abi.h"
#include "support/pipe_wire.h"
#include "platform/thread_annotations.h"

#ifndef VANTREL_MODULE_EXPORT
#define VANTREL_MODULE_EXPORT
#endif

namespace {

using namespace vantrel;

vantrel::Mutex handles_mutex;
std::map<uint64_t, std::string> printers_by_handle GUARDED_BY(handles_mutex);
uint64_t next_handle GUARDED_BY(handles_mutex) = 0x5A00;

std::string PrinterOf(uint64_t handle) {
  vantrel::MutexLock hold(handles_mutex);
  auto found = printers_by_handle.find(handle);
  return found == printers_by_handle.end() ? std::string() : found->second;
}

std::string Text(const char16_t* text) {
  return text ? platform::Utf16ToUtf8(text) : std::string();
}

}  // namespace

extern "C" {

VANTREL_MODULE_EXPORT uint64_t Kesto_Printer_Open(const char16_t* printer_name) {
  const std::string printer = Text(printer_name);
  if (printer.empty()) return 0;
  vantrel::MutexLock hold(handles_mutex);
  printers_by_handle[++next_handle] = printer;
  return next_handle;
}

VANTREL_MODULE_EXPORT uint64_t Kesto_Printer_Close(uint64_t handle) {
  vantrel::MutexLock hold(handles_mutex);
  return printers_by_handle.erase(handle);
}

VANTREL_MODULE_EXPORT uint64_t Kesto_Settings_Save(uint64_t handle) {
  const std::string printer = PrinterOf(handle);
  return !printer.empty() && sample::SaveSettings(printer);
}

VANTREL_MODULE_EXPORT uint64_t Kesto_Settings_Export(uint64_t handle, const char16_t* path,
                                                     uint32_t flags) {
  const std::string printer = PrinterOf(handle);
  return !printer.empty() && sample::ExportSettings(printer, Text(path));
}

VANTREL_MODULE_EXPORT uint64_t Kesto_Settings_Import(uint64_t handle, const char16_t* path,
                                                     uint32_t flags) {
  const std::string printer = PrinterOf(handle);
  return !printer.empty() && sample::ImportSettings(printer, Text(path));
}

VANTREL_MODULE_EXPORT uint64_t Kesto_Settings_Reset(uint64_t handle, uint32_t flags) {
  const std::string printer = PrinterOf(handle);
  return !printer.empty() && sample::ResetSettings(printer);
}

VANTREL_MODULE_EXPORT int32_t Kesto_Printer_Action(uint64_t handle, uint32_t action) {
  const std::string printer = PrinterOf(handle);
  return !printer.empty() && sample::CarryAction(printer, action);
}

#ifndef SAMPLE_DRIVER_WITHOUT_ACTION_UI
VANTREL_MODULE_EXPORT int32_t Kesto_Printer_ActionUI(uint64_t handle, uint64_t window,
                                                     int32_t action) {
  // No window to show here: the action runs as without one.
  return Kesto_Printer_Action(handle, static_cast<uint32_t>(action));
}
#endif

VANTREL_MODULE_EXPORT uint64_t Kesto_Printer_ActionFlag(uint64_t handle, uint32_t action) {
  const std::string printer = PrinterOf(handle);
  return printer.empty() ? 0 : sample::ActionFlags(printer, action);
}

VANTREL_MODULE_EXPORT void Kesto_Proxy(void* window, void* instance, const char* command_line,
                                       int show);

}  // extern "C"

namespace {

// One call read from the pipe, answered by this module's own entry points.
uint64_t Dispatch(const PipeCall& call) {
  const auto& n = call.numbers;
  const std::string& entry = call.entry;
  if (entry == driver_module::kOpen) return Kesto_Printer_Open(call.texts[0].c_str());
  if (entry == driver_module::kClose) return Kesto_Printer_Close(n[0]);
  if (entry == driver_module::kSave) return Kesto_Settings_Save(n[0]);
  if (entry == driver_module::kExport) {
    return Kesto_Settings_Export(n[0], call.texts[0].c_str(), static_cast<uint32_t>(n[1]));
  }
  if (entry == driver_module::kImport) {
    return Kesto_Settings_Import(n[0], call.texts[0].c_str(), static_cast<uint32_t>(n[1]));
  }
  if (entry == driver_module::kReset)
    return Kesto_Settings_Reset(n[0], static_cast<uint32_t>(n[1]));
  if (entry == driver_module::kAction) {
    return Kesto_Printer_Action(n[0], static_cast<uint32_t>(n[1])) != 0;
  }
  if (entry == driver_module::kActionUI) {
    return Kesto_Printer_Action(n[0], static_cast<uint32_t>(n[2])) != 0;
  }
  return Kesto_Printer_ActionFlag(n[0], static_cast<uint32_t>(n[1]));
}

}  // namespace

// Serves calls until the library closes its end or sends something that is
// not a call.
void Kesto_Proxy(void*, void*, const char* command_line, int) {
  std::string name = command_line ? command_line : "";
  while (!name.empty() && (name.back() == ' ' || name.back() == '\n')) name.pop_back();
  std::unique_ptr<platform::PipeByteStream> pipe;
  if (platform::OpenProxyPipe(name, &pipe) != 0) return;
  PipeCall call;
  while (ReadPipeCall(*pipe, &call) == PipeReadResult::kCall) {
    const std::string reply = EncodeInteger(Dispatch(call));
    size_t written = 0;
    if (pipe->Write(reply.data(), reply.size(), &written) != 0) return;
  }
}
