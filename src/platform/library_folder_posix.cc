#include "platform/library_folder.h"

#include <dlfcn.h>

namespace vantrel::platform {

std::string LibraryFolder() {
  Dl_info info{};
  // The address of this very function names the object it was loaded from.
  if (dladdr(reinterpret_cast<void*>(&LibraryFolder), &info) == 0 || info.dli_fname == nullptr)
    return {};
  const std::string path = info.dli_fname;
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return {};
  return slash == 0 ? std::string("/") : path.substr(0, slash);
}

}  // namespace vantrel::platform
