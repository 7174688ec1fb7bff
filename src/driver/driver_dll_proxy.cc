#include "driver/driver_dll_proxy.h"

#include "platform/elf_module.h"
#include "platform/module_version.h"
#include "platform/registry_value.h"
#include "platform/spooler.h"
#include "platform/system_log.h"
#include "platform/unicode.h"
#include "support/driver_module_abi.h"
#include "support/exceptions.h"
#include "support/pipe_wire.h"
#include "support/registry.h"

namespace vantrel {

namespace dm = driver_module;

namespace {

// The module path the spooler keeps for the printer; empty when none.
std::string ReadModulePath(const std::string& printer_name) {
  std::unique_ptr<platform::SpoolerPrinter> printer;
  if (platform::DefaultSpooler().Open(printer_name, platform::kPrinterAccessUse, &printer) != 0) {
    return {};
  }
  for (const char* value : {"Kesto Interface V3", "Kesto Interface"}) {
    uint32_t type = 0;
    std::vector<uint8_t> data;
    if (printer->GetData(value, &type, &data) != 0) continue;
    platform::RegistryValue text{type, data};
    return platform::ReadString(text).value_or("");
  }
  return {};
}

// The machine asks for every module to run in the host.
bool IsolationRequested(platform::SettingsStore* store) {
  PrinterRegistry registry("", {}, {}, {}, 0, store);
  platform::RegistryValue value;
  if (registry.ReadValue("GLOBAL:Driver Isolation", &value) != 0) return false;
  for (uint8_t byte : value.data) {
    if (byte != 0) return true;
  }
  return false;
}

}  // namespace

uint64_t DriverVersionKey(const uint16_t version[4]) {
  uint64_t major = version[0];
  if (major >= 11 && major <= 2016) major += 2014;
  return (major << 48) | (static_cast<uint64_t>(version[1]) << 32) |
         (static_cast<uint64_t>(version[2]) << 16) | version[3];
}

DriverDLLProxy::DriverDLLProxy(platform::SettingsStore* store) : store_(store) {}

DriverDLLProxy::~DriverDLLProxy() = default;

template <typename Function>
Function DriverDLLProxy::Entry(const char* name) const {
  return module_ ? reinterpret_cast<Function>(module_->Symbol(name)) : nullptr;
}

uint64_t DriverDLLProxy::Open(const std::string& printer_name) {
  return OpenModule(ReadModulePath(printer_name), printer_name);
}

uint64_t DriverDLLProxy::OpenModule(const std::string& module_path,
                                    const std::string& printer_name) {
  if (module_path.empty()) return 0;
  if (ShouldUseHost(module_path)) return OpenThroughHost(module_path, printer_name);
  return OpenInProcess(module_path, printer_name);
}

bool DriverDLLProxy::ShouldUseHost(const std::string& module_path) {
  if (!platform::ModuleNeedsHostProcess(module_path) && !IsolationRequested(store_)) return false;
  platform::ModuleVersionInfo info;
  if (const long error = platform::ReadModuleVersion(module_path, &info)) {
    throw OException("Internal STOP() issued.", error);
  }
  if (!info.has_table) return false;
  const auto threshold = platform::ParseDottedVersion(kProxyVersionThreshold);
  return DriverVersionKey(info.version) >= DriverVersionKey(threshold->data());
}

uint64_t DriverDLLProxy::OpenInProcess(const std::string& module_path,
                                       const std::string& printer_name) {
  std::string error;
  module_ = platform::LoadModule(module_path, &error);
  const auto open = Entry<dm::OpenFunction>(dm::kOpen);
  if (open == nullptr) return 0;
  return open(platform::Utf8ToUtf16(printer_name).c_str());
}

uint64_t DriverDLLProxy::OpenThroughHost(const std::string& module_path,
                                         const std::string& printer_name) {
  const std::string name = platform::ProxyPipeName(reinterpret_cast<uintptr_t>(this));
  if (platform::StartModuleHost(module_path, dm::kProxy, name) != 0) return 0;
  if (platform::CreateProxyPipe(name, &pipe_) != 0) return 0;
  // A host that never came shows as a failed write below.
  platform::IgnoreResult(pipe_->Connect());
  return TryThroughPipe(0, dm::kOpen, printer_name);
}

void DriverDLLProxy::PutPipeData(const void* bytes, size_t size) {
  if (!pipe_) throw DriverProxyException_InvalidHandle();
  size_t written = 0;
  const long error = pipe_->Write(bytes, size, &written);
  if (error != 0 || written != size) {
    platform::DebugOutput(
        "DriverDLLProxy::PutPipeData() failed: bytesToWrite=" + std::to_string(size) +
        ";bytesWritten=" + std::to_string(written) + ";GetLastError()=" + std::to_string(error));
    throw DriverProxyException_WriteFailed();
  }
}

void DriverDLLProxy::PutArgument(const std::string& utf8) {
  const std::u16string text = platform::Utf8ToUtf16(utf8);
  const std::string count = EncodeCountOf(text);
  PutPipeData(count.data(), count.size());
  const std::string units = EncodeUnitsOf(text);
  PutPipeData(units.data(), units.size());
}

void DriverDLLProxy::PutArgument(uint64_t value) {
  const std::string bytes = EncodeInteger(value);
  PutPipeData(bytes.data(), bytes.size());
}

uint64_t DriverDLLProxy::GetPipeData() {
  if (!pipe_) throw DriverProxyException_InvalidHandle();
  unsigned char bytes[8];
  size_t read = 0;
  const long error = pipe_->Read(bytes, sizeof(bytes), &read);
  if (error != 0 || read != sizeof(bytes)) {
    platform::DebugOutput("DriverDLLProxy::GetPipeData() failed: bytesToRead=8;bytesRead=" +
                          std::to_string(read) + ";GetLastError()=" + std::to_string(error));
    throw DriverProxyException_ReadFailed();
  }
  return DecodeInteger(bytes);
}

void DriverDLLProxy::Close(uint64_t handle) {
  if (module_) {
    if (const auto close = Entry<dm::CloseFunction>(dm::kClose)) close(handle);
    module_.reset();
    return;
  }
  try {
    CallThroughPipe(dm::kClose, handle);
    pipe_.reset();  // the host ends when its client closes
  } catch (const DriverProxyException&) {
    broken_ = true;
  }
}

void DriverDLLProxy::SettingsSave(uint64_t handle) {
  if (!module_) {
    TryThroughPipe(0, dm::kSave, handle);
  } else if (const auto save = Entry<dm::SaveFunction>(dm::kSave)) {
    save(handle);
  }
}

void DriverDLLProxy::SettingsExport(uint64_t handle, const std::string& path, uint32_t flags) {
  if (!module_) {
    TryThroughPipe(0, dm::kExport, handle, path, uint64_t{flags});
  } else if (const auto transfer = Entry<dm::TransferFunction>(dm::kExport)) {
    transfer(handle, platform::Utf8ToUtf16(path).c_str(), flags);
  }
}

void DriverDLLProxy::SettingsImport(uint64_t handle, const std::string& path, uint32_t flags) {
  if (!module_) {
    TryThroughPipe(0, dm::kImport, handle, path, uint64_t{flags});
  } else if (const auto transfer = Entry<dm::TransferFunction>(dm::kImport)) {
    transfer(handle, platform::Utf8ToUtf16(path).c_str(), flags);
  }
}

void DriverDLLProxy::SettingsReset(uint64_t handle, uint32_t flags) {
  if (!module_) {
    TryThroughPipe(0, dm::kReset, handle, uint64_t{flags});
  } else if (const auto reset = Entry<dm::ResetFunction>(dm::kReset)) {
    reset(handle, flags);
  }
}

bool DriverDLLProxy::Action(uint64_t handle, uint32_t action) {
  if (!module_) return TryThroughPipe(0, dm::kAction, handle, uint64_t{action}) != 0;
  const auto act = Entry<dm::ActionFunction>(dm::kAction);
  return act != nullptr && act(handle, action) != 0;
}

bool DriverDLLProxy::ActionUI(uint64_t handle, uint64_t window, int32_t action) {
  if (!module_) {
    // The action travels sign-extended, unlike Action's.
    const auto wide = static_cast<uint64_t>(static_cast<int64_t>(action));
    return TryThroughPipe(0, dm::kActionUI, handle, window, wide) != 0;
  }
  const auto act = Entry<dm::ActionUIFunction>(dm::kActionUI);
  if (act == nullptr) return Action(handle, static_cast<uint32_t>(action));
  return act(handle, window, action) != 0;
}

uint64_t DriverDLLProxy::ActionFlag(uint64_t handle, uint32_t action) {
  if (!module_) return TryThroughPipe(0, dm::kActionFlag, handle, uint64_t{action});
  const auto flag = Entry<dm::ActionFlagFunction>(dm::kActionFlag);
  return flag != nullptr ? flag(handle, action) : 0;
}

}  // namespace vantrel
