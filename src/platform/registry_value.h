// Typed registry values kept as their exact bytes, with helpers to build and
// read the common types. Strings are stored as the registry stores them:
// UTF-16LE with a terminating zero; a multi-string ends with two zeros.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::platform {

// Value types, numbered as the registry numbers them.
enum RegistryType : uint32_t {
  kRegNone = 0,
  kRegSz = 1,
  kRegExpandSz = 2,
  kRegBinary = 3,
  kRegDword = 4,
  kRegMultiSz = 7,
  kRegQword = 11,
};

struct RegistryValue {
  uint32_t type = kRegNone;
  std::vector<uint8_t> data;

  bool operator==(const RegistryValue&) const = default;
};

RegistryValue MakeStringValue(std::string_view utf8, uint32_t type = kRegSz);
RegistryValue MakeMultiStringValue(const std::vector<std::string>& items);
RegistryValue MakeDwordValue(uint32_t value);
RegistryValue MakeQwordValue(uint64_t value);
RegistryValue MakeBinaryValue(std::vector<uint8_t> bytes);

// Each returns nothing when the value's type or size does not match: a DWORD
// is exactly 4 bytes of type kRegDword, a QWORD exactly 8 of type kRegQword.
// Strings accept kRegSz and kRegExpandSz and stop at the first zero.
std::optional<uint32_t> ReadDword(const RegistryValue& value);
std::optional<uint64_t> ReadQword(const RegistryValue& value);
std::optional<std::string> ReadString(const RegistryValue& value);
std::optional<std::vector<std::string>> ReadMultiString(const RegistryValue& value);

// "REG_SZ", "REG_DWORD", ...; "REG_UNKNOWN(n)" for other numbers.
std::string RegistryTypeName(uint32_t type);

}  // namespace vantrel::platform
