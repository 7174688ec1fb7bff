#include <nlohmann/json.hpp>

#include <cstdio>
#include <string>

#include "commands.h"
#include "frame/com_ptr.h"
#include "frame/ole_string.h"
#include "server/kesto.h"

namespace vantrel::tool {
namespace {

int exit_code = 0;

struct VersionTexts {
  std::string version;
  std::string platform;
};

// Asks a root object, as a client would.
bool ReadVersion(VersionTexts* texts) {
  IKesto* kesto = nullptr;
  if (FAILED(frame::CreateInstance<Kesto>(nullptr, IID_IKesto, reinterpret_cast<void**>(&kesto))))
    return false;
  const auto root = frame::ComPtr<IKesto>::Adopt(kesto);
  frame::Bstr version;
  frame::Bstr platform;
  if (FAILED(root->get_Version(version.receive())) ||
      FAILED(root->get_Platform(platform.receive())))
    return false;
  texts->version = frame::BstrToUtf8(version.get());
  texts->platform = frame::BstrToUtf8(platform.get());
  return true;
}

}  // namespace

int ExitCode() { return exit_code; }
void SetExitCode(int code) { exit_code = code; }

void AddVersionCommand(CLI::App& app) {
  auto* command = app.add_subcommand("version", "Show the library's version and platform");
  static bool as_json = false;
  command->add_flag("--json", as_json, "Print one JSON object");
  command->callback([] {
    VersionTexts texts;
    if (!ReadVersion(&texts)) {
      std::fprintf(stderr, "vantrel: cannot create the root object\n");
      SetExitCode(1);
      return;
    }
    if (as_json) {
      nlohmann::json out{
          {"version", texts.version}, {"platform", texts.platform}, {"system", VANTREL_PLATFORM}};
      std::printf("%s\n", out.dump().c_str());
    } else {
      std::printf("Vantrel %s (%s, %s)\n", texts.version.c_str(), VANTREL_PLATFORM,
                  texts.platform.c_str());
    }
  });
}

}  // namespace vantrel::tool
