// The entry points of a driver interface module, as the library calls them in
// its own process and as the module host serves them over the proxy pipe.
// Text is UTF-16 with a terminating zero on both targets; the printer handle
// is the module's own 64-bit value.
#pragma once

#include <cstdint>

namespace vantrel::driver_module {

using OpenFunction = uint64_t (*)(const char16_t* printer_name);
using CloseFunction = uint64_t (*)(uint64_t handle);
using SaveFunction = uint64_t (*)(uint64_t handle);
using TransferFunction = uint64_t (*)(uint64_t handle, const char16_t* path, uint32_t flags);
using ResetFunction = uint64_t (*)(uint64_t handle, uint32_t flags);
using ActionFunction = int32_t (*)(uint64_t handle, uint32_t action);
using ActionUIFunction = int32_t (*)(uint64_t handle, uint64_t window, int32_t action);
using ActionFlagFunction = uint64_t (*)(uint64_t handle, uint32_t action);
// The module host's entry, shaped as the system's DLL runner calls it.
using HostEntryFunction = void (*)(void* window, void* instance, const char* command_line,
                                   int show);

inline constexpr const char* kOpen = "Kesto_Printer_Open";
inline constexpr const char* kClose = "Kesto_Printer_Close";
inline constexpr const char* kSave = "Kesto_Settings_Save";
inline constexpr const char* kExport = "Kesto_Settings_Export";
inline constexpr const char* kImport = "Kesto_Settings_Import";
inline constexpr const char* kReset = "Kesto_Settings_Reset";
inline constexpr const char* kAction = "Kesto_Printer_Action";
inline constexpr const char* kActionUI = "Kesto_Printer_ActionUI";
inline constexpr const char* kActionFlag = "Kesto_Printer_ActionFlag";
inline constexpr const char* kProxy = "Kesto_Proxy";

}  // namespace vantrel::driver_module
