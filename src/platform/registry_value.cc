#include "platform/registry_value.h"

#include "platform/unicode.h"

namespace vantrel::platform {
namespace {

void AppendUtf16Le(std::u16string_view units, std::vector<uint8_t>* out) {
  for (const char16_t unit : units) {
    out->push_back(static_cast<uint8_t>(unit & 0xFF));
    out->push_back(static_cast<uint8_t>(unit >> 8));
  }
}

// The data as UTF-16 units; an odd last byte (a value written carelessly by
// some other program) is ignored rather than guessed at.
std::u16string Utf16Units(const std::vector<uint8_t>& data) {
  std::u16string units;
  units.reserve(data.size() / 2);
  for (size_t i = 0; i + 1 < data.size(); i += 2) {
    units.push_back(static_cast<char16_t>(data[i] | (data[i + 1] << 8)));
  }
  return units;
}

template <typename Number>
RegistryValue MakeLittleEndian(Number number, uint32_t type) {
  RegistryValue value{type, {}};
  for (size_t i = 0; i < sizeof(Number); ++i) {
    value.data.push_back(static_cast<uint8_t>(number >> (8 * i)));
  }
  return value;
}

template <typename Number>
std::optional<Number> ReadLittleEndian(const RegistryValue& value, uint32_t type) {
  if (value.type != type || value.data.size() != sizeof(Number)) return std::nullopt;
  Number number = 0;
  for (size_t i = 0; i < sizeof(Number); ++i) {
    number |= static_cast<Number>(value.data[i]) << (8 * i);
  }
  return number;
}

}  // namespace

RegistryValue MakeStringValue(std::string_view utf8, uint32_t type) {
  RegistryValue value{type, {}};
  AppendUtf16Le(Utf8ToUtf16(utf8), &value.data);
  AppendUtf16Le(std::u16string_view(u"\0", 1), &value.data);
  return value;
}

// Empty items are left out: a zero inside the list would end it early for
// every reader. An empty list is two zeros, like any other list's end.
RegistryValue MakeMultiStringValue(const std::vector<std::string>& items) {
  RegistryValue value{kRegMultiSz, {}};
  for (const std::string& item : items) {
    if (item.empty()) continue;
    AppendUtf16Le(Utf8ToUtf16(item), &value.data);
    AppendUtf16Le(std::u16string_view(u"\0", 1), &value.data);
  }
  if (value.data.empty()) AppendUtf16Le(std::u16string_view(u"\0", 1), &value.data);
  AppendUtf16Le(std::u16string_view(u"\0", 1), &value.data);
  return value;
}

RegistryValue MakeDwordValue(uint32_t value) { return MakeLittleEndian(value, kRegDword); }

RegistryValue MakeQwordValue(uint64_t value) { return MakeLittleEndian(value, kRegQword); }

RegistryValue MakeBinaryValue(std::vector<uint8_t> bytes) {
  return RegistryValue{kRegBinary, std::move(bytes)};
}

std::optional<uint32_t> ReadDword(const RegistryValue& value) {
  return ReadLittleEndian<uint32_t>(value, kRegDword);
}

std::optional<uint64_t> ReadQword(const RegistryValue& value) {
  return ReadLittleEndian<uint64_t>(value, kRegQword);
}

std::optional<std::string> ReadString(const RegistryValue& value) {
  if (value.type != kRegSz && value.type != kRegExpandSz) return std::nullopt;
  const std::u16string units = Utf16Units(value.data);
  return Utf16ToUtf8(std::u16string_view(units).substr(0, units.find(u'\0')));
}

// Items end at each zero and the list at an empty item; a last item missing
// its zero still counts, as the registry's own readers accept it.
std::optional<std::vector<std::string>> ReadMultiString(const RegistryValue& value) {
  if (value.type != kRegMultiSz) return std::nullopt;
  const std::u16string units = Utf16Units(value.data);
  std::vector<std::string> items;
  size_t start = 0;
  while (start < units.size()) {
    size_t end = units.find(u'\0', start);
    if (end == std::u16string::npos) end = units.size();
    if (end == start) break;
    items.push_back(Utf16ToUtf8(std::u16string_view(units).substr(start, end - start)));
    start = end + 1;
  }
  return items;
}

std::string RegistryTypeName(uint32_t type) {
  switch (type) {
    case kRegNone:
      return "REG_NONE";
    case kRegSz:
      return "REG_SZ";
    case kRegExpandSz:
      return "REG_EXPAND_SZ";
    case kRegBinary:
      return "REG_BINARY";
    case kRegDword:
      return "REG_DWORD";
    case kRegMultiSz:
      return "REG_MULTI_SZ";
    case kRegQword:
      return "REG_QWORD";
  }
  return "REG_UNKNOWN(" + std::to_string(type) + ")";
}

}  // namespace vantrel::platform
