// `vantrel reg keys` and `delete-key`.
#include <nlohmann/json.hpp>

#include <cstdio>

#include "platform/win32_errors.h"
#include "reg_commands.h"
#include "reg_report.h"
#include "support/reg_file_store.h"

namespace vantrel::tool {

int RunRegKeys(const RegTarget& target, const std::string& path, bool json) {
  const auto registry = MakeRegistry(target);
  std::vector<std::string> names;
  for (uint32_t index = 0;; ++index) {
    std::string name;
    const long error = registry->EnumerateKey(path, index, &name);
    if (error == platform::kErrorNoMoreItems) break;
    if (error != platform::kErrorSuccess) return ReportFailure("list the keys of", path, error);
    names.push_back(std::move(name));
  }
  if (json) {
    const nlohmann::json list(names);
    std::printf("%s\n",
                list.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
  } else {
    for (const std::string& name : names) std::printf("%s\n", name.c_str());
  }
  return 0;
}

// The store answers "access denied" for a key that still has subkeys; say
// what is really in the way.
int RunRegDeleteKey(const RegTarget& target, const std::string& path, bool recursive) {
  const auto registry = MakeRegistry(target);
  if (!recursive) {
    const long error = registry->DeleteKey(path);
    if (error == platform::kErrorSuccess) return 0;
    platform::KeyInfo info;
    if (error == platform::kErrorAccessDenied &&
        registry->QueryKeyInfo(path, &info) == platform::kErrorSuccess && info.subkey_count > 0) {
      return ReportFailure("delete", path, error, "the key has subkeys (use --recursive)");
    }
    return ReportFailure("delete", path, error);
  }
  ResolvedRegistryPath where;
  if (!registry->Resolve(path, false, &where)) {
    return ReportFailure("delete", path, platform::kErrorBadPathname);
  }
  const TargetLock lock(target);
  uint32_t deleted = 0;
  std::string failed_at;
  const long error = DeleteRegistryTree(platform::DefaultSettingsStore(), where.root, where.key,
                                        &deleted, &failed_at);
  if (error != platform::kErrorSuccess) {
    return ReportFailure("delete", path, error, DescribeError(error) + " at " + failed_at);
  }
  if (deleted == 0) return ReportFailure("delete", path, platform::kErrorFileNotFound);
  return 0;
}

}  // namespace vantrel::tool
