#include "platform/library_folder.h"

#include <dlfcn.h>
#include <limits.h>
#include <stdlib.h>

namespace vantrel::platform {

std::string LibraryPath() {
  Dl_info info{};
  // The address of this very function names the object it was loaded from.
  if (dladdr(reinterpret_cast<void*>(&LibraryPath), &info) == 0 || info.dli_fname == nullptr)
    return {};
  // A program started by a relative name reports that name: make it absolute.
  char resolved[PATH_MAX];
  if (realpath(info.dli_fname, resolved) == nullptr) return info.dli_fname;
  return resolved;
}

std::string LibraryFolder() {
  const std::string path = LibraryPath();
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return {};
  return slash == 0 ? std::string("/") : path.substr(0, slash);
}

}  // namespace vantrel::platform
