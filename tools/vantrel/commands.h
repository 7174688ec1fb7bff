// The subcommands of `vantrel`. Each Add...Command registers its subcommand;
// its callback runs the command and records the exit status.
#pragma once

#include <CLI/CLI.hpp>

namespace vantrel::tool {

void AddVersionCommand(CLI::App& app);
void AddRegCommand(CLI::App& app);
void AddRegisterCommands(CLI::App& app);
void AddPrintersCommands(CLI::App& app);
void AddXpmlCommand(CLI::App& app);
void AddSendCommand(CLI::App& app);
void AddStatusCommand(CLI::App& app);
void AddCommandCommand(CLI::App& app);

// The exit status recorded by the command that ran.
int ExitCode();
void SetExitCode(int code);

}  // namespace vantrel::tool
