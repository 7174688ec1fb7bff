#include "reg_value_text.h"

#include <charconv>
#include <cstdio>
#include <limits>

namespace vantrel::tool {
namespace {

using platform::RegistryValue;

std::optional<uint8_t> HexDigit(char c) {
  if (c >= '0' && c <= '9') return static_cast<uint8_t>(c - '0');
  if (c >= 'a' && c <= 'f') return static_cast<uint8_t>(c - 'a' + 10);
  if (c >= 'A' && c <= 'F') return static_cast<uint8_t>(c - 'A' + 10);
  return std::nullopt;
}

std::string Hex(const std::vector<uint8_t>& bytes, const char* between) {
  std::string text;
  char digits[3];
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (i > 0) text += between;
    std::snprintf(digits, sizeof digits, "%02x", bytes[i]);
    text += digits;
  }
  return text;
}

std::string OutOfRange(const std::string& text, uint64_t max) {
  return text + " is out of range (0 to " + std::to_string(max) + ")";
}

// Decimal or 0x-hexadecimal, no sign, at most `max`.
std::optional<uint64_t> ParseNumber(const std::string& text, uint64_t max, std::string* error) {
  if (text.starts_with('-')) {
    *error = OutOfRange(text, max);
    return std::nullopt;
  }
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  const char* first = text.data() + (hex ? 2 : 0);
  const char* last = text.data() + text.size();
  uint64_t number = 0;
  const auto [end, result] = std::from_chars(first, last, number, hex ? 16 : 10);
  const bool overflow = result == std::errc::result_out_of_range;
  if (first == last || end != last || (result != std::errc() && !overflow)) {
    *error = "\"" + text + "\" is not a number (decimal or 0x-hexadecimal)";
    return std::nullopt;
  }
  if (overflow || number > max) {
    *error = OutOfRange(text, max);
    return std::nullopt;
  }
  return number;
}

std::optional<RegistryValue> ParseBytes(uint32_t type, const std::vector<std::string>& args,
                                        std::string* error) {
  std::string digits;
  for (const std::string& arg : args) {
    for (const char c : arg) {
      if (c == ' ' || c == ',' || c == ':' || c == '-') continue;
      if (!HexDigit(c)) {
        *error = "\"" + arg + "\" is not hexadecimal bytes";
        return std::nullopt;
      }
      digits += c;
    }
  }
  if (digits.size() % 2 != 0) {
    *error = "hexadecimal bytes need two digits each";
    return std::nullopt;
  }
  RegistryValue value{type, {}};
  for (size_t i = 0; i < digits.size(); i += 2) {
    value.data.push_back(
        static_cast<uint8_t>(*HexDigit(digits[i]) << 4 | *HexDigit(digits[i + 1])));
  }
  return value;
}

std::optional<RegistryValue> ParseMultiString(const std::vector<std::string>& args,
                                              const std::string& separator, std::string* error) {
  std::vector<std::string> items;
  for (const std::string& arg : args) {
    size_t start = 0;
    for (;;) {
      const size_t end = separator.empty() ? std::string::npos : arg.find(separator, start);
      items.push_back(arg.substr(start, end - start));
      if (items.back().empty()) {
        *error = "a multi-string item cannot be empty";
        return std::nullopt;
      }
      if (end == std::string::npos) break;
      start = end + separator.size();
    }
  }
  return platform::MakeMultiStringValue(items);
}

const std::string* SingleArgument(const std::vector<std::string>& args, std::string* error) {
  if (args.size() == 1) return &args[0];
  *error = "this type takes exactly one VALUE, got " + std::to_string(args.size());
  return nullptr;
}

std::optional<RegistryValue> ParseSingle(uint32_t type, const std::string& arg,
                                         std::string* error) {
  switch (type) {
    case platform::kRegSz:
    case platform::kRegExpandSz:
      return platform::MakeStringValue(arg, type);
    case platform::kRegDword:
      if (const auto number = ParseNumber(arg, std::numeric_limits<uint32_t>::max(), error)) {
        return platform::MakeDwordValue(static_cast<uint32_t>(*number));
      }
      return std::nullopt;
    case platform::kRegQword:
      if (const auto number = ParseNumber(arg, std::numeric_limits<uint64_t>::max(), error)) {
        return platform::MakeQwordValue(*number);
      }
      return std::nullopt;
  }
  *error = "unsupported type " + platform::RegistryTypeName(type);
  return std::nullopt;
}

std::string JoinItems(const std::vector<std::string>& items) {
  std::string text;
  for (size_t i = 0; i < items.size(); ++i) text += (i > 0 ? "\\0" : "") + items[i];
  return text;
}

}  // namespace

const std::vector<std::pair<std::string, uint32_t>>& SettableTypes() {
  static const std::vector<std::pair<std::string, uint32_t>> types{
      {"sz", platform::kRegSz},
      {"expand_sz", platform::kRegExpandSz},
      {"binary", platform::kRegBinary},
      {"dword", platform::kRegDword},
      {"multi_sz", platform::kRegMultiSz},
      {"qword", platform::kRegQword},
      {"none", platform::kRegNone},
  };
  return types;
}

std::optional<RegistryValue> ParseValueArguments(uint32_t type,
                                                 const std::vector<std::string>& args,
                                                 const std::string& separator, std::string* error) {
  if (type == platform::kRegBinary || type == platform::kRegNone) {
    return ParseBytes(type, args, error);
  }
  if (type == platform::kRegMultiSz) return ParseMultiString(args, separator, error);
  const std::string* arg = SingleArgument(args, error);
  if (arg == nullptr) return std::nullopt;
  return ParseSingle(type, *arg, error);
}

std::string DescribeValue(const RegistryValue& value) {
  const std::string type = platform::RegistryTypeName(value.type);
  char number[64];
  if (const auto dword = platform::ReadDword(value)) {
    std::snprintf(number, sizeof number, " %u (0x%08x)", static_cast<unsigned>(*dword),
                  static_cast<unsigned>(*dword));
    return type + number;
  }
  if (const auto qword = platform::ReadQword(value)) {
    std::snprintf(number, sizeof number, " %llu (0x%016llx)",
                  static_cast<unsigned long long>(*qword), static_cast<unsigned long long>(*qword));
    return type + number;
  }
  if (const auto text = platform::ReadString(value)) return type + " " + *text;
  if (const auto items = platform::ReadMultiString(value)) return type + " " + JoinItems(*items);
  return value.data.empty() ? type : type + " " + Hex(value.data, " ");
}

nlohmann::json ValueToJson(const RegistryValue& value) {
  nlohmann::json out{{"type", platform::RegistryTypeName(value.type)}};
  if (const auto dword = platform::ReadDword(value)) {
    out["value"] = *dword;
  } else if (const auto qword = platform::ReadQword(value)) {
    out["value"] = *qword;
  } else if (const auto text = platform::ReadString(value)) {
    out["value"] = *text;
  } else if (const auto items = platform::ReadMultiString(value)) {
    out["value"] = *items;
  } else {
    out["value"] = Hex(value.data, "");
  }
  return out;
}

}  // namespace vantrel::tool
