// Texts from the string resources of the operating system's own libraries,
// so that messages follow the installed system's language.
#pragma once

#include <cstdint>
#include <string>

namespace vantrel::platform {

// String `id` of the system library `library` ("printui.dll"), in UTF-8.
// Empty when the library does not load, has no such string, or the string is
// empty; on Linux, where no such libraries exist, always empty. Loads and
// frees the library on each call (it is not kept mapped). Any thread.
std::string LoadSystemLibraryString(const char* library, uint32_t id);

}  // namespace vantrel::platform
