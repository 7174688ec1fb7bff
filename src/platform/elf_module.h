// What the library needs to know of a driver module file on Linux, read from
// its bytes without loading it: the ELF class and machine (can this process
// load it?) and the version table, a section ".vantrel_version" holding
// zero-terminated key and value texts in turn ("FileVersion", "7.2.3.0",
// "ProductVersion", ..., "Build Date", ...). Pure functions; any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrel::platform {

inline constexpr const char* kVersionSectionName = ".vantrel_version";

struct ElfModuleFacts {
  uint8_t elf_class = 0;  // 1: 32-bit, 2: 64-bit
  uint16_t machine = 0;   // e_machine
  bool has_version_table = false;
  std::vector<std::pair<std::string, std::string>> version_texts;
};

// False when `file` is not an ELF file whose headers lie inside it. A missing
// or malformed version section leaves has_version_table false.
bool ParseElfModule(std::string_view file, ElfModuleFacts* facts);

// The value of `key` in the table; empty when absent.
std::string VersionText(const ElfModuleFacts& facts, std::string_view key);

// "a.b.c.d" (up to four fields, missing ones 0) as numbers; nothing when a
// field is not a number below 65536.
std::optional<std::vector<uint16_t>> ParseDottedVersion(std::string_view text);

}  // namespace vantrel::platform
