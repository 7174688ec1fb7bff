// Feeds arbitrary files to the reader of driver modules' ELF headers and
// version tables: whatever a module file holds, reading it must stay inside
// the file.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/elf_module.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vantrel::platform::ElfModuleFacts facts;
  vantrel::platform::ParseElfModule(std::string_view(reinterpret_cast<const char*>(data), size),
                                    &facts);
  for (const auto& [key, value] : facts.version_texts) {
    vantrel::platform::ParseDottedVersion(value);
  }
  return 0;
}
