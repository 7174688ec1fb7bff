#include <nlohmann/json.hpp>

#include <cstdio>

#include "commands.h"

namespace vantrel::tool {
namespace {

int exit_code = 0;

}  // namespace

int ExitCode() { return exit_code; }
void SetExitCode(int code) { exit_code = code; }

void AddVersionCommand(CLI::App& app) {
  auto* command = app.add_subcommand("version", "Show the library's version and platform");
  static bool as_json = false;
  command->add_flag("--json", as_json, "Print one JSON object");
  command->callback([] {
    if (as_json) {
      nlohmann::json out{{"version", VANTREL_VERSION}, {"platform", VANTREL_PLATFORM}};
      std::printf("%s\n", out.dump().c_str());
    } else {
      std::printf("Vantrel %s (%s)\n", VANTREL_VERSION, VANTREL_PLATFORM);
    }
  });
}

}  // namespace vantrel::tool
