// Where the library's own binary lives (the shared object or DLL holding this
// code, or the program it is linked into statically).
#pragma once

#include <string>

namespace vantrel::platform {

// The full path of the binary that contains this function: absolute, as the
// loader opened it. Empty when the platform cannot tell. Any thread.
std::string LibraryPath();

// The folder of that binary, without a trailing separator. Empty when the
// platform cannot tell. Any thread.
std::string LibraryFolder();

}  // namespace vantrel::platform
