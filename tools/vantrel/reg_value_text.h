// Registry values as the command line reads and shows them: the VALUE
// arguments of `reg set`, the readable line and the JSON object of `reg query`.
// Pure functions; any thread.
#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <vector>

#include "platform/registry_value.h"

namespace vantrel::tool {

// The `--type` names, in the order --help lists them, and their types.
const std::vector<std::pair<std::string, uint32_t>>& SettableTypes();

// Builds a value of `type` from the VALUE arguments:
//   sz, expand_sz   one argument, the text;
//   dword, qword    one argument, decimal or 0x-hexadecimal, in range;
//   binary, none    hexadecimal bytes, two digits each; spaces, ",", ":" and
//                   "-" between them are ignored, as are argument boundaries;
//   multi_sz        one item per argument, each split further at `separator`
//                   when one is given; no item may be empty; no arguments
//                   make an empty list.
// On failure returns nothing and sets `error` to one line naming the problem.
std::optional<platform::RegistryValue> ParseValueArguments(uint32_t type,
                                                           const std::vector<std::string>& args,
                                                           const std::string& separator,
                                                           std::string* error);

// "REG_DWORD 7 (0x00000007)", "REG_SZ text", "REG_MULTI_SZ a\0b",
// "REG_BINARY de ad be ef". Data that does not fit its type (a DWORD of
// three bytes) is shown as bytes.
std::string DescribeValue(const platform::RegistryValue& value);

// {"type": "REG_DWORD", "value": 7}: text for sz and expand_sz, a list for
// multi_sz, a number for dword and qword, and lowercase hexadecimal text
// ("deadbeef") for every other type and for data that does not fit its type.
nlohmann::json ValueToJson(const platform::RegistryValue& value);

}  // namespace vantrel::tool
