// `vantrel reg query`, `set` and `delete`.
#include <cstdio>

#include "platform/win32_errors.h"
#include "reg_commands.h"
#include "reg_report.h"
#include "reg_value_text.h"

namespace vantrel::tool {
namespace {

std::optional<uint32_t> TypeByName(const std::string& name) {
  for (const auto& [type_name, type] : SettableTypes()) {
    if (type_name == name) return type;
  }
  return std::nullopt;
}

}  // namespace

int RunRegQuery(const RegTarget& target, const std::string& path, bool json) {
  platform::RegistryValue value;
  const long error = MakeRegistry(target)->ReadValue(path, &value);
  if (error != platform::kErrorSuccess) return ReportFailure("read", path, error);
  const std::string line =
      json ? ValueToJson(value).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace)
           : DescribeValue(value);
  std::printf("%s\n", line.c_str());
  return 0;
}

int RunRegSet(const RegTarget& target, const std::string& path, const std::string& type_name,
              const std::vector<std::string>& values, const std::string& separator) {
  const auto type = TypeByName(type_name);
  if (!type) {
    return ReportFailure("write", path, platform::kErrorInvalidParameter,
                         "unknown type \"" + type_name + "\"");
  }
  std::string problem;
  const auto value = ParseValueArguments(*type, values, separator, &problem);
  if (!value) return ReportFailure("write", path, platform::kErrorInvalidParameter, problem);
  const long error = MakeRegistry(target)->WriteValue(path, *value);
  if (error != platform::kErrorSuccess) return ReportFailure("write", path, error);
  return 0;
}

int RunRegDelete(const RegTarget& target, const std::string& path) {
  const long error = MakeRegistry(target)->DeleteValue(path);
  if (error != platform::kErrorSuccess) return ReportFailure("delete", path, error);
  return 0;
}

}  // namespace vantrel::tool
