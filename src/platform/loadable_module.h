// A shared library loaded at run time (dlopen / LoadLibrary) and the
// addresses of its exported functions.
#pragma once

#include <memory>
#include <string>

namespace vantrel::platform {

class LoadableModule {
 public:
  // Closes the handle; on Linux the module itself stays mapped until exit.
  virtual ~LoadableModule() = default;
  // The address of the exported `name`, or null. Any thread.
  virtual void* Symbol(const char* name) const = 0;
};

// Loads the module at `path` (UTF-8). Null with `error` set to the loader's
// one-line reason when it cannot be loaded. Blocks while the loader runs the
// module's initialisers.
std::unique_ptr<LoadableModule> LoadModule(const std::string& path, std::string* error);

}  // namespace vantrel::platform
