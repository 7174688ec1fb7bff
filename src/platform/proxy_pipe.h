// The channel between the library and a driver module running in the module
// host: a message-mode named pipe on Windows, a Unix-domain stream socket in
// a private (0700) folder on Linux, used as a byte stream on both. The
// library makes the server end and starts the host, which opens the client
// end by the name on its command line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include "platform/win32_errors.h"

namespace vantrel::platform {

// One end of the pipe. Both return 0 or a Windows error number; neither
// raises a signal when the peer is gone. One caller at a time.
class PipeByteStream {
 public:
  virtual ~PipeByteStream() = default;
  // Writes all `size` bytes as one write; `*written` is what was taken.
  virtual PlatformResult Write(const void* bytes, size_t size, size_t* written) = 0;
  // Reads `size` bytes, fewer only when the peer ended; `*read` is what came.
  virtual PlatformResult Read(void* bytes, size_t size, size_t* read) = 0;
};

class ProxyPipeServer : public PipeByteStream {
 public:
  // Waits at most kProxyConnectTimeoutMs for the host to open the client
  // end; kErrorTimeout when it did not.
  virtual PlatformResult Connect() = 0;
};

inline constexpr uint32_t kProxyConnectTimeoutMs = 10000;

// "\\.\pipe\Marlock-DriverDLLProxy-" and the 8 bytes of `instance`, least
// significant first, as upper-case hexadecimal.
std::string ProxyPipeName(uint64_t instance);

// The server end of the pipe `name` (a name from ProxyPipeName).
PlatformResult CreateProxyPipe(const std::string& name, std::unique_ptr<ProxyPipeServer>* server);

// The client end, for the module host: waits up to kProxyConnectTimeoutMs for
// the server end to exist.
PlatformResult OpenProxyPipe(const std::string& name, std::unique_ptr<PipeByteStream>* client);

// Starts the module host on `module_path`'s `entry` with `arguments`, hidden,
// never waited for: Windows runs `RunDLL32.exe "PATH",ENTRY ARGS`; Linux runs
// `vantrel-rundll` from the library's folder or its ../bin.
PlatformResult StartModuleHost(const std::string& module_path, const std::string& entry,
                               const std::string& arguments);

}  // namespace vantrel::platform
