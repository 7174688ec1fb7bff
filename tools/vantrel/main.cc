// vantrel: the administrator's command line for the library.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "commands.h"
#include "platform/process.h"

int main(int argc, char** argv) {
  CLI::App app{"vantrel: print server automation for label and barcode printers"};
  app.require_subcommand(1);
  // Usage errors are one line too, like every other failure of the tool.
  app.failure_message([](const CLI::App*, const CLI::Error& e) {
    return std::string("vantrel: ") + e.what() + " (see --help)\n";
  });
  vantrel::tool::AddVersionCommand(app);
  vantrel::tool::AddRegCommand(app);
  vantrel::tool::AddRegisterCommands(app);
  vantrel::tool::AddPrintersCommands(app);
  vantrel::tool::AddXpmlCommand(app);
  vantrel::tool::AddSendCommand(app);
  vantrel::tool::AddStatusCommand(app);
  vantrel::tool::AddCommandCommand(app);
  // The platform's arguments are UTF-8 on both targets; main's argv is not on
  // Windows. CLI11 takes them without the program, last first.
  std::vector<std::string> args = vantrel::platform::ProcessArguments();
  if (args.empty()) args.assign(argv, argv + argc);
  if (args.empty()) args.push_back("vantrel");
  app.name(args.front());
  args.erase(args.begin());
  std::reverse(args.begin(), args.end());
  try {
    app.parse(args);
  } catch (const CLI::ParseError& e) {
    // --help exits 0; any usage error gives the customary status 2.
    return app.exit(e) == 0 ? 0 : 2;
  }
  return vantrel::tool::ExitCode();
}
