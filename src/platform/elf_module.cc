#include "platform/elf_module.h"

#include <cstring>

namespace vantrel::platform {

namespace {

constexpr size_t kIdentSize = 16;

// Little-endian reads at an offset checked against the file's size.
bool Read(std::string_view file, uint64_t offset, size_t size, uint64_t* value) {
  if (offset > file.size() || size > file.size() - offset) return false;
  *value = 0;
  for (size_t i = 0; i < size; ++i) {
    *value |= static_cast<uint64_t>(static_cast<unsigned char>(file[offset + i])) << (8 * i);
  }
  return true;
}

// The field offsets that differ between 32- and 64-bit files.
struct Layout {
  size_t word;  // 4 or 8
  uint64_t shoff_at, shentsize_at, shnum_at, shstrndx_at;
  uint64_t sh_name, sh_offset, sh_size;
};

constexpr Layout kLayout32{4, 0x20, 0x2E, 0x30, 0x32, 0x00, 0x10, 0x14};
constexpr Layout kLayout64{8, 0x28, 0x3A, 0x3C, 0x3E, 0x00, 0x18, 0x20};

struct Section {
  uint64_t name = 0, offset = 0, size = 0;
};

bool ReadSection(std::string_view file, const Layout& layout, uint64_t header, Section* out) {
  return Read(file, header + layout.sh_name, 4, &out->name) &&
         Read(file, header + layout.sh_offset, layout.word, &out->offset) &&
         Read(file, header + layout.sh_size, layout.word, &out->size) &&
         out->offset <= file.size() && out->size <= file.size() - out->offset;
}

// The texts of a version section: pairs of zero-terminated strings.
bool ParseTable(std::string_view bytes, ElfModuleFacts* facts) {
  std::vector<std::string> texts;
  while (!bytes.empty()) {
    const size_t end = bytes.find('\0');
    if (end == std::string_view::npos) return false;
    texts.emplace_back(bytes.substr(0, end));
    bytes.remove_prefix(end + 1);
  }
  // Padding after the last pair shows up as empty texts.
  while (!texts.empty() && texts.back().empty()) texts.pop_back();
  if (texts.size() % 2 != 0) return false;
  for (size_t i = 0; i < texts.size(); i += 2)
    facts->version_texts.emplace_back(texts[i], texts[i + 1]);
  facts->has_version_table = true;
  return true;
}

}  // namespace

bool ParseElfModule(std::string_view file, ElfModuleFacts* facts) {
  *facts = ElfModuleFacts{};
  if (file.size() < kIdentSize || std::memcmp(file.data(),
                                              "\x7F"
                                              "ELF",
                                              4) != 0)
    return false;
  // Only little-endian files are read; a big-endian one cannot load here anyway.
  if (file[5] != 1) return false;
  facts->elf_class = static_cast<uint8_t>(file[4]);
  if (facts->elf_class != 1 && facts->elf_class != 2) return false;
  const Layout& layout = facts->elf_class == 1 ? kLayout32 : kLayout64;
  uint64_t machine, shoff, shentsize, shnum, shstrndx;
  if (!Read(file, 0x12, 2, &machine) || !Read(file, layout.shoff_at, layout.word, &shoff) ||
      !Read(file, layout.shentsize_at, 2, &shentsize) || !Read(file, layout.shnum_at, 2, &shnum) ||
      !Read(file, layout.shstrndx_at, 2, &shstrndx)) {
    return false;
  }
  facts->machine = static_cast<uint16_t>(machine);
  Section names;
  if (shnum == 0 || shstrndx >= shnum || shentsize == 0 ||
      !ReadSection(file, layout, shoff + shstrndx * shentsize, &names)) {
    return true;  // no section table to search
  }
  const std::string_view wanted = kVersionSectionName;
  for (uint64_t i = 0; i < shnum; ++i) {
    Section section;
    if (!ReadSection(file, layout, shoff + i * shentsize, &section)) return true;
    if (section.name >= names.size) continue;
    const std::string_view name_area =
        file.substr(names.offset + section.name, names.size - section.name);
    if (name_area.substr(0, name_area.find('\0')) != wanted) continue;
    ParseTable(file.substr(section.offset, section.size), facts);
    return true;
  }
  return true;
}

std::string VersionText(const ElfModuleFacts& facts, std::string_view key) {
  for (const auto& [name, value] : facts.version_texts) {
    if (name == key) return value;
  }
  return {};
}

std::optional<std::vector<uint16_t>> ParseDottedVersion(std::string_view text) {
  std::vector<uint16_t> fields;
  while (fields.size() < 4) {
    const size_t dot = text.find('.');
    const std::string_view field = text.substr(0, dot);
    if (field.empty() || field.size() > 5) return std::nullopt;
    uint32_t value = 0;
    for (char c : field) {
      if (c < '0' || c > '9') return std::nullopt;
      value = value * 10 + static_cast<uint32_t>(c - '0');
    }
    if (value > 0xFFFF) return std::nullopt;
    fields.push_back(static_cast<uint16_t>(value));
    if (dot == std::string_view::npos) break;
    text.remove_prefix(dot + 1);
  }
  fields.resize(4, 0);
  return fields;
}

}  // namespace vantrel::platform
