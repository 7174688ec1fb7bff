#include "printers/driver_commands.h"

#include "driver/driver_dll_proxy.h"

namespace vantrel::printers {
namespace {

void ClearAnswers(CommandRequest* request) { SetAnswersFromActionFlags(0, request); }

// Runs `call` on the channel; true when the module was reached and no pipe
// exchange failed on the way.
template <typename Call>
bool RunSettingsCall(DriverChannel& channel, const std::string& printer_name, Call call) {
  bool intact = false;
  channel.Run(printer_name, [&](DriverDLLProxy& proxy, uint64_t handle) {
    call(proxy, handle);
    intact = !proxy.broken();
  });
  return intact;
}

}  // namespace

void SetAnswersFromActionFlags(uint64_t flags, CommandRequest* request) {
  request->is_supported = (flags & kActionSupported) != 0;
  request->has_user_interface = (flags & kActionHasUserInterface) != 0;
  request->requires_management_rights = (flags & kActionNeedsManagementRights) != 0;
  request->requires_bidirectional_port = (flags & kActionNeedsBidirectionalPort) != 0;
}

void RunDriverAction(DriverChannel& channel, const std::string& printer_name, int32_t code,
                     CommandRequest* request) {
  ClearAnswers(request);
  channel.Run(printer_name, [&](DriverDLLProxy& proxy, uint64_t handle) {
    SetAnswersFromActionFlags(proxy.ActionFlag(handle, static_cast<uint32_t>(code)), request);
    if (!request->is_supported || !request->execute) return;
    // The driver's own result is not reported: the command was handed over.
    static_cast<void>(proxy.ActionUI(handle, request->owner_window, code));
  });
}

bool ImportDriverSettings(DriverChannel& channel, const std::string& printer_name,
                          const std::string& path, uint32_t flags) {
  return RunSettingsCall(channel, printer_name, [&](DriverDLLProxy& proxy, uint64_t handle) {
    proxy.SettingsImport(handle, path, flags);
    proxy.SettingsSave(handle);
  });
}

bool ExportDriverSettings(DriverChannel& channel, const std::string& printer_name,
                          const std::string& path, uint32_t flags) {
  return RunSettingsCall(channel, printer_name, [&](DriverDLLProxy& proxy, uint64_t handle) {
    proxy.SettingsExport(handle, path, flags);
  });
}

bool ResetDriverSettings(DriverChannel& channel, const std::string& printer_name, uint32_t flags) {
  return RunSettingsCall(channel, printer_name, [&](DriverDLLProxy& proxy, uint64_t handle) {
    proxy.SettingsReset(handle, flags);
    proxy.SettingsSave(handle);
  });
}

}  // namespace vantrel::printers
