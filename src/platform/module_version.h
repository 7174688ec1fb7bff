// A driver module's version table and whether this process can load it,
// read from the file without loading it: the version resource on Windows, the
// ".vantrel_version" section of an ELF file on Linux.
#pragma once

#include <cstdint>
#include <string>
#include "platform/win32_errors.h"

namespace vantrel::platform {

struct ModuleVersionInfo {
  bool has_table = false;
  uint16_t version[4] = {};  // major, minor, build, revision (the file version)
  uint16_t product[4] = {};  // the product version, as numbers
  std::string product_version;
  std::string build_date;  // the "Build Date" text
};

// 0 with `info` filled; has_table is false when the module has no version
// table, has one that cannot be queried, or cannot be opened at all. An error
// only for a module that opens but whose table cannot be read (14 when its
// buffer cannot be allocated). Any thread.
PlatformResult ReadModuleVersion(const std::string& path, ModuleVersionInfo* info);

// Whether the module must run in another process: on Windows when this is a
// 32-bit process on 64-bit Windows (asked once per process), on Linux when
// the module is built for another ELF class or machine. Any thread.
bool ModuleNeedsHostProcess(const std::string& path);

}  // namespace vantrel::platform
