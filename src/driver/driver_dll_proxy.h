// Calls a printer driver's interface module: loaded into this process, or,
// when the module must run apart (another architecture, or the machine asks
// for driver isolation) and is new enough, through the module host over the
// proxy pipe. Every operation returns its failure value instead of raising:
// 0 for Open and ActionFlag, false for Action and ActionUI, nothing for the
// rest. Calls on one object must be serialised by the caller (the pipe has no
// framing to match replies); the object may be destroyed from any thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/loadable_module.h"
#include "platform/proxy_pipe.h"
#include "platform/settings_store.h"

namespace vantrel {

class DriverProxyException {
 public:
  explicit DriverProxyException(const char* text) : text_(text) {}
  virtual ~DriverProxyException() = default;
  const char* text() const { return text_; }

 private:
  const char* text_;
};

class DriverProxyException_InvalidHandle : public DriverProxyException {
 public:
  DriverProxyException_InvalidHandle() : DriverProxyException("Invalid pipe file handle.") {}
};

class DriverProxyException_WriteFailed : public DriverProxyException {
 public:
  DriverProxyException_WriteFailed() : DriverProxyException("Failed to write to pipe.") {}
};

class DriverProxyException_ReadFailed : public DriverProxyException {
 public:
  DriverProxyException_ReadFailed() : DriverProxyException("Failed to read from pipe.") {}
};

// Modules of this version and later may be run in the module host.
inline constexpr const char* kProxyVersionThreshold = "7.2.3.0";

// The 64-bit comparison key of a version; majors 11 to 2016 count 2014 more.
uint64_t DriverVersionKey(const uint16_t version[4]);

class DriverDLLProxy {
 public:
  // `store` holds the machine setting "GLOBAL:Driver Isolation"; null means
  // the process's store.
  explicit DriverDLLProxy(platform::SettingsStore* store = nullptr);
  // Frees the module or closes the pipe; sends nothing.
  ~DriverDLLProxy();
  DriverDLLProxy(const DriverDLLProxy&) = delete;
  DriverDLLProxy& operator=(const DriverDLLProxy&) = delete;

  // Opens the printer's driver module (the printer data value "Kesto
  // Interface V3", else "Kesto Interface") and returns the driver's handle;
  // 0 when there is none, its file is missing, or it cannot be reached.
  // Raises OException
  // "Internal STOP() issued." with the system's error when a module that
  // might run apart has a version that cannot be read. Blocks while the
  // module host starts.
  uint64_t Open(const std::string& printer_name);
  // The same for a module path given by the caller.
  uint64_t OpenModule(const std::string& module_path, const std::string& printer_name);

  void Close(uint64_t handle);
  void SettingsSave(uint64_t handle);
  void SettingsExport(uint64_t handle, const std::string& path, uint32_t flags);
  void SettingsImport(uint64_t handle, const std::string& path, uint32_t flags);
  void SettingsReset(uint64_t handle, uint32_t flags);
  bool Action(uint64_t handle, uint32_t action);
  // Without the module's own entry (in-process), Action without the window.
  bool ActionUI(uint64_t handle, uint64_t window, int32_t action);
  uint64_t ActionFlag(uint64_t handle, uint32_t action);

  // Whether the module is reached through the module host.
  bool proxied() const { return pipe_ != nullptr; }
  // Whether an exchange with the module host failed since Open: the pipe
  // stays broken, so a caller that wants the module again builds a new
  // object (which starts a new host).
  bool broken() const { return broken_; }

 private:
  bool ShouldUseHost(const std::string& module_path);
  uint64_t OpenInProcess(const std::string& module_path, const std::string& printer_name);
  uint64_t OpenThroughHost(const std::string& module_path, const std::string& printer_name);
  template <typename Function>
  Function Entry(const char* name) const;

  // One call on the pipe: the entry's name, then its arguments, then the
  // 8-byte reply. Raises a DriverProxyException.
  void PutPipeData(const void* bytes, size_t size);
  void PutArgument(const std::string& utf8);
  void PutArgument(uint64_t value);
  uint64_t GetPipeData();

  template <typename... Arguments>
  uint64_t CallThroughPipe(const char* entry, const Arguments&... arguments) {
    PutArgument(std::string(entry));
    (PutArgument(arguments), ...);
    return GetPipeData();
  }
  // The reply, or `failure` when the pipe failed.
  template <typename... Arguments>
  uint64_t TryThroughPipe(uint64_t failure, const char* entry, const Arguments&... arguments) {
    try {
      return CallThroughPipe(entry, arguments...);
    } catch (const DriverProxyException&) {
      broken_ = true;
      return failure;
    }
  }

  platform::SettingsStore* const store_;
  std::unique_ptr<platform::LoadableModule> module_;
  std::unique_ptr<platform::ProxyPipeServer> pipe_;
  bool broken_ = false;
};

}  // namespace vantrel
