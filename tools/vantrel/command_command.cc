// `vantrel command PRINTER COMMAND [--query] [--json]`: runs one printer
// command (or, with --query, only asks about it) through a Printer object and
// a CommandParameters object, as a client would, and prints the four answers.
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <optional>
#include <string>

#include "commands.h"
#include "object_failure.h"
#include "frame/com_ptr.h"
#include "frame/object.h"
#include "frame/ole_string.h"
#include "printers/command_parameters.h"
#include "printers/printer.h"

namespace vantrel::tool {
namespace {

struct CommandArguments {
  std::string printer;
  std::string command;
  bool query = false;
  bool json = false;
};

// The commands by their names without the "PC_" prefix, in code order.
constexpr const char* kCommandNames[] = {"TestStandard",
                                         "TestBlank",
                                         "Cut",
                                         "Feed",
                                         "ManageCache",
                                         "FlushCache",
                                         "Reset",
                                         "FactoryDefaults",
                                         "Calibrate",
                                         "PrintConfiguration",
                                         "ConfigureMemory",
                                         "FormatMemory",
                                         "RFIDOptions",
                                         "StatusMonitoring",
                                         "ReadInformation",
                                         "SendPrinterCommand",
                                         "ConfigurePrinter",
                                         "TestInternal",
                                         "PrintFileList",
                                         "PrintFontList",
                                         "PrintFormatList",
                                         "PrintGraphicsList",
                                         "PrintSupportedFonts",
                                         "PrintSupportedBarCodes",
                                         "PrintSensorProfile",
                                         "SetLabelLength",
                                         "CancelAllJobs",
                                         "CancelQueuedJobs",
                                         "CleaningSettings",
                                         "FormatMemoryFromKesto"};
constexpr int kCommandCount = static_cast<int>(std::size(kCommandNames));
static_assert(kCommandCount == PC_FormatMemoryFromKesto, "one name per code");

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// The code a name (any case, "PC_" optional) or a number 1 to 30 stands for.
std::optional<int> CommandCode(const std::string& given) {
  if (!given.empty() && std::all_of(given.begin(), given.end(),
                                    [](unsigned char c) { return std::isdigit(c) != 0; })) {
    const int code = given.size() <= 2 ? std::stoi(given) : 0;
    if (code >= 1 && code <= kCommandCount) return code;
    return std::nullopt;
  }
  std::string name = Lower(given);
  if (name.rfind("pc_", 0) == 0) name.erase(0, 3);
  for (int i = 0; i < kCommandCount; ++i) {
    if (Lower(kCommandNames[i]) == name) return i + 1;
  }
  return std::nullopt;
}

int UnknownCommand(const std::string& given) {
  std::string valid;
  for (const char* name : kCommandNames) valid += (valid.empty() ? "" : ", ") + std::string(name);
  std::fprintf(stderr, "vantrel: unknown command '%s'; valid: %s, or a code 1 to %d\n",
               given.c_str(), valid.c_str(), kCommandCount);
  return 1;
}

template <class Class, class Interface>
frame::ComPtr<Interface> Create(REFIID iid) {
  Interface* object = nullptr;
  if (FAILED(frame::CreateInstance<Class>(nullptr, iid, reinterpret_cast<void**>(&object)))) {
    return {};
  }
  return frame::ComPtr<Interface>::Adopt(object);
}

struct Answers {
  bool is_supported = false;
  bool has_user_interface = false;
  bool requires_bidirectional_port = false;
  bool requires_management_rights = false;
};

Answers ReadAnswers(ICommandParameters& parameters) {
  VARIANT_BOOL supported = VARIANT_FALSE, ui = VARIANT_FALSE, bidirectional = VARIANT_FALSE,
               rights = VARIANT_FALSE;
  parameters.get_IsSupported(&supported);
  parameters.get_HasUserInterface(&ui);
  parameters.get_RequiresBidirectionalPort(&bidirectional);
  parameters.get_RequiresManagementRights(&rights);
  return {supported != VARIANT_FALSE, ui != VARIANT_FALSE, bidirectional != VARIANT_FALSE,
          rights != VARIANT_FALSE};
}

void PrintAnswers(const CommandArguments& args, int code, const Answers& answers) {
  const char* name = kCommandNames[code - 1];
  const bool executed = !args.query && answers.is_supported;
  if (args.json) {
    const nlohmann::json out = {{"printer", args.printer},
                                {"command", name},
                                {"code", code},
                                {"executed", executed},
                                {"IsSupported", answers.is_supported},
                                {"HasUserInterface", answers.has_user_interface},
                                {"RequiresBidirectionalPort", answers.requires_bidirectional_port},
                                {"RequiresManagementRights", answers.requires_management_rights}};
    std::printf("%s\n", out.dump(2, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
    return;
  }
  auto yes = [](bool value) { return value ? "yes" : "no"; };
  std::printf("%-26s %s\n", "Printer", args.printer.c_str());
  std::printf("%-26s %s (%d)\n", "Command", name, code);
  std::printf("%-26s %s\n", "Executed", yes(executed));
  std::printf("%-26s %s\n", "IsSupported", yes(answers.is_supported));
  std::printf("%-26s %s\n", "HasUserInterface", yes(answers.has_user_interface));
  std::printf("%-26s %s\n", "RequiresBidirectionalPort", yes(answers.requires_bidirectional_port));
  std::printf("%-26s %s\n", "RequiresManagementRights", yes(answers.requires_management_rights));
}

int RunCommand(const CommandArguments& args) {
  const std::optional<int> code = CommandCode(args.command);
  if (!code) return UnknownCommand(args.command);
  const auto printer = Create<Printer, IPrinter>(IID_IPrinter);
  const auto parameters = Create<CommandParameters, ICommandParameters>(IID_ICommandParameters);
  if (!printer || !parameters) {
    std::fprintf(stderr, "vantrel: cannot create the printer objects\n");
    return 1;
  }
  const frame::Bstr name(args.printer);
  if (const HRESULT result = printer->Initialize(name.get()); FAILED(result)) {
    return ReportObjectFailure(result, args.printer);
  }
  parameters->put_Execute(args.query ? VARIANT_FALSE : VARIANT_TRUE);
  VARIANT argument;
  VariantInit(&argument);
  V_VT(&argument) = VT_DISPATCH;
  V_DISPATCH(&argument) = parameters.Get();
  if (const HRESULT result = printer->Command(static_cast<PrinterCommand>(*code), argument);
      FAILED(result)) {
    return ReportObjectFailure(result, args.printer);
  }
  PrintAnswers(args, *code, ReadAnswers(*parameters.Get()));
  return 0;
}

}  // namespace

void AddCommandCommand(CLI::App& app) {
  static CommandArguments args;
  auto* command = app.add_subcommand("command", "Run a printer command, or ask about it");
  command->add_option("PRINTER", args.printer, "The printer's name")->required();
  command
      ->add_option("COMMAND", args.command,
                   "The command's name without PC_ (Cut, TestStandard, ...; any case) or its "
                   "code 1 to 30")
      ->required();
  command->add_flag("--query", args.query, "Only ask whether the driver supports it");
  command->add_flag("--json", args.json, "Print the answers as one JSON object");
  command->callback([] { SetExitCode(RunCommand(args)); });
}

}  // namespace vantrel::tool
