// vantrel-rundll MODULE,ENTRY ARGS: loads MODULE, finds ENTRY and calls it as
// the system's DLL runner does (window, instance, the argument text, show),
// in this process. The library starts it to run a driver module apart.
#include <cstdio>
#include <string>
#include <vector>

#include "platform/loadable_module.h"
#include "platform/process.h"
#include "support/driver_module_abi.h"

namespace {

int Fail(const std::string& line) {
  std::fprintf(stderr, "vantrel-rundll: %s\n", line.c_str());
  return 1;
}

}  // namespace

int main() {
  const std::vector<std::string> args = vantrel::platform::ProcessArguments();
  if (args.size() < 2) return Fail("usage: vantrel-rundll MODULE,ENTRY [ARGS]");
  const std::string& target = args[1];
  const size_t comma = target.rfind(',');
  if (comma == std::string::npos || comma == 0 || comma + 1 == target.size()) {
    return Fail("expected MODULE,ENTRY, got '" + target + "'");
  }
  std::string module_path = target.substr(0, comma);
  if (module_path.size() >= 2 && module_path.front() == '"' && module_path.back() == '"') {
    module_path = module_path.substr(1, module_path.size() - 2);
  }
  const std::string entry = target.substr(comma + 1);
  std::string text;
  for (size_t i = 2; i < args.size(); ++i) text += (i > 2 ? " " : "") + args[i];

  std::string error;
  auto module = vantrel::platform::LoadModule(module_path, &error);
  if (!module) return Fail("cannot load " + module_path + ": " + error);
  const auto run =
      reinterpret_cast<vantrel::driver_module::HostEntryFunction>(module->Symbol(entry.c_str()));
  if (run == nullptr) return Fail(module_path + " has no entry " + entry);
  run(nullptr, nullptr, text.c_str(), 0);
  return 0;
}
