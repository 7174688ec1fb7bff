// Writing .reg files in the layout regedit uses, so that either program reads
// the other's files and a diff of two exports stays readable.
#include <cstdint>
#include <cstdio>

#include "platform/unicode.h"
#include "support/reg_file.h"

namespace vantrel {
namespace {

using platform::RegistryValue;

constexpr std::string_view kCrLf = "\r\n";
// regedit breaks byte lists after the comma that passes this column.
constexpr size_t kWrapColumn = 76;

void AppendQuoted(std::string_view text, std::string* out) {
  out->push_back('"');
  for (const char c : text) {
    if (c == '\\' || c == '"') out->push_back('\\');
    out->push_back(c);
  }
  out->push_back('"');
}

// The string value's text when its bytes are exactly what writing that text
// as quoted text would store again: UTF-16 with one final zero, no other zero,
// no control character and no unpaired surrogate.
std::optional<std::string> PlainText(const RegistryValue& value) {
  const std::vector<uint8_t>& data = value.data;
  if (value.type != platform::kRegSz || data.size() < 2 || data.size() % 2 != 0)
    return std::nullopt;
  std::u16string units;
  for (size_t i = 0; i + 1 < data.size(); i += 2) {
    units.push_back(static_cast<char16_t>(data[i] | (data[i + 1] << 8)));
  }
  if (units.back() != u'\0') return std::nullopt;
  units.pop_back();
  for (const char16_t unit : units) {
    if (unit < 0x20) return std::nullopt;
  }
  std::string text = platform::Utf16ToUtf8(units);
  if (platform::Utf8ToUtf16(text) != units) return std::nullopt;
  return text;
}

void AppendByteList(const std::vector<uint8_t>& bytes, size_t column, std::string* out) {
  char digits[3];
  for (size_t i = 0; i < bytes.size(); ++i) {
    std::snprintf(digits, sizeof digits, "%02x", bytes[i]);
    out->append(digits);
    column += 2;
    if (i + 1 == bytes.size()) break;
    out->push_back(',');
    if (++column > kWrapColumn) {
      out->append("\\").append(kCrLf).append("  ");
      column = 2;
    }
  }
}

void AppendData(const RegistryValue& value, size_t column, std::string* out) {
  if (const auto text = PlainText(value)) {
    AppendQuoted(*text, out);
    return;
  }
  if (const auto number = platform::ReadDword(value)) {
    char dword[16];
    std::snprintf(dword, sizeof dword, "dword:%08x", static_cast<unsigned>(*number));
    out->append(dword);
    return;
  }
  char prefix[24];
  if (value.type == platform::kRegBinary) {
    std::snprintf(prefix, sizeof prefix, "hex:");
  } else {
    std::snprintf(prefix, sizeof prefix, "hex(%x):", static_cast<unsigned>(value.type));
  }
  out->append(prefix);
  AppendByteList(value.data, column + std::string_view(prefix).size(), out);
}

void AppendValue(const RegFileValue& entry, std::string* out) {
  const size_t line_start = out->size();
  if (entry.name.empty()) {
    out->push_back('@');
  } else {
    AppendQuoted(entry.name, out);
  }
  out->push_back('=');
  if (entry.value) {
    AppendData(*entry.value, out->size() - line_start, out);
  } else {
    out->push_back('-');
  }
  out->append(kCrLf);
}

void AppendSection(const RegFileSection& section, std::string* out) {
  out->append(section.delete_key ? "[-" : "[");
  out->append(RegFileRootName(section.root));
  if (!section.key.empty()) out->append("\\").append(section.key);
  out->append("]").append(kCrLf);
  for (const RegFileValue& entry : section.values) AppendValue(entry, out);
  out->append(kCrLf);
}

}  // namespace

std::string FormatRegFile(const RegFile& file) {
  std::string out = "Windows Registry Editor Version 5.00";
  out.append(kCrLf).append(kCrLf);
  for (const RegFileSection& section : file.sections) AppendSection(section, &out);
  return out;
}

std::string EncodeRegFile(const RegFile& file, RegFileEncoding encoding) {
  const std::string text = FormatRegFile(file);
  if (encoding == RegFileEncoding::kUtf8) return text;
  const std::u16string units = platform::Utf8ToUtf16(text);
  std::string bytes = "\xFF\xFE";
  bytes.reserve(2 + 2 * units.size());
  for (const char16_t unit : units) {
    bytes.push_back(static_cast<char>(unit & 0xFF));
    bytes.push_back(static_cast<char>(unit >> 8));
  }
  return bytes;
}

bool CanWriteRegFileName(std::string_view name) {
  return name.find_first_of(std::string_view("\0\r\n", 3)) == std::string_view::npos;
}

}  // namespace vantrel
