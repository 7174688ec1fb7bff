// The version texts of the library's own binary: "ProductVersion" (three
// parts, "3.0.0") and "Platform" (the processor family, "x64").
#pragma once

#include <string>
#include <string_view>

namespace vantrel::platform {

// The text stored under `key`; empty when there is none. Windows reads the
// binary's version resource (language block 000004B0, then 040904E4); Linux
// answers from constants the build sets. Any thread.
std::string LibraryVersionText(std::string_view key);

}  // namespace vantrel::platform
